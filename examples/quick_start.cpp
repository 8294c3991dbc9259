// Minimise ½(x₁² + x₂²) - 2x₁ - 3x₂ subject to x₁ + x₂ ≤ 3. At x = (1, 2) the gradient is (-1, -1),
// so the constraint's multiplier is 1; the objective is 5/2 - 8 = -5.5.
#include <activeset/qp.hpp>
#include <cstdio>
#include <vector>

int main() {
    const std::vector<double> H{1, 0, 0, 1};
    const std::vector<double> c{-2, -3};
    const std::vector<double> A{1, 1};
    const std::vector<double> b{3};
    const activeset::Result r =
        activeset::solve({.H = {H, 2, 2}, .c = c, .A = {A, 1, 2}, .rowUpper = b});
    std::printf("%s, x = (%.3f, %.3f), objective %.3f, multiplier %.3f\n", textOf(r.status), r.x[0],
                r.x[1], r.objective, r.y[0]);
}
