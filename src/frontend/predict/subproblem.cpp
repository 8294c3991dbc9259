// The shifted problem and its factor.
#include "frontend/predict/subproblem.hpp"

#include <cmath>
#include <utility>

#include "frontend/problem/submatrices.hpp"

namespace activeset::frontend {

namespace {

// H + ρI is safely positive definite if its pivots are above n times this part of the largest
// diagonal entry.
constexpr double SafePivot = 1e-15;

}  // namespace

Vector proximalSlope(const ProblemData& data, double rho, const Vector& centre) {
    Vector c = data.c;
    axpy(-rho, centre.data(), c.data(), c.size());
    return c;
}

Subproblem::Subproblem(const ProblemData& problem, double rho)
    : problem_(problem),
      rho_(rho),
      shifted_(rho > 0.0 ? shifted(problem, rho) : ProblemData()),
      factor_(lowerHalfOf(data())),
      isDefinite_(factoriseLower(factor_, SafePivot * static_cast<double>(problem.n))),
      sets_(std::in_place, data(), factor_) {}

void Subproblem::forget() {
    sets_.emplace(data(), factor_);
}

void Subproblem::setCentre(const Vector& centre) {
    if (!(rho_ > 0.0)) {
        return;
    }
    shifted_.c = proximalSlope(problem_, rho_, centre);
    shifted_.rowLower = problem_.rowLower;
    shifted_.rowUpper = problem_.rowUpper;
    shifted_.lower = problem_.lower;
    shifted_.upper = problem_.upper;
}

const Vector& Subproblem::weights() {
    if (weights_.empty()) {
        const ProblemData& all = data();
        Vector squares(all.m + all.n, 0.0);
        for (std::size_t j = 0; j < all.n; ++j) {
            const double scale = 1.0 / all.columnOfH(j)[j];
            const double* column = all.columnOfA(j);
            for (std::size_t i = 0; i < all.m; ++i) {
                squares[i] += column[i] * column[i] * scale;
            }
            squares[all.m + j] = scale;
        }
        for (double& square : squares) {
            square = square > 0.0 ? 1.0 / std::sqrt(square) : 1.0;
        }
        weights_ = std::move(squares);
    }
    return weights_;
}

}  // namespace activeset::frontend
