// Products of the small road: sums over rows stay in lanes, sums over columns of a row in one
// accumulator for the even columns and one for the odd.
#include "frontend/predict/small_kernels.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frontend/predict/small_kernels.cpp"
#include "frontend/algebra/each_set.hpp"
#include "frontend/predict/small_lanes.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

HWY_INLINE std::size_t firstColumn(const SmallMatrix& a, std::size_t row) {
    return row < a.triangle ? 0 : row - a.triangle;
}

double copy(const double* from, std::size_t count, double* to, std::size_t padded) {
    Octet largest = octetOf(0.0);
    Octet zeros = octetOf(0.0);
    std::size_t i = 0;
    for (; i + OctetLanes <= count; i += OctetLanes) {
        const Octet values = load(from + i);
        store(values, to + i);
        largest = largerOf(magnitudeOf(values), largest);
        addTo(zeros, values, spread(0.0));
    }
    if (i < count) {
        const Octet values = loadFirst(from + i, count - i);
        store(values, to + i);
        largest = largerOf(magnitudeOf(values), largest);
        addTo(zeros, values, spread(0.0));
        i += OctetLanes;
    }
    for (; i < padded; i += OctetLanes) {
        store(octetOf(0.0), to + i);
    }
    double lanes[OctetLanes];
    store(largest, lanes);
    double result = 0.0;
    for (const double lane : lanes) {
        result = lane > result ? lane : result;
    }
    return result + sumOf(zeros);
}

void squaredNorms(const SmallMatrix& a, double* y) {
    for (std::size_t row = 0; row < a.rows; row += OctetLanes) {
        Octet sum = octetOf(0.0);
        for (std::size_t j = firstColumn(a, row); j < a.cols; ++j) {
            const Octet values = load(a.data + j * a.leading + row);
            addTo(sum, values, values);
        }
        store(sum, y + row);
    }
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

void addScaled(double alpha, const double* x, double* y, std::size_t count) {
    for (std::size_t i = 0; i < count; i += OctetLanes) {
        Octet sum = load(y + i);
        addTo(sum, load(x + i), spread(alpha));
        store(sum, y + i);
    }
}

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

    HWY_INLINE SmallViolation result() const {
        double amounts[OctetLanes];
        double rows[OctetLanes];
        store(amount, amounts);
        store(row, rows);
        SmallViolation worst;
        for (std::size_t k = 0; k < OctetLanes; ++k) {
            const std::size_t index = static_cast<std::size_t>(rows[k]) + k;
            if (amounts[k] > worst.amount || (amounts[k] == worst.amount && index < worst.index)) {
                worst.amount = amounts[k];
                worst.index = index;
            }
        }
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
        farthest.take(times(largerOf(below, above), load(weight + row)), static_cast<double>(row));
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

#if HWY_ONCE
namespace activeset::frontend {

void chooseProducts(InstructionSet set, SmallKernels& kernels) {
    kernels.copy = ACTIVESET_CHOOSE(set, copy);
    kernels.squaredNorms = ACTIVESET_CHOOSE(set, squaredNorms);
    kernels.multiplyAdd = ACTIVESET_CHOOSE(set, multiplyAdd);
    kernels.multiplyTransposed = ACTIVESET_CHOOSE(set, multiplyTransposed);
    kernels.dot = ACTIVESET_CHOOSE(set, dot);
    kernels.addScaled = ACTIVESET_CHOOSE(set, addScaled);
    kernels.price = ACTIVESET_CHOOSE(set, price);
    kernels.rotate = ACTIVESET_CHOOSE(set, rotate);
}

SmallKernels smallKernels(InstructionSet set) {
    SmallKernels chosen{};
    chooseImages(set, chosen);
    chooseProducts(set, chosen);
    chooseExactSums(set, chosen);
    return chosen;
}

const SmallKernels& smallKernels() {
    static const SmallKernels kernels = smallKernels(instructionSet());
    return kernels;
}

}  // namespace activeset::frontend
#endif
