// Problems as archives of arrays. The parts have the letters of the Python interface.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <unordered_set>

#include "io/coin_deck.hpp"
#include "io/dense_form.hpp"
#include "io/format_readers.hpp"
#include "io/location.hpp"
#include "io/npy_array.hpp"
#include "io/zip_archive.hpp"

namespace activeset::io {

namespace {

using Numbers = std::vector<double>;

constexpr double Infinite = std::numeric_limits<double>::infinity();
constexpr std::string_view Suffix = ".npy";

/// A part that the archive has. A vector has one column.
struct Part {
    std::size_t rows = 0;
    std::size_t columns = 1;
    Numbers values{};  ///< column-major
};

class NpzReader {
public:
    NpzReader(const std::vector<ZipMember>& members, const std::string& file) : file_(file) {
        constexpr std::array<std::string_view, 13> Known{
            "P", "q", "G", "h", "A", "b", "lb", "ub", "l", "x0", "constant", "names", "row_names"};
        for (const ZipMember& member : members) {
            std::string_view name = member.name;
            name.remove_suffix(name.ends_with(Suffix) ? Suffix.size() : 0);
            if (std::find(Known.begin(), Known.end(), name) == Known.end()) {
                throw ReadError(
                    file, 0,
                    "expected a part of a problem, P, q, G, ... (docs/files.md), found " +
                        quoted(member.name));
            }
            if (!isPickledNone(member.bytes)) {
                if (!arrays_.emplace(name, parseNpy(member.bytes, place(std::string(name))))
                         .second) {
                    fail(std::string(name), "expected one member of this name, found two");
                }
            }
        }
    }

    Model run(std::size_t limit) {
        const auto P = matrix("P");
        const auto G = matrix("G");
        const auto A = matrix("A");
        const auto q = vector("q");
        const auto lower = vector("lb");
        const auto upper = vector("ub");
        static_cast<void>(vector("x0"));  // a start is no part of a problem
        setSizes({P ? P->columns : 0, q ? q->rows : 0, G ? G->columns : 0, A ? A->columns : 0,
                  lower ? lower->rows : 0, upper ? upper->rows : 0});
        // Each row has bytes in the file from here on, so their number can be trusted.
        requireSize("G", G ? G->columns : n_, n_);
        requireSize("A", A ? A->columns : n_, n_);
        const std::size_t m = (G ? G->rows : 0) + (A ? A->rows : 0);
        checkDenseSize(n_, 2 * m, limit, file_);
        setNames(m);
        model_.c = completed("q", q, n_, 0.0, 0.0);
        model_.lower = completed("lb", lower, n_, -Infinite, -Infinite);
        model_.upper = completed("ub", upper, n_, Infinite, Infinite);
        requireOrder("lb", model_.lower, model_.upper);
        setHessian(P);
        setRows(G, A);
        if (const auto constant = vector("constant")) {
            requireSize("constant", constant->rows, 1);
            model_.constant = finite("constant", constant->values).front();
        }
        return std::move(model_);
    }

private:
    [[nodiscard]] std::string place(const std::string& name) const {
        return file_ + ": " + name + std::string(Suffix);
    }
    [[noreturn]] void fail(const std::string& name, const std::string& message) const {
        throw ReadError(place(name), 0, message);
    }
    [[nodiscard]] const NpyArray* array(const std::string& name) const {
        const auto found = arrays_.find(name);
        return found == arrays_.end() ? nullptr : &found->second;
    }

    /// Numbers in one dimension; a single one may have none, and a column may be a matrix.
    [[nodiscard]] std::optional<Part> vector(const std::string& name) const {
        const NpyArray* const found = array(name);
        if (found == nullptr) {
            return {};
        }
        const std::vector<std::size_t>& shape = found->shape;
        if (shape.size() > 2 || (shape.size() == 2 && shape[1] != 1)) {
            fail(name, "expected a vector, found " + shapeText(*found));
        }
        return Part{found->count(), 1, numbersOf(*found, place(name))};
    }
    /// Numbers in two dimensions; one dimension is a row.
    [[nodiscard]] std::optional<Part> matrix(const std::string& name) const {
        const NpyArray* const found = array(name);
        if (found == nullptr) {
            return {};
        }
        if (found->shape.empty() || found->shape.size() > 2) {
            fail(name, "expected a matrix, found " + shapeText(*found));
        }
        const bool isRow = found->shape.size() == 1;
        return Part{isRow ? 1 : found->shape[0], found->shape.back(),
                    finite(name, numbersOf(*found, place(name)))};
    }
    static std::string shapeText(const NpyArray& array) {
        std::string text;
        for (const std::size_t size : array.shape) {
            text += (text.empty() ? "" : ", ") + std::to_string(size);
        }
        return "the shape (" + text + ")";
    }

    [[nodiscard]] Numbers finite(const std::string& name, Numbers values) const {
        for (std::size_t k = 0; k < values.size(); ++k) {
            if (!std::isfinite(values[k])) {
                fail(name, "entry " + std::to_string(k) + ": expected a finite number");
            }
        }
        return values;
    }
    void requireSize(const std::string& name, std::size_t size, std::size_t expected) const {
        if (size != expected) {
            fail(name,
                 "has the size " + std::to_string(size) + ", expected " + std::to_string(expected));
        }
    }
    /// The part, or `absent` everywhere. Entries may be infinite only if `absent` is, with the sign
    /// of `open`.
    [[nodiscard]] Numbers completed(const std::string& name,
                                    const std::optional<Part>& part,
                                    std::size_t size,
                                    double absent,
                                    double open) const {
        Numbers values(size, absent);
        if (!part) {
            return values;
        }
        requireSize(name, part->rows, size);
        if (open == 0.0) {
            return finite(name, part->values);
        }
        values = part->values;
        for (std::size_t k = 0; k < size; ++k) {
            if (std::abs(values[k]) >= InfiniteBound) {
                values[k] = std::copysign(Infinite, values[k]);
            }
            if (values[k] == -open) {
                fail(name, "entry " + std::to_string(k) + ": expected a side that can be reached");
            }
        }
        return values;
    }
    void requireOrder(const char* name, const Numbers& lower, const Numbers& upper) const {
        for (std::size_t k = 0; k < lower.size(); ++k) {
            if (lower[k] > upper[k]) {
                fail(name, "entry " + std::to_string(k) +
                               ": expected a lower side that is not above the upper one");
            }
        }
    }

    void setSizes(std::initializer_list<std::size_t> widths) {
        n_ = *std::find_if(widths.begin(), widths.end() - 1, [](std::size_t n) { return n != 0; });
        if (n_ == 0) {
            throw ReadError(file_, 0, "no variables; expected P, q, G, A, lb or ub");
        }
    }
    void setNames(std::size_t m) {
        model_.variables = namesOf("names", n_, 'x');
        model_.rows = namesOf("row_names", m, 'r');
    }
    [[nodiscard]] std::vector<std::string> namesOf(const std::string& name,
                                                   std::size_t count,
                                                   char letter) const {
        std::vector<std::string> names;
        const NpyArray* const found = array(name);
        if (found == nullptr) {
            for (std::size_t k = 0; k < count; ++k) {
                names.push_back(letter + std::to_string(k + 1));
            }
            return names;
        }
        requireSize(name, found->count(), count);
        names = textsOf(*found, place(name));
        std::unordered_set<std::string> known;
        for (const std::string& text : names) {
            if (text.empty() || !known.insert(text).second) {
                fail(name, "expected a name that is new, found " + quoted(text));
            }
        }
        return names;
    }

    /// P as it is. Halves that differ by rounding become their mean, as in a solve.
    void setHessian(const std::optional<Part>& P) {
        constexpr double SymmetryTolerance = 1e-10;  // of the largest entry
        model_.H.assign(n_ * n_, 0.0);
        if (!P) {
            return;
        }
        requireSize("P", P->rows, n_);
        requireSize("P", P->columns, n_);
        model_.H = P->values;
        double largest = 0.0;
        for (const double value : model_.H) {
            largest = std::max(largest, std::abs(value));
        }
        for (std::size_t j = 0; j < n_; ++j) {
            for (std::size_t i = 0; i < j; ++i) {
                double& above = model_.H[j * n_ + i];
                double& below = model_.H[i * n_ + j];
                if (std::abs(above - below) > SymmetryTolerance * largest) {
                    fail("P", "entries (" + std::to_string(i) + ", " + std::to_string(j) +
                                  ") and its mirror differ, expected a symmetric matrix");
                }
                if (above != below) {
                    above = below = 0.5 * above + 0.5 * below;
                }
            }
        }
    }
    /// l ≤ G·x ≤ h above A·x = b.
    void setRows(const std::optional<Part>& G, const std::optional<Part>& A) {
        const std::size_t inequalities = G ? G->rows : 0;
        const std::size_t equalities = A ? A->rows : 0;
        const std::size_t m = inequalities + equalities;
        model_.rowUpper = completed("h", sidesOf("h", G), inequalities, Infinite, Infinite);
        model_.rowLower = completed("l", sidesOf("l", G), inequalities, -Infinite, -Infinite);
        requireOrder("l", model_.rowLower, model_.rowUpper);
        const auto b = vector("b");
        if (A.has_value() != b.has_value()) {
            fail(A ? "A" : "b", "expected A and b, or neither");
        }
        const Numbers right = completed("b", b, equalities, 0.0, 0.0);
        model_.rowUpper.insert(model_.rowUpper.end(), right.begin(), right.end());
        model_.rowLower.insert(model_.rowLower.end(), right.begin(), right.end());
        model_.A.assign(m * n_, 0.0);
        copyRows("G", G, 0, m);
        copyRows("A", A, inequalities, m);
    }
    [[nodiscard]] std::optional<Part> sidesOf(const std::string& name,
                                              const std::optional<Part>& G) const {
        std::optional<Part> sides = vector(name);
        if (sides && !G) {
            fail(name, "expected G beside it");
        }
        return sides;
    }
    void copyRows(const std::string& name,
                  const std::optional<Part>& from,
                  std::size_t first,
                  std::size_t m) {
        if (!from) {
            return;
        }
        requireSize(name, from->columns, n_);
        for (std::size_t j = 0; j < n_; ++j) {
            std::copy_n(from->values.begin() + static_cast<std::ptrdiff_t>(j * from->rows),
                        from->rows, model_.A.begin() + static_cast<std::ptrdiff_t>(j * m + first));
        }
    }

    const std::string& file_;
    std::map<std::string, NpyArray> arrays_{};
    std::size_t n_ = 0;
    Model model_{};
};

}  // namespace

Model readNpz(std::string_view text, const std::string& file, const ReadLimits& limits) {
    const std::vector<ZipMember> members = unzipped(text, file, limits.textBytes);
    return NpzReader(members, file).run(limits.denseBytes);
}

}  // namespace activeset::io
