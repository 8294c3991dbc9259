// The products, solves, factors and rotations of very small problems as plain loops. There a BLAS
// call takes as long at best, and many take a buffer from a list behind a lock, for which other
// threads with small problems wait.
#ifndef ACTIVESET_SRC_HOST_SMALL_KERNELS_HPP
#define ACTIVESET_SRC_HOST_SMALL_KERNELS_HPP

#include <array>
#include <cmath>

#include "host/blas.hpp"

namespace activeset::small {

constexpr Int LargestProduct = 256;  // elements of the matrix
constexpr Int LargestSolve = 24;     // order of the triangle
constexpr size_t LargestRotation = 16;

/// y += alpha·a·x.
inline void addProduct(double alpha, ConstBlock a, const double* x, double* y) {
    const double* column = a.data;
    for (Int j = 0; j < a.cols; ++j, column += a.ld) {
        const double factor = alpha * x[j];
        for (Int i = 0; i < a.rows; ++i) {
            y[i] += column[i] * factor;
        }
    }
}

/// y += alpha·aᵀ·x; four columns at a time, whose sums do not wait for each other.
inline void addTransposedProduct(double alpha, ConstBlock a, const double* x, double* y) {
    const double* column = a.data;
    Int j = 0;
    for (; j + 4 <= a.cols; j += 4, column += 4 * a.ld) {
        double first = 0.0;
        double second = 0.0;
        double third = 0.0;
        double fourth = 0.0;
        for (Int i = 0; i < a.rows; ++i) {
            first += column[i] * x[i];
            second += column[a.ld + i] * x[i];
            third += column[2 * a.ld + i] * x[i];
            fourth += column[3 * a.ld + i] * x[i];
        }
        y[j] += alpha * first;
        y[j + 1] += alpha * second;
        y[j + 2] += alpha * third;
        y[j + 3] += alpha * fourth;
    }
    for (; j < a.cols; ++j, column += a.ld) {
        double sum = 0.0;
        for (Int i = 0; i < a.rows; ++i) {
            sum += column[i] * x[i];
        }
        y[j] += alpha * sum;
    }
}

/// x := l⁻¹·x.
inline void solveLower(ConstBlock l, double* x) {
    const double* column = l.data;
    for (Int j = 0; j < l.cols; ++j, column += l.ld) {
        x[j] /= column[j];
        for (Int i = j + 1; i < l.cols; ++i) {
            x[i] -= column[i] * x[j];
        }
    }
}

/// x := l⁻ᵀ·x.
inline void solveLowerTransposed(ConstBlock l, double* x) {
    for (Int j = l.cols - 1; j >= 0; --j) {
        const double* column = l.data + j * l.ld;
        double rest = x[j];
        for (Int i = j + 1; i < l.cols; ++i) {
            rest -= column[i] * x[i];
        }
        x[j] = rest / column[j];
    }
}

/// x := r⁻¹·x.
inline void solveUpper(ConstBlock r, double* x) {
    for (Int j = r.cols - 1; j >= 0; --j) {
        const double* column = r.data + j * r.ld;
        x[j] /= column[j];
        for (Int i = 0; i < j; ++i) {
            x[i] -= column[i] * x[j];
        }
    }
}

/// x := r⁻ᵀ·x.
inline void solveUpperTransposed(ConstBlock r, double* x) {
    const double* column = r.data;
    for (Int j = 0; j < r.cols; ++j, column += r.ld) {
        double rest = x[j];
        for (Int i = 0; i < j; ++i) {
            rest -= column[i] * x[i];
        }
        x[j] = rest / column[j];
    }
}

/// a := its upper Cholesky factor, from and into the upper triangle, the order at most
/// LargestSolve. Returns 0, or the order of the first minor that is not positive.
inline Int factoriseUpper(Block a) {
    std::array<double, LargestSolve> products{};
    ConstBlock above = a;
    for (Int k = 0; k < a.cols; ++k) {
        double* const column = a.data + k * a.ld;
        above.rows = k;
        above.cols = a.cols - k;
        above.data = column;
        products.fill(0.0);
        addTransposedProduct(1.0, above, column, products.data());
        column[k] -= products[0];
        if (column[k] <= 0.0) {
            return k + 1;
        }
        column[k] = std::sqrt(column[k]);
        for (Int j = 1; j < above.cols; ++j) {
            double& entry = column[j * a.ld + k];
            entry = (entry - products[static_cast<size_t>(j)]) / column[k];
        }
    }
    return 0;
}

inline void rotate(size_t n,
                   double* x,
                   size_t strideX,
                   double* y,
                   size_t strideY,
                   const blas::Rotation& rotation) {
    for (size_t i = 0; i < n; ++i, x += strideX, y += strideY) {
        const double turned = rotation.c * *x + rotation.s * *y;
        *y = rotation.c * *y - rotation.s * *x;
        *x = turned;
    }
}

}  // namespace activeset::small

#endif
