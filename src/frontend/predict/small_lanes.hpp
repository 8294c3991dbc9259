// What the kernels of the small road do with eight lanes, beside octet.hpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LANES_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LANES_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LANES_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LANES_HPP
#endif

#include <cstdint>

#include "frontend/algebra/octet.hpp"
#include "frontend/algebra/octet_triangle.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

using Part = Octet::Part;
constexpr std::size_t Parts = Octet::Parts;

/// sum + a·b
HWY_INLINE void addTo(Octet& sum, const Octet& a, Part b) {
    for (std::size_t k = 0; k < Parts; ++k) {
        sum.parts[k] = hn::MulAdd(a.parts[k], b, sum.parts[k]);
    }
}

HWY_INLINE void addTo(Octet& sum, const Octet& a, const Octet& b) {
    for (std::size_t k = 0; k < Parts; ++k) {
        sum.parts[k] = hn::MulAdd(a.parts[k], b.parts[k], sum.parts[k]);
    }
}

/// a·b + c, rounded as a lane of addTo().
HWY_INLINE double fused(double a, double b, double c) {
    const hn::CappedTag<double, 1> one;
    return hn::GetLane(hn::MulAdd(hn::Set(one, a), hn::Set(one, b), hn::Set(one, c)));
}

HWY_INLINE Octet plus(Octet a, const Octet& b) {
    for (std::size_t k = 0; k < Parts; ++k) {
        a.parts[k] = hn::Add(a.parts[k], b.parts[k]);
    }
    return a;
}

HWY_INLINE Octet minus(Octet a, const Octet& b) {
    for (std::size_t k = 0; k < Parts; ++k) {
        a.parts[k] = hn::Sub(a.parts[k], b.parts[k]);
    }
    return a;
}

HWY_INLINE Octet times(Octet a, const Octet& b) {
    for (std::size_t k = 0; k < Parts; ++k) {
        a.parts[k] = hn::Mul(a.parts[k], b.parts[k]);
    }
    return a;
}

HWY_INLINE Part spread(double value) {
    return hn::Set(Octet::Tag(), value);
}

/// What becomes of NaN depends on the processor.
HWY_INLINE Octet maximumOf(Octet a, const Octet& b) {
    for (std::size_t k = 0; k < Parts; ++k) {
        a.parts[k] = hn::Max(a.parts[k], b.parts[k]);
    }
    return a;
}

#if HWY_TARGET == HWY_SCALAR

template <class V, class Join>
HWY_INLINE double folded(V v, Join /*join*/) {
    return hn::GetLane(v);
}

#else

/// The lanes of a register joined by halves, lane k with lane k + half of them.
template <class V, class Join>
HWY_INLINE double folded(V v, Join join) {
    using D = hn::DFromV<V>;
    if constexpr (hn::MaxLanes(D()) == 1) {
        return hn::GetLane(v);
    } else {
        const hn::Half<D> half;
        return folded(join(hn::LowerHalf(half, v), hn::UpperHalf(half, v)), join);
    }
}

#endif

/// Lanes joined by halves: the same tree for every set.
template <class Join>
HWY_INLINE double joined(Octet a, Join join) {
    for (std::size_t half = Parts / 2; half > 0; half /= 2) {
        for (std::size_t k = 0; k < half; ++k) {
            a.parts[k] = join(a.parts[k], a.parts[k + half]);
        }
    }
    return folded(a.parts[0], join);
}

HWY_INLINE double sumOf(const Octet& a) {
    return joined(a, [](auto x, auto y) HWY_ATTR { return hn::Add(x, y); });
}

/// Of lanes that are numbers.
HWY_INLINE double largestLane(const Octet& a) {
    return joined(a, [](auto x, auto y) HWY_ATTR { return hn::Max(x, y); });
}

HWY_INLINE double smallestLane(const Octet& a) {
    return joined(a, [](auto x, auto y) HWY_ATTR { return hn::Min(x, y); });
}

/// Entries that lie `leading` apart, eight at a time. All eight are read, the arrays behind
/// included.
class Strided {
public:
    HWY_INLINE explicit Strided(std::size_t leading) : leading_(leading) {
        std::int64_t offsets[OctetLanes];
        for (std::size_t k = 0; k < OctetLanes; ++k) {
            offsets[k] = static_cast<std::int64_t>(k * leading);
        }
        for (std::size_t k = 0; k < Parts; ++k) {
            offsets_[k] = hn::LoadU(Index(), offsets + k * Octet::PartLanes);
        }
    }

    /// Entries `first` to `first + 8`, zeros from `count` on.
    HWY_INLINE Octet at(const double* data, std::size_t first, std::size_t count) const {
        const double* const start = data + first * leading_;
        Octet result;
        for (std::size_t k = 0; k < Parts; ++k) {
            const std::size_t entry = first + k * Octet::PartLanes;
            if (entry < count) {
                const auto inside = hn::FirstN(Octet::Tag(), count - entry);
                result.parts[k] =
                    hn::IfThenElseZero(inside, hn::GatherIndex(Octet::Tag(), start, offsets_[k]));
            } else {
                result.parts[k] = spread(0.0);
            }
        }
        return result;
    }

private:
    using Index = hn::RebindToSigned<Octet::Tag>;
    std::size_t leading_;
    hn::Vec<Index> offsets_[Parts];
};

/// 0, 1, … 7.
HWY_INLINE Octet numbersOfLanes() {
    Octet result;
    for (std::size_t k = 0; k < Parts; ++k) {
        result.parts[k] = hn::Iota(Octet::Tag(), static_cast<double>(k * Octet::PartLanes));
    }
    return result;
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
