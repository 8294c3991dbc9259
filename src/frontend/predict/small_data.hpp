// A problem from the caller's views into the memory of the small road, checked on the way.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_DATA_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_DATA_HPP

#include "frontend/predict/small_memory.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The largest entries of the parts of a problem; of sides, of those that are finite.
struct SmallExtent {
    double H = 0.0;  ///< 0 for a linear program
    double c = 0.0;
    double A = 0.0;
    double rowSides = 0.0;
    double bounds = 0.0;
    double leastPivot = 0.0;  ///< of the Cholesky factor of H, squared
    double weight = 0.0;      ///< ρ; where it is not 0, images are those of H + ρI

    [[nodiscard]] bool isLinear() const { return H == 0.0; }
    [[nodiscard]] bool isProximal() const { return weight > 0.0; }
    /// The largest size of variables that a part of the problem tells, 0 where none does.
    [[nodiscard]] double mostTold() const;
    /// The least one, but at least 1.
    [[nodiscard]] double leastTold() const;
};

/// A pivot of H that is not above this times its diagonal entry is not safely positive.
inline constexpr double SmallestPivot = 1e-12;

/// Whether all parts have the right shapes and enough memory, and the start is finite.
[[nodiscard]] bool areShapesRight(const Problem& problem);

/// Copies H and A of a problem whose shapes are right. False where an entry is not finite or of an
/// extraordinary size, or H is not symmetric; the memory is not to be used then.
[[nodiscard]] bool loadMatrices(const Problem& problem, SmallMemory& memory, SmallExtent& extent);

/// ρ for a linear program, so small that mostly the minimum of cᵀx + ½ρ‖x‖² is one of cᵀx. A power
/// of four, so that images are scaled without rounding.
[[nodiscard]] double weightOfLinear(const SmallExtent& extent);

/// Whether rows are so many that images wait until one is needed: often the minimum without
/// constraints is the optimum in control.
[[nodiscard]] bool mayRowsWait(const SmallMemory& memory);

/// Forms the images of the constraints: by H or, where that is zero or singular, by H + ρI; then
/// those of many rows wait until one of them is needed. False where H is not convex to within
/// rounding.
[[nodiscard]] bool formImages(SmallMemory& memory, SmallExtent& extent);

/// Those of rows of A that have waited.
void formWaitingImages(SmallMemory& memory);

/// Copies c, sides and bounds. False where one is not a number, of an extraordinary size, or sides
/// cross. loadMatrices() follows, or transformLinear() if the matrices are kept.
[[nodiscard]] bool loadVectors(const Problem& problem, SmallMemory& memory, SmallExtent& extent);

/// w = L⁻¹c by the images of the bounds.
void transformLinear(SmallMemory& memory);

}  // namespace activeset::frontend

#endif
