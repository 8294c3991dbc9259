// The exact point of a working set: corrections for its residuals, which are formed in twice the
// precision.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_REFINEMENT_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_REFINEMENT_HPP

#include "frontend/predict/small_dual.hpp"

namespace activeset::frontend {

class SmallRefinement {
public:
    SmallRefinement(SmallMemory& memory, const SmallDual& dual) : m_(memory), dual_(dual) {}

    /// memory.x, memory.multipliers and their sums, from where the dual method has ended.
    void begin();
    /// Whether the members that are rows are within their sides, but for so much of their terms.
    [[nodiscard]] bool areRowsMet(double tolerance) const;
    /// Moves them by one correction, and the sums with them.
    void correct();

private:
    [[nodiscard]] bool isRow(std::size_t i) const { return i < m_.shape.rows(); }
    [[nodiscard]] double missOf(std::size_t k) const;
    [[nodiscard]] SmallMatrix data() const;
    [[nodiscard]] SmallMatrix rows() const;  ///< of A
    void setMultipliers();
    void moveToBounds();
    void formSums();
    void formResiduals();
    void findStep();

    SmallMemory& m_;
    const SmallDual& dual_;
};

}  // namespace activeset::frontend

#endif
