// A dual active-set method for strictly convex problems that takes in several constraints a step.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_BLOCK_DUAL_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_BLOCK_DUAL_HPP

#include <set>
#include <vector>

#include "frontend/core/control.hpp"
#include "frontend/predict/dual_outcome.hpp"
#include "frontend/predict/equality_problem.hpp"
#include "frontend/predict/subproblem.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// After Goldfarb and Idnani (1983), from those members of a first set whose multipliers have the
/// right signs. Each step takes in the worst violated constraints together and drops whatever gets
/// a multiplier of the wrong sign, as long as the dual objective rises. Where it does not, they
/// come in along a path on which it cannot fall, and at last one by one. So only rounding can bring
/// a set back, and a limit of steps guards against that. Where constraints keep coming one by one
/// the method ends, and a method with orthogonal factors goes on.
class BlockDual {
public:
    /// @param first  equalities, and constraints that may be active
    BlockDual(Subproblem& problem, Constraints first, Control& control);

    [[nodiscard]] DualOutcome run();

private:
    using List = NamedColumns::List;
    enum class Pulled { Held, Contradicted, Stuck };

    /// A constraint that the present point violates.
    struct Violated {
        std::size_t constraint = 0;
        Side side = Side::None;
        double amount = 0.0;   ///< by which it is beyond its side
        double weighed = 0.0;  ///< in proportion to the length of its gradient
    };

    void start();
    void computePoint();
    void refinePoint();
    [[nodiscard]] std::vector<Violated> violated(double tolerance) const;
    [[nodiscard]] bool isMinimum(std::vector<Violated>& candidates);
    [[nodiscard]] bool holdsMissed();
    void takeMultipliers();
    [[nodiscard]] std::size_t mostNewcomers() const;
    [[nodiscard]] std::vector<Violated> newcomersOf(std::vector<Violated> candidates) const;
    [[nodiscard]] bool takesIn(const std::vector<Violated>& newcomers);
    void dropUntilRight(List wanted);
    void followPath(List wanted);
    [[nodiscard]] Pulled pull(const Violated& entering);
    [[nodiscard]] Pulled enter(const Violated& entering);
    [[nodiscard]] bool isImplied(const Violated& entering, const Vector& r) const;
    void contradict(const Violated& entering, Vector r);
    [[nodiscard]] bool doRowsContradict();
    [[nodiscard]] bool doContradict(const Vector& y, const Vector& pulled);
    void hold(const Violated& newcomer);
    void solve(List& wanted);
    [[nodiscard]] bool hasRisen(const Constraints& before) const;
    void accept();
    void release(std::size_t constraint);
    void ignoreNothing() { isIgnored_.assign(isIgnored_.size(), false); }
    [[nodiscard]] bool hasRightSign(std::size_t constraint, double multiplier) const {
        const double sign = sides_.sign(constraint);
        return sign == 0.0 || sign * multiplier > 0.0;
    }

    const ProblemData& data_;
    const Vector& weights_;
    EqualityProblem equality_;
    Constraints sides_;  // W and, within a step, what may join it
    Control& control_;
    List W_;
    Vector lambda_;  // of each constraint; 0 outside of W
    Vector trial_;   // multipliers of the members of equality_
    Vector x_;
    Vector values_;                     // of all constraints at x
    Vector scales_;                     // Σ |a_j·x_j| of rows where x is refined, else 0
    std::set<std::vector<Side>> seen_;  // sets that were left behind
    std::vector<bool> isIgnored_;       // depends on W, which puts it on its side
    std::size_t most_ = 0;              // newcomers in a step
    std::size_t pulls_ = 0;             // since blocks were taken in
    std::size_t steps_ = 0;
    double asked_ = 0.0;  // the largest multiplier of a row, when all were asked last
    Point contradiction_;
};

}  // namespace activeset::frontend

#endif
