// What can be wrong with the data of a problem, all of it at once.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include "frontend/data.hpp"

namespace activeset {

namespace {

using frontend::Part;

/// Rounding in a matrix that was computed, not typed, leaves its halves apart by less than this
/// times its largest entry.
constexpr double SymmetryTolerance = 1e-10;

std::string printed(double value) {
    char text[32];  // NOLINT(modernize-avoid-c-arrays): snprintf's own
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string shape(std::size_t rows, std::size_t cols) {
    return std::to_string(rows) + " x " + std::to_string(cols);
}

class Inspection {
public:
    Inspection(const Problem& problem, std::size_t n, std::size_t m)
        : problem_(problem), n_(n), m_(m) {}

    std::vector<Fault> faults(Part part) {
        switch (part) {
            case Part::Hessian:
                inspectHessian();
                break;
            case Part::Linear:
                inspectLinear();
                break;
            case Part::Rows:
                inspectMatrix("A", problem_.A, m_, n_);
                break;
            case Part::RowSides:
                inspectSides("rowLower", problem_.rowLower, "rowUpper", problem_.rowUpper, m_);
                break;
            case Part::Bounds:
                inspectSides("lower", problem_.lower, "upper", problem_.upper, n_);
                break;
            case Part::Start:
                inspectVector("start", problem_.start, n_);
                break;
        }
        return std::move(faults_);
    }

private:
    void add(const char* name, std::size_t row, std::size_t col, double value, std::string text) {
        faults_.push_back({name, row, col, value, std::move(text)});
    }

    // False where its entries must not be looked at.
    bool fits(const char* name, const MatrixView& matrix, std::size_t rows, std::size_t cols) {
        if (matrix.rows() == 0 && matrix.cols() == 0) {
            return true;
        }
        if (matrix.rows() != rows || matrix.cols() != cols) {
            add(name, matrix.rows(), matrix.cols(), 0.0,
                std::string(name) + " is " + shape(matrix.rows(), matrix.cols()) +
                    " and should be " + shape(rows, cols));
            return false;
        }
        if (matrix.empty()) {
            return true;
        }
        const bool byColumns = matrix.order() == Order::ColumnMajor;
        const std::size_t inner = byColumns ? rows : cols;
        const std::size_t outer = byColumns ? cols : rows;
        const bool isLong = matrix.data() != nullptr && matrix.leading() >= inner &&
                            matrix.available() >= inner &&
                            (outer - 1) <= (matrix.available() - inner) / matrix.leading();
        if (!isLong) {
            add(name, 0, 0, 0.0, std::string(name) + " has no memory for " + shape(rows, cols));
        }
        return isLong;
    }

    bool inspectMatrix(const char* name,
                       const MatrixView& matrix,
                       std::size_t rows,
                       std::size_t cols) {
        if (!fits(name, matrix, rows, cols)) {
            return false;
        }
        bool isFinite = true;
        for (std::size_t j = 0; j < matrix.cols(); ++j) {
            for (std::size_t i = 0; i < matrix.rows(); ++i) {
                const double value = matrix(i, j);
                if (!std::isfinite(value)) {
                    isFinite = false;
                    add(name, i, j, value,
                        std::string(name) + "(" + std::to_string(i) + ", " + std::to_string(j) +
                            ") = " + printed(value));
                }
            }
        }
        return isFinite;
    }

    void inspectLinear() {
        if (n_ == 0) {
            add("c", 0, 0, 0.0, "the problem has no variables");
        }
        inspectVector("c", problem_.c, n_);
        if (!std::isfinite(problem_.constant)) {
            add("constant", 0, 0, problem_.constant, "constant = " + printed(problem_.constant));
        }
    }

    void inspectHessian() {
        const MatrixView& H = problem_.H;
        if (!inspectMatrix("H", H, n_, n_)) {
            return;
        }
        double largest = 0.0;
        for (std::size_t j = 0; j < H.cols(); ++j) {
            for (std::size_t i = 0; i < H.rows(); ++i) {
                largest = std::max(largest, std::abs(H(i, j)));
            }
        }
        for (std::size_t j = 0; j < H.cols(); ++j) {
            for (std::size_t i = 0; i < j; ++i) {
                if (std::abs(H(i, j) - H(j, i)) > SymmetryTolerance * largest) {
                    add("H", i, j, H(i, j),
                        "H is not symmetric: (" + std::to_string(i) + ", " + std::to_string(j) +
                            ") = " + printed(H(i, j)) + ", transposed " + printed(H(j, i)));
                }
            }
        }
    }

    bool hasLength(const char* name, const VectorView& vector, std::size_t size) {
        if (vector.empty() || (vector.size() == size && vector.data() != nullptr)) {
            return true;
        }
        add(name, vector.size(), 0, 0.0,
            std::string(name) + " has " + std::to_string(vector.size()) +
                " entries and should have " + std::to_string(size));
        return false;
    }

    void addEntry(const char* name, std::size_t i, double value, const char* why) {
        add(name, i, 0, value,
            std::string(name) + "(" + std::to_string(i) + ") = " + printed(value) + why);
    }

    void inspectVector(const char* name, const VectorView& vector, std::size_t size) {
        if (!hasLength(name, vector, size)) {
            return;
        }
        for (std::size_t i = 0; i < vector.size(); ++i) {
            if (!std::isfinite(vector[i])) {
                addEntry(name, i, vector[i], "");
            }
        }
    }

    void inspectSides(const char* lowerName,
                      const VectorView& lower,
                      const char* upperName,
                      const VectorView& upper,
                      std::size_t size) {
        const bool hasLower = hasLength(lowerName, lower, size) && !lower.empty();
        const bool hasUpper = hasLength(upperName, upper, size) && !upper.empty();
        for (std::size_t i = 0; i < size && (hasLower || hasUpper); ++i) {
            const double low = hasLower ? lower[i] : -Infinity;
            const double high = hasUpper ? upper[i] : Infinity;
            if (std::isnan(low) || low == Infinity) {
                addEntry(lowerName, i, low, "");
            }
            if (std::isnan(high) || high == -Infinity) {
                addEntry(upperName, i, high, "");
            }
            if (low > high && low != Infinity && high != -Infinity) {
                addEntry(lowerName, i, low,
                         (std::string(" is above ") + upperName + " = " + printed(high)).c_str());
            }
        }
    }

    const Problem& problem_;
    std::size_t n_;
    std::size_t m_;
    std::vector<Fault> faults_;
};

}  // namespace

namespace frontend {

std::vector<Fault> faultsIn(const Problem& problem, std::size_t n, std::size_t m, Part part) {
    return Inspection(problem, n, m).faults(part);
}

}  // namespace frontend

std::vector<Fault> faultsOf(const Problem& problem) {
    std::vector<Fault> faults;
    for (const frontend::Part part : frontend::AllParts) {
        auto found =
            frontend::faultsIn(problem, frontend::variablesOf(problem), problem.A.rows(), part);
        faults.insert(faults.end(), found.begin(), found.end());
    }
    return faults;
}

}  // namespace activeset
