// The duality gap of a point that is exact but for rounding: the sum of many products, each rounded
// to the size of its factors. A change of one multiplier in its last digits takes up what is left,
// and shows in the dual residual by that much.
#include "frontend/proof/gap_correction.hpp"

#include <algorithm>
#include <cmath>

namespace activeset::frontend {

namespace {

constexpr int MostChanges = 4;
// Relative residuals stay within this, and within the tolerance.
constexpr double ExactResidual = 1e-11;

/// One member of the working set, and what changing its multiplier would cost.
struct Member {
    double* multiplier = nullptr;
    double side = 0.0;
    double largest = 1.0;  ///< entry of its row
    bool isEquality = false;
};

std::vector<Member> membersOf(const ProblemData& data, const WorkingSet& set, Point& point) {
    std::vector<Member> members;
    const auto addRows = [&](const std::vector<std::size_t>& rows, const Vector& sides,
                             bool equal) {
        for (const std::size_t i : rows) {
            double largest = 0.0;
            for (std::size_t j = 0; j < data.n; ++j) {
                largest = std::max(largest, std::abs(data.columnOfA(j)[i]));
            }
            members.push_back({&point.y[i], sides[i], largest, equal});
        }
    };
    const auto addBounds = [&](const std::vector<std::size_t>& variables, const Vector& bounds,
                               bool equal) {
        for (const std::size_t j : variables) {
            members.push_back({&point.z[j], bounds[j], 1.0, equal});
        }
    };
    addRows(set.equalities, data.rowLower, true);
    addRows(set.rowsAtLower, data.rowLower, false);
    addRows(set.rowsAtUpper, data.rowUpper, false);
    addBounds(set.fixed, data.lower, true);
    addBounds(set.atLower, data.lower, false);
    addBounds(set.atUpper, data.upper, false);
    return members;
}

// The dual residual that a change would leave, or the gap that the rounding of the multiplier does.
double costOf(const Member& member, double gap) {
    const double before = *member.multiplier;
    const double after = before - gap / member.side;
    const bool keepsSign = member.isEquality || before * after > 0.0;
    if (member.side == 0.0 || !keepsSign) {
        return Infinity;
    }
    const double spacing = std::nextafter(std::abs(after), Infinity) - std::abs(after);
    return std::max(std::abs(after - before) * member.largest, spacing * std::abs(member.side));
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
    for (int change = 0; change < MostChanges; ++change) {
        Point trial = point;
        const std::vector<Member> members = membersOf(data, set, trial);
        const auto cheapest =
            std::min_element(members.begin(), members.end(), [&](const Member& a, const Member& b) {
                return costOf(a, judgement.signedGap) < costOf(b, judgement.signedGap);
            });
        if (cheapest == members.end() || !std::isfinite(costOf(*cheapest, judgement.signedGap))) {
            return;
        }
        *cheapest->multiplier -= judgement.signedGap / cheapest->side;
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
