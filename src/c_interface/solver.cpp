// Sequences of related problems.
#include <memory>
#include <utility>

#include "c_interface/convert.hpp"
#include "c_interface/guard.hpp"
#include "c_interface/handles.hpp"

namespace c = activeset::c_interface;

int activeset_solver_new(const activeset_problem* problem,
                         const activeset_options* options,
                         activeset_solver** solver) {
    return c::guarded([&] {
        c::require(solver != nullptr);
        *solver = nullptr;
        c::require(problem != nullptr);
        auto made = std::make_unique<activeset_solver>(activeset_solver{
            problem->n, problem->m, activeset::Solver(problem->problem(), c::settingsOf(options))});
        *solver = made.release();
    });
}

void activeset_solver_free(activeset_solver* solver) {
    const std::unique_ptr<activeset_solver> owner(solver);
}

int activeset_solver_set_hessian(activeset_solver* solver,
                                 const double* H,
                                 int64_t leading,
                                 int order) {
    return c::guarded([&] {
        c::require(solver != nullptr);
        solver->solver.setHessian(c::matrixOf(H, solver->n, solver->n, leading, order));
    });
}

int activeset_solver_set_linear(activeset_solver* solver, const double* c, double constant) {
    return c::guarded([&] {
        c::require(solver != nullptr);
        solver->solver.setLinear(c::vectorOf(c, solver->n), constant);
    });
}

int activeset_solver_set_rows(activeset_solver* solver,
                              const double* A,
                              int64_t leading,
                              int order) {
    return c::guarded([&] {
        c::require(solver != nullptr && (A != nullptr || solver->m == 0));
        solver->solver.setRows(c::matrixOf(A, solver->m, solver->n, leading, order));
    });
}

int activeset_solver_set_row_sides(activeset_solver* solver,
                                   const double* lower,
                                   const double* upper) {
    return c::guarded([&] {
        c::require(solver != nullptr);
        solver->solver.setRowSides(c::vectorOf(lower, solver->m), c::vectorOf(upper, solver->m));
    });
}

int activeset_solver_set_bounds(activeset_solver* solver,
                                const double* lower,
                                const double* upper) {
    return c::guarded([&] {
        c::require(solver != nullptr);
        solver->solver.setBounds(c::vectorOf(lower, solver->n), c::vectorOf(upper, solver->n));
    });
}

int activeset_solver_set_penalties(activeset_solver* solver,
                                   const activeset_penalty* rows,
                                   const activeset_penalty* bounds) {
    return c::guarded([&] {
        c::require(solver != nullptr);
        solver->solver.setPenalties(c::penaltyOf(rows, solver->m), c::penaltyOf(bounds, solver->n));
    });
}

int activeset_solver_restart(activeset_solver* solver,
                             const double* x,
                             const int8_t* row_sides,
                             const int8_t* bound_sides) {
    return c::guarded([&] {
        c::require(solver != nullptr);
        activeset::WarmStart start;
        if (x != nullptr) {
            start = {{x, x + solver->n},
                     c::workingSetOf(row_sides, solver->m, bound_sides, solver->n)};
        }
        solver->solver.restartFrom(std::move(start));
    });
}

int activeset_solver_set_options(activeset_solver* solver, const activeset_options* options) {
    return c::guarded([&] {
        c::require(solver != nullptr);
        solver->solver.settings() = c::settingsOf(options);
    });
}

int activeset_solver_solve(activeset_solver* solver, activeset_result* result) {
    return c::guarded([&] {
        c::require(solver != nullptr && result != nullptr);
        static_cast<void>(
            c::known(result, activeset_result{}, offsetof(activeset_result, total_seconds)));
        solver->solver.solve(solver->result);
        c::writeResult(solver->result, solver->n, solver->m, result);
    });
}
