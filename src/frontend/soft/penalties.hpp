// Which sides of a problem are soft, and what it costs to violate them.
#ifndef ACTIVESET_SRC_FRONTEND_SOFT_PENALTIES_HPP
#define ACTIVESET_SRC_FRONTEND_SOFT_PENALTIES_HPP

#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// A side missed by v ≥ 0 costs linear·v + ½·quadratic·v².
struct SidePenalty {
    double linear = Infinity;
    double quadratic = 0.0;

    [[nodiscard]] bool isSoft() const { return linear < Infinity; }
};

/// Entry i. Without linear penalties it is the quadratic one that makes a side soft.
[[nodiscard]] SidePenalty penaltyOf(const VectorView& linear,
                                    const VectorView& quadratic,
                                    std::size_t i);

/// A side of constraint k, in the numbering of Constraints: rows, then bounds by variable.
struct SoftSide {
    std::size_t constraint = 0;
    Side side = Side::Upper;  ///< Lower or Upper
};

/// Whether a problem speaks of penalties; there may be no soft side all the same.
[[nodiscard]] inline bool hasPenalties(const Problem& problem) {
    return !problem.rowPenalty.empty() || !problem.boundPenalty.empty();
}

/// Whether multipliers, of rows or of bounds, are those of sides that hold: none is above what its
/// side costs.
/// @pre the penalty has no faults
[[nodiscard]] bool areWithin(const Penalty& penalty, const Vector& multipliers);

/// Those of the sides that exist.
class Penalties {
public:
    /// @pre neither has faults
    Penalties(const Problem& problem, const ProblemData& data);

    [[nodiscard]] const SidePenalty& of(std::size_t constraint, Side side) const {
        return (side == Side::Lower ? lower_ : upper_)[constraint];
    }
    [[nodiscard]] const SidePenalty& of(const SoftSide& side) const {
        return of(side.constraint, side.side);
    }
    /// All soft sides, ascending, lower ones first.
    [[nodiscard]] const std::vector<SoftSide>& softSides() const { return soft_; }
    /// Constraints with a soft side, ascending.
    [[nodiscard]] const std::vector<std::size_t>& constraints() const { return constraints_; }

private:
    void take(const Penalty& penalty, std::size_t first, std::size_t count);

    std::vector<SidePenalty> lower_;
    std::vector<SidePenalty> upper_;
    std::vector<SoftSide> soft_;
    std::vector<std::size_t> constraints_;
};

[[nodiscard]] inline double lowerOf(const ProblemData& data, std::size_t k) {
    return k < data.m ? data.rowLower[k] : data.lower[k - data.m];
}
[[nodiscard]] inline double upperOf(const ProblemData& data, std::size_t k) {
    return k < data.m ? data.rowUpper[k] : data.upper[k - data.m];
}
[[nodiscard]] inline double& sideOf(ProblemData& data, const SoftSide& side) {
    const std::size_t k = side.constraint;
    return side.side == Side::Lower ? (k < data.m ? data.rowLower[k] : data.lower[k - data.m])
                                    : (k < data.m ? data.rowUpper[k] : data.upper[k - data.m]);
}
[[nodiscard]] inline double sideOf(const ProblemData& data, const SoftSide& side) {
    return side.side == Side::Lower ? lowerOf(data, side.constraint)
                                    : upperOf(data, side.constraint);
}

/// Makes the soft sides absent. They give way, so that they contradict nothing.
/// @param data  has the sides of the problem
void dropSoftSides(const Problem& problem, ProblemData& data);

/// The members of a working set that are held at a side, of rows or of variables; Both stands for
/// equal sides. The same of violated sides.
[[nodiscard]] std::vector<std::size_t>& listOf(WorkingSet& set, bool isRow, Side side);
[[nodiscard]] std::vector<std::size_t>& listOf(ViolatedSides& sides, bool isRow, Side side);

/// The copy of penalties that a Solver keeps.
struct PenaltyCopy {
    Vector lowerLinear;
    Vector upperLinear;
    Vector lowerQuadratic;
    Vector upperQuadratic;

    void copy(const Penalty& penalty);
    [[nodiscard]] Penalty view() const {
        return {lowerLinear, upperLinear, lowerQuadratic, upperQuadratic};
    }
};

}  // namespace activeset::frontend

#endif
