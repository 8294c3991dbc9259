// Sparse entries fill dense matrices.
#include "io/dense_form.hpp"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "io/location.hpp"

namespace activeset::io {

namespace {

/// The number of sides of all rows. A row whose sides are equal has one.
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

}  // namespace activeset::io
