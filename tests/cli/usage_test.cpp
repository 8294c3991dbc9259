// What the command says and returns when it is asked for something it cannot do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "cli/run_cli.hpp"

namespace activeset::cli::tests {
namespace {

const char* const Feasible =
    "NAME good FREE\nROWS\n N o\nCOLUMNS\n x o 1\nQUADOBJ\n x x 1\nENDATA\n";

class Usage : public CommandLine {};
class UnreadableFiles : public CommandLine {};

TEST_F(Usage, ErrorsAreOneLineAndStatusTwo) {
    struct Case {
        std::vector<std::string> arguments;
        const char* part;
    };
    const std::vector<Case> cases{
        {{}, "subcommand"},
        {{"slove", "f"}, "unknown command slove"},
        {{"solve"}, "FILE"},
        {{"solve", "--fast", "f"}, "--fast"},
        {{"solve", "f", "--max-iter"}, "--max-iter"},
        {{"solve", "--max-iter", "-3", "f"}, "-3 is not a whole number from 0 up"},
        {{"solve", "--max-iter", "2.5", "f"}, "2.5 is not a whole number from 0 up"},
        {{"solve", "--max-iter", "3000000000", "f"}, "3000000000"},
        {{"solve", "--tol-con", "-1e-6", "f"}, "-1e-6 is not a number from 0 up"},
        {{"solve", "--tol-x", "nan", "f"}, "nan is not a number from 0 up"},
        {{"solve", "--display", "much", "f"}, "much"},
        {{"solve", "--json", "--display", "iter", "f"}, "--json"}};
    for (const Case& example : cases) {
        const Outcome outcome = run(example.arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err.find(example.part), std::string::npos) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
}

TEST_F(Usage, HelpNamesTheExitStatusAndVersionHasFourParts) {
    const Outcome help = run({"solve", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("Exit status: 0 when every file was solved"), std::string::npos);

    const Outcome version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.out,
                ::testing::MatchesRegex("activeset [0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+ \\(.+\\)\n"));
}

TEST_F(UnreadableFiles, AreOneLineEachAndTheOthersAreSolved) {
    write("good.qps", Feasible);
    write("sos.qps", "ROWS\n N o\nCOLUMNS\n x o 1\nSOS\n");
    write("bad.qps", "NAME bad FREE\nROWS\n N o\n L r\nCOLUMNS\n x o 1 r 1,5\nENDATA\n");
    const Outcome outcome =
        run({"solve", "--display", "off", "absent.qps", "bad.qps", "good.qps", "sos.qps"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err,
              "absent.qps:0: cannot be opened: No such file or directory\n"
              "bad.qps:6: '1,5' is not a number\n"
              "sos.qps:5: section 'SOS' cannot be read\n");
    EXPECT_NE(outcome.out.find("good.qps: good, 1 variable"), std::string::npos);
    EXPECT_NE(outcome.out.find("outcome          optimal (1)\n"), std::string::npos);
    EXPECT_EQ(outcome.out.find("bad.qps"), std::string::npos);
}

TEST_F(UnreadableFiles, LeaveTheirMarkOnTheStatusWhereverTheyStand) {
    write("good.qps", Feasible);

    EXPECT_EQ(run({"solve", "good.qps"}).status, 0);
    EXPECT_EQ(run({"solve", "absent.qps", "good.qps"}).status, 2);
    EXPECT_EQ(run({"solve", "good.qps", "absent.qps"}).status, 2);
}

TEST_F(UnreadableFiles, NotesAreNotErrors) {
    write("binary.qps", "ROWS\n N o\nCOLUMNS\n x o -1\nBOUNDS\n BV b x\nQUADOBJ\n x x 4\nENDATA\n");
    const Outcome outcome = run({"solve", "binary.qps"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err,
              "binary.qps:6: note: column 'x' is binary; it may take every value from 0 to 1 "
              "here\n");
}

}  // namespace
}  // namespace activeset::cli::tests
