// A certificate with one wrong number does not hold.
#include "frontend/proof/certificate.hpp"

#include "frontend/generator.hpp"
#include "frontend/loop/caller_proofs.hpp"
#include "frontend/proof/contradiction.hpp"
#include "frontend/proof/farkas.hpp"
#include "frontend/proof/gap_correction.hpp"
#include "frontend/proof/ray.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using frontend::ProblemData;

class Certificates : public FreshState {};

ProblemData dataOf(const Sample& sample) {
    return frontend::copyOf(sample.view());
}

struct Units {
    double objective, variable, row;
};

Sample inUnits(Sample s, const Units& unit) {
    const auto times = [](Numbers& values, double factor) {
        for (double& value : values) {
            value *= factor;
        }
    };
    times(s.H, unit.objective / (unit.variable * unit.variable));
    times(s.c, unit.objective / unit.variable);
    times(s.A, unit.row / unit.variable);
    times(s.rowLower, unit.row);
    times(s.rowUpper, unit.row);
    times(s.lower, unit.variable);
    times(s.upper, unit.variable);
    times(s.start, unit.variable);
    return s;
}

// H is positive definite, so there is only one optimum. No row is zero, so each multiplier shows in
// the gradient. Both are true in any units.
TEST_F(Certificates, OfOptimaAreUndoneByAnyWrongNumber) {
    constexpr double Tolerance = 1e-9;
    constexpr Units All[] = {{1, 1, 1}, {1e-13, 1, 1}, {1, 1e-12, 1}, {1e-11, 1e-11, 1e-11}};
    for (unsigned seed = 0; seed < 60; ++seed) {
        const Units& unit = All[seed % std::size(All)];
        const Sample sample = inUnits(randomSample(seed, 6, false), unit);
        const Result r = solve(sample.view());
        ASSERT_EQ(r.status, Status::Optimal) << "seed " << seed;
        const ProblemData data = dataOf(sample);
        const frontend::Point right{r.x, r.y, r.z};
        EXPECT_TRUE(judge(data, right).certificate.holds(Tolerance));
        for (auto part : {&frontend::Point::x, &frontend::Point::y, &frontend::Point::z}) {
            for (std::size_t k = 0; k < (right.*part).size(); ++k) {
                const double size = part == &frontend::Point::x   ? unit.variable
                                    : part == &frontend::Point::y ? unit.objective / unit.row
                                                                  : unit.objective / unit.variable;
                for (const double error : {1e-5, -1e-5, std::nan("")}) {
                    frontend::Point wrong = right;
                    (wrong.*part)[k] += error * size;
                    const bool isZeroRow =
                        part == &frontend::Point::y &&
                        std::all_of(sample.A.begin(), sample.A.end(), [&](const double& entry) {
                            const auto at = static_cast<std::size_t>(&entry - sample.A.data());
                            return at % sample.m != k || entry == 0.0;
                        });
                    // The multiplier of an absent side counts as zero. The multiplier of a bound
                    // that exists is recomputed from the gradient.
                    frontend::Point settled = wrong;
                    settle(data, settled);
                    const bool isMended = part != &frontend::Point::x &&
                                          (settled.z != wrong.z || settled.y == right.y);
                    EXPECT_TRUE(isZeroRow || isMended ||
                                !judge(data, wrong).certificate.holds(Tolerance))
                        << "seed " << seed << ", entry " << k << ", error " << error;
                }
            }
        }
    }
}

// x ≥ 1 and x ≤ 0 as two rows, then as a row and a bound. The proof is about the returned vectors.
TEST_F(Certificates, OfInfeasibilityAreUndoneByWrongWeightsSignsAndSides) {
    Sample s{1, 2, {}, {0.0}, {1.0, 1.0}, {1.0, -Infinity}, {Infinity, 0.0}, {}, {}, {}};
    const auto isProof = [&](Numbers y) {
        return frontend::holds(frontend::judgeFarkas(dataOf(s), std::move(y)), 1e-9);
    };
    EXPECT_TRUE(isProof({-1.0, 1.0}));
    EXPECT_TRUE(isProof({-7.0, 7.0}));
    EXPECT_FALSE(isProof({1.0, -1.0}));  // these sides are absent
    EXPECT_FALSE(isProof({-1.0, 1.1}));  // Aᵀy is not zero
    EXPECT_FALSE(isProof({-1.0, 0.0}));  // there is no upper bound
    EXPECT_FALSE(isProof({0.0, 0.0}));
    // The weights miss by 1e-9: they exclude
    // x
    //  < 1e9, and with bounds on x every x.
    Numbers y{-3.0, 3.0 + 3e-9};
    EXPECT_NEAR(frontend::judgeFarkas(dataOf(s), y).radius, 1e9, 1e3);
    EXPECT_NEAR(frontend::judgeFarkas(dataOf(s), y).residual.absolute, 4.0 / 3.0 * 1e-9, 4e-10);
    s.lower = {-5.0};
    s.upper = {5.0};
    EXPECT_EQ(frontend::judgeFarkas(dataOf(s), y).radius, Infinity);
    s.rowUpper[1] = 1.0;
    EXPECT_FALSE(isProof({-1.0, 1.0}));
}

TEST_F(Certificates, TellContradictionsFromRowsThatCancelInDoublesOnly) {
    const double far = 1e20;
    // Weights of ⅓ cancel these rows; in doubles they leave 6e-17, and so a radius of 1e16.
    const Numbers none(3, -Infinity);
    Sample thirds{2, 3, {}, {0.0, 0.0}, {1, 2, -1, 2, 1, -1}, none, {1.0, 1.0, -1.0}, {}, {}, {}};
    const Numbers third{1.0 / 3.0, 1.0 / 3.0, 1.0};
    EXPECT_TRUE(frontend::doContradict(dataOf(thirds), third, far));
    EXPECT_TRUE(frontend::doContradict(dataOf(thirds), {1.0 / 3.0, 1.0 / 3.0, 1.0 + 1e-15}, far));
    // The weighed sides add up to −⅓, the weights to 5/3.
    EXPECT_TRUE(frontend::doContradict(dataOf(thirds), third, far, 0.199));
    EXPECT_FALSE(frontend::doContradict(dataOf(thirds), third, far, 0.201));
    thirds.rowUpper[2] = -0.5;  // (0.25, 0.25)
    EXPECT_FALSE(frontend::doContradict(dataOf(thirds), third, far));
    // (1, 1 + e) and its opposite times 1 + e, but for e² = 2⁻⁶⁰.
    const double e = 0x1p-30;
    const auto parallel = [](double first, double second, double times) {
        return Sample{2,
                      2,
                      {},
                      {0.0, 0.0},
                      {first, -times * first, second, -times * second},
                      {-Infinity, -Infinity},
                      {0.0, -1.0},
                      {},
                      {},
                      {}};
    };
    const Sample exact = parallel(1.0, 1.0 + e, 1.0 + e);
    EXPECT_FALSE(frontend::doContradict(dataOf(exact), {1.0 + e, 1.0}, far));
    Sample beside = exact;  // a rounded entry of a fixed variable has no part in that
    beside.n = 3;
    beside.c.push_back(0.0);
    beside.A.insert(beside.A.end(), {0.1, 0.0});
    beside.lower = {-Infinity, -Infinity, 0.0};
    beside.upper = {Infinity, Infinity, 0.0};
    EXPECT_FALSE(frontend::doContradict(dataOf(beside), {1.0 + e, 1.0}, far));
    Sample rounded = parallel(1.0 / 3.0, 0.7, 1.1);
    EXPECT_TRUE(frontend::doContradict(dataOf(rounded), {1.1, 1.0}, far));
    rounded.A[3] += 1e-14;
    EXPECT_FALSE(frontend::doContradict(dataOf(rounded), {1.1, 1.0}, far));
}

// ½x₁² − x₂ with x₁ + x₂ ≥ 0: (0, 1) is a ray.
TEST_F(Certificates, OfUnboundednessAreUndoneByCurvatureSidesAndAscent) {
    Sample s{2, 1, {1, 0, 0, 0}, {0.0, -1.0}, {1, 1}, {0.0}, {Infinity}, {}, {}, {}};
    const auto isProof = [&](const Numbers& d) {
        return frontend::holds(frontend::judgeRay(dataOf(s), d), 1e-9);
    };
    EXPECT_TRUE(isProof({0.0, 1.0}));
    EXPECT_FALSE(isProof({0.1, 1.0}));
    EXPECT_FALSE(isProof({0.0, -1.0}));
    EXPECT_FALSE(isProof({0.0, 0.0}));
    s.upper = {Infinity, 1e9};
    EXPECT_FALSE(isProof({0.0, 1.0}));
    s.upper.clear();
    s.rowUpper = {1e9};
    EXPECT_FALSE(isProof({0.0, 1.0}));
}

// ½x₁² − x₀: proximal steps leave rounding in x₁.
TEST_F(Certificates, OfUnboundednessLeaveRoundingOut) {
    const Sample s{2, 0, {0, 0, 0, 1}, {-1, 0}, {}, {}, {}, {}, {}, {}};
    const frontend::ProblemCache problem(dataOf(s));
    const auto ray = frontend::provenRay(problem, {1.0, 3e-16});
    ASSERT_TRUE(ray);
    EXPECT_EQ(ray->direction, Numbers({1.0, 0.0}));
    EXPECT_FALSE(frontend::provenRay(problem, {1.0, 1e-7}));
}

// H = vvᵀ + 2⁻³⁶·11ᵀ with v = (3, 3, −2, 3) and 2⁻³⁷ more at the end: the optimum of −7e10 is at
// entries of 1e11. A direction without slope hides this curvature, but no less the slope.
TEST_F(Certificates, OfUnboundednessAreUndoneByCurvatureThatAFlatDirectionHides) {
    const double e = 0x1p-36;
    const Sample s{4,
                   3,
                   {9 + e, 9 + e, -6 + e, 9 + e, 9 + e, 9 + e, -6 + e, 9 + e, -6 + e, -6 + e, 4 + e,
                    -6 + e, 9 + e, 9 + e, -6 + e, 9 + 1.5 * e},
                   {1, 1, 1, 2},
                   {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 0},
                   {17, 17, 12},
                   {23, 23, Infinity},
                   {},
                   {},
                   {1, 4, 6, 6}};
    EXPECT_NE(solve(s.view()).status, Status::Unbounded);
    const double share = 0x1p-11;
    const Numbers mixed{share - 1, 1, 0, -share};
    EXPECT_FALSE(frontend::holds(frontend::judgeRay(dataOf(s), mixed), 1e-9));

    // Curvature of 6e-17 of its terms is the rounding of 0.01, 0.03 and 0.09.
    const Sample rounded{
        2, 0, {0.1 * 0.1, 0.1 * 0.3, 0.1 * 0.3, 0.3 * 0.3}, {1, 3 + share}, {}, {}, {}, {}, {}, {}};
    EXPECT_TRUE(frontend::holds(frontend::judgeRay(dataOf(rounded), {3, -1}), 1e-9));
}

TEST_F(Certificates, MeasureTheGapOfAPointThatIsFeasibleButNotOptimal) {
    // min x, x ≥ 1: at x = 3 with multiplier −1 the dual value is 1.
    const Sample s{1, 0, {}, {1.0}, {}, {}, {}, {1.0}, {Infinity}, {}};
    const Certificate at3 = judge(dataOf(s), {{3.0}, {}, {-1.0}}).certificate;
    EXPECT_EQ(at3.primal.absolute, 0.0);
    EXPECT_EQ(at3.dual.absolute, 0.0);
    EXPECT_EQ(at3.gap.absolute, 2.0);
    const Certificate at0 = judge(dataOf(s), {{0.0}, {}, {-1.0}}).certificate;
    EXPECT_EQ(at0.primal.absolute, 1.0);
}

// ½u² − x₁ − 27x₃ with u = x₁ − x₂ + x₃ at (10¹⁹, 10¹⁹, 0). Beside the terms of u the slope of −27
// is rounding, but x₂ and x₃ may rise by 10¹⁹.
TEST_F(Certificates, CountSlopesAsFarOutAsTheyMayLead) {
    constexpr double Far = 1e19;
    const Sample far{3,
                     0,
                     {1, -1, 1, -1, 1, -1, 1, -1, 1},
                     {-1, 0, -27},
                     {},
                     {},
                     {},
                     {0, 0, 0},
                     {Far, 2 * Far, Infinity},
                     {}};
    const frontend::ProblemData data = frontend::copyOf(far.view());
    EXPECT_FALSE(frontend::judge(data, {{Far, Far, 0}, {}, {1, 0, 0}}).certificate.holds(1e-9));

    // ½x₂² − x₂ − 10⁻¹⁰⁰·x₁: a cost is not the rounding of others, be it tiny.
    const Sample cost{2, 0, {0, 0, 0, 1}, {-1e-100, -1}, {}, {}, {}, {}, {}, {}};
    const frontend::ProblemData costs = frontend::copyOf(cost.view());
    EXPECT_FALSE(frontend::judge(costs, {{0, 1}, {}, {0, 0}}).certificate.holds(1e-9));
    EXPECT_EQ(solve(cost.view()).status, Status::Unbounded);

    // ½(x₁ − x₂)² − 10⁻¹²·x₁, from zero and from (1, 1)
    const Sample slope{2, 0, {1, -1, -1, 1}, {-1e-12, 0}, {}, {}, {}, {}, {}, {}};
    const Numbers ones{1, 1};
    Problem problem = slope.view();
    EXPECT_EQ(solve(problem).status, Status::Unbounded);
    problem.start = ones;
    EXPECT_EQ(solve(problem).status, Status::Unbounded);
}

// min x₁ + x₂ with x₁ ≥ 1e9 and x₂ ≥ 1e5. One unit in the last place of the first multiplier is a
// gap of 1e-7. The second multiplier can absorb it at the cost of a dual residual of 1e-12. No
// other change may make any residual worse.
TEST_F(Certificates, AreBalancedOnlyWhereTheLargestResidualFalls) {
    const Sample s{2, 0, {}, {1.0, 1.0}, {}, {}, {}, {1e9, 1e5}, {Infinity, Infinity}, {}};
    const ProblemData data = dataOf(s);
    WorkingSet set;
    set.atLower = {0, 1};
    frontend::Point point{{1e9, 1e5}, {}, {std::nextafter(-1.0, 0.0), -1.0}};
    frontend::Judgement judgement = judge(data, point);
    EXPECT_NEAR(judgement.certificate.gap.absolute, 1.1e-7, 1e-8);
    correctGap(data, set, 1e-9, point, judgement);
    EXPECT_LT(judgement.certificate.gap.absolute, 1e-12);
    EXPECT_LT(judgement.certificate.dual.absolute, 1e-9);
    const frontend::Point before = point;
    correctGap(data, set, 1e-9, point, judgement);
    EXPECT_EQ(point.z, before.z);

    // With x₂ ≥ 1e3 the dual residual would be 1e-10, too large for an entry of the gradient.
    Sample near = s;
    near.lower[1] = 1e3;
    point = {{1e9, 1e3}, {}, {std::nextafter(-1.0, 0.0), -1.0}};
    judgement = judge(dataOf(near), point);
    correctGap(dataOf(near), set, 1e-9, point, judgement);
    EXPECT_EQ(point.z[1], -1.0);
}

}  // namespace
}  // namespace activeset::test
