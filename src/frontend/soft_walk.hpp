// The walk from piece to piece of a problem with soft sides.
#ifndef ACTIVESET_SRC_FRONTEND_SOFT_WALK_HPP
#define ACTIVESET_SRC_FRONTEND_SOFT_WALK_HPP

#include <optional>

#include "frontend/sequence.hpp"
#include "frontend/soft/soft_proof.hpp"

namespace activeset::frontend {

/// Solves one problem with soft sides: pieces, each as any problem is, until no neighbour has a
/// lower objective. Results are those of the soft problem, proved from its data.
class SoftWalk {
public:
    /// All have to outlive it.
    /// @param pieces  keeps factors from one piece to the next
    SoftWalk(const ProblemData& data,
             const Penalties& penalties,
             Sequence& pieces,
             const Settings& settings,
             Control& control);
    SoftWalk(const SoftWalk&) = delete;
    SoftWalk& operator=(const SoftWalk&) = delete;
    /// The sequence knows that its last problem was another one.
    ~SoftWalk();

    /// Nothing where the pieces have not led to a proof; point() is where they have ended.
    /// @param start  working set, violated sides and point to begin with
    /// @param first  the result with hard sides, which goes before the start; or null
    [[nodiscard]] std::optional<Result> solve(const WarmStart& start, const Result* first);
    [[nodiscard]] const Vector& point() const { return result_.x; }
    /// After a walk without a proof: adds its work and time to a result found in another way.
    /// @param seconds  how long it took, since when that result was looked for
    void addWorkTo(Result& result, double seconds) const;

private:
    struct Move {
        std::size_t constraint = 0;
        Side to = Side::None;
        double gain = 0.0;  ///< how far the multiplier is out, in proportion to the penalty
    };

    [[nodiscard]] bool begin(const WarmStart& start, const Result* first);
    [[nodiscard]] bool beginWithoutSoftSides(const Vector& x);
    [[nodiscard]] bool walk();
    void solvePiece(const Problem& problem);
    void solvePiece() { solvePiece(piece_.problem()); }
    void take(Result result);
    [[nodiscard]] bool hasEnded() const;
    [[nodiscard]] bool isGood() const;
    [[nodiscard]] std::vector<Move> moves() const;
    [[nodiscard]] std::optional<Move> moveOf(std::size_t k, Side held) const;
    void make(const std::vector<Move>& moves, bool onlyOne);
    [[nodiscard]] SoftProof proof();
    [[nodiscard]] bool isProved();
    void take(SoftProof proof);

    const ProblemData& data_;
    const Penalties& penalties_;
    Sequence& pieces_;
    const Settings& settings_;
    Control& control_;
    Piece piece_;
    bool hasChangedMatrices_ = false;
    Result result_;  ///< of the last piece; at the end, of the problem
    Iterations iterations_;
    double setup_ = -1.0;  ///< seconds; negative before the first piece
    double polish_ = 0.0;  ///< seconds, of soft proofs
};

}  // namespace activeset::frontend

#endif
