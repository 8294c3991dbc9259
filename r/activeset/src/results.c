/* Results as R lists, and the starts of solves. */
#include <R.h>
#include <string.h>

#include "shared.h"

void prepare_output(const problem_parts* parts, solve_output* output) {
    const size_t n = (size_t)parts->n, m = (size_t)parts->mG + (size_t)parts->mA;
    double* numbers = (double*)R_alloc(4 * n + 2 * m + 1, sizeof(double));
    int8_t* sides = (int8_t*)R_alloc(n + m + 1, 1);
    activeset_result* result = &output->result;
    activeset_result_init(result);
    result->x = numbers;
    result->z = numbers + n;
    result->farkas_z = numbers + 2 * n;
    result->direction = numbers + 3 * n;
    result->y = numbers + 4 * n;
    result->farkas_y = numbers + 4 * n + m;
    result->row_sides = sides;
    result->bound_sides = sides + m;
    result->message = output->message;
    result->message_size = sizeof output->message;
    output->message[0] = '\0';
}

static SEXP numbers_of(const double* from, int count) {
    const SEXP vector = Rf_allocVector(REALSXP, count);
    if (count > 0) {
        memcpy(REAL(vector), from, (size_t)count * sizeof(double));
    }
    return vector;
}

static SEXP sides_of(const int8_t* from, int count) {
    const SEXP vector = Rf_allocVector(INTSXP, count);
    for (int i = 0; i < count; ++i) {
        INTEGER(vector)[i] = from[i];
    }
    return vector;
}

static SEXP working_set_of(const problem_parts* parts, const activeset_result* result) {
    static const char* names[] = {"G", "A", "box", ""};
    const SEXP set = PROTECT(Rf_mkNamed(VECSXP, names));
    SET_VECTOR_ELT(set, 0, sides_of(result->row_sides, parts->mG));
    SET_VECTOR_ELT(set, 1, sides_of(result->row_sides + parts->mG, parts->mA));
    SET_VECTOR_ELT(set, 2, sides_of(result->bound_sides, parts->n));
    UNPROTECT(1);
    return set;
}

static SEXP residuals_of(const activeset_result* result) {
    static const char* names[] = {"primal", "dual", "gap", ""};
    const SEXP residuals = Rf_mkNamed(REALSXP, names);
    REAL(residuals)[0] = result->primal.relative;
    REAL(residuals)[1] = result->dual.relative;
    REAL(residuals)[2] = result->gap.relative;
    return residuals;
}

static SEXP farkas_of(const problem_parts* parts, const activeset_result* result) {
    static const char* names[] = {"z", "y", "z_box", "value", ""};
    const SEXP farkas = PROTECT(Rf_mkNamed(VECSXP, names));
    SET_VECTOR_ELT(farkas, 0, numbers_of(result->farkas_y, parts->mG));
    SET_VECTOR_ELT(farkas, 1, numbers_of(result->farkas_y + parts->mG, parts->mA));
    SET_VECTOR_ELT(farkas, 2, numbers_of(result->farkas_z, parts->n));
    SET_VECTOR_ELT(farkas, 3, Rf_ScalarReal(result->farkas_value));
    UNPROTECT(1);
    return farkas;
}

SEXP output_to_r(const problem_parts* parts, const solve_output* output) {
    static const char* names[] = {
        "status",  "x",           "obj",       "z",          "y",
        "z_box",   "working_set", "residuals", "iterations", "hessian_shift",
        "seconds", "farkas",      "direction", "message",    ""};
    const activeset_result* result = &output->result;
    const int n = parts->n;
    if (result->status == ACTIVESET_INVALID) {
        return Rf_mkString(output->message);
    }
    const int has_objective =
        result->status != ACTIVESET_INFEASIBLE && result->status != ACTIVESET_NOT_CONVEX;
    const SEXP list = PROTECT(Rf_mkNamed(VECSXP, names));
    const double iterations = (double)(result->phase_one_iterations + result->main_iterations +
                                       result->prediction_iterations + result->dual_iterations +
                                       result->refinement_iterations);
    SET_VECTOR_ELT(list, 0, Rf_mkString(activeset_text(result->status)));
    SET_VECTOR_ELT(list, 1, numbers_of(result->x, n));
    SET_VECTOR_ELT(list, 2, Rf_ScalarReal(has_objective ? result->objective : R_NaN));
    SET_VECTOR_ELT(list, 3, numbers_of(result->y, parts->mG));
    SET_VECTOR_ELT(list, 4, numbers_of(result->y + parts->mG, parts->mA));
    SET_VECTOR_ELT(list, 5, numbers_of(result->z, n));
    SET_VECTOR_ELT(list, 6, working_set_of(parts, result));
    SET_VECTOR_ELT(list, 7, residuals_of(result));
    SET_VECTOR_ELT(list, 8, Rf_ScalarReal(iterations));
    SET_VECTOR_ELT(list, 9, Rf_ScalarReal(result->hessian_shift));
    SET_VECTOR_ELT(list, 10, Rf_ScalarReal(result->total_seconds));
    if (result->status == ACTIVESET_INFEASIBLE) {
        SET_VECTOR_ELT(list, 11, farkas_of(parts, result));
    }
    if (result->status == ACTIVESET_UNBOUNDED || result->status == ACTIVESET_NOT_CONVEX) {
        SET_VECTOR_ELT(list, 12, numbers_of(result->direction, n));
    }
    SET_VECTOR_ELT(list, 13, Rf_mkString(output->message));
    Rf_setAttrib(list, R_ClassSymbol, Rf_mkString("activeset_result"));
    UNPROTECT(1);
    return list;
}

static SEXP element(SEXP list, const char* name) {
    const SEXP names = Rf_getAttrib(list, R_NamesSymbol);
    for (R_xlen_t i = 0; i < Rf_xlength(names); ++i) {
        if (strcmp(CHAR(STRING_ELT(names, i)), name) == 0) {
            return VECTOR_ELT(list, i);
        }
    }
    return R_NilValue;
}

static void take_sides(SEXP set, const char* name, int count, int8_t* target) {
    const SEXP sides = element(set, name);
    const int fits = TYPEOF(sides) == INTSXP && Rf_xlength(sides) == count;
    for (int i = 0; i < count; ++i) {
        const int side = fits ? INTEGER(sides)[i] : ACTIVESET_FREE;
        target[i] = (int8_t)(side >= -1 && side <= 2 ? side : ACTIVESET_FREE);
    }
}

warm_start read_warm_start(const problem_parts* parts, SEXP start) {
    warm_start read = {NULL, NULL, NULL};
    if (Rf_isNull(start)) {
        return read;
    }
    SEXP x = TYPEOF(start) == VECSXP ? element(start, "x") : R_NilValue;
    if (!Rf_isNumeric(x) || Rf_xlength(x) != parts->n) {
        Rf_error("warm_start must be a result of %d variables, or a list with so many numbers x",
                 parts->n);
    }
    double* point = (double*)R_alloc((size_t)parts->n + 1, sizeof(double));
    x = PROTECT(Rf_coerceVector(x, REALSXP));
    if (parts->n > 0) {
        memcpy(point, REAL(x), (size_t)parts->n * sizeof *point);
    }
    UNPROTECT(1);
    for (int i = 0; i < parts->n; ++i) {
        if (!R_FINITE(point[i])) {
            return read; /* a solve that found no point */
        }
    }
    const SEXP set = element(start, "working_set");
    int8_t* sides =
        (int8_t*)R_alloc((size_t)parts->mG + (size_t)parts->mA + (size_t)parts->n + 1, 1);
    if (TYPEOF(set) == VECSXP) {
        take_sides(set, "G", parts->mG, sides);
        take_sides(set, "A", parts->mA, sides + parts->mG);
        take_sides(set, "box", parts->n, sides + parts->mG + parts->mA);
        read.row_sides = sides;
        read.bound_sides = sides + parts->mG + parts->mA;
    }
    read.x = point;
    return read;
}
