// The search for the shift of H, by inverse iteration; see Golub and Van Loan, Matrix Computations.
#include "frontend/loop/hessian_shift.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/dense_views.hpp"
#include "frontend/proof/convexity.hpp"

namespace activeset::frontend {

namespace {

/// Encloses the least δ for which M + δI is positive definite, M = H on the equalities.
class ShiftSearch {
public:
    ShiftSearch(const ProblemData& data, const Vector& direction, Control& control)
        : reduced_(reducedHessian(data, direction)),
          control_(control),
          least_(-curvature(data, normalised(direction)).absolute) {}

    [[nodiscard]] double shift() {
        if (!(least_ > 0.0) || !findEnough()) {
            return Infinity;
        }
        for (int trial = 0; trial < MostTrials; ++trial) {
            control_.poll();
            if (control_.mustEnd()) {
                return Infinity;
            }
            const double likely = ShiftMargin * raisedLeast();
            if (likely >= enough_ || isEnough(likely)) {
                break;
            }
            least_ = likely;
            const double middle = 0.5 * (least_ + enough_);
            least_ = isEnough(middle) ? least_ : middle;
        }
        return enough_;
    }

private:
    static constexpr double ShiftMargin = 1.0 + 1e-3;
    static constexpr int MostTrials = 12;  // each halves what is between the limits
    static constexpr int MostDoublings = 100;

    static Vector normalised(Vector v) {
        const double length = std::sqrt(dot(v.data(), v.data(), v.size()));
        for (double& entry : v) {
            entry /= length;
        }
        return v;
    }

    [[nodiscard]] bool findEnough() {
        double likely = 2.0 * least_;
        for (int trial = 0; trial < MostDoublings && std::isfinite(likely); ++trial) {
            control_.poll();
            if (control_.mustEnd()) {
                return false;
            }
            if (isEnough(likely)) {
                return true;
            }
            least_ = likely;
            likely *= 2.0;
        }
        return false;
    }

    /// Keeps the factor if so.
    [[nodiscard]] bool isEnough(double shift) {
        Dense matrix = reduced_.hessian;
        for (std::size_t j = 0; j < matrix.cols; ++j) {
            matrix(j, j) += shift;
        }
        if (!factoriseLower(matrix, 0.0)) {
            return false;
        }
        factor_ = std::move(matrix);
        enough_ = shift;
        return true;
    }

    /// The direction turns to the eigenvector of the least eigenvalue; M + enough·I has the
    /// curvature ‖L⁻¹v‖² / ‖L⁻ᵀL⁻¹v‖² along the last one.
    [[nodiscard]] double raisedLeast() {
        constexpr int MostIterations = 8;
        constexpr double NoGrowth = 1e-4;
        for (int k = 0; k < MostIterations; ++k) {
            const double before = least_;
            Vector& v = reduced_.direction;
            v = normalised(std::move(v));
            blas::trsvLower(Op::None, viewOf(std::as_const(factor_)), v.data());
            const double above = dot(v.data(), v.data(), v.size());
            blas::trsvLower(Op::Transpose, viewOf(std::as_const(factor_)), v.data());
            least_ = std::max(least_, enough_ - above / dot(v.data(), v.data(), v.size()));
            if (k > 0 && least_ - before <= NoGrowth * least_) {
                break;
            }
        }
        return least_;
    }

    ReducedHessian reduced_;
    Control& control_;
    double least_;         ///< no δ below this is enough
    double enough_ = 0.0;  ///< this one is
    Dense factor_;         ///< L of M + enough·I
};

}  // namespace

double sufficientShift(const ProblemData& data, const Vector& direction, Control& control) {
    return ShiftSearch(data, direction, control).shift();
}

double relativeShift(const ProblemData& data, double shift) {
    constexpr int Most = 1000;
    const double unit = std::ldexp(1.0, std::min(Most, -std::ilogb(data.H.largest())));
    Vector column(data.n);
    double squares = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        std::transform(data.columnOfH(j), data.columnOfH(j) + data.n, column.begin(),
                       [unit](double entry) { return unit * entry; });
        squares += dot(column.data(), column.data(), data.n);
    }
    return shift * unit / std::sqrt(squares);
}

}  // namespace activeset::frontend
