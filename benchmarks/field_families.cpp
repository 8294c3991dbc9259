#include "benchmarks/field_families.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <stdexcept>

#include "benchmarks/random_numbers.hpp"

namespace activeset::bench::field {

namespace {

using Vector = std::vector<double>;

Vector normal(std::size_t count, RandomNumbers& random) {
    Vector result(count);
    std::ranges::generate(result, [&random] { return random.normal(); });
    return result;
}

/// factor·M·Mᵀ + ridge·I; M is n × k, stored by rows.
Vector gram(std::size_t n, const Vector& M, double factor, double ridge) {
    const std::size_t k = M.size() / n;
    const auto row = [&](std::size_t i) { return M.begin() + static_cast<std::ptrdiff_t>(i * k); };
    Vector H(n * n);
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i <= j; ++i) {
            H[j * n + i] = H[i * n + j] =
                factor * std::inner_product(row(i), row(i + 1), row(j), 0.0);
        }
        H[j * n + j] += ridge;
    }
    return H;
}

Problem unconstrained(std::size_t n, Vector H) {
    Problem p{.n = n, .H = std::move(H)};
    p.c.assign(n, 0.0);
    p.lb.assign(n, -std::numeric_limits<double>::infinity());
    p.ub.assign(n, std::numeric_limits<double>::infinity());
    return p;
}

/// A problem with random H, A and Aeq.
Problem randomParts(std::size_t n, std::size_t mIneq, std::size_t mEq, RandomNumbers& random) {
    Problem p =
        unconstrained(n, gram(n, normal(n * n, random), 1.0 / static_cast<double>(n), 1e-2));
    p.mIneq = mIneq;
    p.mEq = mEq;
    p.A = normal(mIneq * n, random);
    p.Aeq = normal(mEq * n, random);
    return p;
}

/// A choice of `count` of the numbers 0, …, n − 1.
std::vector<bool> someOf(std::size_t n, std::size_t count, RandomNumbers& random) {
    std::vector<bool> chosen(n, false);
    for (std::size_t left = std::min(count, n); left > 0;) {
        const std::size_t k = random.pick(0, n - 1);
        left -= chosen[k] ? 0U : 1U;
        chosen[k] = true;
    }
    return chosen;
}

/// c −= multiplier·(row i of M).
void pull(Vector& c, const Vector& M, std::size_t rows, std::size_t i, double multiplier) {
    for (std::size_t j = 0; j < c.size(); ++j) {
        c[j] -= multiplier * M[j * rows + i];
    }
}

double rowTimes(const Vector& M, std::size_t rows, std::size_t i, const Vector& x) {
    double sum = 0.0;
    for (std::size_t j = 0; j < x.size(); ++j) {
        sum += M[j * rows + i] * x[j];
    }
    return sum;
}

/// Chooses sides and c such that a random point is the optimum.
void addOptimum(Problem& p,
                std::size_t activeRows,
                std::size_t activeBounds,
                bool isBounded,
                RandomNumbers& random) {
    const Vector x = normal(p.n, random);
    const double root = std::sqrt(static_cast<double>(p.n));
    const std::vector<bool> on = someOf(p.mIneq, activeRows, random);
    const std::vector<bool> at = someOf(p.n, activeBounds, random);
    for (std::size_t j = 0; j < p.n; ++j) {
        p.c[j] -= rowTimes(p.H, p.n, j, x);
        if (isBounded) {
            p.lb[j] = x[j] - random(0.1, 2.0);
            p.ub[j] = x[j] + random(0.1, 2.0);
        }
        if (at[j]) {
            const bool isUpper = random.chance(0.5);
            (isUpper ? p.ub : p.lb)[j] = x[j];
            p.c[j] += (isUpper ? -1.0 : 1.0) * random(0.1, 1.0);
        }
    }
    for (std::size_t i = 0; i < p.mIneq; ++i) {
        p.b.push_back(rowTimes(p.A, p.mIneq, i, x) + (on[i] ? 0.0 : root * random(0.1, 2.0)));
        pull(p.c, p.A, p.mIneq, i, on[i] ? random(0.1, 1.0) / root : 0.0);
    }
    for (std::size_t i = 0; i < p.mEq; ++i) {
        p.beq.push_back(rowTimes(p.Aeq, p.mEq, i, x));
        pull(p.c, p.Aeq, p.mEq, i, random.normal() / root);
    }
}

Problem randomRows(std::size_t n, double share, RandomNumbers& random) {
    Problem p = randomParts(n, n, n / 10, random);
    const auto active =
        std::min(static_cast<std::size_t>(std::lround(share * static_cast<double>(n))), n - n / 10);
    addOptimum(p, active - active / 2, active / 2, true, random);
    return p;
}

Problem box(std::size_t n, double share, RandomNumbers& random) {
    Problem p = randomParts(n, 0, 0, random);
    addOptimum(p, 0, static_cast<std::size_t>(std::lround(share * static_cast<double>(n))), true,
               random);
    return p;
}

Problem tall(std::size_t n, RandomNumbers& random) {
    Problem p = randomParts(n, 20 * n, 0, random);
    addOptimum(p, n / 5, 0, false, random);
    return p;
}

/// Appends the inequality row·x ≤ side.
void append(Problem& p, const Vector& row, double side) {
    Vector A((p.mIneq + 1) * p.n);
    for (std::size_t j = 0; j < p.n; ++j) {
        std::copy_n(&p.A[j * p.mIneq], p.mIneq, &A[j * (p.mIneq + 1)]);
        A[j * (p.mIneq + 1) + p.mIneq] = row[j];
    }
    p.A = std::move(A);
    p.b.push_back(side);
    ++p.mIneq;
}

Problem infeasible(std::size_t n, bool byRows, RandomNumbers& random) {
    Problem p = randomRows(n, 0.3, random);
    Vector row(n);
    double side = 0.0;
    const std::vector<bool> terms = someOf(byRows ? p.mIneq : n, byRows ? 3 : 10, random);
    for (std::size_t k = 0; k < terms.size(); ++k) {
        if (!terms[k]) {
            continue;
        }
        const double weight = random(0.5, 1.5);
        side -= weight * (byRows ? p.b[k] : p.ub[k]);
        for (std::size_t j = 0; j < n && byRows; ++j) {
            row[j] -= weight * p.A[j * p.mIneq + k];
        }
        row[k % n] -= byRows ? 0.0 : weight;
    }
    const double norm = std::sqrt(std::inner_product(row.begin(), row.end(), row.begin(), 0.0));
    append(p, row, side - 0.1 * norm);
    return p;
}

Problem supportVectors(std::size_t n, double C, bool isLinear, RandomNumbers& random) {
    constexpr std::size_t Features = 10;
    Vector samples = normal(n * Features, random);
    const auto label = [](std::size_t i) { return i % 2 == 0 ? 1.0 : -1.0; };
    for (std::size_t k = 0; k < samples.size(); ++k) {
        samples[k] += 0.9 / std::sqrt(10.0) * label(k / Features);
    }
    Vector K = gram(n, samples, 1.0, 0.0);
    Problem p = unconstrained(n, Vector(n * n));
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < n; ++i) {
            const double distance = K[i * n + i] + K[j * n + j] - 2.0 * K[j * n + i];
            const double kernel = isLinear ? K[j * n + i] : std::exp(-distance / 10.0);
            p.H[j * n + i] = label(i) * label(j) * kernel + (i == j ? 1e-8 : 0.0);
        }
        p.c[j] = -1.0;
        p.Aeq.push_back(label(j));
    }
    p.mEq = 1;
    p.beq = {0.0};
    p.lb.assign(n, 0.0);
    p.ub.assign(n, C);
    return p;
}

Problem portfolio(std::size_t n, RandomNumbers& random) {
    const std::size_t k = std::max<std::size_t>(3, n / 20);
    Vector F = normal(n * k, random);
    std::ranges::for_each(F, [&](double& entry) { entry *= random.chance(0.5) ? 1.0 : 0.0; });
    Problem p = unconstrained(n, gram(n, F, 1.0 / static_cast<double>(k), 0.0));
    Vector returns;
    for (std::size_t j = 0; j < n; ++j) {
        p.H[j * n + j] += random(0.05, 0.5) * std::sqrt(static_cast<double>(k));
        returns.push_back(0.05 + 0.03 * random.normal() + 0.02 * F[j * k]);
        p.c[j] = -5.0 * returns[j];
        p.A.push_back(-returns[j]);
    }
    // The least return is one that the best assets reach, each up to its limit.
    const std::size_t best = std::max<std::size_t>(11, n / 10);
    std::ranges::sort(returns, std::greater<>());
    const double sum =
        std::accumulate(returns.begin(), returns.begin() + static_cast<std::ptrdiff_t>(best), 0.0);
    p.mIneq = p.mEq = 1;
    p.b = {-0.4 * sum / static_cast<double>(best)};
    p.Aeq.assign(n, 1.0);
    p.beq = {1.0};
    p.lb.assign(n, 0.0);
    p.ub.assign(n, 0.1);
    return p;
}

}  // namespace

Problem make(const std::string& family, std::size_t n, std::uint64_t seed) {
    RandomNumbers random(1000 * seed + n);
    if (family.starts_with("random")) {
        return randomRows(n, 0.01 * std::stod(family.substr(6)), random);
    }
    if (family.starts_with("box")) {
        return box(n, 0.01 * std::stod(family.substr(3)), random);
    }
    if (family.starts_with("svm-C")) {
        return supportVectors(n, std::stod(family.substr(5)), false, random);
    }
    if (family == "linear-kernel") {
        return supportVectors(n, 1.0, true, random);
    }
    if (family == "portfolio") {
        return portfolio(n, random);
    }
    if (family == "tall") {
        return tall(n, random);
    }
    if (family == "infeasible-rows" || family == "infeasible-bounds") {
        return infeasible(n, family == "infeasible-rows", random);
    }
    throw std::invalid_argument("no family " + family);
}

std::vector<Step> sequence(const Problem& problem, std::size_t steps, std::uint64_t seed) {
    RandomNumbers random(seed);
    std::vector<Step> result;
    for (std::size_t k = 0; k < steps; ++k) {
        Step step{problem.c, problem.b};
        for (double& entry : step.c) {
            entry *= 1.0 + (random.chance(0.5) ? 1.0 : -1.0) * random(0.01, 0.05);
        }
        for (double& side : step.b) {
            side += random(0.01, 0.05) * std::abs(side);
        }
        result.push_back(std::move(step));
    }
    return result;
}

}  // namespace activeset::bench::field
