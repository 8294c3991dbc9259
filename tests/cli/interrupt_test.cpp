// Ctrl-C during a solve. The test does not read the table that the tool writes to a pipe. So the
// tool is blocked in the middle of its solve, on a machine of any speed, until the test reads.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <array>
#include <chrono>
#include <thread>

#include "cli/run_cli.hpp"

namespace activeset::cli::tests {
namespace {

class Interrupt : public CommandLine {
protected:
    static constexpr int Room = 4096;  ///< bytes in the pipe; the table is longer

    /// Starts a solve of two files, in which each pass adds one bound. Returns when the pipe is
    /// full.
    pid_t startLongSolve() {
        std::string columns;
        std::string bounds;
        std::string hessian;
        for (int j = 0; j < 400; ++j) {
            const std::string name = " x" + std::to_string(j);
            columns += name + " o " + std::to_string(-2 - j) + "\n";
            bounds += " UP b" + name + " 1." + std::to_string(1000 + j) + "\n";
            hessian += name + name + " 1\n";
        }
        write("long.qps", "NAME long FREE\nROWS\n N o\nCOLUMNS\n" + columns + "BOUNDS\n" + bounds +
                              "QUADOBJ\n" + hessian + "ENDATA\n");
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        EXPECT_EQ(fcntl(ends[1], F_SETPIPE_SZ, Room), Room);
        const pid_t child = start("solve --strict long.qps long.qps", ends[1]);
        close(ends[1]);
        readEnd_ = ends[0];
        // With less room than this left, the next row of the table may not fit.
        constexpr int LongestRow = 64;
        int available = 0;
        while (ioctl(readEnd_, FIONREAD, &available) == 0 && available <= Room - LongestRow) {
            pollfd hangup{readEnd_, 0, 0};
            if (poll(&hangup, 1, 5) != 0) {
                ADD_FAILURE() << "the tool has ended";
                break;
            }
        }
        return child;
    }

    [[nodiscard]] std::string readOn() const {
        std::string text;
        std::array<char, Room> block{};
        ssize_t count = 0;
        while ((count = read(readEnd_, block.data(), block.size())) > 0) {
            text.append(block.data(), static_cast<std::size_t>(count));
        }
        close(readEnd_);
        return text;
    }

    int readEnd_ = -1;
};

TEST_F(Interrupt, OnceReportsThePointReachedAndLeavesTheOtherFiles) {
    const pid_t child = startLongSolve();
    kill(child, SIGINT);
    const std::string out = readOn();
    const Outcome outcome = finish(child);

    EXPECT_EQ(outcome.status, 130);
    EXPECT_NE(out.find("outcome          interrupted (-1)\n"), std::string::npos);
    EXPECT_NE(out.find("\nobjective        -"), std::string::npos);
    EXPECT_EQ(out.find("support"), std::string::npos);
    EXPECT_EQ(outcome.err, "interrupted: 1 file not solved\n");
}

TEST_F(Interrupt, TwiceEndsTheProcess) {
    const pid_t child = startLongSolve();
    // Signals that arrive before the process runs again count as one, so two may not suffice.
    siginfo_t ended{};
    while (waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ended.si_pid == 0) {
        kill(child, SIGINT);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }

    EXPECT_EQ(finish(child).status, 128 + SIGINT);
    EXPECT_EQ(readOn().find("outcome"), std::string::npos);
}

}  // namespace
}  // namespace activeset::cli::tests
