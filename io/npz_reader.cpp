// Problems as archives of arrays. The parts have the letters of the Python interface.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "io/coin_deck.hpp"
#include "io/dense_form.hpp"
#include "io/format_readers.hpp"
#include "io/npz_members.hpp"
#include "io/npz_penalties.hpp"
#include "io/read_error.hpp"
#include "io/zip_archive.hpp"

namespace activeset::io {

namespace {

using Numbers = std::vector<double>;
using Part = NpzPart;

constexpr double Infinite = std::numeric_limits<double>::infinity();

bool isPart(std::string_view name) {
    constexpr std::array<std::string_view, 13> Known{
        "P", "q", "G", "h", "A", "b", "lb", "ub", "l", "x0", "constant", "names", "row_names"};
    return std::find(Known.begin(), Known.end(), name) != Known.end() || isPenaltyMember(name);
}

class NpzReader {
public:
    NpzReader(const std::vector<ZipMember>& members, const std::string& file)
        : members_(members, file, isPart) {}

    Model run(std::size_t limit) {
        const auto P = members_.matrix("P");
        const auto G = members_.matrix("G");
        const auto A = members_.matrix("A");
        const auto q = members_.vector("q");
        const auto lower = members_.vector("lb");
        const auto upper = members_.vector("ub");
        static_cast<void>(members_.vector("x0"));  // a start is no part of a problem
        setSizes({P ? P->columns : 0, q ? q->rows : 0, G ? G->columns : 0, A ? A->columns : 0,
                  lower ? lower->rows : 0, upper ? upper->rows : 0});
        // Each row has bytes in the file from here on, so their number can be trusted.
        members_.requireSize("G", G ? G->columns : n_, n_);
        members_.requireSize("A", A ? A->columns : n_, n_);
        const std::size_t m = (G ? G->rows : 0) + (A ? A->rows : 0);
        checkDenseSize(n_, 2 * m, limit, members_.file());
        model_.variables = members_.names("names", n_, 'x');
        model_.rows = members_.names("row_names", m, 'r');
        model_.c = completed("q", q, n_, 0.0, 0.0);
        model_.lower = completed("lb", lower, n_, -Infinite, -Infinite);
        model_.upper = completed("ub", upper, n_, Infinite, Infinite);
        requireOrder("lb", model_.lower, model_.upper);
        setHessian(P);
        setRows(G, A);
        readPenalties(members_, G ? G->rows : 0, A ? A->rows : 0, model_);
        if (const auto constant = members_.vector("constant")) {
            members_.requireSize("constant", constant->rows, 1);
            model_.constant = members_.finite("constant", constant->values).front();
        }
        return std::move(model_);
    }

private:
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
        members_.requireSize(name, part->rows, size);
        if (open == 0.0) {
            return members_.finite(name, part->values);
        }
        values = part->values;
        for (std::size_t k = 0; k < size; ++k) {
            if (std::abs(values[k]) >= InfiniteBound) {
                values[k] = std::copysign(Infinite, values[k]);
            }
            if (values[k] == -open) {
                members_.failAt(name, k, "expected a side that can be reached");
            }
        }
        return values;
    }
    void requireOrder(const char* name, const Numbers& lower, const Numbers& upper) const {
        for (std::size_t k = 0; k < lower.size(); ++k) {
            if (lower[k] > upper[k]) {
                members_.failAt(name, k, "expected a lower side that is not above the upper one");
            }
        }
    }

    void setSizes(std::initializer_list<std::size_t> widths) {
        n_ = *std::find_if(widths.begin(), widths.end() - 1, [](std::size_t n) { return n != 0; });
        if (n_ == 0) {
            throw ReadError(members_.file(), 0, "no variables; expected P, q, G, A, lb or ub");
        }
    }
    /// P as it is. Halves that differ by rounding become their mean, as in a solve.
    void setHessian(const std::optional<Part>& P) {
        constexpr double SymmetryTolerance = 1e-10;  // of the largest entry
        model_.H.assign(n_ * n_, 0.0);
        if (!P) {
            return;
        }
        members_.requireSize("P", P->rows, n_);
        members_.requireSize("P", P->columns, n_);
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
                    members_.fail("P", "entries (" + std::to_string(i) + ", " + std::to_string(j) +
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
        const auto b = members_.vector("b");
        if (A.has_value() != b.has_value()) {
            members_.fail(A ? "A" : "b", "expected A and b, or neither");
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
        std::optional<Part> sides = members_.vector(name);
        if (sides && !G) {
            members_.fail(name, "expected G beside it");
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
        members_.requireSize(name, from->columns, n_);
        for (std::size_t j = 0; j < n_; ++j) {
            std::copy_n(from->values.begin() + static_cast<std::ptrdiff_t>(j * from->rows),
                        from->rows, model_.A.begin() + static_cast<std::ptrdiff_t>(j * m + first));
        }
    }

    NpzMembers members_;
    std::size_t n_ = 0;
    Model model_{};
};

}  // namespace

Model readNpz(std::string_view text, const std::string& file, const ReadLimits& limits) {
    const std::vector<ZipMember> members = unzipped(text, file, limits.textBytes);
    return NpzReader(members, file).run(limits.denseBytes);
}

}  // namespace activeset::io
