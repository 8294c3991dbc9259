// By the inverse factors of the small road: six products, none of which waits for its own result.
#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "frontend/parametric/working_system.hpp"

namespace activeset::frontend {

namespace {

using Scratch = std::array<double, SmallShape::upTo(SmallMemory::MostVariables, 8)>;

// With pivots of H, or of the members' images, that are smaller, relative to the largest squared
// one, these inverses lose too many digits.
constexpr double LeastKeptPivot = 1e-6;

/// With H = L·Lᵀ and the members' images G = L⁻¹Wᵀ = Q·R, T = R⁻¹:
///
///     t = Tᵀw − QᵀL⁻¹x,   λ = −T·t,   x := L⁻ᵀ(L⁻¹x + Q·t).
class SmallSystem final : public WorkingSystem {
public:
    SmallSystem(const SmallMemory& memory, const SmallDual& dual)
        : n_(memory.shape.n),
          m_(memory.shape.m),
          head_(memory.shape.head()),
          cols_(memory.shape.cols()),
          kernels_(memory.kernels),
          members_(membersOf(memory, dual)) {
        const std::size_t k = members_.size();
        const std::size_t from = memory.shape.height() + head_;
        inverse_.resize(head_ * cols_);
        for (std::size_t j = 0; j < cols_; ++j) {
            std::copy_n(memory.images + memory.shape.height() + j * from, head_,
                        inverse_.data() + j * head_);
        }
        Q_.assign(memory.Q, memory.Q + head_ * k);
        T_.assign(memory.T, memory.T + head_ * k);
        for (std::size_t i = 0; i < k; ++i) {
            unit_.push_back(memory.sign[i] * memory.inverseNorm[dual.constraintOf(i)]);
        }
    }

    void solve(double* x, double* y, double* z) const override;

private:
    [[nodiscard]] static std::vector<std::size_t> membersOf(const SmallMemory& memory,
                                                            const SmallDual& dual) {
        std::vector<std::size_t> members(dual.factor().size());
        for (std::size_t k = 0; k < members.size(); ++k) {
            const std::size_t i = dual.constraintOf(k);
            members[k] = i < memory.shape.rows() ? i : i - memory.shape.rows() + memory.shape.m;
        }
        return members;
    }

    /// Of a right-hand side or a solution.
    [[nodiscard]] double& entryOf(std::size_t member, double* y, double* z) const {
        return member < m_ ? y[member] : z[member - m_];
    }

    std::size_t n_;
    std::size_t m_;
    std::size_t head_;
    std::size_t cols_;
    const SmallKernels& kernels_;
    std::vector<std::size_t> members_;
    std::vector<double> inverse_;  // L⁻ᵀ, head × cols
    std::vector<double> Q_;        // head × members
    std::vector<double> T_;        // head × members
    std::vector<double> unit_;     // of each member, by which its image has the norm 1
};

void SmallSystem::solve(double* x, double* y, double* z) const {
    const std::size_t k = members_.size();
    const SmallMatrix inverse{inverse_.data(), head_, cols_, head_, 0};
    const SmallMatrix Q{Q_.data(), head_, k, head_, head_};
    const SmallMatrix T{T_.data(), SmallShape::upTo(k, 8), k, head_, 0};
    Scratch point{};
    Scratch image{};
    Scratch sides{};
    Scratch t{};
    Scratch target{};
    std::copy_n(x, n_, point.begin());
    for (std::size_t i = 0; i < k; ++i) {
        sides[i] = entryOf(members_[i], y, z);
        target[i] = unit_[i] * sides[i];
    }
    kernels_.multiplyTransposed(inverse, point.data(), image.data());
    kernels_.multiplyTransposed(Q, image.data(), point.data());
    kernels_.multiplyTransposed(T, target.data(), t.data());
    for (std::size_t i = 0; i < k; ++i) {
        t[i] -= point[i];
    }
    kernels_.multiplyAdd(Q, t.data(), image.data(), image.data());
    kernels_.multiplyAdd(T, t.data(), nullptr, target.data());
    kernels_.multiplyAdd(inverse, image.data(), nullptr, point.data());
    std::copy_n(point.begin(), n_, x);
    std::fill_n(y, m_, 0.0);
    std::fill_n(z, n_, 0.0);
    for (std::size_t i = 0; i < k; ++i) {
        entryOf(members_[i], y, z) = -unit_[i] * target[i];
        if (members_[i] >= m_) {
            x[members_[i] - m_] = sides[i];
        }
    }
}

// Pivots of H, and of the images, whose norms are 1.
bool areClear(const SmallMemory& memory, const SmallDual& dual) {
    double least = Infinity;
    double most = 0.0;
    for (std::size_t j = 0; j < memory.shape.n; ++j) {
        const double pivot = memory.images[j * (memory.shape.height() + memory.shape.head()) + j];
        least = std::min(least, pivot * pivot);
        most = std::max(most, pivot * pivot);
    }
    bool areAll = least > LeastKeptPivot * most;
    for (std::size_t k = 0; k < dual.factor().size(); ++k) {
        const double inverse = memory.T[k * memory.shape.head() + k];
        areAll = areAll && inverse * inverse * LeastKeptPivot < 1.0;
    }
    return areAll;
}

}  // namespace

std::unique_ptr<const WorkingSystem> systemOf(const SmallProblem& small, const WorkingSet& set) {
    const bool isRegular = small.dual().factor().size() == set.size();
    if (!isRegular || small.isProximal() || !areClear(small.memory(), small.dual())) {
        return nullptr;
    }
    return std::make_unique<const SmallSystem>(small.memory(), small.dual());
}

}  // namespace activeset::frontend
