// The proximal-point loop. Where H is singular, the core is given ½xᵀHx + cᵀx + ½ρ‖x − xₖ‖²,
// whose minimum is the next xₖ; the limit is a minimum of the problem itself (Rockafellar 1976).
// As soon as a working set is the right one, refinement without the proximal term shows it.
#include "frontend/engine.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "frontend/auxiliary_programs.hpp"
#include "frontend/loop/line_search.hpp"
#include "frontend/problem/constraints.hpp"
#include "frontend/proof/convexity.hpp"
#include "frontend/proof/equalities.hpp"
#include "frontend/proof/units.hpp"
#include "frontend/proofs.hpp"
#include "frontend/zoom.hpp"

namespace activeset::frontend {

namespace {

constexpr std::size_t MostCorrections = 20;
constexpr std::size_t MostProximalSteps = 200;
constexpr int MostTroubles = 6;
constexpr int MostInexactProofs = 2;
constexpr double Exact = 1e-12;
// A violation, in proportion, that is nothing but the rounding of x, and of data that agree.
constexpr double Feasible = 8.0 * std::numeric_limits<double>::epsilon();
constexpr int MostBits = 60;  // a side is seen larger by

// With a small enough weight the first minimum is one of a linear program itself, and without an H
// the size of ρ does not touch the condition of the subproblem.
double firstWeight(const Data& data) {
    constexpr double OfCurvature = 1e-6;
    constexpr double OfLinear = 1e-9;
    return data.quadratic ? OfCurvature * largestMagnitude(data.H) : OfLinear;
}

double leastWeight(const Data& data) {
    return 1e-10 * firstWeight(data);
}

double distance(const Vector& a, const Vector& b) {
    double largest = 0.0;
    for (std::size_t j = 0; j < a.size(); ++j) {
        largest = std::max(largest, std::abs(a[j] - b[j]));
    }
    return largest;
}

bool areFinite(const Vector& values) {
    return std::all_of(values.begin(), values.end(),
                       [](double value) { return std::isfinite(value); });
}

double errorOf(const Certificate& certificate) {
    double largest = 0.0;
    for (const Residual& residual : {certificate.primal, certificate.dual, certificate.gap}) {
        if (std::isnan(residual.relative)) {
            return Infinity;  // never better than anything
        }
        largest = std::max(largest, residual.relative);
    }
    return largest;
}

bool isBetter(const Judgement& a, const Judgement& b) {
    return errorOf(a.certificate) < errorOf(b.certificate);
}

}  // namespace

Engine::Engine(Prepared& problem, const Settings& settings, Control& control, Depth depth)
    : problem_(problem), settings_(settings), control_(control), depth_(depth) {}

Engine::~Engine() {
    restoreLowering();
}

Answer Engine::solve(Vector x, const WorkingSet& set) {
    const Data& data = problem_.scaled;
    start_ = std::move(x);
    if (data.n == 0) {
        considerStart();
        decideBySides(problem_, answer_);
        return std::move(answer_);
    }
    if (set.size() != 0) {
        startSet_ = Sides(data, set).workingSet();
    }
    begin();
    const Convexity& convexity = problem_.convexity();
    if (convexity.kind == Convexity::None) {
        answer_.status = Status::NotConvex;
        answer_.direction = convexity.direction;
        answer_.directionResidual = curvature(problem_.user, convexity.direction);
        considerStart();
        return std::move(answer_);
    }
    // A prediction begins with the working set that there is.
    const bool isPredicted = rho_ == 0.0 && mayPredict();
    control_.poll();
    if (!isPredicted && !control_.mustEnd() && provesWorkingSet()) {
        return std::move(answer_);
    }
    iterate();
    const bool isCold = set.size() == 0 && largestMagnitude(start_) <= largestMagnitude(origin());
    if (!isCold && isUndecided()) {  // a start that does not serve is dropped
        start_ = origin();
        startSet_ = {};
        hasFailedToPredict_ = false;
        begin();
        iterate();
    }
    if (answer_.prediction + answer_.dual > 0 && isUndecided()) {
        begin();  // predictions have led astray
        hasFailedToPredict_ = true;
        iterate();
    }
    if (isUndecided()) {
        refineAlongFlat();
    }
    if (depth_ == Depth::Whole && answer_.status == Status::Inaccurate) {
        lookCloser();
    }
    if (isUndecided() && findsRay()) {
        answer_.status = Status::Unbounded;
    } else if (isUndecided() && answer_.farkas) {
        answer_.status = Status::Infeasible;
    }
    return std::move(answer_);
}

// Whether there is neither a proof nor a reason to end.
bool Engine::isUndecided() const {
    return answer_.status == Status::Inaccurate && !isProved() && !control_.mustEnd();
}

// The point between the bounds that is nearest to zero, where points have the most digits.
Vector Engine::origin() const {
    Vector x(problem_.scaled.n);
    for (std::size_t j = 0; j < x.size(); ++j) {
        x[j] = std::min(std::max(0.0, problem_.scaled.lower[j]), problem_.scaled.upper[j]);
    }
    return x;
}

// As if nothing had been done, but for the best point.
void Engine::begin() {
    centre_ = start_;
    set_ = startSet_;
    rho_ = problem_.convexity().kind == Convexity::Strict ? 0.0 : firstWeight(problem_.scaled);
    precision_ = {};
    lastPull_ = Infinity;
    troubles_ = 0;
    inexactProofs_ = 0;
    unchecked_ = 0;
}

void Engine::iterate() {
    Next next = Next::Again;
    while (next == Next::Again) {
        control_.poll();
        if (control_.mustEnd()) {
            static_cast<void>(stop());
            break;
        }
        answer_.proximal += rho_ > 0.0 ? 1 : 0;
        const std::optional<Next> predicted = followPrediction();
        next = predicted ? *predicted : follow(runSubproblem());
    }
    restoreLowering();
    if (answer_.point.x.empty()) {  // no run has come to a point
        considerStart();
    }
}

// What a run has reached that was stopped: as it is, for the solution of its working set may lie
// beyond other constraints. A feasible point is worth more than what was better in another way.
void Engine::considerReached(const Run& run) {
    if (run.x.empty() || isProved()) {
        return;
    }
    Point point;
    problem_.lowering().multipliers(run.lambda.data(), point.y, point.z);
    point.x = run.x;
    if (violation(problem_.user, problem_.scaling.unscaled({run.x, {}, {}}).x).relative <=
        settings_.tolerance) {
        answer_.point.x.clear();  // it comes first
    }
    consider(std::move(point), problem_.lowering().fromCore(run.set, run.droppedEqualities));
}

// A point without multipliers, so that there is one.
void Engine::considerStart() {
    consider({start_, Vector(problem_.scaled.m, 0.0), Vector(problem_.scaled.n, 0.0)}, startSet_);
}

void Engine::restoreLowering() noexcept {
    if (unperturbed_) {
        problem_.setLowering(std::move(*unperturbed_));
        unperturbed_.reset();
    }
}

// The working set of a similar problem may still be the right one, and then its equations are all
// that has to be solved.
bool Engine::provesWorkingSet() {
    if (set_.size() == 0) {
        return false;
    }
    const Polishing polishing(control_);
    Point point{centre_, Vector(problem_.scaled.m, 0.0), Vector(problem_.scaled.n, 0.0)};
    answer_.refinement += problem_.refinementOf(set_).apply(point, MostCorrections);
    consider(std::move(point), set_);
    return isProved();
}

Run Engine::runSubproblem() {
    Vector c = problem_.scaled.c;
    axpy(-rho_, centre_.data(), c.data(), c.size());
    return run(problem_.hessianPlus(rho_), c);
}

Run Engine::run(Vector& H, Vector& c) {
    // What rounding makes of a point far out is no violation.
    Precision precision = precision_;
    precision.violation = std::max(precision.violation, 1e-14 * largestMagnitude(centre_));
    Run run =
        runCore(problem_.lowering(), H, c, centre_, problem_.lowering().toCore(set_), precision,
                control_, [this](const double* x) { return problem_.progressAt(x); });
    answer_.exitCode = run.exitCode;
    return run;
}

Engine::Next Engine::follow(const Run& run) {
    switch (run.end) {
        case RunEnd::Optimal:
            return followRun(run);
        case RunEnd::Infeasible:
            return followInfeasible(run);
        case RunEnd::Stopped:
            considerReached(run);
            return stop();
        default:
            return followTrouble(run);
    }
}

Engine::Next Engine::stop() {
    if (answer_.point.x.empty()) {
        considerStart();
    }
    if (answer_.status == Status::Inaccurate) {
        answer_.status = *control_.end();
    }
    return Next::Done;
}

Engine::Next Engine::followRun(const Run& run) {
    Point point;
    problem_.lowering().multipliers(run.lambda.data(), point.y, point.z);
    point.x = run.x;
    return followMinimum(std::move(point),
                         problem_.lowering().fromCore(run.set, run.droppedEqualities));
}

// A minimum of the subproblem: is it one of the problem?
Engine::Next Engine::followMinimum(Point point, const WorkingSet& set) {
    Vector x = point.x;
    polish(std::move(point), set);
    if (isProved()) {
        if (isExact() || ++inexactProofs_ > MostInexactProofs) {
            return Next::Done;
        }
        hasFailedToPredict_ = true;  // the core meets its constraints to the last digit
    }
    set_ = set;
    if (unperturbed_) {
        restoreLowering();
        centre_ = std::move(x);
        return Next::Again;
    }
    return recentre(x);
}

// A side that is missed by little may be far from any point that meets it, where rows are nearly
// parallel. What the nearest optimum costs more counts as error of a point that has no better one.
void Engine::lookCloser() {
    constexpr int MostLooks = 4;
    const auto needsLook = [this] {
        return isProved() && !(answer_.judgement.certificate.primal.relative <= Feasible);
    };
    Settings exact = settings_;
    exact.tolerance = std::min(exact.tolerance, Exact);
    for (int look = 0; look < MostLooks && needsLook() && !control_.mustEnd(); ++look) {
        const double miss = violation(problem_.scaled, answer_.point.x).absolute;
        const double factor = std::ldexp(1.0, std::clamp(-std::ilogb(miss), 0, MostBits));
        Zoomed zoomed = zoom(problem_.scaled, answer_.point, answer_.set, factor, exact, control_);
        if (zoomed.farkas && provesInfeasibility(problem_, std::move(zoomed.farkas->y), answer_)) {
            answer_.status = Status::Infeasible;
            return;
        }
        const Vector before = answer_.point.x;
        polish(std::move(zoomed.point), zoomed.set);
        if (answer_.point.x == before) {
            doubt(zoomed);
            return;
        }
    }
}

// What a closer look has found that did not lead to a better point.
void Engine::doubt(const Zoomed& zoomed) {
    Certificate& certificate = answer_.judgement.certificate;
    const double size = std::max(Units(problem_.user, answer_.point.x).ofObjective(),
                                 std::abs(answer_.judgement.objective));
    const bool isTold = zoomed.isSolved || certificate.primal.relative <= Exact;
    const double error = isTold ? std::abs(zoomed.rise / problem_.scaling.objective) / size : 1.0;
    certificate.gap.relative = std::max(certificate.gap.relative, error);
}

// The next subproblem: nearer to the point, with less weight on staying there, or more exact.
Engine::Next Engine::recentre(const Vector& x) {
    const double step = distance(x, centre_);
    const double pull = rho_ * step;
    if (rho_ > 0.0 && step > 0.0 && isUnbounded(x, pull)) {
        answer_.status = Status::Unbounded;
        return Next::Done;
    }
    if (answer_.farkas) {  // a ray was found, and no feasible point where it could begin
        answer_.status = Status::Infeasible;
        return Next::Done;
    }
    Vector last = std::exchange(centre_, x);
    const bool isStuck = !(pull < 0.1 * lastPull_);
    if (isStuck && rho_ > 0.0 && answer_.proximal <= MostProximalSteps && prolong(last)) {
        lastPull_ = Infinity;
        return Next::Again;
    }
    const bool hasConverged = rho_ == 0.0 || step <= 1e-13 * std::max(1.0, largestMagnitude(x));
    if (hasConverged || answer_.proximal > MostProximalSteps) {
        hasFailedToPredict_ = true;
        if (++troubles_ > MostTroubles) {
            return Next::Done;
        }
        precision_.violation = std::max(1e-14, 0.1 * precision_.violation);
        precision_.step = std::max(1e-15, 0.1 * precision_.step);
        precision_.multiplier = 0.1 * precision_.multiplier;
        // Far out a step may be short only because it is lost in the rounding of the point.
        rho_ = rho_ > 0.0 ? std::max(1e-2 * rho_, leastWeight(problem_.scaled))
                          : firstWeight(problem_.scaled);
        return Next::Again;
    }
    if (isStuck) {
        rho_ = std::max(0.1 * rho_, leastWeight(problem_.scaled));
        ++unchecked_;
    }
    lastPull_ = pull;
    return Next::Again;
}

// Steps that do not get smaller go the same way, along which a slope may be tiny and its end far.
bool Engine::prolong(const Vector& last) {
    const Data& data = problem_.scaled;
    if (!hasSoughtRay_) {
        return false;
    }
    Vector direction = centre_;
    axpy(-1.0, last.data(), direction.data(), direction.size());
    for (std::size_t j = 0; j < data.n; ++j) {
        constexpr double Near = 1e-12;  // where a bound is met the step goes along it
        const double bound = direction[j] > 0.0 ? data.upper[j] : data.lower[j];
        if (std::isfinite(bound) && std::abs(bound - centre_[j]) <= Near * std::abs(bound)) {
            centre_[j] = bound;
            direction[j] = 0.0;
        }
    }
    const double t = lineSearch(data, centre_, direction);
    if (!(t >= 1.0)) {
        return false;
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        const double x = centre_[j] + t * direction[j];
        centre_[j] = std::min(std::max(x, data.lower[j]), data.upper[j]);
    }
    return true;
}

// Steps that do not get smaller may be the beginning of a ray.
bool Engine::isUnbounded(const Vector& x, double pull) {
    Vector direction = x;
    axpy(-1.0, centre_.data(), direction.data(), direction.size());
    if (pull > 0.1 * lastPull_ && provesRay(direction)) {
        return true;
    }
    return unchecked_ >= 3 && findsRay();
}

bool Engine::findsRay() {
    if (depth_ == Depth::Auxiliary || hasSoughtRay_ || control_.mustEnd()) {
        return false;
    }
    hasSoughtRay_ = true;
    const Vector ray = steepestRay(problem_.scaled, settings_, control_);
    return !ray.empty() && provesRay(ray);
}

// A ray has to begin at a feasible point: at one near the origin, as far out any point satisfies
// all constraints in proportion, and feasible but for rounding, as rows that contradict one another
// by little are satisfied to any tolerance.
bool Engine::provesRay(const Vector& direction) {
    if (depth_ == Depth::Auxiliary || !provesUnboundedness(problem_, direction, answer_)) {
        return false;
    }
    if (!feasible_) {
        Relaxation relaxation = relax(problem_.scaled, origin(), settings_, control_);
        const Vector x = problem_.scaling.unscaled({relaxation.x, {}, {}}).x;
        if (violation(problem_.user, x).relative <= Feasible) {
            feasible_ = std::move(relaxation.x);
        } else {
            feasible_.emplace();
            static_cast<void>(provesInfeasibility(problem_, relaxation.y, answer_));
        }
    }
    if (feasible_->empty()) {
        answer_.direction.clear();
        answer_.directionResidual = {};
        return false;
    }
    if (!(answer_.judgement.certificate.primal.relative <= Feasible)) {
        answer_.point.x.clear();  // so that the ray begins at the feasible one
        consider({*feasible_, Vector(problem_.scaled.m), Vector(problem_.scaled.n)}, {});
    }
    return true;
}

Engine::Next Engine::followInfeasible(const Run& run) {
    Vector y;
    Vector z;
    if (!run.phaseOneLambda.empty()) {
        problem_.lowering().multipliers(run.phaseOneLambda.data(), y, z);
        if (!run.x.empty()) {
            consider({run.x, Vector(y.size()), Vector(z.size())}, {});
        }
        if (provesInfeasibility(problem_, std::move(y), answer_)) {
            answer_.status = Status::Infeasible;
            return Next::Done;
        }
    }
    if (depth_ == Depth::Auxiliary || ++troubles_ > MostTroubles) {
        return Next::Done;
    }
    Relaxation relaxation = relax(problem_.scaled, centre_, settings_, control_);
    consider({relaxation.x, Vector(problem_.scaled.m), Vector(problem_.scaled.n)}, {});
    if (provesInfeasibility(problem_, relaxation.y, answer_)) {
        answer_.status = Status::Infeasible;
        return Next::Done;
    }
    if (relaxation.isSolved && relaxation.violation > 1e-6) {
        return Next::Done;  // so it seems, but without a proof nothing is said
    }
    // Feasible after all, and the core was misled by equalities that nearly depend on one another.
    problem_.setLowering(Lowering(withoutDependentEqualities(problem_.scaled)));
    centre_ = std::move(relaxation.x);
    set_ = {};
    return Next::Again;
}

Engine::Next Engine::followTrouble(const Run& run) {
    if (++troubles_ > MostTroubles) {
        return Next::Done;
    }
    if (run.end == RunEnd::NotDefinite) {
        rho_ = rho_ > 0.0 ? 100.0 * rho_ : firstWeight(problem_.scaled);
    } else {
        perturb();
    }
    if (!run.x.empty()) {
        centre_ = run.x;
        set_ = problem_.lowering().fromCore(run.set, run.droppedEqualities);
    }
    return Next::Again;
}

void Engine::perturb() {
    Lowering& lowering = problem_.lowering();
    if (!unperturbed_) {
        unperturbed_ = lowering;
    }
    std::uint64_t state = 0x2545F4914F6CDD1DU + static_cast<std::uint64_t>(troubles_);
    const auto random = [&state] {  // between 1 and 2, the same in every run
        state = state * 6364136223846793005U + 1442695040888963407U;
        return 1.0 + static_cast<double>(state >> 11U) * 0x1p-53;
    };
    const double size = 1e-7 * std::pow(4.0, troubles_);
    for (double& side : lowering.b) {
        side += size * random() * std::max(1.0, std::abs(side));
    }
    for (std::size_t j = 0; j < lowering.variables(); ++j) {
        lowering.lb[j] -= size * random() * std::max(1.0, std::abs(lowering.lb[j]));
        lowering.ub[j] += size * random() * std::max(1.0, std::abs(lowering.ub[j]));
    }
}

void Engine::polish(Point point, const WorkingSet& set) {
    const Polishing polishing(control_);
    consider(point, set);
    if (!isProved() || errorOf(answer_.judgement.certificate) > 1e-15) {
        answer_.refinement += problem_.refinementOf(set).apply(point, MostCorrections);
        consider(std::move(point), set);
    }
}

// Curvature that is left out elsewhere, as it may be rounding, may also be real.
void Engine::refineAlongFlat() {
    const Polishing polishing(control_);
    Point point = answer_.point;
    const Refinement sharp(problem_.scaled, answer_.set, 0.0);
    answer_.refinement += sharp.apply(point, MostCorrections);
    consider(std::move(point), WorkingSet(answer_.set));
}

// Keeps the better point.
void Engine::consider(Point point, const WorkingSet& set) {
    const Polishing polishing(control_);
    const Judgement judgement = judged(point, set);
    const bool isFirst = answer_.point.x.empty();
    if (isFirst || isBetter(judgement, answer_.judgement) ||
        (!areFinite(answer_.point.x) && areFinite(point.x))) {
        answer_.point = std::move(point);
        answer_.set = set;
        answer_.judgement = judgement;
    }
}

// Where all is solved as far as doubles can, and the rounding of large numbers is all that is left
// to prove the objective by, more digits tell.
Judgement Engine::judged(const Point& point, const WorkingSet& set) {
    const Point users = problem_.scaling.unscaled(point);
    Judgement judgement = judge(problem_.user, users);
    const bool needsDigits = judgement.error <= Exact &&
                             !judgement.certificate.holds(std::min(settings_.tolerance, Exact));
    if (needsDigits && areFinite(point.x)) {
        const Point digits =
            problem_.scaling.unscaled(problem_.refinementOf(set).digitsBehind(point));
        const Judgement behind = judge(problem_.user, users, &digits);
        judgement = isBetter(behind, judgement) ? behind : judgement;
    }
    return judgement;
}

bool Engine::isProved() const {
    return answer_.judgement.certificate.holds(settings_.tolerance);
}

// Proved, and solved as far as doubles can.
bool Engine::isExact() const {
    return isProved() && answer_.judgement.error <= Exact &&
           answer_.judgement.certificate.primal.relative <= Feasible;
}

Status statusOf(const Answer& answer, double tolerance) {
    const bool isOther = answer.status == Status::Infeasible ||
                         answer.status == Status::Unbounded || answer.status == Status::NotConvex;
    return !isOther && answer.judgement.certificate.holds(tolerance) ? Status::Optimal
                                                                     : answer.status;
}

}  // namespace activeset::frontend
