// The matrix of the working set, a column for each member.
#include <algorithm>
#include <span>

#include "activeset/sizes.hpp"
#include "activeset/solver.hpp"
#include "matrix/views.hpp"

using Matrix = OPTMatrix<double>;

int IsolverAS::_createAw() {
    if (ActiveSet::getmaConstr() > OPTsizes::getnVar()) {
        vxErrMsgIdAndTxt("optim:src:activesetqp:ActiveConstraintSizeError",
                         "Number of active constraints must be less than number of variables.");
    }
    _requireProblem();
    _requireWorkingSet();
    size_t column = 0;
    const auto append = [&](const Matrix& row) {
        activeset::requireFull(row);
        Aw.setColumn(column++, std::span(row.getData(), row.size()));
    };
    // Not found: no column, and the next bound fills this one. Kept: the rank test then removes the
    // constraint that the last, unfilled column stands for.
    const auto appendLower = [&](size_t variable) {
        size_t position = 0;
        if (_findBound(constraint->getindexLB(), OPTsizes::getmLB(), constraint->getblb(), variable,
                       position)) {
            append(constraint->AlbRow(position));
        }
    };
    const auto appendUpper = [&](size_t variable) {
        size_t position = 0;
        if (_findBound(constraint->getindexUB(), OPTsizes::getmUB(), constraint->getbub(), variable,
                       position)) {
            append(constraint->AubRow(position));
        }
    };
    for (size_t i = 0; i < ActiveSet::getmaFixed(); ++i) {
        append(constraint->AfixedRow(activeSet.getWfixed()[i]));
    }
    for (size_t i = 0; i < ActiveSet::getmaEq(); ++i) {
        append(constraint->AeqRow(activeSet.getWeq()[i]));
    }
    for (size_t i = 0; i < ActiveSet::getmaIneq(); ++i) {
        append(constraint->ARow(activeSet.getWineq()[i]));
    }
    for (size_t i = 0; i < ActiveSet::getmaLB(); ++i) {
        appendLower(activeSet.getWlower()[i]);
    }
    for (size_t i = 0; i < ActiveSet::getmaUB(); ++i) {
        appendUpper(activeSet.getWupper()[i]);
    }
    return 1;
}

// The first position of a variable in the index list of a bound side. The count is the thread's and
// may be another problem's: the list is as long as the right-hand side.
bool IsolverAS::_findBound(
    const size_t* index, size_t count, const Matrix& rhs, size_t variable, size_t& position) {
    const size_t* end = index + std::min(count, rhs.getRows());
    const size_t* found = std::find(index, end, variable);
    position = static_cast<size_t>(found - index);
    return found != end;
}
