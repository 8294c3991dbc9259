// Finds out which sides of a model are soft, and what they cost.
#include "io/penalties.hpp"

#include <cmath>

#include "io/location.hpp"
#include "io/model.hpp"

namespace activeset::io {

namespace {

SidePrice priceOf(const std::vector<double>& linear,
                  const std::vector<double>& quadratic,
                  std::size_t k,
                  double side) {
    const double curvature = quadratic.empty() ? 0.0 : quadratic[k];
    const double slope = !linear.empty() ? linear[k] : curvature > 0.0 ? 0.0 : SidePrice().linear;
    return std::isfinite(side) && std::isfinite(slope) ? SidePrice{slope, curvature} : SidePrice();
}

std::string softMember(const Penalties& penalty,
                       const std::vector<double>& lower,
                       const std::vector<double>& upper,
                       const std::vector<std::string>& names,
                       const std::string& kind) {
    for (std::size_t k = 0; k < names.size(); ++k) {
        if (lowerPrice(penalty, k, lower[k]) != SidePrice() ||
            upperPrice(penalty, k, upper[k]) != SidePrice()) {
            return kind + " " + quoted(names[k]);
        }
    }
    return {};
}

}  // namespace

SidePrice lowerPrice(const Penalties& penalty, std::size_t k, double side) {
    return priceOf(penalty.lowerLinear, penalty.lowerQuadratic, k, side);
}

SidePrice upperPrice(const Penalties& penalty, std::size_t k, double side) {
    return priceOf(penalty.upperLinear, penalty.upperQuadratic, k, side);
}

std::string softMember(const Model& model) {
    const std::string row =
        softMember(model.rowPenalty, model.rowLower, model.rowUpper, model.rows, "row");
    return row.empty() ? softMember(model.boundPenalty, model.lower, model.upper, model.variables,
                                    "variable")
                       : row;
}

}  // namespace activeset::io
