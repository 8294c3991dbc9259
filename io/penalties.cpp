// Finds out whether a model has soft sides.
#include "io/penalties.hpp"

#include <cmath>
#include <cstddef>

#include "io/location.hpp"
#include "io/model.hpp"

namespace activeset::io {

namespace {

/// Without linear penalties it is the quadratic one that makes a side soft.
bool isSoft(const std::vector<double>& linear,
            const std::vector<double>& quadratic,
            double side,
            std::size_t k) {
    const bool costsLittle =
        linear.empty() ? !quadratic.empty() && quadratic[k] > 0.0 : std::isfinite(linear[k]);
    return std::isfinite(side) && costsLittle;
}

std::string softMember(const Penalties& penalty,
                       const std::vector<double>& lower,
                       const std::vector<double>& upper,
                       const std::vector<std::string>& names,
                       const std::string& kind) {
    for (std::size_t k = 0; k < names.size(); ++k) {
        if (isSoft(penalty.lowerLinear, penalty.lowerQuadratic, lower[k], k) ||
            isSoft(penalty.upperLinear, penalty.upperQuadratic, upper[k], k)) {
            return kind + " " + quoted(names[k]);
        }
    }
    return {};
}

}  // namespace

std::string softMember(const Model& model) {
    const std::string row =
        softMember(model.rowPenalty, model.rowLower, model.rowUpper, model.rows, "row");
    return row.empty() ? softMember(model.boundPenalty, model.lower, model.upper, model.variables,
                                    "variable")
                       : row;
}

}  // namespace activeset::io
