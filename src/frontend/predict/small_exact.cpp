// Sums in twice the precision: the product and its error by FMA, sums by Knuth's two-sum, the
// errors in a sum of their own.
#include "frontend/predict/small_kernels.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frontend/predict/small_exact.cpp"
#include "frontend/algebra/each_set.hpp"
#include "frontend/predict/small_lanes.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

struct ExactSum {
    Octet value;
    Octet rest;
    Octet scale;

    HWY_INLINE void addProduct(std::size_t k, Part a, Part b) {
        const Part product = hn::Mul(a, b);
        const Part sum = hn::Add(value.parts[k], product);
        const Part lost = errorOfSum(value.parts[k], product, sum);
        value.parts[k] = sum;
        rest.parts[k] = hn::Add(rest.parts[k], hn::Add(lost, errorOfProduct(a, b, product)));
        scale.parts[k] = hn::Add(scale.parts[k], hn::Abs(product));
    }

    HWY_INLINE void addProducts(const Octet& a, Part b) {
        for (std::size_t k = 0; k < Parts; ++k) {
            addProduct(k, a.parts[k], b);
        }
    }
};

void exactProduct(const SmallMatrix& a, const double* x, const SmallSums& sums) {
    for (std::size_t row = 0; row < a.rows; row += OctetLanes) {
        ExactSum sum{octetOf(0.0), octetOf(0.0), octetOf(0.0)};
        for (std::size_t j = 0; j < a.cols; ++j) {
            sum.addProducts(load(a.data + j * a.leading + row), spread(x[j]));
        }
        store(sum.value, sums.value + row);
        store(sum.rest, sums.rest + row);
        store(sum.scale, sums.scale + row);
    }
}

void exactAddScaled(double alpha, const double* x, const SmallSums& sums, std::size_t count) {
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        ExactSum sum{load(sums.value + i), load(sums.rest + i), load(sums.scale + i)};
        sum.addProducts(load(x + i), spread(alpha));
        store(sum.value, sums.value + i);
        store(sum.rest, sums.rest + i);
        store(sum.scale, sums.scale + i);
    }
}

SmallSum exactDot(const double* x, const double* y, std::size_t count) {
    ExactSum sum{octetOf(0.0), octetOf(0.0), octetOf(0.0)};
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        const Octet first = load(x + i);
        const Octet second = load(y + i);
        for (std::size_t k = 0; k < Parts; ++k) {
            sum.addProduct(k, first.parts[k], second.parts[k]);
        }
    }
    double values[OctetLanes];
    store(sum.value, values);
    double rest = sumOf(sum.rest);
    for (std::size_t half = OctetLanes / 2; half > 0; half /= 2) {
        for (std::size_t k = 0; k < half; ++k) {
            const double a = values[k];
            const double b = values[k + half];
            const double both = a + b;
            const double added = both - a;
            rest += (a - (both - added)) + (b - added);
            values[k] = both;
        }
    }
    SmallSum result;
    result.value = values[0];
    result.rest = rest;
    result.scale = sumOf(sum.scale);
    return result;
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace activeset::frontend {

void chooseExactSums(InstructionSet set, SmallKernels& kernels) {
    kernels.exactProduct = ACTIVESET_CHOOSE(set, exactProduct);
    kernels.exactAddScaled = ACTIVESET_CHOOSE(set, exactAddScaled);
    kernels.exactDot = ACTIVESET_CHOOSE(set, exactDot);
}

}  // namespace activeset::frontend
#endif
