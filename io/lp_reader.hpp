// The state of an LP file while it is being read.
#ifndef ACTIVESET_IO_LP_READER_HPP
#define ACTIVESET_IO_LP_READER_HPP

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "io/coin_deck.hpp"
#include "io/lp_tokens.hpp"
#include "io/model.hpp"
#include "io/section_scan.hpp"

namespace activeset::io {

/// One reading of one file, by descent from its sections to sums and numbers.
class LpReader {
public:
    /// Both must outlive the reader.
    LpReader(std::string_view text, const std::string& file) : tokens_(text, file), file_(file) {}

    /// Call once. @raises ReadError
    Model run(std::size_t limit);

private:
    static constexpr double Infinite = std::numeric_limits<double>::infinity();

    /// A sum of terms and a constant.
    struct Sum {
        std::vector<std::pair<std::uint32_t, double>> terms{};
        double constant = 0.0;
        std::size_t offset = 0;  ///< where it begins
        bool isConstant = true;  ///< no variable in it
    };
    /// A sum and what it lies between.
    struct Sides {
        Sum sum{};
        double lower = -Infinite;
        double upper = Infinite;
        bool hasLower = false;
        bool hasUpper = false;

        void narrow(char relation, double value) {
            if (relation != '<') {
                lower = value;
                hasLower = true;
            }
            if (relation != '>') {
                upper = value;
                hasUpper = true;
            }
        }
    };

    // Words and sections.
    [[nodiscard]] bool isWord(std::string_view word) const;
    bool acceptWord(std::string_view word);
    /// A word that opens a section stands at the beginning of a line.
    [[nodiscard]] bool isSectionWord() const;
    std::string label();
    std::uint32_t variable(const LpToken& name);
    void readObjective();
    void readRows();
    bool requireWord(const char* word);
    void readRow();
    void readSection();
    void readBound();
    void finishBounds();

    // Numbers and sums.
    /// The product of the signs that come next.
    double signs();
    [[nodiscard]] bool isNumber() const;
    double unsignedNumber();
    double number(const char* what);
    double finite(double value, std::size_t offset);
    void addTerm(Sum& sum);
    /// Whether the next token begins another row or section, and not a term of this row.
    [[nodiscard]] bool startsNew() const { return tokens_.isLabel() || isSectionWord(); }
    /// Reads terms up to a token that continues no sum. `quadratic` says whether brackets may stand
    /// among them.
    Sum sum(bool quadratic);
    /// A sign at the beginning of a line continues a row, but begins the next bound.
    [[nodiscard]] bool continuesSum() const;
    /// Reads the signs in front of a bracket, if a bracket follows them.
    bool acceptBracket(double& sign);
    /// [ a x^2 + b x*y … ] / 2; without the half the terms count as they stand.
    void readBrackets(double sign);
    MatrixEntry product(double coefficient);
    std::uint32_t factor();
    char relation();
    /// The side; infinite if its magnitude is that of an absent side.
    [[nodiscard]] static double side(double value) {
        return value >= InfiniteBound ? Infinite : value <= -InfiniteBound ? -Infinite : value;
    }
    /// sum ≤ number, number ≤ sum, or number ≤ sum ≤ number.
    Sides sides(const char* what);
    /// Moves the constant of the sum to the sides. Raises ReadError for a side that leaves no
    /// value.
    Sides moved(Sides sides);

    LpTokens tokens_;
    const std::string& file_;
    ScannedFile scanned_{};
    LinearPart linear_{};
    std::unordered_map<std::string_view, std::uint32_t> columns_{};
    std::unordered_map<std::string, int> rows_{};
    bool isInBounds_ = false;
    std::vector<std::size_t> boundedAt_{};  ///< by column, offset of the last bound
};

}  // namespace activeset::io

#endif
