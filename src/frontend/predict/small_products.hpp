// Products of the small road: sums over rows stay in lanes, sums over columns of a row in one
// accumulator for the even columns and one for the odd. Included by small_kernels.cpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PRODUCTS_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PRODUCTS_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PRODUCTS_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PRODUCTS_HPP
#endif

#include "frontend/predict/small_kernels.hpp"
#include "frontend/predict/small_lanes.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

HWY_INLINE std::size_t firstColumn(const SmallMatrix& a, std::size_t row) {
    return row < a.triangle ? 0 : row - a.triangle;
}

/// Rows `row` to `row + 8` of A·x.
HWY_INLINE Octet panelProduct(const SmallMatrix& a, std::size_t row, const double* x) {
    Octet even = octetOf(0.0);
    Octet odd = even;
    const double* column = a.data + row;
    std::size_t j = firstColumn(a, row);
    for (; j + 2 <= a.cols; j += 2) {
        addTo(even, load(column + j * a.leading), spread(x[j]));
        addTo(odd, load(column + (j + 1) * a.leading), spread(x[j + 1]));
    }
    if (j < a.cols) {
        addTo(even, load(column + j * a.leading), spread(x[j]));
    }
    return plus(even, odd);
}

void multiplyAdd(const SmallMatrix& a, const double* x, const double* b, double* y) {
    for (std::size_t row = 0; row < a.rows; row += OctetLanes) {
        const Octet product = panelProduct(a, row, x);
        store(b == nullptr ? product : plus(product, load(b + row)), y + row);
    }
}

double dot(const double* x, const double* y, std::size_t count) {
    Octet sum = octetOf(0.0);
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        addTo(sum, load(x + i), load(y + i));
    }
    return sumOf(sum);
}

void multiplyTransposed(const SmallMatrix& a, const double* x, double* y) {
    std::size_t j = 0;
    for (; j + 4 <= a.cols; j += 4) {
        const double* const column = a.data + j * a.leading;
        // Columns of a triangle end in the row of their number; between them there are zeros.
        const std::size_t end = a.triangle + j + 4 < a.rows ? a.triangle + j + 4 : a.rows;
        Octet sums[4] = {octetOf(0.0), octetOf(0.0), octetOf(0.0), octetOf(0.0)};
        for (std::size_t i = 0; i < end; i += OctetLanes) {
            const Octet factor = load(x + i);
            for (std::size_t c = 0; c < 4; ++c) {
                addTo(sums[c], load(column + c * a.leading + i), factor);
            }
        }
        for (std::size_t c = 0; c < 4; ++c) {
            y[j + c] = sumOf(sums[c]);
        }
    }
    for (; j < a.cols; ++j) {
        const std::size_t end = a.triangle + j + 1 < a.rows ? a.triangle + j + 1 : a.rows;
        y[j] = dot(a.data + j * a.leading, x, end);
    }
}

void gather(double factor,
            const SmallMatrix& a,
            std::size_t row,
            std::size_t first,
            std::size_t count,
            double* y) {
    const Strided columns(a.leading);
    for (std::size_t j = first; j < count; j += OctetLanes) {
        store(times(columns.at(a.data + row, j, a.cols), octetOf(factor)), y + j);
    }
}

/// y := y + Σ factor_k·(row member_k of A), over members that are rows of it.
void addRows(const SmallMatrix& a,
             const double* member,
             const double* factor,
             std::size_t size,
             std::size_t count,
             double* y) {
    const Strided columns(a.leading);
    for (std::size_t j = 0; j < count; j += OctetLanes) {
        Octet sum = load(y + j);
        for (std::size_t k = 0; k < size; ++k) {
            const auto row = static_cast<std::size_t>(member[k]);
            if (row < a.rows) {
                addTo(sum, columns.at(a.data + row, j, a.cols), spread(factor[k]));
            }
        }
        store(sum, y + j);
    }
}

void addScaled(double alpha, const double* x, double* y, std::size_t count) {
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        Octet sum = load(y + i);
        addTo(sum, load(x + i), spread(alpha));
        store(sum, y + i);
    }
}

constexpr double NoRow = 1e9;

/// The largest so far of each lane, and the rows that they are of.
struct Farthest {
    Octet amount;
    Octet row;

    HWY_INLINE void take(const Octet& violation, double first) {
        for (std::size_t k = 0; k < Parts; ++k) {
            const auto isFarther = hn::Gt(violation.parts[k], amount.parts[k]);
            amount.parts[k] = hn::IfThenElse(isFarther, violation.parts[k], amount.parts[k]);
            row.parts[k] = hn::IfThenElse(isFarther, spread(first), row.parts[k]);
        }
    }

    /// The first one of the largest.
    HWY_INLINE SmallViolation result() const {
        SmallViolation worst{};
        worst.amount = largestLane(amount);
        const Octet lanes = numbersOfLanes();
        Octet first = octetOf(NoRow);
        for (std::size_t k = 0; k < Parts; ++k) {
            const auto isLargest = hn::Eq(amount.parts[k], spread(worst.amount));
            first.parts[k] =
                hn::IfThenElse(isLargest, hn::Add(row.parts[k], lanes.parts[k]), first.parts[k]);
        }
        worst.index = static_cast<std::size_t>(smallestLane(first));
        return worst;
    }
};

SmallViolation price(const SmallMatrix& a,
                     const double* z,
                     const double* lower,
                     const double* upper,
                     const double* weight,
                     double* values) {
    Farthest farthest{octetOf(0.0), octetOf(0.0)};
    const auto judge = [&](const Octet& value, std::size_t row) HWY_ATTR {
        store(value, values + row);
        const Octet below = minus(load(lower + row), value);
        const Octet above = minus(value, load(upper + row));
        farthest.take(times(maximumOf(below, above), load(weight + row)), static_cast<double>(row));
    };
    std::size_t row = 0;
    constexpr std::size_t Group = 4;  // panels that share the entries of z
    for (; row + Group * OctetLanes <= a.triangle; row += Group * OctetLanes) {
        Octet sums[Group] = {octetOf(0.0), octetOf(0.0), octetOf(0.0), octetOf(0.0)};
        const double* column = a.data + row;
        for (std::size_t j = 0; j < a.cols; ++j, column += a.leading) {
            const Part factor = spread(z[j]);
            for (std::size_t k = 0; k < Group; ++k) {
                addTo(sums[k], load(column + k * OctetLanes), factor);
            }
        }
        for (std::size_t k = 0; k < Group; ++k) {
            judge(sums[k], row + k * OctetLanes);
        }
    }
    for (; row < a.rows; row += OctetLanes) {
        judge(panelProduct(a, row, z), row);
    }
    return farthest.result();
}

void rotate(double c, double s, double* x, double* y, std::size_t count) {
    const Octet cosine = octetOf(c);
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        const Octet first = load(x + i);
        const Octet second = load(y + i);
        Octet turned = times(first, cosine);
        takeFrom(turned, second, spread(s));
        store(turned, x + i);
        turned = times(second, cosine);
        addTo(turned, first, spread(s));
        store(turned, y + i);
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
