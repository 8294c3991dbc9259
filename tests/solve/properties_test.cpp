// What a call promises for strictly convex problems, checked on all shapes of the generator.
// RC_PARAMS sets another seed or number of problems, such as "seed=5 max_success=100000".
#include <gtest/gtest.h>

#include <cstdlib>

#include "solve/examples.hpp"
#include "solve/optimality.hpp"
#include "solve/proven_violation.hpp"
#include "solve/recorder.hpp"
#include "support/any_problem.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

bool isZero(const Numbers& numbers) {
    return std::ranges::all_of(numbers, [](double number) { return number == 0.0; });
}

/// Collects the promises that the result of one call breaks.
class Judge {
public:
    Judge(const AnyProblem& any, const Limits& limits)
        : any_(any), limits_(limits), all_(constraintsOf(problem_)) {
        for (const RowConstraint& constraint : all_) {
            largestRow_ = std::max(largestRow_, largest(constraint.row));
        }
    }

    /// Empty if the result keeps all promises.
    std::string faultsOf(const RecordedSolve& solved) {
        result_ = solved.result;
        passes_ = static_cast<double>(solved.rows.size());
        hasPhaseOneRun_ = solved.bench.solver.getPhaseOneOutcome().hasRun;
        reach_ = std::max({1.0, solved.reach, largest(problem_.start())});
        // Equalities with zero rows can only be violated by the start, which is returned then.
        const bool isStartsValue = result_.state == ASQP::Infeasible && !hasPhaseOneRun_;
        const Numbers& point = isStartsValue ? problem_.x0 : result_.x;
        double terms = 1.0;
        for (size_t i = 0; i < problem_.n(); ++i) {
            terms += std::abs(problem_.c[i] * reach_);
            for (size_t j = 0; j < problem_.n(); ++j) {
                terms += std::abs(problem_.H[i][j] * reach_ * reach_);
            }
        }
        require(std::abs(result_.f - objectiveAt(problem_, point)) <= rounding() * terms, "value");
        const bool isWithoutLists = result_.lists == std::array<Numbers, 4>{};
        if (result_.state == ASQP::DependentConstraints && !isWithoutLists) {
            require(canHoldDependentRows(), "least-squares solve failed");
            return faults_;
        }
        require(any_.isContradictory == (result_.state == ASQP::DependentConstraints),
                "contradiction of equalities");
        if (result_.state == ASQP::Optimal) {
            judgeOptimum();
        } else if (result_.state == ASQP::Infeasible) {
            judgeInfeasible();
        } else if (result_.state == ASQP::MaxIterReached) {
            require(canHoldDependentRows(), "cycles");
            for (const RowConstraint& constraint : all_) {
                const double residual = dot(constraint.row, result_.x) - constraint.rhs;
                require(residual <= limits_.tolCon + rounding(constraint), "violated");
            }
        } else {
            require(result_.state == ASQP::DependentConstraints, "state");
            require(result_.x == problem_.x0 && isZero(result_.lambda),
                    "something happened before the contradiction was found");
        }
        return faults_;
    }

    /// The text of the error that the initial lists must raise, if any. The lists are first cut
    /// from the end to n entries, equalities included; then their lengths are tested.
    [[nodiscard]] std::string expectedError() const {
        size_t room = problem_.n() - std::min(any_.rank, problem_.n());
        std::array<size_t, 3> exist{problem_.A.size(), 0, 0};
        for (size_t i = 0; i < problem_.n(); ++i) {
            exist[1] += problem_.lb[i] > -Inf ? 1U : 0U;
            exist[2] += problem_.ub[i] < Inf ? 1U : 0U;
        }
        const std::array<const char*, 3> kinds{"inequality", "lower bound", "upper bound"};
        const std::array<const Numbers*, 3> lists{&problem_.Wineq, &problem_.Wlower,
                                                  &problem_.Wupper};
        for (size_t kind = 0; kind < 3 && !any_.isContradictory; ++kind) {
            const size_t used = std::min(room, lists.at(kind)->size());
            room -= used;
            if (used > exist.at(kind)) {
                return std::string("Length of active ") + kinds.at(kind) +
                       " vector must be less than " + kinds.at(kind) + " vector.";
            }
        }
        return {};
    }

    /// The rounding of a row this large exceeds the rate from which a row counts as approached, so
    /// a row that depends on the working set can enter it. Then R is singular up to rounding,
    /// multipliers are meaningless, and the passes can cycle; or R is exactly singular. Repeated in
    /// an initial list such a row stays, because the rank test is absolute, too.
    [[nodiscard]] bool canHoldDependentRows() const {
        return largestRow_ * static_cast<double>(problem_.n()) > 1000.0;
    }

private:
    void require(bool isTrue, const std::string& what) {
        if (!isTrue) {
            faults_ += what + " (state " + std::to_string(result_.state) + "); ";
        }
    }
    [[nodiscard]] double rounding() const { return 16.0 * static_cast<double>(problem_.n()) * Eps; }
    /// The rounding of the row's product with any point on the way.
    [[nodiscard]] double rounding(const RowConstraint& constraint) const {
        const auto n = static_cast<double>(problem_.n());
        return rounding() * (n * largest(constraint.row) * reach_ + std::abs(constraint.rhs));
    }
    [[nodiscard]] bool isInWorkingSet(const RowConstraint& constraint) const {
        const size_t m = problem_.A.size();
        const size_t n = problem_.n();
        const size_t place = constraint.number - problem_.Aeq.size();
        const size_t kind = constraint.isEquality ? 0 : place < m ? 1 : place < m + n ? 2 : 3;
        const size_t index = kind == 0 ? constraint.number : kind == 1 ? place : (place - m) % n;
        return std::ranges::count(result_.lists.at(kind), static_cast<double>(index + 1)) > 0;
    }

    // Strict convexity makes these conditions a proof.
    void judgeOptimum() {
        const size_t n = problem_.n();
        Numbers gradient = problem_.c;
        double terms = largest(gradient);
        double curvature = 0.0;
        for (size_t i = 0; i < n; ++i) {
            gradient[i] += dot(problem_.H[i], result_.x);
            curvature += largest(problem_.H[i]);
        }
        const bool isStartFeasible = startIsFeasible();
        size_t active = 0;
        for (const RowConstraint& constraint : all_) {
            const double multiplier = result_.lambda.at(constraint.number);
            for (size_t j = 0; j < n; ++j) {
                gradient[j] += multiplier * constraint.row[j];
            }
            terms += largest(constraint.row) * std::abs(multiplier);
            judgeSide(constraint, multiplier);
            if (isInWorkingSet(constraint)) {
                ++active;
                judgeMember(constraint, isStartFeasible);
            } else {
                require(multiplier == 0.0, "multiplier outside the working set");
            }
        }
        judgeLists(active);
        // The solver does not follow a direction shorter than TolX.
        require(largest(gradient) <=
                    rounding() * (terms + curvature * reach_) + curvature * limits_.tolX,
                "gradient not balanced");
    }

    /// Whether no step before the loop has moved the start, and it satisfies the inequalities.
    [[nodiscard]] bool startIsFeasible() const {
        return problem_.Wineq.empty() && problem_.Wlower.empty() && problem_.Wupper.empty() &&
               !hasPhaseOneRun_ && std::ranges::all_of(all_, [&](const RowConstraint& constraint) {
                   return constraint.isEquality ||
                          dot(constraint.row, problem_.x0) - constraint.rhs <= 0.0;
               });
    }

    void judgeSide(const RowConstraint& constraint, double multiplier) {
        const double residual = dot(constraint.row, result_.x) - constraint.rhs;
        const double tolerance = rounding(constraint);
        if (constraint.isEquality) {
            require(std::abs(residual) <= tolerance, "equality missed");
        } else {
            require(residual <= limits_.tolCon + tolerance, "violated");
            require(multiplier >= 0.0, "negative multiplier");
        }
    }

    // A start that is infeasible, or that the lists have moved, may keep a violation up to TolCon.
    void judgeMember(const RowConstraint& constraint, bool isStartFeasible) {
        const double residual = dot(constraint.row, result_.x) - constraint.rhs;
        require(std::abs(residual) <=
                    (isStartFeasible ? 0.0 : limits_.tolCon) + passes_ * rounding(constraint),
                "in the working set, but not active");
    }

    void judgeLists(size_t active) {
        size_t listed = 0;
        for (const Numbers& list : result_.lists) {
            listed += list.size();
        }
        require(listed <= problem_.n(), "more active than variables");
        require(listed == active || canHoldDependentRows(), "active twice, or does not exist");
        require(result_.lists[0].size() == any_.rank, "number of equalities kept");
    }

    // Contradictory multipliers must prove that the problem is infeasible by more than TolCon. This
    // is not checked if rows are so large, or points so far away, that rounding alone violates rows
    // by TolCon.
    void judgeInfeasible() {
        double largestRounding = 0.0;
        double violation = 0.0;
        for (const RowConstraint& constraint : all_) {
            const double residual = dot(constraint.row, result_.x) - constraint.rhs;
            largestRounding = std::max(largestRounding, rounding(constraint));
            violation = std::max(violation, constraint.isEquality ? 0.0 : residual);
            require(!constraint.isEquality || std::abs(residual) <= rounding(constraint),
                    "equality missed");
        }
        require(isZero(result_.lambda), "multipliers");
        if (largestRounding < limits_.tolCon) {
            const double proven = provenViolation(problem_);
            require(!any_.isFeasible && proven > limits_.tolCon, "feasible");
            // Phase one does not follow a direction shorter than 1.5e-10.
            require(violation <= proven * (1.0 + 1e-6) + 1e-7, "not the least violation");
            require(violation > limits_.tolCon, "the point is feasible");
        }
    }

    const AnyProblem& any_;
    const Problem& problem_ = any_.problem;
    Limits limits_;
    std::vector<RowConstraint> all_;
    double largestRow_ = 0.0;
    Result result_;
    bool hasPhaseOneRun_ = false;
    double reach_ = 0.0;
    double passes_ = 0.0;
    std::string faults_;
};

class Properties : public FreshState {
protected:
    static void SetUpTestSuite() { setenv("RC_PARAMS", "seed=1 max_success=4000", 0); }

    /// Solves and judges. The call must leave nothing behind and not change the next one.
    static std::string faultsOf(const AnyProblem& any, const Limits& limits, bool isCarrying) {
        const auto arrays = liveArrayCount();
        const auto blocks = liveBlockCount();
        Judge judge(any, limits);
        std::string faults;
        std::string error;
        try {
            const CallScope scope;
            const RecordedSolve solved(any.problem, limits, isCarrying);
            // A list that names absent bounds adds constraints that do not exist, so nothing is
            // promised.
            if (!any.namesAbsentBounds) {
                faults = judge.faultsOf(solved);
            }
            if (!isCarrying && solve(any.problem, limits) != solved.result) {
                faults += "two results";
            }
        } catch (const HostError& raised) {
            error = raised.what();
        }
        const bool isOfDependentRows =
            judge.canHoldDependentRows() &&
            (error == "Error calling DTRTRS from NullSpaceAS::_computeLambda" ||
             error == "Index exceed number of columns.");
        if (error != judge.expectedError() && !isOfDependentRows) {
            faults += "raised: " + error;
        }
        releaseMatrixPool();
        faults += liveArrayCount() == arrays && liveBlockCount() == blocks ? "" : "leak";
        return faults;
    }
};

TEST_F(Properties, EveryOutcomeIsTrue) {
    const Result expected = solve(box(3));
    EXPECT_TRUE(rc::check([&] {
        const AnyProblem any = *anyProblem();
        RapidChoices pick;
        const Limits limits = pick.oneIn(2) ? Limits{1000, 1e-6, 1e-8} : Limits{1000, 1e-9, 0.0};
        RC_ASSERT(faultsOf(any, limits, pick.oneIn(2)) == "");
        RC_ASSERT(solve(box(3)) == expected);
    }));
}

}  // namespace
}  // namespace activeset::test
