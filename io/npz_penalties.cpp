// Reads and writes the prices of soft sides, one kind of sides after the other.
#include "io/npz_penalties.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

#include "io/penalties.hpp"

namespace activeset::io {

namespace {

using Numbers = std::vector<double>;

constexpr std::array<const char*, 5> Sides{"l", "h", "b", "lb", "ub"};
constexpr double Hard = std::numeric_limits<double>::infinity();  // a linear penalty

std::string linearName(const std::string& side) {
    return "soft_" + side + "_linear";
}

std::string quadraticName(const std::string& side) {
    return "soft_" + side + "_quadratic";
}

bool isZero(double value) {
    return value == 0.0;
}

/// The linear penalties that quadratic ones have where there are none of their own.
Numbers linearBeside(const Numbers& quadratic) {
    Numbers linear(quadratic.size());
    std::transform(quadratic.begin(), quadratic.end(), linear.begin(),
                   [](double value) { return value > 0.0 ? 0.0 : Hard; });
    return linear;
}

/// The prices of sides of one kind: no entries, or one of each for every side.
struct Prices {
    Numbers linear{};
    Numbers quadratic{};

    void push(const SidePrice& price) {
        linear.push_back(price.linear);
        quadratic.push_back(price.quadratic);
    }
    /// Prices of hard sides, if there are none.
    void complete(std::size_t size) {
        linear.resize(size, Hard);
        quadratic.resize(size, 0.0);
    }
    [[nodiscard]] bool areHard() const {
        return std::all_of(linear.begin(), linear.end(), [](double x) { return std::isinf(x); });
    }
};

class PenaltyReader {
public:
    PenaltyReader(const NpzMembers& members, const char* side, std::size_t size)
        : members_(members), side_(side), size_(size) {}

    [[nodiscard]] Prices run() const {
        std::optional<Numbers> linear = penalties(linearName(side_), true);
        std::optional<Numbers> quadratic = penalties(quadraticName(side_), false);
        if (!linear && !quadratic) {
            return {};
        }
        if (!quadratic) {
            quadratic.emplace(size_, 0.0);
        }
        if (!linear) {
            linear = linearBeside(*quadratic);
        }
        return {std::move(*linear), std::move(*quadratic)};
    }

private:
    [[nodiscard]] std::optional<Numbers> penalties(const std::string& name,
                                                   bool mayBeInfinite) const {
        std::optional<NpzPart> part = members_.vector(name);
        if (!part) {
            return {};
        }
        if (!members_.has(side_)) {
            members_.fail(name, "expected " + side_ + " beside it");
        }
        for (std::size_t k = 0; k < part->rows; ++k) {
            const double value = part->values[k];
            if (!(value >= 0.0) || (std::isinf(value) && !mayBeInfinite)) {
                members_.failAt(name, k, "expected a penalty from 0 up");
            }
        }
        if (part->rows == 1) {
            return Numbers(size_, part->values.front());
        }
        members_.requireSize(name, part->rows, size_);
        return std::move(part->values);
    }

    const NpzMembers& members_;
    std::string side_;
    std::size_t size_;
};

/// The prices of all rows; quadratic ones only where there are some.
void join(Prices first,
          std::size_t inequalities,
          Prices second,
          std::size_t equalities,
          Numbers& linear,
          Numbers& quadratic) {
    if (first.areHard() && second.areHard()) {
        return;
    }
    first.complete(inequalities);
    second.complete(equalities);
    linear = std::move(first.linear);
    linear.insert(linear.end(), second.linear.begin(), second.linear.end());
    quadratic = std::move(first.quadratic);
    quadratic.insert(quadratic.end(), second.quadratic.begin(), second.quadratic.end());
    if (std::all_of(quadratic.begin(), quadratic.end(), isZero)) {
        quadratic.clear();
    }
}

using PriceOfSide = SidePrice (*)(const Penalties&, std::size_t, double);

/// Adds the members of sides of one kind.
void addMembers(const char* side,
                PriceOfSide priceOf,
                const Penalties& penalties,
                const Numbers& sides,
                const std::vector<std::size_t>& which,
                std::vector<NamedNumbers>& members) {
    Prices prices;
    for (const std::size_t k : which) {
        prices.push(priceOf(penalties, k, sides[k]));
    }
    if (prices.areHard()) {
        return;
    }
    if (prices.linear != linearBeside(prices.quadratic)) {
        members.push_back({linearName(side), prices.linear});
    }
    if (!std::all_of(prices.quadratic.begin(), prices.quadratic.end(), isZero)) {
        members.push_back({quadraticName(side), prices.quadratic});
    }
}

}  // namespace

bool isPenaltyMember(std::string_view name) {
    return std::any_of(Sides.begin(), Sides.end(), [&](const char* side) {
        return name == linearName(side) || name == quadraticName(side);
    });
}

void readPenalties(const NpzMembers& members,
                   std::size_t inequalities,
                   std::size_t equalities,
                   Model& model) {
    const auto read = [&](const char* side, std::size_t size) {
        return PenaltyReader(members, side, size).run();
    };
    Penalties& rows = model.rowPenalty;
    Penalties& bounds = model.boundPenalty;
    const Prices equal = read("b", equalities);
    join(read("l", inequalities), inequalities, equal, equalities, rows.lowerLinear,
         rows.lowerQuadratic);
    join(read("h", inequalities), inequalities, equal, equalities, rows.upperLinear,
         rows.upperQuadratic);
    join(read("lb", model.n()), model.n(), {}, 0, bounds.lowerLinear, bounds.lowerQuadratic);
    join(read("ub", model.n()), model.n(), {}, 0, bounds.upperLinear, bounds.upperQuadratic);
}

std::vector<NamedNumbers> penaltyMembers(const Model& model,
                                         const std::vector<std::size_t>& inequalities,
                                         const std::vector<std::size_t>& equalities) {
    std::vector<std::size_t> variables(model.n());
    std::iota(variables.begin(), variables.end(), std::size_t{0});
    const Penalties& rows = model.rowPenalty;
    const Penalties& bounds = model.boundPenalty;
    std::vector<NamedNumbers> members;
    addMembers("l", lowerPrice, rows, model.rowLower, inequalities, members);
    addMembers("h", upperPrice, rows, model.rowUpper, inequalities, members);
    addMembers("b", upperPrice, rows, model.rowUpper, equalities, members);
    addMembers("lb", lowerPrice, bounds, model.lower, variables, members);
    addMembers("ub", upperPrice, bounds, model.upper, variables, members);
    return members;
}

}  // namespace activeset::io
