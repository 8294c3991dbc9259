// The state of a file while it is being scanned.
#ifndef ACTIVESET_IO_SCAN_HPP
#define ACTIVESET_IO_SCAN_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "io/card.hpp"
#include "io/coin_deck.hpp"
#include "io/location.hpp"
#include "io/section_scan.hpp"

namespace activeset::io {

/// One reading of one file in one of the two formats.
class Scan {
public:
    /// Both `text` and `file` must outlive the scan.
    Scan(std::string_view text, const std::string& file, CardFormat format)
        : text_(text), format_(format), here_{file, 0, {}} {}

    /// Call once. @raises ReadError
    [[nodiscard]] ScannedFile run();

private:
    enum class RowKind { Objective, FurtherObjective, Constraint };

    /// A row as ROWS declares it, and what RHS and RANGES say about it.
    struct Row {
        RowKind kind = RowKind::Constraint;
        char sense = 'N';
        std::uint32_t position = 0;  ///< among the constraints
        std::size_t lastColumn = 0;  ///< number (from 1) of the last column with an entry here
        std::size_t sideLine = 0;    ///< 0: no right-hand side given
        std::size_t rangeLine = 0;   ///< 0: no range given
        bool sideIsInfinite = false;
    };

    /// What BOUNDS says about a column.
    struct ColumnBounds {
        double lower = 0.0;
        double upper = std::numeric_limits<double>::infinity();
        std::size_t lowerLine = 0;  ///< 0: none given
        std::size_t upperLine = 0;  ///< 0: none given
    };

    // Lines and sections.
    void readLine(std::string_view line);
    void readHeader(std::string_view line);
    void enter(Section section, const std::string& header);
    void readName(std::string_view rest);
    void readSense(std::string_view line);
    [[nodiscard]] std::size_t& lineOf(Section section) {
        return sectionLines_.at(static_cast<std::size_t>(section));
    }

    // Cards.
    void readCard(std::string_view line);
    void readRow(const Card& card);
    void readColumn(const Card& card);
    void readCoefficient(const CardEntry& entry);
    void finishColumn();
    void readSide(const CardEntry& entry);
    void readRange(const CardEntry& entry);
    void readBound(const Card& card);
    void claimSide(std::size_t& line, const Card& card) const;
    void readHessian(const Card& card);
    void checkVectorName(std::string_view name);
    [[nodiscard]] Row& findRow(std::string_view name);
    [[nodiscard]] std::uint32_t findColumn(std::string_view name) const;
    [[nodiscard]] double finiteNumber(std::string_view text) const;

    // Checks that are only possible at the end.
    [[nodiscard]] Location onLine(std::size_t line) const {
        return io::lineOf(text_, here_.file, line);
    }
    void finish();
    void checkRanges() const;
    void finishBounds();

    std::string_view text_;
    CardFormat format_;
    Location here_;
    Section section_ = Section::Start;
    std::array<std::size_t, 10> sectionLines_{};  ///< by Section; 0: not met yet
    bool senseGiven_ = false;
    bool hessianIsFull_ = false;
    std::string_view vectorName_;  ///< of the right-hand side, ranges or bounds being read

    NameTable rowTable_;  ///< into rows_
    std::vector<Row> rows_;
    bool objectiveGiven_ = false;
    NameTable columnTable_;  ///< into bounds_
    std::vector<ColumnBounds> bounds_;

    std::string_view columnName_;  ///< the column being read, empty before the first
    std::size_t columnLine_ = 0;
    double objectiveCoefficient_ = 0.0;
    std::vector<MatrixEntry> columnEntries_;

    std::vector<MatrixEntry> hessian_;  ///< as the file gives it
    ScannedFile result_;
};

}  // namespace activeset::io

#endif
