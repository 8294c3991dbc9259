// Whose storage a matrix uses, what copies and assignments make of it, serial numbers.
#include <limits>
#include <memory>
#include <vector>

#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using Matrix = OPTMatrix<double>;
using MatrixOwnership = FreshState;
using MatrixAssignment = FreshState;
using MatrixSerial = FreshState;

TEST_F(MatrixOwnership, EveryKindReportsItselfAndIsReleasedOnlyIfItsOwn) {
    std::vector<double> buffer{1, 2, 3, 4};
    vxArray* callers = array({{5, 6}, {7, 8}});
    const std::int64_t before = liveArrayCount();
    Matrix own(2, 2);
    Matrix pooled(2, 2, true);
    Matrix wrapping(callers);
    Matrix overBuffer(buffer.data(), 2, 2);
    const Matrix null(nullptr);
    struct Kind {
        const Matrix& matrix;
        int origin;
        bool wraps, pooled, sparse;
        size_t rows;
    };
    const Kind kinds[] = {{own, 0, false, false, false, 2},
                          {pooled, 0, false, true, false, 2},
                          {wrapping, 1, true, false, false, 2},
                          {overBuffer, 2, true, false, false, 2},
                          {null, 1, true, false, true, 0}};
    for (const Kind& kind : kinds) {
        EXPECT_EQ(kind.matrix.getOrigin(), kind.origin);
        EXPECT_EQ(kind.matrix.getWrapsHostArray(), kind.wraps);
        EXPECT_EQ(kind.matrix.getIsPooled(), kind.pooled);
        EXPECT_EQ(kind.matrix.getIsSparse(), kind.sparse);
        EXPECT_EQ(kind.matrix.getRows(), kind.rows);
        EXPECT_FALSE(kind.matrix.getIsCopy());
        EXPECT_EQ(kind.matrix.getRefCount(), kind.pooled ? 1U : 0U);
    }
    EXPECT_EQ(null.getData(), nullptr);
    for (const Matrix* made : {&own, &pooled, &overBuffer}) {
        EXPECT_TRUE(vxIsPersistent(made->getHostArray()));
    }
    wrapping(0, 1) = 60;
    overBuffer(1, 0) = 20;
    EXPECT_EQ(vxGetElement(callers, 0, 1), 60.0);
    EXPECT_EQ(buffer[1], 20.0);

    expectRaises(MatrixFault, "Can not delete matrix that was created with vxArray",
                 [&] { wrapping.clear(); });
    EXPECT_EQ(rowsOf(wrapping), (Rows{{5, 60}, {7, 8}})) << "a refused release changed it";
    for (Matrix* released : {&own, &overBuffer, &pooled}) {
        released->clear();
        EXPECT_EQ(released->getRows() + released->getCols(), 0U);
        EXPECT_EQ(released->getData(), nullptr);
        released->clear();  // nothing is held: nothing happens
    }
    EXPECT_EQ(buffer, (std::vector<double>{1, 20, 3, 4}));
    EXPECT_EQ(liveArrayCount(), before + 1) << "the pool's entry alone stays";
    own = wrapping;
    overBuffer = wrapping;
    pooled = wrapping;
    for (const Matrix* reused : {&own, &overBuffer, &pooled}) {
        EXPECT_EQ(rowsOf(*reused), rowsOf(wrapping));
        EXPECT_EQ(reused->getOrigin(), 0);
        EXPECT_FALSE(reused->getWrapsHostArray() || reused->getIsPooled());
        EXPECT_NE(reused->getData(), wrapping.getData());
    }
    expectRaises(MatrixFault, "Matrix must be of class double",
                 [] { const Matrix text(vxCreateCharArray("x")); });
}

TEST_F(MatrixOwnership, CopiesKeepTheirSourcesKindButNotItsElements) {
    std::vector<double> buffer{1, 2};
    vxArray* callers = column({1, 2});
    const std::int64_t before = liveArrayCount();
    for (const int origin : {0, 1, 2}) {
        SCOPED_TRACE(origin);
        auto source = origin == 0   ? std::make_unique<Matrix>(columnMatrix({1, 2}))
                      : origin == 1 ? std::make_unique<Matrix>(callers)
                                    : std::make_unique<Matrix>(buffer.data(), 2, 1);
        const CallScope scope;
        Matrix copy(*source);
        EXPECT_EQ(copy.getId(), source->getId() + 1000);
        const Matrix copyOfCopy(copy);
        (*source)(0, 0) = 9;
        source.reset();
        copy(1, 0) = 7;
        EXPECT_EQ(rowsOf(copy), (Rows{{1}, {7}}));
        EXPECT_EQ(rowsOf(copyOfCopy), (Rows{{1}, {2}}));
        EXPECT_TRUE(copy.getIsCopy());
        EXPECT_EQ(copy.getOrigin(), origin);
        EXPECT_EQ(copy.getWrapsHostArray(), origin != 0);
        EXPECT_FALSE(vxIsPersistent(copy.getHostArray()));
        if (origin == 1) {
            expectRaises(MatrixFault, "Can not delete matrix that was created with vxArray",
                         [&] { copy.clear(); });
        }
    }
    EXPECT_EQ(liveArrayCount(), before);
    EXPECT_EQ(buffer, (std::vector<double>{9, 2}));
    EXPECT_EQ(rowsOf(callers), (Rows{{9}, {2}}));
}

TEST_F(MatrixOwnership, ResultArraysAndTransposesAreIndependentOfTheMatrix) {
    Matrix m = matrix({{1, 2, 3}, {4, 5, 6}});
    const vxArray* result = m.toVxArray();
    const Matrix turned = m.transpose();
    m.fill(0.0);
    EXPECT_EQ(rowsOf(result), (Rows{{1, 2, 3}, {4, 5, 6}}));
    EXPECT_EQ(rowsOf(turned), (Rows{{1, 4}, {2, 5}, {3, 6}}));
    EXPECT_EQ(turned.getOrigin(), 1);
    EXPECT_TRUE(turned.getWrapsHostArray());
    EXPECT_EQ(vxGetM(Matrix(nullptr).toVxArray()) + Matrix(nullptr).transpose().getRows(), 0U);
}

TEST_F(MatrixAssignment, OnlyAMatrixWithoutElementsTakesAnotherShape) {
    const Matrix wide = matrix({{1, 2, 3}, {4, 5, 6}});
    Matrix tall = matrix({{1, 2}, {3, 4}, {5, 6}});
    const CapturedOutput output;
    expectRaises(MatrixFault, "Incompatible dimensions for matrix assignment",
                 [&] { tall = wide; });
    EXPECT_EQ(output.text(), "LHS Size: 3-by-2\nRHS Size: 2-by-3\n");
    EXPECT_EQ(rowsOf(tall), (Rows{{1, 2}, {3, 4}, {5, 6}}));
    Matrix noColumns(3, 0);
    Matrix null(nullptr);
    for (Matrix* empty : {&noColumns, &null}) {
        {
            const AllocationFaults faults(2);
            expectRaises(OutOfMemoryIdentifier, OutOfMemoryText, [&] { *empty = wide; });
        }
        EXPECT_EQ(empty->size(), 0U) << "a failed assignment changed it";
        *empty = wide;
        EXPECT_EQ(rowsOf(*empty), rowsOf(wide));
        EXPECT_TRUE(vxIsPersistent(empty->getHostArray()));
        *empty = static_cast<const Matrix&>(*empty);
        EXPECT_EQ(rowsOf(*empty), rowsOf(wide));
    }
    Matrix holder;
    holder = Matrix(sparse({{0, 2}}));
    EXPECT_TRUE(holder.getIsSparse()) << "taken over as reported";
    holder(0, 0) = 1;
    EXPECT_EQ(rowsOf(holder), (Rows{{1, 2}})) << "stored full: every element has a place";
    EXPECT_EQ(output.text().size(), 34U) << "a good assignment printed";
}

TEST_F(MatrixSerial, CountsEveryConstructionButCopies) {
    const Matrix a;
    const Matrix b(nullptr);
    const Matrix copy(a);
    double value = 0.0;
    const Matrix c(&value, 1, 1);
    EXPECT_EQ(b.getId(), a.getId() + 1);
    EXPECT_EQ(copy.getId(), a.getId() + 1000);
    EXPECT_EQ(c.getId(), a.getId() + 2);
    {
        const Matrix fresh(1, 1, true);  // and the pool's own matrix
        EXPECT_EQ(fresh.getId(), a.getId() + 3);
    }
    const Matrix reused(1, 1, true);
    EXPECT_EQ(reused.getId(), a.getId() + 5);
    threadState().matrixSerial = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(Matrix(nullptr).getId(), std::int64_t{-2147483648});
}

}  // namespace
}  // namespace activeset::test
