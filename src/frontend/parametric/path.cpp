// Following the optimum from breakpoint to breakpoint. Where one constraint comes or goes, the
// inverse of the optimality conditions follows it. Everything else, ties, dependent constraints,
// jumps and the ends, is settled by solves a little farther on: the working set there is one whose
// own line reaches back to the breakpoint, or the way there is halved.
#include "activeset/path.hpp"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <utility>

#include "frontend/parametric/kkt_inverse.hpp"
#include "frontend/parametric/line.hpp"
#include "frontend/parametric/line_solve.hpp"
#include "frontend/parametric/regular_set.hpp"
#include "host/floating_point.hpp"

namespace activeset {

using frontend::Event;
using frontend::Held;
using frontend::KktFactor;
using frontend::KktInverse;
using frontend::Line;
using frontend::MovingProblem;
using frontend::RegularSet;
using frontend::Vector;

class Path::Tracer {
public:
    Tracer(Path& path, MovingProblem& problem, double from, double to, Settings settings)
        : path_(&path),
          problem_(&problem),
          t_(from),
          crossing_(problem.crossing(from)),
          to_(std::min(to, crossing_.t)),
          isCutShort_(to_ < to),
          settings_(std::move(settings)) {}

    void run();

private:
    [[nodiscard]] bool exchange();
    [[nodiscard]] bool begin();
    [[nodiscard]] bool find();
    void keepInverse();
    [[nodiscard]] bool isTheEnd(const Result& result, double tried, double& ahead);
    [[nodiscard]] std::optional<Line> lineOf(const Result& result, double t);
    [[nodiscard]] bool isBehind(double t) const { return t > t_ + SameParameter * size(); }
    [[nodiscard]] double size() const { return std::max({to_ - t_, std::abs(to_), std::abs(t_)}); }
    void end(const Result& result);

    static constexpr double SameParameter = 1e-10;  // of the range: parameters that are one

    Path* path_;
    MovingProblem* problem_;
    double t_;
    MovingProblem::Crossing crossing_;
    double to_;
    bool isCutShort_;
    Settings settings_;
    Held held_;
    WarmStart warm_;
    std::optional<KktFactor> factor_;
    std::optional<KktInverse> inverse_;
    std::optional<Line> line_;
};

void Path::Tracer::run() {
    // Pieces are finitely many; this ends what rounding might keep going.
    const std::size_t most = 1000 * (10 + problem_->data().n + problem_->data().m);
    bool goesOn = find();
    while (goesOn) {
        path_->pieces_.push_back(line_->piece(held_, to_));
        path_->end_ = t_ = path_->pieces_.back().to;
        if (!isBehind(to_) || t_ >= to_) {
            path_->pieces_.back().to = path_->end_ = to_;
            path_->status_ = isCutShort_ ? Status::Infeasible : Status::Optimal;
            path_->message_ = isCutShort_ ? crossing_.text : "";
            return;
        }
        if (path_->pieces_.size() > most) {
            path_->status_ = Status::IterationLimit;
            return;
        }
        goesOn = exchange() || find();
    }
}

// Takes the one constraint that ends the line in or out, if that is all there is to do.
bool Path::Tracer::exchange() {
    const std::size_t n = problem_->data().n;
    const std::size_t m = problem_->data().m;
    if (!inverse_ || line_->events().size() != 1) {
        return false;
    }
    const Event event = line_->events().front();
    const bool isRow = event.constraint < m;
    const std::size_t member = isRow ? n + event.constraint : event.constraint - m;
    const bool joinsSystem = isRow == frontend::isHeld(event.becomes);
    const bool done = joinsSystem ? inverse_->add(member) : inverse_->remove(member);
    if (!done) {
        return false;
    }
    held_[event.constraint] = event.becomes;
    line_.emplace(*problem_, held_, t_, solverOf(*inverse_, n));
    return line_->isSolution() && !isBehind(line_->from()) && isBehind(line_->to());
}

// The line of the optimum at t.
std::optional<Line> Path::Tracer::lineOf(const Result& result, double t) {
    if (result.hessianShift != 0.0) {
        problem_->shift(result.hessianShift);
        path_->hessianShift_ += result.hessianShift;
    }
    warm_ = result.warmStart();
    inverse_.reset();
    const RegularSet set(*problem_, t, result);
    held_ = set.held();
    factor_ = set.factor();
    Line line(*problem_, held_, t, solverOf(*factor_));
    return line.isSolution() ? std::optional(std::move(line)) : std::nullopt;
}

void Path::Tracer::keepInverse() {
    if (factor_->isRegular()) {
        inverse_.emplace(problem_->data(), *factor_);
    }
}

// The working set of the first optimum, where it is right behind it, too.
bool Path::Tracer::begin() {
    const Result result = problem_->solve(t_, warm_, settings_);
    line_ = result ? lineOf(result, t_) : std::nullopt;
    if (!line_ || isBehind(line_->from()) || !(isBehind(line_->to()) || t_ >= to_)) {
        return false;
    }
    keepInverse();
    return true;
}

// A working set that is right from t on.
// NOLINTNEXTLINE(readability-function-size,readability-function-cognitive-complexity)
bool Path::Tracer::find() {
    if (isCutShort_ && t_ >= to_) {
        path_->status_ = Status::Infeasible;
        path_->message_ = crossing_.text;
        return false;
    }
    if (path_->pieces_.empty() && begin()) {
        return true;
    }
    constexpr int MostHalvings = 80;
    const double start = t_;
    double step = (to_ - t_) / 1024.0;
    for (int k = 0; k < MostHalvings; ++k) {
        const double tried = start + step;
        const Result result = problem_->solve(tried, warm_, settings_);
        double ahead = tried;
        if (!result) {
            if (isTheEnd(result, tried, ahead)) {
                end(result);
                return false;
            }
        } else {
            const std::optional<Line> line = lineOf(result, tried);
            if (line && !isBehind(line->from())) {
                keepInverse();
                line_.emplace(*problem_, held_, start, solverOf(*factor_));
                if (line_->isSolution() && (isBehind(line_->to()) || start >= to_)) {
                    return true;
                }
                // A constraint that moves so slowly that the solve did not see it violated.
                if (line_->isSolution() && exchange()) {
                    return true;
                }
                step = std::min(2.0 * step, to_ - start);
                continue;
            }
            ahead = line && line->from() < tried ? line->from() : tried;
        }
        step = 0.5 * (ahead - start);
        if (start >= to_) {
            break;
        }
    }
    path_->status_ = Status::Inaccurate;
    path_->message_ = "no working set was found that is right behind this breakpoint";
    return false;
}

// Whether the proof that there is no optimum at `tried` is one for all t behind the present one. If
// not, `ahead` is where it begins to be one.
bool Path::Tracer::isTheEnd(const Result& result, double tried, double& ahead) {
    double slope = 0.0;
    double value = 0.0;
    const frontend::Vectors& rates = problem_->rates();
    if (result.status == Status::Infeasible && result.farkas) {
        const auto add = [&](const Vector& multipliers, const Vector& lower, const Vector& upper) {
            for (std::size_t k = 0; k < multipliers.size(); ++k) {
                slope += multipliers[k] * (multipliers[k] > 0.0 ? upper[k] : lower[k]);
            }
        };
        add(result.farkas->y, rates.rowLower, rates.rowUpper);
        add(result.farkas->z, rates.lower, rates.upper);
        value = result.farkas->value;
    } else if (result.status == Status::Unbounded) {
        const Vector c = problem_->at(tried).c;
        for (std::size_t j = 0; j < c.size(); ++j) {
            value += c[j] * result.direction[j];
            slope += rates.c[j] * result.direction[j];
        }
    } else {
        return true;
    }
    // Of a slope that is not negative the proof holds at all t before, the present one included.
    const double root = slope < 0.0 ? tried - value / slope : -Infinity;
    ahead = std::min(root, tried);
    return !isBehind(root);
}

void Path::Tracer::end(const Result& result) {
    path_->status_ = result.status;
    path_->message_ = result.message;
    path_->direction_ = result.direction;
    if (result.farkas) {
        path_->farkas_ = *result.farkas;
    }
}

Path::Path(const Problem& problem,
           const Direction& direction,
           double from,
           double to,
           const Settings& settings) {
    const FloatingPointGuard environment;
    if (!(std::isfinite(to - from) && from <= to)) {
        throw std::invalid_argument("activeset: Path: the range is not one of finite numbers");
    }
    MovingProblem moving(problem, direction);
    if (!moving.isFiniteAt(from) || !moving.isFiniteAt(to)) {
        throw std::invalid_argument("activeset: Path: the data overflow within the range");
    }
    end_ = from;
    Tracer(*this, moving, from, to, settings).run();
}

PathPoint Path::at(double t) const {
    if (pieces_.empty() || !(t >= pieces_.front().from && t <= pieces_.back().to)) {
        throw std::invalid_argument("activeset: Path::at: outside of the range that was followed");
    }
    const auto piece = std::lower_bound(pieces_.begin(), pieces_.end() - 1, t,
                                        [](const Piece& p, double value) { return p.to < value; });
    const double s = t - piece->from;
    PathPoint point{piece->x, piece->y, piece->z,
                    piece->objective + s * (piece->slope + 0.5 * s * piece->curvature)};
    const auto move = [s](std::vector<double>& values, const std::vector<double>& rates) {
        for (std::size_t k = 0; k < values.size(); ++k) {
            values[k] += s * rates[k];
        }
    };
    move(point.x, piece->dx);
    move(point.y, piece->dy);
    move(point.z, piece->dz);
    return point;
}

}  // namespace activeset
