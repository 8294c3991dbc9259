// From views to a copy that is complete.
#include "frontend/problem/problem_data.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace activeset::frontend {

namespace {

void copyMatrix(const MatrixView& matrix, LargeVector& target) {
    target.clear();
    target.makeRoom(matrix.rows() * matrix.cols());
    for (std::size_t j = 0; j < matrix.cols() && !matrix.empty(); ++j) {
        if (matrix.order() == Order::ColumnMajor) {
            const double* column = matrix.data() + j * matrix.leading();
            target.insert(target.end(), column, column + matrix.rows());
            continue;
        }
        for (std::size_t i = 0; i < matrix.rows(); ++i) {
            target.push_back(matrix(i, j));
        }
    }
}

void copyVector(const VectorView& vector, Vector& target) {
    target.clear();
    if (!vector.empty()) {
        target.assign(vector.data(), vector.data() + vector.size());
    }
}

void copySides(const VectorView& lower, const VectorView& upper, Vector& lowers, Vector& uppers) {
    copyVector(lower, lowers);
    copyVector(upper, uppers);
    std::replace_if(
        lowers.begin(), lowers.end(), [](double side) { return side <= -AbsentSide; }, -Infinity);
    std::replace_if(
        uppers.begin(), uppers.end(), [](double side) { return side >= AbsentSide; }, Infinity);
}

// Halves that differ by rounding become their mean.
void copyHessian(const MatrixView& matrix, ProblemData& data) {
    copyMatrix(matrix, data.H);
    const bool isExact = data.H.empty() || isSymmetric(data.H.data(), data.n, data.n);
    for (std::size_t j = 0; j < data.n && !isExact; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            double& above = data.H[j * data.n + i];
            double& below = data.H[i * data.n + j];
            if (above != below) {
                above = below = 0.5 * above + 0.5 * below;
            }
        }
    }
    data.quadratic =
        std::any_of(data.H.begin(), data.H.end(), [](double entry) { return entry != 0.0; });
    if (!data.quadratic) {
        data.H.clear();
    }
}

}  // namespace

// Takes a band of columns at a time, so that the rows on the other side stay in the cache. Bits are
// collected without a branch for each pair.
bool isSymmetric(const double* values, std::size_t n, std::size_t leading) {
    constexpr std::size_t Band = 16;
    const auto isMirrored = [&](std::size_t i, std::size_t first, std::size_t last) {
        std::uint64_t different = 0;
        for (std::size_t j = first; j < last; ++j) {
            different |= std::bit_cast<std::uint64_t>(values[j * leading + i]) ^
                         std::bit_cast<std::uint64_t>(values[i * leading + j]);
        }
        return different == 0;
    };
    for (std::size_t first = 0; first < n; first += Band) {
        const std::size_t last = std::min(first + Band, n);
        for (std::size_t i = 0; i < last; ++i) {
            if (!isMirrored(i, std::max(first, i), last)) {
                return false;
            }
        }
    }
    return true;
}

std::size_t variablesOf(const Problem& problem) {
    if (!problem.c.empty()) {
        return problem.c.size();
    }
    return problem.H.cols() != 0 ? problem.H.cols() : problem.A.cols();
}

void copyPart(const Problem& problem, Part part, ProblemData& data) {
    switch (part) {
        case Part::Hessian:
            copyHessian(problem.H, data);
            break;
        case Part::Linear:
            copyVector(problem.c, data.c);
            data.constant = problem.constant;
            break;
        case Part::Rows:
            copyMatrix(problem.A, data.A);
            break;
        case Part::RowSides:
            copySides(problem.rowLower, problem.rowUpper, data.rowLower, data.rowUpper);
            break;
        case Part::Bounds:
            copySides(problem.lower, problem.upper, data.lower, data.upper);
            break;
        case Part::Start:
        case Part::Penalties:
            break;
    }
}

ProblemData shifted(const ProblemData& data, double shift) {
    ProblemData result = data;
    result.H.grow(data.n * data.n);
    for (std::size_t j = 0; j < data.n; ++j) {
        result.H[j * (data.n + 1)] += shift;
    }
    result.quadratic = true;
    return result;
}

void complete(ProblemData& data) {
    data.c.resize(data.n, 0.0);
    data.rowLower.resize(data.m, -Infinity);
    data.rowUpper.resize(data.m, Infinity);
    data.lower.resize(data.n, -Infinity);
    data.upper.resize(data.n, Infinity);
}

ProblemData copyOf(const Problem& problem, std::span<const Part> parts) {
    ProblemData data;
    data.n = variablesOf(problem);
    data.m = problem.A.rows();
    for (const Part part : parts) {
        copyPart(problem, part, data);
    }
    complete(data);
    return data;
}

Problem viewOf(const ProblemData& data) {
    Problem problem;
    problem.c = data.c;
    problem.rowLower = data.rowLower;
    problem.rowUpper = data.rowUpper;
    problem.lower = data.lower;
    problem.upper = data.upper;
    problem.constant = data.constant;
    if (data.quadratic) {
        problem.H = MatrixView(data.H, data.n, data.n);
    }
    if (data.m > 0) {
        problem.A = MatrixView(data.A, data.m, data.n);
    }
    return problem;
}

}  // namespace activeset::frontend
