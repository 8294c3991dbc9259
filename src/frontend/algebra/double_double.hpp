// A number as the unevaluated sum of two doubles: some 106 bits, in the range of a double.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_DOUBLE_DOUBLE_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_DOUBLE_DOUBLE_HPP

#include <cmath>
#include <compare>

namespace activeset::frontend {

/// value + rest, |rest| at most half a unit in the last place of value. Each operation errs by at
/// most 2⁻¹⁰³ of its result (Joldes, Muller, Popescu 2017, Tight and rigorous error bounds for
/// basic building blocks of double-word arithmetic), a sum of both signs included, unless the
/// result leaves the range of a double: then it is infinite or NaN, or errs by 2⁻¹⁰⁷⁴ at most.
class DoubleDouble {
public:
    constexpr DoubleDouble() = default;
    // NOLINTNEXTLINE(google-explicit-constructor,hicpp-explicit-conversions): exact
    constexpr DoubleDouble(double value) : value_(value) {}
    /// @pre |rest| is at most half a unit in the last place of value.
    constexpr DoubleDouble(double value, double rest) : value_(value), rest_(rest) {}

    /// a + b for any a and b.
    [[nodiscard]] static constexpr DoubleDouble sum(double a, double b) {
        const double value = a + b;
        const double ofB = value - a;
        return {value, (a - (value - ofB)) + (b - ofB)};
    }
    /// a·b
    [[nodiscard]] static DoubleDouble product(double a, double b) {
        const double value = a * b;
        return {value, std::fma(a, b, -value)};
    }

    [[nodiscard]] constexpr double value() const { return value_; }
    [[nodiscard]] constexpr double rest() const { return rest_; }
    explicit constexpr operator double() const { return value_; }

    constexpr DoubleDouble operator-() const { return {-value_, -rest_}; }

    friend constexpr DoubleDouble operator+(const DoubleDouble& a, const DoubleDouble& b) {
        const DoubleDouble values = sum(a.value_, b.value_);
        const DoubleDouble rests = sum(a.rest_, b.rest_);
        const DoubleDouble joined = ordered(values.value_, values.rest_ + rests.value_);
        return ordered(joined.value_, rests.rest_ + joined.rest_);
    }
    friend constexpr DoubleDouble operator-(const DoubleDouble& a, const DoubleDouble& b) {
        return a + -b;
    }
    friend DoubleDouble operator*(const DoubleDouble& a, const DoubleDouble& b) {
        const DoubleDouble values = product(a.value_, b.value_);
        return ordered(values.value_, values.rest_ + (a.value_ * b.rest_ + a.rest_ * b.value_));
    }
    constexpr DoubleDouble& operator+=(const DoubleDouble& b) { return *this = *this + b; }
    constexpr DoubleDouble& operator-=(const DoubleDouble& b) { return *this = *this - b; }
    DoubleDouble& operator*=(const DoubleDouble& b) { return *this = *this * b; }

    // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the comparison with 0 for a pointer
    friend constexpr auto operator<=>(const DoubleDouble&, const DoubleDouble&) = default;

private:
    /// a + b for |a| ≥ |b| (Dekker's fast two-sum).
    static constexpr DoubleDouble ordered(double a, double b) {
        const double value = a + b;
        return {value, b - (value - a)};
    }

    double value_ = 0.0;
    double rest_ = 0.0;
};

}  // namespace activeset::frontend

#endif
