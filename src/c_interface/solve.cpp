// Solves, sequences, stops, and the texts and defaults of the C interface.
#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

#include "activeset/driver.hpp"
#include "c_interface/convert.hpp"
#include "c_interface/guard.hpp"
#include "c_interface/handles.hpp"

namespace c = activeset::c_interface;

static_assert(static_cast<int>(activeset::Status::Failed) == ACTIVESET_FAILED &&
              static_cast<int>(activeset::Status::Inaccurate) == ACTIVESET_INACCURATE &&
              static_cast<int>(activeset::Start::Cold) == ACTIVESET_START_COLD);

namespace {

/// Checks the arrays of a result before anything is solved.
void requireResult(const activeset_result* result) {
    c::require(result != nullptr);
    static_cast<void>(
        c::known(result, activeset_result{}, offsetof(activeset_result, total_seconds)));
}

std::int8_t sideWith(std::int8_t before, std::int8_t side) {
    return before == ACTIVESET_FREE ? side : static_cast<std::int8_t>(ACTIVESET_EQUAL);
}

void writeConflict(const std::vector<std::size_t>& atLower,
                   const std::vector<std::size_t>& atUpper,
                   std::int8_t* sides,
                   std::size_t count) {
    if (sides == nullptr) {
        return;
    }
    std::fill_n(sides, count, static_cast<std::int8_t>(ACTIVESET_FREE));
    for (const std::size_t index : atLower) {
        sides[index] = sideWith(sides[index], ACTIVESET_AT_LOWER);
    }
    for (const std::size_t index : atUpper) {
        sides[index] = sideWith(sides[index], ACTIVESET_AT_UPPER);
    }
}

}  // namespace

const char* activeset_text(int status) {
    const bool isKnown = status >= ACTIVESET_OPTIMAL && status <= ACTIVESET_FAILED;
    return isKnown ? activeset::textOf(static_cast<activeset::Status>(status)) : "unknown";
}

const char* activeset_code_text(int code) {
    switch (code) {
        case ACTIVESET_OK:
            return "ok";
        case ACTIVESET_BAD_ARGUMENT:
            return "bad argument";
        case ACTIVESET_OUT_OF_MEMORY:
            return "out of memory";
        case ACTIVESET_BUSY:
            return "called inside a callback of another solve";
        case ACTIVESET_ERROR:
            return "error";
        case ACTIVESET_NOT_ITS_OPTIMUM:
            return "the result is not optimal, or of another problem";
        default:
            return "unknown";
    }
}

const char* activeset_c_version() {
    return activeset_version;
}

void activeset_options_init(activeset_options* options) {
    if (options == nullptr) {
        return;
    }
    const activeset::Settings defaults;
    *options = {};
    options->struct_size = sizeof *options;
    options->tolerance = defaults.tolerance;
    options->convexity_tolerance = defaults.convexityTolerance;
    options->start_mode = ACTIVESET_START_AUTOMATIC;
    options->time_limit = activeset::Infinity;
}

void activeset_penalty_init(activeset_penalty* penalty) {
    if (penalty == nullptr) {
        return;
    }
    *penalty = {};
    penalty->struct_size = sizeof *penalty;
}

void activeset_result_init(activeset_result* result) {
    if (result == nullptr) {
        return;
    }
    *result = {};
    result->struct_size = sizeof *result;
    result->status = ACTIVESET_FAILED;
}

int activeset_stop_new(activeset_stop** stop) {
    return c::guarded([&] {
        c::require(stop != nullptr);
        *stop = nullptr;
        *stop = std::make_unique<activeset_stop>().release();
    });
}

void activeset_stop_request(activeset_stop* stop) {
    if (stop != nullptr) {
        stop->source.request_stop();
    }
}

void activeset_stop_free(activeset_stop* stop) {
    const std::unique_ptr<activeset_stop> owner(stop);
}

void activeset_interrupt_all(int flag) {
    auto& flags = utInterruptState::flags_pending;
    if (flag != 0) {
        flags.fetch_or(1U, std::memory_order_relaxed);
    } else {
        flags.fetch_and(0xFEU, std::memory_order_relaxed);
    }
}

int activeset_solve(const activeset_problem* problem,
                    const activeset_options* options,
                    activeset_result* result) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        requireResult(result);
        const activeset::Result answer =
            activeset::solve(problem->problem(), c::settingsOf(options));
        c::writeResult(answer, problem->n, problem->m, result);
    });
}

int activeset_explain_infeasibility(const activeset_problem* problem,
                                    const activeset_options* options,
                                    int8_t* row_sides,
                                    int8_t* bound_sides,
                                    int* found) {
    return c::guarded([&] {
        c::require(problem != nullptr && found != nullptr);
        const activeset::Conflict conflict =
            activeset::explainInfeasibility(problem->problem(), c::settingsOf(options));
        writeConflict(conflict.rowsAtLower, conflict.rowsAtUpper, row_sides, problem->m);
        writeConflict(conflict.atLower, conflict.atUpper, bound_sides, problem->n);
        *found = conflict.isFound ? (conflict.isMinimal ? 2 : 1) : 0;
    });
}
