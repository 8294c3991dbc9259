// Layout of the summary and of the solution by name.
#include "cli/summary.hpp"

#include <fmt/core.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "cli/numbers.hpp"
#include "cli/soft_sides.hpp"
#include "cli/words.hpp"

namespace activeset::cli {

namespace {

/// Entries of a proof that are at most this part of the largest are rounding. The summary leaves
/// them out; JSON has them.
constexpr double Crumb = 1e-12;

double crumbOf(const std::vector<double>& values) {
    double largest = 0.0;
    for (const double value : values) {
        largest = std::max(largest, std::abs(value));
    }
    return Crumb * largest;
}

std::string line(const char* label, const std::string& text) {
    return fmt::format("{:<16} {}\n", label, text);
}

/// The lines that explain an outcome that is no optimum.
std::string proofText(const Solution& solution) {
    const Result& result = solution.result;
    if (result.status == Status::Optimal || !solution.isProved()) {
        const bool needsProof =
            result.status == Status::Infeasible || result.status == Status::Unbounded;
        return needsProof ? ", without a proof" : "";
    }
    const auto residual = [&](const Residual& of) {
        return of.relative == 0.0 ? std::string() : " with residual " + shownResidual(of.relative);
    };
    switch (result.status) {
        case Status::Infeasible:
            return ", proved by multipliers" + residual(result.farkas->residual) +
                   (result.farkas->radius < AbsentSide
                        ? fmt::format(" up to a sum of |x| of {:.1e}", result.farkas->radius)
                        : "");
        case Status::Unbounded:
            return ", proved by a ray" + residual(result.directionResidual);
        default:
            return fmt::format(", proved by a direction with curvature {:.1e}",
                               result.directionResidual.absolute);
    }
}

std::string predictionText(const Result& result) {
    const Iterations& done = result.iterations;
    std::string text;
    if (done.prediction > 0) {
        text = counted(done.prediction, "round", "rounds");
    }
    if (done.dual > 0) {
        text += (text.empty() ? "" : ", ") + counted(done.dual, "dual step", "dual steps");
    }
    return "from a predicted working set" + (text.empty() ? text : " (" + text + ")");
}

std::string effortText(const Result& result) {
    const Iterations& done = result.iterations;
    const bool ranCore = done.main + done.phaseOne > 0;
    std::string text;
    if (ranCore) {
        text = "in " + counted(done.main, "pass", "passes");
        if (done.phaseOne > 0) {
            text += fmt::format(" after {} of phase one", done.phaseOne);
        }
    }
    if (result.wasPredicted) {
        text += (ranCore ? " " : "") + predictionText(result);
    }
    if (done.proximal > 0) {
        text += fmt::format("{}{}", text.empty() ? "in " : ", ",
                            counted(done.proximal, "proximal step", "proximal steps"));
    }
    return text.empty() ? "without a pass" : text;
}

std::string activeText(const WorkingSet& set) {
    std::string text;
    const auto add = [&](std::size_t count, const char* one, const char* many) {
        if (count > 0) {
            text += (text.empty() ? "" : ", ") + counted(count, one, many);
        }
    };
    add(set.equalities.size(), "equality", "equalities");
    add(set.rowsAtLower.size() + set.rowsAtUpper.size(), "inequality", "inequalities");
    add(set.atLower.size(), "lower bound", "lower bounds");
    add(set.atUpper.size(), "upper bound", "upper bounds");
    add(set.fixed.size(), "fixed variable", "fixed variables");
    return text.empty() ? "nothing" : text;
}

std::string residualText(const Residual& residual) {
    if (std::isinf(residual.absolute)) {
        return "infinite";
    }
    if (residual.absolute == 0.0 && residual.relative == 0.0) {
        return "0";
    }
    return fmt::format("{}, relative {}", shownResidual(residual.absolute),
                       shownResidual(residual.relative));
}

/// The side of a row or bound that its multiplier belongs to: a positive one to the upper side.
std::string multipliersText(const io::Model& model, const Result& result, double crumb) {
    std::vector<std::string> names;
    std::vector<double> values;
    const auto add = [&](const std::vector<double>& multipliers, auto words) {
        for (std::size_t k = 0; k < multipliers.size(); ++k) {
            if (std::abs(multipliers[k]) > crumb) {
                names.push_back(words(model, k, multipliers[k] > 0.0 ? Side::Upper : Side::Lower));
                values.push_back(multipliers[k]);
            }
        }
    };
    add(result.y, rowWords);
    add(result.z, boundWords);
    return values.empty() ? "no multipliers other than 0\n"
                          : "multipliers other than 0\n" + valuesText(names, values);
}

std::string violatedText(const io::Model& model, const Result& result) {
    const ViolatedWords violated = violatedWords(model, result);
    return violated.words.empty()
               ? ""
               : "soft sides that give way, by\n" + valuesText(violated.words, violated.violations);
}

std::string farkasText(const io::Model& model, const Farkas& farkas) {
    Result proof;  // for its multipliers
    proof.y = farkas.y;
    proof.z = farkas.z;
    const double crumb = std::max(crumbOf(farkas.y), crumbOf(farkas.z));
    return fmt::format("contradiction: times these the constraints add up to 0 ≤ {}\n",
                       shownNumber(farkas.value)) +
           multipliersText(model, proof, crumb);
}

/// The number of characters that a terminal shows.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    }));
}

}  // namespace

std::string valuesText(const std::vector<std::string>& names, const std::vector<double>& values) {
    constexpr std::size_t Widest = 60;
    std::size_t width = 0;
    for (std::size_t k = 0; k < values.size(); ++k) {
        width = std::max(width, std::min(widthOf(names[k]), Widest));
    }
    std::string text;
    for (std::size_t k = 0; k < values.size(); ++k) {
        const std::size_t own = widthOf(names[k]);
        text += "  " + names[k] + std::string(own < width ? width - own : 0, ' ') + "  " +
                shownNumber(values[k]) + "\n";
    }
    return text;
}

std::string headingText(const io::Model& model, const std::string& file) {
    return fmt::format("{}: {}{}{}, {}\n", file, model.name, model.name.empty() ? "" : ", ",
                       counted(model.n(), "variable", "variables"),
                       counted(model.m(), "row", "rows"));
}

std::string summaryText(const io::Model& model, const Solution& solution) {
    const Result& result = solution.result;
    std::string text = line("outcome", textOf(result.status) + proofText(solution));
    if (result.hessianShift > 0.0) {
        text +=
            line("convexity", fmt::format("missed within the tolerance: solved with H + {:.1e} I",
                                          result.hessianShift));
    } else if (result.status == Status::NotConvex) {
        text += line("convexity", result.message);
    } else if (!result.message.empty()) {
        text += line("message", result.message);
    }
    if (!solution.hasPoint()) {
        return text;
    }
    text +=
        line("objective", shownNumber(solution.objective) + (model.maximise ? ", a maximum" : ""));
    text += line("solved", effortText(result));
    if (!solution.warmStart.empty()) {
        text += line("warm start", solution.warmStart);
    }
    text += line("active", activeText(result.workingSet));
    if (const std::size_t missed = result.workingSet.softViolated.size(); missed > 0) {
        text += line("violated", counted(missed, "soft side", "soft sides"));
    }
    const Certificate& certificate = result.certificate;
    text += line("primal residual", residualText(certificate.primal));
    text += line("dual residual", residualText(certificate.dual));
    text += line("duality gap", residualText(certificate.gap));
    return text;
}

std::string directionText(const io::Model& model, const Solution& solution) {
    const Result& result = solution.result;
    const char* const endless =
        model.maximise ? "the objective grows without end" : "the objective falls without end";
    const double crumb = crumbOf(result.direction);
    std::vector<std::string> names;
    std::vector<double> values;
    for (std::size_t j = 0; j < result.direction.size(); ++j) {
        if (std::abs(result.direction[j]) > crumb) {
            names.push_back(model.variables[j]);
            values.push_back(result.direction[j]);
        }
    }
    return fmt::format("direction in which {}, entries other than 0\n",
                       result.status == Status::NotConvex ? "the problem is not convex" : endless) +
           valuesText(names, values);
}

std::string conflictText(const io::Model& model, const Conflict& conflict) {
    if (!conflict.isFound) {
        return "no conflict could be found in time\n";
    }
    std::string text = fmt::format(
        "{} together have no common point{}\n",
        conflict.size() == 1 ? "this" : fmt::format("these {}", conflict.size()),
        conflict.isMinimal && conflict.size() > 1 ? "; without any one of them, the others have"
                                                  : "");
    for (const std::string& words : conflictWords(model, conflict)) {
        text += "  " + words + "\n";
    }
    return text;
}

std::string solutionText(const io::Model& model, const Solution& solution) {
    const Result& result = solution.result;
    if (solution.hasPoint()) {
        return "x\n" + valuesText(model.variables, result.x) + multipliersText(model, result, 0.0) +
               violatedText(model, result);
    }
    if (result.farkas) {
        return farkasText(model, *result.farkas);
    }
    return result.direction.empty() ? "" : directionText(model, solution);
}

}  // namespace activeset::cli
