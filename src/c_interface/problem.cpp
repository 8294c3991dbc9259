// Problems, which are views of the caller's data, and their faults.
#include <memory>
#include <utility>

#include "c_interface/convert.hpp"
#include "c_interface/guard.hpp"
#include "c_interface/handles.hpp"

namespace c = activeset::c_interface;

namespace {

/// Rows without a matrix, which a C caller can ask for. The view is one that the checks of a solve
/// report as a fault.
activeset::MatrixView rowsOf(
    const double* A, std::size_t m, std::size_t n, std::int64_t leading, int order) {
    return A != nullptr ? c::matrixOf(A, m, n, leading, order)
                        : activeset::MatrixView(activeset::VectorView(), m, n);
}

void copyFault(const activeset::Fault& fault, activeset_fault& target) {
    c::require(target.struct_size >= sizeof(activeset_fault));
    target.row = static_cast<std::int64_t>(fault.row);
    target.col = static_cast<std::int64_t>(fault.col);
    target.value = fault.value;
    target.count = static_cast<std::int64_t>(fault.count);
    c::writeText(fault.name, target.name, sizeof target.name);
    c::writeText(fault.text, target.text, sizeof target.text);
}

}  // namespace

int activeset_problem_new(int64_t n, int64_t m, activeset_problem** problem) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        *problem = nullptr;
        auto made = std::make_unique<activeset_problem>();
        made->n = c::sizeOf(n);
        made->m = c::sizeOf(m);
        made->zeros.resize(made->n);
        made->views.c = made->zeros;
        made->views.A = rowsOf(nullptr, made->m, made->n, 0, ACTIVESET_COLUMN_MAJOR);
        *problem = made.release();
    });
}

void activeset_problem_free(activeset_problem* problem) {
    const std::unique_ptr<activeset_problem> owner(problem);
}

int activeset_problem_set_hessian(activeset_problem* problem,
                                  const double* H,
                                  int64_t leading,
                                  int order) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        problem->views.H = c::matrixOf(H, problem->n, problem->n, leading, order);
    });
}

int activeset_problem_set_linear(activeset_problem* problem, const double* c, double constant) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        problem->views.c = c::vectorOf(c != nullptr ? c : problem->zeros.data(), problem->n);
        problem->views.constant = constant;
    });
}

int activeset_problem_set_rows(activeset_problem* problem,
                               const double* A,
                               int64_t leading,
                               int order) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        problem->views.A = rowsOf(A, problem->m, problem->n, leading, order);
    });
}

int activeset_problem_set_row_sides(activeset_problem* problem,
                                    const double* lower,
                                    const double* upper) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        problem->views.rowLower = c::vectorOf(lower, problem->m);
        problem->views.rowUpper = c::vectorOf(upper, problem->m);
    });
}

int activeset_problem_set_bounds(activeset_problem* problem,
                                 const double* lower,
                                 const double* upper) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        problem->views.lower = c::vectorOf(lower, problem->n);
        problem->views.upper = c::vectorOf(upper, problem->n);
    });
}

int activeset_problem_set_penalties(activeset_problem* problem,
                                    const activeset_penalty* rows,
                                    const activeset_penalty* bounds) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        const activeset::Penalty rowPenalty = c::penaltyOf(rows, problem->m);
        problem->views.boundPenalty = c::penaltyOf(bounds, problem->n);
        problem->views.rowPenalty = rowPenalty;
    });
}

int activeset_problem_set_start(activeset_problem* problem, const double* x) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        problem->views.start = c::vectorOf(x, problem->n);
    });
}

int activeset_problem_set_warm_start(activeset_problem* problem,
                                     const double* x,
                                     const int8_t* row_sides,
                                     const int8_t* bound_sides) {
    return c::guarded([&] {
        c::require(problem != nullptr);
        if (x == nullptr) {
            problem->warmStart.reset();
            return;
        }
        activeset::WarmStart start{{x, x + problem->n},
                                   c::workingSetOf(row_sides, problem->m, bound_sides, problem->n)};
        problem->warmStart = std::move(start);
    });
}

int activeset_faults(const activeset_problem* problem,
                     activeset_fault* faults,
                     int64_t capacity,
                     int64_t* count) {
    return c::guarded([&] {
        c::require(problem != nullptr && count != nullptr);
        c::require(capacity >= 0 && (faults != nullptr || capacity == 0));
        const std::vector<activeset::Fault> found = activeset::faultsOf(problem->problem());
        for (std::size_t k = 0; k < found.size() && k < static_cast<std::size_t>(capacity); ++k) {
            copyFault(found[k], faults[k]);
        }
        *count = static_cast<std::int64_t>(found.size());
    });
}
