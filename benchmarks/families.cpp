// All families but the one with a trajectory.
#include "benchmarks/families.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "benchmarks/family_parts.hpp"
#include "benchmarks/random_numbers.hpp"

namespace activeset::bench {

namespace {

/// H += factor·M·Mᵀ, M n × k.
void addGram(double factor, const Vector& M, std::size_t n, Vector& H) {
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t k = 0; k < M.size() / n; ++k) {
            add(factor * M[k * n + j], &M[k * n + j], &H[j * n + j], n - j);
        }
        for (std::size_t i = j; i < n; ++i) {
            H[i * n + j] = H[j * n + i];
        }
    }
}

/// The identity plus M·Mᵀ/n, condition about 5.
Vector randomHessian(std::size_t n, RandomNumbers& random) {
    Vector H(n * n);
    addGram(1.0 / static_cast<double>(n), random.spread(n * n), n, H);
    for (std::size_t j = 0; j < n; ++j) {
        H[j * n + j] += 1.0;
    }
    return H;
}

/// Random rows with norms near 1.
Vector randomRows(std::size_t rows, std::size_t n, RandomNumbers& random) {
    Vector A = random.spread(rows * n);
    const double scale = 1.0 / std::sqrt(static_cast<double>(n));
    std::ranges::for_each(A, [scale](double& entry) { entry *= scale; });
    return A;
}

}  // namespace

Problem randomProblem(std::size_t n, double share, std::uint64_t seed) {
    RandomNumbers random(seed);
    Problem problem = withoutConstraints(n, randomHessian(n, random));
    problem.mIneq = n;
    problem.mEq = n / 10;
    problem.A = randomRows(n, n, random);
    problem.Aeq = randomRows(problem.mEq, n, random);
    const Vector x = random.spread(n);
    const auto multiplier = [&] { return random(0.1, 1.1); };
    const auto isActive = [&] { return random(0.0, 1.0) < 0.5 * share; };

    Vector Hx(n);
    addProduct(problem.H, x, Hx);
    Vector y(n);
    problem.b.resize(n);
    addProduct(problem.A, x, problem.b);
    for (std::size_t i = 0; i < n; ++i) {
        if (isActive()) {
            y[i] = multiplier();
        } else {
            problem.b[i] += random(0.1, 1.1);
        }
    }
    problem.beq.resize(problem.mEq);
    addProduct(problem.Aeq, x, problem.beq);
    Vector gradient(n);  // −(Aᵀy − z_lower + z_upper); the multipliers of equalities are zero
    addTransposed(problem.A, y, gradient);
    for (std::size_t j = 0; j < n; ++j) {
        problem.lb[j] = x[j] - random(1.0, 2.0);
        problem.ub[j] = x[j] + random(1.0, 2.0);
        if (isActive()) {
            const bool isLower = random(0.0, 1.0) < 0.5;
            (isLower ? problem.lb : problem.ub)[j] = x[j];
            gradient[j] += isLower ? -multiplier() : multiplier();
        }
        problem.c[j] = -Hx[j] - gradient[j];
        problem.x0[j] = std::clamp(0.0, problem.lb[j], problem.ub[j]);
    }
    problem.optimum = 0.5 * std::inner_product(x.begin(), x.end(), Hx.begin(), 0.0) +
                      std::inner_product(x.begin(), x.end(), problem.c.begin(), 0.0);
    return problem;
}

Problem boxProblem(std::size_t n, std::uint64_t seed) {
    RandomNumbers random(seed);
    Problem problem = withoutConstraints(n, randomHessian(n, random));
    for (std::size_t j = 0; j < n; ++j) {
        problem.lb[j] = -1.0;
        problem.ub[j] = 1.0;
        problem.c[j] = 2.5 * random.spread();
    }
    return problem;
}

Problem supportVectorProblem(std::size_t n, std::uint64_t seed) {
    constexpr std::size_t Features = 5;
    constexpr double Width = 0.2;
    constexpr double Ridge = 0.01;
    constexpr double Penalty = 1.0;
    RandomNumbers random(seed);
    Vector samples = random.spread(Features * n);
    Problem problem = withoutConstraints(n, Vector(n * n));
    problem.mEq = 1;
    problem.Aeq.resize(n);
    problem.beq = {0.0};
    for (std::size_t j = 0; j < n; ++j) {
        problem.Aeq[j] = j % 2 == 0 ? 1.0 : -1.0;
        samples[Features * j] += problem.Aeq[j];
    }
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i <= j; ++i) {
            double distance = 0.0;
            for (std::size_t k = 0; k < Features; ++k) {
                const double d = samples[Features * i + k] - samples[Features * j + k];
                distance += d * d;
            }
            const double entry = problem.Aeq[i] * problem.Aeq[j] * std::exp(-Width * distance);
            problem.H[j * n + i] = problem.H[i * n + j] = entry;
        }
        problem.H[j * n + j] += Ridge;
        problem.c[j] = -1.0;
        problem.lb[j] = 0.0;
        problem.ub[j] = Penalty;
    }
    return problem;
}

Problem portfolioProblem(std::size_t n, std::uint64_t seed) {
    const std::size_t factors = std::max<std::size_t>(2, n / 10);
    RandomNumbers random(seed);
    Problem problem = withoutConstraints(n, Vector(n * n));
    addGram(0.02 / static_cast<double>(factors), random.spread(n * factors), n, problem.H);
    problem.mEq = 1;
    problem.Aeq.assign(n, 1.0);
    problem.beq = {1.0};
    for (std::size_t j = 0; j < n; ++j) {
        problem.H[j * n + j] += random(0.002, 0.02);
        problem.c[j] = -0.01 * random(0.0, 1.0);
        problem.lb[j] = 0.0;
        problem.ub[j] = std::max(0.05, 4.0 / static_cast<double>(n));
        problem.x0[j] = 1.0 / static_cast<double>(n);
    }
    return problem;
}

}  // namespace activeset::bench
