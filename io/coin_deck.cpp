// Writing the deck and letting CoinUtils read it from memory.
#include "io/coin_deck.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include <CoinFileIO.hpp>
#include <CoinMessageHandler.hpp>
#include <CoinMpsIO.hpp>

#include "io/location.hpp"

namespace activeset::io {

namespace {

/// The bit pattern of `value` in the characters that CoinUtils uses for it after FREEIEEE.
std::string bitPattern(double value) {
    constexpr int LittleEndianPattern = 2;
    std::array<char, 24> text{};
    CoinConvertDouble(0, LittleEndianPattern, value, text.data());
    return text.data();
}

std::string numbered(char letter, std::size_t number) {
    std::string name(1, letter);
    name += std::to_string(number);
    return name;
}

std::string rowName(std::size_t row) {
    return numbered('R', row);
}
std::string columnName(std::size_t column) {
    return numbered('C', column);
}

/// Feeds CoinUtils from a string instead of a file.
class StringInput : public CoinFileInput {
public:
    explicit StringInput(const std::string& text) : CoinFileInput("deck"), text_(text) {}

    int read(void* buffer, int size) override {
        const std::size_t count = std::min(room(size), text_.size() - position_);
        std::memcpy(buffer, text_.data() + position_, count);
        position_ += count;
        return static_cast<int>(count);
    }

    /// As std::fgets: a line with its line end, cut where the buffer ends.
    char* gets(char* buffer, int size) override {
        const std::size_t lineEnd = std::min(text_.find('\n', position_), text_.size() - 1);
        if (size < 2 || position_ >= text_.size()) {
            return nullptr;
        }
        const int count =
            read(buffer, static_cast<int>(std::min(room(size) - 1, lineEnd + 1 - position_)));
        buffer[count] = '\0';
        return buffer;
    }

private:
    static std::size_t room(int size) { return static_cast<std::size_t>(std::max(size, 0)); }

    const std::string& text_;
    std::size_t position_ = 0;
};

/// Remembers which card the first complaint is about, instead of printing anything.
class Complaints : public CoinMessageHandler {
public:
    int print() override {
        constexpr int FirstWarning = 3000;
        if (!any_ && currentMessage().externalNumber() >= FirstWarning) {
            any_ = true;
            card_ = numberIntFields() > 0 ? intValue(0) : 0;
        }
        return 0;
    }
    /// The base class aborts the process here.
    void checkSeverity() override {}
    CoinMessageHandler* clone() const override { return new Complaints(*this); }

    [[nodiscard]] bool any() const noexcept { return any_; }
    /// 1-based number of the card, 0 if the complaint names none.
    [[nodiscard]] std::size_t card() const { return static_cast<std::size_t>(std::max(card_, 0)); }

private:
    bool any_ = false;
    int card_ = 0;
};

/// Its base opens files by name only; the member that holds the opened input is protected.
class DeckReader : public CoinMpsIO {
public:
    DeckReader(const std::string& deck, Complaints& complaints) {
        passInMessageHandler(&complaints);
        setSmallElementValue(0.0);
        // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): the base deletes both.
        cardReader_ = new CoinMpsCardReader(new StringInput(deck), this);
    }
};

std::vector<double> copyOf(const double* values, std::size_t count) {
    return count == 0 ? std::vector<double>{} : std::vector<double>(values, values + count);
}

/// CoinUtils has the largest double for an absent bound.
void makeInfinite(std::vector<double>& values) {
    for (double& value : values) {
        if (std::abs(value) >= InfiniteBound) {
            value = std::copysign(std::numeric_limits<double>::infinity(), value);
        }
    }
}

LinearPart linearPartOf(const CoinMpsIO& coin, std::size_t rows, std::size_t columns) {
    LinearPart part;
    part.rows = rows;
    part.columns = columns;
    part.objective = copyOf(coin.getObjCoefficients(), columns);
    part.constant = 0.0 - coin.objectiveOffset();  // not -0.0 where the file has none
    part.rowLower = copyOf(coin.getRowLower(), rows);
    part.rowUpper = copyOf(coin.getRowUpper(), rows);
    part.columnLower = copyOf(coin.getColLower(), columns);
    part.columnUpper = copyOf(coin.getColUpper(), columns);
    makeInfinite(part.rowLower);
    makeInfinite(part.rowUpper);
    makeInfinite(part.columnLower);
    makeInfinite(part.columnUpper);
    const CoinPackedMatrix& matrix = *coin.getMatrixByCol();
    part.entries.reserve(static_cast<std::size_t>(matrix.getNumElements()));
    for (std::uint32_t column = 0; column < columns; ++column) {
        const CoinBigIndex begin = matrix.getVectorStarts()[column];
        const CoinBigIndex end = begin + matrix.getVectorLengths()[column];
        for (CoinBigIndex k = begin; k < end; ++k) {
            part.entries.push_back({static_cast<std::uint32_t>(matrix.getIndices()[k]), column,
                                    matrix.getElements()[k], 0});
        }
    }
    return part;
}

}  // namespace

void CoinDeck::append(Cards& cards, const std::string& card, std::size_t line) {
    cards.text += " " + card + "\n";
    cards.lines.push_back(line);
}

void CoinDeck::addRow(char sense, std::size_t line) {
    append(rowCards_, std::string(1, sense) + " " + rowName(rows_), line);
    ++rows_;
}

void CoinDeck::addColumn(double objective,
                         const std::vector<MatrixEntry>& entries,
                         std::size_t line) {
    const std::string name = columnName(columns_);
    // Also a zero coefficient: a column is known to CoinUtils only by its cards.
    append(columnCards_, name + " OBJ " + bitPattern(objective), line);
    for (const MatrixEntry& entry : entries) {
        append(columnCards_, name + " " + rowName(entry.row) + " " + bitPattern(entry.value),
               entry.line);
    }
    ++columns_;
}

void CoinDeck::addObjectiveSide(double value, std::size_t line) {
    append(sideCards_, "RHS OBJ " + bitPattern(value), line);
}

void CoinDeck::addSide(std::uint32_t row, double value, std::size_t line) {
    append(sideCards_, "RHS " + rowName(row) + " " + bitPattern(value), line);
}

void CoinDeck::addRange(std::uint32_t row, double value, std::size_t line) {
    append(rangeCards_, "RNG " + rowName(row) + " " + bitPattern(value), line);
}

void CoinDeck::addBound(std::string_view type,
                        std::uint32_t column,
                        double value,
                        std::size_t line) {
    append(boundCards_, std::string(type) + " BND " + columnName(column) + " " + bitPattern(value),
           line);
}

CoinDeck::Cards CoinDeck::assemble() const {
    const std::array<std::pair<const char*, const Cards*>, 5> sections{
        {{"ROWS\n N OBJ\n", &rowCards_},
         {"COLUMNS\n", &columnCards_},
         {"RHS\n", &sideCards_},
         {"RANGES\n", &rangeCards_},
         {"BOUNDS\n", &boundCards_}}};
    Cards deck;
    deck.text = "NAME deck FREEIEEE\n";
    deck.lines.push_back(0);
    for (const auto& [header, cards] : sections) {
        deck.text += header;
        deck.lines.insert(
            deck.lines.end(),
            static_cast<std::size_t>(std::count(header, std::strchr(header, 0), '\n')), 0);
        deck.text += cards->text;
        deck.lines.insert(deck.lines.end(), cards->lines.begin(), cards->lines.end());
    }
    deck.text += "ENDATA\n";
    return deck;
}

LinearPart CoinDeck::read(const std::string& file) const {
    const Cards deck = assemble();
    Complaints complaints;
    DeckReader coin(deck.text, complaints);
    const int errors = coin.readMps();
    if (errors != 0 || complaints.any()) {
        const std::size_t card = complaints.card();
        const std::size_t line = card >= 1 && card <= deck.lines.size() ? deck.lines[card - 1] : 0;
        throw ReadError(file, line, "this line cannot be reconciled with the ones before it");
    }
    if (static_cast<std::size_t>(coin.getNumRows()) != rows_ ||
        static_cast<std::size_t>(coin.getNumCols()) != columns_) {
        throw ReadError(file, 0, "not all rows and columns could be read");
    }
    return linearPartOf(coin, rows_, columns_);
}

}  // namespace activeset::io
