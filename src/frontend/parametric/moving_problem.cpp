// The copy of a moving problem and its instances.
#include "frontend/parametric/moving_problem.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "frontend/parametric/optimum.hpp"

namespace activeset::frontend {

namespace {

// A vector of the direction with all its entries. An absent side does not move.
Vector completed(const VectorView& given, const Vector& values, const char* name) {
    Vector result(values.size(), 0.0);
    if (given.empty()) {
        return result;
    }
    if (given.size() != values.size()) {
        throw std::invalid_argument("activeset: Path: direction." + std::string(name) + " has " +
                                    std::to_string(given.size()) + " entries, the problem " +
                                    std::to_string(values.size()));
    }
    if (given.data() == nullptr) {
        throw std::invalid_argument("activeset: Path: direction." + std::string(name) +
                                    " points to no data");
    }
    for (std::size_t k = 0; k < values.size(); ++k) {
        if (!std::isfinite(given[k])) {
            throw std::invalid_argument("activeset: Path: direction." + std::string(name) +
                                        " has an entry that is not finite");
        }
        result[k] = std::isfinite(values[k]) ? given[k] : 0.0;
    }
    return result;
}

Vector moved(const Vector& values, const Vector& rates, double t) {
    Vector result(values);
    for (std::size_t k = 0; k < values.size(); ++k) {
        result[k] += t * rates[k];
    }
    return result;
}

}  // namespace

MovingProblem::MovingProblem(const Problem& problem, const Direction& direction)
    : data_(checkedCopy(problem, "Path")) {
    rates_.c = completed(direction.c, data_.c, "c");
    rates_.rowLower = completed(direction.rowLower, data_.rowLower, "rowLower");
    rates_.rowUpper = completed(direction.rowUpper, data_.rowUpper, "rowUpper");
    rates_.lower = completed(direction.lower, data_.lower, "lower");
    rates_.upper = completed(direction.upper, data_.upper, "upper");
    rowSizes_.assign(data_.m, 0.0);
    for (std::size_t j = 0; j < data_.n; ++j) {
        for (std::size_t i = 0; i < data_.m; ++i) {
            rowSizes_[i] = std::max(rowSizes_[i], std::abs(data_.columnOfA(j)[i]));
        }
        curvature_ = std::max(curvature_, data_.quadratic ? data_.columnOfH(j)[j] : 0.0);
    }
}

double MovingProblem::sizeOfX(const Vectors& vectors) const {
    double size = 0.0;
    const auto include = [&size](double value, double scale) {
        size = std::isfinite(value) && scale > 0.0 ? std::max(size, std::abs(value) / scale) : size;
    };
    for (std::size_t j = 0; j < data_.n; ++j) {
        include(vectors.lower[j], 1.0);
        include(vectors.upper[j], 1.0);
    }
    for (const double cost : vectors.c) {
        include(cost, curvature_);
    }
    for (std::size_t i = 0; i < data_.m; ++i) {
        include(vectors.rowLower[i], rowSizes_[i]);
        include(vectors.rowUpper[i], rowSizes_[i]);
    }
    return size;
}

void MovingProblem::shift(double shift) {
    data_ = shifted(data_, shift);
    curvature_ += shift;
}

Vectors MovingProblem::at(double t) const {
    return {moved(data_.c, rates_.c, t), moved(data_.rowLower, rates_.rowLower, t),
            moved(data_.rowUpper, rates_.rowUpper, t), moved(data_.lower, rates_.lower, t),
            moved(data_.upper, rates_.upper, t)};
}

bool MovingProblem::isFiniteAt(double t) const {
    const auto isFinite = [t](const Vector& values, const Vector& rates) {
        return std::equal(values.begin(), values.end(), rates.begin(),
                          [t](double value, double rate) {
                              return std::isfinite(value + t * rate) || !std::isfinite(value);
                          });
    };
    return isFinite(data_.c, rates_.c) && isFinite(data_.rowLower, rates_.rowLower) &&
           isFinite(data_.rowUpper, rates_.rowUpper) && isFinite(data_.lower, rates_.lower) &&
           isFinite(data_.upper, rates_.upper);
}

Problem MovingProblem::view(const Vectors& vectors) const {
    Problem problem{.c = vectors.c,
                    .rowLower = vectors.rowLower,
                    .rowUpper = vectors.rowUpper,
                    .lower = vectors.lower,
                    .upper = vectors.upper,
                    .constant = data_.constant};
    if (data_.quadratic) {
        problem.H = MatrixView(data_.H.data(), data_.n, data_.n);
    }
    if (data_.m != 0) {
        problem.A = MatrixView(data_.A.data(), data_.m, data_.n);
    }
    return problem;
}

Result MovingProblem::solve(double t, const WarmStart& start, const Settings& settings) const {
    Vectors vectors = at(t);
    // Sides whose data are equal are equal at every t; rounding must not make them cross.
    for (std::size_t i = 0; i < data_.m; ++i) {
        vectors.rowUpper[i] = std::max(vectors.rowLower[i], vectors.rowUpper[i]);
    }
    for (std::size_t j = 0; j < data_.n; ++j) {
        vectors.upper[j] = std::max(vectors.lower[j], vectors.upper[j]);
    }
    Problem problem = view(vectors);
    problem.warmStart = start.x.empty() ? nullptr : &start;
    return activeset::solve(problem, settings);
}

MovingProblem::Crossing MovingProblem::crossing(double from) const {
    Crossing first;
    const auto look = [&](const Vector& lower, const Vector& upper, const Vector& lowerRate,
                          const Vector& upperRate, const char* what) {
        for (std::size_t k = 0; k < lower.size(); ++k) {
            // Halves, whose differences do not overflow.
            const double room = 0.5 * upper[k] - 0.5 * lower[k];
            const double rate = 0.5 * upperRate[k] - 0.5 * lowerRate[k];
            if (!std::isfinite(room) || (room + from * rate >= 0.0 && rate >= 0.0)) {
                continue;
            }
            const double t = room + from * rate < 0.0 ? from : std::max(from, -room / rate);
            if (t < first.t) {
                first = {t, "the sides of " + std::string(what) + " " + std::to_string(k) +
                                " cross there"};
            }
        }
    };
    look(data_.rowLower, data_.rowUpper, rates_.rowLower, rates_.rowUpper, "row");
    look(data_.lower, data_.upper, rates_.lower, rates_.upper, "variable");
    return first;
}

}  // namespace activeset::frontend
