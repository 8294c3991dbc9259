// The ratio test: how far a direction can be followed, and which constraint blocks it.
#include <cmath>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class RatioTest : public FreshState {};

struct Step {
    const char* name;
    bool isQuadratic;
    std::vector<double> p;
    Problem problem;  // A, b, lb, ub; three equalities are added
    int code;
    double alpha;
    size_t number = 0;
    size_t kindIndex = 0;
    const char* kind = "untouched";
    Lists active{};
    double tolerance = 1e-6;
};

constexpr double Threshold = 1000 * Eps;  // for a direction of norm 1

// Constraint numbers: 3 + row, 3 + mIneq + variable, 3 + mIneq + n + variable.
std::vector<Step> steps() {
    const Problem three{.H = {}, .c = {}, .A = {{1, 0}, {2, 0}, {0, 1}}, .b = {.5, 1, .25}};
    const Problem ties{.H = {}, .c = {}, .A = {{1, 0}}, .b = {.5}, .lb = {-9, -.5}, .ub = {.5, 9}};
    const Problem bounds{.H = {}, .c = {}, .lb = {-9, -Inf, -9, -.5}, .ub = {Inf, .5, 9, Inf}};
    const auto slack = [](double b) { return Problem{.H = {}, .c = {}, .A = {{1, 0}}, .b = {b}}; };
    const auto rate = [](double a) { return Problem{.H = {}, .c = {}, .A = {{a, 0}}, .b = {0}}; };
    const double above = std::nextafter(Threshold, 1);
    return {
        {"QP, nothing there", true, {1, 0}, {}, -1, 1},
        {"LP, nothing there", false, {1, 0}, {}, -1, 1e30},
        {"slack beyond the full step", true, {1, 0}, slack(2), -1, 1, 3, 0, "ineq"},
        {"slack of just the full step", true, {1, 0}, slack(1), 1, 1, 3, 0, "ineq"},
        {"LP is not capped at 1", false, {1, 0}, slack(2), 1, 2, 3, 0, "ineq"},
        {"slack beyond the first alpha", false, {1, 0}, slack(1e31), -1, 1e30},
        {"rows tie", true, {1, 0}, three, 1, .5, 3, 0, "ineq"},
        {"a later row is nearer", true, {1, 1}, three, 1, .25, 5, 2, "ineq"},
        {"active row is skipped", true, {1, 1}, three, 1, .5, 3, 0, "ineq", {.ineq = {3}}},
        {"row, lower and upper tie", true, {1, -1}, ties, 1, .5, 3, 0, "ineq"},
        {"lower and upper tie", true, {1, -1}, ties, 1, .5, 5, 1, "lower", {.ineq = {1}}},
        {"upper alone", true, {1, -1}, ties, 1, .5, 6, 0, "upper", {.ineq = {1}, .lower = {2}}},
        {"upper bound by its variable", true, {0, 1, 0, 0}, bounds, 1, .5, 8, 0, "upper"},
        {"active lower bound", true, {-1, 0, 0, -1}, bounds, -1, 1, 3, 0, "lower", {.lower = {4}}},
        {"rate of just the threshold", true, {1, 0}, rate(Threshold), -1, 1},
        {"rate above the threshold", true, {1, 0}, rate(above), 1, 0, 3, 0, "ineq"},
        {"NaN rate", true, {1, 0}, rate(NaN), -1, 1},
        {"NaN slack", true, {1, 0}, slack(NaN), -1, 1},
        {"violated by a quarter of it", true, {1, 0}, slack(-.25), 1, .25, 3, 0, "ineq", {}, 1},
        {"violated by most of it", true, {1, 0}, slack(-.75), 1, .25, 3, 0, "ineq", {}, 1},
        {"violated by just it", true, {1, 0}, slack(-1), 1, 0, 3, 0, "ineq", {}, 1},
        {"violated by more", true, {2, 0}, slack(-4), 1, -1.5, 3, 0, "ineq", {}, 1},
    };
}

TEST_F(RatioTest, TheNearestInactiveConstraintBlocks) {
    for (const Step& step : steps()) {
        SCOPED_TRACE(step.name);
        const size_t n = step.p.size();
        Problem problem = step.problem;
        if (step.isQuadratic) {
            problem.H.assign(n, std::vector<double>(n));
        }
        problem.c.assign(n, 0.0);
        problem.Aeq.assign(3, std::vector<double>(n, 1.0));  // never looked at
        problem.beq = {-1, 1, 0};
        Bench bench(problem);
        bench.options.setTolCon(step.tolerance);
        ScriptedSolver solver;
        initialise(solver, bench, step.active);
        OPTMatrix<double> p = columnMatrix(step.p);
        size_t number = 99;
        size_t kindIndex = 99;
        std::string kind = "untouched";
        double alpha = -7;
        EXPECT_EQ(TestAccess::findBlocking(solver, p, number, kindIndex, kind, alpha), step.code);
        EXPECT_EQ(alpha, step.alpha);
        EXPECT_EQ(number, step.number);
        EXPECT_EQ(kindIndex, step.kindIndex);
        EXPECT_EQ(kind, step.kind);
    }
}

}  // namespace
}  // namespace activeset::test
