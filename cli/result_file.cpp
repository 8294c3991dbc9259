// Reading results by the names in them.
#include "cli/result_file.hpp"

#include <fmt/format.h>

#include <charconv>
#include <map>
#include <sstream>

#include "cli/json_result.hpp"
#include "io/file_text.hpp"
#include "io/read_error.hpp"

namespace activeset::cli {

namespace {

using nlohmann::json;

constexpr std::size_t LongestFile = std::size_t{1} << 30U;

std::string textOf(const std::string& path) {
    return path == "-" ? io::readStandardInputText(LongestFile)
                       : io::readFileText(path, LongestFile);
}

[[noreturn]] void fail(const std::string& path, std::size_t line, const std::string& message) {
    throw io::ReadError(path, line, message);
}

std::map<std::string, std::size_t> positionsOf(const std::vector<std::string>& names) {
    std::map<std::string, std::size_t> positions;
    for (std::size_t k = 0; k < names.size(); ++k) {
        positions.emplace(names[k], k);
    }
    return positions;
}

/// Members of one kind, moved from the positions of the result to those of the model.
std::vector<std::size_t> moved(const json& set,
                               const char* kind,
                               const json& names,
                               const std::map<std::string, std::size_t>& positions) {
    std::vector<std::size_t> members;
    for (const json& member : set.value(kind, json::array())) {
        const auto found = positions.find(names.at(member.get<std::size_t>()).get<std::string>());
        if (found != positions.end()) {
            members.push_back(found->second);
        }
    }
    std::sort(members.begin(), members.end());
    return members;
}

WarmStart warmStartOf(const json& result, const io::Model& model) {
    const auto columns = positionsOf(model.variables);
    const auto rows = positionsOf(model.rows);
    const json& names = result.at("names");
    const json& rowNames = result.at("row_names");
    const json& x = result.at("x");
    WarmStart warm;
    warm.x.assign(model.n(), 0.0);
    for (std::size_t j = 0; j < x.size(); ++j) {
        const auto found = columns.find(names.at(j).get<std::string>());
        if (found != columns.end()) {
            warm.x[found->second] = x[j].get<double>();
        }
    }
    const json set = result.value("working_set", json::object());
    warm.workingSet = {.equalities = moved(set, "equalities", rowNames, rows),
                       .rowsAtLower = moved(set, "rows_at_lower", rowNames, rows),
                       .rowsAtUpper = moved(set, "rows_at_upper", rowNames, rows),
                       .atLower = moved(set, "at_lower", names, columns),
                       .atUpper = moved(set, "at_upper", names, columns),
                       .fixed = moved(set, "fixed", names, columns)};
    return warm;
}

WarmStart warmStartOfSol(const std::string& path, const std::string& text, const io::Model& model) {
    const auto columns = positionsOf(model.variables);
    WarmStart warm;
    warm.x.assign(model.n(), 0.0);
    std::istringstream lines(text);
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const std::size_t blank = line.find_last_of(" \t");
        if (line.empty() || line.front() == '#') {
            continue;
        }
        double value = 0.0;
        const char* const end = line.data() + line.size();
        const char* const digits = line.data() + (blank == std::string::npos ? 0 : blank + 1);
        if (blank == std::string::npos || std::from_chars(digits, end, value).ptr != end) {
            fail(path, number, "expected a name and a number");
        }
        const auto found = columns.find(line.substr(0, line.find_last_not_of(" \t", blank) + 1));
        if (found != columns.end()) {
            warm.x[found->second] = value;
        }
    }
    return warm;
}

/// Adds what a text holds: one value, an array of them, or one a line.
void parseInto(std::vector<json>& results, const std::string& text) {
    json whole = json::parse(text, nullptr, false);
    if (whole.is_array()) {
        results.assign(whole.begin(), whole.end());
        return;
    }
    if (!whole.is_discarded()) {
        results.push_back(std::move(whole));
        return;
    }
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) {
            results.push_back(json::parse(line));
        }
    }
}

}  // namespace

std::vector<json> readResults(const std::string& path) {
    std::vector<json> results;
    try {
        parseInto(results, textOf(path));
    } catch (const json::exception&) {
        fail(path, results.size() + 1,
             "expected a result in JSON, as activeset solve -o writes it");
    }
    for (const json& result : results) {
        if (!result.is_object() || result.value("schema", json()) != json(ResultSchema)) {
            fail(path, 0, fmt::format("expected results with the schema {}", ResultSchema));
        }
    }
    return results;
}

WarmStart readWarmStart(const std::string& path, const io::Model& model) {
    if (!path.ends_with(".json")) {
        return warmStartOfSol(path, textOf(path), model);
    }
    const std::vector<json> results = readResults(path);
    if (results.size() != 1 || !results.front().contains("x")) {
        fail(path, 0, "expected one result with a point to start from");
    }
    try {
        return warmStartOf(results.front(), model);
    } catch (const json::exception&) {
        fail(path, 0, "the result does not have the form that activeset solve -o writes");
    }
}

std::string solText(const io::Model& model, const std::vector<double>& x, double objective) {
    std::string text = fmt::format("# objective {:.17g}\n", objective + 0.0);
    for (std::size_t j = 0; j < x.size(); ++j) {
        text += fmt::format("{} {:.17g}\n", model.variables[j], x[j] + 0.0);
    }
    return text;
}

}  // namespace activeset::cli
