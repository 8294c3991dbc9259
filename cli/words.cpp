// A row is written as a person would type it.
#include "cli/words.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "cli/numbers.hpp"

namespace activeset::cli {

namespace {

// With a name and sides of usual length a line of text and a value stay below 100 columns.
constexpr std::size_t LongestSum = 70;
constexpr std::size_t ShortestSum = 20;
constexpr std::size_t LongestWords = 80;

std::string termText(double coefficient, const std::string& name, bool isFirst) {
    const char* const sign = coefficient < 0.0 ? (isFirst ? "-" : " - ") : (isFirst ? "" : " + ");
    const double size = std::abs(coefficient);
    return size == 1.0 ? fmt::format("{}{}", sign, name)
                       : fmt::format("{}{:.6g} {}", sign, size, name);
}

/// The sum, or as many of its terms as fit into `longest` columns.
std::string sumText(const io::Model& model, std::size_t row, std::size_t longest) {
    std::string text;
    std::size_t terms = 0;
    std::size_t shown = 0;
    for (std::size_t j = 0; j < model.n(); ++j) {
        const double coefficient = model.A[j * model.m() + row];
        if (coefficient == 0.0) {
            continue;
        }
        ++terms;
        const std::string term = termText(coefficient, model.variables[j], terms == 1);
        if (shown + 1 == terms && text.size() + term.size() <= longest) {
            text += term;
            ++shown;
        }
    }
    if (terms == 0) {
        return "0";
    }
    return shown == terms ? text : fmt::format("{} + … ({} terms)", text, terms);
}

std::string sideText(double lower, double upper, Side side) {
    if (lower == upper) {
        return " = " + shownNumber(upper);
    }
    return side == Side::Upper ? " ≤ " + shownNumber(upper) : " ≥ " + shownNumber(lower);
}

}  // namespace

std::string rowWords(const io::Model& model, std::size_t row, Side side) {
    constexpr std::size_t Ellipsis = 18;  // " + … (1000 terms)"
    const std::string sides = sideText(model.rowLower[row], model.rowUpper[row], side);
    const std::size_t others = model.rows[row].size() + sides.size() + Ellipsis;
    const std::size_t left = LongestWords > others ? LongestWords - others : 0;
    return fmt::format("{}: {}{}", model.rows[row],
                       sumText(model, row, std::clamp(left, ShortestSum, LongestSum)), sides);
}

std::string boundWords(const io::Model& model, std::size_t column, Side side) {
    return model.variables[column] + sideText(model.lower[column], model.upper[column], side);
}

std::vector<std::string> conflictWords(const io::Model& model, const Conflict& conflict) {
    std::vector<std::string> words;
    const auto add = [&](const std::vector<std::size_t>& members, auto textOfMember, Side side) {
        for (const std::size_t member : members) {
            words.push_back(textOfMember(model, member, side));
        }
    };
    add(conflict.rowsAtLower, rowWords, Side::Lower);
    add(conflict.rowsAtUpper, rowWords, Side::Upper);
    add(conflict.atLower, boundWords, Side::Lower);
    add(conflict.atUpper, boundWords, Side::Upper);
    return words;
}

}  // namespace activeset::cli
