// Solves with a lower triangle, by blocks of eight: those on the diagonal one number after the
// other, those below it in lanes. Included by small_kernels.cpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_TRIANGLES_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_TRIANGLES_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_TRIANGLES_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_TRIANGLES_HPP
#endif

#include "frontend/predict/small_products.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

void solveLower(const double* L, std::size_t count, std::size_t leading, double* x) {
    for (std::size_t first = 0; first < count; first += OctetLanes) {
        const double* const columns = L + first * leading;
        double* const block = x + first;
        for (std::size_t k = 0; k < OctetLanes; ++k) {
            const double* const column = columns + k * leading + first;
            block[k] *= 1.0 / column[k];
            for (std::size_t i = k + 1; i < OctetLanes; ++i) {
                block[i] = fused(-column[i], block[k], block[i]);
            }
        }
        for (std::size_t row = first + OctetLanes; row < count; row += OctetLanes) {
            Octet left = load(x + row);
            for (std::size_t k = 0; k < OctetLanes; ++k) {
                takeFrom(left, load(columns + k * leading + row), spread(block[k]));
            }
            store(left, x + row);
        }
    }
}

void solveLowerTransposed(const double* L, std::size_t count, std::size_t leading, double* x) {
    for (std::size_t first = count; first > 0;) {
        first -= OctetLanes;
        const double* const columns = L + first * leading;
        double* const block = x + first;
        Octet sums[OctetLanes];
        for (Octet& sum : sums) {
            sum = octetOf(0.0);
        }
        for (std::size_t row = first + OctetLanes; row < count; row += OctetLanes) {
            const Octet factor = load(x + row);
            for (std::size_t k = 0; k < OctetLanes; ++k) {
                addTo(sums[k], load(columns + k * leading + row), factor);
            }
        }
        for (std::size_t k = OctetLanes; k-- > 0;) {
            const double* const column = columns + k * leading + first;
            double left = block[k] - sumOf(sums[k]);
            for (std::size_t i = OctetLanes; --i > k;) {
                left = fused(-column[i], block[i], left);
            }
            block[k] = left * (1.0 / column[k]);
        }
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
