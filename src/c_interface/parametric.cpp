// Derivatives, ranges and paths of the C interface.
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "activeset/path.hpp"
#include "activeset/ranges.hpp"
#include "activeset/sensitivity.hpp"
#include "c_interface/convert.hpp"
#include "c_interface/guard.hpp"
#include "c_interface/handles.hpp"

namespace c = activeset::c_interface;

static_assert(static_cast<int>(activeset::Derivative::Full) == ACTIVESET_DERIVATIVE_FULL &&
              static_cast<int>(activeset::Derivative::LeastSquares) ==
                  ACTIVESET_DERIVATIVE_LEAST_SQUARES);

struct activeset_sensitivity {
    std::size_t n = 0;
    std::size_t m = 0;
    activeset::Sensitivity derivatives;
};

struct activeset_path {
    std::size_t n = 0;
    std::size_t m = 0;
    activeset::Path path;
};

namespace {

/// Calls `work` and turns std::invalid_argument into the codes of this interface.
template <class Raised, class Work>
auto translated(Work work) {
    try {
        return work();
    } catch (const std::invalid_argument&) {
        throw Raised();
    }
}

/// A copy of the caller's struct, which has at least the members of the first version.
template <class Struct>
Struct known(const Struct* given) {
    c::require(given != nullptr);
    return c::known(given, Struct{}, sizeof(Struct));
}

/// Copies the members back into the caller's struct, which may be of a later version.
template <class Struct>
void give(Struct& known, Struct* target) {
    known.struct_size = target->struct_size;
    *target = known;
}

activeset_range rangeOf(const activeset::Range& range) {
    return {range.value,
            range.least,
            range.most,
            range.objectiveAtLeast,
            range.objectiveAtMost,
            range.isDegenerate ? 1 : 0,
            0};
}

void write(const std::vector<activeset::Range>& ranges, activeset_range* target) {
    if (target != nullptr) {
        std::transform(ranges.begin(), ranges.end(), target, rangeOf);
    }
}

activeset::Direction directionOf(const activeset_direction& given, std::size_t n, std::size_t m) {
    return {c::vectorOf(given.c, n), c::vectorOf(given.row_lower, m),
            c::vectorOf(given.row_upper, m), c::vectorOf(given.lower, n),
            c::vectorOf(given.upper, n)};
}

}  // namespace

int activeset_sensitivity_new(const activeset_problem* problem,
                              const activeset_result* result,
                              activeset_sensitivity** sensitivity) {
    return c::guarded([&] {
        c::require(problem != nullptr && sensitivity != nullptr);
        *sensitivity = nullptr;
        const activeset::Result given = c::resultOf(result, problem->n, problem->m);
        *sensitivity = translated<c::NotItsOptimum>([&] {
            return new activeset_sensitivity{problem->n, problem->m,
                                             activeset::Sensitivity(given, problem->problem())};
        });
    });
}

void activeset_sensitivity_free(activeset_sensitivity* sensitivity) {
    const std::unique_ptr<activeset_sensitivity> owner(sensitivity);
}

int activeset_backward(const activeset_sensitivity* sensitivity,
                       const double* dx,
                       const double* dy,
                       const double* dz,
                       activeset_gradients* gradients) {
    return c::guarded([&] {
        c::require(sensitivity != nullptr);
        activeset_gradients out = known(gradients);
        const std::size_t n = sensitivity->n;
        const std::size_t m = sensitivity->m;
        const std::vector<double> zeros(n, 0.0);
        const activeset::VectorView ofX = dx != nullptr ? c::vectorOf(dx, n) : zeros;
        const activeset::Gradients all =
            sensitivity->derivatives.backward(ofX, c::vectorOf(dy, m), c::vectorOf(dz, n));
        c::writeVector(all.H, out.H, n * n);
        c::writeVector(all.c, out.c, n);
        c::writeVector(all.A, out.A, m * n);
        c::writeVector(all.rowLower, out.row_lower, m);
        c::writeVector(all.rowUpper, out.row_upper, m);
        c::writeVector(all.lower, out.lower, n);
        c::writeVector(all.upper, out.upper, n);
        out.derivative =
            static_cast<std::int32_t>(sensitivity->derivatives.smoothness().derivative);
        give(out, gradients);
    });
}

int activeset_find_ranges(const activeset_problem* problem,
                          const activeset_result* result,
                          activeset_ranges* ranges) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        const activeset_ranges out = known(ranges);
        const activeset::Result given = c::resultOf(result, problem->n, problem->m);
        const activeset::Ranges all = translated<c::NotItsOptimum>(
            [&] { return activeset::ranges(given, problem->problem()); });
        write(all.c, out.c);
        write(all.rowLower, out.row_lower);
        write(all.rowUpper, out.row_upper);
        write(all.lower, out.lower);
        write(all.upper, out.upper);
    });
}

int activeset_path_new(const activeset_problem* problem,
                       const activeset_direction* direction,
                       double from,
                       double to,
                       const activeset_options* options,
                       activeset_path** path) {
    return c::guarded([&] {
        c::require(problem != nullptr && path != nullptr);
        *path = nullptr;
        const activeset_direction rates = known(direction);
        *path = translated<c::BadArgument>([&] {
            return new activeset_path{
                problem->n, problem->m,
                activeset::Path(problem->problem(), directionOf(rates, problem->n, problem->m),
                                from, to, c::settingsOf(options))};
        });
    });
}

void activeset_path_free(activeset_path* path) {
    const std::unique_ptr<activeset_path> owner(path);
}

int activeset_path_result(const activeset_path* path, activeset_path_end* end) {
    return c::guarded([&] {
        c::require(path != nullptr);
        activeset_path_end out = known(end);
        const activeset::Path& own = path->path;
        c::writeVector(own.farkas().y, out.farkas_y, path->m);
        c::writeVector(own.farkas().z, out.farkas_z, path->n);
        c::writeVector(own.direction(), out.direction, path->n);
        c::writeText(own.message(), out.message, out.message_size);
        out.status = static_cast<std::int32_t>(own.status());
        out.pieces = static_cast<std::int64_t>(own.pieces().size());
        out.end = own.end();
        out.hessian_shift = own.hessianShift();
        give(out, end);
    });
}

int activeset_path_get(const activeset_path* path, int64_t k, activeset_piece* piece) {
    return c::guarded([&] {
        c::require(path != nullptr);
        activeset_piece out = known(piece);
        const auto& pieces = path->path.pieces();
        c::require(k >= 0 && static_cast<std::size_t>(k) < pieces.size());
        const activeset::Piece& own = pieces[static_cast<std::size_t>(k)];
        const std::size_t n = path->n;
        const std::size_t m = path->m;
        c::writeVector(own.x, out.x, n);
        c::writeVector(own.y, out.y, m);
        c::writeVector(own.z, out.z, n);
        c::writeVector(own.dx, out.dx, n);
        c::writeVector(own.dy, out.dy, m);
        c::writeVector(own.dz, out.dz, n);
        c::writeSides(own.workingSet, out.row_sides, m, out.bound_sides, n);
        out.from = own.from;
        out.to = own.to;
        out.objective = own.objective;
        out.slope = own.slope;
        out.curvature = own.curvature;
        give(out, piece);
    });
}

int activeset_path_at(
    const activeset_path* path, double t, double* x, double* y, double* z, double* objective) {
    return c::guarded([&] {
        c::require(path != nullptr);
        const activeset::PathPoint point =
            translated<c::BadArgument>([&] { return path->path.at(t); });
        c::writeVector(point.x, x, path->n);
        c::writeVector(point.y, y, path->m);
        c::writeVector(point.z, z, path->n);
        if (objective != nullptr) {
            *objective = point.objective;
        }
    });
}
