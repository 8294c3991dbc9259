// The problem in the form that the core takes: equalities, inequalities with an upper side only,
// and bounds; and the way back.
#ifndef ACTIVESET_SRC_FRONTEND_CORE_CORE_FORM_HPP
#define ACTIVESET_SRC_FRONTEND_CORE_CORE_FORM_HPP

#include <functional>

#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// 0-based members of a working set of the core, by kind, as the core numbers them.
struct CoreSet {
    std::vector<std::size_t> inequalities;
    std::vector<std::size_t> lower;
    std::vector<std::size_t> upper;
};

/// How far the core has come at the point x with a working set; asked only where there is a
/// callback. `dropped` are equalities as in CoreForm::fromCore.
using CoreReport = std::function<Progress(
    const double* x, const CoreSet& set, const std::vector<std::size_t>& dropped)>;

/// The constraints of a problem as A·x ≤ b, Aeq·x = beq, lb ≤ x ≤ ub. Rows with equal sides and
/// variables with equal bounds become equalities. Each finite side of another row becomes an
/// inequality; lower sides are negated.
class CoreForm {
public:
    explicit CoreForm(const ProblemData& data);

    /// What a row of A or Aeq stands for: a constraint in the numbering of Constraints, and the
    /// side of it; Both in Aeq.
    struct Row {
        std::size_t constraint = 0;
        Side side = Side::None;
        friend bool operator==(const Row&, const Row&) = default;
    };

    [[nodiscard]] std::size_t variables() const { return n_; }
    /// The rows of A, then those of Aeq, in their order.
    [[nodiscard]] const std::vector<Row>& inequalities() const { return inequalities_; }
    [[nodiscard]] const std::vector<Row>& equalities() const { return equalities_; }

    /// Takes new right-hand sides and bounds, if the same sides are finite and the same ones equal;
    /// else changes nothing and returns false.
    [[nodiscard]] bool updateSides(const ProblemData& data);

    /// A working set of the problem as one of the core, which holds all equalities anyway. What
    /// this form does not have is left out.
    [[nodiscard]] CoreSet toCore(const Constraints& held) const;
    /// The other way round, with the equalities of this form but those `dropped`.
    ///
    /// @param data  the problem that the constraints are of
    [[nodiscard]] Constraints fromCore(const ProblemData& data,
                                       const CoreSet& set,
                                       const std::vector<std::size_t>& dropped) const;
    /// The multipliers of the core, in the order of docs/states.md, as y and z.
    void multipliers(const double* lambda, Vector& y, Vector& z) const;

    Vector A, b, Aeq, beq, lb, ub;  ///< for the core, which reads them only

private:
    void copySides(const ProblemData& data);

    std::size_t n_;
    std::size_t m_;
    std::vector<Row> inequalities_;
    std::vector<Row> equalities_;
};

}  // namespace activeset::frontend

#endif
