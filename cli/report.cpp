// Layout of the summary and of the solution by name.
#include "cli/report.hpp"

#include <fmt/core.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "cli/named_sides.hpp"

namespace activeset::cli {

namespace {

const char* wordsFor(int code) {
    switch (code) {
        case 1:
            return "optimal";
        case 0:
            return "iteration limit reached";
        case -1:
            return "interrupted";
        case -2:
            return "infeasible";
        case -3:
            return "equality constraints dependent and inconsistent";
        case -4:
            return "reduced Hessian not positive definite";
        case 2:
            return "objective limit reached";
        case 3:
            return "unbounded";
        case 4:
            return "ill-posed";
        default:
            return "undecided";
    }
}

const char* mark(const Residual& residual) {
    return residual.supports ? "" : "  (does not support the outcome)";
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

void addActive(std::string& text, const SolveResult& result) {
    fmt::format_to(std::back_inserter(text), "active           {}, {}, {}, {}\n",
                   counted(result.activeEqualities, "equality", "equalities"),
                   counted(result.activeInequalities, "inequality", "inequalities"),
                   counted(result.activeLower, "lower bound", "lower bounds"),
                   counted(result.activeUpper, "upper bound", "upper bounds"));
}

/// What stands behind an outcome that is no optimum.
std::string proofText(const ProvedResult& proved) {
    const Result& result = proved.result;
    if (result.status == Status::Optimal || !proved.isProved()) {
        const bool needsProof =
            result.status == Status::Infeasible || result.status == Status::Unbounded;
        return needsProof ? ", without a proof" : "";
    }
    switch (result.status) {
        case Status::Infeasible:
            return fmt::format(", proved by multipliers with residual {:.1e}",
                               result.farkas->residual.relative) +
                   (result.farkas->radius < AbsentSide
                        ? fmt::format(" up to a sum of |x| of {:.1e}", result.farkas->radius)
                        : "");
        case Status::Unbounded:
            return fmt::format(", proved by a ray with residual {:.1e}",
                               result.directionResidual.relative);
        default:
            return fmt::format(", proved by a direction with curvature {:.1e}",
                               result.directionResidual.absolute);
    }
}

/// Rounding leaves this much of the largest entry where a proof has none. JSON has all of it.
constexpr double Crumb = 1e-12;

double largestOf(const std::vector<double>& values) {
    double largest = 0.0;
    for (const double value : values) {
        largest = std::max(largest, std::abs(value));
    }
    return largest;
}

/// What shows that there is no optimum.
void appendProof(std::string& text, const io::Problem& problem, const ProvedResult& proved) {
    const Result& result = proved.result;
    if (result.status == Status::Infeasible) {
        fmt::format_to(std::back_inserter(text),
                       "contradiction: times these the constraints add up to 0 <= {:.10g}\n",
                       result.farkas->value);
        const double crumb = Crumb * largestOf(proved.farkas);
        visitMultipliers(problem, proved.farkas,
                         [&](const char* kind, const std::string& name, double value) {
                             if (std::abs(value) > crumb) {
                                 fmt::format_to(std::back_inserter(text), "  {} {}  {:.10g}\n",
                                                kind, name, value);
                             }
                         });
        return;
    }
    const char* const endless =
        problem.maximise ? "the objective grows without end" : "the objective falls without end";
    fmt::format_to(std::back_inserter(text), "direction in which {}, entries other than 0\n",
                   result.status == Status::NotConvex ? "the problem is not convex" : endless);
    const double crumb = Crumb * largestOf(result.direction);
    for (std::size_t j = 0; j < problem.n; ++j) {
        if (std::abs(result.direction[j]) > crumb) {
            fmt::format_to(std::back_inserter(text), "  {}  {:.10g}\n", problem.variableNames[j],
                           result.direction[j]);
        }
    }
}

std::string pointText(const io::Problem& problem, const std::vector<double>& x) {
    std::string text = "x\n";
    for (std::size_t j = 0; j < x.size(); ++j) {
        fmt::format_to(std::back_inserter(text), "  {}  {:.17g}\n", problem.variableNames[j], x[j]);
    }
    return text;
}

}  // namespace

std::string outcomeText(const SolveResult& result) {
    // Phase one that is cut short has not shown that there is no feasible point.
    if (result.code == -2 && result.phaseOneRan && result.iterations == 0) {
        if (result.interrupted) {
            return "interrupted before a feasible point was found";
        }
        if (result.phaseOneIterations > result.maxIter) {
            return "iteration limit reached before a feasible point was found";
        }
    }
    return wordsFor(result.code);
}

std::string headingText(const io::Problem& problem, const std::string& file) {
    return fmt::format("{}: {}{}{}, {}, {}\n", file, problem.name, problem.name.empty() ? "" : ", ",
                       counted(problem.n, "variable", "variables"),
                       counted(problem.mIneq, "inequality", "inequalities"),
                       counted(problem.mEq, "equality", "equalities"));
}

std::string summaryText(const io::Problem& problem,
                        const SolveResult& result,
                        const Verdict& verdict) {
    std::string text;
    const auto out = std::back_inserter(text);
    fmt::format_to(out, "outcome          {} ({})\n", outcomeText(result), result.code);
    fmt::format_to(out, "objective        {:.10g}{}{}\n", verdict.objective.value,
                   problem.maximise ? ", a maximum" : "", mark(verdict.objective));
    fmt::format_to(out, "iterations       {}", result.iterations);
    if (result.phaseOneRan) {
        fmt::format_to(out, ", after {} of phase one", result.phaseOneIterations);
    }
    text += "\n";
    addActive(text, result);
    fmt::format_to(out, "primal residual  {:.1e}{}\n", verdict.primal.value, mark(verdict.primal));
    fmt::format_to(out, "dual residual    {:.1e}{}\n", verdict.dual.value, mark(verdict.dual));
    fmt::format_to(out, "complementarity  {:.1e}{}\n\n", verdict.complementarity.value,
                   mark(verdict.complementarity));
    return text;
}

std::string summaryText(const io::Problem& problem, const ProvedResult& proved) {
    const Result& result = proved.result;
    std::string text;
    const auto out = std::back_inserter(text);
    fmt::format_to(out, "outcome          {}{}\n", textOf(result.status), proofText(proved));
    if (result.hessianShift > 0.0) {
        fmt::format_to(out, "convexity        missed by rounding: solved with H + {:.1e} I\n",
                       result.hessianShift);
    } else if (result.status == Status::NotConvex) {
        fmt::format_to(out, "convexity        {}\n", result.message);
    }
    fmt::format_to(out, "objective        {:.10g}{}\n", proved.objective,
                   problem.maximise ? ", a maximum" : "");
    fmt::format_to(out, "iterations       {}", result.iterations.main);
    if (result.wasPredicted) {
        fmt::format_to(out, ", from a prediction of {}",
                       counted(result.iterations.prediction, "round", "rounds"));
        if (result.iterations.dual > 0) {
            fmt::format_to(out, " and {}",
                           counted(result.iterations.dual, "dual step", "dual steps"));
        }
    }
    if (result.iterations.phaseOne > 0) {
        fmt::format_to(out, ", after {} of phase one", result.iterations.phaseOne);
    }
    if (result.iterations.proximal > 0) {
        fmt::format_to(out, ", in {}",
                       counted(result.iterations.proximal, "proximal step", "proximal steps"));
    }
    text += "\n";
    addActive(text, proved.solution);
    const Certificate& certificate = result.certificate;
    for (const auto& [name, residual] : {std::pair("primal residual", certificate.primal),
                                         std::pair("dual residual", certificate.dual),
                                         std::pair("duality gap", certificate.gap)}) {
        fmt::format_to(out, "{:<16} {:.1e}, relative {:.1e}\n", name, residual.absolute,
                       residual.relative);
    }
    return text + "\n";
}

std::string solutionText(const io::Problem& problem, const SolveResult& result) {
    std::string text = pointText(problem, result.x) + "multipliers other than 0\n";
    visitMultipliers(problem, result.lambda,
                     [&](const char* kind, const std::string& name, double multiplier) {
                         if (multiplier != 0.0) {
                             fmt::format_to(std::back_inserter(text), "  {} {}  {:.17g}\n", kind,
                                            name, multiplier);
                         }
                     });
    return text + "\n";
}

std::string solutionText(const io::Problem& problem, const ProvedResult& proved) {
    if (proved.result.status == Status::Optimal || !proved.isProved()) {
        return solutionText(problem, proved.solution);
    }
    std::string text = pointText(problem, proved.solution.x);
    appendProof(text, problem, proved);
    return text + "\n";
}

}  // namespace activeset::cli
