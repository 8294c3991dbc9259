// Copies data and finds the largest entries on the way. Included by small_kernels.cpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LOAD_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LOAD_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LOAD_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_LOAD_HPP
#endif

#include "frontend/predict/small_kernels.hpp"
#include "frontend/predict/small_lanes.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

/// The largest magnitude so far, and zero as long as all is finite.
struct Inspected {
    Octet largest;
    Octet zeros;

    HWY_INLINE void take(const Octet& values) {
        largest = maximumOf(magnitudeOf(values), largest);
        addTo(zeros, values, spread(0.0));
    }
    HWY_INLINE void take(const Inspected& other) {
        largest = maximumOf(other.largest, largest);
        zeros = plus(zeros, other.zeros);
    }
    /// NaN where something is not finite.
    HWY_INLINE double result() const { return largestLane(largest) + sumOf(zeros); }
};

HWY_INLINE void copyOctet(const double* from, double* to, Inspected& inspected) {
    const Octet values = load(from);
    store(values, to);
    inspected.take(values);
}

double copy(const double* from,
            std::size_t leading,
            std::size_t rows,
            std::size_t cols,
            double* to,
            std::size_t distance,
            std::size_t padded) {
    // Three of them, so that none has to wait for itself.
    Inspected even{octetOf(0.0), octetOf(0.0)};
    Inspected odd = even;
    Inspected last = even;
    const std::size_t whole = rows / OctetLanes * OctetLanes;
    const std::size_t end = whole < rows ? whole + OctetLanes : whole;
    for (std::size_t j = 0; j < cols; ++j, to += distance) {
        const double* const column = from + j * leading;
        std::size_t i = 0;
        for (; i + 2 * OctetLanes <= whole; i += 2 * OctetLanes) {
            copyOctet(column + i, to + i, even);
            copyOctet(column + i + OctetLanes, to + i + OctetLanes, odd);
        }
        if (i < whole) {
            copyOctet(column + i, to + i, even);
        }
        if (whole < rows) {
            const Octet values = loadFirst(column + whole, rows - whole);
            store(values, to + whole);
            last.take(values);
        }
        for (i = end; i < padded; i += OctetLanes) {
            store(octetOf(0.0), to + i);
        }
    }
    even.take(odd);
    even.take(last);
    return even.result();
}

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3

// Tiles of four rows and columns beside those on the other side of the diagonal, transposed.
bool isSymmetric(const double* a, std::size_t count, std::size_t leading) {
    const hn::FixedTag<double, 4> tag;
    auto isEqual = hn::Eq(hn::Zero(tag), hn::Zero(tag));
    for (std::size_t j = 0; j < count; j += 4) {
        for (std::size_t i = 0; i <= j; i += 4) {
            const double* const above = a + j * leading + i;
            const double* const below = a + i * leading + j;
            const auto first = hn::LoadU(tag, below);
            const auto second = hn::LoadU(tag, below + leading);
            const auto third = hn::LoadU(tag, below + 2 * leading);
            const auto fourth = hn::LoadU(tag, below + 3 * leading);
            const auto upperEven = hn::InterleaveLower(tag, first, second);
            const auto upperOdd = hn::InterleaveUpper(tag, first, second);
            const auto lowerEven = hn::InterleaveLower(tag, third, fourth);
            const auto lowerOdd = hn::InterleaveUpper(tag, third, fourth);
            const auto compare = [&](std::size_t c, auto column) HWY_ATTR {
                isEqual = hn::And(isEqual, hn::Eq(column, hn::LoadU(tag, above + c * leading)));
            };
            compare(0, hn::ConcatLowerLower(tag, lowerEven, upperEven));
            compare(1, hn::ConcatLowerLower(tag, lowerOdd, upperOdd));
            compare(2, hn::ConcatUpperUpper(tag, lowerEven, upperEven));
            compare(3, hn::ConcatUpperUpper(tag, lowerOdd, upperOdd));
        }
    }
    return hn::AllTrue(tag, isEqual);
}

#else

bool isSymmetric(const double* a, std::size_t count, std::size_t leading) {
    bool isEqual = true;
    for (std::size_t j = 0; j < count; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            isEqual = (a[j * leading + i] == a[i * leading + j]) && isEqual;
        }
    }
    return isEqual;
}

#endif

HWY_INLINE Octet sidesAt(const double* sides, std::size_t i, std::size_t count, double absent) {
    return sides == nullptr          ? octetOf(absent)
           : i + OctetLanes <= count ? load(sides + i)
                                     : loadFirst(sides + i, count - i);
}

/// What is found out about sides while they are copied.
struct SideLook {
    Octet largest;
    Octet equal;  ///< how many in a lane
    bool isSound = false;
};

/// Eight pairs of sides. Sums and products as they are written, not fused.
HWY_INLINE void takeSides(const SmallSides& to,
                          std::size_t i,
                          Octet low,
                          Octet high,
                          const SmallSideLimits& limits,
                          SideLook& look) {
    const Part zero = spread(0.0);
    const Part infinite = spread(limits.infinity);
    const Part minusInfinite = spread(-limits.infinity);
    Octet lowest;
    Octet highest;
    for (std::size_t k = 0; k < Parts; ++k) {
        Part& l = low.parts[k];
        Part& u = high.parts[k];
        const auto hasNoLow = hn::Le(l, spread(-limits.absent));  // so that NaN stays
        const auto hasNoHigh = hn::Ge(u, spread(limits.absent));
        const Part lowSize = hn::IfThenElse(hasNoLow, zero, hn::Abs(l));
        l = hn::IfThenElse(hasNoLow, minusInfinite, l);
        u = hn::IfThenElse(hasNoHigh, infinite, u);
        const Part highSize = hn::IfThenElse(hasNoHigh, zero, hn::Abs(u));
        const auto isSound = hn::And(hn::Le(l, u), hn::And(hn::Lt(l, spread(limits.absent)),
                                                           hn::Gt(u, spread(-limits.absent))));
        look.isSound = look.isSound && hn::AllTrue(Octet::Tag(), isSound);
        look.largest.parts[k] = hn::Max(look.largest.parts[k], hn::Max(lowSize, highSize));
        look.equal.parts[k] =
            hn::Add(look.equal.parts[k], hn::IfThenElseZero(hn::Eq(l, u), spread(1.0)));
        const Part rounding = spread(limits.rounding);
        lowest.parts[k] = hn::Sub(l, hn::Mul(rounding, lowSize));
        highest.parts[k] = hn::Add(u, hn::Mul(rounding, highSize));
    }
    store(low, to.lower + i);
    store(high, to.upper + i);
    store(lowest, to.lowest + i);
    store(highest, to.highest + i);
}

SmallSideExtent copySides(const double* lower,
                          const double* upper,
                          std::size_t count,
                          std::size_t padded,
                          const SmallSideLimits& limits,
                          const SmallSides& to) {
    SideLook look{octetOf(0.0), octetOf(0.0), true};
    std::size_t i = 0;
    for (; i < count; i += OctetLanes) {
        takeSides(to, i, sidesAt(lower, i, count, -limits.infinity),
                  sidesAt(upper, i, count, limits.infinity), limits, look);
    }
    double equal = sumOf(look.equal);
    if (i > count && lower != nullptr && upper != nullptr) {
        equal -= static_cast<double>(i - count);  // 0 and 0, behind the last ones
    }
    for (i = count; i < padded; ++i) {
        to.lower[i] = to.lowest[i] = -limits.infinity;
        to.upper[i] = to.highest[i] = limits.infinity;
    }
    return {largestLane(look.largest), static_cast<std::size_t>(equal), look.isSound};
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
