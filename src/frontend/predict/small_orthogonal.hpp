// What the orthogonal factor of the members' images needs. Included by small_kernels.cpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_ORTHOGONAL_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_ORTHOGONAL_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_ORTHOGONAL_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_ORTHOGONAL_HPP
#endif

#include "frontend/predict/small_products.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

/// y := b − A·x. The square of its length.
HWY_INLINE double takeProduct(const SmallMatrix& a, const double* x, const double* b, double* y) {
    Octet square = octetOf(0.0);
    eachPanel<MostPanels>(a, 0, x, [&](const Octet& product, std::size_t row) HWY_ATTR {
        const Octet left = minus(load(b + row), product);
        store(left, y + row);
        addTo(square, left, left);
    });
    return sumOf(square);
}

// Gram-Schmidt, a second time where the first one cancels.
double project(const SmallMatrix& Q, const SmallMatrix& T, const double* g, const SmallShares& to) {
    constexpr double Cancelled = 0.01;
    multiplyTransposed(Q, g, to.r);
    double squaredNorm = takeProduct(Q, to.r, g, to.u);
    if (squaredNorm < Cancelled) {
        multiplyTransposed(Q, to.u, to.p);
        for (std::size_t k = 0; k < Q.cols; ++k) {
            to.r[k] += to.p[k];
        }
        squaredNorm = takeProduct(Q, to.p, to.u, to.u);
    }
    multiplyAdd(T, to.r, nullptr, to.p);
    return squaredNorm;
}

void rotate(double c, double s, double* x, double* y, std::size_t count) {
    const Octet cosine = octetOf(c);
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        const Octet first = load(x + i);
        const Octet second = load(y + i);
        Octet turned = times(first, cosine);
        takeFrom(turned, second, spread(s));
        store(turned, x + i);
        turned = times(second, cosine);
        addTo(turned, first, spread(s));
        store(turned, y + i);
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
