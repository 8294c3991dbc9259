// Members that depend on others leave by steps between multipliers that are all right, until one is
// 0 (Carathéodory). Along flat directions the point moves until it meets a side, which is then
// held.
#include "frontend/parametric/regular_set.hpp"

#include <algorithm>
#include <cmath>

#include "frontend/algebra/pivoted_qr.hpp"

namespace activeset::frontend {

namespace {

constexpr double TieRounding = 1e-9;  // of the largest entry beside it

// From the other columns, what they have of column k where it is `entry`.
void eliminate(Dense& columns, std::size_t k, const Vector& parts) {
    for (std::size_t l = k + 1; l < columns.cols; ++l) {
        axpy(-parts[l], columns.column(k), columns.column(l), columns.rows);
    }
}

}  // namespace

// The multiplier nearest to 0 along the step, if it is nearer than the stop.
void RegularSet::shorten(Stop& stop,
                         const Vector& multipliers,
                         const double* rates,
                         const std::vector<Hold>& holds,
                         std::size_t offset,
                         double size) {
    for (std::size_t i = 0; i < holds.size(); ++i) {
        const double sign = isAtLower(holds[i]) ? -1.0 : 1.0;
        const double rate = stop.orientation * sign * rates[i];
        if (!isHeld(holds[i]) || isEquality(holds[i]) || !(rate < -TieRounding * size)) {
            continue;
        }
        const double length = std::max(0.0, sign * multipliers[i]) / -rate;
        if (length < stop.length) {
            stop.length = length;
            stop.at = offset + i;
        }
    }
}

RegularSet::RegularSet(const MovingProblem& problem, double t, const Result& result)
    : problem_(&problem),
      sides_(problem.at(t)),
      x_(result.x),
      y_(result.y),
      z_(result.z),
      held_(problem, result.workingSet) {
    const double gradient =
        std::max({largestMagnitude(sides_.c), largestMagnitude(y_), largestMagnitude(z_)});
    holdStrong(y_, gradient, held_.rows);
    holdStrong(z_, gradient, held_.bounds);
    factor_.emplace(factorise());
    if (factor_->dependent() != 0) {
        makeIndependent();
        factor_.emplace(factorise());
    }
    if (factor_->flat() != 0) {
        closeFlat();
        factor_.emplace(factorise());
    }
}

KktFactor RegularSet::factorise() const {
    return {problem_->data(), held_.freeVariables(), held_.heldRows()};
}

// What has a multiplier holds, whatever the working set says: one of two equal constraints may be
// in the set and the other one have the multiplier.
void RegularSet::holdStrong(const Vector& multipliers,
                            double gradient,
                            std::vector<Hold>& holds) const {
    const bool ofRows = &holds == &held_.rows;
    const Vector& lower = ofRows ? sides_.rowLower : sides_.lower;
    const Vector& upper = ofRows ? sides_.rowUpper : sides_.upper;
    for (std::size_t i = 0; i < holds.size(); ++i) {
        const double scale = ofRows ? problem_->rowSize(i) : 1.0;
        const Hold side = multipliers[i] < 0.0 ? Hold::Lower : Hold::Upper;
        if (!isHeld(holds[i]) && std::abs(multipliers[i]) * scale > TieRounding * gradient &&
            std::isfinite(side == Hold::Lower ? lower[i] : upper[i])) {
            const bool isFixed = ofRows ? problem_->isFixedRow(i) : problem_->isFixedVariable(i);
            holds[i] = isFixed ? Hold::EqualUpper : side;
        }
    }
}

void RegularSet::makeIndependent() {
    const ProblemData& data = problem_->data();
    const std::vector<std::size_t>& free = factor_->free();
    const std::vector<std::size_t>& rows = factor_->rows();
    Dense A(rows.size(), free.size());
    for (std::size_t j = 0; j < free.size(); ++j) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            A(i, j) = data.columnOfA(free[j])[rows[i]];
        }
    }
    const Dense null = PivotedQr(std::move(A)).nullSpace();
    Dense ofRows(data.m, null.cols);
    Dense ofBounds(data.n, null.cols);
    for (std::size_t k = 0; k < null.cols; ++k) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            ofRows(rows[i], k) = null(i, k);
        }
        for (std::size_t j = 0; j < data.n; ++j) {
            if (isHeld(held_.bounds[j])) {
                ofBounds(j, k) = -dot(data.columnOfA(j), ofRows.column(k), data.m);
            }
        }
    }
    for (std::size_t k = 0; k < null.cols; ++k) {
        dropOne(ofRows, ofBounds, k);
    }
}

// What the dual objective gains per unit of the parameter, per unit of a step of the multipliers.
// Below rounding it is 0.
double RegularSet::slopeAlong(const double* ofRows, const double* ofBounds) const {
    double slope = 0.0;
    double size = 0.0;
    const auto add = [&](const std::vector<Hold>& holds, const double* entries, const Vector& lower,
                         const Vector& upper) {
        for (std::size_t i = 0; i < holds.size(); ++i) {
            if (isHeld(holds[i])) {
                const double part = entries[i] * (isAtLower(holds[i]) ? lower[i] : upper[i]);
                slope -= part;
                size += std::abs(part);
            }
        }
    };
    add(held_.rows, ofRows, problem_->rates().rowLower, problem_->rates().rowUpper);
    add(held_.bounds, ofBounds, problem_->rates().lower, problem_->rates().upper);
    return std::abs(slope) > TieRounding * size ? slope : 0.0;
}

// The step along ± the column that one member ends, and that member: in the direction in which the
// dual objective rises or, where no multiplier ends that, in the other one. Of equalities alone any
// row may leave.
RegularSet::Stop RegularSet::stopAlong(const double* ofRows, const double* ofBounds) const {
    double size = 0.0;
    for (std::size_t i = 0; i < y_.size(); ++i) {
        size = std::max(size, std::abs(ofRows[i]));
    }
    for (std::size_t j = 0; j < z_.size(); ++j) {
        size = std::max(size, std::abs(ofBounds[j]));
    }
    const auto go = [&](double orientation) {
        Stop stop{.orientation = orientation};
        shorten(stop, y_, ofRows, held_.rows, 0, size);
        shorten(stop, z_, ofBounds, held_.bounds, y_.size(), size);
        return stop;
    };
    const double slope = slopeAlong(ofRows, ofBounds);
    Stop stop = go(slope < 0.0 ? -1.0 : 1.0);
    if (slope == 0.0 || !std::isfinite(stop.length)) {
        const Stop other = go(-stop.orientation);
        stop = other.length < stop.length ? other : stop;
    }
    if (!std::isfinite(stop.length)) {
        const double* const largest =
            std::max_element(ofRows, ofRows + y_.size(),
                             [](double a, double b) { return std::abs(a) < std::abs(b); });
        stop.length = 0.0;
        stop.at = static_cast<std::size_t>(largest - ofRows);
    }
    return stop;
}

// Moves the multipliers along column k until a member may leave.
void RegularSet::dropOne(Dense& rows, Dense& bounds, std::size_t k) {
    const Stop stop = stopAlong(rows.column(k), bounds.column(k));
    axpy(stop.orientation * stop.length, rows.column(k), y_.data(), y_.size());
    axpy(stop.orientation * stop.length, bounds.column(k), z_.data(), z_.size());
    held_[stop.at] = Hold::None;
    const bool isRow = stop.at < y_.size();
    const Dense& own = isRow ? rows : bounds;
    const std::size_t place = isRow ? stop.at : stop.at - y_.size();
    Vector parts(rows.cols, 0.0);
    for (std::size_t l = k + 1; l < rows.cols; ++l) {
        parts[l] = own(place, l) / own(place, k);
    }
    eliminate(rows, k, parts);
    eliminate(bounds, k, parts);
}

void RegularSet::closeFlat() {
    const std::vector<std::size_t>& free = factor_->free();
    const Dense& flat = factor_->flatDirections();
    Dense directions(x_.size(), flat.cols);
    for (std::size_t k = 0; k < flat.cols; ++k) {
        for (std::size_t j = 0; j < free.size(); ++j) {
            directions(free[j], k) = flat(j, k);
        }
    }
    for (std::size_t k = 0; k < directions.cols; ++k) {
        hitOne(directions, k);
    }
}

// Moves the point along ± column k to the nearest side. None is met along a line of optima.
void RegularSet::hitOne(Dense& directions, std::size_t k) {
    const ProblemData& data = problem_->data();
    const Vector d(directions.column(k), directions.column(k) + data.n);
    const Vector rowRates = product(data.A, data.m, d);
    const Vector rowValues = product(data.A, data.m, x_);
    const double size = largestMagnitude(d);
    Stop stop;
    const auto look = [&](std::size_t at, double value, double rate, double lower, double upper,
                          double scale) {
        if (isHeld(held_[at]) || !(std::abs(rate) > TieRounding * scale * size)) {
            return;
        }
        const auto meet = [&](double room, Hold side, double sign) {
            if (std::max(0.0, room) / std::abs(rate) < stop.length) {
                stop = {std::max(0.0, room) / std::abs(rate), std::copysign(1.0, rate) * sign, at,
                        side};
            }
        };
        meet(value - lower, Hold::Lower, -1.0);
        meet(upper - value, Hold::Upper, 1.0);
    };
    for (std::size_t i = 0; i < data.m; ++i) {
        look(i, rowValues[i], rowRates[i], sides_.rowLower[i], sides_.rowUpper[i],
             problem_->rowSize(i));
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        look(data.m + j, x_[j], d[j], sides_.lower[j], sides_.upper[j], 1.0);
    }
    if (!std::isfinite(stop.length)) {
        return;
    }
    axpy(stop.orientation * stop.length, d.data(), x_.data(), x_.size());
    held_[stop.at] = stop.side;
    const bool isRow = stop.at < data.m;
    Vector parts(directions.cols, 0.0);
    for (std::size_t l = k + 1; l < directions.cols; ++l) {
        const double* other = directions.column(l);
        double rate = isRow ? 0.0 : other[stop.at - data.m];
        for (std::size_t j = 0; j < data.n && isRow; ++j) {
            rate += data.columnOfA(j)[stop.at] * other[j];
        }
        parts[l] = rate / (isRow ? rowRates[stop.at] : d[stop.at - data.m]);
    }
    eliminate(directions, k, parts);
}

}  // namespace activeset::frontend
