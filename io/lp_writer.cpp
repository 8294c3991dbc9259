// LP files, a row a line.
#include <algorithm>
#include <cmath>

#include "io/lp_words.hpp"
#include "io/writer.hpp"

namespace activeset::io {

namespace {

/// Whether an LP file has this as a name, and not as a number, a word or two tokens.
bool isName(const std::string& name) {
    const bool isWord = lp::isOneOf(name, lp::RowWords) || lp::isOneOf(name, lp::BoundWords) ||
                        lp::isOneOf(name, lp::IntegerWords) || lp::isOneOf(name, lp::OtherWords) ||
                        lp::isOneOf(name, lp::InfinityWords) || lp::lowered(name) == "free" ||
                        lp::lowered(name) == "end" || lp::lowered(name) == "subject" ||
                        lp::lowered(name) == "such";
    return !name.empty() && name.size() <= lp::MaxNameLength && !isWord &&
           lp::beginsName(name.front()) && std::all_of(name.begin(), name.end(), lp::continuesName);
}

class LpText {
public:
    explicit LpText(const Model& model)
        : model_(model),
          sign_(model.maximise ? -1.0 : 1.0),
          rows_(usableNames(model.rows, 'r', isName)),
          names_(usableNames(model.variables, 'x', isName)) {}

    std::string text() {
        text_ = model_.maximise ? "max\n obj:" : "min\n obj:";
        addObjective();
        text_ += "\nst\n";
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            addRow(i);
        }
        text_ += "bounds\n";
        for (std::size_t j = 0; j < names_.size(); ++j) {
            addBound(j);
        }
        return std::move(text_) + "end\n";
    }

private:
    void term(double coefficient, const std::string& name) {
        text_ += coefficient < 0.0 ? " - " : " + ";
        text_ += exactNumber(std::abs(coefficient)) + (name.empty() ? "" : " " + name);
        breakLine();
    }
    void breakLine() {
        constexpr std::size_t Width = 80;
        if (text_.size() - std::min(text_.rfind('\n'), text_.size()) > Width) {
            text_ += "\n  ";
        }
    }
    /// Every variable is named here, so that they keep their order.
    void addObjective() {
        const std::size_t n = names_.size();
        for (std::size_t j = 0; j < n; ++j) {
            term(sign_ * model_.c[j], names_[j]);
        }
        if (model_.constant != 0.0) {
            term(sign_ * model_.constant, "");
        }
        bool isOpen = false;
        for (std::size_t j = 0; j < n; ++j) {
            for (std::size_t i = j; i < n; ++i) {
                const double value = sign_ * model_.H[j * n + i];
                if (value != 0.0) {
                    text_ += isOpen ? "" : " + [";
                    isOpen = true;
                    term(i == j ? value : 2.0 * value,
                         i == j ? names_[j] + "^2" : names_[j] + " * " + names_[i]);
                }
            }
        }
        text_ += isOpen ? " ] / 2" : "";
    }
    void addRow(std::size_t i) {
        const double lower = model_.rowLower[i];
        const double upper = model_.rowUpper[i];
        const bool isRange = std::isfinite(lower) && std::isfinite(upper) && lower != upper;
        text_ += " " + rows_[i] + ":";
        text_ += isRange ? " " + exactNumber(lower) + " <=" : "";
        bool isEmpty = true;
        for (std::size_t j = 0; j < names_.size(); ++j) {
            const double value = model_.A[j * rows_.size() + i];
            if (value != 0.0) {
                term(value, names_[j]);
                isEmpty = false;
            }
        }
        if (isEmpty) {
            term(0.0, names_.front());
        }
        if (lower == upper) {
            text_ += " = " + exactNumber(upper);
        } else if (std::isfinite(upper) || !std::isfinite(lower)) {
            text_ += " <= " + exactNumber(upper);
        } else {
            text_ += " >= " + exactNumber(lower);
        }
        text_ += "\n";
    }
    void addBound(std::size_t j) {
        const double lower = model_.lower[j];
        const double upper = model_.upper[j];
        if (std::isinf(lower) && std::isinf(upper)) {
            text_ += " " + names_[j] + " free\n";
        } else if (lower == upper) {
            text_ += " " + names_[j] + " = " + exactNumber(lower) + "\n";
        } else if (lower != 0.0 || std::isfinite(upper)) {
            text_ += " " + exactNumber(lower) + " <= " + names_[j] +
                     (std::isfinite(upper) ? " <= " + exactNumber(upper) : "") + "\n";
        }
    }

    const Model& model_;
    double sign_;
    std::vector<std::string> rows_;
    std::vector<std::string> names_;
    std::string text_{};
};

}  // namespace

std::string lpText(const Model& model) {
    return LpText(model).text();
}

}  // namespace activeset::io
