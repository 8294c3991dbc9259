// Host arrays, matrices and whole problems from braced lists.
#ifndef ACTIVESET_TESTS_SUPPORT_BUILD_HPP
#define ACTIVESET_TESTS_SUPPORT_BUILD_HPP

#include <initializer_list>
#include <limits>
#include <memory>
#include <vector>

#include "activeset/as_option.hpp"
#include "activeset/constraint.hpp"
#include "activeset/matrix.hpp"
#include "activeset/null_space.hpp"
#include "activeset/objective.hpp"

namespace activeset::test {

inline constexpr double Inf = std::numeric_limits<double>::infinity();
inline constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double Eps = std::numeric_limits<double>::epsilon();

using Rows = std::vector<std::vector<double>>;

/// An array from rows, owned by the open scope. `cols` is the width if there are no rows.
inline vxArray* array(const Rows& rows, size_t cols = 0) {
    const size_t n = rows.empty() ? cols : rows.front().size();
    vxArray* result = vxCreateDoubleMatrix(rows.size(), n, vxComplexity::Real);
    for (size_t i = 0; i < rows.size(); ++i) {
        for (size_t j = 0; j < n; ++j) {
            vxGetDoubles(result)[j * rows.size() + i] = rows[i][j];
        }
    }
    return result;
}

inline vxArray* column(const std::vector<double>& values) {
    return vxCreateDoubleMatrixFrom(values.data(), values.size(), 1);
}

/// A sparse array that stores the nonzero entries, owned by the open scope.
inline vxArray* sparse(const Rows& rows) {
    const size_t n = rows.front().size();
    vxArray* result = vxCreateSparse(rows.size(), n, rows.size() * n, vxComplexity::Real);
    size_t entry = 0;
    for (size_t j = 0; j < n; ++j) {
        for (size_t i = 0; i < rows.size(); ++i) {
            if (rows[i][j] != 0.0) {
                vxGetRowIndices(result)[entry] = i;
                vxGetDoubles(result)[entry++] = rows[i][j];
            }
        }
        vxGetColumnStarts(result)[j + 1] = entry;
    }
    return result;
}

inline OPTMatrix<double> matrix(const Rows& rows, size_t cols = 0) {
    const size_t n = rows.empty() ? cols : rows.front().size();
    OPTMatrix<double> result(rows.size(), n);
    for (size_t i = 0; i < rows.size(); ++i) {
        for (size_t j = 0; j < n; ++j) {
            result(i, j) = rows[i][j];
        }
    }
    return result;
}

inline OPTMatrix<double> columnMatrix(const std::vector<double>& values) {
    OPTMatrix<double> result(values.size(), 1);
    for (size_t i = 0; i < values.size(); ++i) {
        result(i, 0) = values[i];
    }
    return result;
}

inline std::vector<double> values(const OPTMatrix<double>& m) {
    std::vector<double> result;
    for (size_t j = 0; j < m.getCols(); ++j) {
        for (size_t i = 0; i < m.getRows(); ++i) {
            result.push_back(m(i, j));
        }
    }
    return result;
}

inline std::vector<double> values(const vxArray* a) {
    return values(OPTMatrix<double>(a));
}

/// The elements of an array of any class and storage.
inline Rows rowsOf(const vxArray* a) {
    Rows rows(vxGetM(a), std::vector<double>(vxGetN(a)));
    for (size_t i = 0; i < rows.size(); ++i) {
        for (size_t j = 0; j < rows[i].size(); ++j) {
            rows[i][j] = vxGetElement(a, i, j);
        }
    }
    return rows;
}

inline Rows rowsOf(const OPTMatrix<double>& m) {
    Rows rows(m.getRows(), std::vector<double>(m.getCols()));
    for (size_t i = 0; i < rows.size(); ++i) {
        for (size_t j = 0; j < rows[i].size(); ++j) {
            rows[i][j] = m(i, j);
        }
    }
    return rows;
}

/// A problem in plain data. Empty vectors mean no such constraints, no bounds, a start at zero.
struct Problem {
    Rows H;  // empty with a non-empty c: the linear objective
    std::vector<double> c;
    Rows A{};
    std::vector<double> b{};
    Rows Aeq{};
    std::vector<double> beq{};
    std::vector<double> lb{};
    std::vector<double> ub{};
    std::vector<double> x0{};
    std::vector<double> Wineq{};
    std::vector<double> Wlower{};
    std::vector<double> Wupper{};

    [[nodiscard]] size_t n() const { return c.size(); }
    [[nodiscard]] std::vector<double> lower() const {
        return lb.empty() ? std::vector<double>(n(), -Inf) : lb;
    }
    [[nodiscard]] std::vector<double> upper() const {
        return ub.empty() ? std::vector<double>(n(), Inf) : ub;
    }
    [[nodiscard]] std::vector<double> start() const {
        return x0.empty() ? std::vector<double>(n(), 0.0) : x0;
    }
};

/// The objects of a problem, whose arrays belong to the open scope, and a solver for it.
struct Bench {
    explicit Bench(const Problem& problem)
        : objective(
              problem.H.empty()
                  ? std::unique_ptr<IoptObjective>(std::make_unique<LPobjective>(column(problem.c)))
                  : std::make_unique<QPobjective>(array(problem.H), column(problem.c))),
          constraint(array(problem.A, problem.n()),
                     column(problem.b),
                     array(problem.Aeq, problem.n()),
                     column(problem.beq),
                     column(problem.lower()),
                     column(problem.upper())),
          problem_(problem) {
        options.setDisplay("off");
    }

    /// Solves once through the class interface.
    ASsolution solve() {
        return solver(*objective, constraint, column(problem_.start()), options,
                      column(problem_.Wineq), column(problem_.Wlower), column(problem_.Wupper));
    }
    /// Binds the problem to the solver at the start point with the given working set.
    void init(const std::vector<double>& Weq = {},
              const std::vector<double>& Wineq = {},
              const std::vector<double>& Wlower = {},
              const std::vector<double>& Wupper = {}) {
        OPTMatrix<double> x = columnMatrix(problem_.start());
        solver.init(objective.get(), &constraint, &options, x, nullptr, column(Weq), column(Wineq),
                    column(Wlower), column(Wupper));
    }

    std::unique_ptr<IoptObjective> objective;
    LinearConstraint constraint;
    ASoption options;
    NullSpaceAS solver;

private:
    Problem problem_;
};

}  // namespace activeset::test

#endif
