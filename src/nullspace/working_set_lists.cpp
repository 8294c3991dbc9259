// The lists of constraints that a solve starts with, and the right-hand side of the working set.
#include <algorithm>
#include <cstdint>

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/handles.hpp"

using Matrix = OPTMatrix<double>;

namespace {

// `size` 1-based indices out of 1..count that do not occur (shifted by `offset`) in `removed`.
std::shared_ptr<vxArray> remaining(
    size_t size, size_t count, size_t offset, const size_t* removed, size_t nRemoved) {
    auto list = activeset::ownedArray(vxCreateDoubleMatrix(size, 1, vxComplexity::Real));
    double* values = vxGetDoubles(list.get());
    const size_t* end = removed == nullptr ? nullptr : removed + nRemoved;
    size_t kept = 0;
    for (size_t k = 1; k <= count && kept < size; ++k) {
        if (removed == nullptr || std::find(removed, end, offset + k) == end) {
            values[kept++] = static_cast<double>(k);
        }
    }
    return list;
}

std::int32_t rowsOf(const std::shared_ptr<vxArray>& list) {
    return list == nullptr ? 0 : static_cast<std::int32_t>(vxGetM(list.get()));
}

void restoreRows(const std::shared_ptr<vxArray>& list, size_t saved) {
    if (saved != 0 && list != nullptr) {
        vxSetM(list.get(), saved);
    }
}

}  // namespace

void NullSpaceAS::_createWeq(const size_t* removed, size_t nRemoved) {
    WeqArray = remaining(ActiveSet::getmaEq(), OPTsizes::getmEq(), 0, removed, nRemoved);
}

void NullSpaceAS::_createWfixed(const size_t* removed, size_t nRemoved) {
    WfixedArray = remaining(ActiveSet::getmaFixed(), OPTsizes::getmFixed(), OPTsizes::getmEq(),
                            removed, nRemoved);
}

// The working set holds at most nVar constraints: what is too much is dropped from the end of the
// upper bounds, then of the lower bounds, then of the inequalities.
void NullSpaceAS::_resizeWorkingSetInfo() {
    const auto shorten = [this](const HostList& list, size_t& saved) {
        const std::int32_t excess = rowsOf(WfixedArray) + rowsOf(WeqArray) + rowsOf(WineqArray) +
                                    rowsOf(WlowerArray) + rowsOf(WupperArray) -
                                    static_cast<std::int32_t>(OPTsizes::getnVar());
        if (excess > 0) {
            saved = vxGetM(list.get());
            vxSetM(list.get(), static_cast<size_t>(std::max(rowsOf(list) - excess, 0)));
        }
    };
    shorten(WupperArray, nWupperSaved);
    shorten(WlowerArray, nWlowerSaved);
    shorten(WineqArray, nWineqSaved);
}

// Copies of a solver share the lists; whoever still uses one finds it as long as it was.
void NullSpaceAS::_restoreWorkingSetInfo() {
    restoreRows(WlowerArray, nWlowerSaved);
    restoreRows(WupperArray, nWupperSaved);
    restoreRows(WineqArray, nWineqSaved);
    nWlowerSaved = 0;
    nWupperSaved = 0;
    nWineqSaved = 0;
}

namespace {

/// The right-hand sides of working-set constraints, written one behind the other.
struct RhsWriter {
    Matrix& bw;
    size_t next = 0;

    void take(const size_t* list, size_t count, const Matrix& rhs) {
        for (size_t i = 0; i < count; ++i) {
            bw(next++, 0) = rhs(list[i], 0);
        }
    }
};

}  // namespace

void NullSpaceAS::_createbw(Matrix& bw, IoptConstraint& constraints) {
    _requireWorkingSet();
    RhsWriter writer{bw};
    writer.take(activeSet.getWfixed(), ActiveSet::getmaFixed(), constraints.getbfixed());
    writer.take(activeSet.getWeq(), ActiveSet::getmaEq(), constraints.getbeq());
    writer.take(activeSet.getWineq(), ActiveSet::getmaIneq(), constraints.getb());
    // A bound that is not in the index list is skipped, as in the working-set matrix.
    size_t position = 0;
    for (size_t i = 0; i < ActiveSet::getmaLB(); ++i) {
        if (_findBound(constraints.getindexLB(), OPTsizes::getmLB(), constraints.getblb(),
                       activeSet.getWlower()[i], position)) {
            writer.take(&position, 1, constraints.getblb());
        }
    }
    for (size_t i = 0; i < ActiveSet::getmaUB(); ++i) {
        if (_findBound(constraints.getindexUB(), OPTsizes::getmUB(), constraints.getbub(),
                       activeSet.getWupper()[i], position)) {
            writer.take(&position, 1, constraints.getbub());
        }
    }
}
