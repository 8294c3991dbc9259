// What the dual method of the small road leaves: the working set of a problem with penalties, and
// how far its members are from being dependent.
#include <algorithm>
#include <cmath>

#include "frontend/predict/small_dual.hpp"
#include "frontend/proof/certificate.hpp"
#include "frontend/proof/rounded_digits.hpp"

namespace activeset::frontend {

namespace {

// A share of a member in an image that is rounding.
constexpr double NoPartOfImage = 1e-14;

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

bool SmallDual::isNearlyDependent(bool areSidesMissed) {
    const SmallShape& shape = m_.shape;
    if (leastPart() < NearlyDependentImage) {
        return true;
    }
    const std::size_t members = factor_.size();
    bool areIndependent = true;
    for (std::size_t i = 0; i < shape.constraints() && areSidesMissed; ++i) {
        if (isNearSide(i) && !repeatsMember(i)) {
            if (factor_.size() == shape.n) {
                areIndependent = false;
                break;
            }
            gather(i, signOfNearSide(i));
            const double squaredNorm = factor_.project();
            if (squaredNorm >= NearlyDependentImage * NearlyDependentImage) {
                m_.member[factor_.size()] = static_cast<double>(i);
                m_.isEquality[factor_.size()] = isEquality(i) ? 1.0 : 0.0;
                factor_.append(squaredNorm);
            } else {
                areIndependent = false;
            }
        }
    }
    const bool isDependent = !areIndependent && !isWayInShort();
    while (factor_.size() > members) {
        factor_.remove(factor_.size() - 1, m_.r);
    }
    return isDependent;
}

// The sides near the point that are no members, and their images.
std::vector<SmallDual::NearSide> SmallDual::nearSides() {
    std::vector<NearSide> sides;
    for (std::size_t i = 0; i < m_.shape.constraints(); ++i) {
        if (isNearSide(i)) {
            gather(i, signOfNearSide(i));
            sides.push_back({.image = {m_.g, m_.g + m_.shape.head()}});
            sides.back().isMissed = isBeyond(i, NegligibleMiss, 0.0, 0.0);
        }
    }
    return sides;
}

// memory.r := Tᵀ·members; to := Q·r, the step among the images that leads so deep into the members.
void SmallDual::leadInto(const double* members, double* to) {
    m_.kernels.multiplyTransposed(factor_.inverse(), members, m_.r);
    m_.kernels.multiplyAdd(factor_.orthogonal(), m_.r, nullptr, to);
}

// The way that raises the depth in a side leads into the members that are inequalities, as deep as
// their shares in its image are positive.
void SmallDual::findWay(NearSide& side) {
    m_.kernels.multiplyTransposed(factor_.orthogonal(), side.image.data(), m_.r);
    m_.kernels.multiplyAdd(factor_.inverse(), m_.r, nullptr, m_.p);
    bool areOpposite = true;
    bool areNone = true;
    for (std::size_t k = 0; k < factor_.size(); ++k) {
        const bool isEqual = m_.isEquality[k] != 0.0;
        const double share = isEqual ? 0.0 : m_.p[k];
        areOpposite = areOpposite && (isEqual || share <= -NearlyDependentImage);
        areNone = areNone && std::abs(share) <= NoPartOfImage;
        m_.p[k] = std::max(0.0, share);
        side.slope += m_.p[k] * share;
    }
    side.isHeld = factor_.size() == m_.shape.n && (areOpposite || (areNone && !side.isMissed));
    side.way.resize(m_.shape.head());
    leadInto(m_.p, side.way.data());
}

// memory.z: a step that leads into all members that are inequalities, then into the other sides,
// whose images the members combine to. At a vertex a side opposite to all members that are
// inequalities, and clearly so, holds x where it is: no feasible point is farther away than what is
// missed. So does one that depends on equalities alone and is met: what misses it may be the
// rounding of a small difference, too. Where no way is found for others, sides
// hold x from all around, if by slight differences: these count as the rounding of entries that
// look rounded.
bool SmallDual::isWayInShort() {
    constexpr int MostRounds = 32;
    const std::size_t head = m_.shape.head();
    const std::size_t size = factor_.size();
    std::fill_n(m_.step, SmallShape::upTo(size, 8), 0.0);
    std::transform(m_.isEquality, m_.isEquality + size, m_.step,
                   [](double held) { return 1.0 - held; });
    leadInto(m_.step, m_.z);
    std::vector<NearSide> sides = nearSides();
    bool isEnough = false;
    for (int round = 0; round < MostRounds && !isEnough; ++round) {
        isEnough = true;
        for (NearSide& side : sides) {
            const double depth = m_.kernels.dot(side.image.data(), m_.z, head);
            if (depth >= NearlyDependentImage) {
                continue;
            }
            if (side.way.empty()) {
                findWay(side);
            }
            if (side.isHeld) {
                continue;
            }
            if (!(side.slope > NearlyDependentImage)) {
                return false;
            }
            isEnough = false;
            m_.kernels.addScaled((1.0 - depth) / side.slope, side.way.data(), m_.z, head);
        }
    }
    return isEnough ? isWayOpen() : areRowsRounded();
}

bool SmallDual::areRowsRounded() const {
    const SmallShape& shape = m_.shape;
    const double* const rows = m_.data + shape.head();
    bool areRounded = false;
    for (std::size_t i = 0; i < shape.m && !areRounded; ++i) {
        const bool isAtSide = m_.multipliers[i] != 0.0 || isNearSide(i);
        for (std::size_t j = 0; j < shape.n && isAtSide && !areRounded; ++j) {
            areRounded = looksRounded(rows[j * shape.height() + i]);
        }
    }
    return areRounded;
}

// Whether memory.z is short, and what is missed so little that it reaches no other side. All is
// measured in the space of the images.
bool SmallDual::isWayOpen() {
    const SmallShape& shape = m_.shape;
    const double length =
        std::sqrt(m_.kernels.dot(m_.z, m_.z, shape.head())) / NearlyDependentImage;
    double missed = 0.0;
    double room = Infinity;
    for (std::size_t i = 0; i < shape.constraints(); ++i) {
        if (m_.inverseNorm[i] == 0.0) {
            continue;
        }
        const double below = m_.inverseNorm[i] * (valueOf(i) - m_.lower[i]);
        const double above = m_.inverseNorm[i] * (m_.upper[i] - valueOf(i));
        missed = std::max({missed, -below, -above});
        const bool isAtSide = m_.multipliers[i] != 0.0 || isNearSide(i);
        if (!isEquality(i)) {
            room = std::min(room, isAtSide ? std::max(below, above) : std::min(below, above));
        }
    }
    return length * NearlyDependentImage * NearlyDependentImage < 1.0 && length * missed < room;
}

// From products as the last judgement has left them.
SmallDual::Place SmallDual::placeOf(std::size_t i) const {
    const std::size_t rows = m_.shape.rows();
    const std::size_t row = m_.shape.head() + i;
    return i < rows ? Place{m_.products.value[row], m_.products.rest[row], m_.products.scale[row]}
                    : Place{m_.x[i - rows], 0.0, std::abs(m_.x[i - rows])};
}

double SmallDual::valueOf(std::size_t i) const {
    const Place place = placeOf(i);
    return place.value + place.rest;
}

double SmallDual::signOfNearSide(std::size_t i) const {
    const double value = valueOf(i);
    return std::abs(m_.upper[i] - value) <= std::abs(value - m_.lower[i]) ? 1.0 : -1.0;
}

// One without a multiplier, which the point in the memory is near, or misses.
bool SmallDual::isNearSide(std::size_t i) const {
    return m_.multipliers[i] == 0.0 &&
           touches(valueOf(i), placeOf(i).scale, m_.lower[i], m_.upper[i]);
}

}  // namespace activeset::frontend
