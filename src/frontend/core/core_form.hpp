// The problem in the form that the core takes: equalities, inequalities with an upper side only,
// and bounds; and the way back.
#ifndef ACTIVESET_SRC_FRONTEND_CORE_CORE_FORM_HPP
#define ACTIVESET_SRC_FRONTEND_CORE_CORE_FORM_HPP

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// 0-based members of a working set of the core, by kind.
struct CoreSet {
    std::vector<std::size_t> inequalities;
    std::vector<std::size_t> lower;
    std::vector<std::size_t> upper;
};

/// A·x ≤ b, Aeq·x = beq, lb ≤ x ≤ ub, out of one problem whose objective is not looked at. Rows
/// with equal sides are equalities, and so are variables with equal bounds; of other rows each
/// finite side is an inequality, the lower one negated.
class CoreForm {
public:
    explicit CoreForm(const ProblemData& data);

    /// One row of A or Aeq: row `index` of the problem, or, in Aeq, variable `index`.
    struct Origin {
        std::size_t index = 0;
        bool isRow = true;
        bool isUpper = true;  ///< of an inequality
    };

    [[nodiscard]] std::size_t variables() const { return n_; }
    [[nodiscard]] const std::vector<Origin>& inequalities() const { return inequalities_; }
    [[nodiscard]] const std::vector<Origin>& equalities() const { return equalities_; }

    /// New right-hand sides and bounds, where the same ones are finite and the same ones equal;
    /// false, nothing changed, where they are not.
    [[nodiscard]] bool updateSides(const ProblemData& data);

    /// A working set of the problem as one of the core; what does not exist is left out.
    [[nodiscard]] CoreSet toCore(const WorkingSet& set) const;
    /// The other way round; the equalities but those `dropped` belong to it.
    [[nodiscard]] WorkingSet fromCore(const CoreSet& set,
                                      const std::vector<std::size_t>& dropped) const;
    /// The multipliers of the core, in the order of docs/states.md, as y and z.
    void multipliers(const double* lambda, Vector& y, Vector& z) const;

    Vector A, b, Aeq, beq, lb, ub;  ///< for the core, which reads them only

private:
    void copySides(const ProblemData& data);

    std::size_t n_;
    std::size_t m_;
    std::vector<Origin> inequalities_;
    std::vector<Origin> equalities_;
};

}  // namespace activeset::frontend

#endif
