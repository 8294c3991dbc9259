// What the proof of the small road sums and compares. Included by small_kernels.cpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_JUDGE_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_JUDGE_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_JUDGE_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_JUDGE_HPP
#endif

#include "frontend/predict/small_exact.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

double largest(const double* x, std::size_t count) {
    Octet all = octetOf(0.0);
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        all = maximumOf(magnitudeOf(load(x + i)), all);
    }
    return largestLane(all);
}

SmallStep moved(const double* x, double* step, const double* from, std::size_t count) {
    Octet length = octetOf(0.0);
    Octet size = length;
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        const Octet at = load(x + i);
        const Octet change = minus(at, load(from + i));
        store(change, step + i);
        length = maximumOf(magnitudeOf(change), length);
        size = maximumOf(magnitudeOf(at), size);
    }
    return {largestLane(length), largestLane(size)};
}

bool misses(const double* value,
            const double* rest,
            const double* lower,
            const double* upper,
            std::size_t count,
            double* miss) {
    bool isNone = true;
    const Part zero = spread(0.0);
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        const Octet values = load(value + i);
        const Octet rests = rest == nullptr ? octetOf(0.0) : load(rest + i);
        Octet below = minus(minus(load(lower + i), values), rests);
        const Octet above = plus(minus(values, load(upper + i)), rests);
        for (std::size_t k = 0; k < Parts; ++k) {
            const auto isBelow = hn::Gt(below.parts[k], above.parts[k]);
            below.parts[k] = hn::IfThenElse(isBelow, below.parts[k], above.parts[k]);
            isNone = isNone && hn::AllTrue(Octet::Tag(), hn::Le(below.parts[k], zero));
        }
        store(below, miss + i);
    }
    return !isNone;
}

/// The sums of the gradient's proof, in lanes.
struct Weighed {
    Octet absolute;
    Octet relative;
    Octet weight;
    Octet rest;
    bool isSound = false;
};

/// The farthest that a variable may be from zero: the largest of 1, |x_j| and its finite bounds.
HWY_INLINE Part farthest(Part size, Part lower, Part upper, double infinity) {
    const Part one = spread(1.0);
    const Part bound = hn::Max(hn::Abs(lower), hn::Abs(upper));
    const auto isFinite = hn::Lt(bound, spread(infinity));
    return hn::Max(hn::Max(size, one), hn::IfThenElseZero(isFinite, bound));
}

HWY_INLINE void weigh(const SmallGradient& g,
                      const SmallGradientUnits& u,
                      std::size_t i,
                      Weighed& all) {
    const Octet residuals = magnitudeOf(stationarity(g, i));
    const Octet terms =
        plus(plus(load(g.product.scale + i), load(g.pull.scale + i)), magnitudeOf(load(g.c + i)));
    const Octet z = magnitudeOf(load(g.z + i));
    const Octet x = load(g.x + i);
    const Octet lower = load(g.lower + i);
    const Octet upper = load(g.upper + i);
    const Octet rests = load(g.product.rest + i);
    const Part zero = spread(0.0);
    for (std::size_t k = 0; k < Parts; ++k) {
        const Part residual = residuals.parts[k];
        const Part scale = terms.parts[k];
        const auto isFloor =
            hn::Le(residual, hn::Mul(spread(u.roundingOfOthers), hn::Max(scale, spread(u.floor))));
        const Part unit = hn::IfThenElseZero(isFloor, spread(u.gradient));
        const Part size = hn::Max(unit, hn::Add(scale, z.parts[k]));
        const auto isZero = hn::Eq(residual, zero);
        all.absolute.parts[k] = hn::Max(all.absolute.parts[k], residual);
        all.relative.parts[k] =
            hn::Max(all.relative.parts[k], hn::IfThenElse(isZero, zero, hn::Div(residual, size)));
        const auto isSound =
            hn::And(hn::Ge(residual, zero), hn::Lt(size, spread(u.infinity)));  // so NaN is not
        all.isSound = all.isSound && hn::AllTrue(Octet::Tag(), hn::Or(isZero, isSound));
        const Part own = hn::Abs(x.parts[k]);
        const Part least = hn::Max(own, spread(u.variable));
        const auto isRounding = hn::Le(residual, hn::Mul(spread(u.rounding), scale));
        const Part reach =
            hn::Max(spread(u.farthest), farthest(own, lower.parts[k], upper.parts[k], u.infinity));
        const Part weight = hn::Mul(residual, hn::IfThenElse(isRounding, least, reach));
        const Part evaluation = hn::Mul(hn::Mul(spread(u.evaluation), scale), least);
        all.weight.parts[k] = hn::Add(all.weight.parts[k], hn::Add(weight, evaluation));
        all.rest.parts[k] = hn::Add(all.rest.parts[k], hn::Mul(rests.parts[k], x.parts[k]));
    }
}

SmallGradientProof weighGradient(const SmallGradient& g,
                                 const SmallGradientUnits& units,
                                 std::size_t count) {
    const Octet zero = octetOf(0.0);
    Weighed all{zero, zero, zero, zero, true};
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        weigh(g, units, i, all);
    }
    return {largestLane(all.absolute), largestLane(all.relative), sumOf(all.weight),
            sumOf(all.rest), all.isSound};
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
