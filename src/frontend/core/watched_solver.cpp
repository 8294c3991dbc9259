// What the solver does besides its method.
#include "frontend/core/watched_solver.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "activeset/sizes.hpp"

namespace activeset::frontend {

void WatchedSolver::getSearchDirection(OPTMatrix<double>& g, OPTMatrix<double>& p) {
    NullSpaceAS::getSearchDirection(g, p);
    hasDirection_ = true;
}

void WatchedSolver::computeLambda(OPTMatrix<double>& g, OPTMatrix<double>& multipliers) {
    NullSpaceAS::computeLambda(g, multipliers);
    const bool phaseOne = isPhaseOne();
    if (phaseOne != wasPhaseOne_) {
        cycles_.restart();
        wasPhaseOne_ = phaseOne;
    }
    const std::size_t count = ActiveSet::getmaConstr();
    const std::size_t equalities = ActiveSet::getmaEq() + ActiveSet::getmaFixed();
    bool isMinimum = true;
    for (std::size_t k = equalities; k < count; ++k) {
        double& multiplier = multipliers(k, 0);
        if (multiplier < 0.0 && multiplier >= -rounding_) {
            multiplier = 0.0;
        }
        isMinimum = isMinimum && multiplier >= 0.0;
    }
    if (!isMinimum) {
        const OPTMatrix<double>& point = solution.xstarRef();
        isCycling_ =
            cycles_.hasReturned(activeSet.getWset(), count, point.getData(), point.size()) ||
            isCycling_;
    } else if (phaseOne) {
        keepPhaseOneMultipliers(multipliers);
    }
}

bool WatchedSolver::_mayGoOn() {
    control_.endPass(isPhaseOne(), [this] { return report(); });
    return !control_.mustEnd() && !isCycling_;
}

bool WatchedSolver::isPhaseOne() const {
    return dynamic_cast<PhaseOneObjective*>(objective) != nullptr;
}

// As setLambdaForAllConstraints does at the end of a solve.
void WatchedSolver::keepPhaseOneMultipliers(const OPTMatrix<double>& multipliers) {
    const std::size_t extended = OPTsizes::getnVar();
    const std::size_t rows = OPTsizes::getmEq() + OPTsizes::getmIneq();
    phaseOneMultipliers_.assign(rows + 2 * (extended - 1), 0.0);
    for (std::size_t k = 0; k < ActiveSet::getmaConstr(); ++k) {
        std::size_t number = activeSet.getWset()[k];
        if (number == rows + 2 * extended - 1) {
            continue;
        }
        if (number >= rows + extended) {
            --number;  // the block of lower bounds is one shorter
        }
        phaseOneMultipliers_[number] = multipliers(k, 0);
    }
}

CoreSet WatchedSolver::coreSet() const {
    const std::size_t n = OPTsizes::getnVar() - (isPhaseOne() ? 1 : 0);
    const auto bounds = [n](const std::size_t* list, std::size_t count) {
        std::vector<std::size_t> members;
        std::copy_if(list, list + count, std::back_inserter(members),
                     [n](std::size_t variable) { return variable < n; });
        return members;
    };
    const std::size_t* const rows = activeSet.getWineq();
    return {std::vector<std::size_t>(rows, rows + ActiveSet::getmaIneq()),
            bounds(activeSet.getWlower(), ActiveSet::getmaLB()),
            bounds(activeSet.getWupper(), ActiveSet::getmaUB())};
}

Progress WatchedSolver::report() {
    const double* point = solution.xstarRef().getData();
    const std::size_t n = OPTsizes::getnVar() - (isPhaseOne() ? 1 : 0);
    Progress progress = progress_(point, coreSet(), getDroppedEqualities());
    progress.active = ActiveSet::getmaConstr();
    double step = 0.0;
    for (std::size_t i = 0; i < n && n == last_.size() && hasDirection_; ++i) {
        step = std::hypot(step, point[i] - last_[i]);
    }
    last_.assign(point, point + n);
    progress.step = step;
    hasDirection_ = false;
    return progress;
}

}  // namespace activeset::frontend
