#include "solver_bench.hpp"

#include <algorithm>
#include <cmath>

#include "activeset/sizes.hpp"
#include "judge.hpp"

namespace activeset::fuzz {

using test::Inf;
using Matrix = OPTMatrix<double>;

double largest(const Matrix& matrix, std::size_t cols) {
    double value = 1.0;
    for (std::size_t j = 0; j < cols; ++j) {
        for (std::size_t i = 0; i < matrix.getRows(); ++i) {
            value = std::max(value, std::abs(matrix(i, j)));
        }
    }
    return value;
}

double dot(const Matrix& A, std::size_t i, const Matrix& B, std::size_t j) {
    double sum = 0.0;
    for (std::size_t k = 0; k < A.getRows(); ++k) {
        sum += A(k, i) * B(k, j);
    }
    return sum;
}

Matrix residual(const Matrix& g, const Matrix& M, const Matrix& v, std::size_t cols) {
    Matrix sum(g.getRows(), 1);
    for (std::size_t i = 0; i < g.getRows(); ++i) {
        sum(i, 0) = g(i, 0);
        for (std::size_t k = 0; k < cols; ++k) {
            sum(i, 0) += M(i, k) * v(k, 0);
        }
    }
    return sum;
}

void SolverBench::decodeProblem() {
    Bytes& bytes = bytes_;
    const std::size_t n = bytes.below(9) + 1;
    const std::size_t mIneq = bytes.below(9);
    const std::size_t mEq = bytes.oneIn(2) ? bytes.below(std::min<std::size_t>(n, 3) + 1) : 0;
    const auto numbers = [&](std::size_t count) {
        std::vector<double> result(count);
        std::generate(result.begin(), result.end(), [&] { return bytes.small(); });
        return result;
    };
    const auto rows = [&](std::size_t count) {
        test::Rows result(count);
        std::generate(result.begin(), result.end(), [&] { return numbers(n); });
        return result;
    };
    test::Problem problem{{},           numbers(n), rows(mIneq), numbers(mIneq), rows(mEq),
                          numbers(mEq), numbers(n), numbers(n),  numbers(n)};
    if (!bytes.oneIn(4)) {
        problem.H = test::Rows(n, std::vector<double>(n));
    }
    const bool isDefinite = !bytes.oneIn(4);
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < j && !problem.H.empty(); ++i) {
            problem.H[i][j] = problem.H[j][i] = bytes.small() / 8.0;
        }
        if (!problem.H.empty()) {
            problem.H[j][j] = isDefinite ? 5.0 : bytes.small();  // dominates its row, or not
        }
        const std::size_t kind = bytes.below(4);
        problem.lb[j] = kind % 2 == 0 ? -Inf : problem.lb[j];
        problem.ub[j] = kind < 2 ? Inf : std::max(problem.ub[j], problem.lb[j]);
    }
    problem_ = problem;
}

test::Bench& SolverBench::build() {
    test::Bench& made = *benches_.emplace_back(std::make_unique<test::Bench>(problem_));
    made.options.setDisplay("testing");
    made.options.setMaxIter(60);
    return made;
}

void SolverBench::init() {
    decodeProblem();
    test::Bench& made = build();
    std::vector<double> equalities;
    for (std::size_t i = 0; i < problem_.Aeq.size(); ++i) {
        equalities.push_back(static_cast<double>(i + 1));
    }
    std::vector<double> rows;
    const std::size_t room = std::min(problem_.A.size(), problem_.n() - equalities.size());
    for (std::size_t i = 0; i < std::min(bytes_.below(4), room); ++i) {
        rows.push_back(static_cast<double>(i + 1));
    }
    Matrix x = test::columnMatrix(problem_.x0);
    solver_.init(made.objective.get(), &made.constraint, &made.options, x, nullptr,
                 test::column(equalities), test::column(rows), nullptr, nullptr);
    solver_.initializeFactorization();
    solver_._setactivesetChangeIndicator(IsolverAS::NoIncrementalChange);
    direct();
}

void SolverBench::judgeFactors() {
    const std::size_t n = problem_.n();
    const Matrix& Q = solver_.getQ();
    const Matrix& R = solver_.getQRwset();
    const Matrix& Aw = solver_.getAw();
    // Rounding accumulates from change to change; there are at most a few hundred.
    const double tolerance = 1e5 * static_cast<double>(n) * test::Eps;
    const double scale = largest(Aw, ActiveSet::getmaConstr());
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            require(std::abs(dot(Q, i, Q, j) - (i == j ? 1.0 : 0.0)) <= tolerance,
                    "Q is not orthogonal");
        }
        for (std::size_t j = 0; j < ActiveSet::getmaConstr(); ++j) {
            const double expected = i <= j ? R(i, j) : 0.0;
            require(std::abs(dot(Q, i, Aw, j) - expected) <= tolerance * scale, "Q·R is not Aw");
            require(i <= j || i >= ActiveSet::getmaConstr() || R(i, j) == 0.0,
                    "R is not triangular");
        }
    }
}

// p lies in the null space. If the reduced Hessian is positive definite, p is the step to the
// minimum there: Zᵀ(H·p + g) = 0, up to rounding.
void SolverBench::direct() {
    const std::size_t n = problem_.n();
    const std::size_t m = ActiveSet::getmaConstr();
    Matrix g = gradient();
    Matrix p(n, 1);
    solver_.getSolution().setSolutionState(ASQP::Undecided);
    solver_.getSearchDirection(g, p);
    judgeFactors();
    const Matrix& Q = solver_.getQ();
    const double size = largest(p, 1);
    const double tolerance = 1e-8 * size * largest(solver_.getAw(), m);
    for (std::size_t j = 0; j < m; ++j) {  // columns of Q, because Aw may be rank deficient
        require(std::abs(dot(Q, j, p, 0)) <= tolerance, "the direction leaves the working set");
    }
    require(dot(g, 0, p, 0) <= tolerance * largest(g, 1), "the direction ascends");
    if (problem_.H.empty() ||
        solver_.getSolution().getSolutoinState() == ASQP::HessianNotPositiveDefinite) {
        return;
    }
    const Matrix sum = residual(g, test::matrix(problem_.H), p, n);
    for (std::size_t k = m; k < n; ++k) {
        require(std::abs(dot(Q, k, sum, 0)) <= 1e-7 * (size + largest(g, 1)),
                "the direction does not lead to the minimum");
    }
}

}  // namespace activeset::fuzz
