// The table of the loops of the small road, once for each instruction set.
#include "frontend/predict/small_kernels.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frontend/predict/small_kernels.cpp"
#include "frontend/algebra/each_set.hpp"
#include "frontend/predict/small_descent.hpp"
#include "frontend/predict/small_exact.hpp"
#include "frontend/predict/small_images.hpp"
#include "frontend/predict/small_judge.hpp"
#include "frontend/predict/small_load.hpp"
#include "frontend/predict/small_orthogonal.hpp"
#include "frontend/predict/small_products.hpp"
#include "frontend/predict/small_triangles.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

// In the order of the members.
SmallKernels table() {
    return {copy,
            isSymmetric,
            copySides,
            factorise,
            formWaiting,
            inverseNorms,
            multiplyAdd,
            addColumns,
            multiplyTransposed,
            project,
            descend,
            solveLower,
            solveLowerTransposed,
            dot,
            addScaled,
            gather,
            addRows,
            price,
            rotate,
            exactProduct,
            exactDot,
            exactSides,
            negativeGradient,
            largest,
            moved,
            misses,
            weighGradient};
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace activeset::frontend {

SmallKernels smallKernels(InstructionSet set) {
    return ACTIVESET_CHOOSE(set, table)();
}

const SmallKernels& smallKernels() {
    static const SmallKernels kernels = smallKernels(instructionSet());
    return kernels;
}

}  // namespace activeset::frontend
#endif
