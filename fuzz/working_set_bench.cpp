#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "activeset/sizes.hpp"
#include "benches.hpp"
#include "judge.hpp"
#include "solve/call.hpp"
#include "support/build.hpp"
#include "support/test_access.hpp"
#include "thread_state.hpp"

namespace activeset::fuzz {

namespace {

using Matrix = OPTMatrix<double>;
using test::Inf;

constexpr std::array<KnownError, 9> Misuse{{{"optim:optimHstError:unhandledError", ""},
                                            {AssertionIdentifier, ""},
                                            {"optim:activesetqp:ActiveInequalitySizeError", ""},
                                            {"optim:activesetqp:ActiveLowerBoundSizeError", ""},
                                            {"optim:activesetqp:ActiveUpperBoundSizeError", ""},
                                            {"optim:src:activesetqp:ActiveConstraintSizeError", ""},
                                            {"optim:src:activesetqp:setWsetIndicesError", ""},
                                            {"optim:src:activesetqp:elementNotFound", ""},
                                            {"optim:src:activesetqp:problemNullPointer", ""}}};

double largest(const Matrix& matrix, std::size_t cols) {
    double value = 1.0;
    for (std::size_t j = 0; j < cols; ++j) {
        for (std::size_t i = 0; i < matrix.getRows(); ++i) {
            value = std::max(value, std::abs(matrix(i, j)));
        }
    }
    return value;
}

/// Column i of A times column j of B.
double dot(const Matrix& A, std::size_t i, const Matrix& B, std::size_t j) {
    double sum = 0.0;
    for (std::size_t k = 0; k < A.getRows(); ++k) {
        sum += A(k, i) * B(k, j);
    }
    return sum;
}

/// g + M·v over the first `cols` columns of M.
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

/// A problem with small numbers; one Hessian in four may be indefinite.
test::Problem decodeProblem(Bytes& bytes) {
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
    return problem;
}

class WorkingSetBench {
public:
    explicit WorkingSetBench(Bytes& bytes) : bytes_(bytes) {}

    void followChanges() {
        init();
        while (!bytes_.isEmpty()) {
            const std::size_t change = bytes_.below(16);
            if (change == 0) {
                init();
            } else if (change == 1) {
                solver_._setactivesetChangeIndicator(IsolverAS::NoIncrementalChange);
                direct();
            } else if (change < 4) {
                multiply();
            } else if (change < 9) {
                remove();
            } else {
                add();
            }
            judgeFactors();
            releaseMatrixPool();
        }
    }

    void callInAnyOrder() {
        problem_ = decodeProblem(bytes_);
        build();
        while (!bytes_.isEmpty()) {
            try {
                callAny();
            } catch (const HostError& error) {
                if (!isAmong(Misuse, error)) {
                    condemnError(error);
                }
            }
            releaseMatrixPool();
        }
    }

private:
    /// Makes new objects for the last problem, so that the thread's sizes are those of this
    /// problem. The earlier objects stay, because the solver may still be bound to them.
    test::Bench& build() {
        test::Bench& made = *benches_.emplace_back(std::make_unique<test::Bench>(problem_));
        made.options.setDisplay("testing");
        made.options.setMaxIter(60);
        return made;
    }
    test::Bench& bench() { return *benches_.back(); }
    Matrix gradient() { return bench().objective->grad(test::columnMatrix(problem_.x0)); }

    void init() {
        problem_ = decodeProblem(bytes_);
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

    // Aw = Q·R over the working set, QᵀQ = I, R upper triangular.
    void judgeFactors() {
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
                require(std::abs(dot(Q, i, Aw, j) - expected) <= tolerance * scale,
                        "Q·R is not Aw");
                require(i <= j || i >= ActiveSet::getmaConstr() || R(i, j) == 0.0,
                        "R is not triangular");
            }
        }
    }

    // p lies in the null space. If the reduced Hessian is positive definite, p is the step to the
    // minimum there: Zᵀ(H·p + g) = 0, up to rounding.
    void direct() {
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

    // The multipliers minimise the norm of g + Aw·lambda: the residual is orthogonal to Aw.
    void multiply() {
        const std::size_t m = ActiveSet::getmaConstr();
        const Matrix& Aw = solver_.getAw();
        Matrix g = gradient();
        Matrix lambda(problem_.n() + 1, 1);
        double pivot = test::Inf;
        for (std::size_t k = 0; k < m; ++k) {
            pivot = std::min(pivot, std::abs(solver_.getQRwset()(k, k)));
        }
        try {
            solver_.computeLambda(g, lambda);
        } catch (const HostError& error) {
            require(pivot == 0.0, std::string("no multipliers: ") + error.what());
            return;
        }
        require(pivot != 0.0, "multipliers from a singular matrix");
        const double scale = largest(Aw, m);
        const double size = largest(g, 1) + largest(lambda, 1) * scale;
        const Matrix sum = residual(g, Aw, lambda, m);
        for (std::size_t j = 0; pivot >= 1e-3 && j < m; ++j) {
            require(std::abs(dot(Aw, j, sum, 0)) <= 1e-9 * size * scale, "other multipliers");
        }
    }

    // While there is room, any constraint that is not in the working set may join it.
    void add() {
        LinearConstraint& constraint = bench().constraint;
        ActiveSet& active = solver_.getActiveSet();
        const std::size_t firstLower = OPTsizes::getmEq() + OPTsizes::getmIneq();
        const std::size_t kind = bytes_.below(3);
        const std::array<std::size_t, 3> counts{OPTsizes::getmIneq(), OPTsizes::getmLB(),
                                                OPTsizes::getmUB()};
        if (counts.at(kind) == 0) {
            return;
        }
        const std::size_t index = bytes_.below(counts.at(kind));
        const std::size_t number = kind == 0 ? OPTsizes::getmEq() + index
                                   : kind == 1
                                       ? firstLower + constraint.getindexLB()[index]
                                       : firstLower + problem_.n() + constraint.getindexUB()[index];
        const std::size_t size = ActiveSet::getmaConstr();
        std::size_t place = 0;
        if (active.findConstraint(active.getWset(), size, number, place) == 1) {
            return;
        }
        constexpr std::array<const char*, 3> Kinds{"ineq", "lower", "upper"};
        const auto before = test::counts();
        try {
            TestAccess::add(solver_, number, index, Kinds.at(kind));
        } catch (const HostError&) {
            require(size == problem_.n() && test::counts() == before, "no room, but there is");
            return;
        }
        require(size < problem_.n(), "more constraints than variables");
        direct();
    }

    void remove() {
        const std::size_t count = ActiveSet::getmaConstr();
        const std::size_t position = bytes_.below(count + 1);
        const bool canLeave = position >= problem_.Aeq.size() && position < count;
        const auto before = test::counts();
        try {
            solver_.removeConstraint(position);
        } catch (const HostError&) {
            require(!canLeave && test::counts() == before, "it can leave");
            return;
        }
        require(canLeave, "an equality left the working set, or what is not there");
        solver_._setindexOfDepartingConstraint(position);
        direct();
    }

    // Phase one's residuals of a constraint set. The thread's sizes may be those of another
    // problem.
    void relax(Matrix& y) {
        const CountsGuard counts;  // restores them, also if nothing is raised
        LinearConstraint& constraint = bytes_.oneIn(2) ? build().constraint : bench().constraint;
        LinearConstraint copy(constraint);
        copy = benches_[bytes_.below(benches_.size())]->constraint;
        static_cast<void>(copy.constrViolation(y));
        OPTsizes::setnVar(OPTsizes::getnVar() + 1);
        PhaseOneConstraint relaxed(&constraint);
        const std::size_t k = bytes_.below(8);
        for (Matrix* matrix : {&relaxed.getA(), &relaxed.getAeq(), &relaxed.getAlb(),
                               &relaxed.getAub(), &relaxed.getAfixed()}) {
            require(matrix->getRows() == 0 || matrix->getCols() == OPTsizes::getnVar(),
                    "a relaxed row of another length");
        }
        static_cast<void>(relaxed.AubRow(k));
        static_cast<void>(relaxed.ARow(k));
        static_cast<void>(relaxed.constrViolation(y));
    }

    void callAny() {
        const std::size_t height = bytes_.oneIn(4) ? bytes_.below(12) : OPTsizes::getnVar();
        Matrix first(height, 1);
        first.fill(bytes_.small());
        Matrix second(height, 1);
        double alpha = 1.0;
        using Change = IsolverAS::workingSetChange;
        const std::array<std::function<void()>, 20> members{
            [&] { init(); },
            [&] { problem_ = decodeProblem(bytes_), build(); },
            [&] { solver_.resetIsolverAS(); },
            [&] { solver_.getSearchDirection(first, second); },
            [&] { solver_.computeLambda(first, second); },
            [&] {
                if (solver_.getConstraint() != nullptr) {
                    static_cast<void>(
                        solver_.feasibleWorkingSetX0(first, *solver_.getConstraint()));
                }
            },
            [&] { solver_.initializeFactorization(); },
            [&] { solver_.resetFactorization(); },
            [&] { solver_.PrintSizes(); },
            [&] { static_cast<void>(solver_._createAw()); },
            [&] { solver_.ASiterations(); },
            [&] { static_cast<void>(solver_._isLambdaNonNeg()); },
            [&] { static_cast<void>(solver_._unboundedOrIllPosed(first, alpha)); },
            [&] { solver_.removeConstraint(bytes_.below(16)); },
            [&] { solver_.setLambdaForAllConstraints(first); },
            [&] { solver_.setnewActiveConstraint(first); },
            [&] {
                constexpr std::array<Change, 3> Changes{IsolverAS::NoIncrementalChange,
                                                        IsolverAS::ConstraintAdded,
                                                        IsolverAS::ConstraintRemoved};
                solver_._setactivesetChangeIndicator(Changes.at(bytes_.below(Changes.size())));
                solver_._setindexOfDepartingConstraint(bytes_.below(16));
            },
            [&] {
                const NullSpaceAS copy(solver_);
                solver_ = NullSpaceAS();
                solver_ = copy;
            },
            [&] {
                test::Bench& made = build();
                static_cast<void>(solver_(*made.objective, made.constraint,
                                          test::column(problem_.x0), made.options, nullptr, nullptr,
                                          nullptr));
            },
            [&] { relax(first); }};
        members.at(bytes_.below(members.size()))();
    }

    Bytes& bytes_;
    const CallScope scope_;
    test::Problem problem_{};
    std::vector<std::unique_ptr<test::Bench>> benches_;
    NullSpaceAS solver_;
};

}  // namespace

void followWorkingSet(Bytes& bytes) {
    WorkingSetBench(bytes).followChanges();
}

void callInAnyOrder(Bytes& bytes) {
    WorkingSetBench(bytes).callInAnyOrder();
}

}  // namespace activeset::fuzz
