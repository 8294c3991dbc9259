#include "frontend/nearest_point.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/loop/bare_loop.hpp"
#include "frontend/proof/certificate.hpp"
#include "frontend/proof/ray.hpp"

namespace activeset::frontend {

namespace {

/// The distances of sides from these values, multiplied by `factor`; far ones become `absent`.
void magnify(Vector& sides, double absent, const std::vector<Sum>& values, double factor) {
    for (std::size_t k = 0; k < sides.size(); ++k) {
        const double side = static_cast<double>(sides[k] - values[k].value) * factor;
        sides[k] = std::abs(side) < AbsentSide ? side : absent;
    }
}

}  // namespace

int bitsOf(double size) {
    constexpr int Most = 200;
    return size > 0.0 ? std::clamp(-std::ilogb(size), 0, Most) : 0;
}

void magnifySides(ProblemData& data, const std::vector<Sum>& rows, const Vector& x, double factor) {
    std::vector<Sum> places(data.n);
    for (std::size_t j = 0; j < data.n; ++j) {
        places[j].value = x[j];
    }
    magnify(data.rowLower, -Infinity, rows, factor);
    magnify(data.rowUpper, Infinity, rows, factor);
    magnify(data.lower, -Infinity, places, factor);
    magnify(data.upper, Infinity, places, factor);
}

Surroundings::Surroundings(const ProblemData& problem, const Vector& x, int bits) {
    constexpr double NearSide = 0x1p40;  // enlarged
    data.n = problem.n;
    data.rowLower = problem.rowLower;
    data.rowUpper = problem.rowUpper;
    data.lower = problem.lower;
    data.upper = problem.upper;
    magnifySides(data, rowValues(problem, x), x, std::ldexp(1.0, bits));
    for (std::size_t i = 0; i < problem.m; ++i) {
        if (std::max(data.rowLower[i], -data.rowUpper[i]) >= -NearSide) {
            data.rowLower[rows.size()] = data.rowLower[i];
            data.rowUpper[rows.size()] = data.rowUpper[i];
            rows.push_back(i);
        }
    }
    data.m = rows.size();
    data.rowLower.resize(data.m);
    data.rowUpper.resize(data.m);
    data.c.assign(problem.n, 0.0);
    data.quadratic = true;
    LargeVector H(problem.n * problem.n, 0.0);
    LargeVector A;
    A.makeRoom(problem.n * data.m);
    for (std::size_t j = 0; j < problem.n; ++j) {
        H[j * problem.n + j] = 1.0;
        for (const std::size_t i : rows) {
            A.push_back(problem.columnOfA(j)[i]);
        }
    }
    data.H = std::move(H);
    data.A = std::move(A);
}

NearestPoint nearestPoint(ProblemCache& around,
                          int bits,
                          const Settings& settings,
                          Control& control) {
    BareAnswer answer = solveBare(around, Vector(around.user.n, 0.0), {}, settings, control);
    constexpr double SmallMiss = 1e-3;  // what was missed is some 1
    NearestPoint nearest{
        answer.isSolved || violation(around.user, answer.point.x).absolute <= SmallMiss,
        std::move(answer.point.x), std::move(answer.claim)};
    for (double& entry : nearest.step) {
        entry = std::ldexp(entry, -bits);
    }
    nearest.length = largestMagnitude(nearest.step);
    return nearest;
}

bool isBesideRay(const ProblemData& data,
                 const Vector& direction,
                 const Settings& settings,
                 Control& control) {
    if (!isDoubtful(data, direction)) {
        return true;
    }
    ProblemData cone = data;
    for (Vector* sides : {&cone.rowLower, &cone.rowUpper, &cone.lower, &cone.upper}) {
        for (double& side : *sides) {
            side = std::isfinite(side) ? 0.0 : side;
        }
    }
    const int bits = bitsOf(violation(cone, direction).absolute);
    ProblemCache around(Surroundings(cone, direction, bits).data);
    const NearestPoint nearest = nearestPoint(around, bits, settings, control);
    return nearest.isFound && nearest.length <= NearPoint * largestMagnitude(direction);
}

}  // namespace activeset::frontend
