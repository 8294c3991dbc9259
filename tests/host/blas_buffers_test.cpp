// The scratch memory of BLAS when memory runs out, and when the process ends in the middle of a
// product. Each test runs in a process of its own; an alarm ends it if it hangs.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "activeset/host.hpp"
#include "host/lapack.hpp"
#include "support/process_memory.hpp"

namespace activeset::test {
namespace {

constexpr unsigned Patience = 20;  // seconds
constexpr std::size_t Order = 200;

class BlasBuffers : public ::testing::Test {
protected:
    BlasBuffers() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

/// Whether the Cholesky factor of 4·I is 2·I.
bool factorises(std::vector<double>& matrix) {
    matrix.assign(Order * Order, 0.0);
    for (std::size_t j = 0; j < Order; ++j) {
        matrix[j * (Order + 1)] = 4.0;
    }
    return lapack::potrf({matrix.data(), Order, Order}) == 0 && matrix.front() == 2.0 &&
           matrix.back() == 2.0;
}

void leaveAddressSpace(std::size_t bytes) {
    const rlim_t most = ProcessMemory::now().mapped + bytes;
    const rlimit limit{most, RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &limit);
}

[[noreturn]] void factoriseWithLittleMemory() {
    alarm(Patience);
    std::vector<double> matrix(Order * Order);
    leaveAddressSpace(std::size_t{64} << 20U);
    int raised = 0;
    for (int k = 0; k < 3; ++k) {
        try {
            factorises(matrix);
        } catch (const HostError& error) {
            raised += std::string(error.identifier()) == OutOfMemoryIdentifier ? 1 : 0;
        }
    }
    leaveAddressSpace(std::size_t{1} << 30U);
    std::_Exit(raised == 3 && factorises(matrix) ? 0 : 1);
}

TEST_F(BlasBuffers, AreRefusedWithAnErrorAndComeBackWithTheMemory) {
#ifndef ACTIVESET_EMBEDDED_BLAS
    GTEST_SKIP() << "the reference BLAS needs no buffers";
#endif
    if (IsSanitized) {
        GTEST_SKIP() << "a sanitizer takes address space as it likes";
    }
    EXPECT_EXIT(factoriseWithLittleMemory(), ::testing::ExitedWithCode(0), "");
}

[[noreturn]] void exitWhileThreadsFactorise(int blasThreads) {
    alarm(Patience);
    setBlasThreads(blasThreads);
    for (int k = 0; k < 3; ++k) {
        std::thread([] {
            std::vector<double> matrix;
            while (factorises(matrix)) {
            }
            abort();
        }).detach();
    }
    usleep(20000);
    std::exit(0);
}

TEST_F(BlasBuffers, StayWithTheThreadsThatUseThemWhenTheProcessEnds) {
    for (const int blasThreads : {1, 1, 1, 1, 1, 1, 2, 2}) {
        EXPECT_EXIT(exitWhileThreadsFactorise(blasThreads), ::testing::ExitedWithCode(0), "");
    }
}

}  // namespace
}  // namespace activeset::test
