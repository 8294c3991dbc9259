// What the command prints and returns when it is asked for something that it cannot do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "activeset/kernels.hpp"
#include "cli/run_cli.hpp"

namespace activeset::cli::tests {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class Usage : public CommandLine {};
class UnreadableFiles : public CommandLine {};

TEST_F(Usage, ErrorsAreOneLineAndAStatusOfTheirOwn) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"", "activeset solve FILE"},
        {"slove f", "unknown command slove"},
        {"solve", "FILE"},
        {"solve --fast f", "--fast"},
        {"solve --tolerance 0 f", "0 is not a number above 0 and at most 1"},
        {"solve --start warm f", "warm not in {automatic,cold,predict}"},
        {"solve --max-iter -3 f", "-3 is not a whole number from 0 up"},
        {"solve --max-iter 3000000000 f", "3000000000"},
        {"solve --strict --tol-con -1e-6 f", "-1e-6 is not a number from 0 up"},
        {"solve --strict --tol-x nan f", "nan is not a number from 0 up"},
        {"solve --strict --display much f", "much"},
        {"solve --display iter f", "--strict"},
        {"solve --strict --json --display iter f", "use --display off"},
        {"solve -o r.txt f", "-o takes a file that ends in .json"},
        {"solve --resume f", "--resume needs -o FILE.csv"},
        {"solve --warm r.csv f", "r.csv does not end in .json, .npz or .sol"},
        {"solve --json --csv f", "--json and --csv exclude each other"},
        {"compare f", "SECOND.json"}};
    for (const auto& [arguments, part] : cases) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 9);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr(part));
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
    }
}

TEST_F(Usage, HelpFitsTheTerminalAndVersionHasFourParts) {
    for (const char* const verb :
         {"", "solve", "explain", "relax", "check", "convert", "compare", "report"}) {
        const Outcome help = run(verb + std::string(" --help"));
        EXPECT_EQ(help.status, 0);
        EXPECT_THAT(help.out, HasSubstr("Exit status: 0 solved;"));
        std::istringstream lines(help.out);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 80U) << line;
        }
    }

    ::setenv("ACTIVESET_INSTRUCTION_SET", "baseline", 1);
    ::setenv("OPENBLAS_CORETYPE", "PRESCOTT", 1);  // another BLAS reads this variable
    const Outcome version = run("--version");
    ::setenv("ACTIVESET_BLAS_KERNEL", "PRESCOTT", 1);
    const Outcome lowered = run("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(
        version.out,
        MatchesRegex("activeset ([0-9]+\\.){3}[0-9]+ \\(.+\\)\nkernels: baseline, BLAS: .+\n"));
    if (const std::string kernel = blasKernel(); kernel != "reference") {
        EXPECT_THAT(version.out, HasSubstr("BLAS: " + kernel + "\n"));
#if defined(__x86_64__)
        EXPECT_THAT(lowered.out, HasSubstr("BLAS: Prescott\n"));
#endif
    }
}

TEST_F(Usage, OutputThatCannotBeWrittenIsNoFile) {
    write("p", "ROWS\n N o\nCOLUMNS\n x o 1\nENDATA\n");
    for (const char* const arguments : {"--help", "--version", "solve --help", "solve p"}) {
        for (const char* const output : {" >/dev/full", " >&-"}) {
            const Outcome outcome = run(arguments + std::string(output) + " #");
            EXPECT_EQ(outcome.status, 8) << arguments << output;
        }
    }
}

TEST_F(Usage, NamesCannotCommandTheTerminal) {
    write("p\x1b[31m\n",
          "NAME n\xc2\x9b FREE\nROWS\n N o\nCOLUMNS\n x\x7f\xe2\x80\xae\xff o 1\n"
          "BOUNDS\n LO b x\x7f\xe2\x80\xae\xff 1\nENDATA\n");
    const Outcome outcome = run("solve --solution 'p\x1b[31m\n' '\x1b[2Jq' 'ok\xc3\xa4'");
    EXPECT_THAT(outcome.out, HasSubstr("p\\x1b[31m\\x0a: n\\u009b, 1 variable"));
    EXPECT_THAT(outcome.out, HasSubstr("  x\\x7f\\u202e\\xff  1\n"));
    EXPECT_THAT(outcome.err, HasSubstr("\\x1b[2Jq: cannot be opened"));
    EXPECT_THAT(outcome.err, HasSubstr("ok\xc3\xa4: cannot be opened"));
}

TEST_F(UnreadableFiles, AreOneLineEachAndTheOthersAreSolvedWithTheirNotes) {
    write("good.qps", "ROWS\n N o\nCOLUMNS\n x o -1\nBOUNDS\n BV b x\nQUADOBJ\n x x 4\nENDATA\n");
    write("bad.qps", "ROWS\n N o\nCOLUMNS\n x o 1\nSOS\n");
    const std::string note =
        "good.qps:6: note: column 'x' is binary; it may take every value from 0 to 1 here\n";
    const std::string absent = "absent.qps: cannot be opened: No such file or directory\n";
    const std::string bad = "bad.qps:5:1: expected a section from NAME to ENDATA, found 'SOS'\n";

    EXPECT_EQ(run("solve good.qps").status, 0);
    write("good.lp", "min x\nend\n");
    EXPECT_THAT(run("solve - < good.lp").err, HasSubstr("try --format lp, json or npz"));
    EXPECT_EQ(run("solve good.qps absent.qps").err, note + absent);
    EXPECT_EQ(run("solve good.qps absent.qps").status, 8);
    const Outcome outcome = run("solve absent.qps bad.qps good.qps");
    EXPECT_EQ(outcome.status, 8);
    EXPECT_EQ(run("solve good.qps bad.qps").status, 7);
    EXPECT_EQ(outcome.err, absent + bad + note);
    EXPECT_THAT(outcome.out, MatchesRegex("good.qps: 1 variable.*\noutcome +optimal\n.*"));
}

}  // namespace
}  // namespace activeset::cli::tests
