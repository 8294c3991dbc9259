// Products with the rows of bounds.
#include "problem/bound_rows.hpp"

#include <cmath>
#include <limits>

#include "matrix/fault.hpp"

namespace activeset {

OPTMatrix<double> BoundRows::times(const OPTMatrix<double>& x) const {
    if (x.getRows() != variables || x.getCols() != 1) {
        raiseMatrixFault("Incompatible dimensions for matrix multiplication");
    }
    size_t notFinite = 0;
    for (size_t i = 0; i < variables; ++i) {
        notFinite += std::isfinite(x(i, 0)) ? size_t{0} : size_t{1};
    }
    OPTMatrix<double> result(count, 1, true);
    for (size_t k = 0; k < count; ++k) {
        const double value = x(index[k], 0);
        // The zeros of the row turn every infinite or NaN entry elsewhere into NaN.
        const size_t own = std::isfinite(value) ? 0 : 1;
        result(k, 0) =
            notFinite > own ? std::numeric_limits<double>::quiet_NaN() : sign * value + 0.0;
    }
    return result;
}

OPTMatrix<double> BoundRows::row(size_t k) const {
    if (k >= count) {
        raiseMatrixFault("Index exceed number of row.");
    }
    OPTMatrix<double> result(1, variables, true);
    result.fill(0.0);
    result(0, index[k]) = sign;
    return result;
}

void BoundRows::writeOut(OPTMatrix<double>& rows) const {
    OPTMatrix<double> written(count, variables);
    for (size_t k = 0; k < count; ++k) {
        written(k, index[k]) = sign;
    }
    rows = written;
}

}  // namespace activeset
