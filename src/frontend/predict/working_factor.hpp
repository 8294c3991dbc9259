// The Cholesky factor of the Schur complement of a working set, which follows the set.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_WORKING_FACTOR_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_WORKING_FACTOR_HPP

#include <cstddef>
#include <vector>

#include "frontend/predict/named_columns.hpp"

namespace activeset::frontend {

/// S = GᵀG = RᵀR, where G has the columns of the members. A change of the set does not factorise S
/// anew: newcomers are appended to R in one block, and a few members that leave are taken out by
/// plane rotations, O(k²) each.
class WorkingFactor {
public:
    using List = NamedColumns::List;

    /// Keeps a reference to the columns.
    explicit WorkingFactor(const NamedColumns& columns)
        : columns_(columns), isMember_(columns.constraints(), false) {}

    /// Makes the constraints of a list members; they have to be named and distinct. Those that were
    /// members keep their order and come first. One that depends on those before it is left out.
    void setMembers(const List& wanted);
    [[nodiscard]] const List& members() const { return members_; }
    /// Whether some member nearly depends on others, so that S has lost digits.
    [[nodiscard]] bool isDoubtful() const;
    /// v := S⁻¹v, an entry a member.
    void solve(double* v) const;

    /// A named constraint's g_q beside those of the members.
    struct Projection {
        Vector u;          ///< R⁻ᵀGᵀg_q, the entries of R above its diagonal if q joined
        double own = 0.0;  ///< what the members leave of ‖g_q‖², 0 where q depends on them
    };
    [[nodiscard]] Projection projectionOf(std::size_t q) const;
    /// u := R⁻¹u
    void solveUpper(double* u) const;

private:
    void keepOnly(const List& wanted);
    void remove(std::size_t k);
    void append(const List& newcomers);
    std::size_t appendAtOnce(const List& newcomers, std::size_t first);
    void appendAlone(std::size_t newcomer);
    void grow(std::size_t order);

    const NamedColumns& columns_;
    List members_;
    std::vector<bool> isMember_;  // of each constraint
    Dense R_;                     // upper triangle of its leading block
};

}  // namespace activeset::frontend

#endif
