// Bordering: with w = K⁻¹k and δ = κ − kᵀw,
//
//     [K k; kᵀ κ]⁻¹ = [K⁻¹ + w·wᵀ/δ, −w/δ; −wᵀ/δ, 1/δ],
//
// and the other way round: eliminating the last column of the larger inverse leaves K⁻¹.
#include "frontend/parametric/kkt_inverse.hpp"

#include <algorithm>
#include <cmath>

namespace activeset::frontend {

namespace {

constexpr double LeastUpdatePivot = 1e-10;  // relative to the terms whose difference the pivot is

}  // namespace

KktInverse::KktInverse(const ProblemData& data, const KktFactor& factor)
    : data_(&data), members_(factor.free()) {
    for (const std::size_t i : factor.rows()) {
        members_.push_back(data.n + i);
    }
    const std::size_t order = members_.size();
    reserve(order + 8);
    Dense identity(order, order);
    for (std::size_t k = 0; k < order; ++k) {
        identity(k, k) = 1.0;
    }
    factor.solve(identity);
    for (std::size_t k = 0; k < order; ++k) {
        for (std::size_t i = 0; i < order; ++i) {
            column(k)[i] = 0.5 * (identity(i, k) + identity(k, i));
        }
    }
}

void KktInverse::reserve(std::size_t order) {
    if (order <= leading_) {
        return;
    }
    const std::size_t leading = order + order / 2;
    Vector values(leading * leading, 0.0);
    for (std::size_t k = 0; k < std::min(leading_, members_.size()); ++k) {
        std::copy(column(k), column(k) + leading_, values.data() + k * leading);
    }
    leading_ = leading;
    values_ = std::move(values);
}

// An entry of K.
double KktInverse::entry(std::size_t a, std::size_t b) const {
    const std::size_t n = data_->n;
    if (a < n && b < n) {
        return data_->quadratic ? data_->columnOfH(a)[b] : 0.0;
    }
    if (a >= n && b >= n) {
        return 0.0;
    }
    return a < n ? data_->columnOfA(a)[b - n] : data_->columnOfA(b)[a - n];
}

bool KktInverse::add(std::size_t member) {
    const std::size_t order = members_.size();
    reserve(order + 1);
    Vector k(order);
    Vector w(order, 0.0);
    for (std::size_t i = 0; i < order; ++i) {
        k[i] = entry(member, members_[i]);
    }
    for (std::size_t i = 0; i < order; ++i) {
        if (k[i] != 0.0) {
            axpy(k[i], column(i), w.data(), order);
        }
    }
    const double diagonal = entry(member, member);
    double pivot = diagonal;
    double size = std::abs(diagonal);
    for (std::size_t i = 0; i < order; ++i) {
        pivot -= k[i] * w[i];
        size += std::abs(k[i] * w[i]);
    }
    if (!(std::abs(pivot) > LeastUpdatePivot * size)) {
        return false;
    }
    for (std::size_t i = 0; i < order; ++i) {
        axpy(w[i] / pivot, w.data(), column(i), order);
        column(i)[order] = column(order)[i] = -w[i] / pivot;
    }
    column(order)[order] = 1.0 / pivot;
    members_.push_back(member);
    return true;
}

bool KktInverse::remove(std::size_t member) {
    const std::size_t last = members_.size() - 1;
    const auto place = static_cast<std::size_t>(
        std::find(members_.begin(), members_.end(), member) - members_.begin());
    const double* own = column(place);
    double largest = 0.0;
    for (std::size_t i = 0; i <= last; ++i) {
        largest = std::max(largest, std::abs(own[i]));
    }
    if (!(std::abs(own[place]) > LeastUpdatePivot * largest)) {
        return false;
    }
    std::swap(members_[place], members_[last]);
    std::swap_ranges(column(place), column(place) + last + 1, column(last));
    for (std::size_t i = 0; i <= last; ++i) {
        std::swap(column(i)[place], column(i)[last]);
    }
    const double* out = column(last);
    for (std::size_t i = 0; i < last; ++i) {
        axpy(-out[i] / out[last], out, column(i), last);
    }
    members_.pop_back();
    return true;
}

void KktInverse::multiply(const Vector& b1, const Vector& b2, Vector& u1, Vector& u2) const {
    const std::size_t order = members_.size();
    u1.assign(order, 0.0);
    u2.assign(order, 0.0);
    for (std::size_t k = 0; k < order; ++k) {
        const double* values = column(k);
        for (std::size_t i = 0; i < order; ++i) {
            u1[i] += b1[k] * values[i];
            u2[i] += b2[k] * values[i];
        }
    }
}

}  // namespace activeset::frontend
