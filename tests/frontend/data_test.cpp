// What the views of a problem mean: absent sides, the number of variables, empty and faulty parts.
#include "frontend/generator.hpp"
#include "support/fixture.hpp"
#include "support/process_memory.hpp"

namespace activeset::test {
namespace {

class FrontEndData : public FreshState {};

TEST_F(FrontEndData, SidesFrom1e20OnAreAbsent) {
    const Numbers H{1.0};
    const Numbers c{-3e20};
    const Numbers A{1.0};
    const Numbers high{1e20};
    const Numbers low{-1e20};
    const Numbers below{std::nextafter(1e20, 0.0)};
    const Problem problem{.H = {H, 1, 1},
                          .c = c,
                          .A = {A, 1, 1},
                          .rowLower = low,
                          .rowUpper = high,
                          .lower = low,
                          .upper = high};
    const Result result = solve(problem);
    EXPECT_EQ(result.status, Status::Optimal);
    EXPECT_EQ(result.x, Numbers{3e20});
    EXPECT_EQ(result.workingSet.size(), 0U);
    Solver solver(problem);
    EXPECT_EQ(solver.solve().x, Numbers{3e20});
    solver.setBounds(low, below);
    EXPECT_EQ(solver.solve().x, below);

    ASSERT_EQ(faultsOf({.c = c, .lower = high}).size(), 1U);
    EXPECT_EQ(faultsOf({.c = c, .upper = low}).at(0).text,
              "upper(0) = -1e+20, expected a number above -1e20, or inf for no upper side");
}

TEST_F(FrontEndData, TheNumberOfVariablesIsThatOfTheFirstPartThatHasOne) {
    const Numbers A{1.0, 2.0};
    const Numbers sides{2.0};
    const Result result = solve({.A = {A, 1, 2}, .rowLower = sides});
    EXPECT_EQ(result.status, Status::Optimal);
    ASSERT_EQ(result.x.size(), 2U);
    EXPECT_GE(result.x[0] + 2.0 * result.x[1], 2.0 - 1e-9);
    EXPECT_EQ(solve({.lower = sides}).status, Status::Invalid);
}

TEST_F(FrontEndData, WithoutVariablesTheSidesDecide) {
    const Result nothing = solve({.constant = 7.0});
    EXPECT_EQ(nothing.status, Status::Optimal);
    EXPECT_EQ(nothing.objective, 7.0);
    EXPECT_TRUE(nothing.certificate.holds(0.0));

    const Numbers lower{-1.0, 0.0, -Infinity};
    const Numbers upper{0.0, 0.0, 3.0};
    const MatrixView A(nullptr, 3, 0);
    EXPECT_EQ(solve({.A = A, .rowLower = lower, .rowUpper = upper}).status, Status::Optimal);
    const Numbers contradiction{-4.0, 0.0, 3.0};
    const Problem impossible{.A = A, .rowLower = Numbers(), .rowUpper = contradiction};
    Solver solver(impossible);
    for (const Result& result : {solve(impossible), solver.solve()}) {
        EXPECT_EQ(result.status, Status::Infeasible);
        ASSERT_TRUE(result.farkas.has_value());
        EXPECT_EQ(result.farkas->y, (Numbers{0.25, 0.0, 0.0}));
        EXPECT_EQ(result.farkas->value, -1.0);
        EXPECT_EQ(result.farkas->residual.absolute, 0.0);
    }
    EXPECT_EQ(explainInfeasibility(impossible).rowsAtUpper, std::vector<std::size_t>{0});
    solver.setRowSides(lower, upper);
    EXPECT_EQ(solver.solve().status, Status::Optimal);
}

TEST_F(FrontEndData, EmptyViewsAreNotLookedAt) {
    const Numbers c{1.0, 1.0};
    const Numbers zeros{0.0, 0.0};
    const Result result = solve({.c = c, .A = MatrixView(nullptr, 0, 2, 5), .lower = zeros});
    EXPECT_EQ(result.status, Status::Optimal);
    EXPECT_EQ(solve({.H = MatrixView(nullptr, 0, 2, 5), .c = c}).status, Status::Invalid);
}

// Faulty views claim huge sizes. No memory is requested for them.
TEST_F(FrontEndData, ASolverOfFaultyViewsTakesNoMemory) {
    const Numbers four{1.0, 2.0, 3.0, 4.0};
    const std::size_t before = ProcessMemory::now().resident;
    for (const std::size_t size : {std::size_t{100'000'000}, std::size_t{1} << 62U}) {
        for (const Problem& problem :
             {Problem{.c = four, .A = {four, size, 4}}, Problem{.H = {four, size, size}},
              Problem{.c = VectorView(nullptr, size)}}) {
            Solver solver(problem);
            EXPECT_EQ(solver.solve().status, Status::Invalid);
        }
    }
    EXPECT_LE(ProcessMemory::now().resident, before + (std::size_t{64} << 20U));
    Solver solver({.c = four, .A = {four, 2, 4}});
    EXPECT_EQ(solver.solve().status, Status::Invalid);
    const Numbers eight(8, 1.0);
    solver.setRows({eight, 2, 4});
    solver.setBounds(four, {});
    EXPECT_EQ(solver.solve().x, four);
}

}  // namespace
}  // namespace activeset::test
