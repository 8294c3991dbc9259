// The multipliers of all constraints from those of the working set.
#include "activeset/sizes.hpp"
#include "activeset/solver.hpp"

void IsolverAS::setLambdaForAllConstraints(OPTMatrix<double>& side) {
    _requireWorkingSet();
    OPTMatrix<double> ofWorkingSet(lambda.getRows(), lambda.getCols(), true);
    ofWorkingSet = lambda;
    lambda.fill(0.0);
    const size_t bounds = OPTsizes::getmEq() + OPTsizes::getmIneq();
    const size_t* number = activeSet.getWset();
    // Fixed variables stay in front, they are never removed. Their multiplier goes to the lower or
    // the upper bound of the variable, without the mFixed offset that other numbers have: hosts
    // read it there.
    for (size_t k = 0; k < ActiveSet::getmaFixed(); ++k) {
        const size_t fixed = number[k];
        if (side(fixed, 0) >= 0.0) {
            lambda(bounds + fixed, 0) = -ofWorkingSet(k, 0);
        } else {
            lambda(bounds + OPTsizes::getnVar() + fixed, 0) = ofWorkingSet(k, 0);
        }
    }
    for (size_t k = ActiveSet::getmaFixed(); k < ActiveSet::getmaConstr(); ++k) {
        lambda(number[k], 0) = ofWorkingSet(k, 0);
    }
}
