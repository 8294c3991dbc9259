// The front end with any data: it returns or raises as promised, leaks nothing, and its claims hold
// in exact arithmetic.
#include <array>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>

#include "frontend_problem.hpp"
#include "judge.hpp"
#include "support/exact/judge.hpp"

namespace activeset::fuzz {
namespace {

using test::Sample;
using test::Style;
using test::StyledCase;

/// How much of a result can be checked.
enum class Depth {
    Form,    ///< status, shapes, faults
    Claims,  ///< also its claims, from its vectors
    Truth    ///< also whether it is true, and the optimum; for undamaged problems only
};

/// Raised by a callback.
struct Abandoned {};

/// The problem with all absent parts filled in. It must have no faults.
Sample sampleOf(const Problem& problem) {
    const auto filled = [](const VectorView& view, std::size_t size, double value) {
        std::vector<double> result(size, value);
        std::copy_n(view.data(), std::min(view.size(), size), result.begin());
        return result;
    };
    Sample s;
    s.n = !problem.c.empty()      ? problem.c.size()
          : problem.H.cols() != 0 ? problem.H.cols()
                                  : problem.A.cols();
    s.m = problem.A.empty() ? 0 : problem.A.rows();
    for (std::size_t j = 0; j < s.n; ++j) {
        for (std::size_t i = 0; i < s.n && !problem.H.empty(); ++i) {
            s.H.push_back(problem.H(i, j));
        }
        for (std::size_t i = 0; i < s.m; ++i) {
            s.A.push_back(problem.A(i, j));
        }
    }
    s.c = filled(problem.c, s.n, 0.0);
    s.rowLower = filled(problem.rowLower, s.m, -Infinity);
    s.rowUpper = filled(problem.rowUpper, s.m, Infinity);
    s.start = filled(problem.start, problem.start.size(), 0.0);
    s.lower = filled(problem.lower, s.n, -Infinity);
    s.upper = filled(problem.upper, s.n, Infinity);
    return s;
}

void judgeList(const std::vector<std::size_t>& list, std::size_t count) {
    for (std::size_t k = 0; k < list.size(); ++k) {
        require(list[k] < count, "a working set names what does not exist");
        require(k == 0 || list[k - 1] < list[k], "a working set is not ascending");
    }
}

void judgeShapes(const Sample& sample, const Result& r) {
    require(r.x.empty() || r.x.size() == sample.n, "x has another length");
    require(r.y.size() == (r.x.empty() ? r.y.size() : sample.m), "y has another length");
    require(r.z.size() == (r.x.empty() ? r.z.size() : sample.n), "z has another length");
    judgeList(r.workingSet.equalities, sample.m);
    judgeList(r.workingSet.rowsAtLower, sample.m);
    judgeList(r.workingSet.rowsAtUpper, sample.m);
    judgeList(r.workingSet.atLower, sample.n);
    judgeList(r.workingSet.atUpper, sample.n);
    judgeList(r.workingSet.fixed, sample.n);
    require(r.farkas.has_value() == (r.status == Status::Infeasible), "a Farkas vector, or none");
    const bool hasDirection = r.status == Status::Unbounded || r.status == Status::NotConvex;
    require(r.direction.empty() != hasDirection, "a direction, or none");
}

void judge(const Problem& problem, const Settings& settings, const Result& r, Depth depth) {
    const bool hasFaults = !faultsOf(problem).empty() || !areSound(settings);
    require((r.status == Status::Invalid) == hasFaults, "faults, or a status without them");
    require(r.faults.empty() != hasFaults && r.message.empty() <= !hasFaults, "faults untold");
    require(r.message.empty() || hasFaults || r.status == Status::NotConvex, "a needless message");
    require(r.status != Status::Failed, "a solve that failed returned");
    if (hasFaults) {
        return;
    }
    const Sample sample = sampleOf(problem);
    judgeShapes(sample, r);
    const bool isCut = r.status == Status::IterationLimit || r.status == Status::TimeLimit ||
                       r.status == Status::Interrupted;
    std::string wrong;
    if (depth != Depth::Form) {
        wrong = test::exact::falseClaim(sample, r, settings.tolerance, problem.constant);
    }
    if (depth == Depth::Truth && wrong.empty() && !isCut && settings.tolerance <= 1e-9) {
        wrong = test::exact::judge(sample, r).wrong;
    }
    if (!wrong.empty()) {
        condemn(wrong, "\n" + test::exact::textOf(sample));
    }
}

/// Solves, perhaps with a callback that watches, ends, raises or starts another solve.
std::optional<Result> solveWatched(const Problem& problem, Settings settings, Bytes& bytes) {
    const std::size_t kind = bytes.oneIn(4) ? 1 + bytes.below(4) : 0;
    std::size_t passes = 1 + bytes.below(8);
    if (kind > 0) {
        settings.onPass = [&, kind](const Progress& progress) {
            require(std::isfinite(progress.step) && progress.iteration > 0, "progress of nothing");
            if (kind > 1 && --passes == 0) {
                if (kind == 2) {
                    return false;
                }
                if (kind == 3) {
                    throw Abandoned();
                }
                static_cast<void>(activeset::solve(problem));
            }
            return true;
        };
    }
    try {
        return activeset::solve(problem, settings);
    } catch (const Abandoned&) {
        require(kind == 3, "raised by nobody");
    } catch (const std::logic_error&) {
        require(kind == 4, "a logic error without a solve in a solve");
    }
    return std::nullopt;
}

void runSequence(const ViewedProblem& first, Bytes& bytes, Style style) {
    Problem now = first.view();
    std::list<ViewedProblem> others;
    Solver solver(now, settingsOf(bytes));
    for (std::size_t step = bytes.below(6) + 1; step > 0; --step) {
        ByteChoices choices(bytes);
        const StyledCase styled = test::caseOf(style, choices, 4);
        ViewedProblem& next = others.emplace_back(styled, bytes);
        if (bytes.oneIn(4)) {
            next.damage(bytes);
        }
        const Problem& parts = next.view();
        switch (bytes.below(7)) {
            case 0:
                solver.setHessian(now.H = parts.H);
                break;
            case 1:
                solver.setRows(now.A = parts.A);
                break;
            case 2:
                solver.setRowSides(now.rowLower = parts.rowLower, now.rowUpper = parts.rowUpper);
                break;
            case 3:
                solver.setBounds(now.lower = parts.lower, now.upper = parts.upper);
                break;
            case 4:
                solver.restartFrom(anyWarmStart(bytes, now.c.size(), now.A.rows()));
                break;
            case 5:
                solver.settings() = settingsOf(bytes);
                break;
            default:
                solver.setLinear(now.c = parts.c, now.constant = parts.constant);
        }
        const Result result = solver.solve();
        // Parts of other sizes are faults of the sequence, even if they fit one another.
        const bool isSame = now.c.size() == first.view().c.size() &&
                            now.A.rows() == first.view().A.rows() && faultsOf(now).empty();
        if (isSame || result.status != Status::Invalid) {
            judge(now, solver.settings(), result, Depth::Form);
        }
    }
}

void runMany(const std::vector<Problem>& problems, Bytes& bytes) {
    ManySettings settings;
    settings.threads = 1 + static_cast<unsigned>(bytes.below(2));
    settings.chain = bytes.below(4);
    const std::vector<Result> results = solveMany(problems, settings);
    require(results.size() == problems.size(), "results are missing");
    for (std::size_t k = 0; k < problems.size(); ++k) {
        judge(problems[k], {}, results[k], Depth::Form);
        if (settings.chain < 2) {
            const Result alone = activeset::solve(problems[k]);
            require(alone.status == results[k].status && alone.x == results[k].x &&
                        alone.y == results[k].y,
                    "solveMany gives other bits");
        }
    }
}

/// Checks that every side of the conflict is needed.
void judgeConflict(const Problem& problem, const Conflict& conflict) {
    const Sample whole = sampleOf(problem);
    if (!conflict.isFound) {
        return;
    }
    Sample sample = whole;
    sample.H.clear();
    sample.rowLower.assign(whole.m, -Infinity);
    sample.rowUpper.assign(whole.m, Infinity);
    sample.lower.assign(whole.n, -Infinity);
    sample.upper.assign(whole.n, Infinity);
    std::vector<double*> named;
    const auto isIn = [](const std::vector<double>& list, const double* side) {
        return std::any_of(list.begin(), list.end(),
                           [&](const double& entry) { return &entry == side; });
    };
    const auto isUpper = [&](const double* side) {
        return isIn(sample.rowUpper, side) || isIn(sample.upper, side);
    };
    const auto name = [&](const std::vector<std::size_t>& list, std::vector<double>& to,
                          const std::vector<double>& from) {
        judgeList(list, to.size());
        for (const std::size_t k : list) {
            to[k] = from[k];
            named.push_back(&to[k]);
        }
    };
    name(conflict.rowsAtLower, sample.rowLower, whole.rowLower);
    name(conflict.rowsAtUpper, sample.rowUpper, whole.rowUpper);
    name(conflict.atLower, sample.lower, whole.lower);
    name(conflict.atUpper, sample.upper, whole.upper);
    require(!test::exact::truthOf(sample).isFeasible, "a conflict that is none");
    for (double* side : named) {
        const double value = *side;
        *side = isUpper(side) ? Infinity : -Infinity;
        require(!conflict.isMinimal || test::exact::truthOf(sample).isFeasible,
                "a conflict that is not minimal");
        *side = value;
    }
}

/// A small problem with multipliers of either sign.
std::vector<double> solveFixed() {
    static const std::vector<double> H{4, 1, 0, 1, 3, 1, 0, 1, 2};
    static const std::vector<double> c{-8, -6, 3};
    static const std::vector<double> A{1, 1, -1, 1, 2, 0};
    static const std::vector<double> upper{4, 0.5};
    static const std::vector<double> lower{0, 0, 0.25};
    Result r = activeset::solve(
        {.H = {H, 3, 3}, .c = c, .A = {A, 2, 3}, .rowUpper = upper, .lower = lower});
    require(r.status == Status::Optimal, "the fixed problem has no optimum");
    r.x.insert(r.x.end(), r.z.begin(), r.z.end());
    return r.x;
}

void run(Bytes& bytes) {
    const auto style = static_cast<Style>(bytes.below(test::StyleNames.size()));
    const std::size_t kind = bytes.below(8);
    ByteChoices choices(bytes);
    const StyledCase styled = test::caseOf(style, choices, 4);
    ViewedProblem viewed(styled, bytes);
    if (kind == 4) {
        return runSequence(viewed, bytes, style);
    }
    const std::size_t damages = kind >= 6 ? 1 + bytes.below(3) : 0;
    for (std::size_t k = 0; k < damages; ++k) {
        viewed.damage(bytes);
    }
    const Problem& problem = viewed.view();
    if (kind == 5) {
        return runMany({problem, problem, problem}, bytes);
    }
    // Rows that differ by 2^-30 leave an optimum too inaccurate to compare.
    const bool isKnown = damages == 0 && style != Style::NearParallel;
    const Depth depth = isKnown ? Depth::Truth : Depth::Form;
    const Settings settings = settingsOf(bytes);
    if (const std::optional<Result> result = solveWatched(problem, settings, bytes)) {
        judge(problem, settings, *result, depth);
    }
    if (kind == 3 && damages == 0) {
        judgeConflict(problem, explainInfeasibility(problem));
    } else if (kind == 7) {
        static_cast<void>(explainInfeasibility(problem, settings));
    }
}

}  // namespace
}  // namespace activeset::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace activeset::fuzz;
    static const std::vector<double> expected = solveFixed();
    Bytes bytes(data, size);
    const LeakCheck leaks;
    run(bytes);
    leaks.judge();
    require(solveFixed() == expected, "the fixed problem has other bits than before");
    return 0;
}
