// Element access, parts of a matrix, arithmetic and the texts of its faults, sizes.
#include <array>
#include <functional>
#include <vector>

#include "activeset/sizes.hpp"
#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/golden.hpp"

namespace activeset::test {
namespace {

using Matrix = OPTMatrix<double>;
using ElementAccess = FreshState;
using SparseMatrix = FreshState;
using MatrixArithmetic = FreshState;
using ProblemSizes = FreshState;

constexpr const char* RowFault = "Index exceed number of row.";
constexpr const char* ColumnFault = "Index exceed number of columns.";

TEST_F(ElementAccess, FaultsNameTheRowFirstAndPartsTestAsElementsDo) {
    Matrix m = matrix({{1, 2, 3}, {4, 5, 6}});
    Matrix wide(0, 3);
    std::array<double, 6> buffer{};
    struct Case {
        const char* text;
        std::function<void()> access;
    };
    const Case cases[] = {
        {RowFault, [&] { m(2, 0) = 0; }},
        {RowFault, [&] { m(2, 3) = 0; }},
        {ColumnFault, [&] { m(0, 3) = 0; }},
        {ColumnFault, [&] { m(1, NoIndex) = 0; }},
        {RowFault, [&] { static_cast<void>(m.row(2)); }},
        {ColumnFault, [&] { static_cast<void>(m.column(3)); }},
        {ColumnFault, [&] { m.copyColumn(3, 0); }},
        {ColumnFault, [&] { m.copyColumn(0, 3); }},
        {ColumnFault, [&] { m.setColumn(3, buffer); }},
        {RowFault, [&] { m.setColumn(0, std::span(buffer).first(1)); }},
        {RowFault, [&] { m.copyBlock(0, 2, 0, 0, buffer); }},
        {ColumnFault, [&] { m.copyBlock(0, 0, 0, 3, buffer); }},
        {RowFault, [&] { m.copyBlock(0, 1, 0, 2, std::span(buffer).first(5)); }},
        {RowFault, [] { static_cast<void>(Matrix().maximum()); }},
        {RowFault, [&] { static_cast<void>(wide.maximum()); }},
        {ColumnFault, [] { static_cast<void>(Matrix(3, 0).maximum()); }},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        expectRaises(MatrixFault, cases[i].text, cases[i].access);
    }
}

TEST_F(ElementAccess, PartsAreTakenAndPutWhereTheyBelong) {
    Matrix m = matrix({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(rowsOf(m.row(1)), (Rows{{4, 5, 6}}));
    EXPECT_EQ(rowsOf(m.column(2)), (Rows{{3}, {6}}));
    EXPECT_EQ(rowsOf(m.diagonal()), (Rows{{1}, {5}}));
    EXPECT_EQ(rowsOf(m.transpose().diagonal()), (Rows{{1}, {5}}));
    std::vector<double> buffer(5, -1.0);
    m.copyBlock(0, 1, 1, 2, buffer);
    EXPECT_EQ(buffer, (std::vector<double>{2, 5, 3, 6, -1}));
    m.copyBlock(1, 1, 2, 1, buffer);
    EXPECT_EQ(buffer[0], 2.0) << "no columns, nothing written";
    m.copyColumn(0, 2);
    m.setColumn(1, buffer);
    EXPECT_EQ(rowsOf(m), (Rows{{3, 2, 3}, {6, 5, 6}}));
}

TEST_F(ElementAccess, MaximumIsTheFirstInColumnOrderAndNaNNeverReplaces) {
    struct Case {
        Rows rows;
        double value;
        size_t row, col;
    };
    const Case cases[] = {{{{1, 3}, {3, 0}}, 3, 1, 0},
                          {{{-2, -1}, {-3, -1}}, -1, 0, 1},
                          {{{1, NaN, 2}}, 2, 0, 2},
                          {{{-Inf, Inf}}, Inf, 0, 1}};
    for (const Case& c : cases) {
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
    EXPECT_EQ(Matrix(2, 2).norm(), 0.0);
    EXPECT_EQ(matrix({{1, NaN}}).norm(), -1.0);
    EXPECT_EQ(matrix({{1, -Inf}}).norm(), Inf);
    EXPECT_EQ(matrix({{1e-200}}).norm(), 0.0) << "its square underflows";
    EXPECT_EQ(machineEpsilon(), 0x1p-52);
}

TEST_F(SparseMatrix, UnstoredEntriesShareACellThatIsZeroAtEveryAccess) {
    Matrix s(sparse({{0, 2}, {3, 0}}));
    EXPECT_TRUE(s.getIsSparse());
    EXPECT_EQ(&s(0, 0), &s(1, 1));
    s(0, 0) = 9;
    EXPECT_EQ(rowsOf(s), (Rows{{0, 2}, {3, 0}}));
    s(1, 0) = 30;
    const Matrix copy(s);
    s.fill(1.0);
    EXPECT_EQ(rowsOf(s), (Rows{{0, 1}, {1, 0}})) << "only stored entries are filled";
    EXPECT_EQ(rowsOf(copy), (Rows{{0, 2}, {30, 0}}));
    expectRaises(MatrixFault, ColumnFault, [&] { s(1, 2) = 0; });
    EXPECT_EQ(rowsOf(Matrix(vxCreateSparse(1, 2, 0, vxComplexity::Real))), (Rows{{0, 0}}));
}

TEST_F(MatrixArithmetic, GivesTheSameForFullAndSparseOperandsAndNewStorage) {
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
            EXPECT_TRUE((A + B).getIsPooled());
            Matrix sum = matrix(a);
            sum += B;
            sum += sum;
            EXPECT_EQ(rowsOf(sum), (Rows{{2, 20}, {40, 68}}));
        }
    }
    // Nothing in between: the product is zero over whatever the pool's storage last held.
    EXPECT_EQ(rowsOf(Matrix(2, 0) * Matrix(0, 2)), (Rows{{0, 0}, {0, 0}}));
    EXPECT_EQ((Matrix(2, 0) * Matrix(0, 0)).size(), 0U);
}

TEST_F(MatrixArithmetic, ShapesThatDoNotFitAreNamedByOperation) {
    Matrix square = matrix({{1, 2}, {3, 4}});
    const Matrix row = matrix({{10, 20, 30, 40}});
    expectRaises(MatrixFault, "Incompatible dimensions for matrix multiplication",
                 [&] { static_cast<void>(square * row); });
    expectRaises(MatrixFault, "Incompatible dimensions for matrix subtraction",
                 [&] { static_cast<void>(square - row); });
    expectRaises(MatrixFault, "Incompatible dimensions for matrix assignment",
                 [&] { square += row; });
    // A sum has the left side's shape and takes as many elements as that has.
    EXPECT_EQ(rowsOf(square + row), (Rows{{11, 32}, {23, 44}}));
    EXPECT_EQ(rowsOf(matrix({{1}}) + row), (Rows{{11}}));
    expectRaises(MatrixFault, "Incompatible dimensions for matrix addition", [&] {
        static_cast<void>(square + matrix({{1, 2, 3}}));
    });
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
    EXPECT_EQ(OPTsizes::getmConstr(), OPTsizes::getmUB() + 5);
    OPTsizes::setnEq(9);
    OPTsizes left;
    left = OPTsizes();
    EXPECT_EQ(OPTsizes::getmEq(), 1U);
    EXPECT_EQ(OPTsizes::getnEq(), 9U);
}

}  // namespace
}  // namespace activeset::test
