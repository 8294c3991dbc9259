/* activeset_solver(): a sequence of similar problems. An external pointer owns the handle. R keeps the
 * parts as well; a change builds the affected arrays again from them. */
#include <R.h>

#include "shared.h"

static void free_solver(SEXP pointer) {
    activeset_solver_free((activeset_solver*)R_ExternalPtrAddr(pointer));
    R_ClearExternalPtr(pointer);
}

static activeset_solver* handle_of(SEXP pointer) {
    activeset_solver* solver =
        TYPEOF(pointer) == EXTPTRSXP ? (activeset_solver*)R_ExternalPtrAddr(pointer) : NULL;
    if (solver == NULL) {
        Rf_error("this solver is not alive: it comes from another session");
    }
    return solver;
}

/* The parts that the pointer keeps are doubles of the right shapes. */
static problem_parts parts_of(SEXP pointer) {
    return read_parts(R_ExternalPtrProtected(pointer));
}

/* No R function may be called while the problem exists. */
static int make_solver(const problem_parts* parts,
                       const activeset_options* options,
                       const double* const arrays[5],
                       activeset_solver** solver) {
    activeset_problem* problem = NULL;
    int code = activeset_problem_new(parts->n, (int64_t)parts->mG + parts->mA, &problem);
    if (code == ACTIVESET_OK) {
        code = set_parts(problem, parts, arrays[0], arrays[1], arrays[2], arrays[3], arrays[4]);
    }
    if (code == ACTIVESET_OK) {
        code = activeset_solver_new(problem, options, solver);
    }
    activeset_problem_free(problem);
    return code;
}

SEXP C_solver_new(SEXP given, SEXP settings) {
    const problem_parts parts = read_parts(given);
    PROTECT(parts.kept);
    activeset_options options;
    read_settings(settings, &options);
    const double* arrays[5] = {joined_rows(&parts), NULL, NULL, bound_data(&parts, PART_LB),
                               bound_data(&parts, PART_UB)};
    joined_sides(&parts, &arrays[1], &arrays[2]);
    const SEXP pointer = PROTECT(R_MakeExternalPtr(NULL, R_NilValue, parts.kept));
    R_RegisterCFinalizerEx(pointer, free_solver, TRUE);
    activeset_solver* solver = NULL;
    const int code = make_solver(&parts, &options, arrays, &solver);
    R_SetExternalPtrAddr(pointer, solver);
    raise_code(code);
    UNPROTECT(2);
    return pointer;
}

SEXP C_solver_solve(SEXP pointer) {
    activeset_solver* solver = handle_of(pointer);
    const problem_parts parts = parts_of(pointer);
    PROTECT(parts.kept);
    solve_output output;
    prepare_output(&parts, &output);
    begin_interruptible();
    const int code = activeset_solver_solve(solver, &output.result);
    end_interruptible();
    deliver_interrupt();
    raise_code(code);
    const SEXP answer = output_to_r(&parts, &output);
    UNPROTECT(1);
    return answer;
}

static int is_replaced(SEXP replaced, int first, int second, int third) {
    const int* flags = LOGICAL(replaced);
    return flags[first] || flags[second] || flags[third];
}

/* `replaced` has a flag for each part. */
SEXP C_solver_update(SEXP pointer, SEXP given, SEXP replaced) {
    activeset_solver* solver = handle_of(pointer);
    const problem_parts before = parts_of(pointer);
    PROTECT(before.kept);
    const SEXP joined = PROTECT(Rf_allocVector(VECSXP, PARTS));
    for (int part = 0; part < PARTS; ++part) {
        SET_VECTOR_ELT(joined, part,
                       VECTOR_ELT(LOGICAL(replaced)[part] ? given : before.kept, part));
    }
    const problem_parts parts = read_parts(joined);
    PROTECT(parts.kept);
    if (parts.n != before.n || parts.mG != before.mG || parts.mA != before.mA) {
        Rf_error("a solver keeps its sizes: %d variables, %d rows of G, %d rows of A", before.n,
                 before.mG, before.mA);
    }
    int code = ACTIVESET_OK;
    if (LOGICAL(replaced)[PART_P]) {
        code = activeset_solver_set_hessian(solver, part_data(&parts, PART_P), 0,
                                            ACTIVESET_COLUMN_MAJOR);
    }
    if (code == ACTIVESET_OK && LOGICAL(replaced)[PART_Q]) {
        code = activeset_solver_set_linear(solver, part_data(&parts, PART_Q), 0.0);
    }
    if (code == ACTIVESET_OK && is_replaced(replaced, PART_G, PART_A, PART_A)) {
        code = activeset_solver_set_rows(solver, joined_rows(&parts), 0, ACTIVESET_COLUMN_MAJOR);
    }
    if (code == ACTIVESET_OK && is_replaced(replaced, PART_H, PART_B, PART_L)) {
        const double *lower = NULL, *upper = NULL;
        joined_sides(&parts, &lower, &upper);
        code = activeset_solver_set_row_sides(solver, lower, upper);
    }
    if (code == ACTIVESET_OK && is_replaced(replaced, PART_LB, PART_UB, PART_UB)) {
        code = activeset_solver_set_bounds(solver, bound_data(&parts, PART_LB),
                                           bound_data(&parts, PART_UB));
    }
    raise_code(code);
    R_SetExternalPtrProtected(pointer, parts.kept);
    UNPROTECT(3);
    return R_NilValue;
}

SEXP C_solver_restart(SEXP pointer, SEXP start) {
    activeset_solver* solver = handle_of(pointer);
    const problem_parts parts = parts_of(pointer);
    PROTECT(parts.kept);
    const warm_start warm = read_warm_start(&parts, start);
    raise_code(activeset_solver_restart(solver, warm.x, warm.row_sides, warm.bound_sides));
    UNPROTECT(1);
    return R_NilValue;
}
