// Runs the built command as a user would: a process, its output, its exit status.
#ifndef ACTIVESET_TESTS_CLI_RUN_CLI_HPP
#define ACTIVESET_TESTS_CLI_RUN_CLI_HPP

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace activeset::cli::tests {

struct Outcome {
    int status = 0;  ///< exit status, or 128 + the signal that ended the process
    std::string out;
    std::string err;
};

/// A folder of its own for each test, in which the command runs.
class CommandLine : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
        folder_ = std::filesystem::path(::testing::TempDir()) /
                  ("activeset_cli_" + std::string(test->test_suite_name()) + test->name());
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream(folder_ / name) << text;
    }
    [[nodiscard]] std::string contents(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(folder_ / name).rdbuf();
        return text.str();
    }

    /// Starts the command; what it prints goes to files of the folder, or, if `pipe` is given, to
    /// that instead of standard output.
    pid_t start(std::vector<std::string> arguments, int pipe = -1) const {
        arguments.insert(arguments.begin(), ACTIVESET_CLI);
        std::vector<char*> words;
        for (std::string& argument : arguments) {
            words.push_back(argument.data());
        }
        words.push_back(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            const int out = pipe >= 0 ? pipe : creat((folder_ / "stdout").c_str(), 0600);
            const int err = creat((folder_ / "stderr").c_str(), 0600);
            const bool ready = chdir(folder_.c_str()) == 0 && dup2(out, STDOUT_FILENO) >= 0 &&
                               dup2(err, STDERR_FILENO) >= 0;
            if (ready) {
                execv(ACTIVESET_CLI, words.data());
            }
            _exit(127);
        }
        return child;
    }

    [[nodiscard]] Outcome finish(pid_t child) const {
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status),
                contents("stdout"), contents("stderr")};
    }

    [[nodiscard]] Outcome run(const std::vector<std::string>& arguments) const {
        return finish(start(arguments));
    }

    std::filesystem::path folder_;
};

}  // namespace activeset::cli::tests

#endif
