// A product and its error by FMA, sums by Knuth's two-sum with their errors summed beside them
// (Ogita, Rump, Oishi 2005, Accurate sum and dot product, there Dot2), eight sums at a time.
//
// Each sum takes its terms one by one, in the order of the columns or rows, whatever the order in
// which the matrix is read; so that order is free to suit the caches. Only the dot products of long
// columns are sums of eight partial sums, joined by halves.
#include "frontend/algebra/exact_products.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frontend/algebra/exact_products.cpp"
#include "frontend/algebra/each_set.hpp"
#include "frontend/algebra/octet_sums.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

/// Up to 64 entries of a vector, the next ones that are not zero.
struct Entries {
    static constexpr std::size_t Most = 64;

    std::size_t places[Most];
    double values[Most];
    std::size_t count;
    bool areFirst;
    bool areLast;
};

HWY_INLINE void takeNext(Entries& entries,
                         const double* vector,
                         std::size_t length,
                         std::size_t most,
                         std::size_t& next) {
    entries.areFirst = next == 0;
    entries.count = 0;
    for (; next < length && entries.count < most; ++next) {
        entries.places[entries.count] = next;
        entries.values[entries.count] = vector[next];
        entries.count += vector[next] != 0.0 ? 1U : 0U;
    }
    entries.areLast = next == length;
}

/// Adds the terms of some entries to up to eight sums, from sum k on. termsOf(e) returns the
/// factors that belong to entry e. False where a finished sum is out of range.
template <class Terms>
HWY_INLINE bool addTerms(const Entries& entries,
                         const Terms& termsOf,
                         const SumsView& sums,
                         std::size_t k,
                         std::size_t count) {
    Eight eight = entries.areFirst ? noSums() : loadSums(sums, k, count);
    for (std::size_t e = 0; e < entries.count; ++e) {
        addProduct(eight, termsOf(e), octetOf(entries.values[e]));
    }
    if (entries.areLast) {
        return finish(eight, sums, k, count);
    }
    storeSums(eight, sums, k, count);
    return true;
}

/// sums += a·x for the columns of a that belong to the entries.
HWY_INLINE bool addColumns(const ColumnMajor& a, const Entries& x, const SumsView& sums) {
    bool isInRange = true;
    std::size_t i = 0;
    for (; i + OctetLanes <= a.rows; i += OctetLanes) {
        const auto terms = [&](std::size_t e)
                               HWY_ATTR { return load(a.data + i + x.places[e] * a.ld); };
        isInRange = addTerms(x, terms, sums, i, OctetLanes) && isInRange;
    }
    if (const std::size_t rest = a.rows - i; rest != 0) {
        const auto terms = [&](std::size_t e) HWY_ATTR {
            return loadFirst(a.data + i + x.places[e] * a.ld, rest);
        };
        isInRange = addTerms(x, terms, sums, i, rest) && isInRange;
    }
    return isInRange;
}

bool product(const ColumnMajor& a, const double* x, const SumsView& sums) {
    // As many columns at a time as fit into the nearest cache, or as the processor reads ahead.
    constexpr std::size_t NearbyEntries = 4096;
    constexpr std::size_t ReadAhead = 8;
    const std::size_t most = a.rows * Entries::Most <= NearbyEntries ? Entries::Most : ReadAhead;
    Entries entries;  // NOLINT(cppcoreguidelines-pro-type-member-init): takeNext fills it
    std::size_t next = 0;
    bool isInRange = true;
    do {
        takeNext(entries, x, a.cols, most, next);
        isInRange = addColumns(a, entries, sums) && isInRange;
    } while (!entries.areLast);
    return isInRange;
}

/// sums += aᵀ·y for the rows of a that belong to the entries. The rows are copied first, eight
/// entries at a time.
HWY_INLINE bool addRows(const ColumnMajor& a, const Entries& y, const SumsView& sums) {
    HWY_ALIGN double rows[Entries::Most * OctetLanes];
    const auto terms = [&](std::size_t e) HWY_ATTR { return load(rows + e * OctetLanes); };
    bool isInRange = true;
    for (std::size_t j = 0; j < a.cols; j += OctetLanes) {
        const std::size_t count = a.cols - j < OctetLanes ? a.cols - j : OctetLanes;
        const double* columns[OctetLanes];
        for (std::size_t lane = 0; lane < OctetLanes; ++lane) {
            // Lanes beyond the last column repeat it.
            columns[lane] = a.data + (j + (lane < count ? lane : count - 1)) * a.ld;
        }
        for (std::size_t e = 0; e < y.count; ++e) {
            for (std::size_t lane = 0; lane < OctetLanes; ++lane) {
                rows[e * OctetLanes + lane] = columns[lane][y.places[e]];
            }
        }
        isInRange = addTerms(y, terms, sums, j, count) && isInRange;
    }
    return isInRange;
}

/// Takes eight columns at a time; the sum of each column is joined from eight partial sums.
HWY_INLINE bool columnByColumn(const ColumnMajor& a, const double* y, const SumsView& sums) {
    bool isInRange = true;
    for (std::size_t j = 0; j < a.cols; j += OctetLanes) {
        const std::size_t count = a.cols - j < OctetLanes ? a.cols - j : OctetLanes;
        for (std::size_t lane = j; lane < j + count; ++lane) {
            const auto one = joined(joined(joined(dot(a.data + lane * a.ld, y, a.rows))));
            store(one.value, sums.value + lane);
            store(one.errors, sums.rest + lane);
            store(one.scale, sums.scale + lane);
        }
        Eight eight = loadSums(sums, j, count);
        isInRange = finish(eight, sums, j, count) && isInRange;
    }
    return isInRange;
}

bool transposed(const ColumnMajor& a, const double* y, const SumsView& sums) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.rows; ++i) {
        count += y[i] != 0.0 ? 1U : 0U;
    }
    // Copying a row costs twice as much as summing it; joining eight sums costs four terms.
    if (3 * count > a.rows + 30) {
        return columnByColumn(a, y, sums);
    }
    Entries entries;  // NOLINT(cppcoreguidelines-pro-type-member-init): takeNext fills it
    std::size_t next = 0;
    bool isInRange = true;
    do {
        takeNext(entries, y, a.rows, Entries::Most, next);
        isInRange = addRows(a, entries, sums) && isInRange;
    } while (!entries.areLast);
    return isInRange;
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <cmath>

namespace activeset::frontend {

namespace {

/// Forms sum k anew in long double, whose exponents reach farther on most processors.
void sumWidely(const double* a,
               std::size_t stride,
               const double* b,
               std::size_t count,
               const SumsView& sums,
               std::size_t k) {
    using Wide = long double;
    Wide value = 0;
    Wide errors = 0;
    Wide scale = 0;
    const auto errorOf = [](Wide before, Wide term, Wide sum) {
        const Wide ofTerm = sum - before;
        return (before - (sum - ofTerm)) + (term - ofTerm);
    };
    for (std::size_t i = 0; i < count; ++i) {
        if (b[i] != 0.0) {
            const Wide term = static_cast<Wide>(a[i * stride]) * b[i];
            const Wide sum = value + term;
            errors += errorOf(value, term, sum) +
                      std::fma(static_cast<Wide>(a[i * stride]), static_cast<Wide>(b[i]), -term);
            value = sum;
            scale += std::abs(term);
        }
    }
    const Wide sum = value + errors;
    sums.value[k] = static_cast<double>(sum);
    sums.rest[k] = static_cast<double>((sum - sums.value[k]) + errorOf(value, errors, sum));
    sums.scale[k] = static_cast<double>(scale);
}

const ExactProducts& chosenProducts() {
    static const ExactProducts chosen = exactProducts(instructionSet());
    return chosen;
}

}  // namespace

ExactProducts exactProducts(InstructionSet set) {
    return {ACTIVESET_CHOOSE(set, product), ACTIVESET_CHOOSE(set, transposed)};
}

void exactProduct(const ColumnMajor& a, const double* x, const SumsView& sums) {
    if (!chosenProducts().product(a, x, sums)) {
        for (std::size_t i = 0; i < a.rows; ++i) {
            sumWidely(a.data + i, a.ld, x, a.cols, sums, i);
        }
    }
}

void exactTransposedProduct(const ColumnMajor& a, const double* y, const SumsView& sums) {
    if (!chosenProducts().transposed(a, y, sums)) {
        for (std::size_t j = 0; j < a.cols; ++j) {
            sumWidely(a.data + j * a.ld, 1, y, a.rows, sums, j);
        }
    }
}

}  // namespace activeset::frontend
#endif
