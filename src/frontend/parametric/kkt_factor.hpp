// The optimality conditions of a working set as a linear system that is solved for many right-hand
// sides.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_KKT_FACTOR_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_KKT_FACTOR_HPP

#include <cstddef>
#include <vector>

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// K = [H_FF A_RFᵀ; A_RF 0] over the free variables F and the held rows R. Where H_FF is positive
/// definite and the rows are independent, by the Schur complement of H_FF; elsewhere by an
/// orthonormal basis of the null space of A_RF. With dependent rows, or a reduced Hessian that is
/// singular, solutions are those of the symmetric generalised inverse
///
///     [P, (I − PH)·A⁺; A⁺ᵀ·(I − HP), −A⁺ᵀ·(H − HPH)·A⁺],   P = Z·(ZᵀHZ)⁺·Zᵀ,
///
/// which is K⁻¹ where there is one.
class KktFactor {
public:
    /// @pre `free` and `rows` are ascending, in range.
    KktFactor(const ProblemData& data,
              std::vector<std::size_t> free,
              std::vector<std::size_t> rows);

    [[nodiscard]] const std::vector<std::size_t>& free() const { return free_; }
    [[nodiscard]] const std::vector<std::size_t>& rows() const { return rows_; }
    [[nodiscard]] std::size_t order() const { return free_.size() + rows_.size(); }
    /// Rows that depend on others; the dimension of the null space of the reduced Hessian.
    [[nodiscard]] std::size_t dependent() const { return dependent_; }
    [[nodiscard]] std::size_t flat() const { return flat_; }
    [[nodiscard]] bool isRegular() const { return dependent_ + flat_ == 0; }

    /// Each column (u_F, v_R) of b := K⁻¹·b, with one step of iterative refinement.
    void solve(Dense& b) const;
    /// An orthonormal basis of the directions of no curvature on the working set, |F| × flat().
    [[nodiscard]] const Dense& flatDirections() const { return flatDirections_; }

private:
    [[nodiscard]] bool factoriseSchur();
    void factoriseNullSpace();
    void factoriseReduced(const Dense& Z);
    void applySchur(Dense& u, Dense& v) const;
    void applyNullSpace(Dense& u, Dense& v) const;
    void apply(Dense& u, Dense& v) const;

    std::vector<std::size_t> free_;
    std::vector<std::size_t> rows_;
    Dense H_;  // H_FF
    Dense A_;  // A_RF
    bool bySchur_ = false;
    Dense U_;     // H_FF = UᵀU
    Dense G_;     // U⁻ᵀA_RFᵀ
    Dense S_;     // GᵀG = SᵀS
    Dense pinv_;  // A⁺, |F| × |R|
    Dense C_;     // P = CᵀC, rank of the reduced Hessian × |F|
    std::size_t dependent_ = 0;
    std::size_t flat_ = 0;
    Dense flatDirections_;
};

}  // namespace activeset::frontend

#endif
