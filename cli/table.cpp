// Writes rows as aligned text and as CSV.
#include "cli/table.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <map>

#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/numbers.hpp"

namespace activeset::cli {

namespace {

constexpr std::size_t WidestFile = 36;

/// Shortens a long name at its beginning, since its end tells more.
std::string cutFile(const std::string& file) {
    const std::string shown = shownFile(file);
    return shown.size() <= WidestFile ? shown : "..." + shown.substr(shown.size() - WidestFile + 3);
}

std::string csvText(const std::string& text) {
    if (text.find_first_of(",\"\n\r") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char character : text) {
        quoted += character;
        if (character == '"') {
            quoted += '"';
        }
    }
    return quoted + "\"";
}

std::string csvNumber(const std::optional<double>& value) {
    return value ? fmt::format("{:.17g}", *value + 0.0) : "";
}

}  // namespace

TableRow rowOf(const io::Model& model, const std::string& file, const Solution& solution) {
    const Result& result = solution.result;
    const Iterations& done = result.iterations;
    TableRow row;
    row.file = file;
    row.outcome = textOf(result.status);
    row.status = exitStatusOf(result.status);
    row.variables = model.n();
    row.rows = model.m();
    row.steps = done.phaseOne + done.main + done.prediction + done.dual;
    row.seconds = result.times.total;
    if (solution.hasPoint()) {
        const Certificate& certificate = result.certificate;
        row.objective = solution.objective;
        row.residual = std::max(
            {certificate.primal.relative, certificate.dual.relative, certificate.gap.relative});
    }
    return row;
}

std::string tableText(const std::vector<TableRow>& rows) {
    std::size_t width = 4;
    std::map<std::string, std::size_t> counts;
    for (const TableRow& row : rows) {
        width = std::max(width, cutFile(row.file).size());
        ++counts[row.outcome];
    }
    std::string text = fmt::format("{:<{}}  {:<15}  {:>16}  {:>6}  {:>9}\n", "file", width,
                                   "outcome", "objective", "steps", "seconds");
    for (const TableRow& row : rows) {
        fmt::format_to(std::back_inserter(text), "{:<{}}  {:<15}  {:>16}  {:>6}  {:>9}\n",
                       cutFile(row.file), width, row.outcome,
                       row.objective ? shownNumber(*row.objective) : "", row.steps,
                       fmt::format("{:.4f}", row.seconds));
    }
    std::string sum;
    for (const auto& [outcome, count] : counts) {
        sum += fmt::format("{}{} {}", sum.empty() ? "" : ", ", count, outcome);
    }
    return text + sum + "\n";
}

std::string csvHeading() {
    return "file,outcome,status,variables,rows,objective,steps,seconds,residual,error\n";
}

std::string csvLine(const TableRow& row) {
    return fmt::format("{},{},{},{},{},{},{},{:.6f},{},{}\n", csvText(row.file), row.outcome,
                       row.status, row.variables, row.rows, csvNumber(row.objective), row.steps,
                       row.seconds, csvNumber(row.residual), csvText(row.error));
}

}  // namespace activeset::cli
