// The equations of a guessed set of active constraints, solved in the range space of a positive
// definite H.
#ifndef ACTIVESET_SRC_FRONTEND_SCHUR_SYSTEM_HPP
#define ACTIVESET_SRC_FRONTEND_SCHUR_SYSTEM_HPP

#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

#include "frontend/data.hpp"
#include "frontend/dense.hpp"
#include "frontend/sides.hpp"

namespace activeset::frontend {

/// [H Wᵀ; W 0]·(dx; dl) = (rx; rc), W being the rows of the members.
///
/// With H = UᵀU and G = U⁻ᵀWᵀ the multipliers come from the Schur complement GᵀG. A column of G is
/// formed when its constraint is first guessed, and kept, as are the inner products; for each new
/// set only the factor of the Schur complement is formed. Constraints are numbered: the rows of A,
/// then the bounds by variable.
class SchurSystem {
public:
    /// @param factor  U, in the upper triangle; outlives the system
    SchurSystem(const Data& data, const Dense& factor);

    void setMembers(std::vector<std::size_t> members);
    [[nodiscard]] const std::vector<std::size_t>& members() const { return members_; }
    /// Takes the constraints that are held for members, and solves for the minimum of
    /// ½xᵀHx + cᵀx on them: x and the multipliers, one a member.
    void minimise(const Sides& sides, Vector& x, Vector& multipliers);
    /// rx becomes dx, rc (an entry a member) becomes dl. Members that depend on others get dl = 0.
    void solve(Vector& rx, Vector& rc) const;

private:
    static constexpr std::size_t None = std::numeric_limits<std::size_t>::max();

    void forgetColumns();
    void makeRoom();
    void formColumns();
    void growInnerProducts(std::size_t before);
    void factorise();

    const Data& data_;
    const Dense& factor_;
    std::vector<std::size_t> place_;  // of each constraint among the columns, or None
    Dense columns_;                   // G of what was guessed
    Dense inner_;                     // columns_ᵀ·columns_
    std::vector<std::size_t> members_;
    bool isCurrent_ = true;                     // all of this belongs together
    Dense schur_;                               // Cholesky factor, upper
    std::optional<PivotedCholesky> dependent_;  // instead of it, where members are dependent
};

}  // namespace activeset::frontend

#endif
