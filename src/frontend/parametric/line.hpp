// The optimum of one working set along the parameter, and how far it is that of the problem.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_LINE_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_LINE_HPP

#include <functional>
#include <vector>

#include "frontend/parametric/moving_problem.hpp"
#include "frontend/parametric/optimum.hpp"

namespace activeset::frontend {

/// What a constraint does where the line ends: a member leaves, or another one joins at a side.
struct Event {
    std::size_t constraint = 0;  ///< row i, or m + j for variable j
    Hold becomes = Hold::None;
};

/// A linear function of the parameter, its value at a given t and its rate.
struct Moving {
    Vector value;
    Vector rate;
};

/// The sides that hold, by row and variable.
struct Held {
    Held() = default;
    Held(const MovingProblem& problem, const WorkingSet& set);

    [[nodiscard]] WorkingSet workingSet() const;
    [[nodiscard]] std::vector<std::size_t> freeVariables() const;
    [[nodiscard]] std::vector<std::size_t> heldRows() const;
    [[nodiscard]] Hold& operator[](std::size_t constraint) {
        return constraint < rows.size() ? rows[constraint] : bounds[constraint - rows.size()];
    }

    std::vector<Hold> rows;
    std::vector<Hold> bounds;
};

class Line {
public:
    /// Solves K·(u, v) = (r_F, r_R) for two right-hand sides over all variables and rows at once;
    /// entries that are not in K stay as they are.
    using Solve = std::function<void(Moving& x, Moving& y)>;

    /// At t, for the working set that `solve` belongs to.
    Line(const MovingProblem& problem, const Held& held, double t, const Solve& solve);

    /// The parameters between which this is the optimum: from ≤ t ≤ to where it is one at t; from
    /// above to where it is one nowhere.
    [[nodiscard]] double from() const { return from_; }
    [[nodiscard]] double to() const { return to_; }
    /// What happens at `to`; more than one where constraints tie.
    [[nodiscard]] const std::vector<Event>& events() const { return events_; }
    /// Whether the optimality conditions of the working set are met along the line, to rounding.
    [[nodiscard]] bool isSolution() const { return residual_ <= 1e-9; }
    /// Until `to`, or `last` if that is before.
    [[nodiscard]] Piece piece(const Held& held, double last) const;

private:
    void correct(const Held& held, const Solve& solve);
    void findMultipliers(const Held& held);
    void findLimits(const Held& held);
    void miss(double residual, double size);
    void limit(double value, double rate, double size, double sizeOfRate, const Event& event);

    const MovingProblem* problem_;
    double t_;
    Vectors vectors_;
    Moving x_;
    double size_ = 0.0;        // of x
    double sizeOfRate_ = 0.0;  // of its rate
    Moving y_;
    Moving z_;
    Moving curved_;     // H·x
    Moving gradient_;   // H·x + c + Aᵀy
    Moving rowValues_;  // A·x
    double from_ = -Infinity;
    double to_ = Infinity;
    std::vector<Event> events_;
    double residual_ = 0.0;  // the largest one, in proportion to the terms
};

}  // namespace activeset::frontend

#endif
