// The least risk for each return that is asked for: minimise ½xᵀΣx with Σ = diag(1, 2, 4) over
// shares x ≥ 0 that add up to 1 and return μᵀx ≥ r, for rising r.
//
// Where the return does not bind, x is proportional to Σ⁻¹: (4, 2, 1)/7, with the return 9/14 for
// μ = (0.5, 0.75, 1). At r = 1 everything is in the third share, and the risk ½·4.
#include <activeset/qp.hpp>
#include <array>
#include <cmath>
#include <cstdio>

int main() {
    using activeset::Infinity;
    const std::array covariance{1.0, 0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 4.0};
    const std::array linear{0.0, 0.0, 0.0};
    const std::array rows{1.0, 0.5, 1.0, 0.75, 1.0, 1.0};  // column by column: budget, return
    const std::array upper{1.0, Infinity};
    const std::array nothing{0.0, 0.0, 0.0};
    activeset::Solver solver({.H = {covariance, 3, 3},
                              .c = linear,
                              .A = {rows, 2, 3},
                              .rowLower = std::array{1.0, 0.0},
                              .rowUpper = upper,
                              .lower = nothing});
    std::array<double, 11> risks{};
    for (std::size_t k = 0; k < risks.size(); ++k) {
        const double target = 0.5 + 0.05 * static_cast<double>(k);
        solver.setRowSides(std::array{1.0, target}, upper);
        const activeset::Result r = solver.solve();
        if (!r) {
            std::printf("return %.2f: %s\n", target, textOf(r.status));
            return 1;
        }
        risks.at(k) = r.objective;
        std::printf("return %.2f: risk %.4f, shares %.3f %.3f %.3f, one more unit costs %.4f\n",
                    target, r.objective, r.x[0], r.x[1], r.x[2], -r.y[1]);
    }
    const bool isRight = std::abs(risks.front() - 2.0 / 7.0) < 1e-14 &&
                         std::abs(risks.at(2) - 2.0 / 7.0) < 1e-14 &&
                         std::abs(risks.back() - 2.0) < 1e-14;
    return isRight ? 0 : 1;
}
