// Runs the built command as a user does: starts a process, reads its output and its exit status.
#ifndef ACTIVESET_TESTS_CLI_RUN_CLI_HPP
#define ACTIVESET_TESTS_CLI_RUN_CLI_HPP

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace activeset::cli::tests {

struct Outcome {
    int status = 0;  ///< exit status, or 128 + the signal that ended the process
    std::string out;
    std::string err;
};

inline std::string contents(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

/// A folder for each test. The command runs in it.
class CommandLine : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(folder_); }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream(folder_ / name) << text;
    }

    /// Starts the command. Its output goes to files of the folder; with `pipe`, standard output
    /// goes there instead.
    [[nodiscard]] pid_t start(const std::string& arguments, int pipe = -1) const {
        const std::string command = "cd '" + folder_.string() + "' && exec '" ACTIVESET_CLI "' " +
                                    arguments + " 2>stderr" + (pipe < 0 ? " >stdout" : "");
        const pid_t child = fork();
        if (child == 0) {
            if (pipe < 0 || dup2(pipe, STDOUT_FILENO) >= 0) {
                execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            }
            _exit(127);
        }
        return child;
    }

    [[nodiscard]] Outcome finish(pid_t child) const {
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status),
                contents(folder_ / "stdout"), contents(folder_ / "stderr")};
    }

    [[nodiscard]] Outcome run(const std::string& arguments) const {
        return finish(start(arguments));
    }

    const std::filesystem::path folder_ =
        ::testing::TempDir() + "activeset_cli_" +
        ::testing::UnitTest::GetInstance()->current_test_info()->name() + "_" +
        std::to_string(getpid());
};

}  // namespace activeset::cli::tests

#endif
