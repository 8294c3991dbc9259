// All verbs but solve, and solve with many files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "cli/run_cli.hpp"

namespace activeset::cli::tests {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

class Verbs : public CommandLine {
protected:
    void SetUp() override {
        CommandLine::SetUp();
        write("good.lp", "min -2 x + [ 2 x^2 ] / 2\nst\n capacity: x + y <= 4\nend\n");
        write("none.lp", "min x\nst\n capacity: x + y <= 4\nbounds\n x >= 3\n y >= 2\nend\n");
        write("ray.lp", "max x - y\nst\n r: x - y >= 1\nend\n");
    }
};

TEST_F(Verbs, ExplainNamesTheConflictAndTheNearestPoint) {
    const Outcome none = run("explain none.lp");
    EXPECT_EQ(none.status, 0);
    EXPECT_THAT(none.out,
                HasSubstr("these 3 together have no common point; without any one of them"));
    EXPECT_THAT(none.out, HasSubstr("  capacity: x + y ≤ 4\n  x ≥ 3\n  y ≥ 2\n"));
    EXPECT_THAT(
        none.out,
        HasSubstr("this has to give way, by\n  capacity: x + y ≤ 4  1\nat\n  x  3\n  y  2\n"));
    EXPECT_THAT(run("explain ray.lp").out,
                HasSubstr("grows without end, entries other than 0\n  x  1\n"));
}

TEST_F(Verbs, CheckNamesWhatIsRemarkable) {
    write("odd.lp", "min x + [x^2]\nst\n a: x + y = 1\n b: 2 x + 2 y = 2\n c: x >= 0\nend\n");
    const Outcome odd = run("check odd.lp");
    EXPECT_EQ(odd.status, 0);
    EXPECT_THAT(odd.out, HasSubstr("3, of which 2 equalities of rank 1\n"));
    EXPECT_THAT(odd.out,
                HasSubstr("dependent equalities: b\n  combinations of earlier equalities"));
    EXPECT_THAT(run("check good.lp").out, HasSubstr("nothing that a solve would stumble over"));
    write("saddle.lp", "max 3 x + [ x^2 ]\nst\n r: x <= 1\nend\n");
    EXPECT_THAT(run("check saddle.lp").out, HasSubstr("not convex:\n  an eigenvalue"));
}

TEST_F(Verbs, ConvertedFilesSaySame) {
    EXPECT_THAT(run("good.lp").err, HasSubstr("try activeset solve good.lp"));
    EXPECT_EQ(run("convert good.lp good.json").status, 0);
    EXPECT_EQ(run("convert good.json good.mps").status, 0);
    EXPECT_EQ(run("convert good.mps --to lp").out, run("convert good.lp --to lp").out);
}

TEST_F(Verbs, RelaxKeepsWhatIsHard) {
    EXPECT_THAT(run("relax none.lp --hard capacity").out,
                HasSubstr("what is to stay contradicts itself"));
    const Outcome both = run("relax none.lp --hard capacity --bounds --norm inf");
    EXPECT_THAT(both.out, HasSubstr("  x ≥ 3  0.5\n  y ≥ 2  0.5\nat\n  x  2.5\n  y  1.5\n"));
    const json square = json::parse(run("relax none.lp --bounds --norm l2 --json").out);
    EXPECT_NEAR(square.at("row_violation").at(0).get<double>(), 1.0 / 3, 1e-9);
    EXPECT_NEAR(square.at("bound_violation").at(1).get<double>(), -1.0 / 3, 1e-9);
    EXPECT_THAT(run("relax good.lp").out, HasSubstr("nothing has to give way"));
    EXPECT_EQ(run("relax none.lp --hard nobody").status, 7);
}

TEST_F(Verbs, ManyFilesEndInATableAndAnInterruptedOneIsResumed) {
    const Outcome all = run("solve . --jobs 2 -o table.csv");
    EXPECT_EQ(all.status, 3);
    EXPECT_THAT(all.out, HasSubstr("./none.lp  infeasible "));
    EXPECT_THAT(all.out, HasSubstr("1 infeasible, 1 optimal, 1 unbounded\n"));
    const std::string table = contents(folder_ / "table.csv");
    EXPECT_THAT(table, HasSubstr("\n./good.lp,optimal,0,2,1,-1,"));
    write("late.lp", "min x\nst\nx >= 2\n");
    const Outcome rest = run("solve . --resume -o table.csv --csv");
    EXPECT_THAT(rest.out, Not(HasSubstr("good.lp")));
    EXPECT_THAT(contents(folder_ / "table.csv"), HasSubstr(table + "./late.lp,optimal,0,1,1,2,"));
}

TEST_F(Verbs, TheTableOfAKilledRunIsMendedAndErrorsAreTriedAgain) {
    write(R"(a "b", c.lp)", "min x\nst\nx >= 2\n");
    write("bad.lp", "min x >= 2\n");
    EXPECT_EQ(run("solve . -o table.csv").status, 7);
    const std::string table = contents(folder_ / "table.csv");
    write("bad.lp", "min x\nst\nx >= 2\n");
    write("table.csv", table.substr(0, table.size() - 9));  // cut off the end of the row of ray.lp
    const Outcome rest = run("solve . --resume -o table.csv");
    EXPECT_EQ(rest.err, "table.csv: 3 files skipped, answered before\n");
    const std::string mended = contents(folder_ / "table.csv");
    for (const char* const row :
         {"\n\"./a \"\"b\"\", c.lp\",optimal,", "\n./good.lp,optimal,", "\n./none.lp,infeasible,",
          "\n./bad.lp,optimal,", "\n./ray.lp,unbounded,"}) {
        EXPECT_THAT(mended, HasSubstr(row));
    }
    EXPECT_EQ(std::count(mended.begin(), mended.end(), '\n'), 6);
    EXPECT_EQ(run("solve . --resume -o table.csv").status, 3);
    EXPECT_EQ(contents(folder_ / "table.csv"), mended);
    for (const std::string& other : {std::string("x,y\n1,2\n"), mended + "glued,optimal,0\n"}) {
        write("other.csv", other);
        EXPECT_EQ(run("solve . --resume -o other.csv").status, 7);
        EXPECT_EQ(contents(folder_ / "other.csv"), other);
    }
}

TEST_F(Verbs, NoInputIsOverwrittenAndNothingIsSolvedForAFolderThatIsNotThere) {
    EXPECT_EQ(run("convert good.lp only/p.npz").status, 8);
    std::filesystem::create_directory(folder_ / "only");
    EXPECT_EQ(run("convert good.lp only/p.npz").status, 0);
    EXPECT_EQ(run("solve good.lp -o r.json").status, 0);
    for (const char* const arguments :
         {"solve good.lp r.json -o ./r.json", "report r.json -o only/../r.json",
          "convert r.json r.json", "solve only -o only/p.npz"}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 9) << arguments;
        EXPECT_THAT(outcome.err, HasSubstr("would overwrite"));
    }
    const Outcome absent = run("solve good.lp -o absent/r.json");
    EXPECT_EQ(absent.status, 8);
    EXPECT_EQ(absent.out, "");
}

TEST_F(Verbs, AFolderStandsForItsProblemsAndNotForResults) {
    std::filesystem::create_directory(folder_ / "mixed");
    for (const char* const problem : {"p.json", "p.npz"}) {
        EXPECT_EQ(run(std::string("convert good.lp mixed/") + problem).status, 0);
    }
    for (const char* const result : {"r.json", "r.npz"}) {
        EXPECT_EQ(run(std::string("solve good.lp -o mixed/") + result).status, 0);
    }
    const Outcome outcome = run("solve mixed -o table.csv");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(contents(folder_ / "table.csv"),
                ::testing::MatchesRegex("file[^\n]*\nmixed/p.json,optimal[^\n]*\n"
                                        "mixed/p.npz,optimal[^\n]*\n"));
    EXPECT_EQ(run("solve mixed -o mixed/p.json").status, 9);
    EXPECT_EQ(run("solve mixed -o mixed/r.json").status, 0);
}

TEST_F(Verbs, ResultsStartOtherSolvesAndAreCompared) {
    EXPECT_EQ(run("solve good.lp -o a.json").status, 0);
    EXPECT_EQ(run("solve good.lp -o a.sol").status, 0);
    EXPECT_EQ(contents(folder_ / "a.sol"), "# objective -1\nx 1\ny 0\n");
    EXPECT_EQ(run("solve good.lp -o a.npz").status, 0);
    for (const char* const warm : {"a.json", "a.sol", "a.npz"}) {
        EXPECT_EQ(run(std::string("solve good.lp -o b.json --warm ") + warm).status, 0);
        EXPECT_THAT(run("compare a.json b.json").out, HasSubstr("1 the same, 0 different"));
    }
    EXPECT_THAT(run("solve good.lp --warm a.sol").out,
                HasSubstr("warm start       a.sol: its point, with an empty working set\n"));
    write("far.lp", "min -20 x + [ 2 x^2 ] / 2\nst\n capacity: x + y <= 4\nend\n");
    EXPECT_EQ(run("solve far.lp -o far.json").status, 0);
    EXPECT_THAT(run("solve far.lp --warm far.json").out,
                HasSubstr("far.json: its working set is that of the solution\n"));
    EXPECT_THAT(run("solve good.lp --warm far.json").out,
                HasSubstr("0 of the 2 members in its working set are in that of the solution\n"));
    write("good.lp", "min -4 x + [ 2 x^2 ] / 2\nst\n capacity: x + y <= 4\nend\n");
    EXPECT_EQ(run("solve good.lp none.lp -o c.json").status, 2);
    const Outcome other = run("compare a.json c.json");
    EXPECT_EQ(other.status, 6);
    EXPECT_THAT(other.out, HasSubstr("good.lp: objective -1 and -4\nnone.lp: only in the second"));
    EXPECT_EQ(run("compare a.json a.sol").status, 7);
    EXPECT_EQ(run("solve none.lp -o a.sol").status, 2);
    EXPECT_EQ(contents(folder_ / "a.sol"), "# infeasible\n");
    write("odd.json", R"({"schema": "activeset-result/1", "file": 3})");
    EXPECT_EQ(run("compare odd.json odd.json").status, 7);
}

// x + y ≤ 3 and y ≥ 2.75 are violated: x = (1.5, 2.5 + 0.2).
TEST_F(Verbs, SoftSidesThatGiveWayAreToldAndWarmStarted) {
    write("soft.json", R"({"schema": "activeset-problem/2", "H": [[1, 0], [0, 1]],
        "c": [-2, -3], "A": [[1, 1]], "row_upper": [3], "lower": ["-inf", 2.75],
        "variables": ["x", "y"], "rows": ["capacity"], "row_penalty": {"upper_linear": [0.5]},
        "bound_penalty": {"lower_linear": ["inf", 0.1], "lower_quadratic": [0, 2]}})");
    EXPECT_THAT(run("solve soft.json").out,
                HasSubstr("soft sides that give way, by\n  capacity: x + y ≤ 3  1.2\n"
                          "  y ≥ 2.75             0.05\n"));
    const json cold = json::parse(run("solve soft.json --json").out);
    const json& violated = cold.at("soft_violated");
    EXPECT_EQ(violated.at("rows_at_upper"), json{0});
    EXPECT_EQ(violated.at("at_lower"), json{1});
    EXPECT_NEAR(violated.at("violation").at(1).get<double>(), 0.05, 1e-14);
    EXPECT_NEAR(violated.at("cost").at(1).get<double>(), 0.005 + 0.0025, 1e-14);
    for (const char* const warm : {"a.json", "a.npz"}) {
        EXPECT_EQ(run(std::string("solve soft.json -o ") + warm).status, 0);
        const json again =
            json::parse(run(std::string("solve soft.json --json --warm ") + warm).out);
        EXPECT_EQ(again.at("dual_steps"), 0) << warm;
        EXPECT_EQ(again.at("x"), cold.at("x")) << warm;
    }
    EXPECT_EQ(run("solve soft.json --strict").status, 7);
    EXPECT_THAT(run("convert soft.json --to lp").err,
                HasSubstr("standard output: the format has no penalties"));
}

TEST_F(Verbs, NothingOfTheProgressOrOfColoursGoesIntoAPipe) {
    const Outcome plain = run("solve good.lp");
    EXPECT_EQ(plain.out.find('\x1b'), std::string::npos);
    EXPECT_EQ(plain.err, "");
    EXPECT_THAT(run("solve good.lp --color always").out, HasSubstr("\x1b[32moptimal\x1b[0m"));
}

TEST_F(Verbs, ManualAndCompletionListEveryVerb) {
    const std::string manual = run("print-manual").out;
    const std::string completion = run("print-completion").out;
    for (const char* const verb :
         {"solve", "explain", "relax", "check", "convert", "compare", "report"}) {
        EXPECT_THAT(manual, HasSubstr(std::string("activeset ") + verb));
        EXPECT_THAT(completion, HasSubstr(std::string("        ") + verb + ") words="));
    }
}

}  // namespace
}  // namespace activeset::cli::tests
