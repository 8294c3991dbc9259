// For a feasible x, Σ r_j·x_j with r = Aᵀy + z is at most the sum of the weighed sides. If the
// sides add up to less than any such sum can be, nothing is feasible. Each r_j is small. The
// product r_j·x_j then is small where x_j has a bound on the side that matters, and elsewhere as
// long as x_j is not too large: that is what the radius says.
#include "frontend/proof/farkas.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/proof/sides_sum.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

constexpr double InsignificantValue = 1e-12;  // a value, in proportion to its terms

/// Σ a·b as value + rest, wrong by at most boundOfRounding(). Unlike DoubleDouble it adds what is
/// lost in doubles, so that a term need not wait for the one before.
struct SumOfProducts {
    double value = 0.0;
    double rest = 0.0;
    double scale = 0.0;  ///< of the magnitudes of the terms

    void add(double a, double b) {
        const DoubleDouble product = DoubleDouble::product(a, b);
        const DoubleDouble sum = DoubleDouble::sum(value, product.value());
        value = sum.value();
        rest += sum.rest() + product.rest();
        scale += std::abs(product.value());
    }
    [[nodiscard]] double result() const { return value + rest; }
};

double largestOfRow(const ColumnMajor& A, std::size_t i) {
    double largest = 0.0;
    for (std::size_t j = 0; j < A.cols; ++j) {
        largest = std::max(largest, std::abs(A.data[j * A.ld + i]));
    }
    return largest;
}

/// What rounding may leave of an entry of Aᵀy where the terms cancel.
double roundingOfPull(const ColumnMajor& A, const double* y) {
    constexpr double PullRounding = 1e-11;
    double terms = 0.0;
    for (std::size_t i = 0; i < A.rows; ++i) {
        terms += y[i] != 0.0 ? std::abs(y[i]) * largestOfRow(A, i) : 0.0;
    }
    return PullRounding * terms;
}

/// The power of two that brings a negative value to −1 or beyond, but not to −2.
double unitFor(double value) {
    constexpr int Most = 1000;
    return std::ldexp(1.0, std::clamp(-std::ilogb(value), -Most, Most));
}

class Judge {
public:
    Judge(const ConstraintsView& problem, double variable, const SumsView& sums, Farkas& farkas)
        : problem_(problem), variable_(variable), sums_(sums), farkas_(farkas) {}

    /// Of farkas.y; chooses z.
    void judge();

private:
    [[nodiscard]] std::size_t n() const { return problem_.A.cols; }
    [[nodiscard]] std::size_t m() const { return problem_.A.rows; }
    void formSums() { exactTransposedProduct(problem_.A, farkas_.y.data(), sums_); }
    void chooseBounds();
    [[nodiscard]] SumOfProducts value() const;
    void scaleBy(double factor);
    [[nodiscard]] double sizeOfRow(std::size_t i) const;
    [[nodiscard]] double size() const;
    void measure(double slack);

    const ConstraintsView& problem_;
    double variable_;
    const SumsView& sums_;  // Aᵀy
    Farkas& farkas_;
};

// What bounds can take of −Aᵀy.
void Judge::chooseBounds() {
    farkas_.z.resize(n());
    for (std::size_t j = 0; j < n(); ++j) {
        farkas_.z[j] = projected(-sums_.value[j], problem_.lower[j], problem_.upper[j]);
    }
}

SumOfProducts Judge::value() const {
    SumOfProducts value;
    const auto add = [&](const Vector& multipliers, const double* lower, const double* upper) {
        for (std::size_t k = 0; k < multipliers.size(); ++k) {
            if (multipliers[k] != 0.0) {
                value.add(multipliers[k], multipliers[k] > 0.0 ? upper[k] : lower[k]);
            }
        }
    };
    add(farkas_.y, problem_.rowLower, problem_.rowUpper);
    add(farkas_.z, problem_.lower, problem_.upper);
    return value;
}

void Judge::scaleBy(double factor) {
    for (Vector* const multipliers : {&farkas_.y, &farkas_.z}) {
        for (double& multiplier : *multipliers) {
            multiplier *= factor;
        }
    }
    formSums();
}

// A row counts by its entries, or by its side in proportion to variables of natural size.
double Judge::sizeOfRow(std::size_t i) const {
    const double side = farkas_.y[i] > 0.0 ? problem_.rowUpper[i] : problem_.rowLower[i];
    return std::max(std::abs(side) / variable_, largestOfRow(problem_.A, i));
}

/// The size of the multipliers.
double Judge::size() const {
    double size = largestMagnitude(farkas_.z);
    for (std::size_t i = 0; i < m(); ++i) {
        if (farkas_.y[i] != 0.0) {
            size = std::max(size, std::abs(farkas_.y[i]) * sizeOfRow(i));
        }
    }
    return size;
}

/// Forms the residual of Aᵀy + z, and from what bounds do not take up the radius.
void Judge::measure(double slack) {
    const double rounding = InsignificantValue + std::numeric_limits<double>::epsilon() *
                                                     static_cast<double>(n());  // of `taken`
    double unbounded = 0.0;
    double taken = 0.0;
    for (std::size_t j = 0; j < n(); ++j) {
        const Extended rest = Extended(sums_.value[j], sums_.rest[j]) + farkas_.z[j];
        const double error = boundOfRounding(m() + 1, sums_.scale[j]);
        const double residual = magnitude(rest) + error;
        farkas_.residual.absolute = std::max(farkas_.residual.absolute, magnitude(rest));
        // Rounding may have changed the sign.
        const bool isSure = magnitude(rest) > error;
        const double lower = std::abs(problem_.lower[j]);
        const double upper = std::abs(problem_.upper[j]);
        const double bound = !isSure ? std::max(lower, upper) : rest > 0 ? lower : upper;
        if (bound < Infinity) {
            taken += residual * bound;
        } else {
            unbounded = std::max(unbounded, residual);
        }
    }
    slack -= taken * (1.0 + rounding);
    const double share = slack * (1.0 - std::numeric_limits<double>::epsilon());  // rounds down
    farkas_.radius = !(slack > 0.0) ? 0.0 : unbounded > 0.0 ? share / unbounded : Infinity;
}

void Judge::judge() {
    formSums();
    chooseBounds();
    const double before = value().result();
    if (before < 0.0 && before > -Infinity) {
        scaleBy(unitFor(before));
    }
    const SumOfProducts sides = value();
    const double weight = sides.result();
    if (weight < -InsignificantValue * sides.scale) {
        farkas_.value = weight;
        measure(-weight - boundOfRounding(n() + m(), sides.scale));
    }
    const double all = size();
    farkas_.residual.relative = all > 0.0 ? farkas_.residual.absolute / all : 0.0;
}

}  // namespace

Farkas judgeFarkas(const ConstraintsView& problem,
                   double variable,
                   const SumsView& sums,
                   Vector y) {
    for (std::size_t i = 0; i < y.size(); ++i) {
        y[i] = projected(y[i], problem.rowLower[i], problem.rowUpper[i]);
    }
    Farkas farkas;
    farkas.y = std::move(y);
    Judge(problem, variable, sums, farkas).judge();
    return farkas;
}

ConstraintsView constraintsOf(const ProblemData& data) {
    return {{data.A.data(), data.m, data.n, data.m},
            data.rowLower.data(),
            data.rowUpper.data(),
            data.lower.data(),
            data.upper.data()};
}

Farkas judgeFarkas(const ProblemData& data, Vector y) {
    Vector sums(3 * data.n);
    return judgeFarkas(constraintsOf(data), Units(data, {}).variable,
                       {sums.data(), sums.data() + data.n, sums.data() + 2 * data.n}, std::move(y));
}

bool seemToContradict(const ConstraintsView& problem,
                      const double* y,
                      const double* pulled,
                      double sign,
                      double rounding) {
    double value = 0.0;
    double scale = 0.0;
    const auto add = [&](double multiplier, double lower, double upper) {
        const double term = multiplier * (multiplier > 0.0 ? upper : lower);
        value += term;
        scale += std::abs(term);
    };
    for (std::size_t i = 0; i < problem.A.rows; ++i) {
        if (y[i] != 0.0) {
            add(sign * y[i], problem.rowLower[i], problem.rowUpper[i]);
        }
    }
    for (std::size_t j = 0; j < problem.A.cols && scale < Infinity; ++j) {
        if (std::abs(pulled[j]) > rounding) {
            add(-sign * pulled[j], problem.lower[j], problem.upper[j]);
        }
    }
    return scale < Infinity && value < -ClearContradiction * scale;
}

int signOfContradiction(const ConstraintsView& problem, const double* y, const double* pulled) {
    const double rounding = roundingOfPull(problem.A, y);
    for (const int sign : {1, -1}) {
        if (seemToContradict(problem, y, pulled, sign, rounding)) {
            return sign;
        }
    }
    return 0;
}

bool holds(const Farkas& farkas, double tolerance, double variable) {
    constexpr double LeastRadius = 1e6;
    return farkas.value < 0.0 && farkas.residual.relative <= tolerance &&
           farkas.radius >= LeastRadius * variable;
}

bool holdsFar(const Farkas& farkas, double variable) {
    constexpr double PredictedRadius = 1e12;  // in units of the least size of the variables
    return holds(farkas, FarkasTolerance, variable) && farkas.radius >= PredictedRadius * variable;
}

}  // namespace activeset::frontend
