// The LP format: an objective, rows and bounds as a person types them. The readers that Debian
// packages (GLPK's, CoinUtils', lp_solve's) know no quadratic terms, so this file has its own.
#include "io/lp_reader.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "io/dense_form.hpp"
#include "io/format_readers.hpp"
#include "io/location.hpp"
#include "io/lp_words.hpp"

namespace activeset::io {

using namespace lp;

Model LpReader::run(std::size_t limit) {
    readObjective();
    readRows();
    while (tokens_.next().kind != LpKind::End && !acceptWord("end")) {
        readSection();
    }
    if (scanned_.columnNames.empty()) {
        throw ReadError(file_, 0, "no variables; expected at least one in the objective");
    }
    finishBounds();
    linear_.rows = scanned_.rowNames.size();
    linear_.columns = scanned_.columnNames.size();
    linear_.objective.resize(linear_.columns, 0.0);
    Model model = modelOf(std::move(scanned_), std::move(linear_), limit, file_);
    for (const auto* numbers : {&model.H, &model.c, &model.A}) {
        if (!std::all_of(numbers->begin(), numbers->end(),
                         [](double x) { return std::isfinite(x); })) {
            throw ReadError(file_, 0, "coefficients add up to more than a double can hold");
        }
    }
    return model;
}

bool LpReader::isWord(std::string_view word) const {
    return tokens_.next().kind == LpKind::Name && lowered(tokens_.next().text) == word;
}

bool LpReader::acceptWord(std::string_view word) {
    const bool isNext = isWord(word) && !tokens_.isLabel();
    if (isNext) {
        static_cast<void>(tokens_.take());
    }
    return isNext;
}

bool LpReader::isSectionWord() const {
    const LpToken& next = tokens_.next();
    return next.kind == LpKind::Name && next.beginsLine && !tokens_.isLabel() &&
           (isOneOf(next.text, RowWords) || isOneOf(next.text, BoundWords) ||
            isOneOf(next.text, IntegerWords) || isOneOf(next.text, OtherWords) ||
            isWord("subject") || isWord("such") || isWord("end"));
}

std::string LpReader::label() {
    if (!tokens_.isLabel()) {
        return {};
    }
    std::string name(tokens_.take().text);
    static_cast<void>(tokens_.take());
    return name;
}

std::uint32_t LpReader::variable(const LpToken& name) {
    const auto [found, isNew] =
        columns_.emplace(name.text, static_cast<std::uint32_t>(scanned_.columnNames.size()));
    if (isNew) {
        scanned_.columnNames.emplace_back(name.text);
        linear_.columnLower.push_back(0.0);
        linear_.columnUpper.push_back(Infinite);
        boundedAt_.push_back(0);
        if (isInBounds_) {
            scanned_.notes.push_back(
                {tokens_.lineOf(name.offset),
                 "variable " + quoted(name.text) + " is in no row and not in the objective"});
        }
    }
    return found->second;
}

void LpReader::readObjective() {
    const LpToken word = tokens_.next();
    scanned_.maximise = word.kind == LpKind::Name && isOneOf(word.text, Maximise);
    if (!scanned_.maximise && !(word.kind == LpKind::Name && isOneOf(word.text, Minimise))) {
        tokens_.failExpecting("min or max");
    }
    static_cast<void>(tokens_.take());
    static_cast<void>(tokens_.accept(':'));
    static_cast<void>(label());
    if (isSectionWord() || tokens_.next().kind == LpKind::End) {
        return;
    }
    const Sum objective = sum(true);
    linear_.constant = finite(objective.constant, objective.offset);
    for (const auto& [column, value] : objective.terms) {
        linear_.objective.resize(scanned_.columnNames.size(), 0.0);
        linear_.objective[column] += value;
    }
    if (!isSectionWord() && tokens_.next().kind != LpKind::End) {
        tokens_.failExpecting("+, - or a line that begins with st");
    }
}

void LpReader::readRows() {
    const LpToken word = tokens_.next();
    if (word.kind == LpKind::End || (isSectionWord() && isWord("end"))) {
        return;
    }
    const bool isTwoWords = acceptWord("subject") ? requireWord("to")
                            : acceptWord("such")  ? requireWord("that")
                                                  : false;
    if (!isTwoWords) {
        if (!isOneOf(word.text, RowWords)) {
            return;
        }
        static_cast<void>(tokens_.take());
    }
    while (tokens_.next().kind != LpKind::End && !isSectionWord()) {
        readRow();
    }
}

bool LpReader::requireWord(const char* word) {
    if (!acceptWord(word)) {
        tokens_.failExpecting(word);
    }
    return true;
}

void LpReader::readRow() {
    const LpToken begin = tokens_.next();
    std::string name = label();
    if (name.empty()) {
        name = "R" + std::to_string(scanned_.rowNames.size() + 1);
    }
    if (!rows_.emplace(name, 0).second) {
        tokens_.failAt(begin.offset, "a second row " + quoted(name));
    }
    const Sides row = sides("a number");
    if (row.lower > row.upper) {
        tokens_.failAt(begin.offset,
                       "row " + quoted(name) + " has its lower side above its upper one");
    }
    const auto position = static_cast<std::uint32_t>(scanned_.rowNames.size());
    for (const auto& [column, value] : row.sum.terms) {
        linear_.entries.push_back({position, column, value, 0});
    }
    scanned_.rowNames.push_back(std::move(name));
    linear_.rowLower.push_back(row.lower);
    linear_.rowUpper.push_back(row.upper);
}

void LpReader::readSection() {
    const LpToken word = tokens_.next();
    if (word.kind != LpKind::Name || !isSectionWord()) {
        tokens_.failExpecting("bounds or end");
    }
    if (isOneOf(word.text, IntegerWords)) {
        static_cast<void>(tokens_.take());
        const LpToken& name = tokens_.next();
        if (name.kind == LpKind::Name && !isSectionWord()) {
            tokens_.failAt(name.offset, "variable " + quoted(name.text) +
                                            " is to be an integer, which " +
                                            "cannot be solved for");
        }
        return;
    }
    if (!isOneOf(word.text, BoundWords)) {
        tokens_.failAt(word.offset, "section " + quoted(word.text) +
                                        " cannot be read here; expected " + "bounds or end");
    }
    static_cast<void>(tokens_.take());
    isInBounds_ = true;
    while (tokens_.next().kind != LpKind::End && !isSectionWord()) {
        readBound();
    }
    isInBounds_ = false;
}

void LpReader::readBound() {
    const LpToken begin = tokens_.next();
    if (begin.kind == LpKind::Name && !isOneOf(begin.text, InfinityWords)) {
        LpTokens ahead = tokens_;
        static_cast<void>(ahead.take());
        if (lowered(ahead.next().text) == "free" && !ahead.next().beginsLine) {
            const std::uint32_t column = variable(tokens_.take());
            static_cast<void>(tokens_.take());
            linear_.columnLower[column] = -Infinite;
            linear_.columnUpper[column] = Infinite;
            boundedAt_[column] = begin.offset;
            return;
        }
    }
    const Sides bound = sides("a number");
    if (bound.sum.terms.size() != 1 || !(bound.sum.terms.front().second > 0.0)) {
        tokens_.failAt(begin.offset, "expected one variable; sums of several are rows, which " +
                                         std::string("stand under st"));
    }
    const auto& [column, factor] = bound.sum.terms.front();
    if (bound.hasLower) {
        linear_.columnLower[column] = side(bound.lower / factor);
    }
    if (bound.hasUpper) {
        linear_.columnUpper[column] = side(bound.upper / factor);
    }
    boundedAt_[column] = begin.offset;
}

void LpReader::finishBounds() {
    for (std::size_t column = 0; column < boundedAt_.size(); ++column) {
        const double lower = linear_.columnLower[column];
        const double upper = linear_.columnUpper[column];
        if (!(lower < Infinite) || !(upper > -Infinite)) {
            tokens_.failAt(boundedAt_[column], "the infinite bound leaves no value");
        }
        if (lower > upper) {
            tokens_.failAt(boundedAt_[column],
                           "variable " + quoted(scanned_.columnNames[column]) +
                               " has a lower bound above its upper bound; without one it is 0");
        }
    }
}

Model readLp(std::string_view text, const std::string& file, const ReadLimits& limits) {
    return LpReader(text, file).run(limits.denseBytes);
}

}  // namespace activeset::io
