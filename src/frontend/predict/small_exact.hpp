// Sums in twice the precision: the product and its error by FMA, sums by Knuth's two-sum, the
// errors in a sum of their own. Where FMA is there, products with a matrix need fewer operations.
// Included by small_kernels.cpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_EXACT_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_EXACT_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_EXACT_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_EXACT_HPP
#endif

#include "frontend/predict/small_products.hpp"

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

/// What the sums of a product are formed of.
struct ExactTerms {
    const double* data;
    const NonzeroColumns& columns;

    [[nodiscard]] HWY_INLINE std::size_t count() const { return columns.count(); }
    [[nodiscard]] HWY_INLINE Octet entries(std::size_t k, std::size_t row) const {
        return load(data + columns.offset(k) + row);
    }
    [[nodiscard]] HWY_INLINE Part factor(std::size_t k) const { return columns.factor(k); }
};

/// Stores eight sums, what a double holds of each in its value.
HWY_INLINE void storeSum(const ExactSum& sum, std::size_t row, const SmallSums& sums) {
    const Octet value = plus(sum.value, sum.rest);
    Octet rest;
    for (std::size_t k = 0; k < Parts; ++k) {
        rest.parts[k] = errorOfSum(sum.value.parts[k], sum.rest.parts[k], value.parts[k]);
    }
    store(value, sums.value + row);
    store(rest, sums.rest + row);
    store(sum.scale, sums.scale + row);
}

/// Eight sums by two-sums.
HWY_INLINE void sumCarefully(const ExactTerms& terms, std::size_t row, const SmallSums& sums) {
    ExactSum sum{octetOf(0.0), octetOf(0.0), octetOf(0.0)};
    for (std::size_t k = 0; k < terms.count(); ++k) {
        sum.addProducts(terms.entries(k, row), terms.factor(k));
    }
    storeSum(sum, row, sums);
}

#if HWY_NATIVE_FMA

/// Whether the terms of a lane cancel but for a small share.
HWY_INLINE bool doCancel(const Octet& value, const Octet& scale) {
    constexpr double Share = 0x1p-20;
    bool doNone = true;
    for (std::size_t k = 0; k < Parts; ++k) {
        const Part least = hn::Mul(scale.parts[k], spread(Share));
        doNone = doNone && hn::AllTrue(Octet::Tag(), hn::Ge(hn::Abs(value.parts[k]), least));
    }
    return !doNone;
}

/// The sums of the terms' magnitudes, from a row on.
template <std::size_t Panels>
HWY_INLINE void sumMagnitudes(const ExactTerms& terms, std::size_t row, Octet (&scale)[Panels]) {
    for (auto& sum : scale) {
        sum = octetOf(0.0);
    }
    for (std::size_t k = 0; k < terms.count(); ++k) {
        const Part size = hn::Abs(terms.factor(k));
        for (std::size_t p = 0; p < Panels; ++p) {
            addTo(scale[p], magnitudeOf(terms.entries(k, row + p * OctetLanes)), size);
        }
    }
}

/// In panels of eight rows. With S the sum of the terms' magnitudes, S' = 3·S + partial sum lies
/// between 2·S and 4·S. So the difference of one S' and the next is exact (Sterbenz), and an FMA
/// finds what it has lost of the term.
template <std::size_t Panels>
HWY_INLINE void sumPanels(const ExactTerms& terms,
                          std::size_t row,
                          std::size_t rows,
                          const SmallSums& sums) {
    for (; row + Panels * OctetLanes <= rows; row += Panels * OctetLanes) {
        Octet scale[Panels];
        sumMagnitudes(terms, row, scale);
        Octet raised[Panels];
        Octet rest[Panels];
        for (std::size_t p = 0; p < Panels; ++p) {
            raised[p] = times(scale[p], octetOf(3.0));
            rest[p] = octetOf(0.0);
        }
        for (std::size_t k = 0; k < terms.count(); ++k) {
            const Part factor = terms.factor(k);
            for (std::size_t p = 0; p < Panels; ++p) {
                const Octet entries = terms.entries(k, row + p * OctetLanes);
                const Octet before = raised[p];
                addTo(raised[p], entries, factor);
                Octet lost = minus(before, raised[p]);
                addTo(lost, entries, factor);
                rest[p] = plus(rest[p], lost);
            }
        }
        for (std::size_t p = 0; p < Panels; ++p) {
            const Octet value = minus(raised[p], times(scale[p], octetOf(3.0)));
            if (doCancel(value, scale[p])) {
                sumCarefully(terms, row + p * OctetLanes, sums);
            } else {
                storeSum({value, rest[p], scale[p]}, row + p * OctetLanes, sums);
            }
        }
    }
    if constexpr (Panels > 1) {
        sumPanels<Panels / 2>(terms, row, rows, sums);
    }
}

#else

template <std::size_t Panels>
HWY_INLINE void sumPanels(const ExactTerms& terms,
                          std::size_t row,
                          std::size_t rows,
                          const SmallSums& sums) {
    for (; row < rows; row += OctetLanes) {
        sumCarefully(terms, row, sums);
    }
}

#endif

void exactProduct(const SmallMatrix& a, const double* x, const SmallSums& sums) {
    const NonzeroColumns columns(a, x);
    sumPanels<MostPanels>({a.data, columns}, 0, a.rows, sums);
}

#if HWY_TARGET == HWY_SCALAR

template <class V>
HWY_INLINE SmallSum folded(V value, V rest, double scale) {
    return {hn::GetLane(value), hn::GetLane(rest), scale};
}

#else

/// The lanes of a sum joined by halves.
template <class V>
HWY_INLINE SmallSum folded(V value, V rest, double scale) {
    using D = hn::DFromV<V>;
    if constexpr (hn::MaxLanes(D()) == 1) {
        return {hn::GetLane(value), hn::GetLane(rest), scale};
    } else {
        const hn::Half<D> half;
        const auto lower = hn::LowerHalf(half, value);
        const auto upper = hn::UpperHalf(half, value);
        const auto sum = hn::Add(lower, upper);
        const auto rests = hn::Add(hn::LowerHalf(half, rest), hn::UpperHalf(half, rest));
        return folded(sum, hn::Add(rests, errorOfSum(lower, upper, sum)), scale);
    }
}

#endif

HWY_INLINE SmallSum totalOf(ExactSum sum) {
    for (std::size_t half = Parts / 2; half > 0; half /= 2) {
        for (std::size_t k = 0; k < half; ++k) {
            const Part a = sum.value.parts[k];
            const Part b = sum.value.parts[k + half];
            const Part rests = hn::Add(sum.rest.parts[k], sum.rest.parts[k + half]);
            sum.value.parts[k] = hn::Add(a, b);
            sum.rest.parts[k] = hn::Add(rests, errorOfSum(a, b, sum.value.parts[k]));
        }
    }
    return folded(sum.value.parts[0], sum.rest.parts[0], sumOf(sum.scale));
}

HWY_INLINE void addProducts(ExactSum& sum, const Octet& a, const Octet& b) {
    for (std::size_t k = 0; k < Parts; ++k) {
        sum.addProduct(k, a.parts[k], b.parts[k]);
    }
}

SmallSum exactDot(const double* x, const double* y, std::size_t count) {
    ExactSum sum{octetOf(0.0), octetOf(0.0), octetOf(0.0)};
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        addProducts(sum, load(x + i), load(y + i));
    }
    return totalOf(sum);
}

/// Σ y_i·side_i, the upper side for a positive y_i and the lower one for a negative.
SmallSum exactSides(const double* y, const double* lower, const double* upper, std::size_t count) {
    ExactSum sum{octetOf(0.0), octetOf(0.0), octetOf(0.0)};
    const Part zero = spread(0.0);
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        const Octet weight = load(y + i);
        const Octet low = load(lower + i);
        Octet side = load(upper + i);
        for (std::size_t k = 0; k < Parts; ++k) {
            const auto isPositive = hn::Gt(weight.parts[k], zero);
            const auto isNegative = hn::Lt(weight.parts[k], zero);
            side.parts[k] = hn::IfThenElse(isPositive, side.parts[k],
                                           hn::IfThenElseZero(isNegative, low.parts[k]));
        }
        addProducts(sum, weight, side);
    }
    return totalOf(sum);
}

/// sum + term, in two doubles that are added up by whoever needs it.
HWY_INLINE void addTerm(Part& value, Part& rest, Part term) {
    const Part sum = hn::Add(value, term);
    rest = hn::Add(rest, errorOfSum(value, term, sum));
    value = sum;
}

/// Eight entries of H·x + c + Aᵀy + z.
HWY_INLINE Octet stationarity(const SmallGradient& g, std::size_t first) {
    Octet result;
    const Octet values = load(g.product.value + first);
    const Octet rests = plus(load(g.product.rest + first), load(g.pull.rest + first));
    const Octet pulls = load(g.pull.value + first);
    const Octet c = load(g.c + first);
    const Octet z = load(g.z + first);
    for (std::size_t k = 0; k < Parts; ++k) {
        Part value = values.parts[k];
        Part rest = rests.parts[k];
        addTerm(value, rest, pulls.parts[k]);
        addTerm(value, rest, c.parts[k]);
        addTerm(value, rest, z.parts[k]);
        result.parts[k] = hn::Add(value, rest);
    }
    return result;
}

/// y := −(H·x + c + Aᵀy + z)
void negativeGradient(const SmallGradient& g, std::size_t count, double* y) {
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        store(minus(octetOf(-0.0), stationarity(g, i)), y + i);
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
