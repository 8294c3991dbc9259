// A support-vector machine: the line that keeps two groups of points apart by the widest margin, by
// its dual problem, minimise ½Σᵢⱼ αᵢαⱼ·yᵢyⱼ·xᵢᵀxⱼ − Σᵢ αᵢ subject to Σᵢ αᵢyᵢ = 0 and 0 ≤ α ≤ 10. H
// has rank 2 for six points: it is singular.
//
// The points (2, 0) and (0, 0) are nearest to one another, so the line is half-way between them:
// w = Σ αᵢyᵢxᵢ = (1, 0), and the dual objective is −½‖w‖².
#include <activeset/qp.hpp>
#include <array>
#include <cmath>
#include <cstdio>

int main() {
    struct Example {
        double x1, x2, label;
    };
    constexpr std::array<Example, 6> Examples{
        {{2, 0, 1}, {3, 1, 1}, {3, -1, 1}, {0, 0, -1}, {-1, 1, -1}, {-1, -1, -1}}};
    constexpr std::size_t Count = Examples.size();
    std::array<double, Count * Count> H{};
    std::array<double, Count> c{};
    std::array<double, Count> labels{};
    std::array<double, Count> least{};
    std::array<double, Count> most{};
    for (std::size_t i = 0; i < Count; ++i) {
        const Example& a = Examples.at(i);
        for (std::size_t j = 0; j < Count; ++j) {
            const Example& b = Examples.at(j);
            H.at(j * Count + i) = a.label * b.label * (a.x1 * b.x1 + a.x2 * b.x2);
        }
        c.at(i) = -1.0;
        labels.at(i) = a.label;
        most.at(i) = 10.0;
    }
    const std::array zero{0.0};
    const activeset::Result r = activeset::solve({.H = {H, Count, Count},
                                                  .c = c,
                                                  .A = {labels, 1, Count},
                                                  .rowLower = zero,
                                                  .rowUpper = zero,
                                                  .lower = least,
                                                  .upper = most});
    double w1 = 0.0;
    double w2 = 0.0;
    for (std::size_t i = 0; i < Count; ++i) {
        w1 += r.x[i] * Examples.at(i).label * Examples.at(i).x1;
        w2 += r.x[i] * Examples.at(i).label * Examples.at(i).x2;
    }
    // The multiplier of the equality is the offset b of the line wᵀx + b = 0.
    std::printf("%s in %zu proximal steps: w = (%g, %g), b = %g, objective %g\n", textOf(r.status),
                r.iterations.proximal, w1, w2, r.y[0], r.objective);
    const double error =
        std::abs(w1 - 1.0) + std::abs(w2) + std::abs(r.objective + 0.5) + std::abs(r.y[0] + 1.0);
    return r && error < 1e-12 ? 0 : 1;
}
