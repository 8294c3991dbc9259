// The primal-dual active-set iteration in the memory of the small road.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_GUESS_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_GUESS_HPP

#include <cstddef>
#include <vector>

#include "frontend/core/control.hpp"
#include "frontend/predict/small_data.hpp"
#include "frontend/predict/small_refinement.hpp"

namespace activeset::frontend {

/// The method of PrimalDualGuess for problems with few rows, without scaling. It is begun by
/// coordinate descent, exchanges all that is wrong in each round, and may end without success. In
/// place of the images the memory holds factors of the free variables' system.
class SmallGuess {
public:
    explicit SmallGuess(SmallMemory& memory) : m_(memory) {}

    /// Whether a problem of this shape fits into the memory and may have few enough rows.
    [[nodiscard]] static bool fits(const SmallShape& shape);

    enum class End {
        Settled,        ///< no exchange is left; the memory has the values of all variables, the
                        ///< members and their multipliers
        Contradiction,  ///< memory.multipliers: weights of all rows by which they seem to
                        ///< contradict one another, or the bounds
        GivenUp
    };
    /// Of the problem that was loaded.
    /// @param isOnlyWay  whether to go on where few bounds hold, so that other ways are faster
    [[nodiscard]] End minimise(const SmallExtent& extent, bool isOnlyWay, Control& control);

    /// The bounds that held after the descent, if no round followed it.
    void list(WorkingSet& set) const;

    [[nodiscard]] std::size_t rounds() const { return rounds_; }
    [[nodiscard]] std::size_t size() const { return R_.size() + held_.size(); }
    /// (p; y) of [H_FF A_RFᵀ; A_RF 0]·(p; y) = (f; r), in place, for the free variables and the
    /// rows among the members.
    void solve(double* f, double* r);
    [[nodiscard]] const std::vector<std::size_t>& free() const { return F_; }
    [[nodiscard]] const std::vector<std::size_t>& rows() const { return R_; }

private:
    using List = std::vector<std::size_t>;
    enum class Side : signed char { Lower = -1, None, Upper, Both };

    [[nodiscard]] bool areRowsFew() const;
    [[nodiscard]] bool isDiagonalPositive() const;
    [[nodiscard]] bool isClearlyConvex();
    [[nodiscard]] bool descend();
    [[nodiscard]] std::size_t held() const;
    [[nodiscard]] Side sideOf(std::size_t j) const;
    void nameSides();
    void listMembers();
    [[nodiscard]] bool factoriseFree();
    [[nodiscard]] bool factoriseRows();
    enum class Rows { Held, Contradict, Dependent };
    /// Factorises those of a round. One that depends on others is not held any more.
    [[nodiscard]] Rows holdRows();
    /// Whether weights of the rows among the members seem to contradict the bounds.
    [[nodiscard]] bool doContradict(const double* weights);
    /// The same of the multipliers of a round.
    [[nodiscard]] bool doMultipliersContradict();
    [[nodiscard]] std::vector<double> missesOfRows() const;
    void solveRound();
    void formGradient();
    [[nodiscard]] std::size_t exchange(const SmallExtent& extent);
    [[nodiscard]] Side beyond(std::size_t i, double value, double slack) const;
    void writeMembers();
    [[nodiscard]] double targetOf(std::size_t i) const {
        return sides_[i] == Side::Lower ? m_.lower[i] : m_.upper[i];
    }

    SmallMemory& m_;
    std::vector<Side> sides_;  ///< of all constraints
    List F_;                   ///< free variables
    List R_;                   ///< rows that are held
    List held_;                ///< variables at bounds
    bool hasDescended_ = false;
    std::size_t rounds_ = 0;
};

/// By the factors of the guess.
class SmallGuessRefinement final : public SmallRefinement {
public:
    SmallGuessRefinement(SmallMemory& memory, SmallGuess& guess)
        : SmallRefinement(memory, guess.size()), guess_(guess) {}

private:
    void findStep() override;
    void moveToBounds() override;

    SmallGuess& guess_;
};

}  // namespace activeset::frontend

#endif
