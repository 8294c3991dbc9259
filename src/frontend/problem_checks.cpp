// What can be wrong with the data of a problem, all of it at once.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include "frontend/data.hpp"

namespace activeset {

namespace {

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
    explicit Inspection(const Problem& problem)
        : problem_(problem), n_(frontend::variablesOf(problem)), m_(problem.A.rows()) {}

    std::vector<Fault> faults() {
        if (n_ == 0) {
            add("c", 0, 0, 0.0, "the problem has no variables");
        }
        inspectHessian();
        inspectVector("c", problem_.c, n_);
        inspectMatrix("A", problem_.A, m_, n_);
        if (problem_.A.empty() && problem_.A.rows() == 0) {
            m_ = 0;
        }
        inspectSides("rowLower", problem_.rowLower, "rowUpper", problem_.rowUpper, m_);
        inspectSides("lower", problem_.lower, "upper", problem_.upper, n_);
        inspectVector("start", problem_.start, n_);
        if (!std::isfinite(problem_.constant)) {
            add("constant", 0, 0, problem_.constant, "constant = " + printed(problem_.constant));
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

frontend::Vector expanded(const VectorView& vector, std::size_t size, double absent) {
    return vector.empty() ? frontend::Vector(size, absent)
                          : frontend::Vector(vector.data(), vector.data() + vector.size());
}

}  // namespace

std::vector<Fault> faultsOf(const Problem& problem) {
    return Inspection(problem).faults();
}

namespace frontend {

std::size_t variablesOf(const Problem& problem) {
    return !problem.c.empty() ? problem.c.size() : problem.H.cols();
}

Data copyOf(const Problem& problem) {
    Data data;
    data.n = variablesOf(problem);
    data.m = problem.A.rows();
    const auto copy = [](const MatrixView& matrix) {
        Vector values(matrix.rows() * matrix.cols());
        auto next = values.begin();
        for (std::size_t j = 0; j < matrix.cols(); ++j) {
            for (std::size_t i = 0; i < matrix.rows(); ++i) {
                *next++ = matrix(i, j);
            }
        }
        return values;
    };
    data.H = copy(problem.H);
    for (std::size_t j = 0; !data.H.empty() && j < data.n; ++j) {
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
    data.c = expanded(problem.c, data.n, 0.0);
    data.A = copy(problem.A);
    data.rowLower = expanded(problem.rowLower, data.m, -Infinity);
    data.rowUpper = expanded(problem.rowUpper, data.m, Infinity);
    data.lower = expanded(problem.lower, data.n, -Infinity);
    data.upper = expanded(problem.upper, data.n, Infinity);
    data.constant = problem.constant;
    return data;
}

}  // namespace frontend

}  // namespace activeset
