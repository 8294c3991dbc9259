// Small problems by their own method and by the general one, and what both must agree in.
#ifndef ACTIVESET_TESTS_FRONTEND_SMALL_ROAD_HPP
#define ACTIVESET_TESTS_FRONTEND_SMALL_ROAD_HPP

#include "frontend/generator.hpp"
#include "frontend/predict/small_problem.hpp"
#include "frontend/proof/certificate.hpp"
#include "frontend/proof/farkas.hpp"
#include "support/fixture.hpp"

namespace activeset::test {

using frontend::Control;
using frontend::SmallProblem;

inline constexpr std::size_t Limit = 100000;

inline std::optional<Result> solveSmall(SmallProblem& solver, const Problem& problem) {
    const Settings settings;
    Control control(settings, Limit);
    Result result;
    return solver.solve(problem, settings, control, result) ? std::optional(result) : std::nullopt;
}

/// The method for small problems leaves a solve that counts passes to the general one.
inline Result solveGenerally(const Problem& problem) {
    return solve(problem, {.startMode = Start::Predict, .maxIterations = Limit});
}

inline void expectAgreement(const Sample& sample, const Result& small, const Result& general) {
    ASSERT_EQ(small.status, general.status);
    EXPECT_EQ(exact::falseClaim(sample, small), "");
    // The proofs agree with those computed from the caller's data.
    const frontend::ProblemData data = frontend::copyOf(sample.view());
    const frontend::Judgement judgement = frontend::judge(data, {small.x, small.y, small.z});
    const Certificate& said = small.certificate;
    const Certificate& found = judgement.certificate;
    EXPECT_NEAR(said.primal.relative, found.primal.relative,
                std::max(1e-17, 1e-15 * found.primal.relative));
    EXPECT_NEAR(said.dual.relative, found.dual.relative, 1e-14);
    if (small.status == Status::Infeasible) {
        const Farkas farkas = frontend::judgeFarkas(data, small.farkas->y);
        EXPECT_EQ(small.farkas->value, farkas.value);
        EXPECT_EQ(small.farkas->residual.absolute, farkas.residual.absolute);
        EXPECT_EQ(small.farkas->radius, farkas.radius);
        // The loop ends at the nearest point where its prediction is no proof.
        if (general.iterations.phaseOne == 0) {
            EXPECT_EQ(small.x, general.x);
        }
        return;
    }
    EXPECT_NEAR(small.objective, general.objective, 1e-9 * (1.0 + std::abs(general.objective)));
    EXPECT_TRUE(small.wasPredicted);
    // Its rounding bound is wider, but not that of free variables without curvature.
    const double share = small.iterations.proximal > 0 ? 1.5 : 1.0;
    EXPECT_LE(found.gap.relative, share * said.gap.relative + 1e-14);
    EXPECT_NEAR(said.gap.absolute, found.gap.absolute, 1e-14 * (1.0 + std::abs(small.objective)));
    EXPECT_NEAR(small.objective, judgement.objective, 1e-15 * (1.0 + std::abs(small.objective)));
}

}  // namespace activeset::test

#endif
