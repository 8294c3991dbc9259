// Loads small problems. Unusual data are left to the general road, which reports faults and scales.
#include "frontend/predict/small_data.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frontend/algebra/dense.hpp"
#include "frontend/algebra/largest.hpp"
#include "frontend/problem/view_checks.hpp"

namespace activeset::frontend {

namespace {

// Sums of products of three factors stay far from overflow, and their errors from underflow.
constexpr double SmallestEntry = 1e-60;
constexpr double LargestEntry = 1e60;
constexpr double SmallestNorm = 1e-100;
constexpr double SideTolerance = 1e-13;        // what rounding may take from a side
constexpr double WeightOfCurvature = 0x1p-28;  // ρ in proportion to H

// Halves that differ by rounding become their mean.
// NOLINTNEXTLINE(readability-non-const-parameter): written through references
bool makeSymmetric(double* H, std::size_t n, std::size_t leading, double largest) {
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            double& above = H[j * leading + i];
            double& below = H[i * leading + j];
            if (std::abs(above - below) > SymmetryTolerance * largest) {
                return false;
            }
            above = below = 0.5 * above + 0.5 * below;
        }
    }
    return true;
}

bool loadHessian(const MatrixView& H, SmallMemory& memory, double& largest) {
    const SmallShape& shape = memory.shape;
    const std::size_t leading = shape.height();
    const std::size_t entries = H.rows();  // n, or none
    largest = memory.kernels.copy(H.data(), entries > 0 ? H.leading() : 0, entries, shape.n,
                                  memory.data, leading, shape.head());
    for (std::size_t j = shape.n; j < shape.cols(); ++j) {
        std::fill_n(memory.data + j * leading, shape.head(), 0.0);
        memory.data[j * leading + j] = 1.0;
    }
    return (largest == 0.0 || (largest >= SmallestEntry && largest <= LargestEntry)) &&
           (memory.kernels.isSymmetric(memory.data, shape.cols(), leading) ||
            makeSymmetric(memory.data, shape.n, leading, largest));
}

bool loadRows(const MatrixView& A, SmallMemory& memory, double& largest) {
    const SmallShape& shape = memory.shape;
    const std::size_t leading = shape.height();
    double* const rows = memory.data + shape.head();
    const double* from = A.data();
    std::size_t distance = shape.m > 0 ? A.leading() : 0;
    if (shape.m > 0 && A.order() == Order::RowMajor) {
        for (std::size_t i = 0; i < shape.m; ++i) {
            for (std::size_t j = 0; j < shape.n; ++j) {
                rows[j * leading + i] = A.data()[i * A.leading() + j];
            }
        }
        from = rows;
        distance = leading;
    }
    largest = shape.m > 0
                  ? memory.kernels.copy(from, distance, shape.m, shape.n, rows, leading, shape.m)
                  : 0.0;
    for (std::size_t j = 0; j < shape.n; ++j) {
        rows[j * leading + shape.m] = memory.c[j];
    }
    std::fill_n(memory.gathered, shape.head(), -1.0);
    return largest <= LargestEntry;  // so NaN is not
}

/// Sides of constraints `first` to `first + count`, and absent ones up to `first + padded`.
bool loadSides(const VectorView& lower,
               const VectorView& upper,
               std::size_t count,
               std::size_t first,
               std::size_t padded,
               SmallMemory& memory,
               double& largest) {
    constexpr SmallSideLimits Limits{AbsentSide, Infinity, SideTolerance};
    const SmallSideExtent extent =
        memory.kernels.copySides(lower.empty() ? nullptr : lower.data(),
                                 upper.empty() ? nullptr : upper.data(), count, padded, Limits,
                                 {memory.lower + first, memory.upper + first, memory.lowest + first,
                                  memory.highest + first});
    memory.equalities += extent.equal;
    largest = extent.largest;
    return extent.isSound && largest <= LargestEntry;
}

// The images by H and what memory.step adds to its diagonal; H stays as it is.
bool factorise(SmallMemory& memory, double tolerance) {
    const SmallShape& shape = memory.shape;
    const std::size_t next = shape.height() + 1;
    for (std::size_t j = 0; j < shape.n; ++j) {
        memory.residual[j] = memory.data[j * next];
        memory.data[j * next] += memory.step[j];
    }
    const bool isDefinite = memory.kernels.factorise(memory.stackWithImages(), tolerance);
    for (std::size_t j = 0; j < shape.n; ++j) {
        memory.data[j * next] = memory.residual[j];
    }
    return isDefinite;
}

bool factoriseWith(SmallMemory& memory, double rho) {
    std::fill_n(memory.step, memory.shape.n, rho);
    return factorise(memory, SmallestPivot);
}

// By Cholesky of H and δ_j on its diagonal, δ_j being the rounding of the curvature of variable j:
// with diagonal entries of 1, no eigenvalue is below −2δ. A variable without curvature has no
// products with others either.
bool isConvexButForRounding(SmallMemory& memory) {
    constexpr double CurvatureRounding = 4.0 * std::numeric_limits<double>::epsilon();
    const SmallShape& shape = memory.shape;
    const double delta = CurvatureRounding * static_cast<double>(shape.n);
    for (std::size_t j = 0; j < shape.n; ++j) {
        const double* const column = memory.data + j * shape.height();
        if (!(column[j] > 0.0) && memory.kernels.largest(column, shape.head()) > 0.0) {
            return false;
        }
        memory.step[j] = column[j] > 0.0 ? delta * column[j] : 1.0;
    }
    return factorise(memory, 0.0);
}

double leastPivot(const SmallMemory& memory) {
    const SmallShape& shape = memory.shape;
    double least = Infinity;
    for (std::size_t j = 0; j < shape.n; ++j) {
        least = std::min(least, memory.images[j * (shape.height() + shape.head() + 1)]);
    }
    return least * least;
}

SmallMatrix imagesOf(const SmallMemory& memory) {
    const SmallShape& shape = memory.shape;
    return {memory.images + shape.head(), shape.constraints(), shape.cols(),
            shape.height() + shape.head(), shape.rows()};
}

// Of the images `first` to `end` of the constraints; the row of c counts for nothing.
void formNorms(SmallMemory& memory, std::size_t first, std::size_t end) {
    SmallMatrix images = imagesOf(memory);
    images.data += first;
    images.rows = end - first;
    images.triangle -= first;
    memory.kernels.inverseNorms(images, SmallestNorm, memory.inverseNorm + first);
    memory.inverseNorm[memory.shape.m] = 0.0;
}

}  // namespace

double SmallExtent::mostTold() const {
    return std::max({bounds, ratio(rowSides, A), ratio(c, H)});
}

double SmallExtent::leastTold() const {
    double least = Infinity;
    for (const double size : {bounds, ratio(rowSides, A), ratio(c, H)}) {
        least = size > 0.0 ? std::min(least, size) : least;
    }
    return least < Infinity ? std::max(1.0, least) : 1.0;
}

bool areShapesRight(const Problem& problem) {
    const std::size_t n = variablesOf(problem);
    const std::size_t m = problem.A.rows();
    const bool isHessianRight =
        problem.H.rows() == 0
            ? problem.H.cols() == 0
            : problem.H.rows() == n && problem.H.cols() == n && hasMemory(problem.H);
    return n > 0 && isHessianRight &&
           (m == 0 ? problem.A.cols() == 0 || problem.A.cols() == n
                   : problem.A.cols() == n && hasMemory(problem.A)) &&
           fits(problem.c, n) && fits(problem.rowLower, m) && fits(problem.rowUpper, m) &&
           fits(problem.lower, n) && fits(problem.upper, n) && fits(problem.start, n) &&
           areFinite(problem.start.data(), problem.start.size());
}

bool mayRowsWait(const SmallMemory& memory) {
    const SmallShape& shape = memory.shape;
    constexpr std::size_t LeastVariables = 32;
    constexpr std::size_t MostRowsPerVariable = 4;
    return shape.n >= LeastVariables && shape.m >= shape.n &&
           shape.m <= MostRowsPerVariable * shape.n && memory.equalities == 0;
}

bool loadMatrices(const Problem& problem, SmallMemory& memory, SmallExtent& extent) {
    extent.weight = 0.0;
    return loadHessian(problem.H, memory, extent.H) && loadRows(problem.A, memory, extent.A);
}

double weightOfLinear(const SmallExtent& extent) {
    constexpr double WeightOfLinear = 0x1p-24;  // in proportion to slopes and variables
    const double variable = std::max(extent.bounds, ratio(extent.rowSides, extent.A));
    const double slope = extent.c > 0.0 ? extent.c : 1.0;
    const double curvature = variable > 0.0 && extent.c > 0.0 ? slope / variable : slope;
    return std::ldexp(1.0, 2 * (std::ilogb(WeightOfLinear * curvature) / 2));
}

bool formImages(SmallMemory& memory, SmallExtent& extent) {
    const SmallShape& shape = memory.shape;
    extent.weight = extent.isLinear() ? weightOfLinear(extent) : 0.0;
    memory.waiting = extent.isLinear() || !mayRowsWait(memory) ? 0 : shape.m / 8 * 8;
    if (!factoriseWith(memory, extent.weight)) {
        if (extent.isLinear() || !isConvexButForRounding(memory)) {
            return false;
        }
        extent.weight = WeightOfCurvature * extent.H;
        memory.waiting = 0;
        if (!factoriseWith(memory, extent.weight)) {
            return false;
        }
    }
    extent.leastPivot = leastPivot(memory);
    const SmallMatrix images = imagesOf(memory);
    formNorms(memory, shape.m > 0 ? memory.waiting : shape.rows(), shape.constraints());
    for (std::size_t j = 0; j < shape.cols(); ++j) {
        memory.w[j] = images.data[j * images.leading + shape.m];
    }
    std::fill(memory.w + shape.cols(), memory.w + shape.head(), 0.0);
    return true;
}

void formWaitingImages(SmallMemory& memory) {
    if (memory.waiting > 0) {
        memory.kernels.formWaiting(memory.stackWithImages());
        formNorms(memory, 0, memory.waiting);
        memory.waiting = 0;
    }
}

bool loadVectors(const Problem& problem, SmallMemory& memory, SmallExtent& extent) {
    const SmallShape& shape = memory.shape;
    extent.c =
        memory.kernels.copy(problem.c.data(), 0, problem.c.size(), 1, memory.c, 0, shape.head());
    memory.equalities = 0;
    return extent.c <= LargestEntry && std::isfinite(problem.constant) &&
           loadSides(problem.rowLower, problem.rowUpper, shape.m, 0, shape.rows(), memory,
                     extent.rowSides) &&
           loadSides(problem.lower, problem.upper, shape.n, shape.rows(), shape.head(), memory,
                     extent.bounds);
}

void transformLinear(SmallMemory& memory) {
    const SmallShape& shape = memory.shape;
    for (std::size_t j = 0; j < shape.cols(); ++j) {
        memory.data[j * shape.height() + shape.head() + shape.m] = memory.c[j];
    }
    SmallMatrix inverse = imagesOf(memory);
    inverse.data += shape.rows();
    inverse.rows = shape.head();
    inverse.triangle = 0;
    memory.kernels.multiplyTransposed(inverse, memory.c, memory.w);
    std::fill(memory.w + shape.cols(), memory.w + shape.head(), 0.0);
}

}  // namespace activeset::frontend
