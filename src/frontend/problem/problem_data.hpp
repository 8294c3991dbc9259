// The front end's own copy of a problem, complete and contiguous, and a point with its multipliers.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_PROBLEM_DATA_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_PROBLEM_DATA_HPP

#include <array>
#include <cmath>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "frontend/problem/matrix_entries.hpp"

namespace activeset::frontend {

/// min ½xᵀHx + cᵀx + constant subject to rowLower ≤ A·x ≤ rowUpper, lower ≤ x ≤ upper. What the
/// caller left out is written out: zeros, infinities. Matrices are column-major without gaps.
struct ProblemData {
    std::size_t n = 0;
    std::size_t m = 0;
    bool quadratic = false;  ///< H has an entry that is not zero; H is empty otherwise
    MatrixEntries H;         ///< n × n, symmetric to the last bit
    Vector c;
    MatrixEntries A;  ///< m × n
    Vector rowLower;
    Vector rowUpper;
    Vector lower;
    Vector upper;
    double constant = 0.0;

    [[nodiscard]] const double* columnOfH(std::size_t j) const { return H.data() + j * n; }
    [[nodiscard]] const double* columnOfA(std::size_t j) const { return A.data() + j * m; }
};

/// A point and multipliers, signs as in Result.
struct Point {
    Vector x;
    Vector y;
    Vector z;
};

/// The parts of a problem that change and are checked one by one.
enum class Part { Hessian, Linear, Rows, RowSides, Bounds, Start, Penalties };
inline constexpr std::array AllParts{Part::Hessian, Part::Linear, Part::Rows,     Part::RowSides,
                                     Part::Bounds,  Part::Start,  Part::Penalties};

/// What one look at H tells.
struct HessianScan {
    bool isExact = false;  ///< all entries are finite, and it equals its transpose, bit for bit
    Vector largest;        ///< the largest magnitude in each column, if so
};
/// Looks at an H of sound shape, or at none.
[[nodiscard]] HessianScan scanOf(const MatrixView& H);

/// The number of variables that the views speak of.
[[nodiscard]] std::size_t variablesOf(const Problem& problem);
/// Side i, or `absent` where there is none. The views have no faults.
[[nodiscard]] inline double sideAt(const VectorView& sides, std::size_t i, double absent) {
    return sides.empty() || std::abs(sides[i]) >= AbsentSide ? absent : sides[i];
}

/// What is wrong with one part of a problem with n variables and m rows.
[[nodiscard]] std::vector<Fault> faultsIn(const Problem& problem,
                                          std::size_t n,
                                          std::size_t m,
                                          Part part);
[[nodiscard]] std::vector<Fault> faultsIn(const Settings& settings);
/// What is wrong with a problem, all parts, and what has been seen of H on the way.
[[nodiscard]] std::vector<Fault> faultsIn(const Problem& problem, HessianScan& scan);

/// One line for each of the first faults; no line end behind the last one.
[[nodiscard]] std::string messageOf(const std::vector<Fault>& faults);

/// Rounding in a matrix that was computed, not typed, leaves its halves apart by less than this
/// times its largest entry.
inline constexpr double SymmetryTolerance = 1e-10;

/// Copies one part of a problem, which has no faults there; a vector that is absent is empty then.
/// A start and penalties are not part of the data.
void copyPart(const Problem& problem, Part part, ProblemData& data);
/// The problem with H + shift·I in the place of H.
[[nodiscard]] ProblemData shifted(const ProblemData& data, double shift);
/// Gives absent vectors their entries. The sizes are right once no part has faults.
void complete(ProblemData& data);
/// Copies a problem without faults, or some parts of it; vectors that are absent are written out.
[[nodiscard]] ProblemData copyOf(const Problem& problem, std::span<const Part> parts = AllParts);
/// Whether matrices that are complete and contiguous are copied, or lent by the caller, who keeps
/// them longer than the data lives.
enum class Matrices { Copied, Lent };
/// The same of all parts, where H has been looked at.
[[nodiscard]] ProblemData copyOf(const Problem& problem, HessianScan scan, Matrices matrices);
/// The data as a problem, without start and penalties, that lives no longer than they do.
[[nodiscard]] Problem viewOf(const ProblemData& data);

}  // namespace activeset::frontend

#endif
