// Checks and copies, the walk, and slack variables where it does not end with a proof.
#include "frontend/soft_solve.hpp"

#include <iterator>
#include <optional>
#include <utility>

#include "frontend/loop/best_point.hpp"
#include "frontend/soft/slacks.hpp"
#include "frontend/soft_walk.hpp"

namespace activeset::frontend {

namespace {

/// The problem with a slack variable for each soft side, solved as any problem is.
class SlackSolve {
public:
    SlackSolve(const ProblemData& data, const Penalties& penalties)
        : user_(data), penalties_(penalties), slack_(data, penalties, penalties.softSides()) {}

    [[nodiscard]] Result solve(Vector x, const Settings& settings, Control& control) {
        ProblemCache cache(slack_.data);
        Result result = solveConvexified(cache, std::move(x), {}, settings, control);
        const bool isOptimal = result.status == Status::Optimal;
        result.x.resize(slack_.data.n, 0.0);
        result.y.resize(slack_.data.m, 0.0);
        result.z.resize(slack_.data.n, 0.0);
        const Vector slacks = slack_.slacksOf(result.x);
        const WorkingSet set = slack_.restricted(result.workingSet, slacks);
        Point point = slack_.restricted({result.x, result.y, result.z});
        result.workingSet = set;
        if (!isOptimal || result.hessianShift != 0.0 ||
            !improves(set, point, settings.tolerance, result)) {
            if (isOptimal && result.hessianShift == 0.0) {
                cap(point, settings.tolerance, result);
            }
            take(std::move(point), result);
        }
        if (!result.direction.empty()) {
            result.direction.resize(user_.n);
        }
        if (result.farkas) {
            Point farkas = slack_.restricted({{}, result.farkas->y, result.farkas->z});
            result.farkas->y = std::move(farkas.y);
            result.farkas->z = std::move(farkas.z);
        }
        return result;
    }

private:
    static void take(Point point, Result& result) {
        result.x = std::move(point.x);
        result.y = std::move(point.y);
        result.z = std::move(point.z);
    }

    /// Takes multipliers no larger than what their sides cost, where these are a proof as well.
    void cap(Point& point, double tolerance, Result& result) const {
        Point within = slack_.capped({result.x, result.y, result.z});
        if (within.y == result.y) {
            return;
        }
        const Judgement judgement = settleAndJudge(slack_.data, within);
        if (judgement.certificate.holds(tolerance)) {
            result.objective = judgement.objective;
            result.certificate = judgement.certificate;
            point = slack_.restricted(std::move(within));
        }
    }

    /// Slacks that are what the point violates, and nothing else, where that is a proof as well.
    [[nodiscard]] bool improves(const WorkingSet& set,
                                const Point& point,
                                double tolerance,
                                Result& result) const {
        Piece piece(user_, penalties_);
        piece.placeBy(set.softViolated);
        std::vector<Side> held = Constraints(user_, set).all();
        for (std::size_t k = 0; k < held.size(); ++k) {
            held[k] = piece.beyond(k) == Side::None ? held[k] : Side::None;
        }
        SoftProof proof = proveSoft(user_, penalties_, piece, held, point);
        if (!proof.areCapped || !proof.judgement.certificate.holds(tolerance) ||
            !(proof.judgement.certificate.primal.relative <= FeasibleToRounding)) {
            return false;
        }
        result.workingSet = listed(user_, held, proof.beyond);
        result.objective = proof.judgement.objective;
        result.certificate = proof.judgement.certificate;
        take(std::move(proof.point), result);
        return true;
    }

    const ProblemData& user_;
    const Penalties& penalties_;
    SlackProblem slack_;
};

}  // namespace

std::vector<Fault> allFaults(const Problem& problem, const Settings& settings) {
    std::vector<Fault> faults = faultsOf(problem);
    std::ranges::move(faultsIn(settings), std::back_inserter(faults));
    return faults;
}

Problem withoutPenalties(const Problem& problem) {
    Problem hard = problem;
    hard.rowPenalty = {};
    hard.boundPenalty = {};
    return hard;
}

bool isSettled(const Problem& problem, const Result& withHardSides) {
    return withHardSides.status == Status::Invalid ||
           (withHardSides.status == Status::Optimal &&
            areWithin(problem.rowPenalty, withHardSides.y) &&
            areWithin(problem.boundPenalty, withHardSides.z));
}

Result solveSoft(const Problem& problem,
                 const ProblemData* data,
                 const WarmStart& start,
                 const Result* first,
                 Sequence& pieces,
                 const Settings& settings,
                 Control& control) {
    ProblemData own;
    if (data == nullptr) {
        if (first == nullptr) {  // else found out before
            std::vector<Fault> faults = allFaults(problem, settings);
            if (!faults.empty()) {
                return invalid(std::move(faults));
            }
        }
        own = copyOf(problem);
        data = &own;
    }
    const Penalties penalties(problem, *data);
    SoftWalk walk(*data, penalties, pieces, settings, control);
    std::optional<Result> result = walk.solve(start, first);
    if (!result) {
        const double walked = control.seconds();
        result = SlackSolve(*data, penalties).solve(walk.point(), settings, control);
        walk.addWorkTo(*result, walked);
    }
    return std::move(*result);
}

}  // namespace activeset::frontend
