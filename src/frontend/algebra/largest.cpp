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

double largestScaled(const double* values, const double* factors, std::size_t count) {
    Octet first = octetOf(0.0);
    Octet second = first;
    const auto scaled = [&](std::size_t i) {
        return magnitudeOf(productOf(load(values + i), load(factors + i)));
    };
    std::size_t i = 0;
    for (; i + 2 * OctetLanes <= count; i += 2 * OctetLanes) {
        first = largerOf(scaled(i), first);
        second = largerOf(scaled(i + OctetLanes), second);
    }
    for (; i < count; i += OctetLanes) {
        const std::size_t left = count - i;
        first = largerOf(
            magnitudeOf(productOf(loadFirst(values + i, left), loadFirst(factors + i, left))),
            first);
    }
    return largestOf(largerOf(first, second));
}

void raise(const double* values, double factor, double* largest, std::size_t count) {
    const Octet factors = octetOf(factor);
    std::size_t i = 0;
    for (; i + OctetLanes <= count; i += OctetLanes) {
        const Octet scaled = magnitudeOf(productOf(load(values + i), factors));
        store(largerOf(scaled, load(largest + i)), largest + i);
    }
    if (i < count) {
        const std::size_t left = count - i;
        const Octet scaled = magnitudeOf(productOf(loadFirst(values + i, left), factors));
        storeFirst(largerOf(scaled, loadFirst(largest + i, left)), largest + i, left);
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace activeset::frontend {

LargestKernel* largestKernel(InstructionSet set) {
    return ACTIVESET_CHOOSE(set, largest);
}

double largestMagnitude(const double* values, std::size_t count) {
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): a constant, of a function
    static LargestKernel* const kernel = largestKernel(instructionSet());
    return kernel(values, count);
}

double largestProduct(const double* values, const double* factors, std::size_t count) {
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): a constant, of a function
    static auto* const kernel = ACTIVESET_CHOOSE(instructionSet(), largestScaled);
    return kernel(values, factors, count);
}

void raiseToProducts(const double* values, double factor, double* largest, std::size_t count) {
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): a constant, of a function
    static auto* const kernel = ACTIVESET_CHOOSE(instructionSet(), raise);
    kernel(values, factor, largest, count);
}

}  // namespace activeset::frontend
#endif
