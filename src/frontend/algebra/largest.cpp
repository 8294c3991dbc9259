// Sixteen running maxima, because each comparison waits for the one before it.
#include "frontend/algebra/largest.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frontend/algebra/largest.cpp"
#include "frontend/algebra/each_set.hpp"
#include "frontend/algebra/octet.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

double largestOf(const Octet& octet) {
    double lanes[OctetLanes];
    store(octet, lanes);
    double result = 0.0;
    for (const double lane : lanes) {
        result = lane > result ? lane : result;
    }
    return result;
}

double largest(const double* values, std::size_t count) {
    Octet first = octetOf(0.0);
    Octet second = first;
    std::size_t i = 0;
    for (; i + 2 * OctetLanes <= count; i += 2 * OctetLanes) {
        first = largerOf(magnitudeOf(load(values + i)), first);
        second = largerOf(magnitudeOf(load(values + i + OctetLanes)), second);
    }
    if (i + OctetLanes <= count) {
        first = largerOf(magnitudeOf(load(values + i)), first);
        i += OctetLanes;
    }
    if (i < count) {
        second = largerOf(magnitudeOf(loadFirst(values + i, count - i)), second);
    }
    return largestOf(largerOf(first, second));
}

HWY_INLINE Octet scaled(const Octet& values, const Octet& factors) {
    return magnitudeOf(productOf(values, factors));
}

double largestScaled(const double* values, const double* factors, std::size_t count) {
    Octet first = octetOf(0.0);
    Octet second = first;
    std::size_t i = 0;
    for (; i + 2 * OctetLanes <= count; i += 2 * OctetLanes) {
        first = largerOf(scaled(load(values + i), load(factors + i)), first);
        second =
            largerOf(scaled(load(values + i + OctetLanes), load(factors + i + OctetLanes)), second);
    }
    if (i + OctetLanes <= count) {
        first = largerOf(scaled(load(values + i), load(factors + i)), first);
        i += OctetLanes;
    }
    if (i < count) {
        const std::size_t left = count - i;
        second =
            largerOf(scaled(loadFirst(values + i, left), loadFirst(factors + i, left)), second);
    }
    return largestOf(largerOf(first, second));
}

void raise(const double* values, double factor, double* largest, std::size_t count) {
    const Octet factors = octetOf(factor);
    std::size_t i = 0;
    for (; i + OctetLanes <= count; i += OctetLanes) {
        store(largerOf(scaled(load(values + i), factors), load(largest + i)), largest + i);
    }
    if (i < count) {
        const std::size_t left = count - i;
        const Octet products = scaled(loadFirst(values + i, left), factors);
        storeFirst(largerOf(products, loadFirst(largest + i, left)), largest + i, left);
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace activeset::frontend {

LargestKernels largestKernels(InstructionSet set) {
    return {ACTIVESET_CHOOSE(set, largest), ACTIVESET_CHOOSE(set, largestScaled),
            ACTIVESET_CHOOSE(set, raise)};
}

namespace {

const LargestKernels& chosenKernels() {
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): a constant, of a function
    static const LargestKernels kernels = largestKernels(instructionSet());
    return kernels;
}

}  // namespace

double largestMagnitude(const double* values, std::size_t count) {
    return chosenKernels().magnitude(values, count);
}

double largestProduct(const double* values, const double* factors, std::size_t count) {
    return chosenKernels().product(values, factors, count);
}

void raiseToProducts(const double* values, double factor, double* largest, std::size_t count) {
    chosenKernels().raise(values, factor, largest, count);
}

}  // namespace activeset::frontend
#endif
