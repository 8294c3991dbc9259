// Scaled iterative refinement. See Gleixner, Steffy and Wolter, INFORMS J. Comput. 28 (2016), and
// Weber, Sager and Gleixner, Math. Program. Comput. 11 (2019).
#include "frontend/zoom.hpp"

#include <cmath>
#include <utility>

#include "frontend/auxiliary_programs.hpp"

namespace activeset::frontend {

namespace {

/// The sides as seen from these values; those out of sight are absent.
void magnify(Vector& sides, const std::vector<Sum>& values, double factor) {
    for (std::size_t k = 0; k < sides.size(); ++k) {
        const double side = static_cast<double>(sides[k] - values[k].value) * factor;
        sides[k] = std::abs(side) < AbsentSide ? side : std::copysign(Infinity, sides[k]);
    }
}

Data magnified(const Data& data, const Vector& x, double factor) {
    Data result = data;
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

}  // namespace

Zoomed zoom(const Data& data,
            const Point& at,
            const WorkingSet& set,
            double factor,
            const Settings& settings,
            Control& control) {
    Prepared problem(magnified(data, at.x, factor));
    Answer answer = solveAuxiliary(problem, Vector(data.n, 0.0), set, settings, control);
    Zoomed result;
    result.isSolved = statusOf(answer, settings.tolerance) == Status::Optimal;
    result.farkas = std::move(answer.farkas);
    result.rise = answer.judgement.objective / factor;
    result.point = std::move(answer.point);
    for (std::size_t j = 0; j < data.n; ++j) {
        result.point.x[j] = at.x[j] + result.point.x[j] / factor;
    }
    result.set = std::move(answer.set);
    return result;
}

}  // namespace activeset::frontend
