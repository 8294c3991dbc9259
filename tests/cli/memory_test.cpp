// The command when memory runs out: it says so or finishes before, and never hangs or crashes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "cli/run_cli.hpp"
#include "support/process_memory.hpp"

namespace activeset::cli::tests {
namespace {

class WantOfMemory : public CommandLine {
protected:
    void SetUp() override {
        CommandLine::SetUp();
        if (test::IsSanitized) {
            GTEST_SKIP() << "a sanitizer's memory is another one";
        }
        // min ½‖x‖² − Σ x_j over 60 variables. Each pair of neighbours has a sum of at most 1.
        std::string rows, columns, curvature;
        for (int j = 0; j < 60; ++j) {
            const std::string x = "x" + std::to_string(j), row = "r" + std::to_string(j);
            rows += " L " + row + "\n";
            columns += " " + x + " cost -1 " + row + " 1\n";
            columns += j == 0 ? "" : " " + x + " r" + std::to_string(j - 1) + " 1\n";
            curvature += " " + x + " " + x + " 1\n";
        }
        write("p", "NAME p FREE\nROWS\n N cost\n" + rows + "COLUMNS\n" + columns +
                       "RHS\n b r3 1\nQUADOBJ\n" + curvature + "ENDATA\n");
    }

    static void expectAnEnd(const Outcome& outcome, const std::string& what) {
        SCOPED_TRACE(what);
        EXPECT_TRUE(outcome.status == 0 || (outcome.status >= 7 && outcome.status <= 10))
            << outcome.err;
        if (outcome.status != 0) {
            EXPECT_THAT(outcome.err, ::testing::AnyOf(::testing::HasSubstr("memory"),
                                                      ::testing::HasSubstr("cannot be"),
                                                      ::testing::HasSubstr("can not be")));
        }
    }
};

TEST_F(WantOfMemory, IsReportedWhicheverRequestIsRefused) {
    for (const char* const options : {"--json ", "--solution "}) {
        for (int request = 1; request < 40000; request += 1 + request / 4) {
            for (const char* const count : {"1", "1000000000"}) {
                setenv("LD_PRELOAD", ACTIVESET_REFUSE_MEMORY, 1);
                setenv("REFUSE_AT", std::to_string(request).c_str(), 1);
                setenv("REFUSE_COUNT", count, 1);
                const pid_t child = start("solve " + std::string(options) + "p");
                unsetenv("LD_PRELOAD");
                expectAnEnd(finish(child), options + std::to_string(request) + ", " + count);
            }
        }
    }
}

TEST_F(WantOfMemory, OfAddressSpaceIsReported) {
    int ended = 0;
    for (int megabytes = 60; megabytes <= 260; megabytes += 20) {
        const std::string limit = "ulimit -v " + std::to_string(1024 * megabytes) + "; ";
        const std::string tool = "timeout 10 '" ACTIVESET_CLI "' ";
        const std::string folder = "cd '" + folder_.string() + "'; ";
        const int version = std::system((limit + tool + "--version >/dev/null 2>&1").c_str());
        ASSERT_NE(WEXITSTATUS(version), 124) << limit << "does not end";
        if (version != 0) {  // another library failed while it was loaded, which is not tested here
            continue;
        }
        const int status =
            std::system((folder + limit + tool + "solve p >stdout 2>stderr").c_str());
        expectAnEnd({WEXITSTATUS(status), "", contents(folder_ / "stderr")}, limit);
        ++ended;
    }
    EXPECT_GT(ended, 0);
}

}  // namespace
}  // namespace activeset::cli::tests
