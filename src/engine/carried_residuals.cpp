// Carrying the residuals of the inequalities from step to step.
#include "activeset/internal/carried_residuals.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace activeset {

namespace {

void assign(OPTMatrix<double>& target, std::span<const double> values) {
    if (target.size() != values.size()) {
        target.reset(values.size(), 1);
    }
    std::copy(values.begin(), values.end(), target.getData());
}

}  // namespace

void CarriedResiduals::clear() {
    forget();
    residuals_.clear();
    point_.clear();
}

bool CarriedResiduals::copyTo(std::span<const double> x,
                              std::span<double> out,
                              double tolerance) const {
    constexpr double ShareOfTolerance = 1e-4;
    if (!isValid_ || steps_ >= RefreshAfter || !(error_ < ShareOfTolerance * tolerance) ||
        residuals_.size() != out.size() || point_.size() != x.size() ||
        !std::equal(x.begin(), x.end(), point_.getData())) {
        return false;
    }
    std::copy_n(residuals_.getData(), out.size(), out.begin());
    return true;
}

void CarriedResiduals::take(std::span<const double> x, std::span<const double> residuals) {
    forget();
    assign(residuals_, residuals);
    assign(point_, x);
    error_ = 0.0;
    steps_ = 0;
    isValid_ = true;
}

void CarriedResiduals::follow(double alpha,
                              std::span<const double> rates,
                              std::span<const double> x) {
    if (!isValid_ || rates.size() != residuals_.size()) {
        return;
    }
    double* residual = residuals_.getData();
    double largest = 0.0;
    double longest = 0.0;
    for (size_t i = 0; i < rates.size(); ++i) {
        const double change = alpha * rates[i];
        largest = std::max(largest, std::abs(residual[i]));
        longest = std::max(longest, std::abs(change));
        residual[i] += change;
    }
    error_ += std::numeric_limits<double>::epsilon() * (largest + 2.0 * longest);
    ++steps_;
    assign(point_, x);
}

}  // namespace activeset
