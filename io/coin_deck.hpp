// The linear part of a problem as CoinUtils reads it.
#ifndef ACTIVESET_IO_COIN_DECK_HPP
#define ACTIVESET_IO_COIN_DECK_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace activeset::io {

/// One coefficient; both indices 0-based.
struct MatrixEntry {
    std::uint32_t row = 0;
    std::uint32_t column = 0;
    double value = 0.0;
    std::size_t line = 0;  ///< where it stands in the file
};

/// What CoinUtils makes of a deck. Sides and bounds that are absent are ±infinity.
struct LinearPart {
    std::size_t rows = 0;
    std::size_t columns = 0;
    std::vector<MatrixEntry> entries;  ///< by column; line is 0
    std::vector<double> objective;     ///< columns
    double constant = 0.0;             ///< of the objective
    std::vector<double> rowLower;      ///< rows
    std::vector<double> rowUpper;
    std::vector<double> columnLower;  ///< columns
    std::vector<double> columnUpper;
};

/// A bound, side or range of this magnitude or more stands for infinity.
inline constexpr double InfiniteBound = 1e20;

/// The checked cards of a file, handed to CoinUtils, which knows what they mean: default bounds,
/// the sign of a range, an upper bound below zero.
///
/// CoinUtils never sees the file itself. It crashes on names longer than its buffers and on some
/// damaged cards, it drops blanks from names, and its decimal reader is wrong in the last digits
/// (-.100000e+01 becomes -0.99999999999999989). The deck therefore has names of its own and
/// writes every number as its bit pattern, a form that CoinUtils reads exactly.
class CoinDeck {
public:
    /// Appends a row of sense 'E', 'L' or 'G'.
    void addRow(char sense, std::size_t line);
    /// Appends a column with its objective coefficient and its entries (their column is ignored).
    void addColumn(double objective, const std::vector<MatrixEntry>& entries, std::size_t line);
    /// The right-hand side of the objective, which is minus its constant.
    void addObjectiveSide(double value, std::size_t line);
    void addSide(std::uint32_t row, double value, std::size_t line);
    void addRange(std::uint32_t row, double value, std::size_t line);
    /// `type` is one of LO, UP, FX, FR, MI, BV; the last three ignore `value`.
    void addBound(std::string_view type, std::uint32_t column, double value, std::size_t line);

    [[nodiscard]] std::size_t rows() const noexcept { return rows_; }
    [[nodiscard]] std::size_t columns() const noexcept { return columns_; }

    /// @param file  for messages
    /// @raises ReadError, with the line of the card, should CoinUtils object to one
    [[nodiscard]] LinearPart read(const std::string& file) const;

private:
    /// Cards of one section, and the line of the file that each came from.
    struct Cards {
        std::string text;
        std::vector<std::size_t> lines;
    };

    static void append(Cards& cards, const std::string& card, std::size_t line);
    [[nodiscard]] Cards assemble() const;

    Cards rowCards_;
    Cards columnCards_;
    Cards sideCards_;
    Cards rangeCards_;
    Cards boundCards_;
    std::size_t rows_ = 0;
    std::size_t columns_ = 0;
};

}  // namespace activeset::io

#endif
