// Element access, parts of a matrix, arithmetic and the texts of its faults, sizes.
#include <functional>
#include <vector>

#include "activeset/sizes.hpp"
#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using Matrix = OPTMatrix<double>;
using ElementAccess = FreshState;
using SparseMatrix = FreshState;
using MatrixArithmetic = FreshState;
using ProblemSizes = FreshState;

constexpr const char* RowFault = "Index exceed number of row.";
constexpr const char* ColumnFault = "Index exceed number of columns.";

TEST_F(ElementAccess, FaultsNameTheRowFirst) {
    Matrix m = matrix({{1, 2, 3}, {4, 5, 6}});
    std::vector<double> buffer(6);
    const std::pair<const char*, std::function<void()>> cases[] = {
        {RowFault, [&] { m(2, 3) = 0; }},
        {ColumnFault, [&] { m(1, NoIndex) = 0; }},
        {RowFault, [&] { static_cast<void>(m.row(2)); }},
        {ColumnFault, [&] { static_cast<void>(m.column(3)); }},
        {ColumnFault, [&] { m.copyColumn(0, 3); }},
        {RowFault, [&] { m.setColumn(0, std::span(buffer).first(1)); }},
        {ColumnFault, [&] { m.copyBlock(0, 0, 0, 3, buffer); }},
        {RowFault, [&] { m.copyBlock(0, 1, 0, 2, std::span(buffer).first(5)); }},
        {RowFault, [] { static_cast<void>(Matrix(0, 3).maximum()); }},
        {ColumnFault, [] { static_cast<void>(Matrix(3, 0).maximum()); }},
    };
    for (const auto& [text, access] : cases) {
        expectRaises(MatrixFault, text, access);
    }
}

TEST_F(ElementAccess, PartsAreTakenAndPutWhereTheyBelong) {
    Matrix m = matrix({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(rowsOf(m.row(1)), (Rows{{4, 5, 6}}));
    EXPECT_EQ(rowsOf(m.column(2)), (Rows{{3}, {6}}));
    EXPECT_EQ(rowsOf(m.transpose().diagonal()), (Rows{{1}, {5}}));
    std::vector<double> buffer(5, -1.0);
    m.copyBlock(0, 1, 1, 2, buffer);
    m.copyBlock(1, 1, 2, 1, buffer);  // an empty block: nothing is written
    EXPECT_EQ(buffer, (std::vector<double>{2, 5, 3, 6, -1}));
    m.copyColumn(0, 2);
    m.setColumn(1, buffer);
    EXPECT_EQ(rowsOf(m), (Rows{{3, 2, 3}, {6, 5, 6}}));
}

TEST_F(ElementAccess, MaximumIsTheFirstInColumnOrderAndNaNNeverReplaces) {
    const struct {
        Rows rows;
        double value;
        size_t row, col;
    } cases[] = {
        {{{1, 3}, {3, 0}}, 3, 1, 0}, {{{-2, -1}, {-3, -1}}, -1, 0, 1}, {{{1, NaN, 2}}, 2, 0, 2}};
    for (const auto& c : cases) {
        const Matrix::Maximum found = matrix(c.rows).maximum();
        EXPECT_EQ(found.value, c.value);
        EXPECT_EQ(found.row, c.row);
        EXPECT_EQ(found.col, c.col);
    }
    EXPECT_TRUE(std::isnan(matrix({{NaN, 5}}).maximum().value));
}

TEST_F(ElementAccess, NormIsZeroWithoutElementsAndMinusOneForNaN) {
    EXPECT_EQ(matrix({{1, -2}, {-2, 4}}).norm(), 5.0);
    EXPECT_EQ(Matrix().norm(), 0.0);
    EXPECT_EQ(matrix({{1, NaN}}).norm(), -1.0);
    EXPECT_EQ(matrix({{1, -Inf}}).norm(), Inf);
    EXPECT_EQ(matrix({{1e-200}}).norm(), 0.0) << "its square underflows";
}

TEST_F(SparseMatrix, UnstoredEntriesShareACellThatIsZeroAtEveryAccess) {
    Matrix s(sparse({{0, 2}, {3, 0}}));
    EXPECT_EQ(&s(0, 0), &s(1, 1));
    s(0, 0) = 9;
    EXPECT_EQ(rowsOf(s), (Rows{{0, 2}, {3, 0}}));
    const Matrix copy(s);
    s.fill(1.0);
    EXPECT_EQ(rowsOf(s), (Rows{{0, 1}, {1, 0}})) << "only stored entries are filled";
    EXPECT_EQ(rowsOf(copy), (Rows{{0, 2}, {3, 0}}));
    expectRaises(MatrixFault, ColumnFault, [&] { s(1, 2) = 0; });
}

TEST_F(MatrixArithmetic, GivesTheSameForFullAndSparseOperands) {
    const Rows a{{1, 0}, {0, 4}};
    const Rows b{{0, 10}, {20, 30}};
    for (vxArray* left : {array(a), sparse(a)}) {
        for (vxArray* right : {array(b), sparse(b)}) {
            const Matrix A(left);
            const Matrix B(right);
            EXPECT_EQ(rowsOf(A * B), (Rows{{0, 10}, {80, 120}}));
            EXPECT_EQ(rowsOf(A - B), (Rows{{1, -10}, {-20, -26}}));
            EXPECT_EQ(rowsOf(A + B), (Rows{{1, 10}, {20, 34}}));
            EXPECT_EQ(rowsOf(A * -2.0), (Rows{{-2, 0}, {0, -8}}));
            EXPECT_EQ(rowsOf(A - 3.0), (Rows{{-2, -3}, {-3, 1}}));
            Matrix sum = matrix(a);
            sum += B;
            sum += sum;
            EXPECT_EQ(rowsOf(sum), (Rows{{2, 20}, {40, 68}}));
        }
    }
    // The inner dimension is 0, so the product is zero, whatever the storage held.
    EXPECT_EQ(rowsOf(Matrix(2, 0) * Matrix(0, 2)), (Rows{{0, 0}, {0, 0}}));
}

TEST_F(MatrixArithmetic, ShapesThatDoNotFitAreNamedByOperation) {
    Matrix square = matrix({{1, 2}, {3, 4}});
    const Matrix row = matrix({{10, 20, 30, 40}});
    const auto expectFault = [](const char* operation, auto action) {
        expectRaises(MatrixFault, std::string("Incompatible dimensions for matrix ") + operation,
                     action);
    };
    expectFault("multiplication", [&] { static_cast<void>(square * row); });
    expectFault("subtraction", [&] { static_cast<void>(square - row); });
    expectFault("assignment", [&] { square += row; });
    expectFault("addition", [&] { static_cast<void>(row + matrix({{1, 2, 3}})); });
    EXPECT_EQ(rowsOf(square + row), (Rows{{11, 32}, {23, 44}})) << "as many as the left side has";
}

TEST_F(ProblemSizes, AreSetByTheObjectiveThenTheConstraintsAndListedInOrder) {
    const LPobjective objective(column({1, 1, 1}));
    const LinearConstraint constraint(array({{1, 0, 0}, {0, 1, 0}}), column({1, 2}),
                                      array({{1, 1, 1}}), column({1}), column({0, -Inf, 0}),
                                      column({Inf, Inf, 5}));
    const CapturedOutput output;
    OPTsizes::printConstrInfo();
    EXPECT_EQ(output.text(), golden("sizes_listing.txt"));
    EXPECT_EQ(OPTsizes::getnEq(), 1U);
}

}  // namespace
}  // namespace activeset::test
