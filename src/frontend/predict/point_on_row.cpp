// Bisection along a curve on which the value of the row rises.
#include "frontend/predict/point_on_row.hpp"

#include <algorithm>

namespace activeset::frontend {

namespace {

/// x + t·a, moved between the bounds. a is the row, or its entries at some variables only.
class RowCurve {
public:
    RowCurve(const ProblemData& data, const Vector& x, std::span<const double> a)
        : data_(data), x_(x), a_(a) {}

    [[nodiscard]] Vector at(double t) const {
        Vector moved(x_.size());
        for (std::size_t j = 0; j < moved.size(); ++j) {
            moved[j] = shifted(j, t);
        }
        return moved;
    }
    [[nodiscard]] double valueOfRow(double t) const {
        double value = 0.0;
        for (std::size_t j = 0; j < x_.size(); ++j) {
            value += data_.A[j] * shifted(j, t);
        }
        return value;
    }

private:
    [[nodiscard]] double shifted(std::size_t j, double t) const {
        return std::min(std::max(x_[j] + t * a_[j], data_.lower[j]), data_.upper[j]);
    }

    const ProblemData& data_;
    const Vector& x_;
    std::span<const double> a_;
};

}  // namespace

std::optional<Vector> pointOnRow(const ProblemData& data,
                                 const Vector& x,
                                 std::span<const double> a) {
    constexpr int MostHalvings = 200;
    constexpr double FarthestShift = 1e30;
    const RowCurve curve(data, x, a);
    const double side = data.rowLower[0];
    const double now = curve.valueOfRow(0.0);
    const double sign = side < now ? -1.0 : 1.0;
    const auto isBeyond = [&](double t) {
        return sign * (curve.valueOfRow(sign * t) - side) >= 0.0;
    };
    double high = now == side ? 0.0 : 1.0;
    while (!isBeyond(high)) {
        if (high > FarthestShift) {
            return std::nullopt;
        }
        high *= 2.0;
    }
    double low = 0.0;
    for (int k = 0; k < MostHalvings && low < high; ++k) {
        const double middle = 0.5 * (low + high);
        if (middle == low || middle == high) {
            break;
        }
        (isBeyond(middle) ? high : low) = middle;
    }
    return curve.at(sign * high);
}

}  // namespace activeset::frontend
