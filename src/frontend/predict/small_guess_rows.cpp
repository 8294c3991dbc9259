// What the guess of the small road learns from rows that cannot all be held: they contradict one
// another, or one of them can be spared.
#include <algorithm>

#include "frontend/predict/dependent_rows.hpp"
#include "frontend/predict/small_guess.hpp"
#include "frontend/predict/small_proof.hpp"

namespace activeset::frontend {

// memory.multipliers := the weights, by row, with the sign by which they contradict. memory.u is
// scratch.
bool SmallGuess::doContradict(const double* weights) {
    const SmallShape& shape = m_.shape;
    if (R_.empty()) {
        return false;
    }
    std::fill_n(m_.u, shape.head(), 0.0);
    m_.kernels.addRows(m_.rowsOfA(), m_.member, weights, R_.size(), shape.head(), m_.u);
    std::fill_n(m_.multipliers, shape.m, 0.0);
    for (std::size_t k = 0; k < R_.size(); ++k) {
        m_.multipliers[R_[k]] = weights[k];
    }
    const int sign = signOfContradiction(constraintsOf(m_), m_.multipliers, m_.u);
    std::for_each_n(m_.multipliers, shape.m, [&](double& y) { y *= sign; });
    return sign != 0;
}

// This is asked in every round. The multipliers grow from round to round where there is no point.
bool SmallGuess::doMultipliersContradict() {
    const SmallShape& shape = m_.shape;
    if (R_.empty()) {
        return false;
    }
    std::fill_n(m_.multipliers, shape.rows(), 0.0);
    for (std::size_t k = 0; k < R_.size(); ++k) {
        m_.multipliers[R_[k]] = m_.lambda[k];
    }
    return doBoundsContradict(m_);
}

std::vector<double> SmallGuess::missesOfRows() const {
    std::vector<double> misses;
    for (const std::size_t i : R_) {
        misses.push_back(sides_[i] == Side::Both ? Infinity : targetOf(i) - m_.values[i]);
    }
    return misses;
}

SmallGuess::Rows SmallGuess::holdRows() {
    while (!factoriseRows()) {
        Dense columns(F_.size(), R_.size());
        for (std::size_t k = 0; k < R_.size(); ++k) {
            for (std::size_t i = 0; i < F_.size(); ++i) {
                columns(i, k) = m_.data[F_[i] * m_.shape.height() + m_.shape.head() + R_[k]];
            }
        }
        const std::vector<Vector> dependences = dependencesOf(columns);
        if (std::ranges::any_of(dependences,
                                [&](const Vector& d) { return doContradict(d.data()); })) {
            return Rows::Contradict;
        }
        const std::size_t spared =
            dependences.empty() ? R_.size() : sparedOf(dependences.front(), missesOfRows());
        if (spared == R_.size()) {
            return Rows::Dependent;
        }
        sides_[R_[spared]] = Side::None;
        listMembers();
    }
    return Rows::Held;
}

}  // namespace activeset::frontend
