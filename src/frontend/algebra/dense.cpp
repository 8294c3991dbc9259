// Products, the Cholesky factor and triangular systems.
#include "frontend/algebra/dense.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "frontend/algebra/cholesky.hpp"
#include "frontend/algebra/dense_views.hpp"
#include "frontend/algebra/largest.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

namespace {

Dense multiply(Op op, const Dense& a, const Dense& b) {
    Dense result(op == Op::None ? a.rows : a.cols, b.cols);
    if (a.rows * a.cols != 0) {
        blas::gemm(op, Op::None, 1.0, viewOf(a), viewOf(b), 0.0, viewOf(result));
    }
    return result;
}

bool arePivotsAbove(const Dense& factor, double least) {
    for (std::size_t k = 0; k < factor.rows; ++k) {
        if (!(factor(k, k) * factor(k, k) > least)) {
            return false;
        }
    }
    return true;
}

}  // namespace

double dot(const double* a, const double* b, std::size_t count) {
    // Four sums in a fixed order. In a single sum each addition would wait for the one before it.
    double sums[4] = {0.0, 0.0, 0.0, 0.0};  // NOLINT(modernize-avoid-c-arrays): registers
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        for (std::size_t k = 0; k < 4; ++k) {
            sums[k] += a[i + k] * b[i + k];
        }
    }
    for (; i < count; ++i) {
        sums[0] += a[i] * b[i];
    }
    return (sums[0] + sums[2]) + (sums[1] + sums[3]);
}

void axpy(double factor, const double* x, double* y, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        y[i] += factor * x[i];
    }
}

Dense product(const Dense& a, const Dense& b) {
    return multiply(Op::None, a, b);
}

Dense transposedProduct(const Dense& a, const Dense& b) {
    return multiply(Op::Transpose, a, b);
}

Vector transposedProduct(const Dense& a, const Vector& x) {
    Vector result(a.cols, 0.0);
    blas::gemv(Op::Transpose, 1.0, viewOf(a), x.data(), 0.0, result.data());
    return result;
}

Vector product(std::span<const double> a, std::size_t rows, const Vector& x) {
    Vector result(rows, 0.0);
    blas::gemv(Op::None, 1.0, ConstBlock(a.data(), rows, x.size()), x.data(), 0.0, result.data());
    return result;
}

void addProduct(const Dense& a, const Vector& x, Vector& y) {
    blas::gemv(Op::None, 1.0, viewOf(a), x.data(), 1.0, y.data());
}

double largestDiagonal(const Dense& a) {
    double largest = 0.0;
    for (std::size_t k = 0; k < a.rows; ++k) {
        largest = std::max(largest, a(k, k));
    }
    return largest;
}

bool hasClearPivots(const Dense& factor, double tolerance) {
    double least = std::numeric_limits<double>::infinity();
    double most = 0.0;
    for (std::size_t k = 0; k < factor.rows; ++k) {
        const double pivot = factor(k, k) * factor(k, k);
        least = std::min(least, pivot);
        most = std::max(most, pivot);
    }
    return factor.rows == 0 || least > tolerance * most;
}

bool factoriseUpper(Dense& a, double tolerance) {
    const double largest = largestDiagonal(a);
    if (a.rows == 0) {
        return true;
    }
    return lapack::potrf(viewOf(a)) == 0 && arePivotsAbove(a, tolerance * largest);
}

bool factoriseLower(Dense& a, double tolerance) {
    const double largest = largestDiagonal(a);
    if (a.rows == 0) {
        return true;
    }
    LargeVector work = LargeVector::unwritten(choleskyWork(a.rows));
    return choleskyInPlace({a.values.data(), a.rows, a.rows, work.data()}) &&
           arePivotsAbove(a, tolerance * largest);
}

void solveUpper(const Dense& a, double* b, std::size_t count) {
    lapack::trtrs(viewOf(a), {b, a.rows, count});
}

void solveUpperTransposed(const Dense& a, double* b, std::size_t count) {
    lapack::trtrsTransposed(viewOf(a), {b, a.rows, count});
}

void solveLower(const Dense& a, double* b, std::size_t count) {
    lapack::trtrsLower(viewOf(a), {b, a.rows, count});
}

void solveLowerTransposed(const Dense& a, double* b, std::size_t count) {
    lapack::trtrsLowerTransposed(viewOf(a), {b, a.rows, count});
}

double largestMagnitude(const Vector& values) {
    return largestMagnitude(values.data(), values.size());
}

// 0 times a number is 0, or NaN if it is not finite. Four sums do not wait for one another.
bool areFinite(const double* values, std::size_t count) {
    constexpr std::size_t Width = 4;
    std::array<double, Width> zeros{};
    std::size_t i = 0;
    for (; i + Width <= count; i += Width) {
        for (std::size_t k = 0; k < Width; ++k) {
            zeros[k] += 0.0 * values[i + k];
        }
    }
    for (; i < count; ++i) {
        zeros[0] += 0.0 * values[i];
    }
    return zeros == std::array<double, Width>{};
}

bool areFinite(const Vector& values) {
    return areFinite(values.data(), values.size());
}

}  // namespace activeset::frontend
