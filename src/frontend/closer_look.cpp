// Scaled iterative refinement. See Gleixner, Steffy and Wolter, INFORMS J. Comput. 28 (2016), and
// Weber, Sager and Gleixner, Math. Program. Comput. 11 (2019).
#include "frontend/closer_look.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/loop/bare_loop.hpp"
#include "frontend/loop/caller_proofs.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

constexpr int MostLooks = 4;
constexpr int MostBits = 60;  // of the largest factor

/// The distances of sides from these values, multiplied by `factor`; far ones become absent.
void magnify(Vector& sides, const std::vector<Sum>& values, double factor) {
    for (std::size_t k = 0; k < sides.size(); ++k) {
        const double side = static_cast<double>(sides[k] - values[k].value) * factor;
        sides[k] = std::abs(side) < AbsentSide ? side : std::copysign(Infinity, sides[k]);
    }
}

ProblemData magnified(const ProblemData& data, const Vector& x, double factor) {
    ProblemData result = data;
    std::vector<Sum> gradient = curvedSums(data, x);
    addLinear(gradient, data);
    std::vector<Sum> places(data.n);
    for (std::size_t j = 0; j < data.n; ++j) {
        places[j].value = x[j];
        result.c[j] = static_cast<double>(gradient[j].value);
    }
    for (double& entry : result.H) {
        entry /= factor;
    }
    const std::vector<Sum> rows = rowValues(data, x);
    magnify(result.rowLower, rows, factor);
    magnify(result.rowUpper, rows, factor);
    magnify(result.lower, places, factor);
    magnify(result.upper, places, factor);
    result.constant = 0.0;
    return result;
}

struct Magnified {
    BareAnswer answer;  ///< the point in the variables of the problem
    double rise = 0.0;  ///< of the objective, from the point that was looked at
};

/// The minimum of ½dᵀHd + (H·x + c)ᵀd over the d for which x + d is feasible, found with d and all
/// sides as many times larger as `factor` says. All sides are formed in extended precision.
Magnified solveMagnified(const ProblemData& data,
                         const BestPoint& best,
                         double factor,
                         const Settings& settings,
                         Control& control) {
    const Vector& at = best.point().x;
    ProblemCache problem(magnified(data, at, factor));
    Magnified result{solveBare(problem, Vector(data.n, 0.0), best.set(), settings, control), 0.0};
    result.rise = result.answer.objective / factor;
    for (std::size_t j = 0; j < data.n; ++j) {
        result.answer.point.x[j] = at[j] + result.answer.point.x[j] / factor;
    }
    return result;
}

// Raises the gap by what a closer look has found, if that was no better point.
void doubt(const ProblemCache& problem, const Magnified& seen, BestPoint& best) {
    const Judgement& judgement = best.judgement();
    if (seen.answer.isSolved) {
        const double size = std::max(Units(problem.user, best.point().x).ofObjective(),
                                     std::abs(judgement.objective));
        best.widenGap(std::abs(seen.rise / problem.scaling.objective) / size);
    } else if (!(judgement.certificate.primal.relative <= ExactToRounding)) {
        best.widenGap(Infinity);  // nothing is known
    }
}

}  // namespace

std::optional<Farkas> lookCloser(ProblemCache& problem,
                                 BestPoint& best,
                                 const Settings& settings,
                                 Control& control) {
    const auto needsLook = [&best] {
        return best.isProved() &&
               !(best.judgement().certificate.primal.relative <= FeasibleToRounding);
    };
    Settings exact = settings;
    exact.tolerance = std::min(exact.tolerance, ExactToRounding);
    for (int look = 0; look < MostLooks && needsLook() && !control.mustEnd(); ++look) {
        const double miss = violation(problem.scaled, best.point().x).absolute;
        const double factor = std::ldexp(1.0, std::clamp(-std::ilogb(miss), 0, MostBits));
        Magnified seen = solveMagnified(problem.scaled, best, factor, exact, control);
        if (seen.answer.farkas) {
            if (auto farkas = provenFarkas(problem, std::move(seen.answer.farkas->y), best)) {
                return farkas;
            }
        }
        const Vector before = best.point().x;
        best.polish(std::move(seen.answer.point), seen.answer.set);
        if (best.point().x == before) {
            doubt(problem, seen, best);
            return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace activeset::frontend
