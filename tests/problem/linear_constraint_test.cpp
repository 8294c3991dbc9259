// The bound split, products with bound rows, stacked residuals, shared index lists.
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

/// Bounds only.
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
    EXPECT_EQ(constraint.getAfixed().getCols(), 3U);
    EXPECT_EQ(constraint.getbfixed().getCols(), 1U);
    EXPECT_EQ(rowsOf(constraint.AlbRow(1)), (Rows{{0, 0, -1}}));
    EXPECT_EQ(rowsOf(constraint.AubRow(0)), (Rows{{0, 0, 1}}));
    for (const auto row :
         {&LinearConstraint::AlbRow, &LinearConstraint::AubRow, &LinearConstraint::AfixedRow}) {
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
    // An impossible lower bound of +Inf is above −BIG, so it is a bound; likewise −Inf above.
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
    for (const bool lower : {true, false}) {
        expectRaises(MatrixFault, "Index exceed number of row.", [&] {
            const LinearConstraint constraint(rows, two, rows, two, lower ? column({0}) : two,
                                              lower ? two : column({0}));
        });
    }
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
    LinearConstraint constraint = bounded({0, -Inf, 7}, {Inf, 2, 5});
    const double samples[] = {0.0, -0.0, 1.5, -Big, Inf, -Inf, NaN};
    for (const double first : samples) {
        for (const double second : samples) {
            for (const double third : samples) {
                const Matrix x = columnMatrix({first, second, third});
                const std::vector<double> lower = values(constraint.Albx(x));
                const std::vector<double> upper = values(constraint.Aubx(x));
                const std::vector<double> writtenLower = values(constraint.getAlb() * x);
                const std::vector<double> writtenUpper = values(constraint.getAub() * x);
                ASSERT_EQ(lower.size() + upper.size(), 4U);
                for (size_t k = 0; k < 2; ++k) {
                    for (const auto& [own, written] :
                         {std::pair(lower[k], writtenLower[k]), {upper[k], writtenUpper[k]}}) {
                        if (std::isnan(written)) {
                            EXPECT_TRUE(std::isnan(own)) << values(x)[k];
                            continue;
                        }
                        EXPECT_EQ(own, written);
                        EXPECT_EQ(std::signbit(own), std::signbit(written));
                    }
                }
            }
        }
    }
    for (const auto product : {&LinearConstraint::Albx, &LinearConstraint::Aubx,
                               &LinearConstraint::Afixedx, &LinearConstraint::Albconstr}) {
        expectRaises(MatrixFault, "Incompatible dimensions for matrix multiplication", [&] {
            static_cast<void>((constraint.*product)(columnMatrix({1, 2})));
        });
    }
}

/// Doubles A·x, as a derived set may.
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
    EXPECT_EQ(rowsOf(constraint.Aeqx(x)), (Rows{{-1}}));
    EXPECT_EQ(rowsOf(constraint.ARow(1)), (Rows{{1, -1}}));
    EXPECT_EQ(rowsOf(constraint.AeqRow(0)), (Rows{{1, 2}}));
    EXPECT_EQ(constraint.Afixedconstr(x).getRows(), 0U);

    LinearConstraint none = bounded({-Inf}, {Inf});
    EXPECT_EQ(rowsOf(none.constrViolation(columnMatrix({5}))), (Rows{{0}}));
}

TEST_F(ConstraintCopies, ShareTheIndexListsAndOutliveEachOther) {
    std::optional<LinearConstraint> source(bounded({1, -Inf}, {Inf, 2}));
    LinearConstraint copy(*source);
    LinearConstraint assigned = bounded({-Inf, 5}, {6, Inf});
    EXPECT_EQ(rowsOf(assigned.getAlb()), (Rows{{0, -1}}));
    assigned = *source;
    EXPECT_EQ(rowsOf(assigned.getAlb()), (Rows{{-1, 0}})) << "rows written out before stayed";
    EXPECT_EQ(assigned.getindexUB(), source->getindexUB());
    source->getindexLB()[0] = 1;
    source.reset();
    EXPECT_EQ(rowsOf(copy.AlbRow(0)), (Rows{{0, -1}})) << "the list is one and the same";
    EXPECT_EQ(rowsOf(copy.getblb()), (Rows{{-1}}));
    EXPECT_EQ(rowsOf(assigned.Aubconstr(columnMatrix({0, 3}))), (Rows{{1}}));
    EXPECT_EQ(copy.getProblemType(), "LinearConstraint");
}

}  // namespace
}  // namespace activeset::test
