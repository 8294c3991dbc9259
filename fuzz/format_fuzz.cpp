// The readers of LP, JSON and NPZ files with any bytes. Each must give a consistent problem that
// its writer preserves, or a ReadError, and print nothing. ACTIVESET_FORMAT selects the reader.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <set>
#include <string>

#include "io/reader.hpp"
#include "io/writer.hpp"
#include "io/zip_archive.hpp"
#include "judge.hpp"

namespace activeset::fuzz {
namespace {

constexpr io::Format Format = io::Format::ACTIVESET_FORMAT;
constexpr io::ReadLimits Limits{.textBytes = std::size_t{1} << 20U,
                                .denseBytes = std::size_t{1} << 22U};

bool areFinite(const std::vector<double>& numbers) {
    return std::all_of(numbers.begin(), numbers.end(), [](double x) { return std::isfinite(x); });
}

void judgeSides(const std::vector<double>& lower, const std::vector<double>& upper) {
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    for (std::size_t k = 0; k < lower.size(); ++k) {
        require(lower[k] <= upper[k], "sides cross, or are NaN");
        require(lower[k] < Infinity && upper[k] > -Infinity, "infinite on the wrong side");
    }
}

/// One entry per row or variable, or none.
void judgePrices(const std::vector<double>& prices, std::size_t count, bool mayBeInfinite) {
    require(prices.empty() || prices.size() == count, "penalties of another size");
    for (const double price : prices) {
        require(price >= 0.0 && (mayBeInfinite || std::isfinite(price)), "no penalty");
    }
}

void judgeModel(const io::Model& model) {
    const std::size_t n = model.n();
    const std::size_t m = model.m();
    require(n >= 1, "no variables");
    require(model.H.size() == n * n && model.c.size() == n && model.A.size() == m * n &&
                model.rowLower.size() == m && model.rowUpper.size() == m &&
                model.lower.size() == n && model.upper.size() == n,
            "parts of different sizes");
    for (const io::PenaltyPart& part : io::PenaltyParts) {
        judgePrices(model.rowPenalty.*part.values, m, part.mayBeInfinite);
        judgePrices(model.boundPenalty.*part.values, n, part.mayBeInfinite);
    }
    for (const auto* names : {&model.variables, &model.rows}) {
        require(std::set<std::string>(names->begin(), names->end()).size() == names->size(),
                "a name stands for two");
    }
    require(areFinite(model.H) && areFinite(model.c) && areFinite(model.A),
            "a number is not finite");
    judgeSides(model.rowLower, model.rowUpper);
    judgeSides(model.lower, model.upper);
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            require(model.H[j * n + i] == model.H[i * n + j], "H is not symmetric");
        }
    }
}

void judgeWriter(const io::Model& model) {
    const std::string written = io::modelText(model, Format);
    const io::Model back = io::readModelText(written, "again", Format);
    judgeModel(back);
    if (Format == io::Format::Npz) {  // this format moves equalities to the end
        require(io::modelText(back, Format) == written, "what was written is read in another way");
        return;
    }
    require(back.c == model.c && back.A == model.A && back.rowLower == model.rowLower &&
                back.rowUpper == model.rowUpper && back.lower == model.lower &&
                back.upper == model.upper && back.maximise == model.maximise,
            "what was written is read in another way");
    for (const io::PenaltyPart& part : io::PenaltyParts) {
        require(back.rowPenalty.*part.values == model.rowPenalty.*part.values &&
                    back.boundPenalty.*part.values == model.boundPenalty.*part.values,
                "penalties are read in another way");
    }
}

/// Random bytes are seldom an archive. Other inputs are taken as its members, NAME=BYTES, separated
/// by "--".
std::string archiveOf(const std::string& text) {
    constexpr std::string_view Between = "--";
    std::vector<io::ZipMember> members;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(Between, at), text.size());
        const std::string member = text.substr(at, end - at);
        const std::size_t equals = std::min(member.find('='), member.size());
        members.push_back(
            {member.substr(0, equals), member.substr(std::min(equals + 1, member.size()))});
        at = end + Between.size();
    }
    return io::zipped(members);
}

void run(const std::string& input) {
    const bool isArchive = Format != io::Format::Npz || input.starts_with("PK");
    try {
        const std::string text = isArchive ? input : archiveOf(input);
        const io::Model model = io::readModelText(text, "f", Format, Limits);
        judgeModel(model);
        judgeWriter(model);
    } catch (const io::ReadError& error) {
        const auto lines = static_cast<std::size_t>(std::count(input.begin(), input.end(), '\n'));
        require(error.line() <= lines + 1, "an error beyond the end of the file");
        require(!error.message().empty(), "no message");
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
