// Kernels and the two rank-revealing factorisations; see Golub and Van Loan, Matrix Computations,
// on QR with column pivoting and on the Cholesky factorisation of semidefinite matrices.
#include "frontend/dense.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace activeset::frontend {

double dot(const double* a, const double* b, std::size_t count) {
    // Four sums, in a fixed order: the compiler may not change it, and one would wait for itself.
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
    Dense result(a.rows, b.cols);
    for (std::size_t j = 0; j < b.cols; ++j) {
        for (std::size_t k = 0; k < a.cols; ++k) {
            if (b(k, j) != 0.0) {
                axpy(b(k, j), a.column(k), result.column(j), a.rows);
            }
        }
    }
    return result;
}

Dense transposedProduct(const Dense& a, const Dense& b) {
    Dense result(a.cols, b.cols);
    for (std::size_t j = 0; j < b.cols; ++j) {
        for (std::size_t i = 0; i < a.cols; ++i) {
            result(i, j) = dot(a.column(i), b.column(j), a.rows);
        }
    }
    return result;
}

double largestMagnitude(const Vector& values) {
    double largest = 0.0;
    for (const double value : values) {
        largest = std::max(largest, std::abs(value));
    }
    return largest;
}

PivotedQr::PivotedQr(Dense matrix)
    : packed_(std::move(matrix)), scales_(packed_.cols, 0.0), pivots_(packed_.cols) {
    constexpr double Dependent = 1e-11;  // of the largest column
    std::iota(pivots_.begin(), pivots_.end(), std::size_t{0});
    const std::size_t steps = std::min(packed_.rows, packed_.cols);
    Vector norms(packed_.cols);
    for (std::size_t j = 0; j < packed_.cols; ++j) {
        norms[j] = dot(packed_.column(j), packed_.column(j), packed_.rows);
    }
    Vector fresh = norms;  // norms are updated; where they have lost their digits, formed anew
    double first = 0.0;
    for (std::size_t k = 0; k < steps; ++k) {
        const auto best =
            std::max_element(norms.begin() + static_cast<std::ptrdiff_t>(k), norms.end()) -
            norms.begin();
        const auto place = static_cast<std::size_t>(best);
        if (place != k) {
            std::swap_ranges(packed_.column(k), packed_.column(k) + packed_.rows,
                             packed_.column(place));
            std::swap(norms[k], norms[place]);
            std::swap(fresh[k], fresh[place]);
            std::swap(pivots_[k], pivots_[place]);
        }
        double* v = packed_.column(k) + k;
        const std::size_t count = packed_.rows - k;
        const double norm = std::sqrt(dot(v, v, count));
        first = std::max(first, norm);
        if (!(norm > Dependent * first)) {
            break;
        }
        ++rank_;
        const double pivot = v[0] > 0.0 ? -norm : norm;
        scales_[k] = (pivot - v[0]) / pivot;
        const double divisor = v[0] - pivot;
        for (std::size_t i = 1; i < count; ++i) {
            v[i] /= divisor;
        }
        v[0] = pivot;
        for (std::size_t j = k + 1; j < packed_.cols; ++j) {
            double* other = packed_.column(j);
            reflect(k, other);
            norms[j] -= other[k] * other[k];
            if (!(norms[j] > 1e-8 * fresh[j])) {
                norms[j] = dot(other + k + 1, other + k + 1, count - 1);
                fresh[j] = norms[j];
            }
        }
    }
}

// v := (I − scale·w·wᵀ)·v, w = (1, packed below the diagonal).
void PivotedQr::reflect(std::size_t k, double* v) const {
    const double* w = packed_.column(k) + k + 1;
    const std::size_t count = packed_.rows - k - 1;
    const double factor = scales_[k] * (v[k] + dot(w, v + k + 1, count));
    v[k] -= factor;
    axpy(-factor, w, v + k + 1, count);
}

void PivotedQr::applyTransposed(double* v) const {
    for (std::size_t k = 0; k < rank_; ++k) {
        reflect(k, v);
    }
}

void PivotedQr::apply(double* v) const {
    for (std::size_t k = rank_; k-- > 0;) {
        reflect(k, v);
    }
}

void PivotedQr::solve(double* v) const {
    for (std::size_t k = rank_; k-- > 0;) {
        v[k] /= packed_(k, k);
        axpy(-v[k], packed_.column(k), v, k);
    }
}

void PivotedQr::solveTransposed(double* v) const {
    for (std::size_t k = 0; k < rank_; ++k) {
        v[k] = (v[k] - dot(packed_.column(k), v, k)) / packed_(k, k);
    }
}

Dense PivotedQr::nullSpace() const {
    Dense basis(packed_.rows, packed_.rows - rank_);
    for (std::size_t j = 0; j < basis.cols; ++j) {
        basis(rank_ + j, j) = 1.0;
        apply(basis.column(j));
    }
    return basis;
}

PivotedCholesky::PivotedCholesky(Dense matrix, double tolerance)
    : factor_(std::move(matrix)), pivots_(factor_.rows) {
    const std::size_t n = factor_.rows;
    std::iota(pivots_.begin(), pivots_.end(), std::size_t{0});
    double largest = 0.0;
    for (std::size_t k = 0; k < n; ++k) {
        largest = std::max(largest, std::abs(factor_(k, k)));
    }
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t best = k;
        for (std::size_t i = k + 1; i < n; ++i) {
            if (factor_(i, i) > factor_(best, best)) {
                best = i;
            }
        }
        if (!(factor_(best, best) > tolerance * largest)) {
            break;
        }
        exchange(k, best);
        double* column = factor_.column(k);
        column[k] = std::sqrt(column[k]);
        for (std::size_t i = k + 1; i < n; ++i) {
            column[i] /= column[k];
        }
        for (std::size_t j = k + 1; j < n; ++j) {
            axpy(-column[j], column + j, factor_.column(j) + j, n - j);
        }
        ++rank_;
    }
    findNegative(tolerance * largest);
}

// Rows and columns k < other of the matrix of which the lower half is stored.
void PivotedCholesky::exchange(std::size_t k, std::size_t other) {
    if (k == other) {
        return;
    }
    const std::size_t n = factor_.rows;
    std::swap(pivots_[k], pivots_[other]);
    std::swap(factor_(k, k), factor_(other, other));
    for (std::size_t j = 0; j < k; ++j) {
        std::swap(factor_(k, j), factor_(other, j));
    }
    for (std::size_t i = k + 1; i < other; ++i) {
        std::swap(factor_(i, k), factor_(other, i));
    }
    for (std::size_t i = other + 1; i < n; ++i) {
        std::swap(factor_(i, k), factor_(i, other));
    }
}

void PivotedCholesky::solve(double* v) const {
    const std::size_t n = factor_.rows;
    Vector permuted(n, 0.0);
    for (std::size_t k = 0; k < rank_; ++k) {
        permuted[k] = v[pivots_[k]];
    }
    for (std::size_t k = 0; k < rank_; ++k) {
        permuted[k] /= factor_(k, k);
        axpy(-permuted[k], factor_.column(k) + k + 1, permuted.data() + k + 1, rank_ - k - 1);
    }
    solveFactorTransposed(permuted.data());
    for (std::size_t k = 0; k < n; ++k) {
        v[pivots_[k]] = permuted[k];
    }
}

// The first `rank` entries of v := L⁻ᵀ·v.
void PivotedCholesky::solveFactorTransposed(double* v) const {
    for (std::size_t k = rank_; k-- > 0;) {
        v[k] = (v[k] - dot(factor_.column(k) + k + 1, v + k + 1, rank_ - k - 1)) / factor_(k, k);
    }
}

// What is left behind the rank is the Schur complement S. It has a direction of negative curvature
// where a diagonal entry is negative, or where an entry beside the diagonal outweighs the two
// diagonal entries that belong to it.
void PivotedCholesky::findNegative(double tolerance) {
    const std::size_t n = factor_.rows;
    double lowest = -tolerance;
    for (std::size_t j = rank_; j < n; ++j) {
        if (factor_(j, j) < lowest) {
            lowest = factor_(j, j);
            setNegative(j, 1.0, j, 0.0);
        }
        for (std::size_t i = j + 1; i < n; ++i) {
            const double entry = factor_(i, j);
            const double curvature = factor_(i, i) + factor_(j, j) - 2.0 * std::abs(entry);
            if (0.5 * curvature < lowest) {
                lowest = 0.5 * curvature;
                setNegative(i, 1.0, j, entry > 0.0 ? -1.0 : 1.0);
            }
        }
    }
}

// With M = [M₁ Wᵀ; W ·], the direction (−M₁⁻¹Wᵀs, s) has the curvature sᵀS·s.
void PivotedCholesky::setNegative(std::size_t i, double ofI, std::size_t j, double ofJ) {
    const std::size_t n = factor_.rows;
    Vector leading(n, 0.0);
    for (std::size_t k = 0; k < rank_; ++k) {
        leading[k] = -(ofI * factor_(i, k) + ofJ * factor_(j, k));
    }
    solveFactorTransposed(leading.data());
    leading[j] += ofJ;
    leading[i] += ofI;
    const double largest = largestMagnitude(leading);
    negative_.assign(n, 0.0);
    for (std::size_t k = 0; k < n; ++k) {
        negative_[pivots_[k]] = leading[k] / largest;
    }
}

}  // namespace activeset::frontend
