// Derivatives of many optima, from arrays to arrays: what Sensitivity is for one, for the problems
// that solveBatch() of batch.hpp has solved.
#ifndef ACTIVESET_BATCH_SENSITIVITY_HPP
#define ACTIVESET_BATCH_SENSITIVITY_HPP

#include "activeset/batch.hpp"
#include "activeset/sensitivity.hpp"

namespace activeset {

/// The solutions of a batch, as solveBatch() writes them.
struct BatchSolution {
    VectorBatch x{};                 ///< n each
    VectorBatch y{};                 ///< m each
    VectorBatch z{};                 ///< n each
    const Status* status = nullptr;  ///< count; null where all are optimal
};

/// What a loss gains per unit of each x, y and z. What is empty is 0.
struct BatchLoss {
    VectorBatch x{};  ///< n each
    VectorBatch y{};  ///< m each
    VectorBatch z{};  ///< n each
};

/// The caller's arrays, of which each is written if it is there. A problem without a derivative,
/// because it is not optimal or the solution not its own, has NaN. Those in the matrices follow
/// from the others, with v the sum of rowLower and rowUpper:
///
///     H: ½(c·xᵀ + x·cᵀ),   A: y·cᵀ − v·xᵀ
struct BatchGradients {
    VectorsOut c{};                     ///< n each
    VectorsOut rowLower{};              ///< m each
    VectorsOut rowUpper{};              ///< m each
    VectorsOut lower{};                 ///< n each
    VectorsOut upper{};                 ///< n each
    std::int8_t* derivative = nullptr;  ///< count; number of the Derivative, −1 for none
};

/// Gradients in the vectors of every problem, as Sensitivity::backward() has them. Working sets
/// are told from the multipliers: what has one holds. Sides that are touched without one are held
/// only where the others leave the objective flat. Settings say how many threads there are, and end
/// the work early; derivatives do not depend on them.
///
/// @returns how many problems have a derivative
/// @raises std::invalid_argument for shapes that do not fit; what solveBatch() raises
ACTIVESET_API std::size_t backwardBatch(const ProblemBatch& problems,
                                        const BatchSolution& solutions,
                                        const BatchLoss& loss,
                                        const BatchGradients& out,
                                        const ManySettings& settings = {});

}  // namespace activeset

#endif
