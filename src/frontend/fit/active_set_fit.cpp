// Steps of the primal active-set method on a fit.
#include "frontend/fit/active_set_fit.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

#include "frontend/problem/extended_sums.hpp"
#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

namespace {

// Rates and multipliers up to this, in proportion to their terms, are rounding.
constexpr double RateRounding = 10.0 * std::numeric_limits<double>::epsilon();

double norm(const Vector& values) {
    return std::sqrt(dot(values.data(), values.data(), values.size()));
}

}  // namespace

ActiveSetFit::ActiveSetFit(const Fit& fit,
                           const ProblemData& constraints,
                           Control& control,
                           Vector x,
                           const WorkingSet& guess)
    : fit_(fit),
      constraints_(constraints),
      control_(control),
      point_{std::move(x), Vector(constraints.m, 0.0), Vector(constraints.n, 0.0)},
      held_(constraints, guess) {}

bool ActiveSetFit::run() {
    const std::size_t most = 3 * (held_.count() + constraints_.n) + 1;
    for (std::size_t step = 0; step < most && !control_.mustEnd(); ++step) {
        const NullSpaceFit factors(fit_, constraints_, held_);
        Vector target = point_.x;
        factors.moveToMinimum(target);
        Vector along(target.size());
        std::ranges::transform(target, point_.x, along.begin(), std::minus<>());
        const std::optional<Blocking> blocking = ratioTest(along);
        if (blocking) {
            advance(along, blocking->length);
            held_.hold(blocking->constraint, blocking->side);
            reportPass(blocking->length * norm(along));
            continue;
        }
        std::swap(point_.x, target);
        factors.setMultipliers(point_);
        const std::optional<std::size_t> wrong = wrongSign(factors);
        reportPass(norm(along));
        if (!wrong) {
            finish(factors);
            return true;
        }
        held_.hold(*wrong, Side::None);
    }
    return false;
}

void ActiveSetFit::advance(const Vector& step, double length) {
    for (std::size_t j = 0; j < step.size(); ++j) {
        const double moved = point_.x[j] + length * step[j];
        point_.x[j] = std::min(std::max(moved, constraints_.lower[j]), constraints_.upper[j]);
    }
}

// The first constraint that the step meets before its end. Rates that are rounding meet none.
std::optional<ActiveSetFit::Blocking> ActiveSetFit::ratioTest(const Vector& step) const {
    Blocking first;
    const auto meet = [&](std::size_t k, double value, double rate, double size, double lower,
                          double upper) {
        if (held_[k] != Side::None || !(std::abs(rate) > RateRounding * (std::abs(value) + size))) {
            return;
        }
        const double room = std::max(rate > 0.0 ? upper - value : value - lower, 0.0);
        if (room / std::abs(rate) < first.length) {
            const Side side = rate > 0.0 ? Side::Upper : Side::Lower;
            first = {k, room / std::abs(rate), lower == upper ? Side::Both : side};
        }
    };
    const std::size_t m = constraints_.m;
    if (m != 0) {
        const std::vector<Sum> values = rowValues(constraints_, point_.x);
        const std::vector<Sum> rates = rowValues(constraints_, step);
        for (std::size_t i = 0; i < m; ++i) {
            meet(i, static_cast<double>(values[i].value), static_cast<double>(rates[i].value),
                 rates[i].scale, constraints_.rowLower[i], constraints_.rowUpper[i]);
        }
    }
    for (std::size_t j = 0; j < constraints_.n; ++j) {
        meet(m + j, point_.x[j], step[j], 0.0, constraints_.lower[j], constraints_.upper[j]);
    }
    return first.length < 1.0 ? std::optional(first) : std::nullopt;
}

// The member of the working set whose multiplier has the wrong sign by most, in proportion to its
// rounding.
std::optional<std::size_t> ActiveSetFit::wrongSign(const NullSpaceFit& fit) const {
    const Vector noise = fit.noiseOfGradient(point_.x);
    double most = 1.0;
    std::optional<std::size_t> worst;
    const auto look = [&](std::size_t k, double multiplier, double size) {
        const double wrong = -multiplier * held_.sign(k);
        if (wrong > most * size) {
            most = wrong / size;
            worst = k;
        }
    };
    const std::size_t m = constraints_.m;
    Vector lengths(m, 0.0);
    Vector ofRows(m, 0.0);
    Vector sizes = noise;
    for (std::size_t j = 0; j < constraints_.n && m != 0; ++j) {
        const double* column = constraints_.columnOfA(j);
        for (std::size_t i = 0; i < m; ++i) {
            lengths[i] = std::max(lengths[i], std::abs(column[i]));
            ofRows[i] = std::max(ofRows[i], column[i] != 0.0 ? noise[j] : 0.0);
            sizes[j] += RateRounding * std::abs(column[i] * point_.y[i]);
        }
    }
    for (std::size_t i = 0; i < m; ++i) {
        if (held_[i] != Side::None && lengths[i] > 0.0) {
            look(i, point_.y[i],
                 std::max(ofRows[i] / lengths[i], RateRounding * std::abs(point_.y[i])));
        }
    }
    for (std::size_t j = 0; j < constraints_.n; ++j) {
        if (held_[m + j] != Side::None) {
            look(m + j, point_.z[j], sizes[j]);
        }
    }
    return worst;
}

// Refines the point. Multipliers that then still have the wrong sign are rounding and become zero.
void ActiveSetFit::finish(const NullSpaceFit& fit) {
    fit.refine(point_.x);
    fit.setMultipliers(point_);
    advance(Vector(point_.x.size(), 0.0), 0.0);
    const std::size_t m = constraints_.m;
    for (std::size_t k = 0; k < held_.count(); ++k) {
        double& multiplier = k < m ? point_.y[k] : point_.z[k - m];
        if (multiplier * held_.sign(k) < 0.0) {
            multiplier = 0.0;
        }
    }
}

void ActiveSetFit::reportPass(double step) {
    control_.endPass(false, [&] {
        Vector residual = fit_.t;
        for (double& entry : residual) {
            entry = -entry;
        }
        if (!point_.x.empty()) {
            addProduct(fit_.T, point_.x, residual);
        }
        Progress progress;
        progress.objective =
            fit_.rest + 0.5 * dot(residual.data(), residual.data(), residual.size());
        progress.violation = violation(constraints_, point_.x).absolute;
        progress.workingSet = workingSet();
        progress.active = progress.workingSet.size();
        progress.step = step;
        return progress;
    });
}

}  // namespace activeset::frontend
