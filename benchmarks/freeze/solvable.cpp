#include "benchmarks/freeze/solvable.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace activeset::bench {

namespace {

using Vector = std::vector<double>;

}  // namespace

Shape anyShape(RandomNumbers& random) {
    Shape shape;
    shape.n = anySize(random);
    shape.m = random.pick(0, 2 * shape.n);
    shape.equalities = random.chance(0.5) ? 0.0 : 0.1;
    shape.active = random(0.0, 0.6);
    shape.multiplied = random.chance(0.7) ? 1.0 : 0.5;
    shape.bounded = std::max(0.0, random(-0.3, 1.2));
    return shape;
}

Program strict(RandomNumbers& random) {
    const Shape shape = anyShape(random);
    return programWithOptimum(shape, hessian(shape.n, shape.n, 0.01, false, random), {}, random);
}

Program box(RandomNumbers& random) {
    Shape shape = anyShape(random);
    shape.m = 0;
    shape.bounded = 1.0;
    return programWithOptimum(shape, hessian(shape.n, shape.n, 0.01, false, random), {}, random);
}

Program semidefinite(RandomNumbers& random) {
    const Shape shape = anyShape(random);
    const std::size_t rank = random.pick(0, shape.n - 1);
    return programWithOptimum(shape, hessian(shape.n, rank, 0.0, false, random), {}, random);
}

Program linear(RandomNumbers& random) {
    Shape shape = anyShape(random);
    shape.active = random(0.3, 0.9);
    return programWithOptimum(shape, {}, {}, random);
}

Program integers(RandomNumbers& random) {
    Shape shape = anyShape(random);
    shape.integral = true;
    const std::size_t rank = random.chance(0.5) ? shape.n : random.pick(0, shape.n);
    const double ridge = random.chance(0.5) ? 1.0 : 0.0;
    return programWithOptimum(shape, hessian(shape.n, rank, ridge, true, random), {}, random);
}

Program degenerate(RandomNumbers& random) {
    Shape shape = anyShape(random);
    shape.n = std::min<std::size_t>(shape.n, 40);
    shape.m = random.pick(2 * shape.n, 3 * shape.n);
    shape.active = 1.0;
    shape.multiplied = random(0.1, 1.0);
    shape.equalities = 0.0;
    shape.integral = random.chance(0.3);
    Vector H =
        random.chance(0.25) ? Vector() : hessian(shape.n, shape.n, 1.0, shape.integral, random);
    return programWithOptimum(shape, std::move(H), {}, random);
}

Program conditioned(RandomNumbers& random) {
    const Shape shape = anyShape(random);
    const double condition = random.chance(0.5) ? 1e10 : 1e6;
    return programWithOptimum(shape, conditionedHessian(shape.n, condition, random), {}, random);
}

Program parallel(RandomNumbers& random) {
    Shape shape = anyShape(random);
    shape.m = std::max<std::size_t>(2, shape.m);
    shape.active = random(0.3, 0.9);
    Vector rows = numbers(shape.m * shape.n, false, random);
    for (std::size_t i = 1; i < shape.m; i += 2) {
        const double distance = std::pow(10.0, random(-13.0, -3.0));
        for (std::size_t j = 0; j < shape.n; ++j) {
            double& entry = rows[j * shape.m + i];
            entry = rows[j * shape.m + i - 1] + distance * entry;
        }
    }
    const double ridge = random.chance(0.8) ? 0.01 : 0.0;
    return programWithOptimum(shape, hessian(shape.n, shape.n, ridge, false, random),
                              std::move(rows), random);
}

Program dependent(RandomNumbers& random) {
    Shape shape = anyShape(random);
    shape.equalities = 0.0;
    Program p =
        programWithOptimum(shape, hessian(shape.n, shape.n, 0.01, false, random), {}, random);
    Vector sum(shape.n);
    double side = 0.0;
    const Vector x = numbers(shape.n, true, random);
    p.lower.assign(shape.n, -20.0);
    p.upper.assign(shape.n, 20.0);
    p.rowLower.assign(p.m, -Infinity);
    p.rowUpper.assign(p.m, Infinity);
    for (std::size_t k = random.pick(1, std::min<std::size_t>(shape.n, 5)); k-- > 0;) {
        const Vector row = numbers(shape.n, true, random);
        double value = 0.0;
        for (std::size_t j = 0; j < shape.n; ++j) {
            value += row[j] * x[j];
            sum[j] += row[j];
        }
        side += value;
        appendRow(p, row, value, value);
    }
    appendRow(p, sum, side, side);
    return p;
}

Program lowRank(RandomNumbers& random) {
    Shape shape = anyShape(random);
    const std::size_t rank = random.pick(1, std::min<std::size_t>(shape.n, 5));
    shape.bounded = 1.0;
    shape.m = random.pick(0, 3);
    return programWithOptimum(shape, hessian(shape.n, rank, 1e-8, false, random), {}, random);
}

Program tall(RandomNumbers& random) {
    Shape shape = anyShape(random);
    shape.n = std::min<std::size_t>(shape.n, 50);
    shape.m = 20 * shape.n;
    shape.active = random(0.01, 0.05);
    shape.equalities = 0.0;
    return programWithOptimum(shape, hessian(shape.n, shape.n, 0.01, false, random), {}, random);
}

Program scaled(RandomNumbers& random) {
    Program p = random.chance(0.8) ? strict(random) : semidefinite(random);
    const auto unit = [&] { return std::pow(10.0, std::round(random(-4.0, 4.0))); };
    for (std::size_t i = 0; i < p.m; ++i) {
        const double factor = unit();
        p.rowLower[i] *= factor;
        p.rowUpper[i] *= factor;
        for (std::size_t j = 0; j < p.n; ++j) {
            p.A[j * p.m + i] *= factor;
        }
    }
    for (std::size_t j = 0; j < p.n; ++j) {
        const double factor = unit();
        p.lower[j] /= factor;
        p.upper[j] /= factor;
        p.c[j] *= factor;
        for (std::size_t i = 0; i < p.m; ++i) {
            p.A[j * p.m + i] *= factor;
        }
        for (std::size_t i = 0; i < p.n; ++i) {
            p.H[j * p.n + i] *= factor;
            p.H[i * p.n + j] *= factor;
        }
    }
    return p;
}

Program tiny(RandomNumbers& random) {
    Shape shape = anyShape(random);
    shape.n = random.pick(1, 3);
    shape.m = random.pick(0, 3);
    shape.integral = random.chance(0.5);
    const std::size_t rank = random.pick(0, shape.n);
    Program p =
        programWithOptimum(shape, hessian(shape.n, rank, 0.0, shape.integral, random), {}, random);
    if (random.chance(0.3)) {
        p.lower[0] = p.upper[0] = std::isfinite(p.upper[0]) ? p.upper[0] : 1.0;
    }
    return p;
}

Program supportVectors(RandomNumbers& random) {
    return programOf(
        supportVectorProblem(std::max<std::size_t>(4, anySize(random)), random.pick(0, 1U << 30U)));
}

Program portfolio(RandomNumbers& random) {
    return programOf(
        portfolioProblem(std::max<std::size_t>(5, anySize(random)), random.pick(0, 1U << 30U)));
}

}  // namespace activeset::bench
