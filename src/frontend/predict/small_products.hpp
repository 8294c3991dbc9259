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

/// The columns of a matrix whose entry of x is not zero; the others add nothing to A·x.
class NonzeroColumns {
public:
    HWY_INLINE NonzeroColumns(const SmallMatrix& a, const double* x) {
        for (std::size_t j = 0; j < a.cols; ++j) {
            offsets_[count_] = j * a.leading;
            factors_[count_] = x[j];
            count_ += x[j] != 0.0 ? 1U : 0U;
        }
    }
    [[nodiscard]] HWY_INLINE std::size_t count() const { return count_; }
    [[nodiscard]] HWY_INLINE std::size_t offset(std::size_t k) const { return offsets_[k]; }
    [[nodiscard]] HWY_INLINE Part factor(std::size_t k) const { return spread(factors_[k]); }

private:
    std::size_t count_ = 0;
    std::size_t offsets_[MostSmallColumns];
    double factors_[MostSmallColumns];
};

/// Panels of eight rows that share the entries of x: as many as there are registers for.
constexpr std::size_t MostPanels = Parts == 1 ? 4 : Parts == 2 ? 2 : 1;

/// A·x from a row on, in panels, with one sum for the even columns and one for the odd.
template <std::size_t Panels>
HWY_INLINE void panelProducts(const SmallMatrix& a,
                              std::size_t row,
                              const double* x,
                              Octet (&products)[Panels]) {
    Octet odd[Panels];
    const auto addPair = [&](std::size_t k, std::size_t j) HWY_ATTR {
        const double* const column = a.data + j * a.leading + row + k * OctetLanes;
        addTo(products[k], load(column), spread(x[j]));
        addTo(odd[k], load(column + a.leading), spread(x[j + 1]));
    };
    // Below the first row of a triangle the panels begin in different columns.
    std::size_t j = firstColumn(a, row + (Panels - 1) * OctetLanes);
    for (std::size_t k = 0; k < Panels; ++k) {
        products[k] = odd[k] = octetOf(0.0);
        for (std::size_t i = firstColumn(a, row + k * OctetLanes); i < j; i += 2) {
            addPair(k, i);
        }
    }
    for (; j + 2 <= a.cols; j += 2) {
        for (std::size_t k = 0; k < Panels; ++k) {
            addPair(k, j);
        }
    }
    for (std::size_t k = 0; k < Panels; ++k) {
        if (j < a.cols) {
            addTo(products[k], load(a.data + j * a.leading + row + k * OctetLanes), spread(x[j]));
        }
        products[k] = plus(products[k], odd[k]);
    }
}

/// Hands the rows of A·x from a row on to take(eight of them, the first one's number).
template <std::size_t Panels, class Take>
HWY_INLINE void eachPanel(const SmallMatrix& a, std::size_t row, const double* x, Take take) {
    for (; row + Panels * OctetLanes <= a.rows; row += Panels * OctetLanes) {
        Octet products[Panels];
        panelProducts(a, row, x, products);
        for (std::size_t k = 0; k < Panels; ++k) {
            take(products[k], row + k * OctetLanes);
        }
    }
    if constexpr (Panels > 1) {
        eachPanel<Panels / 2>(a, row, x, take);
    }
}

void multiplyAdd(const SmallMatrix& a, const double* x, const double* b, double* y) {
    eachPanel<MostPanels>(a, 0, x, [&](const Octet& product, std::size_t row) HWY_ATTR {
        store(b == nullptr ? product : plus(product, load(b + row)), y + row);
    });
}

/// y := y + A·x from a row on, by the columns whose entry of x is not zero.
template <std::size_t Panels>
HWY_INLINE void addToPanels(const SmallMatrix& a,
                            std::size_t row,
                            const NonzeroColumns& columns,
                            double* y) {
    for (; row + Panels * OctetLanes <= a.rows; row += Panels * OctetLanes) {
        Octet sums[Panels];
        for (std::size_t p = 0; p < Panels; ++p) {
            sums[p] = load(y + row + p * OctetLanes);
        }
        for (std::size_t k = 0; k < columns.count(); ++k) {
            const double* const column = a.data + columns.offset(k) + row;
            for (std::size_t p = 0; p < Panels; ++p) {
                addTo(sums[p], load(column + p * OctetLanes), columns.factor(k));
            }
        }
        for (std::size_t p = 0; p < Panels; ++p) {
            store(sums[p], y + row + p * OctetLanes);
        }
    }
    if constexpr (Panels > 1) {
        addToPanels<Panels / 2>(a, row, columns, y);
    }
}

void addColumns(const SmallMatrix& a, const double* x, double* y) {
    addToPanels<2 * MostPanels>(a, 0, NonzeroColumns(a, x), y);
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
        double rows[OctetLanes];
        store(row, rows);
        std::size_t count = 0;
        std::size_t lane = 0;
        for (std::size_t k = 0; k < Parts; ++k) {
            const auto isLargest = hn::Eq(amount.parts[k], spread(worst.amount));
            const std::size_t inPart = hn::CountTrue(Octet::Tag(), isLargest);
            if (inPart > 0) {
                lane = k * Octet::PartLanes +
                       static_cast<std::size_t>(hn::FindFirstTrue(Octet::Tag(), isLargest));
            }
            count += inPart;
        }
        worst.index = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(rows[lane])) + lane;
        return count == 1 ? worst : firstOf(worst.amount);
    }

    /// The same where several lanes have it.
    HWY_INLINE SmallViolation firstOf(double largest) const {
        const Octet lanes = numbersOfLanes();
        Octet first = octetOf(NoRow);
        for (std::size_t k = 0; k < Parts; ++k) {
            const auto isLargest = hn::Eq(amount.parts[k], spread(largest));
            first.parts[k] =
                hn::IfThenElse(isLargest, hn::Add(row.parts[k], lanes.parts[k]), first.parts[k]);
        }
        return {largest, static_cast<std::size_t>(smallestLane(first))};
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
    eachPanel<MostPanels>(a, row, z, judge);
    return farthest.result();
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
