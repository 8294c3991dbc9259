// From views to a copy that is complete.
#include "frontend/data.hpp"

#include <algorithm>

namespace activeset::frontend {

namespace {

void copyMatrix(const MatrixView& matrix, Vector& target, std::size_t size) {
    target.clear();
    target.reserve(size);
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
    target.resize(size, 0.0);
}

void copyVector(const VectorView& vector, Vector& target, std::size_t size, double absent) {
    if (vector.empty()) {
        target.assign(size, absent);
    } else {
        target.assign(vector.data(), vector.data() + vector.size());
    }
}

// Halves that differ by rounding become their mean.
void copyHessian(const MatrixView& matrix, Data& data) {
    copyMatrix(matrix, data.H, data.n * data.n);
    const bool isExact = isSymmetric(data.H.data(), data.n, data.n);
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

// By bands of columns, of which the rows on the other side stay in the cache.
bool isSymmetric(const double* values, std::size_t n, std::size_t leading) {
    constexpr std::size_t Band = 16;
    const auto isMirrored = [&](std::size_t i, std::size_t first, std::size_t last) {
        bool isSame = true;
        for (std::size_t j = first; j < last; ++j) {
            isSame = isSame && values[j * leading + i] == values[i * leading + j];
        }
        return isSame;
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
    return !problem.c.empty() ? problem.c.size() : problem.H.cols();
}

void copyPart(const Problem& problem, Part part, Data& data) {
    switch (part) {
        case Part::Hessian:
            copyHessian(problem.H, data);
            break;
        case Part::Linear:
            copyVector(problem.c, data.c, data.n, 0.0);
            data.constant = problem.constant;
            break;
        case Part::Rows:
            copyMatrix(problem.A, data.A, data.m * data.n);
            break;
        case Part::RowSides:
            copyVector(problem.rowLower, data.rowLower, data.m, -Infinity);
            copyVector(problem.rowUpper, data.rowUpper, data.m, Infinity);
            break;
        case Part::Bounds:
            copyVector(problem.lower, data.lower, data.n, -Infinity);
            copyVector(problem.upper, data.upper, data.n, Infinity);
            break;
        case Part::Start:
            break;
    }
}

Data copyOf(const Problem& problem) {
    Data data;
    data.n = variablesOf(problem);
    data.m = problem.A.rows();
    for (const Part part : AllParts) {
        copyPart(problem, part, data);
    }
    return data;
}

}  // namespace activeset::frontend
