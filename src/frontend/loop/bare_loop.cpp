// The simplest way to follow a loop to its end.
#include "frontend/loop/bare_loop.hpp"

#include <utility>

#include "frontend/loop/caller_proofs.hpp"

namespace activeset::frontend {

namespace {

// If so many proximal steps do not lead to a proof, long ones among them, hundreds do not either.
constexpr std::size_t MostSteps = 12;

// Nor does a third start, without predictions, where those before it do not.
constexpr int MostStarts = 2;

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
std::optional<Farkas> follow(ProximalLoop& loop, const ProblemCache& problem, Vector& claim) {
    while (true) {
        const LoopEnd end = loop.run();
        if (end == LoopEnd::Proved || end == LoopEnd::Stopped ||
            (end == LoopEnd::Failed && !loop.recover())) {
            return std::nullopt;
        }
        if (end == LoopEnd::ClaimsInfeasible) {
            if (loop.claim().isPredicted && claim.empty()) {
                claim = problem.scaling.unscaled({Vector(), loop.claim().y, Vector()}).y;
            }
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
    loop.allowLongSteps();
    loop.limitSteps(MostSteps);
    loop.begin(problem.scaling.scaledVariables(start), set);
    BestPoint& best = loop.best();
    std::optional<Farkas> farkas;
    Vector claim;
    int starts = 0;
    const auto isUndecided = [&] { return !farkas && !best.isProved() && !control.mustEnd(); };
    control.poll();
    const bool isConvex = problem.convexity().kind != Convexity::None;
    if (isConvex && (control.mustEnd() || !loop.provesStart())) {
        do {
            farkas = follow(loop, problem, claim);
            loop.ensurePoint();
        } while (++starts < MostStarts && isUndecided() && loop.startOver());
    }
    loop.ensurePoint();
    if (isConvex && isUndecided()) {
        best.considerAlongFlat();
    }
    const bool isSolved = !farkas && best.isProved();
    return {isSolved,         std::move(farkas),
            std::move(claim), problem.scaling.unscaled(best.point()),
            best.set(),       best.judgement().objective};
}

}  // namespace activeset::frontend
