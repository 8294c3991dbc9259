// What the kernels of the small road do with eight lanes, beside octet.hpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LANES_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LANES_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LANES_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LANES_HPP
#endif

#include "frontend/algebra/octet.hpp"

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

/// sum − a·b
HWY_INLINE void takeFrom(Octet& sum, const Octet& a, Part b) {
    for (std::size_t k = 0; k < Parts; ++k) {
        sum.parts[k] = hn::NegMulAdd(a.parts[k], b, sum.parts[k]);
    }
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

/// The same tree of additions for every set.
HWY_INLINE double sumOf(const Octet& octet) {
    double v[OctetLanes];
    store(octet, v);
    return ((v[0] + v[4]) + (v[2] + v[6])) + ((v[1] + v[5]) + (v[3] + v[7]));
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
