// The page of decisions: what each ending of the loop means, and what is tried next.
#include "frontend/decide.hpp"

#include <algorithm>
#include <utility>

#include "frontend/auxiliary_programs.hpp"
#include "frontend/closer_look.hpp"
#include "frontend/loop/caller_proofs.hpp"
#include "frontend/nearest_point.hpp"
#include "frontend/proof/convexity.hpp"
#include "frontend/proof/equalities.hpp"

namespace activeset::frontend {

namespace {

class Decision {
public:
    Decision(ProblemCache& problem, const Settings& settings, Control& control)
        : problem_(problem),
          settings_(settings),
          control_(control),
          loop_(problem, settings, control),
          best_(loop_.best()) {}

    [[nodiscard]] Answer answer(Vector x, const WorkingSet& set) {
        decide(std::move(x), set);
        loop_.ensurePoint();
        answer_.point = best_.usersPoint();
        answer_.set = best_.set();
        answer_.judgement = best_.judgement();
        answer_.effort = loop_.effort();
        answer_.corrections = best_.corrections();
        return std::move(answer_);
    }

private:
    /// Tries one thing after the other until there is an answer.
    void decide(Vector x, const WorkingSet& set);
    /// Answers for n = 0, where only the sides matter.
    void decideWithoutVariables();
    /// Answers with the direction of negative curvature.
    void decideNotConvex();
    /// Runs the loop, and answers its endings, until there is an answer or nothing left to try.
    void follow();
    /// After ClaimsInfeasible: whether that is the answer.
    [[nodiscard]] bool settlesClaim();
    /// Asks the relaxed problem, and resumes the loop from its point if that is feasible.
    [[nodiscard]] bool settlesByRelaxation();
    /// After Drifts: whether the steps follow a ray.
    [[nodiscard]] bool settlesDrift();
    /// Looks for the steepest ray, once.
    [[nodiscard]] bool findsRay();
    /// Whether the direction is a ray that begins at a feasible point.
    [[nodiscard]] bool provesRay(const Vector& direction);
    /// Whether there is a feasible point near the origin; looks for it once.
    [[nodiscard]] bool hasFeasiblePoint();
    /// Answers Infeasible if there is a Farkas vector.
    [[nodiscard]] bool settlesInfeasible(std::optional<Farkas> farkas);
    /// Whether there is neither a proof nor a reason to stop.
    [[nodiscard]] bool isUndecided() const;

    ProblemCache& problem_;
    const Settings& settings_;
    Control& control_;
    ProximalLoop loop_;
    BestPoint& best_;                 ///< the loop's
    std::optional<Vector> feasible_;  ///< a feasible point, empty if none was found, once sought
    bool hasSoughtRay_ = false;
    Answer answer_;  ///< inaccurate until something is proved
};

void Decision::decide(Vector x, const WorkingSet& set) {
    loop_.begin(std::move(x), set);
    if (problem_.scaled.n == 0) {
        decideWithoutVariables();
        return;
    }
    if (problem_.convexity().kind == Convexity::None) {
        decideNotConvex();
        return;
    }
    control_.poll();
    if (control_.mustEnd() || !loop_.provesStart()) {
        do {
            follow();
            loop_.ensurePoint();
        } while (isUndecided() && loop_.startOver());
    }
    if (isUndecided()) {
        best_.considerAlongFlat();
    }
    // What a limit has cut short is doubted, too, though nobody looks.
    const bool isCut = control_.mustEnd() && best_.isProved();
    if ((answer_.status == Status::Inaccurate || isCut) &&
        settlesInfeasible(lookCloser(problem_, best_, settings_, control_))) {
        return;
    }
    if (isUndecided() && findsRay()) {
        answer_.status = Status::Unbounded;
    } else if (isUndecided() && answer_.farkas) {
        answer_.status = Status::Infeasible;
    }
}

// Without variables each row has the value 0.
void Decision::decideWithoutVariables() {
    const ProblemData& data = problem_.scaled;
    loop_.considerStart();
    for (std::size_t i = 0; i < data.m; ++i) {
        if (data.rowLower[i] > 0.0 || data.rowUpper[i] < 0.0) {
            Vector y(data.m, 0.0);
            y[i] = data.rowLower[i] > 0.0 ? -1.0 : 1.0;
            answer_.status = Status::Infeasible;
            answer_.farkas = provenFarkas(problem_, std::move(y), best_);
            return;
        }
    }
}

void Decision::decideNotConvex() {
    answer_.status = Status::NotConvex;
    answer_.direction = problem_.convexity().direction;
    answer_.directionResidual = curvature(problem_.user, answer_.direction);
}

void Decision::follow() {
    while (true) {
        switch (loop_.run()) {
            case LoopEnd::Proved:
                return;
            case LoopEnd::Stopped:
                answer_.status = *control_.end();
                return;
            case LoopEnd::ClaimsInfeasible:
                if (settlesClaim()) {
                    return;
                }
                break;
            case LoopEnd::Drifts:
                if (settlesDrift()) {
                    return;
                }
                break;
            case LoopEnd::Failed:
                if (!loop_.recover()) {
                    return;
                }
                break;
        }
    }
}

bool Decision::isUndecided() const {
    return answer_.status == Status::Inaccurate && !best_.isProved() && !control_.mustEnd();
}

bool Decision::settlesInfeasible(std::optional<Farkas> farkas) {
    if (!farkas) {
        return false;
    }
    answer_.farkas = std::move(farkas);
    answer_.status = Status::Infeasible;
    return true;
}

// Settles the claim if it is proved. Otherwise the core looks for a feasible point after a
// prediction; after the core itself the relaxed problem decides.
bool Decision::settlesClaim() {
    const InfeasibilityClaim& claim = loop_.claim();
    if (claim.isPredicted) {
        const Polishing polishing(control_);
        if (!settlesInfeasible(provenFarkasFar(problem_, claim.y, best_))) {
            return false;
        }
        loop_.considerStart();
        return true;
    }
    if (!claim.y.empty() && settlesInfeasible(provenFarkas(problem_, claim.y, best_))) {
        return true;
    }
    return !loop_.mayGoOn() || settlesByRelaxation();
}

bool Decision::settlesByRelaxation() {
    constexpr double ClearViolation = 1e-6;
    Relaxation relaxation = relax(problem_.scaled, loop_.centre(), settings_, control_);
    best_.considerWithoutMultipliers(relaxation.x);
    if (settlesInfeasible(provenFarkas(problem_, relaxation.y, best_))) {
        return true;
    }
    if (relaxation.isSolved && relaxation.violation > ClearViolation) {
        return true;  // it seems infeasible, but without a proof nothing is said
    }
    // Feasible after all, and the core was misled by equalities that nearly depend on one another.
    loop_.resumeFrom(std::move(relaxation.x),
                     CoreForm(withoutDependentEqualities(problem_.scaled)));
    return false;
}

// Steps that do not get shorter may follow a ray.
bool Decision::settlesDrift() {
    const Drift& drift = loop_.drift();
    if ((drift.isSteady && provesRay(drift.direction)) || (drift.isLasting && findsRay())) {
        answer_.status = Status::Unbounded;
        return true;
    }
    if (answer_.farkas) {  // a ray was found, and no feasible point where it could begin
        answer_.status = Status::Infeasible;
        return true;
    }
    return false;
}

bool Decision::findsRay() {
    if (hasSoughtRay_ || control_.mustEnd()) {
        return false;
    }
    hasSoughtRay_ = true;
    loop_.allowLongSteps();
    const Vector ray = steepestRay(problem_.scaled, settings_, control_);
    return !ray.empty() && provesRay(ray);
}

// A ray has to begin at a feasible point.
bool Decision::provesRay(const Vector& direction) {
    std::optional<ProvenRay> ray = provenRay(problem_, direction);
    if (!ray || !isBesideRay(problem_.user, ray->direction, settings_, control_) ||
        !hasFeasiblePoint()) {
        return false;
    }
    answer_.direction = std::move(ray->direction);
    answer_.directionResidual = ray->residual;
    if (!(best_.judgement().certificate.primal.relative <= FeasibleToRounding)) {
        best_.forget();  // the ray has to begin at the feasible point
        best_.considerWithoutMultipliers(*feasible_);
    }
    return true;
}

// Looks for a feasible point near the origin, since far out any point satisfies all constraints in
// proportion. It has to be feasible but for rounding, since rows that contradict one another by
// little are satisfied to any tolerance. If there is none the answer gets the Farkas vector.
bool Decision::hasFeasiblePoint() {
    if (!feasible_) {
        Relaxation relaxation =
            relax(problem_.scaled, originOf(problem_.scaled), settings_, control_);
        const Vector users = problem_.scaling.unscaledVariables(relaxation.x);
        feasible_.emplace();
        if (violation(problem_.user, users).relative <= FeasibleToRounding) {
            feasible_ = std::move(relaxation.x);
        } else {
            answer_.farkas = provenFarkas(problem_, std::move(relaxation.y), best_);
        }
    }
    return !feasible_->empty();
}

}  // namespace

Status statusOf(const Answer& answer, double tolerance) {
    const bool isOther = answer.status == Status::Infeasible ||
                         answer.status == Status::Unbounded || answer.status == Status::NotConvex;
    return !isOther && answer.judgement.certificate.holds(tolerance) ? Status::Optimal
                                                                     : answer.status;
}

Answer decide(ProblemCache& problem,
              Vector x,
              const WorkingSet& set,
              const Settings& settings,
              Control& control) {
    return Decision(problem, settings, control).answer(std::move(x), set);
}

}  // namespace activeset::frontend
