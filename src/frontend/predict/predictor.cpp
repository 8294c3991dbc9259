// Which method predicts, and what follows where it fails.
#include "frontend/predict/predictor.hpp"

#include <utility>

#include "frontend/predict/block_dual.hpp"
#include "frontend/predict/block_primal.hpp"
#include "frontend/predict/dual_active_set.hpp"
#include "frontend/predict/primal_dual_guess.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

namespace {

// Whether the problem has few rows beside its bounds, so that a guess is worth while. Rows that may
// come and go mislead it; equalities only cost time.
bool areRowsFew(const ProblemData& data, const Constraints& start) {
    constexpr std::size_t VariablesPerRow = 8;
    constexpr std::size_t VariablesPerEquality = 3;
    std::size_t equalities = 0;
    for (std::size_t i = 0; i < data.m; ++i) {
        equalities += start.lower(i) == start.upper(i) ? 1U : 0U;
    }
    return VariablesPerRow * (data.m - equalities) <= data.n &&
           VariablesPerEquality * equalities <= data.n;
}

// Computes the point of the orthogonal factors again, by the equations of its working set.
void refine(Subproblem& problem, DualOutcome& outcome, Control& control) {
    const Polishing polishing(control);
    EqualityProblem equality(problem);
    equality.setMembers(outcome.sides.members());
    Vector multipliers;
    equality.solve(outcome.sides, multipliers);
    Vector x = equality.minimiser(outcome.sides, multipliers);
    equality.refine(outcome.sides, x, multipliers);
    outcome.point = pointOf(problem.data(), equality.members(), multipliers, std::move(x));
}

void guess(Subproblem& problem,
           const Constraints& start,
           Control& control,
           Prediction& prediction) {
    PrimalDualGuess guess(problem, start, control);
    const PrimalDualGuess::End end = guess.run();
    prediction.rounds += guess.rounds();
    prediction.isSettled = end == PrimalDualGuess::End::Settled;
    prediction.isInfeasible = end == PrimalDualGuess::End::Contradiction;
    if (end != PrimalDualGuess::End::GivenUp) {
        prediction.set = guess.sides().workingSet();
        prediction.point = std::move(guess).point();
    }
}

}  // namespace

Prediction predict(Subproblem& problem,
                   const Vector& x,
                   const WorkingSet& first,
                   Control& control) {
    const ProblemData& data = problem.data();
    const Constraints start(data, first);
    Prediction prediction;
    if (areRowsFew(data, start)) {
        guess(problem, start, control, prediction);
        if (!prediction.hasEnded() && BlockPrimal::suits(data) && !control.mustEnd()) {
            BlockPrimal primal(problem, x, start, control);
            const bool hasEnded = primal.run();
            prediction.steps = primal.steps();
            if (hasEnded) {  // its set is the minimum's; a guess shows that, and refines
                guess(problem, primal.sides(), control, prediction);
            }
        }
    }
    if (!prediction.hasEnded() && !control.mustEnd()) {
        DualOutcome outcome = BlockDual(problem, start, control).run();
        const std::size_t before = outcome.steps;
        if (outcome.end == DualOutcome::Slow) {
            outcome = solveDual(data, problem.factor(), std::move(outcome.sides), control);
            outcome.steps += before;
            if (outcome.end == DualOutcome::Optimal) {
                refine(problem, outcome, control);
            }
        }
        prediction.isSettled = outcome.end == DualOutcome::Optimal;
        prediction.isInfeasible = outcome.end == DualOutcome::Infeasible;
        prediction.point = std::move(outcome.point);
        prediction.set = outcome.sides.workingSet();
        prediction.steps += outcome.steps;
    }
    return prediction;
}

}  // namespace activeset::frontend
