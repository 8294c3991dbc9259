// The reader of MPS files with any text: it gives a consistent problem or a ReadError, and prints
// nothing.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <string>
#include <variant>

#include "io/reader.hpp"
#include "judge.hpp"

namespace activeset::fuzz {
namespace {

using io::Model;
using io::ReadError;

constexpr io::ReadLimits Limits{.textBytes = std::size_t{1} << 20U,
                                .denseBytes = std::size_t{1} << 22U};

/// The path of a file in memory that holds the text.
std::string fileOf(const std::string& text) {
    static const int descriptor = memfd_create("input", 0);
    const auto size = static_cast<ssize_t>(text.size());
    require(
        ftruncate(descriptor, 0) == 0 && pwrite(descriptor, text.data(), text.size(), 0) == size,
        "no file in memory");
    return "/proc/self/fd/" + std::to_string(descriptor);
}

bool isFinite(const std::vector<double>& numbers) {
    return std::all_of(numbers.begin(), numbers.end(), [](double x) { return std::isfinite(x); });
}

void judgeNames(const std::vector<std::string>& names) {
    std::vector<std::string> sorted = names;
    std::sort(sorted.begin(), sorted.end());
    require(std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end(),
            "a name stands for two");
    require(sorted.empty() || !sorted.front().empty(), "a name is empty");
}

void judgeSides(const std::vector<double>& lower, const std::vector<double>& upper) {
    for (std::size_t k = 0; k < lower.size(); ++k) {
        require(lower[k] <= upper[k], "sides cross, or are NaN");
        require(lower[k] < std::numeric_limits<double>::infinity() &&
                    upper[k] > -std::numeric_limits<double>::infinity(),
                "a side is infinite on the wrong side");
    }
}

void judgeModel(const Model& model) {
    const std::size_t n = model.n();
    const std::size_t m = model.m();
    require(n >= 1, "no variables");
    const bool fits = model.H.size() == n * n && model.c.size() == n && model.A.size() == m * n &&
                      model.rowLower.size() == m && model.rowUpper.size() == m &&
                      model.lower.size() == n && model.upper.size() == n;
    require(fits, "parts of different sizes");
    for (const auto* numbers : {&model.H, &model.c, &model.A}) {
        require(isFinite(*numbers), "a number is not finite");
    }
    require(std::isfinite(model.constant), "the constant is not finite");
    judgeSides(model.rowLower, model.rowUpper);
    judgeSides(model.lower, model.upper);
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            require(model.H[j * n + i] == model.H[i * n + j], "H is not symmetric");
        }
    }
    judgeNames(model.variables);
    judgeNames(model.rows);
    require(std::is_sorted(model.notes.begin(), model.notes.end(),
                           [](const io::Note& p, const io::Note& q) { return p.line < q.line; }),
            "notes out of order");
}

struct Failure {
    std::size_t line;
    std::string message;
};
using Reading = std::variant<Model, Failure>;

template <class Read>
Reading attempt(std::size_t lines, Read read) {
    try {
        Model model = read();
        judgeModel(model);
        return model;
    } catch (const ReadError& error) {
        require(error.line() <= lines + 1, "an error beyond the end of the file");
        require(!error.message().empty() && error.message().find('\n') == std::string::npos,
                "a message that is not one line");
        return Failure{error.line(), error.message()};
    }
}

bool isSame(const Model& p, const Model& q) {
    return p.name == q.name && p.maximise == q.maximise && p.H == q.H && p.c == q.c &&
           p.constant == q.constant && p.A == q.A && p.rowLower == q.rowLower &&
           p.rowUpper == q.rowUpper && p.lower == q.lower && p.upper == q.upper &&
           p.variables == q.variables && p.rows == q.rows;
}

/// The same result with its line numbers moved by `shift`.
void judgeSame(const Reading& first, const Reading& second, std::size_t shift, const char* what) {
    require(first.index() == second.index(), what);
    if (const auto* model = std::get_if<Model>(&first)) {
        require(isSame(*model, std::get<Model>(second)), what);
        return;
    }
    const auto& p = std::get<Failure>(first);
    const auto& q = std::get<Failure>(second);
    // Line 0 means the whole file, or the last line of an empty one.
    require(q.line == p.line + shift || (p.line == 0 && q.line == 0), what);
}

Reading readText(const std::string& text) {
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    return attempt(lines, [&] { return io::readModelText(text, "f", io::Format::Mps, Limits); });
}

void run(const std::string& text) {
    const Reading reading = readText(text);
    std::string commented = text;
    commented.insert(text.starts_with("\xEF\xBB\xBF") ? 3 : 0, "* a comment\n");  // behind a mark
    judgeSame(reading, readText(commented), 1, "a comment changed the problem");
    if (reading.index() == 0) {
        judgeSame(reading, readText(text + "\nRHS\n what does not count\n"), 0,
                  "text after the end changed the problem");
    }
    const std::string path = fileOf(text);
    const bool isCompressed = text.starts_with("\x1f\x8b") || text.starts_with("BZh");
    const std::size_t anyLine = std::numeric_limits<std::size_t>::max() - 1;
    const Reading ofFile =
        attempt(anyLine, [&] { return io::readModel(path, io::Format::Mps, Limits); });
    if (!isCompressed) {
        judgeSame(reading, ofFile, 0, "the file is read in another way than its text");
    }
}

}  // namespace
}  // namespace activeset::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace activeset::fuzz;
    const SilencedStream output(std::cout);
    const SilencedStream errors(std::cerr);
    run(std::string(data, data + size));
    require(output.count() + errors.count() == 0, "the reader printed something");
    return 0;
}
