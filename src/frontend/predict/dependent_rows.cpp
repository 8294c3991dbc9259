// Dependences come out of a QR factorisation with pivoting: the columns behind its rank.
#include "frontend/predict/dependent_rows.hpp"

#include <cmath>

#include "activeset/qp.hpp"
#include "frontend/algebra/exact_products.hpp"
#include "frontend/algebra/pivoted_qr.hpp"

namespace activeset::frontend {

namespace {

/// Brings the sum of the weighed columns nearer to zero by the weights of those before the rank.
void correct(const PivotedQr& qr, const Dense& columns, Vector& weights) {
    Vector sums(3 * columns.rows);
    exactProduct({columns.values.data(), columns.rows, columns.cols, columns.rows}, weights.data(),
                 {sums.data(), sums.data() + columns.rows, sums.data() + 2 * columns.rows});
    qr.applyTransposed(sums.data());
    qr.solve(sums.data());
    for (std::size_t i = 0; i < qr.rank(); ++i) {
        weights[qr.pivot(i)] -= sums[i];
    }
}

}  // namespace

std::vector<Vector> dependencesOf(const Dense& rows) {
    const std::size_t count = rows.cols;
    std::vector<Vector> dependences;
    if (rows.rows == 0) {
        for (std::size_t k = 0; k < count; ++k) {
            dependences.emplace_back(count, 0.0)[k] = 1.0;
        }
        return dependences;
    }
    const PivotedQr qr(rows);
    for (std::size_t k = qr.rank(); k < count; ++k) {
        Vector& weights = dependences.emplace_back(count, 0.0);
        weights[qr.pivot(k)] = 1.0;
        correct(qr, rows, weights);
        correct(qr, rows, weights);  // for what rounding has left of the sum
    }
    return dependences;
}

std::size_t sparedOf(const Vector& dependence, const Vector& misses) {
    constexpr double NegligibleWeight = 1e-9;
    const double negligible = NegligibleWeight * largestMagnitude(dependence);
    std::size_t spared = dependence.size();
    double least = Infinity;
    for (std::size_t k = 0; k < dependence.size(); ++k) {
        const double miss = std::abs(dependence[k] * misses[k]);
        if (std::abs(dependence[k]) > negligible && miss < least) {
            least = miss;
            spared = k;
        }
    }
    return spared;
}

}  // namespace activeset::frontend
