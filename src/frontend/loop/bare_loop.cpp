// The simplest way to follow a loop to its end.
#include "frontend/loop/bare_loop.hpp"

#include <utility>

#include "frontend/loop/caller_proofs.hpp"

namespace activeset::frontend {

namespace {

/// Keeps the callback from being called.
class WithoutCallback {
public:
    explicit WithoutCallback(Control& control) : control_(control) { control_.setQuiet(true); }
    ~WithoutCallback() { control_.setQuiet(false); }
    WithoutCallback(const WithoutCallback&) = delete;
    WithoutCallback& operator=(const WithoutCallback&) = delete;

private:
    Control& control_;
};

// What a claim of the loop comes to, in the caller's data.
std::optional<Farkas> proofOf(ProximalLoop& loop, const ProblemCache& problem) {
    const InfeasibilityClaim& claim = loop.claim();
    if (claim.y.empty()) {
        return std::nullopt;
    }
    return claim.isPredicted ? provenFarkasFar(problem, claim.y, loop.best())
                             : provenFarkas(problem, claim.y, loop.best());
}

// The Farkas vector, if the loop ends with a contradiction that is proved.
std::optional<Farkas> follow(ProximalLoop& loop, const ProblemCache& problem) {
    while (true) {
        const LoopEnd end = loop.run();
        if (end == LoopEnd::Proved || end == LoopEnd::Stopped ||
            (end == LoopEnd::Failed && !loop.recover())) {
            return std::nullopt;
        }
        if (end == LoopEnd::ClaimsInfeasible) {
            std::optional<Farkas> farkas = proofOf(loop, problem);
            if (farkas || !loop.claim().isPredicted) {
                return farkas;
            }
        }
    }
}

}  // namespace

BareAnswer solveBare(ProblemCache& problem,
                     const Vector& start,
                     const WorkingSet& set,
                     const Settings& settings,
                     Control& control) {
    const WithoutCallback silence(control);
    ProximalLoop loop(problem, settings, control);
    loop.begin(problem.scaling.scaledVariables(start), set);
    BestPoint& best = loop.best();
    std::optional<Farkas> farkas;
    const auto isUndecided = [&] { return !farkas && !best.isProved() && !control.mustEnd(); };
    control.poll();
    const bool isConvex = problem.convexity().kind != Convexity::None;
    if (isConvex && (control.mustEnd() || !loop.provesStart())) {
        do {
            farkas = follow(loop, problem);
            loop.ensurePoint();
        } while (isUndecided() && loop.startOver());
    }
    loop.ensurePoint();
    if (isConvex && isUndecided()) {
        best.considerAlongFlat();
    }
    return {!farkas && best.isProved(), std::move(farkas), problem.scaling.unscaled(best.point()),
            best.set(), best.judgement().objective};
}

}  // namespace activeset::frontend
