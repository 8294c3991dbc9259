// Two, four or eight doubles, in as many registers as the instruction set needs for them: the same
// arithmetic, lane by lane, for each set. Included by files of kernels, see each_set.hpp.
#if defined(ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_HPP
#undef ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_HPP
#else
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_HPP
#endif

#include <hwy/highway.h>

#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <std::size_t Count>
struct Lanes {
    using Tag = hn::CappedTag<double, Count>;
    using Part = hn::Vec<Tag>;
    static constexpr std::size_t PartLanes = hn::MaxLanes(Tag());
    static constexpr std::size_t Parts = Count / PartLanes;

    Part parts[Parts];  // NOLINT(cppcoreguidelines-pro-type-member-init): written at once
};

constexpr std::size_t OctetLanes = 8;
using Octet = Lanes<OctetLanes>;

template <std::size_t Count>
HWY_INLINE Lanes<Count> fill(double value) {
    Lanes<Count> result;
    for (auto& part : result.parts) {
        part = hn::Set(typename Lanes<Count>::Tag(), value);
    }
    return result;
}

HWY_INLINE Octet octetOf(double value) {
    return fill<OctetLanes>(value);
}

template <std::size_t Count = OctetLanes>
HWY_INLINE Lanes<Count> load(const double* values) {
    using L = Lanes<Count>;
    L result;
    for (std::size_t k = 0; k < L::Parts; ++k) {
        result.parts[k] = hn::LoadU(typename L::Tag(), values + k * L::PartLanes);
    }
    return result;
}

template <std::size_t Count>
HWY_INLINE void store(const Lanes<Count>& a, double* values) {
    using L = Lanes<Count>;
    for (std::size_t k = 0; k < L::Parts; ++k) {
        hn::StoreU(a.parts[k], typename L::Tag(), values + k * L::PartLanes);
    }
}

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3

HWY_INLINE auto firstOfPart(std::size_t part, std::size_t count) {
    const std::size_t before = part * Octet::PartLanes;
    return hn::FirstN(Octet::Tag(), count > before ? count - before : 0);
}

/// The first `count` ≤ 8 entries, then zeros. Nothing behind them is read.
HWY_INLINE Octet loadFirst(const double* values, std::size_t count) {
    Octet result;
    for (std::size_t k = 0; k < Octet::Parts; ++k) {
        result.parts[k] =
            hn::MaskedLoad(firstOfPart(k, count), Octet::Tag(), values + k * Octet::PartLanes);
    }
    return result;
}

/// Writes the first `count` ≤ 8 lanes, and nothing behind them.
HWY_INLINE void storeFirst(const Octet& a, double* values, std::size_t count) {
    for (std::size_t k = 0; k < Octet::Parts; ++k) {
        hn::BlendedStore(a.parts[k], firstOfPart(k, count), Octet::Tag(),
                         values + k * Octet::PartLanes);
    }
}

#else  // there a masked load reads all

HWY_INLINE Octet loadFirst(const double* values, std::size_t count) {
    double padded[OctetLanes] = {};
    for (std::size_t k = 0; k < count; ++k) {
        padded[k] = values[k];
    }
    return load(padded);
}

HWY_INLINE void storeFirst(const Octet& a, double* values, std::size_t count) {
    double padded[OctetLanes];
    store(a, padded);
    for (std::size_t k = 0; k < count; ++k) {
        values[k] = padded[k];
    }
}

#endif

HWY_INLINE Octet magnitudeOf(Octet a) {
    for (auto& part : a.parts) {
        part = hn::Abs(part);
    }
    return a;
}

HWY_INLINE Octet productOf(Octet a, const Octet& b) {
    for (std::size_t k = 0; k < Octet::Parts; ++k) {
        a.parts[k] = hn::Mul(a.parts[k], b.parts[k]);
    }
    return a;
}

/// a where a > b, else b; so b, where one of the two is NaN.
HWY_INLINE Octet largerOf(Octet a, const Octet& b) {
    for (std::size_t k = 0; k < Octet::Parts; ++k) {
        a.parts[k] = hn::IfThenElse(hn::Gt(a.parts[k], b.parts[k]), a.parts[k], b.parts[k]);
    }
    return a;
}

/// Whether lower ≤ a ≤ upper in all lanes; false where one is NaN.
HWY_INLINE bool areWithin(const Octet& a, double lower, double upper) {
    bool result = true;
    for (const auto& part : a.parts) {
        const auto within = hn::And(hn::Ge(part, hn::Set(Octet::Tag(), lower)),
                                    hn::Le(part, hn::Set(Octet::Tag(), upper)));
        result = result && hn::AllTrue(Octet::Tag(), within);
    }
    return result;
}

/// Whether in all lanes a = 0 or lower ≤ a ≤ upper; false where one is NaN.
HWY_INLINE bool areZeroOrWithin(const Octet& a, double lower, double upper) {
    bool result = true;
    for (const auto& part : a.parts) {
        const auto within = hn::And(hn::Ge(part, hn::Set(Octet::Tag(), lower)),
                                    hn::Le(part, hn::Set(Octet::Tag(), upper)));
        const auto isZero = hn::Eq(part, hn::Zero(Octet::Tag()));
        result = result && hn::AllTrue(Octet::Tag(), hn::Or(within, isZero));
    }
    return result;
}

// Of single registers V, from here on.

/// a + b as a fused multiply-add. Processors have separate units for sums and products; using both
/// is faster.
template <class V>
HWY_INLINE V sumByFma(V a, V b) {
#if HWY_NATIVE_FMA
    return hn::MulAdd(a, hn::Set(hn::DFromV<V>(), 1.0), b);
#else
    return hn::Add(a, b);
#endif
}

/// a − b, likewise.
template <class V>
HWY_INLINE V differenceByFma(V a, V b) {
#if HWY_NATIVE_FMA
    return hn::NegMulAdd(b, hn::Set(hn::DFromV<V>(), 1.0), a);
#else
    return hn::Sub(a, b);
#endif
}

/// The rounding error of the sum a + b, exactly (Knuth's two-sum).
template <class V>
HWY_INLINE V errorOfSum(V a, V b, V sum) {
    const V ofB = hn::Sub(sum, a);
    const V errorOfA = differenceByFma(a, differenceByFma(sum, ofB));
    return hn::Add(errorOfA, hn::Sub(b, ofB));
}

#if !HWY_NATIVE_FMA

/// a in its upper 26 bits, rounded (Veltkamp); NaN beyond 2^996.
template <class V>
HWY_INLINE V upperHalfOf(V a) {
    const V shifted = hn::Mul(a, hn::Set(hn::DFromV<V>(), 134217729.0));  // 2^27 + 1
    return hn::Sub(shifted, hn::Sub(shifted, a));
}

#endif

/// The rounding error of the product a·b, exactly unless it underflows: by FMA, or by the exact
/// products of halves (Dekker).
template <class V>
HWY_INLINE V errorOfProduct(V a, V b, V product) {
#if HWY_NATIVE_FMA
    return hn::MulSub(a, b, product);
#else
    const V upperA = upperHalfOf(a);
    const V upperB = upperHalfOf(b);
    const V lowerA = hn::Sub(a, upperA);
    const V lowerB = hn::Sub(b, upperB);
    const V rest = hn::Sub(hn::Sub(product, hn::Mul(upperA, upperB)), hn::Mul(lowerA, upperB));
    return hn::Sub(hn::Mul(lowerA, lowerB), hn::Sub(rest, hn::Mul(upperA, lowerB)));
#endif
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
