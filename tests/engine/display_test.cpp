// The iteration table, character by character.
#include <iomanip>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

using Event = PassMessage::Event;

class Display : public FreshState {};

/// What is displayed at three moments of a solve of min x0 with x0 ≤ 1.
std::string shownAs(const std::string& word, ASQP::SolutionState lastState, bool& evaluated) {
    Bench bench({.H = {}, .c = {1, 0}, .ub = {1, Inf}});
    bench.options.setDisplay(word);
    ScriptedSolver solver;
    initialise(solver, bench);
    const struct {
        int iteration;
        double x0;
        size_t active;
        PassMessage note;
    } moments[] = {{0, .5, 0, PassMessage(Event::Start)},
                   {7, -1234567.5, 2, PassMessage(Event::UpperBoundIn)},
                   {1000, 1.0 / 3, 2, PassMessage(Event::Optimal)}};
    OPTMatrix<double> p = columnMatrix({3, 4});
    OPTMatrix<double> gradient = columnMatrix({5, -12});
    const CapturedOutput output;
    for (const auto& moment : moments) {
        solver._setCurrentIter(moment.iteration);
        solver.getSolution().setxstar(columnMatrix({moment.x0, 0}));
        solver.getSolution().setSolutionState(moment.iteration == 1000 ? lastState
                                                                       : ASQP::Undecided);
        ActiveSet::setmaConstr(moment.active);
        TestAccess::note(solver) = moment.note;
        TestAccess::display(solver, p, gradient, 1e30);
    }
    evaluated = solver.getSolution().isFvalUpdated();
    return output.text();
}

TEST_F(Display, StylesHaveTheirGoldenTextWhateverTheStreamsSettings) {
    std::ios settings(nullptr);
    settings.copyfmt(std::cout);
    std::cout << std::fixed << std::left << std::setprecision(2);
    bool evaluated = false;
    const std::string iter = shownAs("iter", ASQP::Optimal, evaluated);
    const std::string testing = shownAs("testing", ASQP::Optimal, evaluated);
    const std::string last = shownAs("final", ASQP::MaxIterReached, evaluated);
    std::cout.copyfmt(settings);
    EXPECT_EQ(iter, golden("display_iter.txt"));
    EXPECT_EQ(testing, golden("display_testing.txt"));
    EXPECT_EQ(last, golden("display_final.txt"));
}

TEST_F(Display, OtherWordsShowNothingAndDoNotEvaluateTheObjective) {
    for (const char* word : {"off", "", "Iter", "final "}) {
        bool evaluated = true;
        EXPECT_EQ(shownAs(word, ASQP::Optimal, evaluated), "");
        EXPECT_FALSE(evaluated) << word;
    }
    bool evaluated = false;
    EXPECT_EQ(shownAs("final", ASQP::Undecided, evaluated), "");
    EXPECT_TRUE(evaluated);
}

}  // namespace
}  // namespace activeset::test
