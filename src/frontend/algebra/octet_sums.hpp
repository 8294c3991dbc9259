// Eight sums of products at a time, each with its rounding errors summed beside it (Dot2 of Ogita,
// Rump and Oishi 2005) and the sum of the magnitudes of its terms. Included by files of kernels,
// see each_set.hpp.
#if defined(ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_SUMS_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_SUMS_HPP
#undef ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_SUMS_HPP
#else
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_SUMS_HPP
#endif

#include "frontend/algebra/exact_products.hpp"
#include "frontend/algebra/octet.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

/// Sums: `value` holds the rounded part, `errors` the sum of the rounding errors.
template <std::size_t Count>
struct Sums {
    Lanes<Count> value;
    Lanes<Count> errors;
    Lanes<Count> scale;
};
using Eight = Sums<OctetLanes>;

HWY_INLINE Eight noSums() {
    return {octetOf(0.0), octetOf(0.0), octetOf(0.0)};
}

HWY_INLINE void addProduct(Eight& sums, const Octet& a, const Octet& b) {
    for (std::size_t k = 0; k < Octet::Parts; ++k) {
        const auto before = sums.value.parts[k];
        const auto term = hn::Mul(a.parts[k], b.parts[k]);
        const auto value = hn::Add(before, term);
        const auto error =
            sumByFma(errorOfSum(before, term, value), errorOfProduct(a.parts[k], b.parts[k], term));
        sums.value.parts[k] = value;
        sums.errors.parts[k] = hn::Add(sums.errors.parts[k], error);
        sums.scale.parts[k] = sumByFma(hn::Abs(term), sums.scale.parts[k]);
    }
}

HWY_INLINE Eight loadSums(const SumsView& sums, std::size_t k, std::size_t count) {
    return {loadFirst(sums.value + k, count), loadFirst(sums.rest + k, count),
            loadFirst(sums.scale + k, count)};
}

HWY_INLINE void storeSums(const Eight& from,
                          const SumsView& sums,
                          std::size_t k,
                          std::size_t count) {
    storeFirst(from.value, sums.value + k, count);
    storeFirst(from.errors, sums.rest + k, count);
    storeFirst(from.scale, sums.scale + k, count);
}

/// Stores value and rest of the sums. Returns whether they are in the range in which the error
/// bound holds.
HWY_INLINE bool finish(Eight& sums, const SumsView& to, std::size_t k, std::size_t count) {
    constexpr double LargestSum = 0x1p1000;
    constexpr double SmallestSum = 0x1p-900;
    for (std::size_t p = 0; p < Octet::Parts; ++p) {
        const auto value = hn::Add(sums.value.parts[p], sums.errors.parts[p]);
        sums.errors.parts[p] = errorOfSum(sums.value.parts[p], sums.errors.parts[p], value);
        sums.value.parts[p] = value;
    }
    storeSums(sums, to, k, count);
    return areZeroOrWithin(sums.scale, SmallestSum, LargestSum) &&
           areWithin(sums.errors, -LargestSum, LargestSum);
}

/// The lower half of the lanes for `which` = 0, the upper half for 1.
template <std::size_t Count>
HWY_INLINE Lanes<Count / 2> half(const Lanes<Count>& a, std::size_t which) {
    HWY_ALIGN double lanes[Count];
    store(a, lanes);
    return load<Count / 2>(lanes + which * (Count / 2));
}

/// Adds the upper half of the sums to the lower one.
template <std::size_t Count>
HWY_INLINE Sums<Count / 2> joined(const Sums<Count>& sums) {
    Sums<Count / 2> result{half(sums.value, 0), half(sums.errors, 0), half(sums.scale, 0)};
    const Sums<Count / 2> upper{half(sums.value, 1), half(sums.errors, 1), half(sums.scale, 1)};
    for (std::size_t k = 0; k < Lanes<Count / 2>::Parts; ++k) {
        const auto a = result.value.parts[k];
        const auto b = upper.value.parts[k];
        const auto value = hn::Add(a, b);
        result.value.parts[k] = value;
        result.errors.parts[k] = hn::Add(hn::Add(result.errors.parts[k], upper.errors.parts[k]),
                                         errorOfSum(a, b, value));
        result.scale.parts[k] = hn::Add(result.scale.parts[k], upper.scale.parts[k]);
    }
    return result;
}

HWY_INLINE Eight dot(const double* a, const double* b, std::size_t count) {
    Eight eight = noSums();
    std::size_t i = 0;
    for (; i + OctetLanes <= count; i += OctetLanes) {
        addProduct(eight, load(a + i), load(b + i));
    }
    if (i < count) {
        addProduct(eight, loadFirst(a + i, count - i), loadFirst(b + i, count - i));
    }
    return eight;
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
