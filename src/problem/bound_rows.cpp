// Products with the rows of bounds.
#include "problem/bound_rows.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "matrix/views.hpp"

namespace activeset {

namespace {

BoundRows boundRows(double sign,
                    const IndexList& index,
                    const OPTMatrix<double>& rhs,
                    size_t variables) {
    return {sign, index.get(), std::min(rhs.getRows(), index.capacity()), variables};
}

// All at once by a sum: v − v is zero for a finite entry and NaN for any other.
bool areFinite(std::span<const double> values) {
    double sum = 0.0;
    for (const double value : values) {
        sum += value - value;
    }
    return sum == 0.0;
}

}  // namespace

BoundRows lowerRows(const IndexList& index, const OPTMatrix<double>& rhs, size_t variables) {
    return boundRows(-1.0, index, rhs, variables);
}

BoundRows upperRows(const IndexList& index, const OPTMatrix<double>& rhs, size_t variables) {
    return boundRows(1.0, index, rhs, variables);
}

size_t BoundRows::variableOf(size_t k) const {
    if (index[k] >= variables) {
        raiseMatrixFault("Index exceed number of row.");
    }
    return index[k];
}

OPTMatrix<double> BoundRows::times(const OPTMatrix<double>& x) const {
    if (x.getRows() != variables || x.getCols() != 1) {
        raiseMatrixFault("Incompatible dimensions for matrix multiplication");
    }
    requireFull(x);
    OPTMatrix<double> result(count, 1, true);
    static_cast<void>(
        timesTo(std::span(x.getData(), variables), std::span(result.getData(), count)));
    return result;
}

bool BoundRows::timesTo(std::span<const double> x, std::span<double> out) const {
    if (x.size() != variables || out.size() != count) {
        return false;
    }
    const auto isNotFinite = [](double value) { return !std::isfinite(value); };
    const auto notFinite = areFinite(x) ? 0 : std::count_if(x.begin(), x.end(), isNotFinite);
    for (size_t k = 0; k < count; ++k) {
        const double value = x[variableOf(k)];
        out[k] = sign * value + 0.0;
        // The zeros of the row turn every infinite or NaN entry elsewhere into NaN.
        if (notFinite > (isNotFinite(value) ? 1 : 0)) {
            out[k] = std::numeric_limits<double>::quiet_NaN();
        }
    }
    return true;
}

OPTMatrix<double> BoundRows::row(size_t k) const {
    OPTMatrix<double> result(1, variables, true);
    rowTo(k, std::span(result.getData(), variables));
    return result;
}

void BoundRows::rowTo(size_t k, std::span<double> out) const {
    if (k >= count) {
        raiseMatrixFault("Index exceed number of row.");
    }
    std::fill(out.begin(), out.end(), 0.0);
    out[variableOf(k)] = sign;
}

void BoundRows::writeOut(OPTMatrix<double>& rows) const {
    OPTMatrix<double> written(count, variables);
    for (size_t k = 0; k < count; ++k) {
        written(k, variableOf(k)) = sign;
    }
    rows = written;
}

}  // namespace activeset
