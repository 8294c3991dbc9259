// The relaxed problem and the problem of the steepest ray.
#include "frontend/auxiliary_programs.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/loop/bare_loop.hpp"

namespace activeset::frontend {

namespace {

/// One finite side of a row, which is one row of the relaxed problem. It says nothing about what is
/// held, so it is no Constraints.
struct RowSide {
    std::size_t row = 0;
    bool isUpper = true;
};

std::vector<RowSide> sidesOf(const ProblemData& data) {
    std::vector<RowSide> sides;
    for (std::size_t i = 0; i < data.m; ++i) {
        if (data.rowUpper[i] < Infinity) {
            sides.push_back({i, true});
        }
        if (data.rowLower[i] > -Infinity) {
            sides.push_back({i, false});
        }
    }
    return sides;
}

// min γ subject to row·x − γ ≤ upper, row·x + γ ≥ lower, γ ≥ 0 and the bounds.
ProblemData relaxed(const ProblemData& data, const std::vector<RowSide>& sides) {
    ProblemData result;
    result.n = data.n + 1;
    result.m = sides.size();
    result.c.assign(result.n, 0.0);
    result.c.back() = 1.0;
    result.lower = data.lower;
    result.upper = data.upper;
    result.lower.push_back(0.0);
    result.upper.push_back(Infinity);
    LargeVector& A = result.A.change();
    A.makeRoom(result.n * result.m);
    for (std::size_t j = 0; j < data.n; ++j) {
        for (const RowSide& side : sides) {
            A.push_back(data.columnOfA(j)[side.row]);
        }
    }
    for (const RowSide& side : sides) {
        A.push_back(side.isUpper ? -1.0 : 1.0);
        result.rowLower.push_back(side.isUpper ? -Infinity : data.rowLower[side.row]);
        result.rowUpper.push_back(side.isUpper ? data.rowUpper[side.row] : Infinity);
    }
    return result;
}

// Finite sides become 0, bounds 0 or ±1. The rows of H stand below those of A.
ProblemData rayProblem(const ProblemData& data) {
    ProblemData result;
    const std::size_t curved = data.quadratic ? data.n : 0;
    result.n = data.n;
    result.m = data.m + curved;
    result.c = data.c;
    LargeVector& A = result.A.change();
    for (std::size_t j = 0; j < data.n; ++j) {
        A.insert(A.end(), data.columnOfA(j), data.columnOfA(j) + data.m);
        if (data.quadratic) {
            A.insert(A.end(), data.columnOfH(j), data.columnOfH(j) + data.n);
        }
        result.lower.push_back(data.lower[j] > -Infinity ? 0.0 : -1.0);
        result.upper.push_back(data.upper[j] < Infinity ? 0.0 : 1.0);
    }
    for (std::size_t i = 0; i < data.m; ++i) {
        result.rowLower.push_back(data.rowLower[i] > -Infinity ? 0.0 : -Infinity);
        result.rowUpper.push_back(data.rowUpper[i] < Infinity ? 0.0 : Infinity);
    }
    result.rowLower.resize(result.m, 0.0);
    result.rowUpper.resize(result.m, 0.0);
    return result;
}

}  // namespace

Relaxation relax(const ProblemData& scaled,
                 const Vector& x,
                 const Settings& settings,
                 Control& control) {
    const std::vector<RowSide> sides = sidesOf(scaled);
    ProblemCache problem(relaxed(scaled, sides));
    Vector start = x;
    for (std::size_t j = 0; j < scaled.n; ++j) {
        start[j] = std::min(std::max(start[j], scaled.lower[j]), scaled.upper[j]);
    }
    start.push_back(1.0 + violation(scaled, start).absolute);
    BareAnswer answer = solveBare(problem, start, {}, settings, control);
    Relaxation result;
    result.isSolved = answer.isSolved;
    result.y.assign(scaled.m, 0.0);
    result.x = std::move(answer.point.x);
    result.violation = result.x.back();
    result.x.pop_back();
    result.z = std::move(answer.point.z);
    result.z.pop_back();
    for (std::size_t k = 0; k < sides.size(); ++k) {
        result.y[sides[k].row] += answer.point.y[k];
    }
    return result;
}

Vector steepestRay(const ProblemData& scaled, const Settings& settings, Control& control) {
    ProblemCache problem(rayProblem(scaled));
    BareAnswer answer = solveBare(problem, Vector(scaled.n, 0.0), {}, settings, control);
    if (!(answer.objective < 0.0)) {
        return {};
    }
    return std::move(answer.point.x);
}

}  // namespace activeset::frontend
