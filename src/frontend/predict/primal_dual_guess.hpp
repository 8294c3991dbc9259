// A guess at the active bounds and a few active rows, exchanged all at once.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_PRIMAL_DUAL_GUESS_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_PRIMAL_DUAL_GUESS_HPP

#include <optional>
#include <vector>

#include "frontend/core/control.hpp"
#include "frontend/predict/subproblem.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// Primal-dual active sets, Newton's method for the optimality conditions (Hintermüller, Ito and
/// Kunisch 2002), in the free variables F, with the rows that are held, R:
///
///     H_FF·x_F + A_RFᵀy = −c_F − H_FB·x_B,   A_RF·x_F = b_R − A_RB·x_B.
///
/// Then free variables beyond a bound go to it, and variables at a bound whose multiplier has the
/// wrong sign become free; so do rows. This ends after a few rounds or not at all.
class PrimalDualGuess {
public:
    /// @param first  where to begin; with equalities alone a few sweeps of coordinate descent on
    ///               the bounds choose the start
    PrimalDualGuess(Subproblem& problem, const Constraints& first, Control& control);

    enum class End {
        Settled,        ///< a round has changed nothing: the point is the minimum
        Contradiction,  ///< y of the point: weights by which rows seem to contradict one another,
                        ///< or the bounds
        GivenUp
    };
    [[nodiscard]] End run();
    [[nodiscard]] std::size_t rounds() const { return rounds_; }
    /// After a success.
    [[nodiscard]] const Constraints& sides() const { return sides_; }
    [[nodiscard]] Point point() &&;

private:
    void descend();
    /// Solves a round. GivenUp where it cannot.
    [[nodiscard]] std::optional<End> solve();
    using List = std::vector<std::size_t>;
    /// Factorises for the free variables and rows of a round. A row that depends on others leaves.
    [[nodiscard]] std::optional<End> setSets(const List& F, List& R);
    /// Whether weights of rows seem to contradict the bounds; y of the point then.
    enum class Weights { Multipliers, Dependence };
    [[nodiscard]] bool doContradict(const List& R, const Vector& weights, Weights kind);
    [[nodiscard]] Vector missesOf(const List& R) const;
    /// Completes point and gradient by the values f of the free variables F and the multipliers r
    /// of the rows R.
    void take(const List& F, const Vector& f, const List& R, const Vector& r);
    [[nodiscard]] std::size_t exchange();
    [[nodiscard]] std::size_t exchangeRows();
    void refine();

    const ProblemData& data_;
    FreeSystem& system_;
    Control& control_;
    Constraints sides_;
    bool isWarm_;
    std::size_t rounds_ = 0;
    Point point_;
    Vector gradient_;  // H·x + c + Aᵀy
    Vector values_;    // A·x
};

}  // namespace activeset::frontend

#endif
