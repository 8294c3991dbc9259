// Rows become equalities and inequalities, sparse entries fill dense matrices.
#include "io/dense_form.hpp"

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
std::vector<RowTargets> placeRows(Problem& problem,
                                  const LinearPart& linear,
                                  const std::vector<std::string>& names) {
    std::vector<RowTargets> targets(linear.rows, {AbsentRow, AbsentRow, AbsentRow});
    for (std::size_t row = 0; row < linear.rows; ++row) {
        const double lower = linear.rowLower[row];
        const double upper = linear.rowUpper[row];
        if (lower == upper) {
            targets[row].equality = problem.mEq++;
            problem.beq.push_back(upper);
            problem.equalityNames.push_back(names[row]);
            continue;
        }
        if (std::isfinite(upper)) {
            targets[row].upper = problem.mIneq++;
            problem.b.push_back(upper);
            problem.inequalities.push_back({names[row], true});
        }
        if (std::isfinite(lower)) {
            targets[row].lower = problem.mIneq++;
            problem.b.push_back(-lower);
            problem.inequalities.push_back({names[row], false});
        }
    }
    return targets;
}

void checkSize(const Problem& problem, std::size_t limit, const std::string& file) {
    constexpr double Megabyte = 1048576.0;
    const auto n = static_cast<double>(problem.n);
    const auto rows = static_cast<double>(problem.n + problem.mIneq + problem.mEq);
    const double bytes = n * rows * sizeof(double);
    if (bytes > static_cast<double>(limit)) {
        const auto inMegabytes = [](double value) {
            return std::to_string(static_cast<long long>(std::ceil(value / Megabyte))) + " MB";
        };
        Location{file, 0}.fail("out of memory: the dense matrices of " + std::to_string(problem.n) +
                               " variables would take " + inMegabytes(bytes) + ", more than the " +
                               inMegabytes(static_cast<double>(limit)) + " allowed");
    }
}

void fillRows(Problem& problem, const LinearPart& linear, const std::vector<RowTargets>& targets) {
    problem.A.assign(problem.mIneq * problem.n, 0.0);
    problem.Aeq.assign(problem.mEq * problem.n, 0.0);
    for (const MatrixEntry& entry : linear.entries) {
        const RowTargets& target = targets[entry.row];
        if (target.equality != AbsentRow) {
            problem.Aeq[entry.column * problem.mEq + target.equality] = entry.value;
        }
        if (target.upper != AbsentRow) {
            problem.A[entry.column * problem.mIneq + target.upper] = entry.value;
        }
        if (target.lower != AbsentRow) {
            problem.A[entry.column * problem.mIneq + target.lower] = -entry.value;
        }
    }
}

}  // namespace

Problem denseForm(ScannedFile scanned,
                  LinearPart linear,
                  std::size_t limit,
                  const std::string& file) {
    Problem problem;
    problem.n = linear.columns;
    const std::vector<RowTargets> targets = placeRows(problem, linear, scanned.rowNames);
    checkSize(problem, limit, file);
    fillRows(problem, linear, targets);

    const double sign = scanned.maximise ? -1.0 : 1.0;
    problem.H.assign(problem.n * problem.n, 0.0);
    for (const MatrixEntry& entry : scanned.hessian) {
        problem.H[entry.column * problem.n + entry.row] = sign * entry.value;
    }
    problem.c = std::move(linear.objective);
    for (double& coefficient : problem.c) {
        coefficient *= sign;
    }
    problem.constant = sign * linear.constant;
    problem.lb = std::move(linear.columnLower);
    problem.ub = std::move(linear.columnUpper);

    problem.name = std::move(scanned.name);
    problem.maximise = scanned.maximise;
    problem.variableNames = std::move(scanned.columnNames);
    problem.notes = std::move(scanned.notes);
    return problem;
}

}  // namespace activeset::io
