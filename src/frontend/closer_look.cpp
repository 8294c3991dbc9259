// Scaled iterative refinement. See Gleixner, Steffy and Wolter, INFORMS J. Comput. 28 (2016), and
// Weber, Sager and Gleixner, Math. Program. Comput. 11 (2019).
#include "frontend/closer_look.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/pivoted_qr.hpp"
#include "frontend/auxiliary_programs.hpp"
#include "frontend/loop/bare_loop.hpp"
#include "frontend/loop/caller_proofs.hpp"
#include "frontend/nearest_point.hpp"
#include "frontend/proof/farkas.hpp"
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
    for (double& entry : result.H) {
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

/// Whether the rows of the working set, or they and rows that are missed without a multiplier, are
/// nearly dependent, or quite.
bool areNearlyDependent(const ProblemData& data, const BestPoint& best) {
    const WorkingSet& set = best.set();
    std::vector<bool> isFixed(data.n, false);
    for (const auto* list : {&set.fixed, &set.atLower, &set.atUpper}) {
        for (const std::size_t j : *list) {
            isFixed[j] = true;
        }
    }
    std::vector<std::size_t> rows;
    for (const auto* list : {&set.equalities, &set.rowsAtLower, &set.rowsAtUpper}) {
        rows.insert(rows.end(), list->begin(), list->end());
    }
    const auto isSuspect = [&] {
        const auto free = static_cast<std::size_t>(std::ranges::count(isFixed, false));
        Dense columns(free, rows.size());
        std::size_t place = 0;
        for (std::size_t j = 0; j < data.n; ++j) {
            for (std::size_t k = 0; k < rows.size() && !isFixed[j]; ++k) {
                columns(place, k) = data.columnOfA(j)[rows[k]];
            }
            place += isFixed[j] ? 0U : 1U;
        }
        return PivotedQr(std::move(columns)).isNearlyDependent();
    };
    if (isSuspect()) {
        return true;
    }
    const std::vector<Sum> values = rowValues(data, best.point().x);
    const std::size_t members = rows.size();
    for (std::size_t i = 0; i < data.m; ++i) {
        const bool isMissed =
            data.rowLower[i] > values[i].value || data.rowUpper[i] < values[i].value;
        if (isMissed && best.point().y[i] == 0.0) {
            rows.push_back(i);
        }
    }
    return rows.size() > members && isSuspect();
}

/// A proved point that may be far from any that meets its sides.
struct Doubt {
    int bits = 0;            ///< closer to look
    bool isSerious = false;  ///< nothing is proved while it lasts
};

/// Nothing where x misses its sides by rounding only: the nearest point that meets them is near,
/// and costs so little more that the proof stands. Where rows are nearly parallel that point may be
/// far. If there is none, the sides contradict one another by rounding: that of the caller's
/// numbers, as of many rows that are to meet in a point.
std::optional<Doubt> doubtBesideRounding(ProblemCache& problem,
                                         const BestPoint& best,
                                         const Settings& exact,
                                         Control& control) {
    constexpr double ClearContradiction = 1e-3;
    constexpr double ContradictionReach =
        1e12;  // no point so many times farther away than the miss
    const ProblemData& data = problem.scaled;
    const Vector& x = best.point().x;
    const int bits = bitsOf(violation(data, x).absolute);
    ProblemCache around(surroundings(data, x, bits));
    const NearestPoint nearest = nearestPoint(around, bits, exact, control);
    if (!nearest.isFound) {
        const Relaxation relaxation = relax(around.user, Vector(data.n, 0.0), exact, control);
        const bool isContradiction =
            relaxation.isSolved && relaxation.violation > ClearContradiction &&
            judgeFarkas(around.user, relaxation.y).radius >= ContradictionReach;
        return isContradiction ? std::nullopt : std::optional(Doubt{bits, true});
    }
    const double gap =
        change(data, x, nearest.step) / problem.scaling.objective / sizeOf(problem, best);
    const bool isNear =
        nearest.length <= NearPoint * std::max(largestMagnitude(x), leastSize(data));
    return isNear && gap <= exact.tolerance ? std::nullopt
                                            : std::optional(Doubt{bitsOf(nearest.length), true});
}

std::optional<Doubt> doubt(ProblemCache& problem,
                           const BestPoint& best,
                           const Settings& exact,
                           Control& control) {
    const Judgement& judgement = best.judgement();
    const double miss = judgement.certificate.primal.relative;
    const bool isRounding = miss <= FeasibleToRounding;
    if (!best.isProved() || (isRounding && !judgement.isDelicate)) {
        return std::nullopt;
    }
    const bool isSuspect = areNearlyDependent(problem.scaled, best);
    if (isRounding) {
        return isSuspect ? doubtBesideRounding(problem, best, exact, control) : std::nullopt;
    }
    return Doubt{bitsOf(violation(problem.scaled, best.point().x).absolute),
                 isSuspect || !(miss <= ExactToRounding)};
}

}  // namespace

std::optional<Farkas> lookCloser(ProblemCache& problem,
                                 BestPoint& best,
                                 const Settings& settings,
                                 Control& control) {
    Settings exact = settings;
    exact.tolerance = std::min(exact.tolerance, ExactToRounding);
    for (int look = 0; look < MostLooks && !control.mustEnd(); ++look) {
        const std::optional<Doubt> doubted = doubt(problem, best, exact, control);
        if (!doubted) {
            return std::nullopt;
        }
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
            best.widenGap(doubted->isSerious ? Infinity : 0.0);
            return std::nullopt;
        }
        // What the optimum costs more counts as gap, unless its own is smaller.
        best.widenGap(std::abs(seen.rise / problem.scaling.objective) / sizeOf(problem, best));
        const Vector before = best.point().x;
        best.polish(std::move(seen.answer.point), seen.answer.set);
        if (best.point().x == before) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace activeset::frontend
