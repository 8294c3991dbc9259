// A constraint enters or leaves the working set: lists, matrix and message in step.
#include <algorithm>
#include <span>
#include <string>

#include "activeset/sizes.hpp"
#include "activeset/solver.hpp"
#include "matrix/views.hpp"

using activeset::ConstraintKind;
using activeset::PassMessage;
using Matrix = OPTMatrix<double>;
using Event = PassMessage::Event;

void IsolverAS::setnewActiveConstraint(Matrix row) {  // NOLINT(performance-unnecessary-value-param)
    newActiveConstraint = row;
}

void IsolverAS::_addConstraint(size_t constraintNumber, size_t kindIndex, const std::string& kind) {
    Blocking named;
    named.kind = kind == "ineq"    ? ConstraintKind::Inequality
                 : kind == "lower" ? ConstraintKind::LowerBound
                                   : ConstraintKind::UpperBound;
    named.number = constraintNumber;
    named.kindIndex = kindIndex;
    _append(named);
}

void IsolverAS::_append(const Blocking& blocking) {
    const std::span row(newActiveConstraint.getData(), newActiveConstraint.size());
    constraint->rowTo(blocking.kind, blocking.kindIndex, row);
    // The column first: where there is none left, nothing has changed yet.
    Aw.setColumn(ActiveSet::getmaConstr(), row);
    if (blocking.kind == ConstraintKind::Inequality) {
        activeSet.appendIneq(blocking.kindIndex);
        iterMessage = PassMessage(Event::InequalityIn, blocking.kindIndex);
    } else if (blocking.kind == ConstraintKind::LowerBound) {
        const size_t variable = constraint->getindexLB()[blocking.kindIndex];
        activeSet.appendLower(variable);
        iterMessage = PassMessage(Event::LowerBoundIn, variable);
    } else {
        const size_t variable = constraint->getindexUB()[blocking.kindIndex];
        activeSet.appendUpper(variable);
        iterMessage = PassMessage(Event::UpperBoundIn, variable);
    }
    activeSet.appendToWset(blocking.number);
    activesetChangeIndicator = ConstraintAdded;
}

void IsolverAS::removeConstraint(size_t position) {
    _requireWorkingSet();
    const size_t count = ActiveSet::getmaConstr();
    if (position >= count) {
        vxErrMsgIdAndTxt("optim:src:activesetqp:elementNotFound",
                         "Expected upper bound was not found in the active list.");
    }
    const size_t number = activeSet.getWset()[position];
    const size_t eqEnd = OPTsizes::getmFixed() + OPTsizes::getmEq();
    const size_t ineqEnd = eqEnd + OPTsizes::getmIneq();
    const size_t lowerEnd = ineqEnd + OPTsizes::getnVar();
    const auto take = [&](size_t* list, size_t inUse, size_t value, const char* missing) {
        size_t place = 0;
        if (activeSet.findConstraint(list, inUse, value, place) != 1) {
            vxErrMsgIdAndTxt("optim:src:activesetqp:elementNotFound", "%s", missing);
        }
        activeSet.replaceElementByLast(list, inUse, place);
    };
    if (eqEnd <= number && number < ineqEnd) {
        const size_t row = number - eqEnd;
        take(activeSet.getWineq(), ActiveSet::getmaIneq(), row,
             "Expected inequality was not found in the active list.");
        ActiveSet::setmaIneq(ActiveSet::getmaIneq() - 1);
        iterMessage = PassMessage(Event::InequalityOut, row);
    } else if (ineqEnd <= number && number < lowerEnd) {
        const size_t variable = number - ineqEnd;
        take(activeSet.getWlower(), ActiveSet::getmaLB(), variable,
             "Expected lower bound was not found in the active list.");
        ActiveSet::setmaLB(ActiveSet::getmaLB() - 1);
        iterMessage = PassMessage(Event::LowerBoundOut, variable);
    } else {
        // Equalities and fixed variables come here too, are not found, and so can never leave.
        const size_t variable = number - lowerEnd;
        take(activeSet.getWupper(), ActiveSet::getmaUB(), variable,
             "Expected upper bound was not found in the active list.");
        ActiveSet::setmaUB(ActiveSet::getmaUB() - 1);
        iterMessage = PassMessage(Event::UpperBoundOut, variable);
    }
    _moveConstraint(position, count - 1);
    activeSet.replaceElementByLast(activeSet.getWset(), count, position);
    ActiveSet::setmaConstr(count - 1);
    activesetChangeIndicator = ConstraintRemoved;
}

void IsolverAS::_moveConstraint(size_t to, size_t from) {
    if (from != to) {
        Aw.copyColumn(to, from);
    }
}
