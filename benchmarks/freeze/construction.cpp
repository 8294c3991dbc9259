#include "benchmarks/freeze/construction.hpp"

#include <cmath>
#include <utility>

namespace activeset::bench {

std::size_t anySize(RandomNumbers& random) {
    const double draw = random(0.0, 1.0);
    if (draw < 0.55) {
        return random.pick(2, 12);
    }
    return draw < 0.96 ? random.pick(13, 60) : random.pick(100, 200);
}

std::vector<double> numbers(std::size_t count, bool integral, RandomNumbers& random) {
    std::vector<double> result(count);
    for (double& value : result) {
        value = integral ? static_cast<double>(random.pick(0, 6)) - 3.0 : random.normal();
    }
    return result;
}

std::vector<double> hessian(
    std::size_t n, std::size_t rank, double ridge, bool integral, RandomNumbers& random) {
    const std::vector<double> M = numbers(n * rank, integral, random);
    std::vector<double> H(n * n);
    const double scale = integral ? 1.0 : 1.0 / static_cast<double>(n);
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i <= j; ++i) {
            double sum = 0.0;
            for (std::size_t k = 0; k < rank; ++k) {
                sum += M[i * rank + k] * M[j * rank + k];
            }
            H[j * n + i] = H[i * n + j] = scale * sum;
        }
        H[j * n + j] += ridge;
    }
    return H;
}

std::vector<double> conditionedHessian(std::size_t n, double condition, RandomNumbers& random) {
    // Two reflections Q = (1 − 2uuᵀ)(1 − 2vvᵀ) mix the eigenvectors.
    std::vector<double> H(n * n);
    for (std::size_t j = 0; j < n; ++j) {
        const double share = n == 1 ? 0.0 : static_cast<double>(j) / static_cast<double>(n - 1);
        H[j * n + j] = std::pow(condition, -share);
    }
    for (int reflection = 0; reflection < 2; ++reflection) {
        std::vector<double> u = numbers(n, false, random);
        double norm = 0.0;
        for (const double entry : u) {
            norm += entry * entry;
        }
        std::vector<double> Hu(n);
        double uHu = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            u[j] /= std::sqrt(norm);
        }
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j < n; ++j) {
                Hu[i] += H[j * n + i] * u[j];
            }
            uHu += u[i] * Hu[i];
        }
        for (std::size_t j = 0; j < n; ++j) {
            for (std::size_t i = 0; i < n; ++i) {
                H[j * n + i] += 4.0 * uHu * u[i] * u[j] - 2.0 * (u[i] * Hu[j] + Hu[i] * u[j]);
            }
        }
    }
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            H[i * n + j] = H[j * n + i];
        }
    }
    return H;
}

namespace {

/// Sides around a value, and the multiplier of the active one.
struct Sides {
    double lower = -Infinity;
    double upper = Infinity;
    double multiplier = 0.0;
};

Sides sidesAround(double value, const Shape& shape, RandomNumbers& random) {
    const auto room = [&] {
        return shape.integral ? static_cast<double>(random.pick(0, 2)) : random(0.1, 2.0);
    };
    Sides sides;
    const std::size_t which = random.pick(0, 3);  // lower, upper or both
    if (which != 1) {
        sides.lower = value - room();
    }
    if (which != 0) {
        sides.upper = value + room();
    }
    if (!random.chance(shape.active)) {
        return sides;
    }
    const bool isUpper = which == 0 ? false : which == 1 || random.chance(0.5);
    (isUpper ? sides.upper : sides.lower) = value;
    if (random.chance(shape.multiplied)) {
        const double size =
            shape.integral ? static_cast<double>(random.pick(0, 2)) : random(0.1, 1.0);
        sides.multiplier = isUpper ? size : -size;
    }
    return sides;
}

}  // namespace

Program programWithOptimum(const Shape& shape,
                           std::vector<double> H,
                           std::vector<double> rows,
                           RandomNumbers& random) {
    const std::size_t n = shape.n;
    const std::size_t m = shape.m;
    Program p{.n = n, .m = m, .H = std::move(H), .A = std::move(rows)};
    if (p.A.empty()) {
        p.A = numbers(m * n, shape.integral, random);
    }
    const std::vector<double> x = numbers(n, shape.integral, random);
    p.c.assign(n, 0.0);
    for (std::size_t i = 0; i < m; ++i) {
        double value = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            value += p.A[j * m + i] * x[j];
        }
        Sides sides = sidesAround(value, shape, random);
        if (random.chance(shape.equalities)) {
            sides = {value, value, numbers(1, shape.integral, random)[0]};
        }
        p.rowLower.push_back(sides.lower);
        p.rowUpper.push_back(sides.upper);
        for (std::size_t j = 0; j < n; ++j) {
            p.c[j] -= sides.multiplier * p.A[j * m + i];
        }
    }
    for (std::size_t j = 0; j < n; ++j) {
        Sides sides;
        if (random.chance(shape.bounded)) {
            sides = sidesAround(x[j], shape, random);
        }
        p.lower.push_back(sides.lower);
        p.upper.push_back(sides.upper);
        p.c[j] -= sides.multiplier;
        for (std::size_t i = 0; i < n && !p.H.empty(); ++i) {
            p.c[j] -= p.H[i * n + j] * x[i];
        }
    }
    return p;
}

void appendRow(Program& program, const std::vector<double>& row, double lower, double upper) {
    std::vector<double> A((program.m + 1) * program.n);
    for (std::size_t j = 0; j < program.n; ++j) {
        for (std::size_t i = 0; i < program.m; ++i) {
            A[j * (program.m + 1) + i] = program.A[j * program.m + i];
        }
        A[j * (program.m + 1) + program.m] = row[j];
    }
    program.A = std::move(A);
    ++program.m;
    program.rowLower.push_back(lower);
    program.rowUpper.push_back(upper);
}

}  // namespace activeset::bench
