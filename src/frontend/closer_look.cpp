// Scaled iterative refinement. See Gleixner, Steffy and Wolter, INFORMS J. Comput. 28 (2016), and
// Weber, Sager and Gleixner, Math. Program. Comput. 11 (2019).
#include "frontend/closer_look.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/algebra/pivoted_qr.hpp"
#include "frontend/auxiliary_programs.hpp"
#include "frontend/loop/bare_loop.hpp"
#include "frontend/loop/caller_proofs.hpp"
#include "frontend/nearest_point.hpp"
#include "frontend/proof/contradiction.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

constexpr int MostLooks = 4;
constexpr int MostBits = 60;  // of the largest factor

ProblemData magnified(const ProblemData& data, const Vector& x, double factor) {
    ProblemData result = data;
    std::vector<Sum> gradient = curvedSums(data, x);
    addLinear(gradient, data);
    for (std::size_t j = 0; j < data.n; ++j) {
        result.c[j] = static_cast<double>(gradient[j].value);
    }
    for (double& entry : result.H.change()) {
        entry /= factor;
    }
    magnifySides(result, rowValues(data, x), x, factor);
    result.constant = 0.0;
    return result;
}

struct Magnified {
    BareAnswer answer;  ///< the point in the variables of the problem
    double rise = 0.0;  ///< of the objective, from the point that was looked at
};

/// The minimum of ½dᵀHd + (H·x + c)ᵀd over the d for which x + d is feasible, found with d and all
/// sides larger by so many bits. All sides are formed in extended precision.
Magnified solveMagnified(const ProblemData& data,
                         const BestPoint& best,
                         int bits,
                         const Settings& settings,
                         Control& control) {
    const double factor = std::ldexp(1.0, std::min(bits, MostBits));
    const Vector& at = best.point().x;
    ProblemCache problem(magnified(data, at, factor));
    Magnified result{solveBare(problem, Vector(data.n, 0.0), best.set(), settings, control), 0.0};
    result.rise = result.answer.objective / factor;
    for (std::size_t j = 0; j < data.n; ++j) {
        result.answer.point.x[j] = at[j] + result.answer.point.x[j] / factor;
    }
    return result;
}

/// What changes of the objective are in proportion to.
double sizeOf(const ProblemCache& problem, const BestPoint& best) {
    return std::max(Units(problem.user, problem.scaling.unscaled(best.point()).x).ofObjective(),
                    std::abs(best.judgement().objective));
}

/// By how much the objective changes along d, which is short.
double change(const ProblemData& data, const Vector& x, const Vector& d) {
    std::vector<Sum> gradient = curvedSums(data, x);
    addLinear(gradient, data);
    const std::vector<Sum> curved = curvedSums(data, d);
    Extended sum = 0;
    for (std::size_t j = 0; j < data.n; ++j) {
        sum += (gradient[j].value + curved[j].value * 0.5) * d[j];
    }
    return magnitude(sum);
}

/// Sides that x is near, or misses.
class NearSides {
public:
    /// Those of the working set.
    NearSides(const ProblemData& data, const WorkingSet& set) : data_(data), isFixed_(data.n) {
        for (const auto* list : {&set.fixed, &set.atLower, &set.atUpper}) {
            for (const std::size_t j : *list) {
                isFixed_[j] = true;
            }
        }
        for (const auto* list : {&set.equalities, &set.rowsAtLower, &set.rowsAtUpper}) {
            rows_.insert(rows_.end(), list->begin(), list->end());
        }
    }
    /// Adds those without multipliers, and tells whether there are any.
    bool addUnweighed(const Point& point, double reach) {
        bool areThere = false;
        const std::vector<Sum> values = rowValues(data_, point.x);
        for (std::size_t i = 0; i < data_.m; ++i) {
            if (point.y[i] == 0.0 && std::ranges::find(rows_, i) == rows_.end() &&
                touches(values[i].value, values[i].scale, data_.rowLower[i], data_.rowUpper[i],
                        reach)) {
                rows_.push_back(i);
                areThere = true;
            }
        }
        for (std::size_t j = 0; j < data_.n; ++j) {
            const double x = point.x[j];
            if (!isFixed_[j] && touches(x, std::abs(x), data_.lower[j], data_.upper[j], reach)) {
                isFixed_[j] = true;
                areThere = true;
            }
        }
        return areThere;
    }
    /// Whether they are nearly dependent, or quite, or more than the variables: then the points
    /// that meet all of them may be far from x.
    [[nodiscard]] bool areNearlyDependent() const {
        const auto free = static_cast<std::size_t>(std::ranges::count(isFixed_, false));
        if (rows_.size() > free) {
            return true;
        }
        Dense columns(free, rows_.size());
        std::size_t place = 0;
        for (std::size_t j = 0; j < data_.n; ++j) {
            for (std::size_t k = 0; k < rows_.size() && !isFixed_[j]; ++k) {
                columns(place, k) = data_.columnOfA(j)[rows_[k]];
            }
            place += isFixed_[j] ? 0U : 1U;
        }
        return PivotedQr(std::move(columns)).isNearlyDependent();
    }

private:
    const ProblemData& data_;
    std::vector<bool> isFixed_;
    std::vector<std::size_t> rows_;
};

/// Whether what x misses its sides by may lead far away.
bool mayLeadFar(const ProblemData& data, const BestPoint& best, double miss) {
    constexpr double Lever = 1e4;  // how many times farther than the miss a point may be
    NearSides sides(data, best.set());
    return sides.areNearlyDependent() ||
           (sides.addUnweighed(best.point(), std::max(TouchedSide, Lever * miss)) &&
            sides.areNearlyDependent());
}

/// A proved point that may be far from any that meets its sides.
struct Doubt {
    int bits = 0;             ///< closer to look
    bool isSerious = false;   ///< nothing is proved while it lasts
    bool isHopeless = false;  ///< there seems to be no point to look for
    Vector contradiction{};   ///< weights of rows that may contradict one another
};

/// What is known of sides that no point was found to meet.
struct Conflict {
    bool isRefuted = false;  ///< there is a point
    Vector weights{};        ///< by which they clearly contradict one another; none if unknown
};

Conflict conflictAround(ProblemCache& around,
                        const Vector& claim,
                        double reach,
                        const Settings& exact,
                        Control& control) {
    constexpr double ClearContradiction = 1e-3;
    const auto isClear = [&](const Vector& y) {
        return !y.empty() && doContradict(around.user, y, reach, ClearContradiction);
    };
    if (isClear(claim)) {
        return {false, claim};
    }
    Relaxation relaxation = relax(around.user, Vector(around.user.n, 0.0), exact, control);
    if (isClear(relaxation.y)) {
        return {false, std::move(relaxation.y)};
    }
    return {relaxation.isSolved && relaxation.violation <= ClearContradiction};
}

/// Nothing where x misses its sides by rounding only: the nearest point that meets them is near,
/// and costs so little more that the proof stands. Where rows are nearly parallel that point may be
/// far. If there is none, the sides contradict one another by rounding: that of the caller's
/// numbers, as of many rows that are to meet in a point.
std::optional<Doubt> doubtBesideRounding(ProblemCache& problem,
                                         const BestPoint& best,
                                         const Settings& exact,
                                         Control& control) {
    constexpr double RoundedSides = 64.0 * std::numeric_limits<double>::epsilon();
    constexpr double FarPoint = 1e6;
    const ProblemData& data = problem.scaled;
    const Vector& x = best.point().x;
    const double missed = violation(data, x).absolute;
    const double size = std::max(largestMagnitude(x), leastSize(data));
    const int bits = bitsOf(missed);
    Surroundings nearby(data, x, bits);
    ProblemCache around(std::move(nearby.data));
    const NearestPoint nearest = nearestPoint(around, bits, exact, control);
    if (nearest.isFound) {
        const double gap =
            change(data, x, nearest.step) / problem.scaling.objective / sizeOf(problem, best);
        const bool isNear = nearest.length <= NearPoint * size;
        return isNear && gap <= exact.tolerance
                   ? std::nullopt
                   : std::optional(Doubt{bitsOf(nearest.length), true});
    }
    if (!(best.judgement().certificate.primal.relative <= RoundedSides)) {
        return Doubt{bits, true};
    }
    const Conflict conflict =
        conflictAround(around, nearest.claim, std::ldexp(FarPoint * size, bits), exact, control);
    if (conflict.weights.empty()) {
        return Doubt{bits, true, !conflict.isRefuted};
    }
    if (missed <= ExactToRounding * leastSize(data)) {
        return std::nullopt;
    }
    Doubt contradicted{bits, false, true, Vector(data.m)};
    for (std::size_t k = 0; k < nearby.rows.size(); ++k) {
        contradicted.contradiction[nearby.rows[k]] = conflict.weights[k];
    }
    return contradicted;
}

std::optional<Doubt> doubt(ProblemCache& problem,
                           const BestPoint& best,
                           const Settings& exact,
                           Control& control) {
    constexpr double LevelGradient = 8.0 * std::numeric_limits<double>::epsilon();
    const Judgement& judgement = best.judgement();
    const double miss = judgement.certificate.primal.relative;
    const bool isRounding = miss <= FeasibleToRounding;
    const bool isSteep = !(judgement.certificate.dual.relative <= LevelGradient);
    if (!best.isProved()) {
        return std::nullopt;
    }
    if (miss <= NegligibleMiss || (isRounding && !judgement.isDelicate)) {
        return isSteep ? std::optional(Doubt{0, true}) : std::nullopt;
    }
    const double missed = violation(problem.scaled, best.point().x).absolute;
    if (!(miss <= ExactToRounding)) {
        return Doubt{bitsOf(missed), true};
    }
    const std::optional<Doubt> doubted = mayLeadFar(problem.scaled, best, miss)
                                             ? doubtBesideRounding(problem, best, exact, control)
                                             : std::nullopt;
    return doubted || (isRounding && !isSteep) ? doubted : Doubt{bitsOf(missed), isSteep};
}

}  // namespace

std::optional<Farkas> lookCloser(ProblemCache& problem,
                                 BestPoint& best,
                                 const Settings& settings,
                                 Control& control) {
    Settings exact = settings;
    exact.tolerance = std::min(exact.tolerance, ExactToRounding);
    std::optional<Doubt> doubted = doubt(problem, best, exact, control);
    for (int look = 0; doubted && !doubted->isHopeless && look < MostLooks && !control.mustEnd();
         ++look) {
        Magnified seen = solveMagnified(problem.scaled, best, doubted->bits, exact, control);
        if (!seen.answer.farkas && !seen.answer.isSolved) {
            seen = solveMagnified(problem.scaled, best, doubted->bits / 2, exact, control);
        }
        if (seen.answer.farkas) {
            if (auto farkas = provenFarkas(problem, std::move(seen.answer.farkas->y), best)) {
                return farkas;
            }
        }
        if (!seen.answer.isSolved) {
            break;
        }
        // What the optimum costs more counts as gap, unless its own is smaller.
        best.widenGap(std::abs(seen.rise / problem.scaling.objective) / sizeOf(problem, best));
        const Vector before = best.point().x;
        best.polishSides(std::move(seen.answer.point), seen.answer.set);
        if (best.point().x == before) {
            break;
        }
        // As long as a look tells more than the one before, another one may settle it.
        const int seenBits = std::exchange(doubted, doubt(problem, best, exact, control))->bits;
        if (doubted && doubted->bits <= seenBits) {
            break;
        }
    }
    if (!doubted) {
        return std::nullopt;
    }
    if (doubted->isSerious) {
        best.widenGap(Infinity);
    }
    return doubted->contradiction.empty()
               ? std::nullopt
               : provenFarkas(problem, std::move(doubted->contradiction), best);
}

}  // namespace activeset::frontend
