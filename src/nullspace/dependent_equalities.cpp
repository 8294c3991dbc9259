// Which equality-type constraints (equalities, then fixed variables) depend on the others, and
// whether the dependent ones agree with them. Rank-revealing QR with column pivoting; see Golub
// and Van Loan, Matrix Computations, on QR with column pivoting.
#include <algorithm>
#include <cmath>

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/blas.hpp"
#include "host/handles.hpp"
#include "matrix/views.hpp"
#include "nullspace/rank.hpp"

using Matrix = OPTMatrix<double>;

std::int64_t NullSpaceAS::_removeDependentEq(IoptConstraint& constraints) {
    const size_t mEq = OPTsizes::getmEq();
    const size_t mFixed = OPTsizes::getmFixed();
    const size_t m = mEq + mFixed;
    const size_t n = OPTsizes::getnVar();
    Matrix M(m, n);
    Matrix Mt(n, m);
    Matrix rhs(m, 1);
    const auto stack = [&](const Matrix& rows, const Matrix& right, size_t count, size_t first) {
        for (size_t i = 0; i < count; ++i) {
            for (size_t j = 0; j < n; ++j) {
                M(first + i, j) = rows(i, j);
                Mt(j, first + i) = rows(i, j);
            }
            rhs(first + i, 0) = right(i, 0);
        }
    };
    stack(constraints.getAeq(), constraints.getbeq(), mEq, 0);
    stack(constraints.getAfixed(), constraints.getbfixed(), mFixed, mEq);

    const std::int64_t count = _numberOfDependentEq(M, rhs);
    if (count < 0) {
        // Inconsistent: no equality-type constraint stays in the working set.
        ActiveSet::setmaFixed(0);
        ActiveSet::setmaEq(0);
        _createWfixed(nullptr, 0);
        _createWeq(nullptr, 0);
        return count;
    }
    const auto removedCount = static_cast<size_t>(count);
    const activeset::HostBuffer<size_t> idx(removedCount);
    if (count > 0) {
        _indexOfDependentEq(Mt, idx.data(), count);
    }
    droppedEqualities.clear();
    for (const size_t number : idx) {
        droppedEqualities.push_back(number - 1);
    }
    const auto fixedRemoved = static_cast<size_t>(
        std::count_if(idx.begin(), idx.end(), [mEq](size_t number) { return number > mEq; }));
    ActiveSet::setmaFixed(mFixed - fixedRemoved);
    ActiveSet::setmaEq(mEq - (removedCount - fixedRemoved));
    _createWfixed(idx.data(), removedCount);
    _createWeq(idx.data(), removedCount);
    return count;
}

std::int64_t NullSpaceAS::_numberOfDependentEq(Matrix& M, Matrix& rhs) {
    const size_t m = M.getRows();
    const size_t n = M.getCols();
    if (m == 0) {
        return 0;
    }
    size_t count = m > n ? m - n : 0;
    Matrix Qm(m, m);
    Matrix scalars(std::max(m, n), 1);
    const activeset::HostBuffer<std::int64_t> jpvt(n);
    _getQRE(M, Qm, scalars, jpvt.data(), m, n, true);
    const double tolerance = activeset::rankTolerance();
    for (size_t i = std::min(m, n); i > 0 && std::abs(M(i - 1, i - 1)) < tolerance; --i) {
        ++count;
    }
    // A dependent row is consistent when the part of rhs outside the range vanishes as well.
    for (size_t k = 0; k < count; ++k) {
        double outside = 0.0;
        activeset::blas::gemv(activeset::Op::Transpose, 1.0, activeset::columns(Qm, m - 1 - k, 1),
                              activeset::vectorOf(rhs, m), 0.0, &outside);
        if (std::abs(outside) >= tolerance) {
            return -1;
        }
    }
    return static_cast<std::int64_t>(count);
}

// The numbers that pivoting moved to the last places, the last one first.
void NullSpaceAS::_indexOfDependentEq(Matrix& Mt, size_t* idx, std::int64_t count) {
    const size_t m = Mt.getRows();
    const size_t n = Mt.getCols();
    Matrix noQ;
    Matrix scalars(std::max(m, n), 1);
    const activeset::HostBuffer<std::int64_t> jpvt(n);
    _getQRE(Mt, noQ, scalars, jpvt.data(), m, n, false);
    const size_t wanted = std::min(static_cast<size_t>(std::max<std::int64_t>(count, 0)), n);
    for (size_t k = 0; k < wanted; ++k) {
        idx[k] = static_cast<size_t>(jpvt[n - 1 - k]);
    }
}
