// Values and gradients of the objectives.
#include "activeset/sizes.hpp"
#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using Matrix = OPTMatrix<double>;
using Objectives = FreshState;

TEST_F(Objectives, TheHessianIsUsedAsItIs) {
    const struct {
        Rows H;
        std::vector<double> c, x;
        double value;
        Rows gradient;
    } cases[] = {// ½xᵀ·H comes first: 10²⁰ + 1 loses the 1
                 {{{1e20, -1e20}, {1, 0}}, {0, 0}, {1, 1}, 0, {{0}, {1}}},
                 // ½·(3·(1·3 + 2·5) + 5·(−4·3)) + 3 − 5. The gradient is not that of the symmetric
                 // part.
                 {{{1, 2}, {-4, 0}}, {1, -1}, {3, 5}, -12.5, {{14}, {-13}}}};
    for (const auto& c : cases) {
        for (vxArray* H : {array(c.H), sparse(c.H)}) {
            QPobjective objective(H, column(c.c));
            const QPobjective copy(objective);
            const Matrix x = columnMatrix(c.x);
            EXPECT_EQ(rowsOf(objective.fval(x)), (Rows{{c.value}}));
            EXPECT_EQ(rowsOf(objective.grad(x)), c.gradient);
            EXPECT_EQ(OPTsizes::getnVar(), 2U);
            objective.setc(columnMatrix({0, 0}));
            EXPECT_EQ(rowsOf(QPobjective(copy).grad(x)), c.gradient) << "a copy shares c";
        }
    }
}

TEST_F(Objectives, LinearOnesIgnoreThePointInTheGradient) {
    LPobjective linear(column({1, -2, 3}));
    EXPECT_EQ(OPTsizes::getnVar(), 3U);
    EXPECT_EQ(rowsOf(linear.fval(columnMatrix({4, 5, 6}))), (Rows{{12}}));
    linear.grad(Matrix()).fill(0.0);
    EXPECT_EQ(rowsOf(linear.grad(Matrix())), (Rows{{1}, {-2}, {3}})) << "the gradient is c itself";
    vxArray* cost = column({0, 1});
    PhaseOneObjective phaseOne(cost);
    vxGetDoubles(cost)[1] = 7;
    EXPECT_EQ(phaseOne.getObjectiveType(), "LP");
    EXPECT_EQ(rowsOf(phaseOne.fval(columnMatrix({-9, 5}))), (Rows{{5}}));
    EXPECT_EQ(rowsOf(phaseOne.grad(columnMatrix({-9, 5}))), (Rows{{0}, {1}}));
}

TEST_F(Objectives, SizesThatDoNotFitAreRaised) {
    OPTsizes::setnVar(42);
    expectAssertion("Size mismatch in QP problem setup.", [] {
        const QPobjective objective(array({{1, 0}, {0, 1}}), column({1}));
    });
    EXPECT_EQ(OPTsizes::getnVar(), 42U);
    QPobjective square(array({{1, 0}, {0, 1}}), column({1, 1}));
    for (const bool isGradient : {true, false}) {
        expectRaises(MatrixFault, "Incompatible dimensions for matrix multiplication", [&] {
            const Matrix tooLong = columnMatrix({1, 2, 3});
            static_cast<void>(isGradient ? square.grad(tooLong) : square.fval(tooLong));
        });
    }
}

}  // namespace
}  // namespace activeset::test
