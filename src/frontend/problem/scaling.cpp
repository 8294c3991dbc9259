// Equilibration of the matrix [H Aᵀ; A 0], after Ruiz: each sweep divides a row and column by the
// square root of its largest entry. The factors are rounded to powers of two.
#include "frontend/problem/scaling.hpp"

#include <algorithm>
#include <cmath>

#include "frontend/algebra/dense.hpp"
#include "frontend/algebra/largest.hpp"

namespace activeset::frontend {

namespace {

constexpr int MostSweeps = 8;
constexpr double NearOne = 2.0;             // a largest entry within [1/NearOne, NearOne] is near 1
constexpr double ModerateObjective = 16.0;  // an objective of up to this size needs no factor
constexpr int LargestExponent = 300;        // of a factor of rows or columns: products stay finite
constexpr int LargestOfObjective = 1000;    // of the objective's factor, which is multiplied last

double powerOfTwoNear(double value, int largestExponent) {
    int exponent = 0;
    const double mantissa = std::frexp(value, &exponent);  // in [½, 1)
    exponent -= mantissa * mantissa < 0.5 ? 1 : 0;
    return std::ldexp(1.0, std::clamp(exponent, -largestExponent, largestExponent));
}

double factorNear(double value) {
    return powerOfTwoNear(value, LargestExponent);
}

// One sweep divides columns and rows by the square roots of their largest scaled entries. False,
// with nothing changed, if all of these are near 1. Before the first one all factors are 1.
bool sweep(const ProblemData& data, bool isFirst, Scaling& scaling) {
    Vector column(data.n, 0.0);
    Vector row(data.m, 0.0);
    const Vector& known = data.H.largestOfColumns();
    for (std::size_t j = 0; j < data.n; ++j) {
        if (data.quadratic) {
            const double largest =
                isFirst && !known.empty()
                    ? known[j]
                    : largestProduct(data.columnOfH(j), scaling.column.data(), data.n);
            column[j] = largest * scaling.objective;
        }
        const double* A = data.columnOfA(j);
        const double ofRows = largestProduct(A, scaling.row.data(), data.m);
        column[j] = std::max(column[j], ofRows) * scaling.column[j];
        raiseToProducts(A, scaling.column[j], row.data(), data.m);
    }
    for (std::size_t i = 0; i < data.m; ++i) {
        row[i] *= scaling.row[i];
    }
    const auto isSettled = [](double largest) {
        return !(largest > 0.0 && std::isfinite(largest)) ||
               (largest >= 1.0 / NearOne && largest <= NearOne);
    };
    if (std::all_of(column.begin(), column.end(), isSettled) &&
        std::all_of(row.begin(), row.end(), isSettled)) {
        return false;
    }
    const auto divide = [](Vector& factors, const Vector& largest) {
        for (std::size_t k = 0; k < factors.size(); ++k) {
            if (largest[k] > 0.0 && std::isfinite(largest[k])) {
                factors[k] /= std::sqrt(largest[k]);
            }
        }
    };
    divide(scaling.column, column);
    divide(scaling.row, row);
    return true;
}

void multiply(Vector& values, const Vector& factors) {
    for (std::size_t k = 0; k < values.size(); ++k) {
        values[k] *= factors[k];
    }
}

void divide(Vector& values, const Vector& factors) {
    for (std::size_t k = 0; k < values.size(); ++k) {
        values[k] /= factors[k];
    }
}

bool areOnes(const Vector& factors) {
    return std::all_of(factors.begin(), factors.end(), [](double factor) { return factor == 1.0; });
}

MatrixEntries lentBy(const MatrixEntries& entries) {
    MatrixEntries lent = MatrixEntries::lent(entries.data(), entries.size());
    lent.tellLargest(entries.largestOfColumns());
    return lent;
}

/// The smallest and the largest magnitude of numbers, without zeros and infinities.
struct Extent {
    double smallest = Infinity;
    double largest = 0.0;

    void add(double value) {
        const double size = std::abs(value);
        if (size > 0.0 && std::isfinite(size)) {
            smallest = std::min(smallest, size);
            largest = std::max(largest, size);
        }
    }
};

// The matrices do not tell how large the variables are; sides, bounds and the minimum without them
// do. Where all of these say that the variables are far from 1, one factor for all variables brings
// them there, because the core's tolerances are absolute.
void chooseUnit(const ProblemData& data, Scaling& scaling) {
    constexpr double FarFromOne = 1e3;
    Extent extent;
    for (std::size_t i = 0; i < data.m; ++i) {
        extent.add(data.rowLower[i] * scaling.row[i]);
        extent.add(data.rowUpper[i] * scaling.row[i]);
    }
    double slope = 0.0;
    double bend = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        extent.add(data.lower[j] / scaling.column[j]);
        extent.add(data.upper[j] / scaling.column[j]);
        slope = std::max(slope, std::abs(data.c[j]) * scaling.column[j]);
        if (data.quadratic) {
            bend = std::max(bend, data.columnOfH(j)[j] * scaling.column[j] * scaling.column[j]);
        }
    }
    extent.add(bend > 0.0 ? slope / bend : 0.0);
    double unit = 1.0;
    if (extent.largest > 0.0 && extent.largest < 1.0 / FarFromOne) {
        unit = factorNear(extent.largest);
    } else if (extent.largest > 0.0 && extent.smallest > FarFromOne) {
        unit = factorNear(extent.smallest);
    }
    for (double& factor : scaling.column) {
        factor *= unit;
    }
    for (double& factor : scaling.row) {
        factor /= unit;
    }
}

/// With H in proportion to `objective`, whose own factor is left open.
Scaling equilibrated(const ProblemData& data, double objective) {
    Scaling scaling{Vector(data.n, 1.0), Vector(data.m, 1.0), objective};
    for (int k = 0; k < MostSweeps && sweep(data, k == 0, scaling); ++k) {
    }
    std::transform(scaling.column.begin(), scaling.column.end(), scaling.column.begin(),
                   factorNear);
    std::transform(scaling.row.begin(), scaling.row.end(), scaling.row.begin(), factorNear);
    return scaling;
}

/// How far the scaled entries of A are from one another: the quotient of largest and smallest.
double spreadOfRows(const ProblemData& data, const Scaling& scaling) {
    Extent extent;
    for (std::size_t j = 0; j < data.n; ++j) {
        for (std::size_t i = 0; i < data.m; ++i) {
            extent.add(data.columnOfA(j)[i] * scaling.column[j] * scaling.row[i]);
        }
    }
    return extent.largest / extent.smallest;
}

// Where H is of another order of magnitude than any A, it may be that the objective has another
// unit. Variables with curvature would then be told apart from the others; with H brought near 1
// first they are not, and the rows remain as they are.
Scaling equilibrated(const ProblemData& data) {
    constexpr int FarExponent = 64;
    Scaling scaling = equilibrated(data, 1.0);
    const double size = data.m > 0 ? data.H.largest() : 0.0;
    if (size > 0.0 && std::abs(std::ilogb(size)) > FarExponent) {
        Scaling other = equilibrated(data, 1.0 / powerOfTwoNear(size, LargestOfObjective));
        if (spreadOfRows(data, other) < spreadOfRows(data, scaling)) {
            return other;
        }
    }
    return scaling;
}

}  // namespace

Scaling Scaling::of(const ProblemData& data) {
    Scaling scaling = equilibrated(data);
    chooseUnit(data, scaling);
    Vector gradient = data.c;
    multiply(gradient, scaling.column);
    double size = largestMagnitude(gradient);
    for (std::size_t j = 0; data.quadratic && j < data.n; ++j) {
        size = std::max(size, data.columnOfH(j)[j] * scaling.column[j] * scaling.column[j]);
    }
    // An H that needs no other factor is left as it is.
    const bool isKept =
        data.quadratic && areOnes(scaling.column) && size >= 1.0 && size <= ModerateObjective;
    scaling.objective =
        size > 0.0 && !isKept ? 1.0 / powerOfTwoNear(size, LargestOfObjective) : 1.0;
    return scaling;
}

ProblemData Scaling::apply(const ProblemData& data) const {
    ProblemData result;
    result.n = data.n;
    result.m = data.m;
    result.quadratic = data.quadratic;
    const bool areColumnsKept = areOnes(column);
    result.H = areColumnsKept && objective == 1.0 ? lentBy(data.H) : scaledHessian(data);
    result.A = areColumnsKept && areOnes(row) ? lentBy(data.A) : scaledRows(data);
    applyToVectors(data, result);
    return result;
}

MatrixEntries Scaling::scaledHessian(const ProblemData& data) const {
    const double unit = objective;
    LargeVector result = LargeVector::unwritten(data.H.size());
    double* target = result.data();
    for (std::size_t j = 0; j < data.n && data.quadratic; ++j, target += data.n) {
        const double* H = data.columnOfH(j);
        const double factor = column[j];
        for (std::size_t i = 0; i < data.n; ++i) {
            target[i] = H[i] * column[i] * factor * unit;
        }
    }
    return result;
}

MatrixEntries Scaling::scaledRows(const ProblemData& data) const {
    LargeVector result = LargeVector::unwritten(data.A.size());
    double* target = result.data();
    for (std::size_t j = 0; j < data.n; ++j, target += data.m) {
        const double* A = data.columnOfA(j);
        const double factor = column[j];
        for (std::size_t i = 0; i < data.m; ++i) {
            target[i] = A[i] * (row[i] * factor);
        }
    }
    return result;
}

void Scaling::applyToVectors(const ProblemData& data, ProblemData& result) const {
    result.c = data.c;
    result.rowLower = data.rowLower;
    result.rowUpper = data.rowUpper;
    result.lower = data.lower;
    result.upper = data.upper;
    result.constant = data.constant * objective;
    multiply(result.c, column);
    for (double& entry : result.c) {
        entry *= objective;
    }
    multiply(result.rowLower, row);
    multiply(result.rowUpper, row);
    divide(result.lower, column);
    divide(result.upper, column);
}

Vector Scaling::unscaledVariables(Vector x) const {
    multiply(x, column);
    return x;
}

Vector Scaling::scaledVariables(Vector x) const {
    divide(x, column);
    return x;
}

Point Scaling::unscaled(Point point) const {
    multiply(point.x, column);
    multiply(point.y, row);
    divide(point.z, column);
    for (Vector* values : {&point.y, &point.z}) {
        for (double& value : *values) {
            value /= objective;
        }
    }
    return point;
}

Point Scaling::scaled(Point point) const {
    divide(point.x, column);
    divide(point.y, row);
    multiply(point.z, column);
    for (Vector* values : {&point.y, &point.z}) {
        for (double& value : *values) {
            value *= objective;
        }
    }
    return point;
}

}  // namespace activeset::frontend
