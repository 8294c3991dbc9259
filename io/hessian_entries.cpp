// Symmetry and uniqueness of the entries of H, by sorting them.
#include "io/hessian_entries.hpp"

#include <algorithm>
#include <tuple>
#include <utility>

namespace activeset::io {

namespace {

using Position = std::pair<std::uint32_t, std::uint32_t>;

Position positionOf(const MatrixEntry& entry) {
    return {entry.row, entry.column};
}

bool isBefore(const MatrixEntry& a, const MatrixEntry& b) {
    return std::tuple(a.row, a.column, a.line) < std::tuple(b.row, b.column, b.line);
}

std::string describe(const MatrixEntry& entry, const std::vector<std::string>& names) {
    return "(" + quoted(names[entry.column]) + ", " + quoted(names[entry.row]) + ")";
}

/// The first entry in the file that repeats an earlier one; null if there is none.
const MatrixEntry* firstRepeated(const std::vector<MatrixEntry>& sorted) {
    const MatrixEntry* first = nullptr;
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        const bool repeated = positionOf(sorted[i]) == positionOf(sorted[i - 1]);
        if (repeated && (first == nullptr || sorted[i].line < first->line)) {
            first = &sorted[i];
        }
    }
    return first;
}

/// The first entry in the file that differs from the one across the diagonal.
const MatrixEntry* firstUnsymmetric(const std::vector<MatrixEntry>& sorted) {
    const MatrixEntry* first = nullptr;
    for (const MatrixEntry& entry : sorted) {
        const MatrixEntry mirrored{entry.column, entry.row, 0.0, 0};
        const auto found = std::lower_bound(sorted.begin(), sorted.end(), mirrored, isBefore);
        const bool present = found != sorted.end() && positionOf(*found) == positionOf(mirrored);
        const double across = present ? found->value : 0.0;
        if (entry.value != across && (first == nullptr || entry.line < first->line)) {
            first = &entry;
        }
    }
    return first;
}

}  // namespace

std::vector<MatrixEntry> completeHessian(std::vector<MatrixEntry> given,
                                         bool full,
                                         const std::vector<std::string>& names,
                                         const std::function<Location(std::size_t)>& onLine) {
    if (!full) {
        for (MatrixEntry& entry : given) {
            std::tie(entry.column, entry.row) = std::minmax({entry.column, entry.row});
        }
    }
    std::sort(given.begin(), given.end(), isBefore);
    if (const MatrixEntry* const entry = firstRepeated(given); entry != nullptr) {
        onLine(entry->line)
            .failAt(names[entry->column],
                    "a second entry for " + describe(*entry, names) +
                        (full ? "" : "; QUADOBJ takes one triangle, QMATRIX both"));
    }
    if (full) {
        if (const MatrixEntry* const entry = firstUnsymmetric(given); entry != nullptr) {
            onLine(entry->line)
                .failAt(names[entry->column],
                        "the entry for " + describe(*entry, names) +
                            " is not its mirror's; QMATRIX takes both triangles, QUADOBJ one");
        }
        return given;
    }
    const std::size_t count = given.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (given[i].row != given[i].column) {
            given.push_back({given[i].column, given[i].row, given[i].value, given[i].line});
        }
    }
    return given;
}

}  // namespace activeset::io
