// Products and sums that are not fused.
#include "frontend/algebra/outer_products.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frontend/algebra/outer_products.cpp"
#include "frontend/algebra/each_set.hpp"
#include "frontend/algebra/octet.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

HWY_INLINE Octet plainSumOf(Octet a, const Octet& b) {
    for (std::size_t k = 0; k < Octet::Parts; ++k) {
        a.parts[k] = hn::Add(a.parts[k], b.parts[k]);
    }
    return a;
}

void writeOuter(double factor,
                const OuterProduct& first,
                const OuterProduct& second,
                double* target,
                std::size_t rows,
                std::size_t cols) {
    for (std::size_t j = 0; j < cols; ++j, target += rows) {
        const Octet b = octetOf(factor * first.row[j]);
        const Octet d = octetOf(factor * second.row[j]);
        std::size_t i = 0;
        for (; i + OctetLanes <= rows; i += OctetLanes) {
            store(plainSumOf(productOf(load(first.column + i), b),
                             productOf(load(second.column + i), d)),
                  target + i);
        }
        if (i < rows) {
            const std::size_t left = rows - i;
            storeFirst(plainSumOf(productOf(loadFirst(first.column + i, left), b),
                                  productOf(loadFirst(second.column + i, left), d)),
                       target + i, left);
        }
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace activeset::frontend {

void writeOuterProducts(double factor,
                        const OuterProduct& first,
                        const OuterProduct& second,
                        double* target,
                        std::size_t rows,
                        std::size_t cols) {
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): a constant, of a function
    static auto* const kernel = ACTIVESET_CHOOSE(instructionSet(), writeOuter);
    kernel(factor, first, second, target, rows, cols);
}

}  // namespace activeset::frontend
#endif
