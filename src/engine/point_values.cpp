// What the objective and the constraints make of a point.
#include "activeset/solver.hpp"

using Matrix = OPTMatrix<double>;

void IsolverAS::_updateObjectiveValue() {
    if (!solution.isFvalUpdated()) {
        solution.setfstar(objective->valueAt(solution.xstarRef()));
    }
}

double IsolverAS::_largestViolation(const Matrix& at) const {
    return constraint->constrViolation(at).maximum().value;
}
