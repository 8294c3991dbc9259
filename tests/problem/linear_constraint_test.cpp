// The split of bounds into rows, products with bound rows, stacked residuals, copies.
#include <cmath>
#include <limits>
#include <optional>

#include "activeset/sizes.hpp"
#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using Matrix = OPTMatrix<double>;
using BoundSplit = FreshState;
using BoundProducts = FreshState;
using Residuals = FreshState;
using ConstraintCopies = FreshState;

constexpr double Big = std::numeric_limits<double>::max();

/// A constraint set of bounds only.
LinearConstraint bounded(const std::vector<double>& lb, const std::vector<double>& ub) {
    OPTsizes::setnVar(lb.size());
    return {nullptr, nullptr, nullptr, nullptr, column(lb), column(ub)};
}

std::vector<size_t> listed(const size_t* index) {
    return {index, index + OPTsizes::getnVar()};
}

TEST_F(BoundSplit, FiniteBoundsBecomeRowsInTheOrderOfTheVariables) {
    LinearConstraint constraint = bounded({0, -Inf, 0}, {Inf, Inf, 5});
    EXPECT_EQ(rowsOf(constraint.getAlb()), (Rows{{-1, 0, 0}, {0, 0, -1}}));
    EXPECT_EQ(rowsOf(constraint.getAub()), (Rows{{0, 0, 1}}));
    EXPECT_EQ(rowsOf(constraint.getbub()), (Rows{{5}}));
    EXPECT_TRUE(std::signbit(constraint.getblb()(0, 0)) && std::signbit(constraint.getblb()(1, 0)));
    EXPECT_EQ(listed(constraint.getindexLB()), (std::vector<size_t>{0, 2, 0}));
    EXPECT_EQ(listed(constraint.getindexUB()), (std::vector<size_t>{2, NoIndex, 0}));
    EXPECT_EQ(listed(constraint.getindexFixed()), (std::vector<size_t>{NoIndex, NoIndex, NoIndex}));
    EXPECT_EQ(rowsOf(constraint.AlbRow(1)), (Rows{{0, 0, -1}}));
    EXPECT_EQ(rowsOf(constraint.AubRow(0)), (Rows{{0, 0, 1}}));
    for (const auto row : {&LinearConstraint::AlbRow, &LinearConstraint::AubRow}) {
        expectRaises(MatrixFault, "Index exceed number of row.",
                     [&] { static_cast<void>((constraint.*row)(2)); });
    }
}

TEST_F(BoundSplit, OnlyFiniteBoundsInsideTheLargestDoubleCount) {
    const double inside = std::nextafter(Big, 0.0);
    LinearConstraint none = bounded({-Big, -Inf, NaN}, {Big, Inf, NaN});
    EXPECT_EQ(OPTsizes::getmConstr(), 0U);
    EXPECT_EQ(none.getAlb().getRows() + none.getAub().getRows(), 0U);
    EXPECT_EQ(none.getAlb().getCols(), 3U);
    // A lower bound of +Inf is above −BIG, so it is a bound, though impossible. The same holds for
    // an upper bound of −Inf.
    LinearConstraint odd = bounded({-inside, Inf, 3}, {inside, -Inf, 3});
    EXPECT_EQ(rowsOf(odd.getblb()), (Rows{{inside}, {-Inf}, {-3}}));
    EXPECT_EQ(rowsOf(odd.getbub()), (Rows{{inside}, {-Inf}, {3}}));
    EXPECT_EQ(OPTsizes::getmLB(), 3U);
    EXPECT_EQ(OPTsizes::getmFixed(), 0U) << "equal bounds are two bounds, not a fixed variable";
}

TEST_F(BoundSplit, SizesThatDoNotFitAreRaisedAndNothingLeaks) {
    OPTsizes::setnVar(2);
    const vxArray* rows = array({{1, 0}, {0, 1}});
    const vxArray* two = column({0, 0});
    const vxArray* three = column({0, 0, 0});
    expectAssertion("Size mismatch in equality constraints.",
                    [&] { const LinearConstraint constraint(rows, three, rows, three, two, two); });
    expectAssertion("Size mismatch in inequality constraints.",
                    [&] { const LinearConstraint constraint(rows, three, rows, two, two, two); });
    expectRaises(MatrixFault, "Index exceed number of row.", [&] {
        const LinearConstraint constraint(rows, two, rows, two, two, column({0}));
    });
    bool refused = true;
    for (std::uint64_t failAt = 1; refused; ++failAt) {
        const AllocationFaults faults(failAt);
        try {
            LinearConstraint constraint(rows, two, rows, two, two, two);
            LinearConstraint copy(constraint);
            PhaseOneConstraint phaseOne(&copy);
            static_cast<void>(phaseOne.getAub());
        } catch (const HostError& error) {
            EXPECT_EQ(error.identifier(), OutOfMemoryIdentifier);
        }
        refused = faults.hasFailed();
    }
}

TEST_F(BoundProducts, EqualThoseOfTheWrittenOutRowsForEveryKindOfNumber) {
    LinearConstraint constraint = bounded({0, -Inf}, {Inf, 2});
    const double samples[] = {0.0, -0.0, 1.5, Inf, -Inf, NaN};
    for (const double first : samples) {
        for (const double second : samples) {
            const Matrix x = columnMatrix({first, second});
            const double own[] = {constraint.Albx(x)(0, 0), constraint.Aubx(x)(0, 0)};
            const double written[] = {(constraint.getAlb() * x)(0, 0),
                                      (constraint.getAub() * x)(0, 0)};
            for (const size_t k : {0U, 1U}) {
                SCOPED_TRACE(::testing::Message() << first << ", " << second);
                EXPECT_TRUE(own[k] == written[k] || std::isnan(written[k]));
                EXPECT_EQ(std::isnan(own[k]), std::isnan(written[k]));
                EXPECT_TRUE(std::isnan(own[k]) || std::signbit(own[k]) == std::signbit(written[k]));
            }
        }
    }
    for (const auto product : {&LinearConstraint::Albx, &LinearConstraint::Aubx}) {
        expectRaises(MatrixFault, "Incompatible dimensions for matrix multiplication",
                     [&] { static_cast<void>((constraint.*product)(columnMatrix({1}))); });
    }
}

/// Doubles A·x, as a derived class may.
class Doubled : public LinearConstraint {
public:
    using LinearConstraint::LinearConstraint;
    Matrix Ax(const Matrix& x) override { return LinearConstraint::Ax(x) * 2.0; }
};

TEST_F(Residuals, AreStackedByKindWithPositiveMeaningViolated) {
    OPTsizes::setnVar(2);
    Doubled constraint(array({{1, 1}, {1, -1}}), column({10, 3}), array({{1, 2}}), column({4}),
                       column({-1, 2}), column({Inf, 0}));
    const Matrix x = columnMatrix({-3, 1});
    EXPECT_EQ(values(constraint.constrViolation(x)),
              (std::vector<double>{-1 - 4, 2 * -2 - 10, 2 * -4 - 3, 3 - 1, -1 + 2, 1 - 0}));
    EXPECT_EQ(rowsOf(constraint.Aconstr(x)), (Rows{{-14}, {-11}})) << "Ax of the derived set";

    LinearConstraint none = bounded({-Inf}, {Inf});
    EXPECT_EQ(rowsOf(none.constrViolation(columnMatrix({5}))), (Rows{{0}}));
}

TEST_F(ConstraintCopies, ShareNothingThatGoesWithTheSource) {
    std::optional<LinearConstraint> source(bounded({1, -Inf}, {Inf, 2}));
    LinearConstraint copy(*source);
    LinearConstraint assigned = bounded({-Inf, 5}, {6, Inf});
    EXPECT_EQ(rowsOf(assigned.getAlb()), (Rows{{0, -1}}));
    assigned = *source;
    source.reset();
    EXPECT_EQ(rowsOf(assigned.getAlb()), (Rows{{-1, 0}})) << "rows written out before stayed";
    EXPECT_EQ(rowsOf(assigned.Aubconstr(columnMatrix({0, 3}))), (Rows{{1}}));
    EXPECT_EQ(rowsOf(copy.getAlb()), (Rows{{-1, 0}}));
    EXPECT_EQ(rowsOf(copy.getblb()), (Rows{{-1}}));
}

}  // namespace
}  // namespace activeset::test
