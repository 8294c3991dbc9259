// The lists of the working set: reading them from the host, returning and printing them.
#include "activeset/active_set.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "activeset/sizes.hpp"
#include "host/console_text.hpp"
#include "thread_state.hpp"

using activeset::IndexList;
using activeset::threadState;

void ActiveSet::setmaFixed(size_t count) {
    threadState().workingSet.maFixed = count;
}
size_t ActiveSet::getmaFixed() {
    return threadState().workingSet.maFixed;
}
void ActiveSet::setmaEq(size_t count) {
    threadState().workingSet.maEq = count;
}
size_t ActiveSet::getmaEq() {
    return threadState().workingSet.maEq;
}
void ActiveSet::setmaIneq(size_t count) {
    threadState().workingSet.maIneq = count;
}
size_t ActiveSet::getmaIneq() {
    return threadState().workingSet.maIneq;
}
void ActiveSet::setmaLB(size_t count) {
    threadState().workingSet.maLB = count;
}
size_t ActiveSet::getmaLB() {
    return threadState().workingSet.maLB;
}
void ActiveSet::setmaUB(size_t count) {
    threadState().workingSet.maUB = count;
}
size_t ActiveSet::getmaUB() {
    return threadState().workingSet.maUB;
}
void ActiveSet::setmaConstr(size_t count) {
    threadState().workingSet.maConstr = count;
}
size_t ActiveSet::getmaConstr() {
    return threadState().workingSet.maConstr;
}

namespace {

// Allocates for `capacity` entries and copies the first `count`.
void setList(IndexList& list, size_t capacity, const size_t* source, size_t count) {
    list.reserve(capacity);
    if (source != nullptr) {
        std::copy_n(source, count, list.get());
    }
}

void setListOfKind(IndexList& list, const size_t* source, size_t count) {
    if (count != 0) {
        setList(list, count, source, count);
    }
}

size_t rowsOf(const vxArray* array) {
    return array == nullptr || vxIsEmpty(array) ? 0 : vxGetM(array);
}

// 1-based host index to 0-based: truncated toward zero, negative values wrapped to huge ones, so
// that 0.5 still means the first entry. What has no 64-bit value is huge as well.
size_t toPosition(double hostIndex) {
    const double position = std::trunc(hostIndex - 1.0);
    if (position >= 0x1p64 || position < -0x1p63 || std::isnan(position)) {
        return size_t{1} << 63U;
    }
    return position < 0.0 ? static_cast<size_t>(static_cast<std::int64_t>(position))
                          : static_cast<size_t>(position);
}

vxArray* toHostColumn(const IndexList& list, size_t count) {
    vxArray* column = vxCreateDoubleMatrix(count, 1, vxComplexity::Real);
    double* values = vxGetDoubles(column);
    for (size_t i = 0; i < count; ++i) {
        values[i] = static_cast<double>(list.get()[i] + 1);
    }
    return column;
}

// In use, but never more than the list holds: the counts are the thread's and may be another
// working set's by now.
size_t inUse(const IndexList& list, size_t count) {
    return std::min(count, list.capacity());
}

void append(IndexList& list, size_t& count, size_t value) {
    if (count >= list.capacity()) {
        list.reserve(count + 1);
    }
    list.get()[count] = value;
    ++count;
}

}  // namespace

void ActiveSet::_setWset(const size_t* source) {
    if (OPTsizes::getmConstr() != 0) {
        setList(Wset, OPTsizes::getnVar() + 1, source, OPTsizes::getnVar());
    }
}

void ActiveSet::_setWfixed(const size_t* source) {
    setListOfKind(Wfixed, source, OPTsizes::getmFixed());
}

void ActiveSet::_setWeq(const size_t* source) {
    setListOfKind(Weq, source, OPTsizes::getmEq());
}

void ActiveSet::_setWineq(const size_t* source) {
    setListOfKind(Wineq, source, OPTsizes::getmIneq());
}

void ActiveSet::_setWlower(const size_t* source) {
    setListOfKind(Wlower, source, OPTsizes::getmLB());
}

void ActiveSet::_setWupper(const size_t* source) {
    setList(Wupper, OPTsizes::getmUB() + 1, source, OPTsizes::getmUB());
}

void ActiveSet::_allocateLists() {
    _setWset(nullptr);
    _setWfixed(nullptr);
    _setWeq(nullptr);
    _setWineq(nullptr);
    _setWlower(nullptr);
    _setWupper(nullptr);
}

int ActiveSet::setWsetIndices(const vxArray* fixed,
                              const vxArray* eq,
                              const vxArray* ineq,
                              const vxArray* lower,
                              const vxArray* upper) {
    _allocateLists();
    activeset::WorkingSetCounts& counts = threadState().workingSet;
    counts.maFixed = rowsOf(fixed);
    counts.maEq = rowsOf(eq);
    counts.maIneq = rowsOf(ineq);
    counts.maLB = rowsOf(lower);
    counts.maUB = rowsOf(upper);
    counts.maConstr = counts.maFixed + counts.maEq + counts.maIneq + counts.maLB + counts.maUB;
    // Strict, whatever the texts say: as many as there are is accepted.
    if (counts.maIneq > OPTsizes::getmIneq()) {
        vxErrMsgIdAndTxt("optim:activesetqp:ActiveInequalitySizeError",
                         "Length of active inequality vector must be less than inequality vector.");
    }
    if (counts.maLB > OPTsizes::getmLB()) {
        vxErrMsgIdAndTxt(
            "optim:activesetqp:ActiveLowerBoundSizeError",
            "Length of active lower bound vector must be less than lower bound vector.");
    }
    if (counts.maUB > OPTsizes::getmUB()) {
        vxErrMsgIdAndTxt(
            "optim:activesetqp:ActiveUpperBoundSizeError",
            "Length of active upper bound vector must be less than upper bound vector.");
    }
    const size_t firstEq = OPTsizes::getmFixed();
    const size_t firstIneq = firstEq + OPTsizes::getmEq();
    const size_t firstLower = firstIneq + OPTsizes::getmIneq();
    const size_t firstUpper = firstLower + OPTsizes::getnVar();
    // The counts may exceed the usual capacities; whether such a set makes sense is judged later.
    Wset.reserve(counts.maConstr);
    size_t k = 0;
    const auto read = [&](IndexList& list, const vxArray* array, size_t count, size_t first) {
        if (count == 0) {
            return;
        }
        list.reserve(count);
        for (size_t i = 0; i < count; ++i) {
            const size_t position = toPosition(vxGetElement(array, i, 0));
            list.get()[i] = position;
            Wset.get()[k++] = first + position;
        }
    };
    read(Wfixed, fixed, counts.maFixed, 0);
    read(Weq, eq, counts.maEq, firstEq);
    read(Wineq, ineq, counts.maIneq, firstIneq);
    read(Wlower, lower, counts.maLB, firstLower);
    read(Wupper, upper, counts.maUB, firstUpper);
    return 1;
}

vxArray* ActiveSet::getWeqVxArray() const {
    return toHostColumn(Weq, inUse(Weq, getmaEq()));
}

vxArray* ActiveSet::getWineqVxArray() const {
    return toHostColumn(Wineq, inUse(Wineq, getmaIneq()));
}

vxArray* ActiveSet::getWlowerVxArray() const {
    return toHostColumn(Wlower, inUse(Wlower, getmaLB()));
}

vxArray* ActiveSet::getWupperVxArray() const {
    return toHostColumn(Wupper, inUse(Wupper, getmaUB()));
}

vxArray* ActiveSet::getWupperVxArrayPhaseOne() const {
    return getWupperVxArray();
}

// The list primitives are members by the interface's design.
// NOLINTBEGIN(readability-convert-member-functions-to-static)
int ActiveSet::findConstraint(const size_t* list, size_t n, size_t value, size_t& pos) const {
    pos = 0;
    const size_t* end = list + n;
    const size_t* found = std::find(list, end, value);
    if (found == end) {
        return -1;
    }
    pos = static_cast<size_t>(found - list);
    return 1;
}

void ActiveSet::replaceElementByLast(size_t* list, size_t n, size_t pos) const {
    list[pos] = list[n - 1];
}

void ActiveSet::addToBottom(size_t* list, size_t n, size_t value) const {
    list[n] = value;
}

void ActiveSet::printWindex(const size_t* list, size_t n) const {
    activeset::printToConsole([&](std::ostream& text) {
        for (size_t i = 0; i < n; ++i) {
            text << list[i] << '\t';
        }
        text << '\n';
    });
}
// NOLINTEND(readability-convert-member-functions-to-static)

void ActiveSet::printActiveSetInfo() {
    const activeset::WorkingSetCounts& counts = threadState().workingSet;
    activeset::printValues("Active Constraints:\n",                     //
                           "   #Fixed constr: ", counts.maFixed, '\n',  //
                           "   #Equal constr: ", counts.maEq, '\n',     //
                           "   #Ineq  constr: ", counts.maIneq, '\n',   //
                           "   #Lower constr: ", counts.maLB, '\n',     //
                           "   #Upper constr: ", counts.maUB, '\n');
}

bool ActiveSet::holdsWhatIsCounted() const {
    const activeset::WorkingSetCounts& counts = threadState().workingSet;
    return counts.maConstr <= Wset.capacity() && counts.maFixed <= Wfixed.capacity() &&
           counts.maEq <= Weq.capacity() && counts.maIneq <= Wineq.capacity() &&
           counts.maLB <= Wlower.capacity() && counts.maUB <= Wupper.capacity();
}

void ActiveSet::appendIneq(size_t row) {
    append(Wineq, threadState().workingSet.maIneq, row);
}

void ActiveSet::appendLower(size_t variable) {
    append(Wlower, threadState().workingSet.maLB, variable);
}

void ActiveSet::appendUpper(size_t variable) {
    append(Wupper, threadState().workingSet.maUB, variable);
}

void ActiveSet::appendToWset(size_t constraintNumber) {
    append(Wset, threadState().workingSet.maConstr, constraintNumber);
}
