// The proximal-point loop. Where H is singular each step minimises ½xᵀHx + cᵀx + ½ρ‖x − xₖ‖², and
// its minimum is the next xₖ; the limit is a minimum of the problem itself (Rockafellar 1976). As
// soon as a working set is the right one, refinement without the proximal term shows it. Where H is
// positive definite ρ is 0, and the first step is the last one.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_PROXIMAL_LOOP_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_PROXIMAL_LOOP_HPP

#include <optional>

#include "frontend/core/core_run.hpp"
#include "frontend/loop/best_point.hpp"
#include "frontend/loop/perturbation.hpp"
#include "frontend/loop/problem_cache.hpp"

namespace activeset::frontend {

/// How a run of the loop ends. It can be resumed after each of these but the first and the last.
enum class LoopEnd {
    Proved,            ///< the best point is proved
    ClaimsInfeasible,  ///< see claim()
    Drifts,            ///< steps do not get shorter, see drift()
    Failed,            ///< a run of the core, or steps that ended without a proof; see recover()
    Stopped            ///< by the control
};

/// Multipliers by which the rows contradict one another, as far as a run tells.
struct InfeasibilityClaim {
    Vector y;                  ///< in scaled variables; empty where the run has none
    bool isPredicted = false;  ///< from a prediction; the core may still find a point
};

struct Drift {
    Vector direction;        ///< the last step, in scaled variables
    bool isSteady = false;   ///< ρ·‖step‖ fell by less than a factor of ten
    bool isLasting = false;  ///< so it did in several steps before
};

/// What a loop has done.
struct Effort {
    int exitCode = -5;  ///< of the last run of the core
    bool wasPredicted = false;
    std::size_t guesses = 0;        ///< rounds of predictions
    std::size_t dualSteps = 0;      ///< of predictions
    std::size_t proximalSteps = 0;  ///< with ρ > 0
};

class ProximalLoop {
public:
    /// Keeps references to all three. begin() has to follow.
    ProximalLoop(ProblemCache& problem, const Settings& settings, Control& control);
    ProximalLoop(const ProximalLoop&) = delete;
    ProximalLoop& operator=(const ProximalLoop&) = delete;
    ~ProximalLoop() = default;

    /// Chooses a start, in scaled variables.
    void begin(Vector x, const WorkingSet& set);
    /// Whether the solution of the first working set's equations is a proved optimum. They are not
    /// solved if a prediction will begin with that set anyway.
    [[nodiscard]] bool provesStart();
    /// Takes steps until there is something to decide; called again, it goes on.
    [[nodiscard]] LoopEnd run();
    /// Begins again, keeping the best point: from the origin, then without predictions. False when
    /// nothing is left to try.
    [[nodiscard]] bool startOver();

    /// After Failed: prepares what may help, which is a larger ρ, perturbed sides, or more
    /// precision. False when the loop has failed too often.
    [[nodiscard]] bool recover();
    /// After a claim that was not proved: counts it as a failure; false when there are too many.
    [[nodiscard]] bool mayGoOn() { return ++failures_ <= MostFailures; }
    /// Goes on from this point, with another form of the constraints for the core.
    void resumeFrom(Vector x, CoreForm form);
    /// Lets steps that do not get shorter be prolonged from now on: they are no ray.
    void allowLongSteps() { mayProlong_ = true; }
    /// From so many proximal steps on, each one without a proof counts as a failure.
    void limitSteps(std::size_t most) { mostSteps_ = most; }

    [[nodiscard]] const InfeasibilityClaim& claim() const { return claim_; }
    [[nodiscard]] const Drift& drift() const { return drift_; }
    [[nodiscard]] const Vector& centre() const { return centre_; }
    [[nodiscard]] BestPoint& best() { return best_; }
    [[nodiscard]] const Effort& effort() const { return effort_; }
    void considerStart() { best_.considerWithoutMultipliers(start_, startSet_); }
    /// Considers the start if no run has come to a point.
    void ensurePoint() {
        if (best_.isEmpty()) {
            considerStart();
        }
    }

private:
    static constexpr int MostFailures = 6;

    /// What run() does next: a new step, the core for the step, or the move to its minimum.
    enum class Stage { Begin, Core, Recentre };
    /// Why the loop failed: steps ended without a proof, ZᵀHZ was not positive definite, or a run
    /// of the core broke off.
    enum class Failure { NoProof, NotDefinite, Core };
    /// Off is for good; UntilNextStart ends when startOver() goes to the origin.
    enum class Predicting { Allowed, UntilNextStart, Off };
    using Next = std::optional<LoopEnd>;  ///< without one the loop goes on

    /// Puts back all that is counted since the start.
    void reset();
    /// Begins a step, by a prediction if one is allowed.
    [[nodiscard]] Next beginStep();
    /// Whether the caller counts the passes of the core, or listens to them.
    [[nodiscard]] bool isWatched() const;
    [[nodiscard]] bool mayPredict() const;
    /// Predicts the minimum of the step from the present working set.
    [[nodiscard]] Next predictMinimum();
    /// Takes a predicted point that meets the conditions of the step.
    [[nodiscard]] Next takePredicted(Point point, const WorkingSet& set);
    /// Minimises the step by the core.
    [[nodiscard]] Next runOnCore();
    /// The working set with which a run has ended.
    [[nodiscard]] WorkingSet setOf(const Run& run);
    /// Takes the multipliers of phase one as the claim that sides contradict each other.
    void takeClaim(const Run& run);
    /// Runs the core on the problem with the proximal term.
    [[nodiscard]] Run runOfStep();
    /// Offers the point of a stopped run as the best point.
    void considerReached(const Run& run);
    /// Judges a minimum of the step, which may be one of the problem.
    [[nodiscard]] Next takeMinimum(Point point, const WorkingSet& set);
    /// Moves the centre to the minimum. Lowers ρ if steps are steady.
    [[nodiscard]] Next recentre();
    /// Goes on along steps that do not get shorter. False if there is nothing to gain.
    [[nodiscard]] bool prolong(const Vector& last);
    /// Ends the run for a reason that recover() looks at.
    [[nodiscard]] Next fail(Failure failure);
    /// Makes no predictions until the next start.
    void doNotPredict();

    ProblemCache& problem_;      ///< the scaled problem, and all that is formed of it once
    const Settings& settings_;   ///< the caller's
    Control& control_;           ///< ends runs: limits, stop, callback
    BestPoint best_;             ///< the best point so far, with its judgement
    Perturbation perturbation_;  ///< of the sides, while the core cycles
    Effort effort_;              ///< what has been done, for the result
    Vector start_;               ///< where the loop began
    WorkingSet startSet_;        ///< with this working set
    Predicting predicting_ = Predicting::Allowed;
    bool mayProlong_ = false;      ///< see allowLongSteps()
    std::size_t mostSteps_ = 200;  ///< see limitSteps()

    // since the start
    Stage stage_ = Stage::Begin;
    Vector centre_;                ///< of the proximal term; the last minimum
    WorkingSet set_;               ///< where the next step begins
    double rho_ = 0.0;             ///< weight of the proximal term; 0 for the problem itself
    Precision precision_;          ///< of runs of the core
    double lastForce_ = Infinity;  ///< ρ·‖step‖ of the last step
    int steadySteps_ = 0;    ///< steps in which ρ·‖step‖ fell by less than a factor of ten
    int failures_ = 0;       ///< of the loop, and claims without a proof
    int inexactProofs_ = 0;  ///< within the tolerance, not within rounding

    Vector minimum_;                      ///< of the step that is judged
    InfeasibilityClaim claim_;            ///< of the last end ClaimsInfeasible
    Drift drift_;                         ///< of the last end Drifts
    Failure failure_ = Failure::NoProof;  ///< of the last end Failed
};

/// The point between the bounds that is nearest to zero. Points near zero have the most digits.
[[nodiscard]] Vector originOf(const ProblemData& data);

}  // namespace activeset::frontend

#endif
