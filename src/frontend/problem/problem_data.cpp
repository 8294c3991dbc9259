// From views to a copy that is complete.
#include "frontend/problem/problem_data.hpp"

#include <algorithm>
#include <utility>

#include "frontend/algebra/symmetric_scan.hpp"

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
void equaliseHalves(LargeVector& H, std::size_t n) {
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            double& above = H[j * n + i];
            double& below = H[i * n + j];
            if (above != below) {
                above = below = 0.5 * above + 0.5 * below;
            }
        }
    }
}

bool isZero(const Vector& entries) {
    return std::all_of(entries.begin(), entries.end(), [](double entry) { return entry == 0.0; });
}

void copyHessian(const MatrixView& matrix, HessianScan scan, ProblemData& data) {
    LargeVector& H = data.H.change();
    copyMatrix(matrix, H);
    if (!scan.isExact) {
        equaliseHalves(H, data.n);
    }
    data.quadratic = !isZero(scan.isExact ? scan.largest : H);
    if (data.quadratic) {
        data.H.tellLargest(std::move(scan.largest));
    } else {
        data.H.clear();
    }
}

bool hasNoGaps(const MatrixView& matrix) {
    const bool byColumns = matrix.order() == Order::ColumnMajor;
    return !matrix.empty() && matrix.leading() == (byColumns ? matrix.rows() : matrix.cols());
}

}  // namespace

HessianScan scanOf(const MatrixView& H) {
    HessianScan scan;
    if (H.rows() != H.cols()) {
        return scan;
    }
    scan.largest.resize(H.cols());
    scan.isExact = isFiniteSymmetric(H.data(), H.cols(), H.leading(), scan.largest.data());
    if (!scan.isExact) {
        scan.largest.clear();
    }
    return scan;
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
            copyHessian(problem.H, scanOf(problem.H), data);
            break;
        case Part::Linear:
            copyVector(problem.c, data.c);
            data.constant = problem.constant;
            break;
        case Part::Rows:
            copyMatrix(problem.A, data.A.change());
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
    LargeVector& H = result.H.change();
    H.grow(data.n * data.n);
    for (std::size_t j = 0; j < data.n; ++j) {
        H[j * (data.n + 1)] += shift;
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

ProblemData copyOf(const Problem& problem, HessianScan scan, Matrices matrices) {
    constexpr std::array Vectors{Part::Linear, Part::RowSides, Part::Bounds};
    ProblemData data = copyOf(problem, Vectors);
    const bool mayLend = matrices == Matrices::Lent;
    if (mayLend && problem.A.order() == Order::ColumnMajor && hasNoGaps(problem.A)) {
        data.A = MatrixEntries::lent(problem.A.data(), problem.A.rows() * problem.A.cols());
    } else {
        copyPart(problem, Part::Rows, data);
    }
    if (mayLend && hasNoGaps(problem.H) && !isZero(scan.largest)) {  // so it is exact
        data.quadratic = true;
        data.H = MatrixEntries::lent(problem.H.data(), data.n * data.n);
        data.H.tellLargest(std::move(scan.largest));
    } else {
        copyHessian(problem.H, std::move(scan), data);
    }
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
        problem.H = MatrixView(data.H.data(), data.n, data.n);
    }
    if (data.m > 0) {
        problem.A = MatrixView(data.A.data(), data.m, data.n);
    }
    return problem;
}

}  // namespace activeset::frontend
