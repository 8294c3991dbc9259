// Looks at shape, memory and entries of matrices.
#include "frontend/problem/matrix_checks.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/view_checks.hpp"

namespace activeset::frontend {

namespace {

std::string shape(std::size_t rows, std::size_t cols) {
    return std::to_string(rows) + " x " + std::to_string(cols);
}

std::string entry(const char* name, std::size_t i, std::size_t j) {
    return std::string(name) + "(" + std::to_string(i) + ", " + std::to_string(j) + ")";
}

bool hasMemory(const char* name, const MatrixView& matrix, FaultList& faults) {
    const bool byColumns = matrix.order() == Order::ColumnMajor;
    const std::size_t inner = byColumns ? matrix.rows() : matrix.cols();
    const std::size_t outer = byColumns ? matrix.cols() : matrix.rows();
    const std::size_t available = std::min(matrix.available(), MostElements);
    std::string why;
    if (matrix.data() == nullptr) {
        why = "points to no data";
    } else if (matrix.leading() < inner) {
        why = "has the leading dimension " + std::to_string(matrix.leading()) +
              ", expected at least " + std::to_string(inner) + ", the number of its " +
              (byColumns ? "rows" : "columns");
    } else if (available < inner || (outer - 1) > (available - inner) / matrix.leading()) {
        why = "needs more than the " + std::to_string(available) + " elements that " +
              (available < MostElements ? "it was given" : "memory can hold");
    }
    if (!why.empty()) {
        faults.add(name, 0, 0, 0.0, [&] {
            return std::string(name) + ", " + shape(matrix.rows(), matrix.cols()) + ", " + why;
        });
    }
    return matrix.data() != nullptr && why.empty();
}

// False where its entries must not be read.
bool fits(const MatrixView& matrix, const ExpectedMatrix& expected, FaultList& faults) {
    if (expected.isOptional && matrix.rows() == 0 && matrix.cols() == 0) {
        return true;
    }
    if (matrix.rows() != expected.rows || matrix.cols() != expected.cols) {
        const bool isTransposed =
            matrix.rows() == expected.variables && matrix.cols() != expected.variables;
        faults.add(expected.name, matrix.rows(), matrix.cols(), 0.0, [&] {
            return std::string(expected.name) + " is " + shape(matrix.rows(), matrix.cols()) +
                   ", expected " + shape(expected.rows, expected.cols) + " for " +
                   counted(expected.variables, "variable", "variables") +
                   (isTransposed ? "; is it transposed? Data row by row need Order::RowMajor" : "");
        });
        return false;
    }
    return matrix.empty() || hasMemory(expected.name, matrix, faults);
}

void addEntry(const char* name, std::size_t i, std::size_t j, double value, FaultList& faults) {
    faults.add(name, i, j, value, [&] {
        return entry(name, i, j) + " = " + printed(value) + ", expected a finite number";
    });
}

void addAsymmetry(const MatrixView& H, std::size_t i, std::size_t j, FaultList& faults) {
    faults.add("H", i, j, H(i, j), [&] {
        return "H is not symmetric: " + entry("H", i, j) + " = " + printed(H(i, j)) + ", " +
               entry("H", j, i) + " = " + printed(H(j, i)) + "; both triangles are needed";
    });
}

/// Adds the entries that are not finite. True if there are none.
bool inspectEntries(const MatrixView& matrix, const char* name, FaultList& faults) {
    const bool byColumns = matrix.order() == Order::ColumnMajor;
    const std::size_t inner = byColumns ? matrix.rows() : matrix.cols();
    const std::size_t outer = byColumns ? matrix.cols() : matrix.rows();
    bool isFinite = true;
    for (std::size_t o = 0; o < outer; ++o) {
        if (areFinite(matrix.data() + o * matrix.leading(), inner)) {
            continue;
        }
        isFinite = false;
        for (std::size_t i = 0; i < inner; ++i) {
            const std::size_t row = byColumns ? i : o;
            const std::size_t col = byColumns ? o : i;
            if (!std::isfinite(matrix(row, col))) {
                addEntry(name, row, col, matrix(row, col), faults);
            }
        }
    }
    return isFinite;
}

/// Adds the pairs of entries of a finite H that differ by more than rounding.
void inspectSymmetry(const MatrixView& H, FaultList& faults) {
    double largest = 0.0;
    for (std::size_t j = 0; j < H.cols(); ++j) {
        for (std::size_t i = 0; i < H.rows(); ++i) {
            largest = std::max(largest, std::abs(H(i, j)));
        }
    }
    for (std::size_t j = 0; j < H.cols(); ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            if (std::abs(H(i, j) - H(j, i)) > SymmetryTolerance * largest) {
                addAsymmetry(H, i, j, faults);
            }
        }
    }
}

}  // namespace

void inspectMatrix(const MatrixView& matrix, const ExpectedMatrix& expected, FaultList& faults) {
    if (fits(matrix, expected, faults) && !matrix.empty()) {
        static_cast<void>(inspectEntries(matrix, expected.name, faults));
    }
}

HessianScan inspectHessian(const MatrixView& H, std::size_t variables, FaultList& faults) {
    if (!fits(H, {"H", variables, variables, variables, true}, faults)) {
        return {};
    }
    HessianScan scan = scanOf(H);
    if (!scan.isExact && inspectEntries(H, "H", faults)) {
        inspectSymmetry(H, faults);
    }
    return scan;
}

}  // namespace activeset::frontend
