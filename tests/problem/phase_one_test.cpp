// The constraint set relaxed by the artificial variable.
#include "activeset/sizes.hpp"
#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using Matrix = OPTMatrix<double>;

/// x₁ + x₂ + x₃ = 6, x₁ + 2x₂ + 3x₃ ≤ 10, x₁ ≥ 1, x₂ ≤ 2, and the same relaxed by γ.
class RelaxedConstraints : public FreshState {
protected:
    void SetUp() override {
        FreshState::SetUp();
        OPTsizes::setnVar(3);
        main = std::make_unique<LinearConstraint>(array({{1, 2, 3}}), column({10}),
                                                  array({{1, 1, 1}}), column({6}),
                                                  column({1, -Inf, -Inf}), column({Inf, 2, Inf}));
        OPTsizes::setnVar(4);
        relaxed = std::make_unique<PhaseOneConstraint>(main.get());
    }
    void TearDown() override {
        relaxed.reset();
        main.reset();
        FreshState::TearDown();
    }
    static void expectCounts(size_t mConstr, size_t mUB) {
        EXPECT_EQ(OPTsizes::getmConstr(), mConstr);
        EXPECT_EQ(OPTsizes::getmUB(), mUB);
        EXPECT_EQ(OPTsizes::getnVar(), 4U);
    }

    std::unique_ptr<LinearConstraint> main;
    std::unique_ptr<PhaseOneConstraint> relaxed;
};

TEST_F(RelaxedConstraints, WhatIsNotRelaxedIsThatOfTheSetBeneath) {
    EXPECT_EQ(&relaxed->getb(), &main->getb());
    EXPECT_EQ(&relaxed->getbeq(), &main->getbeq());
    EXPECT_EQ(&relaxed->getblb(), &main->getblb());
    EXPECT_EQ(&relaxed->getlb(), &main->getlb());
    EXPECT_EQ(&relaxed->getub(), &main->getub());
    EXPECT_EQ(&relaxed->getbfixed(), &main->getbfixed());
    EXPECT_EQ(relaxed->getindexLB(), main->getindexLB());
    EXPECT_EQ(relaxed->getindexFixed(), main->getindexFixed());
    EXPECT_EQ(relaxed->getAfixed().getRows(), 0U);
}

TEST_F(RelaxedConstraints, OneBoundMoreIsRegisteredOnTheArtificialVariable) {
    expectCounts(5, 2);
    EXPECT_EQ(OPTsizes::getmLB(), 1U);
    EXPECT_EQ(std::vector<size_t>(relaxed->getindexUB(), relaxed->getindexUB() + 2),
              (std::vector<size_t>{1, 3}));
    EXPECT_EQ(rowsOf(relaxed->getbub()), (Rows{{2}, {0}}));
    EXPECT_EQ(relaxed->getProblemType(), "PhaseI");
}

TEST_F(RelaxedConstraints, RowsHaveMinusOneForGammaUnlessTheyAreEqualities) {
    EXPECT_EQ(rowsOf(relaxed->getA()), (Rows{{1, 2, 3, -1}}));
    EXPECT_EQ(rowsOf(relaxed->getAeq()), (Rows{{1, 1, 1, 0}}));
    EXPECT_EQ(rowsOf(relaxed->getAlb()), (Rows{{-1, 0, 0, -1}}));
    EXPECT_EQ(rowsOf(relaxed->getAub()), (Rows{{0, 1, 0, -1}, {0, 0, 0, -1}}));
    EXPECT_EQ(rowsOf(relaxed->AubRow(1)), (Rows{{0, 0, 0, -1}}));
    EXPECT_EQ(rowsOf(relaxed->getA()), (Rows{{1, 2, 3, -1}})) << "asked for again";
    EXPECT_EQ(rowsOf(main->ARow(0)), (Rows{{1, 2, 3}})) << "the main set's own row grew";
}

TEST_F(RelaxedConstraints, ProductsAndResidualsTakeGammaOff) {
    const Matrix y = columnMatrix({0, 4, 3, 2});  // A·x = 17, Aeq·x = 7
    EXPECT_EQ(rowsOf(relaxed->Ax(y)), (Rows{{15}}));
    EXPECT_EQ(rowsOf(relaxed->Aeqx(y)), (Rows{{7}}));
    EXPECT_EQ(rowsOf(relaxed->Albx(y)), (Rows{{-2}}));
    EXPECT_EQ(rowsOf(relaxed->Aubx(y)), (Rows{{2}, {-2}}));
    EXPECT_EQ(rowsOf(relaxed->Aconstr(y)), (Rows{{5}}));
    EXPECT_EQ(rowsOf(relaxed->Aeqconstr(y)), (Rows{{1}}));
    EXPECT_EQ(rowsOf(relaxed->Albconstr(y)), (Rows{{-1}}));
    EXPECT_EQ(rowsOf(relaxed->Aubconstr(y)), (Rows{{0}, {-2}}));
    // In the stack the equality's residual is relaxed as well: 7 − 6 − 2.
    EXPECT_EQ(values(relaxed->constrViolation(y)), (std::vector<double>{-1, 5, -1, 0, -2}));
    expectCounts(5, 2);
}

TEST_F(RelaxedConstraints, CountsAreAsBeforeWhenTheMainSetOrMemoryFails) {
    const Matrix tooShort = columnMatrix({1, 2});
    expectRaises(MatrixFault, "Incompatible dimensions for matrix multiplication",
                 [&] { static_cast<void>(relaxed->constrViolation(tooShort)); });
    expectCounts(5, 2);
    OPTsizes::setmConstr(4);  // the counts of the main set
    OPTsizes::setmUB(1);
    for (const std::uint64_t failAt : {1U, 2U}) {
        const AllocationFaults faults(failAt);
        expectRaises(OutOfMemoryIdentifier, OutOfMemoryText,
                     [&] { const PhaseOneConstraint another(main.get()); });
    }
    expectRaises("optim:src:activesetqp:problemNullPointer", "constraint is a NULL pointer.",
                 [] { const PhaseOneConstraint another(nullptr); });
    expectCounts(4, 1);
}

}  // namespace
}  // namespace activeset::test
