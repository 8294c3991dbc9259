// Rounds of the primal-dual active-set iteration.
#include "frontend/predict/primal_dual_guess.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/predict/dependent_rows.hpp"
#include "frontend/problem/bound_rounding.hpp"
#include "frontend/problem/extended_sums.hpp"
#include "frontend/problem/submatrices.hpp"
#include "frontend/proof/farkas.hpp"
#include "host/blas.hpp"

namespace activeset::frontend {

PrimalDualGuess::PrimalDualGuess(Subproblem& problem, const Constraints& first, Control& control)
    : data_(problem.data()),
      system_(problem.freeSystem()),
      control_(control),
      sides_(first),
      isWarm_(first.all() != Constraints(data_).all()),
      point_{Vector(data_.n, 0.0), Vector(data_.m, 0.0), Vector(data_.n, 0.0)},
      values_(data_.m, 0.0) {}

PrimalDualGuess::End PrimalDualGuess::run() {
    constexpr std::size_t Settling = 2;  // rounds whose exchanges say little
    constexpr std::size_t Patience = 4;  // rounds in which the exchanges get no fewer
    if (!isWarm_) {
        descend();
    }
    std::size_t fewest = std::numeric_limits<std::size_t>::max();
    std::size_t roundOfFewest = Settling;
    while (!control_.mustEnd()) {
        ++rounds_;
        if (const std::optional<End> end = solve()) {
            return *end;
        }
        const std::size_t exchanges = exchange();
        if (exchanges == 0) {
            refine();
            return End::Settled;
        }
        if (rounds_ > Settling && exchanges < fewest) {
            fewest = exchanges;
            roundOfFewest = rounds_;
        }
        if (rounds_ >= roundOfFewest + Patience) {
            return End::GivenUp;
        }
        control_.poll();
    }
    return End::GivenUp;
}

// Minimises over one variable after the other, between its bounds, as if there were no rows.
void PrimalDualGuess::descend() {
    constexpr int Sweeps = 3;
    Vector& x = point_.x;
    Vector g = data_.c;
    const auto clip = [this](std::size_t j, double value) {
        return std::min(std::max(value, data_.lower[j]), data_.upper[j]);
    };
    std::vector<std::size_t> nonzero;
    for (std::size_t j = 0; j < data_.n; ++j) {
        x[j] = clip(j, 0.0);
        if (x[j] != 0.0) {
            nonzero.push_back(j);
        }
    }
    addHessianColumns(data_, nonzero, x.data(), g.data());
    for (int sweep = 0; sweep < Sweeps; ++sweep) {
        for (std::size_t j = 0; j < data_.n; ++j) {
            const double* column = data_.columnOfH(j);
            const double step = clip(j, x[j] - g[j] / column[j]) - x[j];
            if (step != 0.0) {
                x[j] += step;
                axpy(step, column, g.data(), data_.n);
            }
        }
        control_.poll();
    }
    for (std::size_t j = 0; j < data_.n; ++j) {
        if (sides_[data_.m + j] == Side::None) {
            const bool isLower = x[j] == data_.lower[j] && g[j] > 0.0;
            const bool isUpper = x[j] == data_.upper[j] && g[j] < 0.0;
            sides_.hold(data_.m + j, isLower ? Side::Lower : isUpper ? Side::Upper : Side::None);
        }
    }
}

std::optional<PrimalDualGuess::End> PrimalDualGuess::solve() {
    Vector& x = point_.x;
    List F;
    List B;  // those at bounds other than 0
    for (std::size_t j = 0; j < data_.n; ++j) {
        const std::size_t k = data_.m + j;
        if (sides_[k] == Side::None) {
            F.push_back(j);
            continue;
        }
        x[j] = sides_.target(k);
        if (x[j] != 0.0) {
            B.push_back(j);
        }
    }
    List R;
    for (std::size_t i = 0; i < data_.m; ++i) {
        if (sides_[i] != Side::None) {
            R.push_back(i);
        }
    }
    if (const std::optional<End> end = setSets(F, R)) {
        return end;
    }
    gradient_ = data_.c;
    addHessianColumns(data_, B, x.data(), gradient_.data());
    Vector f(F.size());
    Vector r(R.size());
    for (std::size_t k = 0; k < F.size(); ++k) {
        f[k] = -gradient_[F[k]];
    }
    for (std::size_t k = 0; k < R.size(); ++k) {
        r[k] = sides_.target(R[k]);
        for (const std::size_t j : B) {
            r[k] -= data_.columnOfA(j)[R[k]] * x[j];
        }
    }
    system_.solve(f, r);
    take(F, f, R, r);
    return doContradict(R, r, Weights::Multipliers) ? std::optional(End::Contradiction)
                                                    : std::nullopt;
}

std::optional<PrimalDualGuess::End> PrimalDualGuess::setSets(const List& F, List& R) {
    while (!system_.setSets(F, R)) {
        if (R.empty()) {
            return End::GivenUp;
        }
        const std::vector<Vector> dependences = dependencesOf(gradientsOf(data_, R, F));
        if (std::ranges::any_of(dependences, [&](const Vector& d) {
                return doContradict(R, d, Weights::Dependence);
            })) {
            return End::Contradiction;
        }
        const std::size_t spared =
            dependences.empty() ? R.size() : sparedOf(dependences.front(), missesOf(R));
        if (spared == R.size()) {
            return End::GivenUp;
        }
        sides_.hold(R[spared], Side::None);
        R.erase(R.begin() + static_cast<std::ptrdiff_t>(spared));
    }
    return std::nullopt;
}

bool PrimalDualGuess::doContradict(const List& R, const Vector& weights, Weights kind) {
    if (R.empty()) {
        return false;
    }
    Vector y(data_.m, 0.0);
    Vector pulled(data_.n, 0.0);
    for (std::size_t k = 0; k < R.size(); ++k) {
        y[R[k]] = weights[k];
    }
    blas::gemv(Op::Transpose, 1.0, ConstBlock(data_.A.data(), data_.m, data_.n), y.data(), 0.0,
               pulled.data());
    const ConstraintsView problem = constraintsOf(data_);
    const int sign = kind == Weights::Dependence
                         ? signOfContradiction(problem, y.data(), pulled.data())
                         : static_cast<int>(seemToContradict(problem, y.data(), pulled.data()));
    std::ranges::for_each(y, [&](double& multiplier) { multiplier *= sign; });
    if (sign == 0 || !holdsFar(judgeFarkas(data_, y))) {
        return false;
    }
    point_.y = std::move(y);
    return true;
}

Vector PrimalDualGuess::missesOf(const List& R) const {
    Vector misses;
    for (const std::size_t i : R) {
        misses.push_back(sides_[i] == Side::Both ? Infinity : sides_.target(i) - values_[i]);
    }
    return misses;
}

void PrimalDualGuess::take(const List& F, const Vector& f, const List& R, const Vector& r) {
    for (std::size_t k = 0; k < F.size(); ++k) {
        point_.x[F[k]] = f[k];
    }
    std::fill(point_.y.begin(), point_.y.end(), 0.0);
    for (std::size_t k = 0; k < R.size(); ++k) {
        point_.y[R[k]] = r[k];
    }
    addHessianColumns(data_, F, point_.x.data(), gradient_.data());
    for (std::size_t j = 0; j < data_.n && !R.empty(); ++j) {
        const double* column = data_.columnOfA(j);
        for (std::size_t k = 0; k < R.size(); ++k) {
            gradient_[j] += column[R[k]] * r[k];
        }
    }
}

// Exchanges all that is wrong. Returns how many constraints come, go or change sides.
std::size_t PrimalDualGuess::exchange() {
    std::size_t changes = exchangeRows();
    for (std::size_t j = 0; j < data_.n; ++j) {
        const std::size_t k = data_.m + j;
        const Side side = sides_[k];
        Side next = side;
        if (side == Side::None) {
            next = sides_.beyond(k, point_.x[j]);
        } else if ((side == Side::Lower && gradient_[j] < 0.0) ||
                   (side == Side::Upper && gradient_[j] > 0.0)) {
            next = Side::None;
        }
        changes += next != side ? 1U : 0U;
        sides_.hold(k, next);
    }
    return changes;
}

std::size_t PrimalDualGuess::exchangeRows() {
    std::size_t changes = 0;
    values_ = product(data_.A, data_.m, point_.x);
    for (std::size_t i = 0; i < data_.m; ++i) {
        const Side side = sides_[i];
        Side next = side;
        if (side == Side::None) {
            next = sides_.beyond(i, values_[i]);
        } else if (sides_.sign(i) != 0.0 && !(sides_.sign(i) * point_.y[i] > 0.0)) {
            next = Side::None;
        }
        changes += next != side ? 1U : 0U;
        sides_.hold(i, next);
    }
    return changes;
}

// Solves the equations again for their residuals, formed in extended precision.
void PrimalDualGuess::refine() {
    constexpr int MostCorrections = 4;
    const Polishing polishing(control_);
    const std::vector<std::size_t>& F = system_.free();
    const std::vector<std::size_t>& R = system_.rows();
    double size = Infinity;
    for (int k = 0; k < MostCorrections && size > SmallResidual; ++k) {
        const std::vector<Sum> gradient = gradientSums(data_, point_.x, point_.y);
        const std::vector<Sum> rows = R.empty() ? std::vector<Sum>() : rowValues(data_, point_.x);
        Vector f(F.size());
        Vector r(R.size());
        size = 0.0;
        for (std::size_t i = 0; i < F.size(); ++i) {
            f[i] = -static_cast<double>(gradient[F[i]].value);
            size = std::max(size, std::abs(f[i]) / std::max(1.0, gradient[F[i]].scale));
        }
        for (std::size_t i = 0; i < R.size(); ++i) {
            r[i] = static_cast<double>(sides_.target(R[i]) - rows[R[i]].value);
            size = std::max(size, std::abs(r[i]) / std::max(1.0, rows[R[i]].scale));
        }
        system_.solve(f, r);
        Vector step(data_.n, 0.0);
        for (std::size_t i = 0; i < F.size(); ++i) {
            step[F[i]] = f[i];
        }
        axpy(1.0, step.data(), point_.x.data(), data_.n);
        const double rounding = boundRounding(largestMagnitude(point_.x));
        for (const std::size_t j : F) {
            point_.x[j] = atBoundButFor(rounding, point_.x[j], data_.lower[j], data_.upper[j]);
        }
        for (std::size_t i = 0; i < R.size(); ++i) {
            point_.y[R[i]] += r[i];
        }
        // The step changes the gradient by little, so double precision is enough.
        Vector change(data_.n, 0.0);
        addHessianColumns(data_, F, step.data(), change.data());
        for (std::size_t j = 0; j < data_.n; ++j) {
            for (std::size_t i = 0; i < R.size(); ++i) {
                change[j] += data_.columnOfA(j)[R[i]] * r[i];
            }
            const bool isFree = sides_[data_.m + j] == Side::None;
            point_.z[j] = isFree ? 0.0 : -static_cast<double>(gradient[j].value + change[j]);
        }
    }
}

Point PrimalDualGuess::point() && {
    return std::move(point_);
}

}  // namespace activeset::frontend
