// Scaling by powers of two, which changes no digit of the data.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_SCALING_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_SCALING_HPP

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// x = column·x̂; row i of the scaled problem is row[i] times row i; the objective is multiplied
/// by `objective`. Powers of two, all of them.
struct Scaling {
    Vector column;
    Vector row;
    double objective = 1.0;

    /// The scaling under which rows and columns of [H Aᵀ; A 0] have largest entries near 1.
    [[nodiscard]] static Scaling of(const ProblemData& data);

    /// The scaled problem. The data lends it matrices that scaling does not change, and has to
    /// outlive it.
    [[nodiscard]] ProblemData apply(const ProblemData& data) const;
    /// The same for all but the matrices.
    void applyToVectors(const ProblemData& data, ProblemData& result) const;
    /// A point of the scaled problem as one of the caller's, and the other way round.
    [[nodiscard]] Point unscaled(Point point) const;
    [[nodiscard]] Point scaled(Point point) const;
    /// The same of x alone.
    [[nodiscard]] Vector unscaledVariables(Vector x) const;
    [[nodiscard]] Vector scaledVariables(Vector x) const;

private:
    [[nodiscard]] MatrixEntries scaledHessian(const ProblemData& data) const;
    [[nodiscard]] MatrixEntries scaledRows(const ProblemData& data) const;
};

}  // namespace activeset::frontend

#endif
