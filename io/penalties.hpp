// What it costs to violate the sides of rows or variables, as a file tells it.
#ifndef ACTIVESET_IO_PENALTIES_HPP
#define ACTIVESET_IO_PENALTIES_HPP

#include <array>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace activeset::io {

struct Model;

/// As in activeset::Penalty: a side missed by v ≥ 0 costs linear·v + ½·quadratic·v², and an
/// infinite linear penalty leaves it hard. Without linear penalties the sides with a positive
/// quadratic one are soft. Each part has an entry for every row or variable, or none at all.
struct Penalties {
    std::vector<double> lowerLinear{};
    std::vector<double> upperLinear{};
    std::vector<double> lowerQuadratic{};
    std::vector<double> upperQuadratic{};

    [[nodiscard]] bool empty() const noexcept {
        return lowerLinear.empty() && upperLinear.empty() && lowerQuadratic.empty() &&
               upperQuadratic.empty();
    }
};

/// A part and its name in files.
struct PenaltyPart {
    const char* name = "";
    std::vector<double> Penalties::*values = nullptr;
    bool mayBeInfinite = false;
    bool isLower = false;
};
inline constexpr std::array<PenaltyPart, 4> PenaltyParts{
    {{"lower_linear", &Penalties::lowerLinear, true, true},
     {"upper_linear", &Penalties::upperLinear, true, false},
     {"lower_quadratic", &Penalties::lowerQuadratic, false, true},
     {"upper_quadratic", &Penalties::upperQuadratic, false, false}}};

/// What it costs to miss one side, by the rules above.
struct SidePrice {
    double linear = std::numeric_limits<double>::infinity();
    double quadratic = 0.0;

    friend bool operator==(const SidePrice&, const SidePrice&) = default;
};

/// The price of entry k. A side that is hard, or infinite, has that of a default SidePrice.
[[nodiscard]] SidePrice lowerPrice(const Penalties& penalty, std::size_t k, double side);
[[nodiscard]] SidePrice upperPrice(const Penalties& penalty, std::size_t k, double side);

/// The first row or variable with a soft side, as "row 'capacity'"; empty where all sides are hard.
[[nodiscard]] std::string softMember(const Model& model);

}  // namespace activeset::io

#endif
