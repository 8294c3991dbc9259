// Inequalities and bounds that depend on the rest of the working set leave it before the
// iterations start. Equality-type constraints are pivoted to the front and always stay.
#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/console_text.hpp"
#include "host/handles.hpp"
#include "matrix/views.hpp"
#include "nullspace/rank.hpp"

using Matrix = OPTMatrix<double>;

// QRwset := the packed pivoted factorisation of Aw; jpvt: its permutation, 1-based.
void NullSpaceAS::_pivotWorkingSet(std::int64_t* jpvt) {
    _copyAw(QRwset);
    std::fill_n(jpvt, ActiveSet::getmaFixed() + ActiveSet::getmaEq(), 1);
    Matrix noQ;
    _getQRE(QRwset, noQ, tau, jpvt, OPTsizes::getnVar(), ActiveSet::getmaConstr(), false);
}

void NullSpaceAS::_makeWorkingSetIndependent() {
    initializeFactorization();
    const size_t m = ActiveSet::getmaConstr();
    const size_t equalityType = ActiveSet::getmaFixed() + ActiveSet::getmaEq();
    if (m == equalityType) {
        return;
    }
    const activeset::HostBuffer<std::int64_t> jpvt(m);
    _pivotWorkingSet(jpvt.data());
    const double tolerance = activeset::rankTolerance();
    const activeset::HostBuffer<size_t> dependent(m);
    size_t count = 0;
    for (size_t i = m; i > equalityType && std::abs(QRwset(i - 1, i - 1)) < tolerance; --i) {
        dependent[count++] = static_cast<size_t>(jpvt[i - 1] - 1);
    }
    _removeDependentIneq(dependent.data(), count);
}

// Largest position first, so that the smaller ones stay valid.
void NullSpaceAS::_removeDependentIneq(size_t* list, size_t n) {
    std::sort(list, list + n, std::greater<>());
    for (size_t i = 0; i < n; ++i) {
        removeConstraint(list[i]);
    }
}

// A diagnostic for developers; the solver does not call it.
int NullSpaceAS::_isWorkingSetFullRank() {
    activeset::printValues("In the function NullSpaceAS::_isWorkingSetFullRank\n");
    const size_t m = ActiveSet::getmaConstr();
    const activeset::HostBuffer<std::int64_t> jpvt(m);
    _pivotWorkingSet(jpvt.data());
    activeset::printValues("Print the vector jpvt after removing the dependent inequalities\n");
    const double tolerance = activeset::rankTolerance();
    for (size_t i = m; i > 0 && std::abs(QRwset(i - 1, i - 1)) < tolerance; --i) {
        activeset::printValues("k,k: ", jpvt[i - 1], "  val: ", QRwset(i - 1, i - 1), '\n');
    }
    activeset::printValues(
        "Done with NullSpaceAS::_isWorkingSetFullRank; Checked for dependent constraints in the "
        "working set\n");
    return 1;
}
