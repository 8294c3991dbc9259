// The factors that the dual method works on, and how they follow a member that comes or goes.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_DUAL_FACTORS_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_DUAL_FACTORS_HPP

#include <cstddef>
#include <vector>

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// J·Jᵀ = H⁻¹ and Jᵀ·Wᵀ = [R; 0], with the rows of W those of the q members and R upper triangular
/// (Goldfarb and Idnani 1983). J₁ are the first q columns of J, J₂ the others. A member that comes
/// or goes turns columns of J and rows of R, O(n²).
class DualFactors {
public:
    /// Takes in the constraints that `sides` holds, equalities first, at most n, but for those that
    /// depend on others before them.
    ///
    /// @param factor  L of H = LLᵀ, in the lower triangle
    DualFactors(const Dense& factor, const Constraints& sides);

    /// In the order of their arrival.
    [[nodiscard]] const std::vector<std::size_t>& members() const { return members_; }

    /// Jᵀ·row, from which everything about a row follows.
    [[nodiscard]] Vector image(const Vector& row) const;
    /// ‖J₂ᵀ·row‖²: how far the row moves per unit of its multiplier while the members hold.
    [[nodiscard]] double mobility(const Vector& image) const;
    /// −J₂·J₂ᵀ·row, the step of x per unit of the row's multiplier.
    [[nodiscard]] Vector step(const Vector& image) const;
    /// −R⁻¹·J₁ᵀ·row, the change of the members' multipliers with it.
    [[nodiscard]] Vector change(const Vector& image) const;

    /// Takes in a member, given its image. The row must not depend on the members.
    void insert(std::size_t member, Vector image);
    /// Drops the member in place k; `image` follows, if it is not empty.
    void remove(std::size_t k, Vector& image);

    /// The minimum of ½xᵀHx + cᵀx where the members have the values `targets`: x, and the
    /// multipliers of the members.
    void minimise(const Vector& c, Vector targets, Vector& x, Vector& multipliers) const;

private:
    void dropDependentMembers();

    std::size_t n_;
    Dense J_;
    Dense R_;  // in the upper triangle of its first q columns
    std::vector<std::size_t> members_;
};

}  // namespace activeset::frontend

#endif
