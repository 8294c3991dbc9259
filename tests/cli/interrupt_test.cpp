// Ctrl-C during a solve that takes long: one bound a pass, and the passes are slow.
#include <gtest/gtest.h>

#include "cli/run_cli.hpp"

namespace activeset::cli::tests {
namespace {

class Interrupt : public CommandLine {
protected:
    /// Starts solving two files and returns when the first table has a few rows.
    pid_t startLongSolve() {
        constexpr int Variables = 700;
        std::string columns;
        std::string bounds;
        std::string hessian;
        for (int j = 0; j < Variables; ++j) {
            const std::string name = " x" + std::to_string(j);
            columns += name + " o " + std::to_string(-2 - j) + "\n";
            bounds += " UP b" + name + " 1." + std::to_string(1000 + j) + "\n";
            hessian += name + name + " 1\n";
        }
        write("long.qps", "NAME long FREE\nROWS\n N o\nCOLUMNS\n" + columns + "BOUNDS\n" + bounds +
                              "QUADOBJ\n" + hessian + "ENDATA\n");
        const pid_t child = start({"solve", "long.qps", "long.qps"});
        EXPECT_TRUE(waitFor("\n3 "));
        return child;
    }
};

TEST_F(Interrupt, OnceReportsThePointReachedAndLeavesTheOtherFiles) {
    const pid_t child = startLongSolve();
    kill(child, SIGINT);
    const Outcome outcome = finish(child);

    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("outcome          interrupted (-1)\n"), std::string::npos);
    EXPECT_NE(outcome.out.find("\nobjective        -"), std::string::npos);
    EXPECT_EQ(outcome.err, "interrupted: 1 file not solved\n");
}

TEST_F(Interrupt, TwiceEndsTheProcess) {
    const pid_t child = startLongSolve();
    // A pass takes long enough for a second one to arrive before the first is noticed. Signals that
    // are sent while the process waits for the processor count as one: hence more than two.
    siginfo_t ended{};
    while (waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ended.si_pid == 0) {
        kill(child, SIGINT);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_EQ(finish(child).status, 128 + SIGINT);
}

}  // namespace
}  // namespace activeset::cli::tests
