/* solve_qp(): one problem. */
#include <R.h>
#include <string.h>

#include "shared.h"

void raise_code(int code) {
    if (code != ACTIVESET_OK) {
        Rf_error("%s", activeset_code_text(code));
    }
}

static SEXP named(SEXP list, const char* name) {
    const SEXP names = Rf_getAttrib(list, R_NamesSymbol);
    for (R_xlen_t i = 0; i < Rf_xlength(names); ++i) {
        if (strcmp(CHAR(STRING_ELT(names, i)), name) == 0) {
            return VECTOR_ELT(list, i);
        }
    }
    return R_NilValue;
}

static void read_number(SEXP settings, const char* name, double* target) {
    const SEXP value = named(settings, name);
    if (!Rf_isNull(value)) {
        *target = Rf_asReal(value);
    }
}

void read_settings(SEXP settings, activeset_options* options) {
    activeset_options_init(options);
    if (Rf_isNull(settings)) {
        return;
    }
    if (!Rf_inherits(settings, "activeset_settings")) {
        Rf_error("settings must come from activeset_settings()");
    }
    double iterations = 0.0, start = 0.0;
    read_number(settings, "tolerance", &options->tolerance);
    read_number(settings, "time_limit", &options->time_limit);
    read_number(settings, "convexity_tolerance", &options->convexity_tolerance);
    read_number(settings, "max_iterations", &iterations);
    read_number(settings, "start", &start);
    options->max_iterations = iterations > 0.0 && iterations < 9e15 ? (int64_t)iterations : 0;
    options->start_mode = (int32_t)start;
}

/* Sets the start: a warm start, only a point, or zero. */
static int set_start(activeset_problem* problem, const double* x0, const warm_start* start) {
    if (start->x != NULL) {
        return activeset_problem_set_warm_start(problem, start->x, start->row_sides,
                                                start->bound_sides);
    }
    return activeset_problem_set_start(problem, x0);
}

/* From here to the end of the function nothing may raise an R error. */
static int solve_parts(const problem_parts* parts,
                       const double* x0,
                       const warm_start* start,
                       const activeset_options* options,
                       solve_output* output,
                       const double* const arrays[5]) {
    activeset_problem* problem = NULL;
    int code = activeset_problem_new(parts->n, (int64_t)parts->mG + parts->mA, &problem);
    if (code == ACTIVESET_OK) {
        code = set_parts(problem, parts, arrays[0], arrays[1], arrays[2], arrays[3], arrays[4]);
    }
    if (code == ACTIVESET_OK) {
        code = set_start(problem, x0, start);
    }
    if (code == ACTIVESET_OK) {
        begin_interruptible();
        code = activeset_solve(problem, options, &output->result);
        end_interruptible();
    }
    activeset_problem_free(problem);
    return code;
}

SEXP C_solve_qp(SEXP given, SEXP x0, SEXP start, SEXP settings) {
    const problem_parts parts = read_parts(given);
    PROTECT(parts.kept);
    const SEXP point = PROTECT(as_doubles(x0, "x0", "vector"));
    if (!Rf_isNull(point) && Rf_xlength(point) != parts.n) {
        Rf_error("x0 has %.0f entries, expected %d", (double)Rf_xlength(point), parts.n);
    }
    activeset_options options;
    read_settings(settings, &options);
    const warm_start warm = read_warm_start(&parts, start);
    solve_output output;
    prepare_output(&parts, &output);
    const double* arrays[5] = {joined_rows(&parts), NULL, NULL, bound_data(&parts, PART_LB),
                               bound_data(&parts, PART_UB)};
    joined_sides(&parts, &arrays[1], &arrays[2]);
    raise_code(solve_parts(&parts, Rf_isNull(point) ? NULL : REAL(point), &warm, &options, &output,
                           arrays));
    deliver_interrupt();
    const SEXP answer = output_to_r(&parts, &output);
    UNPROTECT(2);
    return answer;
}

SEXP C_version(void) {
    return Rf_mkString(activeset_c_version());
}
