// How far a direction may be followed, and which constraint stops it.
#include <algorithm>
#include <cmath>

#include "activeset/sizes.hpp"
#include "activeset/solver.hpp"

using Matrix = OPTMatrix<double>;

namespace {

/// The nearest blocking constraint found so far.
struct Blocking {
    double threshold = 0.0;  // rates up to this do not approach a constraint
    double tolerance = 0.0;  // TolCon
    double alpha = 1e30;
    int code = -1;  // 1 once a constraint is recorded

    // Scans one kind in list order. isActive(i) and record(i) take the entry within the kind.
    template <class IsActive, class Record>
    void scan(const Matrix& rates,
              const Matrix& residuals,
              size_t count,
              IsActive isActive,
              Record record) {
        for (size_t i = 0; i < count; ++i) {
            const double rate = rates(i, 0);
            if (!(rate > threshold) || isActive(i)) {  // NaN approaches nothing
                continue;
            }
            const double ratio = numerator(residuals(i, 0)) / rate;
            if (alpha > ratio) {  // strict: ties keep the constraint found first
                alpha = ratio;
                code = 1;
                record(i);
            } else if (ratio == 1.0 && alpha == 1.0 && code < 0) {
                // Never reached, since alpha only changes with code: part of the rule as given.
                code = 1;
                record(i);
            }
        }
    }

    // The slack of a satisfied constraint; of one violated by less than half the tolerance the
    // violation itself; else what the tolerance leaves, which can be negative. Deliberate: steps
    // near the tolerance's edge depend on it.
    [[nodiscard]] double numerator(double residual) const {
        const double distance = std::abs(residual);
        const double room = tolerance - residual;
        return room > distance ? distance : room;
    }
};

bool contains(const size_t* list, size_t count, size_t value) {
    return std::find(list, list + count, value) != list + count;
}

}  // namespace

int IsolverAS::_findBlockingConstraintAndAlpha(
    Matrix& p, size_t& constraintNumber, size_t& kindIndex, std::string& kind, double& alpha) {
    constraintNumber = 0;
    kindIndex = 0;
    const Matrix& point = solution.xstarRef();
    const size_t firstIneq = OPTsizes::getmFixed() + OPTsizes::getmEq();
    const size_t firstLower = firstIneq + OPTsizes::getmIneq();
    const size_t firstUpper = firstLower + OPTsizes::getnVar();
    Blocking blocking{TolDegeneracy * p.norm(), options->getTolCon()};
    // Inequalities, lower bounds, upper bounds: among equal ratios the first one scanned wins.
    const auto recordAs = [&](const char* word, size_t number, size_t entry) {
        constraintNumber = number;
        kindIndex = entry;
        kind = word;
    };
    // The lists are looked at behind the products, which are the constraint set's own code and may
    // have done anything to the counts.
    if (OPTsizes::getmIneq() > 0) {
        const Matrix rates = constraint->Ax(p);
        const Matrix residuals = constraint->Aconstr(point);
        _requireWorkingSet();
        blocking.scan(
            rates, residuals, OPTsizes::getmIneq(),
            [&](size_t i) { return contains(activeSet.getWineq(), ActiveSet::getmaIneq(), i); },
            [&](size_t i) { recordAs("ineq", firstIneq + i, i); });
    }
    if (OPTsizes::getmLB() > 0) {
        const Matrix rates = constraint->Albx(p);
        const Matrix residuals = constraint->Albconstr(point);
        const size_t* variable = constraint->getindexLB();
        _requireWorkingSet();
        blocking.scan(
            rates, residuals, OPTsizes::getmLB(),
            [&](size_t j) {
                return contains(activeSet.getWlower(), ActiveSet::getmaLB(), variable[j]);
            },
            [&](size_t j) { recordAs("lower", firstLower + variable[j], j); });
    }
    if (OPTsizes::getmUB() > 0) {
        const Matrix rates = constraint->Aubx(p);
        const Matrix residuals = constraint->Aubconstr(point);
        const size_t* variable = constraint->getindexUB();
        _requireWorkingSet();
        blocking.scan(
            rates, residuals, OPTsizes::getmUB(),
            [&](size_t j) {
                return contains(activeSet.getWupper(), ActiveSet::getmaUB(), variable[j]);
            },
            [&](size_t j) { recordAs("upper", firstUpper + variable[j], j); });
    }
    alpha = blocking.alpha;
    const std::string& type = objective->objectiveTypeWord();
    if (type != "QP" && type != "LP") {
        return blocking.code;
    }
    // A constraint exactly at distance 1 blocks the full step of a quadratic objective.
    const double cap = type == "QP" ? 1.0 : utGetRealMax();
    if (blocking.code == 1 && alpha > cap) {
        blocking.code = -1;
    }
    alpha = cap > alpha ? alpha : cap;
    return blocking.code;
}
