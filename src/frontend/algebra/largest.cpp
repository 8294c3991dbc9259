// Sixteen running maxima: one alone would wait for its last comparison.
#include "frontend/algebra/largest.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frontend/algebra/largest.cpp"
#include "frontend/algebra/each_set.hpp"
#include "frontend/algebra/octet.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

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
    double lanes[OctetLanes];
    store(largerOf(first, second), lanes);
    double result = 0.0;
    for (const double lane : lanes) {
        result = lane > result ? lane : result;
    }
    return result;
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

}  // namespace activeset::frontend
#endif
