// Goldfarb and Idnani's method in least-distance form (Arnström, Bemporad and Axehill 2022). The
// constraint that is farthest away in terms of its image is pulled to its side; members whose
// multipliers reach zero on the way leave.
#include "frontend/predict/small_dual.hpp"

#include <algorithm>
#include <cmath>

namespace activeset::frontend {

namespace {

// What rounding makes of a value, in proportion to the norms of image and z.
constexpr double ViolationRounding = 1e-13;
// ‖u‖ of a row that the members combine to; the norm of its image is 1.
constexpr double DependentImage = 1e-10;
// A smaller change of a multiplier is rounding.
constexpr double NegligibleChange = 1e-13;
constexpr std::size_t StepsBetweenPolls = 8;
// After so many steps for each variable the factor, which has taken up their rounding, is formed
// anew.
constexpr std::size_t StepsOfFactor = 6;

}  // namespace

SmallMatrix SmallDual::images() const {
    const SmallShape& shape = m_.shape;
    return {m_.images + shape.head(), shape.constraints(), shape.cols(),
            shape.height() + shape.head(), shape.rows()};
}

// memory.g := the image of a constraint, its norm 1.
void SmallDual::gather(std::size_t i, double sign) {
    const SmallMatrix all = images();
    const std::size_t first = i < all.triangle ? 0 : (i - all.triangle) / 8 * 8;
    std::fill_n(m_.g, first, 0.0);
    m_.kernels.gather(sign * m_.inverseNorm[i], all, i, first, m_.shape.head(), m_.g);
}

void SmallDual::join(std::size_t i, double sign, double squaredNorm, double multiplier) {
    const std::size_t k = factor_.size();
    factor_.append(squaredNorm);
    m_.member[k] = static_cast<double>(i);
    m_.sign[k] = sign;
    m_.isEquality[k] = isEquality(i) ? 1.0 : 0.0;
    m_.target[k] = sign * m_.inverseNorm[i] * (sign > 0.0 ? m_.upper[i] : m_.lower[i]);
    m_.lambda[k] = multiplier;
}

void SmallDual::leave(std::size_t k) {
    const std::size_t size = factor_.size();
    factor_.remove(k, m_.r);
    for (double* array : {m_.member, m_.sign, m_.isEquality, m_.target, m_.lambda, m_.gathered}) {
        std::copy(array + k + 1, array + size, array + k);
    }
    const std::size_t head = m_.shape.head();
    std::copy(m_.memberRows + (k + 1) * head, m_.memberRows + size * head,
              m_.memberRows + k * head);
}

// Of the minimum on which all members hold: with t = Tᵀ·target + Qᵀw, z = Q·t − w and
// lambda = −T·t. memory.r := t.
void SmallDual::formCoefficients() {
    const std::size_t size = factor_.size();
    std::fill(m_.target + size, m_.target + SmallShape::upTo(size, 8), 0.0);
    m_.kernels.multiplyTransposed(factor_.orthogonal(), m_.w, m_.r);
    m_.kernels.multiplyTransposed(factor_.inverse(), m_.target, m_.s);
    std::transform(m_.s, m_.s + size, m_.r, m_.r, std::plus<>());
}

void SmallDual::formMultipliers() {
    const std::size_t size = factor_.size();
    m_.kernels.multiplyAdd(factor_.inverse(), m_.r, nullptr, m_.lambda);
    std::transform(m_.lambda, m_.lambda + size, m_.lambda, std::negate<>());
}

void SmallDual::formPoint() {
    std::transform(m_.w, m_.w + m_.shape.head(), m_.z, std::negate<>());
    if (factor_.size() > 0) {
        m_.kernels.multiplyAdd(factor_.orthogonal(), m_.r, m_.z, m_.z);
    }
}

// Whether what is farthest away is so by rounding only.
bool SmallDual::isSettled(const SmallViolation& worst) {
    constexpr double ClearViolation = 1e-6;
    if (worst.amount > ClearViolation * size_ && size_ > 0.0) {
        return false;
    }
    size_ = std::max(size_, std::sqrt(m_.kernels.dot(m_.z, m_.z, m_.shape.head())));
    return !(worst.amount > ViolationRounding * size_);
}

SmallDual::Event SmallDual::nextEvent(double whole, double newcomersRoom) const {
    Event event{whole};
    for (std::size_t k = 0; k < factor_.size(); ++k) {
        if (m_.isEquality[k] == 0.0 && m_.p[k] > NegligibleChange &&
            m_.lambda[k] < event.step * m_.p[k]) {
            event = {m_.lambda[k] / m_.p[k], Event::Kind::Leaves, k};
        }
    }
    if (caps_.areThere()) {
        meetCaps(newcomersRoom, event);
    }
    return event;
}

void SmallDual::meetCaps(double newcomersRoom, Event& event) const {
    for (std::size_t k = 0; k < factor_.size(); ++k) {
        if (m_.isEquality[k] == 0.0 && m_.p[k] < -NegligibleChange) {
            const double room = caps_.of(constraintOf(k), m_.sign[k]) - m_.lambda[k];
            if (room < -event.step * m_.p[k]) {
                event = {std::max(0.0, room) / -m_.p[k], Event::Kind::Turns, k};
            }
        }
    }
    if (newcomersRoom < event.step) {
        event = {newcomersRoom, Event::Kind::NewcomerTurns, 0};
    }
}

void SmallDual::turnMember(std::size_t k) {
    const std::size_t i = constraintOf(k);
    const double sign = m_.sign[k];
    leave(k);
    gather(i, sign);
    caps_.turn(i, sign);
}

void SmallDual::move(double step, bool isDependent) {
    m_.kernels.addScaled(-step, m_.p, m_.lambda, SmallShape::upTo(factor_.size(), 8));
    if (!isDependent) {
        m_.kernels.addScaled(-step, m_.u, m_.z, m_.shape.head());
    }
}

SmallDual::End SmallDual::pull(std::size_t i) {
    const double sign = m_.values[i] > m_.upper[i] ? 1.0 : -1.0;
    double distance =
        std::max(m_.lower[i] - m_.values[i], m_.values[i] - m_.upper[i]) * m_.inverseNorm[i];
    double multiplier = 0.0;
    const double cap = caps_.areThere() ? caps_.of(i, sign) : Infinity;
    const std::size_t most =
        std::min(stepsPerVariable_ * m_.shape.n + (caps_.areThere() ? m_.shape.m : m_.shape.m / 8),
                 mostChanges_ - std::min(dropped_, mostChanges_));
    gather(i, sign);
    while (steps_++ < most) {
        const double squaredNorm = factor_.project();
        const bool isDependent =
            !(squaredNorm > DependentImage * DependentImage) || factor_.size() == m_.shape.n;
        if (!isDependent && squaredNorm < TooCloseImage * TooCloseImage) {
            return End::GivenUp;
        }
        const double whole = isDependent ? Infinity : distance / squaredNorm;
        const Event event = nextEvent(whole, cap - multiplier);
        const double step = event.step;
        if (step == Infinity) {
            weighContradiction(i, sign);
            return caps_.areThere() ? End::GivenUp : End::Contradiction;
        }
        multiplier += step;
        move(step, isDependent);
        distance -= isDependent ? 0.0 : step * squaredNorm;
        switch (event.kind) {
            case Event::Kind::Joins:
                join(i, sign, squaredNorm, multiplier);
                return End::Optimal;
            case Event::Kind::NewcomerTurns:
                caps_.turn(i, sign);
                return End::Optimal;
            case Event::Kind::Turns:
                turnMember(event.member);
                gather(i, sign);
                break;
            case Event::Kind::Leaves:
                leave(event.member);
                break;
        }
    }
    return End::GivenUp;
}

// Long runs go by stretches. A worn factor may even see a contradiction where there is none.
SmallDual::End SmallDual::minimise(Control& control) {
    asked_ = 0.0;
    size_ = std::sqrt(m_.kernels.dot(m_.w, m_.w, m_.shape.head()));
    if (dropped_ > mostChanges_) {
        return End::GivenUp;
    }
    const std::size_t stretch = StepsOfFactor * m_.shape.n;
    std::optional<End> end = pullUntilSettled(stretch, control);
    while (!end || (end != End::GivenUp && steps_ > stretch)) {
        renewFactor();
        const std::size_t before = steps_;
        end = pullUntilSettled(stretch, control);
        if (end && steps_ < before + m_.shape.n) {
            break;
        }
    }
    return *end;
}

// Nothing if it takes more steps.
std::optional<SmallDual::End> SmallDual::pullUntilSettled(std::size_t most, Control& control) {
    const std::size_t last = most < AnyChanges - steps_ ? steps_ + most : AnyChanges;
    // Without rows of A there is only that of c before the bounds.
    const std::size_t first = m_.shape.m > 0 ? 0 : m_.shape.rows();
    SmallMatrix priced = images();
    priced.data += first;
    priced.rows -= first;
    priced.triangle -= first;
    End end = End::Optimal;
    for (std::size_t round = 1; end == End::Optimal; ++round) {
        const SmallViolation worst =
            m_.kernels.price(priced, m_.z, m_.lowest + first, m_.highest + first,
                             m_.inverseNorm + first, m_.values + first);
        if (isSettled(worst)) {
            return End::Optimal;
        }
        if (round % StepsBetweenPolls == 0) {
            control.poll();
            if (round > StepsBetweenPolls && doRowsContradict()) {
                return End::Contradiction;
            }
        }
        if (steps_ > last) {
            return std::nullopt;
        }
        end = control.mustEnd() ? End::GivenUp : pull(first + worst.index);
    }
    return end;
}

}  // namespace activeset::frontend
