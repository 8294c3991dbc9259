#include "support/exact/judge.hpp"

#include <cmath>
#include <iomanip>
#include <limits>
#include <sstream>

namespace activeset::test::exact {

namespace {

double ratio(const Rational& value, const Rational& scale) {
    return std::abs(Rational(value / scale).get_d());
}

bool areFinite(const std::vector<double>& values, std::size_t size) {
    return values.size() == size &&
           std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

class Judge {
public:
    Judge(const Sample& sample, const Result& result) : s_(sample), data_(sample), r_(result) {}

    Verdict verdict(double largestError) {
        const Truth truth = truthOf(s_);
        switch (r_.status) {
            case Status::Optimal:
                require(truth.isFeasible, "optimal, yet infeasible");
                require(truth.isConvex, "optimal, yet not convex");
                require(truth.isBounded, "optimal, yet unbounded");
                compareObjective(truth, largestError);
                break;
            case Status::Infeasible:
                require(!truth.isFeasible, "infeasible, yet there is a feasible point");
                break;
            case Status::Unbounded:
                require(truth.isFeasible, "unbounded, yet infeasible");
                require(truth.isConvex, "unbounded, yet not convex");
                require(!truth.isBounded, "unbounded, yet there is an optimum");
                break;
            case Status::NotConvex:
                require(!truth.isConvex, "not convex, yet convex on the equalities");
                break;
            case Status::Inaccurate:
                verdict_.isInaccurate = true;
                break;
            default:
                require(false, std::string("ends ") + activeset::textOf(r_.status));
        }
        if (verdict_.wrong.empty()) {
            judgeClaims(1e-9, 0.0);
        }
        if (verdict_.wrong.empty() && r_.farkas) {
            require(farkasResidual_ <= Rational(r_.farkas->residual.absolute) * 2 + Rational(1e-15),
                    "a Farkas vector that misses 0 by more than is told");
        }
        return verdict_;
    }

    std::string falseClaim(double tolerance, double constant) {
        judgeClaims(tolerance, constant);
        return verdict_.wrong;
    }

private:
    void judgeClaims(double tolerance, double constant) {
        switch (r_.status) {
            case Status::Optimal:
                return judgeOptimum(tolerance, constant);
            case Status::Infeasible:
                return judgeFarkas();
            case Status::Unbounded:
                return judgeRay();
            case Status::NotConvex:
                return judgeCurvature();
            default:
                return;
        }
    }
    void require(bool isTrue, const std::string& what) {
        if (!isTrue && verdict_.wrong.empty()) {
            verdict_.wrong = what;
        }
    }
    static Vector rationals(const std::vector<double>& values) {
        return {values.begin(), values.end()};
    }
    static Rational largestFinite(double lower, double upper) {
        return std::max(Rational(std::isfinite(lower) ? std::abs(lower) : 0.0),
                        Rational(std::isfinite(upper) ? std::abs(upper) : 0.0));
    }
    static Rational magnitudes(const Vector& a, const Vector& b) {
        Rational sum = 0;
        for (std::size_t k = 0; k < a.size(); ++k) {
            sum += abs(a[k] * b[k]);
        }
        return sum;
    }

    void compareObjective(const Truth& truth, double largestError) {
        if (!std::isfinite(r_.objective) || !verdict_.wrong.empty()) {
            return require(false, "optimal without an objective");
        }
        const Rational size = std::max(Rational(1), Rational(abs(truth.optimum)));
        verdict_.objectiveError = ratio(r_.objective - truth.optimum, size);
        if (!(verdict_.objectiveError <= largestError)) {
            std::ostringstream text;
            text << std::setprecision(17) << "objective " << r_.objective << ", yet the optimum is "
                 << truth.optimum.get_d();
            require(false, text.str());
        }
    }

    // Checks sides, signs of multipliers, gradient, gap and objective, each relative to its terms.
    void judgeOptimum(double tolerance, double constant) {
        require(areFinite(r_.x, s_.n) && areFinite(r_.y, s_.m) && areFinite(r_.z, s_.n) &&
                    std::isfinite(r_.objective),
                "optimal without a point");
        require(r_.certificate.holds(tolerance), "optimal, yet its certificate does not hold");
        if (!verdict_.wrong.empty()) {
            return;
        }
        tolerance_ = tolerance * 1.001;
        objectiveTerms_ = abs(Rational(constant));
        const Vector x = rationals(r_.x);
        const Vector y = rationals(r_.y);
        for (std::size_t i = 0; i < s_.m; ++i) {
            judgeSide(dot(data_.A[i], x), magnitudes(data_.A[i], x), s_.rowLower[i], s_.rowUpper[i],
                      r_.y[i]);
        }
        const Vector pull = transposedProduct(data_.A, y, s_.n);
        for (std::size_t j = 0; j < s_.n; ++j) {
            judgeSide(x[j], abs(x[j]), s_.lower[j], s_.upper[j], r_.z[j]);
            const Rational curved = dot(data_.H[j], x);
            Rational terms =
                1 + abs(data_.c[j]) + abs(Rational(r_.z[j])) + magnitudes(data_.H[j], x);
            for (std::size_t i = 0; i < s_.m; ++i) {
                terms += abs(data_.A[i][j] * y[i]);
            }
            require(ratio(curved + data_.c[j] + pull[j] + r_.z[j], terms) <= tolerance_,
                    "optimal, yet the gradient is not balanced");
            const Rational far = abs(x[j]) + largestFinite(s_.lower[j], s_.upper[j]);
            gapRounding_ += terms * far * Rational(std::numeric_limits<double>::epsilon()) * 4;
            gap_ += x[j] * (curved + data_.c[j]);
            gapTerms_ += abs(x[j] * curved) + abs(x[j] * data_.c[j]);
            objectiveTerms_ += abs(x[j]) * magnitudes(data_.H[j], x);
        }
        // Rounding of y and z multiplied by bounds far away is not counted as a gap, nor are
        // products with x that cancel in the gradient.
        require(abs(gap_) <= Rational(tolerance_) * gapTerms_ + gapRounding_ +
                                 Rational(1e-15) * objectiveTerms_,
                "optimal, yet there is a gap");
        const Rational objective = data_.objective(x) + Rational(constant);
        require(ratio(r_.objective - objective, gapTerms_ + objectiveTerms_) <= 1e-12,
                "the objective of another point");
    }
    void judgeSide(const Rational& value,
                   const Rational& terms,
                   double lower,
                   double upper,
                   double multiplier) {
        const auto miss = [&](const Rational& by, double side) {
            return sgn(by) > 0 && ratio(by, 1 + terms + abs(Rational(side))) > tolerance_;
        };
        require(lower == -Infinity || !miss(lower - value, lower), "a point that misses a side");
        require(upper == Infinity || !miss(value - upper, upper), "a point that misses a side");
        const double side = multiplier > 0.0 ? upper : multiplier < 0.0 ? lower : 0.0;
        require(std::isfinite(side), "a multiplier of a side that is absent");
        if (std::isfinite(side)) {
            gap_ += Rational(side) * Rational(multiplier);
            gapTerms_ += abs(Rational(side) * Rational(multiplier));
        }
    }

    void judgeFarkas() {
        require(r_.farkas && areFinite(r_.farkas->y, s_.m) && areFinite(r_.farkas->z, s_.n),
                "infeasible without a Farkas vector");
        if (!verdict_.wrong.empty()) {
            return;
        }
        Rational value = 0;
        const auto weigh = [&](double multiplier, double lower, double upper) {
            if (multiplier != 0.0) {
                const double side = multiplier > 0.0 ? upper : lower;
                require(std::isfinite(side), "a Farkas multiplier of a side that is absent");
                value += std::isfinite(side) ? Rational(side) * Rational(multiplier) : Rational(0);
            }
        };
        for (std::size_t i = 0; i < s_.m; ++i) {
            weigh(r_.farkas->y[i], s_.rowLower[i], s_.rowUpper[i]);
        }
        const Vector pull = transposedProduct(data_.A, rationals(r_.farkas->y), s_.n);
        Rational residual = 0;
        for (std::size_t j = 0; j < s_.n; ++j) {
            weigh(r_.farkas->z[j], s_.lower[j], s_.upper[j]);
            residual = std::max(residual, Rational(abs(pull[j] + Rational(r_.farkas->z[j]))));
        }
        require(sgn(value) < 0, "a Farkas vector of value 0");
        require(residual <= 1e-6, "a Farkas vector that does not add up to 0");
        farkasResidual_ = residual;
    }

    // x is the starting point of the ray.
    void judgeFeasible(const Vector& x) {
        for (std::size_t i = 0; i < s_.m; ++i) {
            judgeSide(dot(data_.A[i], x), magnitudes(data_.A[i], x), s_.rowLower[i], s_.rowUpper[i],
                      0.0);
        }
        for (std::size_t j = 0; j < s_.n; ++j) {
            judgeSide(x[j], abs(x[j]), s_.lower[j], s_.upper[j], 0.0);
        }
    }

    void judgeRay() {
        require(areFinite(r_.x, s_.n) && areFinite(r_.direction, s_.n),
                "unbounded without a direction");
        if (!verdict_.wrong.empty()) {
            return;
        }
        const Vector d = rationals(r_.direction);
        judgeFeasible(rationals(r_.x));
        const auto blocks = [&](const Rational& slope, const Rational& terms, double lower,
                                double upper) {
            return ratio(slope, 1 + terms) > 1e-9 &&
                   (sgn(slope) < 0 ? lower > -Infinity : upper < Infinity);
        };
        for (std::size_t i = 0; i < s_.m; ++i) {
            require(!blocks(dot(data_.A[i], d), magnitudes(data_.A[i], d), s_.rowLower[i],
                            s_.rowUpper[i]),
                    "a ray that a row blocks");
        }
        for (std::size_t j = 0; j < s_.n; ++j) {
            require(!blocks(d[j], abs(d[j]), s_.lower[j], s_.upper[j]),
                    "a ray that a bound blocks");
        }
        bool isStraight = true;
        for (std::size_t j = 0; j < s_.n; ++j) {
            isStraight &= ratio(dot(data_.H[j], d), 1 + magnitudes(data_.H[j], d)) <= 1e-9;
        }
        require(!isStraight || sgn(dot(data_.c, d)) < 0, "a ray that does not descend");
        require(ratio(dot(d, product(data_.H, d)), 1 + dot(d, d)) <= 1e-9, "a ray that is curved");
    }

    void judgeCurvature() {
        require(areFinite(r_.direction, s_.n), "not convex without a direction");
        if (!verdict_.wrong.empty()) {
            return;
        }
        const Vector d = rationals(r_.direction);
        require(sgn(dot(d, product(data_.H, d))) < 0, "a direction without negative curvature");
        for (std::size_t i = 0; i < s_.m; ++i) {
            require(s_.rowLower[i] != s_.rowUpper[i] ||
                        ratio(dot(data_.A[i], d), 1 + magnitudes(data_.A[i], d)) <= 1e-9,
                    "a curve that leaves an equality");
        }
        for (std::size_t j = 0; j < s_.n; ++j) {
            require(s_.lower[j] != s_.upper[j] || r_.direction[j] == 0.0,
                    "a curve that moves a fixed variable");
        }
    }

    const Sample& s_;
    ProblemData data_;
    const Result& r_;
    Verdict verdict_;
    double tolerance_ = 1e-9;
    Rational gap_ = 0;
    Rational farkasResidual_ = 0;
    Rational gapTerms_ = 1;
    Rational gapRounding_ = 0;
    Rational objectiveTerms_ = 0;
};

}  // namespace

Verdict judge(const Sample& sample, const Result& result, double largestError) {
    return Judge(sample, result).verdict(largestError);
}

std::string falseClaim(const Sample& sample,
                       const Result& result,
                       double tolerance,
                       double constant) {
    return Judge(sample, result).falseClaim(tolerance, constant);
}

}  // namespace activeset::test::exact
