// The exact point of a working set: corrections for its residuals, which are formed in twice the
// precision.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_REFINEMENT_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_REFINEMENT_HPP

#include "frontend/predict/small_factor.hpp"

namespace activeset::frontend {

/// Of the members in the memory, of which there are `size`.
class SmallRefinement {
public:
    SmallRefinement(SmallMemory& memory, std::size_t size) : m_(memory), size_(size) {}
    SmallRefinement(const SmallRefinement&) = delete;
    SmallRefinement& operator=(const SmallRefinement&) = delete;
    virtual ~SmallRefinement() = default;

    /// memory.x, memory.multipliers and their sums, from where a method has ended: with the values
    /// of all constraints in the memory, and the multipliers of the members in proportion to
    /// memory.inverseNorm.
    void begin();
    /// Whether the members that are rows are within their sides, but for so much of their terms.
    [[nodiscard]] bool areRowsMet(double tolerance) const;
    [[nodiscard]] std::size_t size() const { return size_; }
    /// Moves them by one correction, and the sums with them.
    void correct();
    /// Moves variables to zero or bounds so near, in proportion to the largest variable or to 1,
    /// and forms their products anew.
    void moveToNearBounds(double distance);
    /// Makes multipliers zero that are no more than this share of the largest, in proportion to the
    /// images.
    void dropMultipliers(double share);

protected:
    /// From the residuals r₁ of stationarity, memory.residual, and r₂ of the members, memory.s, the
    /// step of x, memory.step, and that of the multipliers, memory.p, which is taken off.
    virtual void findStep() = 0;
    /// Moves the variables of memory.x that are members to their bounds.
    virtual void moveToBounds();

    [[nodiscard]] bool isRow(std::size_t i) const { return i < m_.shape.rows(); }
    [[nodiscard]] std::size_t constraintOf(std::size_t k) const {
        // Processors convert to signed numbers at once.
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_.member[k]));
    }

    SmallMemory& m_;    // NOLINT(*-non-private-member-variables-in-classes): of the steps
    std::size_t size_;  // NOLINT(*-non-private-member-variables-in-classes): likewise

private:
    [[nodiscard]] double missOf(std::size_t k) const;
    void gatherRows();
    [[nodiscard]] SmallMatrix memberRows() const;
    [[nodiscard]] bool setMultipliers();
    void formSums();
    void formProducts();
    void formResiduals();
};

/// By the images and their factor: d = L⁻¹r₁, t = Qᵀd − Tᵀr₂; the multipliers move by T·t, and x by
/// L⁻ᵀ(d − Q·t).
class SmallImageRefinement final : public SmallRefinement {
public:
    SmallImageRefinement(SmallMemory& memory, const SmallFactor& factor)
        : SmallRefinement(memory, factor.size()), factor_(factor) {}

private:
    void findStep() override;

    const SmallFactor& factor_;
};

}  // namespace activeset::frontend

#endif
