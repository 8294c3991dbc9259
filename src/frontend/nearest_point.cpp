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

ProblemData surroundings(const ProblemData& data, const Vector& x, int bits) {
    constexpr double NearSide = 0x1p40;  // enlarged
    ProblemData all;
    all.n = data.n;
    all.rowLower = data.rowLower;
    all.rowUpper = data.rowUpper;
    all.lower = data.lower;
    all.upper = data.upper;
    magnifySides(all, rowValues(data, x), x, std::ldexp(1.0, bits));
    std::vector<std::size_t> rows;
    for (std::size_t i = 0; i < data.m; ++i) {
        if (std::max(all.rowLower[i], -all.rowUpper[i]) >= -NearSide) {
            all.rowLower[rows.size()] = all.rowLower[i];
            all.rowUpper[rows.size()] = all.rowUpper[i];
            rows.push_back(i);
        }
    }
    all.m = rows.size();
    all.rowLower.resize(all.m);
    all.rowUpper.resize(all.m);
    all.c.assign(data.n, 0.0);
    all.quadratic = true;
    all.H.resize(data.n * data.n, 0.0);
    all.A.makeRoom(data.n * all.m);
    for (std::size_t j = 0; j < data.n; ++j) {
        all.H[j * data.n + j] = 1.0;
        for (const std::size_t i : rows) {
            all.A.push_back(data.columnOfA(j)[i]);
        }
    }
    return all;
}

NearestPoint nearestPoint(ProblemCache& around,
                          int bits,
                          const Settings& settings,
                          Control& control) {
    BareAnswer answer = solveBare(around, Vector(around.user.n, 0.0), {}, settings, control);
    NearestPoint nearest{answer.isSolved, std::move(answer.point.x)};
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
    ProblemCache around(surroundings(cone, direction, bits));
    const NearestPoint nearest = nearestPoint(around, bits, settings, control);
    return nearest.isFound && nearest.length <= NearPoint * largestMagnitude(direction);
}

}  // namespace activeset::frontend
