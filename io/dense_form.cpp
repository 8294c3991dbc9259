// Sparse entries fill dense matrices; rows with two sides become equalities and inequalities.
#include "io/dense_form.hpp"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "io/location.hpp"

namespace activeset::io {

namespace {

/// Where the sides of a row of the file go; AbsentRow where there is none.
struct RowTargets {
    std::size_t equality;
    std::size_t upper;
    std::size_t lower;
};
constexpr std::size_t AbsentRow = static_cast<std::size_t>(-1);

/// Gives every side of every row its place in the dense form, with its right-hand side and name.
std::vector<RowTargets> placeRows(Problem& problem, const Model& model) {
    std::vector<RowTargets> targets(model.m(), {AbsentRow, AbsentRow, AbsentRow});
    for (std::size_t row = 0; row < model.m(); ++row) {
        const double lower = model.rowLower[row];
        const double upper = model.rowUpper[row];
        if (lower == upper) {
            targets[row].equality = problem.mEq++;
            problem.beq.push_back(upper);
            problem.equalityNames.push_back(model.rows[row]);
            continue;
        }
        if (std::isfinite(upper)) {
            targets[row].upper = problem.mIneq++;
            problem.b.push_back(upper);
            problem.inequalities.push_back({model.rows[row], true});
        }
        if (std::isfinite(lower)) {
            targets[row].lower = problem.mIneq++;
            problem.b.push_back(-lower);
            problem.inequalities.push_back({model.rows[row], false});
        }
    }
    return targets;
}

void fillRows(Problem& problem, const Model& model, const std::vector<RowTargets>& targets) {
    problem.A.assign(problem.mIneq * problem.n, 0.0);
    problem.Aeq.assign(problem.mEq * problem.n, 0.0);
    for (std::size_t column = 0; column < problem.n; ++column) {
        for (std::size_t row = 0; row < model.m(); ++row) {
            const double value = model.A[column * model.m() + row];
            const RowTargets& target = targets[row];
            if (value == 0.0) {
                continue;
            }
            if (target.equality != AbsentRow) {
                problem.Aeq[column * problem.mEq + target.equality] = value;
            }
            if (target.upper != AbsentRow) {
                problem.A[column * problem.mIneq + target.upper] = value;
            }
            if (target.lower != AbsentRow) {
                problem.A[column * problem.mIneq + target.lower] = -value;
            }
        }
    }
}

/// Of all rows; one whose sides are equal has one side.
std::size_t sidesIn(const LinearPart& linear) {
    std::size_t sides = 0;
    for (std::size_t row = 0; row < linear.rows; ++row) {
        const double lower = linear.rowLower[row];
        const double upper = linear.rowUpper[row];
        sides += lower == upper
                     ? 1U
                     : 0U + (std::isfinite(lower) ? 1U : 0U) + (std::isfinite(upper) ? 1U : 0U);
    }
    return sides;
}

}  // namespace

void checkDenseSize(std::size_t variables,
                    std::size_t sides,
                    std::size_t limit,
                    const std::string& file) {
    constexpr double Megabyte = 1048576.0;
    const auto n = static_cast<double>(variables);
    const double bytes = n * (n + static_cast<double>(sides)) * sizeof(double);
    if (bytes > static_cast<double>(limit)) {
        const auto inMegabytes = [](double value) {
            constexpr double Most = 1e18;
            const double size = std::ceil(std::min(value / Megabyte, Most));
            return std::to_string(static_cast<long long>(size)) + " MB";
        };
        Location{file, 0}.fail("out of memory: the dense matrices of " + std::to_string(variables) +
                               " variables would take " + inMegabytes(bytes) + ", more than the " +
                               inMegabytes(static_cast<double>(limit)) + " allowed");
    }
}

Model modelOf(ScannedFile scanned, LinearPart linear, std::size_t limit, const std::string& file) {
    const std::size_t n = linear.columns;
    checkDenseSize(n, std::max(sidesIn(linear), linear.rows), limit, file);
    Model model;
    model.A.assign(linear.rows * n, 0.0);
    for (const MatrixEntry& entry : linear.entries) {
        model.A[entry.column * linear.rows + entry.row] += entry.value;
    }
    const double sign = scanned.maximise ? -1.0 : 1.0;
    model.H.assign(n * n, 0.0);
    for (const MatrixEntry& entry : scanned.hessian) {
        model.H[entry.column * n + entry.row] += sign * entry.value;
    }
    model.c = std::move(linear.objective);
    for (double& coefficient : model.c) {
        coefficient *= sign;
    }
    model.constant = sign * linear.constant;
    model.rowLower = std::move(linear.rowLower);
    model.rowUpper = std::move(linear.rowUpper);
    model.lower = std::move(linear.columnLower);
    model.upper = std::move(linear.columnUpper);
    model.name = std::move(scanned.name);
    model.maximise = scanned.maximise;
    model.variables = std::move(scanned.columnNames);
    model.rows = std::move(scanned.rowNames);
    model.notes = std::move(scanned.notes);
    return model;
}

Problem denseForm(const Model& model, const std::string& file) {
    const std::string soft = softMember(model);
    if (!soft.empty()) {
        throw ReadError(file, 0, soft + " is soft, and the dense form has no penalties");
    }
    Problem problem;
    problem.n = model.n();
    fillRows(problem, model, placeRows(problem, model));
    problem.H = model.H;
    problem.c = model.c;
    problem.constant = model.constant;
    problem.lb = model.lower;
    problem.ub = model.upper;
    problem.name = model.name;
    problem.maximise = model.maximise;
    problem.variableNames = model.variables;
    problem.notes = model.notes;
    return problem;
}

}  // namespace activeset::io
