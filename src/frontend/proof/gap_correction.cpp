// The duality gap of an exact point is the sum of the rounding errors of many products. A change of
// one multiplier in its last digits takes it up, and adds that much to the dual residual.
#include "frontend/proof/gap_correction.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/problem/constraints.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

constexpr int MostChanges = 4;
// Relative residuals stay within this, and within the tolerance.
constexpr double ExactResidual = 1e-11;

double& multiplierOf(Point& point, const Constraints& held, std::size_t k) {
    return held.isRow(k) ? point.y[k] : point.z[k - point.y.size()];
}

// What taking up the gap by the multiplier of constraint k would cost: the dual residual that the
// change would leave, or the gap that the rounding of the multiplier does.
double costOf(
    const ProblemData& data, const Constraints& held, std::size_t k, double before, double gap) {
    const double side = held.target(k);
    const double after = before - gap / side;
    const bool keepsSign = held[k] == Side::Both || before * after > 0.0;
    if (side == 0.0 || !keepsSign) {
        return Infinity;
    }
    const double largest = held.isRow(k) ? largestEntryOfRow(data, k) : 1.0;
    const double spacing = std::nextafter(std::abs(after), Infinity) - std::abs(after);
    return std::max(std::abs(after - before) * largest, spacing * std::abs(side));
}

double largestAbsolute(const Certificate& certificate) {
    return std::max(
        {certificate.primal.absolute, certificate.dual.absolute, certificate.gap.absolute});
}

}  // namespace

void correctGap(const ProblemData& data,
                const WorkingSet& set,
                double tolerance,
                Point& point,
                Judgement& judgement) {
    const Constraints held = Constraints::namedBy(data, set);
    const std::vector<std::size_t> members = held.members();
    for (int change = 0; change < MostChanges; ++change) {
        Point trial = point;
        double least = Infinity;
        std::size_t cheapest = 0;
        for (const std::size_t k : members) {
            const double multiplier = multiplierOf(trial, held, k);
            const double cost = costOf(data, held, k, multiplier, judgement.signedGap);
            if (cost < least) {
                least = cost;
                cheapest = k;
            }
        }
        if (!(least < Infinity)) {
            return;
        }
        multiplierOf(trial, held, cheapest) -= judgement.signedGap / held.target(cheapest);
        settle(data, trial);
        const Judgement after = judge(data, trial);
        const bool isBetter =
            largestAbsolute(after.certificate) < largestAbsolute(judgement.certificate);
        if (!isBetter || !(after.certificate.holds(std::min(ExactResidual, tolerance)))) {
            return;
        }
        point = std::move(trial);
        judgement = after;
    }
}

}  // namespace activeset::frontend
