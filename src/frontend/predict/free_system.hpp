// The equations of the free variables with a few rows.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_FREE_SYSTEM_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_FREE_SYSTEM_HPP

#include <cstddef>
#include <vector>

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// [H_FF A_RFᵀ; A_RF 0]·(p; y) = (f; r) for free variables F and rows R, by Cholesky of H_FF = L·Lᵀ
/// and of the Schur complement QᵀQ, Q = L⁻¹A_RFᵀ. The factors depend on the matrices of a problem
/// and on F and R alone, and are kept until these change.
class FreeSystem {
public:
    using List = std::vector<std::size_t>;

    /// Keeps a reference.
    explicit FreeSystem(const ProblemData& data) : data_(data) {}

    /// False if a pivot is lost to rounding; nothing may be solved then.
    [[nodiscard]] bool setSets(const List& F, const List& R);
    /// Whether there are factors of these lists whose squared pivots all are above `tolerance`
    /// times the largest one.
    [[nodiscard]] bool isFactorisedFor(const List& F, const List& R, double tolerance) const;
    [[nodiscard]] const List& free() const { return F_; }
    [[nodiscard]] const List& rows() const { return R_; }
    /// f becomes p and r becomes y.
    void solve(Vector& f, Vector& r) const;

private:
    [[nodiscard]] bool factoriseFree();
    [[nodiscard]] bool factoriseRows();

    const ProblemData& data_;
    bool isFactorised_ = false;
    List F_;
    List R_;
    Dense L_;  // lower
    Dense Q_;
    Dense S_;  // the lower factor of QᵀQ
};

/// v += Σ x_j·H(:,j) over j in a list.
void addHessianColumns(const ProblemData& data,
                       const std::vector<std::size_t>& list,
                       const double* x,
                       double* v);

}  // namespace activeset::frontend

#endif
