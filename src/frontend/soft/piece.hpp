// A piece of the soft problem: the points beyond some soft sides and within the others, on which
// the objective is quadratic.
#ifndef ACTIVESET_SRC_FRONTEND_SOFT_PIECE_HPP
#define ACTIVESET_SRC_FRONTEND_SOFT_PIECE_HPP

#include <utility>
#include <vector>

#include "frontend/soft/penalties.hpp"

namespace activeset::frontend {

/// The piece as a problem without penalties. A side that points of the piece are beyond is turned
/// round: with a·x ≥ u in the place of a·x ≤ u what it costs is linear·(a·x − u) +
/// ½·quadratic·(a·x − u)², which goes into c, H and the constant.
class Piece {
public:
    /// The piece within all sides. Both stay where they are.
    Piece(const ProblemData& data, const Penalties& penalties);

    /// The soft side of a constraint beyond which the piece is, or None.
    [[nodiscard]] Side beyond(std::size_t k) const { return beyond_[k]; }
    [[nodiscard]] const std::vector<Side>& beyondAll() const { return beyond_; }
    void place(std::size_t k, Side side) { beyond_[k] = side; }
    /// Beyond the soft sides of a list that exist, within the others.
    void placeBy(const ViolatedSides& sides);
    /// Beyond the soft sides that the point violates, by more than rounding, within the others.
    void placeBy(const Vector& x);

    /// The problem of the piece, and that without any soft side; good until the next one is asked
    /// for, or the piece is another one.
    [[nodiscard]] Problem problem();
    [[nodiscard]] Problem problemWithoutSoftSides();
    /// Whether its H is not that of the last one that was asked for.
    [[nodiscard]] bool hasOtherHessian() const { return hasOtherHessian_; }
    [[nodiscard]] bool isCurved() const { return !H_.empty(); }

    /// A working set of the soft problem as one of the piece, and the other way round: a side that
    /// is held is held in both.
    [[nodiscard]] WorkingSet ofPiece(const WorkingSet& set) const;
    [[nodiscard]] std::vector<Side> heldBy(const WorkingSet& setOfPiece) const;

    /// How far a·x is beyond the side that the piece is beyond; 0 where it is not.
    [[nodiscard]] double excess(std::size_t k, const Vector& x) const;
    /// The multipliers of the soft problem from those of the piece.
    [[nodiscard]] Point unfolded(Point point) const;

private:
    void addCosts();
    void turnSides();
    [[nodiscard]] Problem view() const;

    const ProblemData& data_;
    const Penalties& penalties_;
    std::vector<Side> beyond_;
    bool hasOtherHessian_ = false;
    /// Constraints whose curvature is in H_, with their quadratic penalties.
    std::vector<std::pair<std::size_t, double>> curved_;
    LargeVector H_;  ///< empty where it is that of the data
    Vector c_, rowLower_, rowUpper_, lower_, upper_;
    double constant_ = 0.0;
};

/// The working set by kind: sides that are held, and soft ones that are violated.
[[nodiscard]] WorkingSet listed(const ProblemData& data,
                                const std::vector<Side>& held,
                                const std::vector<Side>& beyond);

}  // namespace activeset::frontend

#endif
