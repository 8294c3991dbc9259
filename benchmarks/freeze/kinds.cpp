#include "benchmarks/freeze/kinds.hpp"

#include <cmath>
#include <string_view>
#include <utility>

#include "benchmarks/freeze/solvable.hpp"

namespace activeset::bench {

namespace {

using Vector = std::vector<double>;

Program anyFeasible(RandomNumbers& random) {
    switch (random.pick(0, 3)) {
        case 0:
            return linear(random);
        case 1:
            return semidefinite(random);
        case 2:
            return integers(random);
        default:
            return strict(random);
    }
}

/// Adds a row that contradicts a sum of sides by `gap`. With a negative gap they nearly contradict.
Program withContradiction(Program p, double gap, RandomNumbers& random) {
    Vector row(p.n);
    double least = 0.0;
    const std::size_t terms = random.pick(1, 6);
    for (std::size_t k = 0; k < terms; ++k) {
        const std::size_t which = random.pick(0, p.m + p.n - 1);
        const bool isRow = which < p.m;
        const double lower = isRow ? p.rowLower[which] : p.lower[which - p.m];
        const double upper = isRow ? p.rowUpper[which] : p.upper[which - p.m];
        const double weight = random.chance(0.3) ? 1.0 : random(0.2, 2.0);
        const double sign = std::isfinite(lower) ? weight : -weight;
        if (!std::isfinite(lower) && !std::isfinite(upper)) {
            continue;
        }
        least += sign * (sign > 0.0 ? lower : upper);
        if (!isRow) {
            row[which - p.m] += sign;
        }
        for (std::size_t j = 0; j < p.n && isRow; ++j) {
            row[j] += sign * p.A[j * p.m + which];
        }
    }
    appendRow(p, row, -Infinity, least - gap);
    return p;
}

Program infeasible(RandomNumbers& random) {
    const double gap = random.chance(0.7) ? random(0.1, 2.0) : std::pow(10.0, random(-7.0, -1.0));
    return withContradiction(anyFeasible(random), gap, random);
}

/// The feasible set, if any, has no interior or is very thin.
Program thin(RandomNumbers& random) {
    const double gap = random.chance(0.5) ? 0.0 : -std::pow(10.0, random(-10.0, -4.0));
    return withContradiction(anyFeasible(random), gap, random);
}

/// Along an integral direction d there is no curvature and no side, and the objective falls.
Program unbounded(RandomNumbers& random) {
    Shape shape = anyShape(random);
    shape.integral = random.chance(0.5);
    Vector d = numbers(shape.n, true, random);
    d[0] = d[0] == 0.0 ? 1.0 : d[0];
    Vector H;
    if (random.chance(0.7)) {  // squares of (v·d)·e_i − d_i·v, each orthogonal to d
        H.assign(shape.n * shape.n, 0.0);
        for (std::size_t k = random.pick(0, shape.n); k-- > 0;) {
            const std::size_t i = random.pick(0, shape.n - 1);
            const std::size_t j = random.pick(0, shape.n - 1);
            Vector v(shape.n);
            v[i] += d[j];
            v[j] -= d[i];
            for (std::size_t entry = 0; entry < shape.n * shape.n; ++entry) {
                H[entry] += v[entry % shape.n] * v[entry / shape.n];
            }
        }
    }
    Program p = programWithOptimum(shape, std::move(H), {}, random);
    const auto open = [](double slope, double& lower, double& upper) {
        upper = slope > 0.0 ? Infinity : upper;
        lower = slope < 0.0 ? -Infinity : lower;
    };
    for (std::size_t i = 0; i < p.m; ++i) {
        double slope = 0.0;
        for (std::size_t j = 0; j < p.n; ++j) {
            slope += p.A[j * p.m + i] * d[j];
        }
        open(slope, p.rowLower[i], p.rowUpper[i]);
    }
    double descent = 0.0;
    double length = 0.0;
    for (std::size_t j = 0; j < p.n; ++j) {
        open(d[j], p.lower[j], p.upper[j]);
        descent += p.c[j] * d[j];
        length += d[j] * d[j];
    }
    for (std::size_t j = 0; j < p.n; ++j) {
        p.c[j] -= (descent + 1.0) / length * d[j];
    }
    return p;
}

Program notConvex(RandomNumbers& random) {
    Program p = strict(random);
    p.H = hessian(p.n, random.pick(0, p.n - 1), 0.0, false, random);
    const Vector v = numbers(p.n, false, random);
    const double curvature = std::pow(10.0, random(-6.0, 0.0));
    for (std::size_t entry = 0; entry < p.n * p.n; ++entry) {
        p.H[entry] -= curvature * v[entry % p.n] * v[entry / p.n];
    }
    return p;
}

constexpr Kind All[] = {{"strict", 1600, strict},
                        {"box", 500, box},
                        {"semidefinite", 1000, semidefinite},
                        {"linear", 800, linear},
                        {"integers", 1000, integers},
                        {"degenerate", 500, degenerate},
                        {"conditioned", 300, conditioned},
                        {"parallel", 400, parallel},
                        {"dependent", 200, dependent},
                        {"low-rank", 300, lowRank},
                        {"tall", 150, tall},
                        {"scaled", 400, scaled},
                        {"infeasible", 800, infeasible},
                        {"thin", 300, thin},
                        {"unbounded", 500, unbounded},
                        {"not-convex", 200, notConvex},
                        {"tiny", 500, tiny},
                        {"svm", 60, supportVectors},
                        {"portfolio", 60, portfolio}};

}  // namespace

std::span<const Kind> kinds() {
    return All;
}

Program problemOf(const Kind& kind, std::uint64_t seed) {
    std::uint64_t mixed = seed + 1;  // includes the name, so that two kinds draw different numbers
    for (const char letter : std::string_view(kind.name)) {
        mixed = 0x100000001b3U * (mixed ^ static_cast<unsigned char>(letter));
    }
    RandomNumbers random(mixed);
    return kind.make(random);
}

}  // namespace activeset::bench
