// The residuals A·x − b of the inequalities, carried along the steps.
#ifndef ACTIVESET_INTERNAL_CARRIED_RESIDUALS_HPP
#define ACTIVESET_INTERNAL_CARRIED_RESIDUALS_HPP

#include <cstddef>
#include <span>

#include "activeset/export.hpp"
#include "activeset/matrix.hpp"

namespace activeset {

/// After a step of length α along p the residuals are r + α·(A·p), and the ratio test has computed
/// A·p: so the product with the new point, one of the largest of a pass, is not needed.
///
/// Beside the errors of the products themselves, which computing afresh has as well, each step adds
/// rounding errors of at most ε·(max|r| + 2·max|α·A·p|). These are added up; when their sum reaches
/// a ten-thousandth of TolCon, or after RefreshAfter steps, or when the point is not the one that
/// the residuals were carried to, they are computed afresh. Small products save no time: they are
/// always computed, so that ties between constraints are those of the plain computation.
class ACTIVESET_API CarriedResiduals {
public:
    /// Products of at least this many matrix elements are carried.
    static constexpr size_t SmallestProduct = size_t{1} << 14U;
    static constexpr int RefreshAfter = 50;

    /// The next residuals are computed.
    void forget() noexcept { isValid_ = false; }
    void clear();
    /// Writes the residuals at x to `out`, if it knows them.
    [[nodiscard]] bool copyTo(std::span<const double> x,
                              std::span<double> out,
                              double tolerance) const;
    /// Takes residuals that were computed at x.
    void take(std::span<const double> x, std::span<const double> residuals);
    /// The point moved to x, by alpha times a direction with these rates. Does nothing unless the
    /// residuals before the step are known.
    void follow(double alpha, std::span<const double> rates, std::span<const double> x);

private:
    OPTMatrix<double> residuals_;
    OPTMatrix<double> point_;
    double error_ = 0.0;  // bound for what rounding has done to any entry
    int steps_ = 0;
    bool isValid_ = false;
};

}  // namespace activeset

#endif
