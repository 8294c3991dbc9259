#include "support/exact/convex_program.hpp"

#include <limits>

namespace activeset::test::exact {

namespace {

constexpr std::size_t None = std::numeric_limits<std::size_t>::max();

/// Solves w = M·z + q with w, z ≥ 0 and wᵀz = 0 for a positive semidefinite M. The dictionary has a
/// row for each basic variable, in terms of the nonbasic ones. Variable i is w_i, variable N + i is
/// z_i, and variable 2N is the artificial one.
class Complementarity {
public:
    Complementarity(Matrix M, Vector q) : size_(q.size()), rows_(std::move(M)), q_(std::move(q)) {
        for (std::size_t i = 0; i < size_; ++i) {
            rows_[i].emplace_back(1);
            basic_.push_back(i);
            others_.push_back(size_ + i);
        }
        others_.push_back(2 * size_);
    }

    /// z, or nothing if there is no solution.
    std::optional<Vector> solve() {
        std::size_t entering = size_;
        std::size_t row = None;
        for (std::size_t i = 0; i < size_; ++i) {
            row = sgn(q_[i]) < 0 && (row == None || isLess(i, 1, row, 1)) ? i : row;
        }
        while (row != None) {
            const std::size_t leaving = basic_[row];
            pivot(row, entering);
            if (leaving == 2 * size_) {
                row = None;
                break;
            }
            const std::size_t complement = leaving < size_ ? leaving + size_ : leaving - size_;
            for (entering = 0; others_[entering] != complement;) {
                ++entering;
            }
            row = blocking(entering);
            if (row == None) {
                return std::nullopt;
            }
        }
        Vector z(size_);
        for (std::size_t i = 0; i < size_; ++i) {
            if (basic_[i] >= size_) {
                z[basic_[i] - size_] = q_[i];
            }
        }
        return z;
    }

private:
    /// The coefficient of ε^(k+1), which perturbs w_k, in the value of row i.
    [[nodiscard]] Rational perturbation(std::size_t i, std::size_t k) const {
        if (basic_[i] == k) {
            return 1;
        }
        for (std::size_t j = 0; j < others_.size(); ++j) {
            if (others_[j] == k) {
                return -rows_[i][j];
            }
        }
        return 0;
    }
    /// Lexicographic order, each row divided by its weight.
    [[nodiscard]] bool isLess(std::size_t a,
                              const Rational& weightOfA,
                              std::size_t b,
                              const Rational& weightOfB) const {
        int order = cmp(q_[a] * weightOfB, q_[b] * weightOfA);
        for (std::size_t k = 0; k < size_ && order == 0; ++k) {
            order = cmp(perturbation(a, k) * weightOfB, perturbation(b, k) * weightOfA);
        }
        return order < 0;
    }
    [[nodiscard]] std::size_t blocking(std::size_t entering) const {
        std::size_t row = None;
        for (std::size_t i = 0; i < size_; ++i) {
            if (sgn(rows_[i][entering]) < 0 &&
                (row == None || isLess(i, -rows_[i][entering], row, -rows_[row][entering]))) {
                row = i;
            }
        }
        return row;
    }
    void pivot(std::size_t row, std::size_t entering) {
        Vector& own = rows_[row];
        const Rational factor = 1 / own[entering];
        own[entering] = -1;
        for (Rational& entry : own) {
            entry *= -factor;
        }
        q_[row] *= -factor;
        for (std::size_t i = 0; i < size_; ++i) {
            const Rational times = rows_[i][entering];
            if (i == row || sgn(times) == 0) {
                continue;
            }
            rows_[i][entering] = 0;
            for (std::size_t j = 0; j < others_.size(); ++j) {
                if (sgn(own[j]) != 0) {
                    rows_[i][j] += times * own[j];
                }
            }
            q_[i] += times * q_[row];
        }
        std::swap(basic_[row], others_[entering]);
    }

    std::size_t size_;
    Matrix rows_;
    Vector q_;
    std::vector<std::size_t> basic_;
    std::vector<std::size_t> others_;
};

void checkOptimality(const ConvexProgram& program, const Optimum& optimum) {
    const Vector pull = transposedProduct(program.G, optimum.multipliers, program.g.size());
    for (std::size_t j = 0; j < program.g.size(); ++j) {
        require(dot(program.Q[j], optimum.v) + program.g[j] + pull[j] == 0);
    }
    for (std::size_t i = 0; i < program.h.size(); ++i) {
        const Rational room = program.h[i] - dot(program.G[i], optimum.v);
        require(sgn(room) >= 0 && sgn(optimum.multipliers[i]) >= 0);
        require(sgn(room) == 0 || sgn(optimum.multipliers[i]) == 0);
    }
}

}  // namespace

// With v = u − t·1, u ≥ 0 and t ≥ 0: w = (gradient, slack), z = (u, t, multipliers).
std::optional<Optimum> minimise(const ConvexProgram& program) {
    const std::size_t k = program.g.size();
    const std::size_t sides = program.h.size();
    const std::size_t size = k + 1 + sides;
    Matrix M(size, Vector(size));
    Vector q(size);
    const auto negativeSum = [&](std::size_t row) {
        M[row][k] = 0;
        for (std::size_t j = 0; j < k; ++j) {
            M[row][k] -= M[row][j];
        }
    };
    for (std::size_t i = 0; i < k; ++i) {
        std::copy(program.Q[i].begin(), program.Q[i].end(), M[i].begin());
        negativeSum(i);
        q[i] = program.g[i];
    }
    for (std::size_t i = 0; i < sides; ++i) {
        for (std::size_t j = 0; j < k; ++j) {
            M[k + 1 + i][j] = -program.G[i][j];
        }
        negativeSum(k + 1 + i);
        q[k + 1 + i] = program.h[i];
        for (std::size_t j = 0; j <= k; ++j) {
            M[j][k + 1 + i] = -M[k + 1 + i][j];
        }
    }
    for (std::size_t i = 0; i < k; ++i) {
        q[k] -= q[i];
        for (std::size_t j = 0; j <= k; ++j) {
            M[k][j] -= M[i][j];
        }
    }
    const std::optional<Vector> z = Complementarity(std::move(M), std::move(q)).solve();
    if (!z) {
        return std::nullopt;
    }
    Optimum optimum{Vector(k), Vector(sides)};
    for (std::size_t j = 0; j < k; ++j) {
        optimum.v[j] = (*z)[j] - (*z)[k];
    }
    std::copy(z->begin() + static_cast<std::ptrdiff_t>(k) + 1, z->end(),
              optimum.multipliers.begin());
    checkOptimality(program, optimum);
    return optimum;
}

bool isPositiveSemidefinite(Matrix Q) {
    for (std::size_t k = 0; k < Q.size(); ++k) {
        if (sgn(Q[k][k]) < 0) {
            return false;
        }
        for (std::size_t i = k + 1; i < Q.size(); ++i) {
            if (sgn(Q[k][k]) == 0) {
                if (sgn(Q[k][i]) != 0) {
                    return false;
                }
                continue;
            }
            const Rational factor = Q[i][k] / Q[k][k];
            for (std::size_t j = k + 1; j < Q.size(); ++j) {
                Q[i][j] -= factor * Q[k][j];
            }
        }
    }
    return true;
}

}  // namespace activeset::test::exact
