// Descent along one variable of a box after the other. Included by small_kernels.cpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_DESCENT_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_DESCENT_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_DESCENT_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_DESCENT_HPP
#endif

#include "frontend/predict/small_products.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

void descend(const SmallMatrix& H,
             const SmallBox& box,
             const double* inverse,
             std::size_t count,
             double* x,
             double* g) {
    // Where the next variable goes is found by itself, ahead of the lanes that store its slope.
    double target = x[0] - g[0] * inverse[0];
    for (std::size_t j = 0; j < count; ++j) {
        double to = target > box.lower[j] ? target : box.lower[j];
        to = to < box.upper[j] ? to : box.upper[j];
        const double step = to - x[j];
        const double* const column = H.data + j * H.leading;
        const std::size_t next = j + 1 < count ? j + 1 : j;
        target = fused(-inverse[next] * column[next], step, x[next] - g[next] * inverse[next]);
        if (step != 0.0) {
            x[j] = to;
            addScaled(step, column, g, H.rows);
        }
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
