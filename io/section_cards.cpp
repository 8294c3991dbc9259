// Checks the cards of each section and keeps their content. The quadratic section stays here.
// CoinUtils would not do for it: its reader knows QUADOBJ but not QMATRIX, and adds up entries that
// are given twice.
#include <algorithm>
#include <cmath>

#include "io/scan.hpp"

namespace activeset::io {

namespace {

bool isInfinite(double value) {
    return std::abs(value) >= InfiniteBound;
}

}  // namespace

void Scan::readCard(std::string_view line) {
    if (section_ < Section::Rows) {
        here_.fail("data before the first section");
    }
    if (section_ == Section::Columns && line.find("'MARKER'") != std::string_view::npos) {
        here_.failAt(
            "'MARKER'",
            "integer variables cannot be solved for; without MARKER lines they are continuous");
    }
    const Card card = splitCard(line, section_, format_, columnTable_, here_);
    switch (section_) {
        case Section::Rows:
            readRow(card);
            return;
        case Section::Columns:
            readColumn(card);
            return;
        case Section::Bounds:
            checkVectorName(card.owner);
            readBound(card);
            return;
        case Section::Quadratic:
            readHessian(card);
            return;
        default:
            break;
    }
    checkVectorName(card.owner);
    for (std::size_t i = 0; i < card.count; ++i) {
        if (section_ == Section::Rhs) {
            readSide(card.entries.at(i));
        } else {
            readRange(card.entries.at(i));
        }
    }
}

void Scan::readRow(const Card& card) {
    const std::string_view name = card.entries[0].name;
    if (!rowTable_.emplace(name, static_cast<std::uint32_t>(rows_.size())).second) {
        here_.failAt(name, "a second row " + quoted(name));
    }
    Row row;
    if (card.type == "N") {
        row.kind = objectiveGiven_ ? RowKind::FurtherObjective : RowKind::Objective;
        if (objectiveGiven_) {
            result_.notes.push_back(
                {here_.line, "row " + quoted(name) + " is a second objective and is ignored"});
        }
        objectiveGiven_ = true;
    } else if (card.type == "E" || card.type == "L" || card.type == "G") {
        row.sense = card.type.front();
        row.position = static_cast<std::uint32_t>(result_.deck.rows());
        result_.deck.addRow(row.sense, here_.line);
        result_.rowNames.emplace_back(name);
    } else {
        here_.failAt(card.type, "row type " + quoted(card.type) + " is none of N, E, L and G");
    }
    rows_.push_back(row);
}

void Scan::readColumn(const Card& card) {
    if (columnName_.empty() || card.owner != columnName_) {
        finishColumn();
        if (!columnTable_.emplace(card.owner, static_cast<std::uint32_t>(bounds_.size())).second) {
            here_.failAt(card.owner, "column " + quoted(card.owner) +
                                         " was met before; its lines must stand together");
        }
        columnName_ = card.owner;
        columnLine_ = here_.line;
        bounds_.emplace_back();
        result_.columnNames.emplace_back(card.owner);
    }
    for (std::size_t i = 0; i < card.count; ++i) {
        readCoefficient(card.entries.at(i));
    }
}

void Scan::readCoefficient(const CardEntry& entry) {
    Row& row = findRow(entry.name);
    const double value = finiteNumber(entry.number);
    if (row.lastColumn == bounds_.size()) {
        here_.failAt(entry.name, "a second entry for row " + quoted(entry.name) + " in column " +
                                     quoted(columnName_));
    }
    row.lastColumn = bounds_.size();
    if (row.kind == RowKind::Objective) {
        objectiveCoefficient_ = value;
    } else if (row.kind == RowKind::Constraint) {
        columnEntries_.push_back({row.position, 0, value, here_.line});
    }
}

/// Hands the column whose last line has been read to the deck.
void Scan::finishColumn() {
    if (!columnName_.empty()) {
        result_.deck.addColumn(objectiveCoefficient_, columnEntries_, columnLine_);
    }
    columnName_ = {};
    objectiveCoefficient_ = 0.0;
    columnEntries_.clear();
}

void Scan::readSide(const CardEntry& entry) {
    Row& row = findRow(entry.name);
    const double value = parseNumber(entry.number, here_);
    if (row.sideLine != 0) {
        here_.failAt(entry.name, "a second right-hand side for row " + quoted(entry.name));
    }
    row.sideLine = here_.line;
    if (row.kind == RowKind::Objective) {
        result_.deck.addObjectiveSide(finiteNumber(entry.number), here_.line);
    } else if (row.kind == RowKind::Constraint) {
        row.sideIsInfinite = isInfinite(value);
        const bool harmless = (row.sense == 'L' && value > 0) || (row.sense == 'G' && value < 0);
        if (row.sideIsInfinite && !harmless) {
            here_.failAt(entry.number, "row " + quoted(entry.name) +
                                           " cannot be met: its right-hand side " +
                                           quoted(entry.number) + " counts as infinite");
        }
        result_.deck.addSide(row.position, value, here_.line);
    }
}

void Scan::readRange(const CardEntry& entry) {
    Row& row = findRow(entry.name);
    const double value = parseNumber(entry.number, here_);
    if (row.kind != RowKind::Constraint) {
        here_.failAt(entry.name, "a range for the objective " + quoted(entry.name));
    }
    if (row.rangeLine != 0) {
        here_.failAt(entry.name, "a second range for row " + quoted(entry.name));
    }
    row.rangeLine = here_.line;
    result_.deck.addRange(row.position, value, here_.line);
}

void Scan::readBound(const Card& card) {
    const CardEntry& entry = card.entries[0];
    const bool numbered = card.type == "LO" || card.type == "UP" || card.type == "FX";
    if (!numbered && !isNumberlessBound(card.type)) {
        here_.failAt(card.type, "bound type " + quoted(card.type) +
                                    " is none of LO, UP, FX, FR, MI, PL and BV");
    }
    const std::uint32_t column = findColumn(entry.name);
    double value = 0.0;
    if (numbered || !entry.number.empty()) {  // a number that is not needed must still be one
        value = parseNumber(entry.number, here_);
    }
    if (numbered && isInfinite(value) && card.type != (value < 0.0 ? "LO" : "UP")) {
        here_.failAt(entry.number, "bound " + std::string(card.type) + " of " +
                                       quoted(entry.number) +
                                       " counts as infinite and leaves column " +
                                       quoted(entry.name) + " no value");
    }
    const bool binary = card.type == "BV";
    if (card.type != "UP" && card.type != "PL") {
        claimSide(bounds_[column].lowerLine, card);
        bounds_[column].lower = numbered ? value : (binary ? 0.0 : -InfiniteBound);
    }
    if (card.type != "LO" && card.type != "MI") {
        claimSide(bounds_[column].upperLine, card);
        bounds_[column].upper = numbered ? value : (binary ? 1.0 : InfiniteBound);
    }
    if (binary) {
        result_.notes.push_back(
            {here_.line, "column " + quoted(entry.name) +
                             " is binary; it may take every value from 0 to 1 here"});
    }
    // PL only repeats the default. CoinUtils accepts it in some orders only, so it is not passed
    // on.
    if (card.type != "PL") {
        result_.deck.addBound(card.type, column, value, here_.line);
    }
}

/// Each side of a column may be bounded once; `line` says where it was, 0 if not yet.
void Scan::claimSide(std::size_t& line, const Card& card) const {
    if (line != 0) {
        here_.failAt(card.entries[0].name, "bound " + std::string(card.type) + " for column " +
                                               quoted(card.entries[0].name) + ", which line " +
                                               std::to_string(line) + " has bounded already");
    }
    line = here_.line;
}

void Scan::readHessian(const Card& card) {
    const std::uint32_t column = findColumn(card.owner);
    for (std::size_t i = 0; i < card.count; ++i) {
        const CardEntry& entry = card.entries.at(i);
        hessian_.push_back(
            {findColumn(entry.name), column, finiteNumber(entry.number), here_.line});
    }
}

/// A file may hold several right-hand sides, ranges or bounds by name; only one of each is read.
void Scan::checkVectorName(std::string_view name) {
    if (name.empty()) {
        return;
    }
    if (!vectorName_.empty() && name != vectorName_) {
        here_.failAt(name, "a second vector " + quoted(name) + " beside " + quoted(vectorName_));
    }
    vectorName_ = name;
}

Scan::Row& Scan::findRow(std::string_view name) {
    const auto found = rowTable_.find(name);
    if (found == rowTable_.end()) {
        here_.failAt(name, "unknown row " + quoted(name));
    }
    return rows_[found->second];
}

std::uint32_t Scan::findColumn(std::string_view name) const {
    const auto found = columnTable_.find(name);
    if (found == columnTable_.end()) {
        here_.failAt(name, "unknown column " + quoted(name));
    }
    return found->second;
}

double Scan::finiteNumber(std::string_view text) const {
    const double value = parseNumber(text, here_);
    if (!std::isfinite(value)) {
        here_.failAt(text, quoted(text) + " where only a finite number makes sense");
    }
    return value;
}

/// A range is measured from the right-hand side, so the right-hand side has to be finite.
void Scan::checkRanges() const {
    for (const Row& row : rows_) {
        if (row.rangeLine != 0 && row.sideIsInfinite) {
            onLine(std::max(row.rangeLine, row.sideLine))
                .failAt(result_.rowNames[row.position],
                        "a range for row " + quoted(result_.rowNames[row.position]) +
                            ", whose right-hand side counts as infinite");
        }
    }
}

void Scan::finishBounds() {
    for (std::size_t column = 0; column < bounds_.size(); ++column) {
        const ColumnBounds& bounds = bounds_[column];
        const std::string name = quoted(result_.columnNames[column]);
        if (bounds.lowerLine == 0 && bounds.upper < 0.0) {
            result_.notes.push_back(
                {bounds.upperLine,
                 "column " + name + ": the negative upper bound removes the lower bound of 0"});
        } else if (bounds.lower > bounds.upper) {
            onLine(std::max(bounds.lowerLine, bounds.upperLine))
                .failAt(result_.columnNames[column],
                        "column " + name + " has a lower bound above its upper bound");
        }
    }
}

}  // namespace activeset::io
