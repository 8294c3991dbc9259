// What the dual method of the small road leaves: the working set of a problem with penalties, and
// how far its members are from being dependent.
#include <algorithm>
#include <cmath>

#include "frontend/predict/small_dual.hpp"

namespace activeset::frontend {

namespace {

// What is left of an image, its norm 1, beside the members.
constexpr double NearlyDependentImage = 1e-4;

/// Of rows, or of variables.
struct WorkingSetLists {
    std::vector<std::size_t>& equal;
    std::vector<std::size_t>& atLower;
    std::vector<std::size_t>& atUpper;
    std::vector<std::size_t>& belowLower;
    std::vector<std::size_t>& aboveUpper;
};

}  // namespace

WorkingSet SmallDual::softSet() const {
    const SmallShape& shape = m_.shape;
    WorkingSet set;
    std::fill_n(m_.values, shape.constraints(), 0.0);
    for (std::size_t k = 0; k < factor_.size(); ++k) {
        m_.values[constraintOf(k)] = m_.sign[k];
    }
    const auto list = [&](std::size_t first, std::size_t count, WorkingSetLists lists) {
        for (std::size_t k = 0; k < count; ++k) {
            const std::size_t i = first + k;
            const int beyond = caps_.beyond(i);
            const double held = m_.values[i];
            if (held == 0.0 && beyond != 0) {
                (beyond > 0 ? lists.aboveUpper : lists.belowLower).push_back(k);
            } else if (held != 0.0 && isEquality(i)) {
                lists.equal.push_back(k);
            } else if (held != 0.0) {
                // A side that is turned round is held from beyond.
                const bool isUpper = beyond != 0 ? beyond > 0 : held > 0.0;
                (isUpper ? lists.atUpper : lists.atLower).push_back(k);
            }
        }
    };
    ViolatedSides& soft = set.softViolated;
    list(0, shape.m,
         {set.equalities, set.rowsAtLower, set.rowsAtUpper, soft.rowsAtLower, soft.rowsAtUpper});
    list(shape.rows(), shape.n, {set.fixed, set.atLower, set.atUpper, soft.atLower, soft.atUpper});
    return set;
}

// The same row, and the same sides.
bool SmallDual::repeatsMember(std::size_t i) const {
    const SmallShape& shape = m_.shape;
    const double* const rows = m_.data + shape.head();
    const auto isSame = [&](double member) {
        const auto other = static_cast<std::size_t>(member);
        bool areEqual = i < shape.m && other < shape.m && m_.lower[i] == m_.lower[other] &&
                        m_.upper[i] == m_.upper[other];
        for (std::size_t j = 0; j < shape.n && areEqual; ++j) {
            areEqual = rows[j * shape.height() + i] == rows[j * shape.height() + other];
        }
        return areEqual;
    };
    return std::any_of(m_.member, m_.member + factor_.size(), isSame);
}

double SmallDual::leastPart() const {
    double largest = 1.0;
    for (std::size_t k = 0; k < factor_.size(); ++k) {
        // Rotations have turned signs round.
        largest = std::max(largest, std::abs(m_.T[k * (m_.shape.head() + 1)]));
    }
    return 1.0 / largest;
}

bool SmallDual::isNearlyDependent() {
    const SmallShape& shape = m_.shape;
    if (leastPart() < NearlyDependentImage) {
        return true;
    }
    const double* const value = m_.products.value + shape.head();
    const double* const rest = m_.products.rest + shape.head();
    for (std::size_t i = 0; i < shape.constraints() && factor_.size() < shape.n; ++i) {
        const bool isRow = i < shape.rows();
        const double at = isRow ? value[i] : m_.x[i - shape.rows()];
        const double more = isRow ? rest[i] : 0.0;
        const bool isMissed = (m_.lower[i] - at) - more > 0.0 || (at - m_.upper[i]) + more > 0.0;
        if (isMissed && m_.multipliers[i] == 0.0 && !repeatsMember(i)) {
            gather(i, 1.0);
            if (factor_.project() < NearlyDependentImage * NearlyDependentImage) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace activeset::frontend
