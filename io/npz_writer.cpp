// Writes problems as archives of arrays. The objective is to be minimised; inequalities come before
// equalities.
#include <algorithm>
#include <cmath>
#include <limits>

#include "io/npy_array.hpp"
#include "io/npz_penalties.hpp"
#include "io/penalties.hpp"
#include "io/writer.hpp"
#include "io/zip_archive.hpp"

namespace activeset::io {

namespace {

using Numbers = std::vector<double>;

/// Sides that are equal, and cost the same.
bool isEquality(const Model& model, std::size_t row) {
    const double side = model.rowUpper[row];
    return model.rowLower[row] == side &&
           lowerPrice(model.rowPenalty, row, side) == upperPrice(model.rowPenalty, row, side);
}

template <class Value>
std::vector<Value> picked(const std::vector<Value>& values, const std::vector<std::size_t>& rows) {
    std::vector<Value> result;
    result.reserve(rows.size());
    for (const std::size_t row : rows) {
        result.push_back(values[row]);
    }
    return result;
}

class NpzWriter {
public:
    explicit NpzWriter(const Model& model) : model_(model) {
        for (std::size_t row = 0; row < model.m(); ++row) {
            (isEquality(model, row) ? equalities_ : inequalities_).push_back(row);
        }
    }

    std::string run() {
        const std::size_t n = model_.n();
        if (std::any_of(model_.H.begin(), model_.H.end(), [](double x) { return x != 0.0; })) {
            add("P", npyBytes(model_.H, {n, n}));
        }
        addNumbers("q", model_.c);
        addRows("G", inequalities_);
        if (!inequalities_.empty()) {
            addNumbers("h", picked(model_.rowUpper, inequalities_));
            addSides("l", picked(model_.rowLower, inequalities_));
        }
        addRows("A", equalities_);
        if (!equalities_.empty()) {
            addNumbers("b", picked(model_.rowUpper, equalities_));
        }
        addSides("lb", model_.lower);
        addSides("ub", model_.upper);
        for (const auto& [name, values] : penaltyMembers(model_, inequalities_, equalities_)) {
            addNumbers(name, values);
        }
        add("constant", npyBytes(Numbers{model_.constant}, {}));
        add("names", npyBytes(usableNames(model_.variables, 'x', isNpyText)));
        std::vector<std::string> rows = picked(model_.rows, inequalities_);
        for (const std::size_t row : equalities_) {
            rows.push_back(model_.rows[row]);
        }
        if (!rows.empty()) {
            add("row_names", npyBytes(usableNames(rows, 'r', isNpyText)));
        }
        return zipped(members_);
    }

private:
    void add(const std::string& name, std::string bytes) {
        members_.push_back({name + ".npy", std::move(bytes)});
    }
    void addNumbers(const std::string& name, const Numbers& values) {
        add(name, npyBytes(values, {values.size()}));
    }
    /// Adds the sides, unless all of them are absent.
    void addSides(const char* name, const Numbers& values) {
        if (std::any_of(values.begin(), values.end(), [](double x) { return std::isfinite(x); })) {
            addNumbers(name, values);
        }
    }
    void addRows(const char* name, const std::vector<std::size_t>& rows) {
        if (rows.empty()) {
            return;
        }
        Numbers matrix;
        matrix.reserve(rows.size() * model_.n());
        for (std::size_t j = 0; j < model_.n(); ++j) {
            for (const std::size_t row : rows) {
                matrix.push_back(model_.A[j * model_.m() + row]);
            }
        }
        add(name, npyBytes(matrix, {rows.size(), model_.n()}));
    }

    const Model& model_;
    std::vector<std::size_t> inequalities_{};
    std::vector<std::size_t> equalities_{};
    std::vector<ZipMember> members_{};
};

}  // namespace

std::string npzText(const Model& model) {
    return NpzWriter(model).run();
}

}  // namespace activeset::io
