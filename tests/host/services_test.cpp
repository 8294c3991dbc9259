// Errors, console, interrupts, element-wise arithmetic, independence of threads.
#include <array>
#include <thread>

#include "activeset/sizes.hpp"
#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using Messages = FreshState;
using Interrupts = FreshState;
using StridedArithmetic = FreshState;

TEST_F(Messages, ErrorsAreFormattedWholeAndAssertionsAreNot) {
    const std::string longWord(5000, 'x');
    expectRaises("optim:a:b", "row -7 of 3 100% " + longWord, [&] {
        vxErrMsgIdAndTxt("optim:a:b", "row %d of %zu 100%% %s", -7, size_t{3}, longWord.c_str());
    });
    expectAssertion("50%d off", [] { optimAssert(false, "50%d off"); });
    const CapturedOutput output;
    std::cout << "before ";
    utPrintf("%5.2f|%-4s|%d%%\n", 3.14159, "ab", 12);
    EXPECT_EQ(output.text(), "before  3.14|ab  |12%\n");
}

TEST_F(Interrupts, GuardsNestAndPutTheOuterModeBackOnEveryWayOut) {
    EXPECT_EQ(utInterruptMode::current(), -1);
    {
        const utInterruptMode outer(0);
        expectRaises("a:b", "c", [] {
            const utInterruptMode inner(3);
            EXPECT_EQ(utInterruptMode::current(), 3);
            EXPECT_EQ(utInterruptMode::depth(), 2);
            vxErrMsgIdAndTxt("a:b", "c");
        });
        EXPECT_EQ(utInterruptMode::current(), 0);
        EXPECT_EQ(utInterruptMode::depth(), 1);
    }
    EXPECT_EQ(utInterruptMode::current(), -1);
    EXPECT_EQ(utInterruptMode::depth(), 0);
}

TEST_F(StridedArithmetic, StridesPickOperandsAndResultsMayReplaceThem) {
    const std::array<double, 6> a{1, 2, 3, 4, 5, 6};
    std::array<double, 3> b{10, 20, 30};
    std::array<double, 3> result{};
    vxPlus(result.data(), 3, a.data(), 2, b.data(), 1);
    EXPECT_EQ(result, (std::array<double, 3>{11, 23, 35}));
    vxTimes(result.data(), 2, a.data(), 0, b.data(), 2);
    EXPECT_EQ(result, (std::array<double, 3>{10, 30, 35}));
    vxMinus(b.data(), 3, a.data() + 1, 2, b.data(), 1);
    EXPECT_EQ(b, (std::array<double, 3>{-8, -16, -24}));
}

TEST(HostThreads, EachThreadHasCountsPoolAndScopesOfItsOwn) {
    OPTsizes::setnVar(7);
    const CallScope scope;
    const std::int64_t before = liveArrayCount();
    std::thread([] {
        EXPECT_EQ(OPTsizes::getnVar(), 0U);
        OPTsizes::setnVar(3);
        EXPECT_EQ(threadState().innermostScope, nullptr);
        const utInterruptMode mode(2);
        const OPTMatrix<double> pooled(2, 2, true);
        EXPECT_EQ(matrixPoolSize(), 1U);
        EXPECT_EQ(liveArrayCount(), 1);
        utInterruptState::flags_pending |= 1U;
    }).join();
    EXPECT_EQ(OPTsizes::getnVar(), 7U);
    EXPECT_EQ(liveArrayCount(), before);
    EXPECT_EQ(matrixPoolSize(), 0U);
    EXPECT_EQ(utInterruptMode::depth(), 0);
    EXPECT_EQ(utInterruptState::flags_pending & 1U, 1U) << "an interrupt is for every thread";
    utInterruptState::flags_pending = 0;
    OPTsizes::setnVar(0);
}

}  // namespace
}  // namespace activeset::test
