// Problems in JSON, as docs/files.md describes them: read and written.
#include <cmath>
#include <limits>
#include <optional>
#include <set>

#include "io/dense_form.hpp"
#include "io/format_readers.hpp"
#include "io/json_cursor.hpp"
#include "io/json_parts.hpp"
#include "io/location.hpp"
#include "io/writer.hpp"

namespace activeset::io {

namespace {

/// The first version, and the one that has penalties.
constexpr const char* Schema = "activeset-problem/1";
constexpr const char* SoftSchema = "activeset-problem/2";
constexpr double Infinite = std::numeric_limits<double>::infinity();

using Numbers = std::vector<double>;

class JsonReader {
public:
    JsonReader(std::string_view text, const std::string& file, std::size_t limit)
        : cursor_(text, file), file_(file), limit_(limit) {}

    Model run() {
        cursor_.open('{');
        bool isFirst = true;
        while (cursor_.another('}', isFirst)) {
            readMember(cursor_.key());
        }
        cursor_.end();
        if (!hasSchema_) {
            throw ReadError(
                file_, 0,
                R"(expected "schema": ")" + std::string(Schema) + R"(" or ")" + SoftSchema + '"');
        }
        return finished();
    }

private:
    void readMember(const std::string& key) {
        const std::size_t offset = cursor_.offset();
        if (!members_.insert(key).second) {
            cursor_.failAt(offset, "a second member " + quoted(key));
        }
        if (key == "schema") {
            readSchema();
        } else if (key == "name") {
            model_.name = cursor_.string();
        } else if (key == "sense") {
            readSense();
        } else if (key == "constant") {
            model_.constant = cursor_.number();
        } else if (key == "variables") {
            model_.variables = readJsonNames(cursor_);
        } else if (key == "rows") {
            model_.rows = readJsonNames(cursor_);
        } else if (!readNumbers(key)) {
            cursor_.failAt(offset,
                           "expected a member that docs/files.md lists, found " + quoted(key));
        }
    }
    /// False for a key that is none of a part with numbers.
    bool readNumbers(const std::string& key) {
        if (key == "H" || key == "A") {
            (key == "H" ? H_ : A_) = readJsonRows(cursor_);
        } else if (key == "c") {
            c_ = readJsonVector(cursor_, false);
        } else if (key == "row_lower" || key == "row_upper") {
            (key == "row_lower" ? rowLower_ : rowUpper_) = readJsonVector(cursor_, true);
        } else if (key == "lower" || key == "upper") {
            (key == "lower" ? lower_ : upper_) = readJsonVector(cursor_, true);
        } else if (key == "row_penalty" || key == "bound_penalty") {
            (key == "row_penalty" ? rowPenalty_ : boundPenalty_) = readJsonPenalty(cursor_);
        } else {
            return false;
        }
        return true;
    }

    void readSchema() {
        const std::size_t offset = cursor_.offset();
        const std::string schema = cursor_.string();
        isSoftSchema_ = schema == SoftSchema;
        hasSchema_ = isSoftSchema_ || schema == Schema;
        if (!hasSchema_) {
            cursor_.failAt(offset, R"(expected the schema ")" + std::string(Schema) + R"(" or ")" +
                                       SoftSchema + '"');
        }
    }
    void readSense() {
        const std::size_t offset = cursor_.offset();
        const std::string sense = cursor_.string();
        model_.maximise = sense == "max";
        if (!model_.maximise && sense != "min") {
            cursor_.failAt(offset, R"(expected "min" or "max", found )" + quoted(sense));
        }
    }
    void require(std::size_t offset,
                 const char* part,
                 std::size_t size,
                 std::size_t expected) const {
        if (size != expected) {
            cursor_.failAt(offset, std::string(part) + " has the size " + std::to_string(size) +
                                       ", expected " + std::to_string(expected));
        }
    }
    Numbers completed(const std::optional<JsonVector>& part,
                      const char* name,
                      std::size_t size,
                      double absent) const {
        Numbers values(size, absent);
        if (part) {
            require(part->offset, name, part->values.size(), size);
            values = part->values;
        }
        return values;
    }
    static void fillNames(std::vector<std::string>& names, std::size_t count, char letter) {
        const bool isFilled = !names.empty();
        for (std::size_t k = 0; !isFilled && k < count; ++k) {
            names.push_back(letter + std::to_string(k + 1));
        }
    }

    Model finished() {
        const std::size_t n = c_                          ? c_->values.size()
                              : H_                        ? H_->rows
                              : !model_.variables.empty() ? model_.variables.size()
                              : A_                        ? A_->columns
                                                          : 0;
        const std::size_t m = A_ ? A_->rows : 0;
        if (n == 0) {
            throw ReadError(file_, 0, "no variables; expected c, H, A or variables");
        }
        checkDenseSize(n, 2 * m, limit_, file_);
        fillNames(model_.variables, n, 'x');
        fillNames(model_.rows, m, 'r');
        require(0, "variables", model_.variables.size(), n);
        require(0, "rows", model_.rows.size(), m);
        const double sign = model_.maximise ? -1.0 : 1.0;
        model_.constant *= sign;
        model_.c = completed(c_, "c", n, 0.0);
        for (double& value : model_.c) {
            value *= sign;
        }
        model_.rowLower = completed(rowLower_, "row_lower", m, -Infinite);
        model_.rowUpper = completed(rowUpper_, "row_upper", m, Infinite);
        model_.lower = completed(lower_, "lower", n, -Infinite);
        model_.upper = completed(upper_, "upper", n, Infinite);
        checkSides(model_.rowLower, model_.rowUpper, rowLower_ ? rowLower_->offset : 0);
        checkSides(model_.lower, model_.upper, lower_ ? lower_->offset : 0);
        model_.rowPenalty =
            checked(rowPenalty_, m, {"row_lower", rowLower_}, {"row_upper", rowUpper_});
        model_.boundPenalty = checked(boundPenalty_, n, {"lower", lower_}, {"upper", upper_});
        fillMatrices(n, m, sign);
        return std::move(model_);
    }
    /// Sides, and the name that they have in files.
    struct Sides {
        const char* name;
        const std::optional<JsonVector>& given;
    };
    Penalties checked(std::optional<JsonPenalty>& penalty,
                      std::size_t size,
                      const Sides& lower,
                      const Sides& upper) const {
        if (!penalty) {
            return {};
        }
        if (!isSoftSchema_) {
            cursor_.failAt(penalty->offset,
                           R"(a penalty needs the schema ")" + std::string(SoftSchema) + '"');
        }
        for (std::size_t k = 0; k < PenaltyParts.size(); ++k) {
            if (penalty->isGiven.at(k)) {
                const PenaltyPart& part = PenaltyParts.at(k);
                const Numbers& values = penalty->parts.*(part.values);
                require(penalty->offset, part.name, values.size(), size);
                const Sides& sides = part.isLower ? lower : upper;
                if (!sides.given) {
                    cursor_.failAt(penalty->offset, std::string(part.name) + ": expected " +
                                                        sides.name + " beside it");
                }
            }
        }
        return std::move(penalty->parts);
    }
    void checkSides(const Numbers& lower, const Numbers& upper, std::size_t offset) const {
        for (std::size_t k = 0; k < lower.size(); ++k) {
            if (lower[k] > upper[k] || lower[k] == Infinite || upper[k] == -Infinite) {
                cursor_.failAt(offset,
                               "entry " + std::to_string(k) +
                                   ": expected a lower side that is not above the upper one");
            }
        }
    }
    void fillMatrices(std::size_t n, std::size_t m, double sign) {
        model_.A.assign(m * n, 0.0);
        if (A_ && m > 0) {
            require(A_->offset, "A, columns,", A_->columns, n);
            for (std::size_t i = 0; i < m; ++i) {
                for (std::size_t j = 0; j < n; ++j) {
                    model_.A[j * m + i] = A_->values[i * n + j];
                }
            }
        }
        model_.H.assign(n * n, 0.0);
        if (!H_) {
            return;
        }
        require(H_->offset, "H, rows,", H_->rows, n);
        require(H_->offset, "H, columns,", H_->columns, n);
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j < n; ++j) {
                if (H_->values[i * n + j] != H_->values[j * n + i]) {
                    cursor_.failAt(H_->offset, "H is not symmetric: entries (" + std::to_string(i) +
                                                   ", " + std::to_string(j) + ") and its mirror");
                }
                model_.H[j * n + i] = sign * H_->values[i * n + j];
            }
        }
    }

    JsonCursor cursor_;
    const std::string& file_;
    std::size_t limit_;
    std::set<std::string> members_{};  ///< those that were met
    bool hasSchema_ = false;
    bool isSoftSchema_ = false;
    Model model_{};
    std::optional<JsonRows> H_{}, A_{};
    std::optional<JsonVector> c_{}, rowLower_{}, rowUpper_{}, lower_{}, upper_{};
    std::optional<JsonPenalty> rowPenalty_{}, boundPenalty_{};
};

}  // namespace

Model readJson(std::string_view text, const std::string& file, const ReadLimits& limits) {
    return JsonReader(text, file, limits.denseBytes).run();
}

}  // namespace activeset::io
