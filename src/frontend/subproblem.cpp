// The shifted problem and its factor.
#include "frontend/subproblem.hpp"

namespace activeset::frontend {

namespace {

Data shifted(const Data& problem, double rho) {
    if (!(rho > 0.0)) {
        return {};
    }
    Data result = problem;
    result.H.resize(result.n * result.n, 0.0);
    for (std::size_t j = 0; j < result.n; ++j) {
        result.H[j * result.n + j] += rho;
    }
    result.quadratic = true;
    return result;
}

Dense hessianOf(const Data& data) {
    Dense H(data.n, data.n);
    if (data.quadratic) {
        H.values = data.H;
    }
    return H;
}

}  // namespace

Subproblem::Subproblem(const Data& problem, double rho)
    : problem_(problem),
      rho_(rho),
      shifted_(shifted(problem, rho)),
      factor_(hessianOf(data())),
      isDefinite_(factoriseUpper(factor_, 1e-15 * static_cast<double>(problem.n))),
      system_(data(), factor_) {}

void Subproblem::setCentre(const Vector& centre) {
    if (!(rho_ > 0.0)) {
        return;
    }
    shifted_.c = problem_.c;
    axpy(-rho_, centre.data(), shifted_.c.data(), centre.size());
    shifted_.rowLower = problem_.rowLower;
    shifted_.rowUpper = problem_.rowUpper;
    shifted_.lower = problem_.lower;
    shifted_.upper = problem_.upper;
}

}  // namespace activeset::frontend
