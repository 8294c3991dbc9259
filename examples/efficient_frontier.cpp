// The efficient frontier of three assets, all of it: minimise ½xᵀΣx − t·μᵀx with Σ = diag(1, 2, 4)
// over shares x ≥ 0 that add up to 1, for every appetite t for the return μ = (0.5, 0.75, 1).
//
// At t = 0, x is proportional to Σ⁻¹: (4, 2, 1)/7. From there the first share falls to 0, then the
// second one, and the rest of the frontier is the third asset alone, from t = 16 on: with two
// shares left, 2·x₁ − 0.75t = 4·x₂ − t, so x₁ = (4 − 0.25t)/6.
#include <activeset/path.hpp>
#include <array>
#include <cmath>
#include <cstdio>

int main() {
    const std::array covariance{1.0, 0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 4.0};
    const std::array budget{1.0, 1.0, 1.0};
    const std::array one{1.0};
    const std::array nothing{0.0, 0.0, 0.0};
    const std::array lessReturn{-0.5, -0.75, -1.0};
    const activeset::Path frontier({.H = {covariance, 3, 3},
                                    .c = nothing,
                                    .A = {budget, 1, 3},
                                    .rowLower = one,
                                    .rowUpper = one,
                                    .lower = nothing},
                                   {.c = lessReturn}, 0.0, 20.0);
    for (const activeset::Piece& piece : frontier.pieces()) {
        const auto& x = piece.x;
        const double expected = 0.5 * x[0] + 0.75 * x[1] + x[2];
        const double risk = 0.5 * (x[0] * x[0] + 2.0 * x[1] * x[1] + 4.0 * x[2] * x[2]);
        std::printf("from %7.4f to %7.4f: shares %.4f %.4f %.4f, return %.4f, risk %.4f\n",
                    piece.from, piece.to, x[0], x[1], x[2], expected, risk);
    }
    const bool isRight = frontier.pieces().size() == 3 &&
                         std::abs(frontier.at(0.0).x[0] - 4.0 / 7.0) < 1e-14 &&
                         std::abs(frontier.pieces().back().from - 16.0) < 1e-12 &&
                         std::abs(frontier.at(20.0).x[2] - 1.0) < 1e-14;
    return isRight ? 0 : 1;
}
