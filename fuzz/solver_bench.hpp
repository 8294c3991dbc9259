// A solver and the problems that it is bound to, for the targets of the class interface.
#ifndef ACTIVESET_FUZZ_SOLVER_BENCH_HPP
#define ACTIVESET_FUZZ_SOLVER_BENCH_HPP

#include <memory>
#include <vector>

#include "activeset/host.hpp"
#include "bytes.hpp"
#include "support/build.hpp"

namespace activeset::fuzz {

class SolverBench {
protected:
    using Matrix = OPTMatrix<double>;

    explicit SolverBench(Bytes& bytes) : bytes_(bytes) {}

    /// Decodes a problem with small numbers; one Hessian in four may be indefinite.
    void decodeProblem();
    /// Makes new objects for the last problem, so that the thread's sizes are those of this
    /// problem. The earlier objects stay, because the solver may still be bound to them.
    test::Bench& build();
    test::Bench& bench() { return *benches_.back(); }
    Matrix gradient() { return bench().objective->grad(test::columnMatrix(problem_.x0)); }
    /// Binds the solver to a new problem with all equalities and a few rows in the working set.
    void init();
    /// Computes a direction, and checks it and the factors.
    void direct();
    /// Aw = Q·R over the working set, QᵀQ = I, R upper triangular.
    void judgeFactors();

    Bytes& bytes_;
    const CallScope scope_;
    test::Problem problem_{};
    std::vector<std::unique_ptr<test::Bench>> benches_;
    NullSpaceAS solver_;
};

/// The largest magnitude in the first `cols` columns, at least 1.
double largest(const OPTMatrix<double>& matrix, std::size_t cols);
/// Column i of A times column j of B.
double dot(const OPTMatrix<double>& A, std::size_t i, const OPTMatrix<double>& B, std::size_t j);
/// g + M·v over the first `cols` columns of M.
OPTMatrix<double> residual(const OPTMatrix<double>& g,
                           const OPTMatrix<double>& M,
                           const OPTMatrix<double>& v,
                           std::size_t cols);

}  // namespace activeset::fuzz

#endif
