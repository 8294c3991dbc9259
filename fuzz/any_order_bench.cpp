// Public members of a solver in any order, before init() and after errors, too.
#include <array>
#include <functional>

#include "activeset/sizes.hpp"
#include "benches.hpp"
#include "judge.hpp"
#include "solver_bench.hpp"
#include "thread_state.hpp"

namespace activeset::fuzz {

namespace {

constexpr std::array<KnownError, 9> Misuse{{{"optim:optimHstError:unhandledError", ""},
                                            {AssertionIdentifier, ""},
                                            {"optim:activesetqp:ActiveInequalitySizeError", ""},
                                            {"optim:activesetqp:ActiveLowerBoundSizeError", ""},
                                            {"optim:activesetqp:ActiveUpperBoundSizeError", ""},
                                            {"optim:src:activesetqp:ActiveConstraintSizeError", ""},
                                            {"optim:src:activesetqp:setWsetIndicesError", ""},
                                            {"optim:src:activesetqp:elementNotFound", ""},
                                            {"optim:src:activesetqp:problemNullPointer", ""}}};

class AnyOrderBench : SolverBench {
public:
    explicit AnyOrderBench(Bytes& bytes) : SolverBench(bytes) {}

    void callInAnyOrder() {
        decodeProblem();
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
            [&] { decodeProblem(), build(); },
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
};

}  // namespace

void callInAnyOrder(Bytes& bytes) {
    AnyOrderBench(bytes).callInAnyOrder();
}

}  // namespace activeset::fuzz
