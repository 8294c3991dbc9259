// MPS files in free format.
#include <algorithm>
#include <cmath>

#include "io/writer.hpp"

namespace activeset::io {

namespace {

/// Whether the free format can hold the name: a blank would end it.
bool isWord(const std::string& name) {
    return !name.empty() && name.size() <= 255 && name.front() != '*' && name.front() != '$' &&
           std::none_of(name.begin(), name.end(),
                        [](char c) { return static_cast<unsigned char>(c) <= 0x20; });
}

class MpsText {
public:
    explicit MpsText(const Model& model)
        : model_(model),
          sign_(model.maximise ? -1.0 : 1.0),
          rows_(usableNames(model.rows, 'r', isWord)),
          columns_(usableNames(model.variables, 'x', isWord)) {
        for (objective_ = "obj";
             std::find(rows_.begin(), rows_.end(), objective_) != rows_.end();) {
            objective_ += '_';
        }
    }

    std::string text() {
        text_ = "NAME " + (isWord(model_.name) ? model_.name : "model") + " FREE\n";
        text_ += model_.maximise ? "OBJSENSE MAX\n" : "";
        addRows();
        addColumns();
        addSides();
        addBounds();
        addHessian();
        return std::move(text_) + "ENDATA\n";
    }

private:
    [[nodiscard]] bool isEqual(std::size_t i) const {
        return model_.rowLower[i] == model_.rowUpper[i];
    }
    [[nodiscard]] bool isUpper(std::size_t i) const { return std::isfinite(model_.rowUpper[i]); }
    void line(const std::string& first, const std::string& second, double value) {
        text_ += " " + first + " " + second + " " + exactNumber(value) + "\n";
    }

    void addRows() {
        text_ += "ROWS\n N " + objective_ + "\n";
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            text_ += (isEqual(i) ? " E " : isUpper(i) ? " L " : " G ") + rows_[i] + "\n";
        }
    }
    void addColumns() {
        text_ += "COLUMNS\n";
        for (std::size_t j = 0; j < columns_.size(); ++j) {
            line(columns_[j], objective_, sign_ * model_.c[j]);
            for (std::size_t i = 0; i < rows_.size(); ++i) {
                const double value = model_.A[j * rows_.size() + i];
                if (value != 0.0) {
                    line(columns_[j], rows_[i], value);
                }
            }
        }
    }
    /// A row without sides has the type of ≥, with the side −∞.
    void addSides() {
        text_ += "RHS\n";
        if (model_.constant != 0.0) {
            line("rhs", objective_, -sign_ * model_.constant);
        }
        std::string ranges;
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            const double lower = model_.rowLower[i];
            const double upper = model_.rowUpper[i];
            const double side = isUpper(i) ? upper : lower;
            if (side != 0.0) {
                line("rhs", rows_[i], side);
            }
            if (isUpper(i) && std::isfinite(lower) && !isEqual(i)) {
                ranges += " rng " + rows_[i] + " " + exactNumber(upper - lower) + "\n";
            }
        }
        text_ += ranges.empty() ? "" : "RANGES\n" + ranges;
    }
    void addBounds() {
        text_ += "BOUNDS\n";
        for (std::size_t j = 0; j < columns_.size(); ++j) {
            const double lower = model_.lower[j];
            const double upper = model_.upper[j];
            if (lower == upper) {
                line("FX bnd", columns_[j], lower);
                continue;
            }
            if (std::isinf(lower)) {
                text_ += " MI bnd " + columns_[j] + "\n";
            } else if (lower != 0.0 || upper < 0.0) {
                line("LO bnd", columns_[j], lower);
            }
            if (std::isfinite(upper)) {
                line("UP bnd", columns_[j], upper);
            }
        }
    }
    void addHessian() {
        const std::size_t n = columns_.size();
        std::string entries;
        for (std::size_t j = 0; j < n; ++j) {
            for (std::size_t i = j; i < n; ++i) {
                const double value = sign_ * model_.H[j * n + i];
                if (value != 0.0) {
                    entries +=
                        " " + columns_[j] + " " + columns_[i] + " " + exactNumber(value) + "\n";
                }
            }
        }
        text_ += entries.empty() ? "" : "QUADOBJ\n" + entries;
    }

    const Model& model_;
    double sign_;
    std::vector<std::string> rows_;
    std::vector<std::string> columns_;
    std::string objective_;
    std::string text_{};
};

}  // namespace

std::string mpsText(const Model& model) {
    return MpsText(model).text();
}

}  // namespace activeset::io
