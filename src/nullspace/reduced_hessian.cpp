// Forming, solving with and updating the factor of the reduced Hessian.
#include "nullspace/reduced_hessian.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/lapack.hpp"
#include "matrix/views.hpp"

namespace activeset {

namespace {

// Columns that are formed, or turned, at a time.
constexpr size_t PanelWidth = 64;
constexpr size_t Lanes = 8;

// A squared pivot of this part of the matrix's size or less is in doubt: far above the rounding of
// an update, n·ε, and far below what a well-posed problem shows.
constexpr double SafePivotRatio = 1e-10;

Block part(Block of, Int row, Int col, Int rows, Int cols) {
    of.data += col * of.ld + row;
    of.rows = rows;
    of.cols = cols;
    return of;
}

ConstBlock part(ConstBlock of, Int col, Int cols) {
    of.data += col * of.ld;
    of.cols = cols;
    return of;
}

bool isIdentity(ConstBlock matrix) {
    if (matrix.rows != matrix.cols) {
        return false;
    }
    for (Int j = 0; j < matrix.cols; ++j) {
        for (Int i = 0; i < matrix.rows; ++i) {
            if (matrix.data[j * matrix.ld + i] != (i == j ? 1.0 : 0.0)) {
                return false;
            }
        }
    }
    return true;
}

// The chain of row rotations down some columns of L at once: independent columns hide each
// other's latency. `carry` is the entry that travels down.
template <size_t Width>
void turnColumns(double* const* columns,
                 size_t first,
                 size_t last,
                 const double* cosines,
                 const double* sines,
                 std::array<double, Width>& carry) {
    for (size_t r = first; r < last; ++r) {
        const double c = cosines[r];
        const double s = sines[r];
        for (size_t k = 0; k < Width; ++k) {
            const double below = columns[k][r + 1];
            columns[k][r] = c * carry[k] - s * below;
            carry[k] = s * carry[k] + c * below;
        }
    }
    for (size_t k = 0; k < Width; ++k) {
        columns[k][last] = carry[k];
    }
}

}  // namespace

void RotationSweep::reserve(size_t n) {
    if (pairs_.getRows() != n) {
        pairs_.reset(n, 2);
    }
    count = 0;
}

void RotationSweep::append(const blas::Rotation& rotation) {
    pairs_(count, 0) = rotation.c;
    pairs_(count, 1) = rotation.s;
    ++count;
}

void ReducedHessian::reserve(size_t n) {
    if (triangles_.getCols() != n) {
        triangles_.reset(n + 1, n);
        column_.reset(n, 1);
        panel_.reset(std::min(n, PanelWidth), n);
        isCurrent_ = false;
    }
}

Block ReducedHessian::natural() {
    Block view = viewOf(triangles_);
    view.rows = static_cast<Int>(order_);
    view.cols = static_cast<Int>(order_);
    return view;
}

Block ReducedHessian::lower() {
    Block view = natural();
    view.data += 1;
    return view;
}

Int ReducedHessian::formAndSolve(ConstBlock H, ConstBlock Z, double* b) {
    reserve(static_cast<size_t>(Z.rows));
    isCurrent_ = false;
    order_ = static_cast<size_t>(Z.cols);
    updates_ = 0;
    scale_ = 0.0;
    const Block M = natural();
    // (ZᵀH)·Z in this order, as the plain computation: the verdict on a singular matrix hangs on
    // the rounding. A panel of rows at a time, from the diagonal to the right.
    const bool nothingToTurn = isIdentity(Z);  // a start with an empty working set
    for (Int j = 0; j < Z.cols && nothingToTurn; ++j) {
        std::copy_n(H.data + j * H.ld, j + 1, M.data + j * M.ld);
    }
    for (Int first = 0; first < Z.cols && !nothingToTurn; first += static_cast<Int>(PanelWidth)) {
        const Int width = std::min(static_cast<Int>(PanelWidth), Z.cols - first);
        const Block ZtH = part(viewOf(panel_), 0, 0, width, Z.rows);
        blas::gemm(Op::Transpose, Op::None, 1.0, part(Z, first, width), H, 0.0, ZtH);
        blas::gemm(Op::None, Op::None, 1.0, ZtH, part(Z, first, Z.cols - first), 0.0,
                   part(M, first, first, width, Z.cols - first));
    }
    // L's place gets the same matrix with rows and columns in reversed order.
    const Block L = lower();
    const Int last = M.cols - 1;
    for (Int j = 0; j <= last; ++j) {
        scale_ = std::max(scale_, std::abs(M.data[j * M.ld + j]));
        for (Int i = 0; i <= j; ++i) {
            L.data[(last - j) * L.ld + (last - i)] = M.data[j * M.ld + i];
        }
    }
    const Int info = lapack::potrf(M);
    if (info != 0) {
        return info;
    }
    lapack::potrs(M, Block(b, order_, 1));
    isCurrent_ = lapack::potrfLower(L) == 0;
    for (Int j = 0; j <= last; ++j) {
        const double pivot = L.data[j * L.ld + j];
        isCurrent_ = isCurrent_ && isSafe(pivot * pivot);
    }
    return 0;
}

bool ReducedHessian::isSafe(double squaredPivot) const {
    return squaredPivot > SafePivotRatio * scale_;
}

void ReducedHessian::solve(double* b) {
    std::reverse(b, b + order_);
    blas::trsvLower(Op::None, lower(), b);
    blas::trsvLower(Op::Transpose, lower(), b);
    std::reverse(b, b + order_);
}

void ReducedHessian::followInsertion(const RotationSweep& sweep) {
    if (!isCurrent_) {
        return;
    }
    if (sweep.count + 1 != order_ || updates_ >= triangles_.getCols()) {
        isCurrent_ = false;
        return;
    }
    turnRows(sweep);
    clearSuperdiagonal();
    --order_;
    ++updates_;
}

// Rotation r turns rows r and r + 1. Column j is zero above row j, so its part begins at r = j − 1
// and fills the entry above the diagonal.
void ReducedHessian::turnRows(const RotationSweep& sweep) {
    const double* cosines = sweep.cosines();
    const double* sines = sweep.sines();
    const Block L = lower();
    const size_t last = order_ - 1;
    for (size_t j = 0; j < order_; j += Lanes) {
        const size_t width = std::min(Lanes, order_ - j);
        std::array<double*, Lanes> columns{};
        std::array<double, Lanes> carry{};
        const size_t together = j + width - 1;  // from this row on all columns of the group turn
        for (size_t k = 0; k < width; ++k) {
            double* column = L.data + static_cast<Int>(j + k) * L.ld;
            columns[k] = column;
            size_t r = j + k;
            carry[k] = column[r];
            if (r > 0) {
                column[r - 1] = -sines[r - 1] * carry[k];
                carry[k] *= cosines[r - 1];
            }
            for (; r < std::min(together, last); ++r) {
                column[r] = cosines[r] * carry[k] - sines[r] * column[r + 1];
                carry[k] = sines[r] * carry[k] + cosines[r] * column[r + 1];
            }
        }
        if (width == Lanes) {
            turnColumns<Lanes>(columns.data(), together, last, cosines, sines, carry);
            continue;
        }
        for (size_t k = 0; k < width; ++k) {
            std::array<double, 1> single{carry[k]};
            turnColumns<1>(&columns[k], std::min(together, last), last, cosines, sines, single);
        }
    }
}

// Rotations of neighbouring columns restore the triangle; the last row is about to be dropped.
void ReducedHessian::clearSuperdiagonal() {
    const Block L = lower();
    for (size_t r = 0; r + 1 < order_; ++r) {
        double* left = L.data + static_cast<Int>(r) * L.ld + r;
        double* right = left + L.ld;
        const blas::Rotation rotation = blas::rotg(*left, *right);
        *left = rotation.r;
        *right = 0.0;
        isCurrent_ = isCurrent_ && isSafe(rotation.r * rotation.r);
        blas::rot(order_ - r - 2, left + 1, 1, right + 1, 1, rotation);
    }
}

void ReducedHessian::followDeletion(ConstBlock H, ConstBlock Z) {
    if (!isCurrent_) {
        return;
    }
    if (order_ + 1 != static_cast<size_t>(Z.cols) || updates_ >= triangles_.getCols()) {
        isCurrent_ = false;
        return;
    }
    double* Hz = panel_.getData();
    double* u = column_.getData();
    blas::gemv(Op::None, 1.0, H, Z.data, 0.0, Hz);
    blas::gemv(Op::Transpose, 1.0, Z, Hz, 0.0, u);
    const double diagonal = u[0];  // zᵀHz, z being the first column of Z
    std::reverse(u + 1, u + 1 + order_);
    u += 1;
    blas::trsvLower(Op::None, lower(), u);
    double rest = diagonal;
    for (size_t k = 0; k < order_; ++k) {
        rest -= u[k] * u[k];
    }
    scale_ = std::max(scale_, std::abs(diagonal));
    if (!isSafe(rest)) {
        isCurrent_ = false;  // LAPACK decides, on a matrix formed afresh
        return;
    }
    const size_t added = order_;
    ++order_;
    ++updates_;
    const Block L = lower();
    const auto stride = static_cast<size_t>(L.ld);
    for (size_t k = 0; k < added; ++k) {
        L.data[k * stride + added] = u[k];
    }
    L.data[added * stride + added] = std::sqrt(rest);
}

}  // namespace activeset
