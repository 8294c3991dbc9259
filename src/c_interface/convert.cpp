// Conversions between C's structs and those of the front end.
#include "c_interface/convert.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "c_interface/guard.hpp"
#include "c_interface/handles.hpp"

namespace activeset::c_interface {

namespace {

constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();

activeset_residual residualOf(const Residual& residual) {
    return {residual.absolute, residual.relative};
}

void mark(const std::vector<std::size_t>& indices, std::int8_t side, std::int8_t* target) {
    for (const std::size_t index : indices) {
        target[index] = side;
    }
}

/// Where the members of a working set go that are rows, or that are variables.
struct SideLists {
    std::vector<std::size_t>& equal;
    std::vector<std::size_t>& atLower;
    std::vector<std::size_t>& atUpper;
    std::vector<std::size_t>& belowLower;
    std::vector<std::size_t>& aboveUpper;
};

void take(const std::int8_t* sides, std::size_t count, const SideLists& lists) {
    for (std::size_t i = 0; i < count && sides != nullptr; ++i) {
        switch (sides[i]) {
            case ACTIVESET_EQUAL:
                lists.equal.push_back(i);
                break;
            case ACTIVESET_AT_LOWER:
                lists.atLower.push_back(i);
                break;
            case ACTIVESET_AT_UPPER:
                lists.atUpper.push_back(i);
                break;
            case ACTIVESET_BELOW_LOWER:
                lists.belowLower.push_back(i);
                break;
            case ACTIVESET_ABOVE_UPPER:
                lists.aboveUpper.push_back(i);
                break;
            default:
                break;
        }
    }
}

std::function<bool(const Progress&)> callbackOf(const activeset_options& options) {
    if (options.on_pass == nullptr) {
        return {};
    }
    return [onPass = options.on_pass, user = options.user](const Progress& progress) {
        activeset_progress told{};
        told.struct_size = sizeof told;
        told.iteration = static_cast<std::int64_t>(progress.iteration);
        told.phase_one = progress.phaseOne ? 1 : 0;
        told.objective = progress.objective;
        told.violation = progress.violation;
        told.active = static_cast<std::int64_t>(progress.active);
        told.step = progress.step;
        return onPass(&told, user) != 0;
    };
}

void setFigures(const Result& result, activeset_result& target) {
    target.status = static_cast<std::int32_t>(result.status);
    target.exit_code = result.exitCode;
    target.was_predicted = result.wasPredicted ? 1 : 0;
    // The point of an optimum without variables is empty, too.
    const bool hasPoint = !result.x.empty() || result.status == Status::Optimal;
    target.objective = hasPoint ? result.objective : NotANumber;
    target.primal = residualOf(result.certificate.primal);
    target.dual = residualOf(result.certificate.dual);
    target.gap = residualOf(result.certificate.gap);
    target.farkas_residual =
        result.farkas ? residualOf(result.farkas->residual) : activeset_residual{};
    target.farkas_value = result.farkas ? result.farkas->value : 0.0;
    target.direction_residual = residualOf(result.directionResidual);
    target.phase_one_iterations = static_cast<std::int64_t>(result.iterations.phaseOne);
    target.main_iterations = static_cast<std::int64_t>(result.iterations.main);
    target.prediction_iterations = static_cast<std::int64_t>(result.iterations.prediction);
    target.dual_iterations = static_cast<std::int64_t>(result.iterations.dual);
    target.proximal_iterations = static_cast<std::int64_t>(result.iterations.proximal);
    target.refinement_iterations = static_cast<std::int64_t>(result.iterations.refinement);
    target.setup_seconds = result.times.setup;
    target.solve_seconds = result.times.solve;
    target.polish_seconds = result.times.polish;
    target.total_seconds = result.times.total;
    target.hessian_shift = result.hessianShift;
}

}  // namespace

MatrixView matrixOf(
    const double* data, std::size_t rows, std::size_t cols, std::int64_t leading, int order) {
    require(order == ACTIVESET_COLUMN_MAJOR || order == ACTIVESET_ROW_MAJOR);
    if (data == nullptr) {
        return {};
    }
    const bool byColumns = order == ACTIVESET_COLUMN_MAJOR;
    const std::size_t least = byColumns ? rows : cols;
    require(leading == 0 || sizeOf(leading) >= least);
    return {data, rows, cols, static_cast<std::size_t>(leading),
            byColumns ? Order::ColumnMajor : Order::RowMajor};
}

VectorView vectorOf(const double* data, std::size_t size) {
    return data == nullptr ? VectorView() : VectorView(data, size);
}

Penalty penaltyOf(const activeset_penalty* penalty, std::size_t count) {
    const activeset_penalty known = c_interface::known(
        penalty, activeset_penalty{}, offsetof(activeset_penalty, upper_quadratic) + sizeof(void*));
    return {vectorOf(known.lower_linear, count), vectorOf(known.upper_linear, count),
            vectorOf(known.lower_quadratic, count), vectorOf(known.upper_quadratic, count)};
}

Settings settingsOf(const activeset_options* options) {
    activeset_options defaults{};
    activeset_options_init(&defaults);
    const activeset_options known =
        c_interface::known(options, defaults, offsetof(activeset_options, time_limit));
    require(known.start_mode >= ACTIVESET_START_AUTOMATIC &&
            known.start_mode <= ACTIVESET_START_COLD);
    require(known.max_iterations >= 0);
    Settings settings;
    settings.tolerance = known.tolerance;
    settings.convexityTolerance = known.convexity_tolerance;
    settings.startMode = static_cast<Start>(known.start_mode);
    settings.maxIterations = static_cast<std::size_t>(known.max_iterations);
    settings.timeLimit = std::chrono::duration<double>(known.time_limit);
    if (known.stop != nullptr) {
        settings.stop = known.stop->source.get_token();
    }
    settings.onPass = callbackOf(known);
    return settings;
}

WorkingSet workingSetOf(const std::int8_t* rowSides,
                        std::size_t m,
                        const std::int8_t* boundSides,
                        std::size_t n) {
    WorkingSet set;
    ViolatedSides& soft = set.softViolated;
    take(rowSides, m,
         {set.equalities, set.rowsAtLower, set.rowsAtUpper, soft.rowsAtLower, soft.rowsAtUpper});
    take(boundSides, n, {set.fixed, set.atLower, set.atUpper, soft.atLower, soft.atUpper});
    return set;
}

void writeSides(const WorkingSet& set,
                std::int8_t* rowSides,
                std::size_t m,
                std::int8_t* boundSides,
                std::size_t n) {
    if (rowSides != nullptr) {
        std::fill_n(rowSides, m, static_cast<std::int8_t>(ACTIVESET_FREE));
        mark(set.rowsAtLower, ACTIVESET_AT_LOWER, rowSides);
        mark(set.rowsAtUpper, ACTIVESET_AT_UPPER, rowSides);
        mark(set.equalities, ACTIVESET_EQUAL, rowSides);
        mark(set.softViolated.rowsAtLower, ACTIVESET_BELOW_LOWER, rowSides);
        mark(set.softViolated.rowsAtUpper, ACTIVESET_ABOVE_UPPER, rowSides);
    }
    if (boundSides != nullptr) {
        std::fill_n(boundSides, n, static_cast<std::int8_t>(ACTIVESET_FREE));
        mark(set.atLower, ACTIVESET_AT_LOWER, boundSides);
        mark(set.atUpper, ACTIVESET_AT_UPPER, boundSides);
        mark(set.fixed, ACTIVESET_EQUAL, boundSides);
        mark(set.softViolated.atLower, ACTIVESET_BELOW_LOWER, boundSides);
        mark(set.softViolated.atUpper, ACTIVESET_ABOVE_UPPER, boundSides);
    }
}

void writeVector(const std::vector<double>& values, double* target, std::size_t count) {
    if (target != nullptr && values.size() == count) {
        std::copy(values.begin(), values.end(), target);
    } else if (target != nullptr) {
        std::fill_n(target, count, NotANumber);
    }
}

Result resultOf(const activeset_result* given, std::size_t n, std::size_t m) {
    require(given != nullptr);
    const activeset_result known =
        c_interface::known(given, activeset_result{}, offsetof(activeset_result, total_seconds));
    const bool hasBounds = known.x != nullptr && known.z != nullptr && known.bound_sides != nullptr;
    require((n == 0 || hasBounds) &&
            (m == 0 || (known.y != nullptr && known.row_sides != nullptr)));
    Result result;
    const bool isStatus = known.status >= ACTIVESET_OPTIMAL && known.status <= ACTIVESET_FAILED;
    result.status = isStatus ? static_cast<Status>(known.status) : Status::Failed;
    result.x.assign(known.x, known.x + n);
    result.y.assign(known.y, known.y + m);
    result.z.assign(known.z, known.z + n);
    result.workingSet = workingSetOf(known.row_sides, m, known.bound_sides, n);
    result.objective = known.objective;
    result.certificate.primal = {known.primal.absolute, known.primal.relative};
    result.certificate.dual = {known.dual.absolute, known.dual.relative};
    result.hessianShift = known.hessian_shift;
    return result;
}

void writeText(const std::string& text, char* target, std::int64_t size) {
    if (target == nullptr || size <= 0) {
        return;
    }
    std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
    const auto isContinued = [&](std::size_t at) {
        return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
    };
    while (length > 0 && isContinued(length)) {
        --length;
    }
    std::copy_n(text.data(), length, target);
    target[length] = '\0';
}

void writeResult(const Result& result, std::size_t n, std::size_t m, activeset_result* target) {
    activeset_result known =
        c_interface::known(target, activeset_result{}, offsetof(activeset_result, total_seconds));
    const std::vector<double> none;
    writeVector(result.x, known.x, n);
    writeVector(result.y, known.y, m);
    writeVector(result.z, known.z, n);
    writeSides(result.workingSet, known.row_sides, m, known.bound_sides, n);
    writeVector(result.farkas ? result.farkas->y : none, known.farkas_y, m);
    writeVector(result.farkas ? result.farkas->z : none, known.farkas_z, n);
    writeVector(result.direction, known.direction, n);
    writeText(result.message, known.message, known.message_size);
    setFigures(result, known);
    const std::size_t size = std::min(target->struct_size, sizeof known);
    known.struct_size = target->struct_size;
    std::memcpy(target, &known, size);
}

}  // namespace activeset::c_interface
