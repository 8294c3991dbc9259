// Minimise ½‖G·x − d‖² over x ≥ 0, with G = (1 1; 1 −1) and d = (1, 3): H = GᵀG, c = −Gᵀd, and ½dᵀd
// for the constant.
//
// The columns of G are orthogonal. Without bounds x would be (2, −1); with them it is (2, 0), which
// leaves the residual (1, −1), the objective 1 and the multiplier −2 of the bound that holds.
#include <activeset/qp.hpp>
#include <array>
#include <cmath>
#include <cstdio>

int main() {
    const std::array<std::array<double, 2>, 2> G{{{1.0, 1.0}, {1.0, -1.0}}};
    const std::array d{1.0, 3.0};
    std::array<double, 4> H{};
    std::array<double, 2> c{};
    for (std::size_t j = 0; j < 2; ++j) {
        for (std::size_t k = 0; k < 2; ++k) {
            H.at(j * 2 + k) = G[0].at(j) * G[0].at(k) + G[1].at(j) * G[1].at(k);
        }
        c.at(j) = -(G[0].at(j) * d[0] + G[1].at(j) * d[1]);
    }
    const activeset::Result r = activeset::solve({.H = {H, 2, 2},
                                                  .c = c,
                                                  .lower = std::array{0.0, 0.0},
                                                  .constant = 0.5 * (d[0] * d[0] + d[1] * d[1])});
    std::printf("%s: x = (%g, %g), ½‖G·x − d‖² = %g, multipliers (%g, %g)\n", textOf(r.status),
                r.x[0], r.x[1], r.objective, r.z[0], r.z[1]);
    const double error = std::abs(r.x[0] - 2.0) + std::abs(r.x[1]) + std::abs(r.objective - 1.0) +
                         std::abs(r.z[0]) + std::abs(r.z[1] + 2.0);
    return r && error < 1e-14 ? 0 : 1;
}
