// Updates of J and R by plane rotations, which leave J·Jᵀ and the products with W as they are.
#include "frontend/predict/dual_factors.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/dense_views.hpp"
#include "host/lapack.hpp"
#include "host/rotations.hpp"

namespace activeset::frontend {

namespace {

// A column of R whose diagonal entry is this part of its length depends on those before it.
constexpr double DependentDiagonal = 1e-9;

// Constraints with equal sides come first.
std::vector<std::size_t> orderedMembers(const Constraints& sides) {
    std::vector<std::size_t> members = sides.members();
    std::stable_partition(members.begin(), members.end(),
                          [&](std::size_t k) { return sides[k] == Side::Both; });
    return members;
}

}  // namespace

DualFactors::DualFactors(const Dense& factor, const Constraints& sides)
    : n_(factor.rows), R_(n_, n_), members_(orderedMembers(sides)) {
    const std::size_t count = std::min(members_.size(), n_);
    members_.resize(count);
    for (std::size_t k = 0; k < count; ++k) {
        const Vector row = sides.row(members_[k]);
        std::copy(row.begin(), row.end(), R_.column(k));
    }
    solveLower(factor, R_.values.data(), count);
    Vector scales(std::max<std::size_t>(count, 1), 0.0);
    lapack::geqrf(columnsOf(R_, 0, count), scales.data());
    J_ = Dense(n_, n_);
    for (std::size_t k = 0; k < count; ++k) {  // the reflectors move from R to J
        std::copy(R_.column(k) + k + 1, R_.column(k) + n_, J_.column(k) + k + 1);
        std::fill(R_.column(k) + k + 1, R_.column(k) + n_, 0.0);
    }
    lapack::orgqr(columnsOf(J_, 0, n_), static_cast<Int>(count), scales.data());
    solveLowerTransposed(factor, J_.values.data(), n_);
    dropDependentMembers();
}

void DualFactors::dropDependentMembers() {
    Vector none;
    for (std::size_t k = 0; k < members_.size();) {
        const double* column = R_.column(k);
        const double length = std::sqrt(dot(column, column, k + 1));
        if (std::abs(column[k]) > DependentDiagonal * length) {
            ++k;
        } else {
            remove(k, none);
        }
    }
}

// For a bound, or a row with few entries, it reads only a few rows of J.
Vector DualFactors::image(const Vector& row) const {
    std::vector<std::size_t> entries;
    for (std::size_t i = 0; i < n_; ++i) {
        if (row[i] != 0.0) {
            entries.push_back(i);
        }
    }
    if (entries.size() > n_ / 16) {
        return transposedProduct(J_, row);
    }
    Vector result(n_, 0.0);
    for (std::size_t j = 0; j < n_; ++j) {
        const double* column = J_.column(j);
        for (const std::size_t i : entries) {
            result[j] += row[i] * column[i];
        }
    }
    return result;
}

double DualFactors::mobility(const Vector& image) const {
    const std::size_t q = members_.size();
    return dot(image.data() + q, image.data() + q, n_ - q);
}

Vector DualFactors::step(const Vector& image) const {
    const std::size_t q = members_.size();
    Vector result(n_, 0.0);
    blas::gemv(Op::None, -1.0, columnsOf(J_, q, n_ - q), image.data() + q, 0.0, result.data());
    return result;
}

Vector DualFactors::change(const Vector& image) const {
    const std::size_t q = members_.size();
    Vector result(q);
    std::transform(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(q), result.begin(),
                   [](double entry) { return -entry; });
    lapack::trtrs(leadingBlock(R_, q), {result.data(), q, 1});
    return result;
}

void DualFactors::insert(std::size_t member, Vector image) {
    const std::size_t q = members_.size();
    Vector cosines;
    Vector sines;
    for (std::size_t i = n_ - 1; i > q; --i) {
        const blas::Rotation rotation = blas::rotg(image[i - 1], image[i]);
        image[i - 1] = rotation.r;
        cosines.push_back(rotation.c);
        sines.push_back(rotation.s);
    }
    turnColumnsFromLast(columnsOf(J_, 0, n_), cosines.size(), cosines.data(), sines.data());
    std::copy_n(image.begin(), q + 1, R_.column(q));
    members_.push_back(member);
}

// Without column k, R has a subdiagonal from column k on; rotations clear it.
void DualFactors::remove(std::size_t k, Vector& image) {
    members_.erase(members_.begin() + static_cast<std::ptrdiff_t>(k));
    const std::size_t q = members_.size();
    for (std::size_t j = k; j < q; ++j) {
        std::copy_n(R_.column(j + 1), j + 2, R_.column(j));
    }
    for (std::size_t i = k; i < q; ++i) {
        const blas::Rotation rotation = blas::rotg(R_(i, i), R_(i + 1, i));
        R_(i, i) = rotation.r;
        R_(i + 1, i) = 0.0;
        if (i + 1 < q) {
            blas::rot(q - i - 1, R_.column(i + 1) + i, n_, R_.column(i + 1) + i + 1, n_, rotation);
        }
        blas::rot(n_, J_.column(i), 1, J_.column(i + 1), 1, rotation);
        if (!image.empty()) {
            blas::rot(1, &image[i], 1, &image[i + 1], 1, rotation);
        }
    }
}

// With x = J·w the rows say Rᵀ·w₁ = targets, and H·x + c + Wᵀ·multipliers = 0, times Jᵀ, says
// w + Jᵀc + [R·multipliers; 0] = 0.
void DualFactors::minimise(const Vector& c, Vector targets, Vector& x, Vector& multipliers) const {
    const std::size_t q = members_.size();
    lapack::trtrsTransposed(leadingBlock(R_, q), {targets.data(), q, 1});
    Vector w = image(c);
    multipliers.assign(q, 0.0);
    for (std::size_t k = 0; k < n_; ++k) {
        if (k < q) {
            multipliers[k] = -(targets[k] + w[k]);
            w[k] = targets[k];
        } else {
            w[k] = -w[k];
        }
    }
    lapack::trtrs(leadingBlock(R_, q), {multipliers.data(), q, 1});
    x.assign(n_, 0.0);
    addProduct(J_, w, x);
}

}  // namespace activeset::frontend
