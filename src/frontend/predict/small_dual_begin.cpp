// Where the dual method of the small road begins: with which members, and with which factor of
// them.
#include <algorithm>
#include <cmath>

#include "frontend/predict/small_dual.hpp"

namespace activeset::frontend {

void SmallDual::joinUnlessDependent(std::size_t i, double sign) {
    if (factor_.size() < m_.shape.n && m_.inverseNorm[i] > 0.0) {
        gather(i, sign);
        const double squaredNorm = factor_.project();
        if (squaredNorm > TooCloseImage * TooCloseImage) {
            join(i, sign, squaredNorm, 0.0);
        }
    }
}

void SmallDual::dropWrongSigns() {
    formCoefficients();
    formMultipliers();
    dropped_ = steps_ = 0;
    for (bool hasDropped = true; hasDropped && dropped_ <= mostChanges_;) {
        hasDropped = false;
        for (std::size_t k = factor_.size(); k-- > 0;) {
            if (m_.isEquality[k] == 0.0 && m_.lambda[k] < 0.0) {
                leave(k);
                ++dropped_;
                hasDropped = true;
            }
        }
        if (hasDropped) {
            formMultipliers();
        }
    }
    formPoint();
}

void SmallDual::begin(const WorkingSet& set) {
    const SmallShape& shape = m_.shape;
    factor_.clear();
    for (std::size_t i = 0, left = m_.equalities; left > 0; ++i) {
        if (isEquality(i)) {
            joinUnlessDependent(i, 1.0);
            --left;
        }
    }
    const auto take = [&](const std::vector<std::size_t>& indices, std::size_t first,
                          std::size_t count, double sign) {
        for (const std::size_t index : indices) {
            const std::size_t i = first + index;
            if (index < count && !isEquality(i) &&
                std::isfinite(sign > 0.0 ? m_.upper[i] : m_.lower[i])) {
                joinUnlessDependent(i, sign);
            }
        }
    };
    take(set.rowsAtLower, 0, shape.m, -1.0);
    take(set.rowsAtUpper, 0, shape.m, 1.0);
    take(set.atLower, shape.rows(), shape.n, -1.0);
    take(set.atUpper, shape.rows(), shape.n, 1.0);
    dropWrongSigns();
}

bool SmallDual::beginAgain() {
    std::size_t equalities = m_.equalities;
    for (std::size_t k = factor_.size(); k-- > 0;) {
        const std::size_t i = constraintOf(k);
        const double side = m_.sign[k] > 0.0 ? m_.upper[i] : m_.lower[i];
        if ((m_.isEquality[k] != 0.0) != isEquality(i)) {
            return false;
        }
        equalities -= isEquality(i) ? 1U : 0U;
        m_.target[k] = m_.sign[k] * m_.inverseNorm[i] * side;
        if (!std::isfinite(side)) {
            leave(k);
        }
    }
    if (equalities == 0) {
        dropWrongSigns();
    }
    return equalities == 0;
}

void SmallDual::beginWithinCaps(const WorkingSet& set) {
    begin(set);
    bool areWithin = true;
    for (std::size_t k = 0; k < factor_.size(); ++k) {
        areWithin = areWithin && (m_.isEquality[k] != 0.0 ||
                                  m_.lambda[k] <= caps_.of(constraintOf(k), m_.sign[k]));
    }
    if (!areWithin) {
        begin({});
    }
}

bool SmallDual::beginsAtOptimum() {
    begin({});
    const std::size_t rows = m_.shape.rows();
    const std::size_t head = m_.shape.head();
    SmallMatrix inverse = images();
    inverse.data += rows;
    inverse.rows = head;
    inverse.triangle = 0;
    double* const x = m_.values + rows;
    double* const missed = m_.multipliers;
    m_.kernels.multiplyAdd(inverse, m_.z, nullptr, x);
    if (m_.kernels.misses(x, nullptr, m_.lowest + rows, m_.highest + rows, head, missed)) {
        return false;
    }
    // Part by part, because mostly there is one beyond its side.
    constexpr std::size_t RowsAtOnce = 32;
    SmallMatrix part = m_.rowsOfA();
    bool areMet = true;
    for (std::size_t i = 0; i < rows && areMet; i += RowsAtOnce, part.data += RowsAtOnce) {
        part.rows = std::min(RowsAtOnce, rows - i);
        m_.kernels.multiplyAdd(part, x, nullptr, m_.values + i);
        areMet = !m_.kernels.misses(m_.values + i, nullptr, m_.lowest + i, m_.highest + i,
                                    part.rows, missed);
    }
    return areMet;
}

// Of the same members, and what follows from it.
void SmallDual::renewFactor() {
    const std::size_t size = factor_.size();
    factor_.clear();
    for (std::size_t k = 0; k < size; ++k) {
        gather(constraintOf(k), m_.sign[k]);
        factor_.append(factor_.project());
    }
    const std::size_t dropped = dropped_;
    const std::size_t steps = steps_;
    dropWrongSigns();
    dropped_ += dropped;
    steps_ = steps;
}

}  // namespace activeset::frontend
