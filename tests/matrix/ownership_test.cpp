// Whose storage a matrix uses, how copies and assignments change that, and serial numbers.
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

constexpr const char* ClearFault = "Can not delete matrix that was created with vxArray";

TEST_F(MatrixOwnership, OnlyStorageOfItsOwnIsReleased) {
    std::vector<double> buffer{1, 2, 3, 4};
    vxArray* callers = array({{5, 6}, {7, 8}});
    const std::int64_t before = liveArrayCount();
    Matrix own(2, 2);
    Matrix pooled(2, 2, true);
    Matrix wrapping(callers);
    Matrix overBuffer(buffer.data(), 2, 2);
    wrapping(0, 1) = 60;
    overBuffer(1, 0) = 20;
    EXPECT_EQ(vxGetElement(callers, 0, 1), 60.0);
    EXPECT_EQ(buffer[1], 20.0);
    expectRaises(MatrixFault, ClearFault, [&] { wrapping.clear(); });
    EXPECT_EQ(rowsOf(wrapping), (Rows{{5, 60}, {7, 8}})) << "a refused release changed it";
    for (Matrix* released : {&own, &overBuffer, &pooled}) {
        EXPECT_TRUE(released == &pooled || vxIsPersistent(released->getHostArray()));
        released->clear();
        EXPECT_EQ(released->getRows() + released->getCols(), 0U);
        EXPECT_EQ(released->getData(), nullptr);
        released->clear();  // nothing is held, so nothing happens
    }
    EXPECT_EQ(buffer, (std::vector<double>{1, 20, 3, 4}));
    EXPECT_EQ(liveArrayCount(), before + 1) << "the pool's entry alone stays";
    for (Matrix* reused : {&own, &overBuffer, &pooled}) {
        *reused = wrapping;
        EXPECT_EQ(rowsOf(*reused), rowsOf(wrapping));
        EXPECT_NE(reused->getData(), wrapping.getData());
        EXPECT_EQ(reused->getOrigin(), 0);
        EXPECT_FALSE(reused->getWrapsHostArray() || reused->getIsPooled());
    }
    EXPECT_EQ(Matrix(nullptr).getData(), nullptr);
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
        EXPECT_EQ(source->getOrigin(), origin);
        const CallScope scope;
        Matrix copy(*source);
        const Matrix copyOfCopy(copy);
        const Matrix turned = source->transpose();
        const vxArray* result = source->toVxArray();
        (*source)(0, 0) = 9;
        source.reset();
        copy(1, 0) = 7;
        EXPECT_EQ(rowsOf(copy), (Rows{{1}, {7}}));
        EXPECT_EQ(rowsOf(copyOfCopy), (Rows{{1}, {2}}));
        EXPECT_EQ(rowsOf(turned), (Rows{{1, 2}}));
        EXPECT_EQ(rowsOf(result), (Rows{{1}, {2}}));
        EXPECT_EQ(copy.getOrigin(), origin);
        EXPECT_EQ(copy.getWrapsHostArray(), origin != 0);
        if (origin == 1) {
            expectRaises(MatrixFault, ClearFault, [&] { copy.clear(); });
        }
    }
    EXPECT_EQ(liveArrayCount(), before);
    EXPECT_EQ(buffer, (std::vector<double>{9, 2}));
    EXPECT_EQ(rowsOf(callers), (Rows{{9}, {2}}));
}

TEST_F(MatrixAssignment, OnlyAMatrixWithoutElementsTakesAnotherShape) {
    const Matrix wide = matrix({{1, 2, 3}, {4, 5, 6}});
    Matrix tall = matrix({{1, 2}, {3, 4}, {5, 6}});
    const CapturedOutput output;
    expectRaises(MatrixFault, "Incompatible dimensions for matrix assignment",
                 [&] { tall = wide; });
    EXPECT_EQ(rowsOf(tall), (Rows{{1, 2}, {3, 4}, {5, 6}}));
    Matrix noColumns(3, 0);
    Matrix null(nullptr);
    for (Matrix* empty : {&noColumns, &null}) {
        {
            const AllocationFaults faults(1);
            expectRaises(OutOfMemoryIdentifier, OutOfMemoryText, [&] { *empty = wide; });
        }
        EXPECT_EQ(empty->size(), 0U) << "a failed assignment changed it";
        *empty = wide;
        EXPECT_TRUE(vxIsPersistent(empty->getHostArray()));
        *empty = static_cast<const Matrix&>(*empty);
        EXPECT_EQ(rowsOf(*empty), rowsOf(wide));
    }
    Matrix holder;
    holder = Matrix(sparse({{0, 2}}));
    holder(0, 0) = 1;
    EXPECT_EQ(rowsOf(holder), (Rows{{1, 2}})) << "stored full: every element has a place";
    EXPECT_EQ(output.text(), "LHS Size: 3-by-2\nRHS Size: 2-by-3\n");
}

TEST_F(MatrixSerial, CountsEveryConstructionButCopies) {
    const Matrix a;
    const Matrix b(nullptr);
    const Matrix copy(a);
    EXPECT_EQ(b.getId(), a.getId() + 1);
    EXPECT_EQ(copy.getId(), a.getId() + 1000);
    EXPECT_EQ(Matrix(1, 1, true).getId(), a.getId() + 2);  // the pool's matrix has a number as well
    EXPECT_EQ(Matrix(1, 1, true).getId(), a.getId() + 4);
    threadState().matrixSerial = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(Matrix(nullptr).getId(), std::int64_t{-2147483648});
}

}  // namespace
}  // namespace activeset::test
