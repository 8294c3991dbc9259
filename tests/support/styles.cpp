#include "support/styles.hpp"

#include <limits>

#include "support/style_builder.hpp"

namespace activeset::test {

namespace {

WarmStart nonsense(Choices& pick, std::size_t n, std::size_t m) {
    WarmStart start;
    const std::array sizes{1e300,    -1e300, 1e-300,
                           1e20,     -1e150, 1e16,
                           Infinity, -0.0,   std::numeric_limits<double>::quiet_NaN()};
    for (std::size_t j = pick.oneIn(8) ? pick.upTo(n + 2) : n; j > 0; --j) {
        start.x.push_back(pick.oneIn(2) ? pick.of(sizes) : pick.integer(9));
    }
    for (auto* list : {&start.workingSet.equalities, &start.workingSet.rowsAtLower,
                       &start.workingSet.rowsAtUpper, &start.workingSet.atLower,
                       &start.workingSet.atUpper, &start.workingSet.fixed}) {
        for (std::size_t k = pick.upTo(3); k > 0; --k) {
            list->push_back(pick.oneIn(8) ? static_cast<std::size_t>(-1) - pick.upTo(2)
                                          : pick.upTo(n + m));
        }
    }
    return start;
}

}  // namespace

StyledCase caseOf(Style style, Choices& choices, std::size_t largest) {
    StyleBuilder builder(choices, largest);
    constexpr std::array makers{
        &StyleBuilder::integers,       &StyleBuilder::degenerate,  &StyleBuilder::nearParallel,
        &StyleBuilder::products,       &StyleBuilder::lowRank,     &StyleBuilder::farStart,
        &StyleBuilder::tinyCosts,      &StyleBuilder::largeBounds, &StyleBuilder::hugeBounds,
        &StyleBuilder::nearSingular,   &StyleBuilder::infeasible,  &StyleBuilder::unbounded,
        &StyleBuilder::contradictions, &StyleBuilder::integers,    &StyleBuilder::integers,
        &StyleBuilder::wedges};
    static_assert(makers.size() == StyleNames.size());
    (builder.*makers.at(static_cast<std::size_t>(style)))();
    StyledCase result{.sample = builder.sample()};
    const std::size_t n = result.sample.n;
    if (style == Style::NonsenseStart) {
        result.warmStart = nonsense(choices, n, result.sample.m);
    }
    for (std::size_t k = 0; style == Style::JumpingCosts && k < 4; ++k) {
        const double factor = k % 2 == 1 ? 1.0 : choices.of(std::array{1e10, 1e15, 1e20});
        Numbers costs = choices.oneIn(2) ? result.sample.c : choices.integers(n, 9);
        for (double& cost : costs) {
            cost *= factor;
        }
        result.costs.push_back(costs);
    }
    return result;
}

void StyledCase::solve(const Settings& settings,
                       const std::function<void(const Sample&, const Result&)>& tell) const {
    activeset::Problem problem = sample.view();
    problem.warmStart = warmStart ? &*warmStart : nullptr;
    if (costs.empty()) {
        tell(sample, activeset::solve(problem, settings));
        return;
    }
    Solver solver(problem, settings);
    tell(sample, solver.solve());
    Sample changed = sample;
    for (const Numbers& c : costs) {
        changed.c = c;
        solver.setLinear(c);
        tell(changed, solver.solve());
    }
}

}  // namespace activeset::test
