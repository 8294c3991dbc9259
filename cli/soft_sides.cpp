// Violations of soft sides, formed from the model and the point.
#include "cli/soft_sides.hpp"

#include "cli/words.hpp"

namespace activeset::cli {

namespace {

double rowValue(const io::Model& model, std::size_t row, const std::vector<double>& x) {
    double value = 0.0;
    for (std::size_t j = 0; j < model.n(); ++j) {
        value += model.A[j * model.m() + row] * x[j];
    }
    return value;
}

/// Absent parts cost nothing.
double priceAt(const std::vector<double>& part, std::size_t k) {
    return part.empty() ? 0.0 : part[k];
}

double costOf(const io::Penalties& penalty, Side side, std::size_t k, double violation) {
    const bool isLower = side == Side::Lower;
    const double linear = priceAt(isLower ? penalty.lowerLinear : penalty.upperLinear, k);
    const double quadratic = priceAt(isLower ? penalty.lowerQuadratic : penalty.upperQuadratic, k);
    return linear * violation + 0.5 * quadratic * violation * violation;
}

}  // namespace

ViolatedWords violatedWords(const io::Model& model, const Result& result) {
    ViolatedWords violated;
    const auto addRows = [&](const std::vector<std::size_t>& rows, Side side) {
        for (const std::size_t row : rows) {
            const double value = rowValue(model, row, result.x);
            const double by =
                side == Side::Lower ? model.rowLower[row] - value : value - model.rowUpper[row];
            violated.words.push_back(rowWords(model, row, side));
            violated.violations.push_back(by);
            violated.costs.push_back(costOf(model.rowPenalty, side, row, by));
        }
    };
    const auto addBounds = [&](const std::vector<std::size_t>& variables, Side side) {
        for (const std::size_t j : variables) {
            const double by =
                side == Side::Lower ? model.lower[j] - result.x[j] : result.x[j] - model.upper[j];
            violated.words.push_back(boundWords(model, j, side));
            violated.violations.push_back(by);
            violated.costs.push_back(costOf(model.boundPenalty, side, j, by));
        }
    };
    const ViolatedSides& sides = result.workingSet.softViolated;
    addRows(sides.rowsAtLower, Side::Lower);
    addRows(sides.rowsAtUpper, Side::Upper);
    addBounds(sides.atLower, Side::Lower);
    addBounds(sides.atUpper, Side::Upper);
    return violated;
}

}  // namespace activeset::cli
