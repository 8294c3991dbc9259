// Reading results by the names in them.
#include "cli/result_file.hpp"

#include <fmt/format.h>

#include <charconv>
#include <sstream>

#include "cli/json_result.hpp"
#include "cli/npz_result.hpp"
#include "cli/warm_start.hpp"
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

template <class Value>
std::vector<Value> listOf(const json& object, const char* key) {
    return object.value(key, std::vector<Value>{});
}

StoredPoint pointOf(const json& result) {
    const json set = result.value("working_set", json::object());
    const json soft = result.value("soft_violated", json::object());
    const auto members = [](const json& of, const char* kind) {
        return listOf<std::size_t>(of, kind);
    };
    return {.variables = result.at("names").get<std::vector<std::string>>(),
            .rows = result.at("row_names").get<std::vector<std::string>>(),
            .x = result.at("x").get<std::vector<double>>(),
            .workingSet = {.equalities = members(set, "equalities"),
                           .rowsAtLower = members(set, "rows_at_lower"),
                           .rowsAtUpper = members(set, "rows_at_upper"),
                           .atLower = members(set, "at_lower"),
                           .atUpper = members(set, "at_upper"),
                           .fixed = members(set, "fixed"),
                           .softViolated = {.rowsAtLower = members(soft, "rows_at_lower"),
                                            .rowsAtUpper = members(soft, "rows_at_upper"),
                                            .atLower = members(soft, "at_lower"),
                                            .atUpper = members(soft, "at_upper")}}};
}

/// Lines with a name and a value; others begin with #.
StoredPoint pointOfSol(const std::string& path, const std::string& text) {
    StoredPoint stored;
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
        stored.variables.push_back(line.substr(0, line.find_last_not_of(" \t", blank) + 1));
        stored.x.push_back(value);
    }
    return stored;
}

/// Adds the values in a text: a single one, an array, or one a line.
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

StoredPoint readPoint(const std::string& path) {
    if (path.ends_with(".npz")) {
        return npzPoint(textOf(path), path);
    }
    if (!path.ends_with(".json")) {
        return pointOfSol(path, textOf(path));
    }
    const std::vector<json> results = readResults(path);
    if (results.size() != 1 || !results.front().contains("x")) {
        fail(path, 0, "expected one result with a point to start from");
    }
    return pointOf(results.front());
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
    WarmStart warm;
    bool isSound = false;
    try {
        isSound = moveTo(model, readPoint(path), warm);
    } catch (const json::exception&) {
        isSound = false;
    }
    if (!isSound) {
        fail(path, 0, "the result does not have the form that activeset solve -o writes");
    }
    return warm;
}

std::string solText(const io::Model& model, const std::vector<double>& x, double objective) {
    std::string text = fmt::format("# objective {:.17g}\n", objective + 0.0);
    for (std::size_t j = 0; j < x.size(); ++j) {
        text += fmt::format("{} {:.17g}\n", model.variables[j], x[j] + 0.0);
    }
    return text;
}

}  // namespace activeset::cli
