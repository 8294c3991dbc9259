// The pool of temporaries: reuse, rotation, stale values, release while matrices are lent.
#include <optional>

#include "support/build.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using Matrix = OPTMatrix<double>;
using MatrixPoolReuse = FreshState;

TEST_F(MatrixPoolReuse, SearchesInRotationAndSkipsLentStorage) {
    const vxArray* first = nullptr;
    const vxArray* second = nullptr;
    {
        const Matrix a(2, 2, true);
        const Matrix b(2, 2, true);
        first = a.getHostArray();
        second = b.getHostArray();
        EXPECT_NE(first, second);
    }
    EXPECT_EQ(Matrix(2, 2, true).getHostArray(), first);
    EXPECT_EQ(Matrix(2, 2, true).getHostArray(), second) << "the search goes on where it ended";
    const Matrix lent(1, 4, true);
    EXPECT_EQ(lent.getHostArray(), first);
    EXPECT_EQ(Matrix(2, 2, true).getHostArray(), second);
    EXPECT_EQ(Matrix(2, 2, true).getHostArray(), second) << "lent storage was lent again";
    EXPECT_EQ(matrixPoolSize(), 2U);
}

TEST_F(MatrixPoolReuse, AnEntryIsOfferedByItsPresentShapeWithItsOldValues) {
    const vxArray* entry = nullptr;
    {
        Matrix large(3, 1, true);
        large = columnMatrix({1, 2, 3});
        entry = large.getHostArray();
    }
    {
        const Matrix smaller(1, 2, true);
        EXPECT_EQ(smaller.getHostArray(), entry);
        EXPECT_EQ(rowsOf(smaller), (Rows{{1, 2}}));
        EXPECT_EQ(rowsOf(entry), rowsOf(smaller)) << "the array's shape differs";
    }
    EXPECT_NE(Matrix(3, 1, true).getHostArray(), entry) << "3 elements from an entry of 2";
    EXPECT_EQ(matrixPoolSize(), 2U);
}

TEST_F(MatrixPoolReuse, CopiesShareAndOnlyTheLastBorrowerGivesBack) {
    std::optional<Matrix> a(matrix({{1, 2}}) * 3.0);
    std::optional<Matrix> copy(*a);
    EXPECT_EQ(a->getRefCount(), 2U);
    (*copy)(0, 0) = 8;
    EXPECT_EQ((*a)(0, 0), 8.0);
    a.reset();
    const Matrix other(1, 2, true);
    EXPECT_NE(other.getHostArray(), copy->getHostArray());
    EXPECT_EQ(copy->getRefCount(), 1U);
    const vxArray* shared = copy->getHostArray();
    copy->clear();
    EXPECT_EQ(Matrix(1, 2, true).getHostArray(), shared);
}

TEST_F(MatrixPoolReuse, ReleaseSparesStorageThatIsStillLent) {
    const std::int64_t before = liveArrayCount();
    {
        const Matrix lent = matrix({{1}, {2}}) * 10.0;
        releaseMatrixPool();
        EXPECT_EQ(matrixPoolSize(), 0U);
        const Matrix fresh = matrix({{5}, {6}}) * 10.0;
        EXPECT_EQ(rowsOf(lent), (Rows{{10}, {20}}));
        EXPECT_EQ(matrixPoolSize(), 1U);
    }
    EXPECT_EQ(liveArrayCount(), before + 1) << "orphaned storage goes with its last borrower";
    releaseMatrixPool();
    EXPECT_EQ(liveArrayCount(), before);
}

}  // namespace
}  // namespace activeset::test
