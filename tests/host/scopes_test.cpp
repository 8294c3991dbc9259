// Who destroys an array, and that nothing is lost when memory runs out.
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using CallScopes = FreshState;
using IndexLists = FreshState;

TEST_F(CallScopes, DestroyWhatIsNeitherKeptNorPersistentNorDestroyed) {
    const std::int64_t before = liveArrayCount();
    vxArray* persistent = nullptr;
    vxArray* kept = nullptr;
    {
        CallScope outer;
        {
            CallScope inner;
            std::vector<vxArray*> arrays;
            for (int i = 0; i < 7; ++i) {
                arrays.push_back(vxCreateDoubleScalar(i));
            }
            // The ends and the middle of the scope's list are unlinked in different ways.
            vxDestroyArray(arrays[0]);
            vxDestroyArray(arrays[3]);
            vxDestroyArray(arrays[6]);
            persistent = arrays[1];
            vxSetArrayScope(persistent, 0);
            kept = inner.keep(arrays[4]);
        }
        EXPECT_EQ(liveArrayCount(), before + 2);
        EXPECT_EQ(vxGetElement(kept, 0, 0), 4.0);
        EXPECT_TRUE(vxIsPersistent(persistent));
        EXPECT_EQ(outer.keep(persistent), persistent) << "not this scope's: nothing happens";
    }
    EXPECT_EQ(liveArrayCount(), before + 1) << "a kept array belongs to the enclosing scope";
    {
        const CallScope scope;
        vxSetArrayScope(persistent, 1);
        EXPECT_FALSE(vxIsPersistent(persistent));
    }
    EXPECT_EQ(liveArrayCount(), before);
}

TEST_F(CallScopes, ArraysThatAMatrixUsesOutliveTheScopeAndGoWithTheMatrix) {
    const OPTMatrix<double> wrapping(array({{5, 6}}));
    const std::int64_t before = liveArrayCount();
    {
        std::optional<OPTMatrix<double>> transposed;
        std::optional<OPTMatrix<double>> copy;
        {
            const CallScope scope;
            transposed.emplace(wrapping.transpose());
            copy.emplace(wrapping);
        }
        EXPECT_EQ(rowsOf(*transposed), (Rows{{5}, {6}}));
        EXPECT_EQ(rowsOf(*copy), (Rows{{5, 6}}));
        EXPECT_EQ(liveArrayCount(), before + 2);
    }
    EXPECT_EQ(liveArrayCount(), before);
}

// Without a scope the test itself must clean up, so these tests do not use the fixture.
TEST(WithoutAScope, KeptArraysAreTheCallersAndMatricesTakeTheirsAlong) {
    const std::int64_t before = liveArrayCount();
    vxArray* kept = nullptr;
    vxArray* persistent = nullptr;
    {
        CallScope scope;
        kept = scope.keep(vxCreateDoubleScalar(4));
    }
    {
        const OPTMatrix<double> wrapping(kept);
        const OPTMatrix<double> copy(wrapping);
        const OPTMatrix<double> transposed = wrapping.transpose();
        const OPTMatrix<double> another = wrapping.transpose();
        persistent = another.getHostArray();
        vxSetArrayScope(persistent, 0);  // now it belongs to the caller
        EXPECT_EQ(copy(0, 0) + transposed(0, 0), 8.0);
    }
    ASSERT_EQ(liveArrayCount(), before + 2) << "a matrix destroyed an array of the caller's";
    vxDestroyArray(persistent);
    vxDestroyArray(kept);
}

TEST(WithoutAScope, NoCreatorLeaksWhicheverOfItsRequestsFails) {
    std::vector<double> buffer(6, 1.0);
    vxArray* const stored = sparse({{1, 2}, {0, 3}});
    vxArray* const full = vxCreateDoubleMatrix(2, 3, vxComplexity::Complex);
    const OPTMatrix<double> a(2, 2);
    const std::vector<std::function<vxArray*()>> creators{
        [] { return vxCreateDoubleMatrix(2, 3, vxComplexity::Complex); },
        [] { return vxCreateSparse(2, 3, 4, vxComplexity::Complex); },
        [&] { return vxCreateDoubleMatrixFrom(buffer.data(), 2, 3); },
        [] { return vxCreateCharArray("text"); },
        [&] { return vxCreateDeepCopy(stored); },
        [&] { return vxCreateDeepCopy(full); },
        [&] { return vxTranspose(stored); },
        [&] { return vxTranspose(full); },
        [&] { return a.toVxArray(); },
        [&] {
            const OPTMatrix<double> copy(a);
            const OPTMatrix<double> wrapping(buffer.data(), 2, 2);
            const OPTMatrix<double> turned = (copy * wrapping - a).transpose();
            OPTMatrix<double> empty;
            empty = turned;
            return empty.toVxArray();
        },
    };
    for (size_t c = 0; c < creators.size(); ++c) {
        bool refused = true;
        for (std::uint64_t failAt = 1; refused; ++failAt) {
            SCOPED_TRACE("creator " + std::to_string(c) + ", request " + std::to_string(failAt));
            releaseMatrixPool();
            const std::int64_t arrays = liveArrayCount();
            const std::int64_t blocks = liveBlockCount();
            {
                const AllocationFaults faults(failAt);
                try {
                    vxDestroyArray(creators[c]());
                } catch (const HostError& error) {
                    EXPECT_EQ(error.identifier(), OutOfMemoryIdentifier);
                    EXPECT_TRUE(faults.hasFailed());
                }
                refused = faults.hasFailed();
            }
            releaseMatrixPool();
            ASSERT_EQ(liveArrayCount(), arrays);
            ASSERT_EQ(liveBlockCount(), blocks);
        }
    }
    vxDestroyArray(stored);
    vxDestroyArray(full);
}

TEST_F(IndexLists, CopiesShareUntilOneGrows) {
    IndexList list;
    list.reserve(2);
    list.get()[0] = 5;
    list.get()[1] = 6;
    std::optional<IndexList> copy(list);
    copy->get()[1] = 60;
    EXPECT_EQ(list.get()[1], 60U);
    copy->reserve(1);
    EXPECT_EQ(copy->get(), list.get()) << "a list that has room must stay shared";
    copy->reserve(4);
    EXPECT_EQ(std::vector<size_t>(copy->get(), copy->get() + 4),
              (std::vector<size_t>{5, 60, NoIndex, NoIndex}));
    copy = list;
    list = IndexList();
    EXPECT_EQ(copy->get()[0], 5U) << "the last copy keeps the entries";
    {
        const AllocationFaults faults(1);
        expectRaises(OutOfMemoryIdentifier, OutOfMemoryText, [&] { copy->reserve(3); });
    }
    expectRaises(OutOfMemoryIdentifier, OutOfMemoryText, [&] { copy->reserve(NoIndex / 4); });
    EXPECT_EQ(copy->get()[1], 60U) << "a refused growth changed the list";
}

}  // namespace
}  // namespace activeset::test
