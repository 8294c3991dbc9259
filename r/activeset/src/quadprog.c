/* solve.QP(): minimise ½x'Dx - d'x subject to A'x >= b, the first meq of them with equality. */
#ifndef USE_FC_LEN_T
#define USE_FC_LEN_T
#endif
#include <R.h>
#include <R_ext/Lapack.h>
#include <string.h>
#ifndef FCONE
#define FCONE
#endif

#include "shared.h"

static double* doubles(size_t count) {
    return (double*)R_alloc(count + 1, sizeof(double));
}

/* The symmetric matrix with the upper triangle of D: D itself, or a copy if D is not symmetric. */
static const double* symmetric(const double* D, size_t n) {
    int differs = 0;
    for (size_t j = 0; j < n && !differs; ++j) {
        for (size_t i = 0; i < j; ++i) {
            differs |= D[i + j * n] != D[j + i * n];
        }
    }
    if (!differs) {
        return D;
    }
    double* copy = doubles(n * n);
    for (size_t j = 0; j < n; ++j) {
        for (size_t i = 0; i <= j; ++i) {
            copy[i + j * n] = copy[j + i * n] = D[i + j * n];
        }
    }
    return copy;
}

/* D = R'R, from the inverse of the upper triangular R. */
static const double* from_inverse(const double* inverse, int n) {
    const size_t size = (size_t)n;
    double *R = doubles(size * size), *D = doubles(size * size);
    const double one = 1.0, zero = 0.0;
    int info = 0;
    if (n == 0) {
        return D;
    }
    memcpy(R, inverse, size * size * sizeof *R);
    F77_CALL(dtrtri)("U", "N", &n, R, &n, &info FCONE FCONE);
    if (info != 0) {
        Rf_error("matrix D in quadratic function is not positive definite!");
    }
    for (size_t j = 0; j < size; ++j) {
        for (size_t i = j + 1; i < size; ++i) {
            R[i + j * size] = 0.0;
        }
    }
    F77_CALL(dsyrk)("U", "T", &n, &n, &one, R, &n, &zero, D, &n FCONE FCONE);
    for (size_t j = 0; j < size; ++j) {
        for (size_t i = 0; i < j; ++i) {
            D[j + i * size] = D[i + j * size];
        }
    }
    return D;
}

/* Computes x = D⁻¹d by Cholesky factorisation. Returns 0 if D is not positive definite. */
static int unconstrained(const double* D, const double* d, int n, double* x) {
    const size_t size = (size_t)n;
    const int one = 1;
    int info = 0;
    double* factor = doubles(size * size);
    memcpy(factor, D, size * size * sizeof *factor);
    memcpy(x, d, size * sizeof *x);
    if (n == 0) {
        return 1;
    }
    F77_CALL(dpotrf)("U", &n, factor, &n, &info FCONE);
    if (info == 0) {
        F77_CALL(dpotrs)("U", &n, &one, factor, &n, x, &n, &info FCONE);
    }
    return info == 0;
}

typedef struct {
    int n, m;
    const double *D, *minus_d, *A, *lower, *upper;
} dual_form;

/* Raises no R error. */
static int solve_form(const dual_form* form, activeset_result* result) {
    activeset_problem* problem = NULL;
    int code = activeset_problem_new(form->n, form->m, &problem);
    if (code == ACTIVESET_OK) {
        code = activeset_problem_set_hessian(problem, form->D, 0, ACTIVESET_COLUMN_MAJOR);
    }
    if (code == ACTIVESET_OK) {
        code = activeset_problem_set_linear(problem, form->minus_d, 0.0);
    }
    if (code == ACTIVESET_OK && form->m > 0) {
        code = activeset_problem_set_rows(problem, form->A, 0, ACTIVESET_ROW_MAJOR);
    }
    if (code == ACTIVESET_OK && form->m > 0) {
        code = activeset_problem_set_row_sides(problem, form->lower, form->upper);
    }
    if (code == ACTIVESET_OK) {
        begin_interruptible();
        code = activeset_solve(problem, NULL, result);
        end_interruptible();
    }
    activeset_problem_free(problem);
    return code;
}

static void require_optimal(const activeset_result* result) {
    switch (result->status) {
        case ACTIVESET_OPTIMAL:
            return;
        case ACTIVESET_INFEASIBLE:
            Rf_error("constraints are inconsistent, no solution!");
        case ACTIVESET_NOT_CONVEX:
            Rf_error("matrix D in quadratic function is not positive definite!");
        case ACTIVESET_UNBOUNDED:
            Rf_error("matrix D in quadratic function is singular, and the problem is unbounded!");
        default:
            Rf_error("%s", activeset_text(result->status));
    }
}

/* Indices of the active constraints; as in quadprog a single 0 if there are none. */
static SEXP active_of(const int8_t* sides, int m) {
    int count = 0;
    for (int i = 0; i < m; ++i) {
        count += sides[i] != ACTIVESET_FREE;
    }
    const SEXP active = Rf_allocVector(INTSXP, count > 0 ? count : 1);
    INTEGER(active)[0] = 0;
    for (int i = 0, at = 0; i < m; ++i) {
        if (sides[i] != ACTIVESET_FREE) {
            INTEGER(active)[at++] = i + 1;
        }
    }
    return active;
}

static SEXP vector_of(SEXP list, int at, int count) {
    const SEXP vector = Rf_allocVector(REALSXP, count);
    SET_VECTOR_ELT(list, at, vector);
    return vector;
}

/* For a singular D: a solution without constraints, or NA if there is none. */
static void unconstrained_of_singular(const dual_form* form, double* x) {
    const dual_form free_form = {form->n, 0, form->D, form->minus_d, NULL, NULL, NULL};
    activeset_result result;
    activeset_result_init(&result);
    result.x = x;
    if (solve_form(&free_form, &result) != ACTIVESET_OK || result.status != ACTIVESET_OPTIMAL) {
        for (int j = 0; j < form->n; ++j) {
            x[j] = NA_REAL;
        }
    }
}

static dual_form form_of(SEXP D, SEXP d, SEXP A, SEXP b, int equalities, int is_factor) {
    const int n = Rf_nrows(D), m = Rf_ncols(A);
    double *minus_d = doubles((size_t)n), *upper = doubles((size_t)m);
    for (int j = 0; j < n; ++j) {
        minus_d[j] = -REAL(d)[j];
    }
    for (int i = 0; i < m; ++i) {
        upper[i] = i < equalities ? REAL(b)[i] : R_PosInf;
    }
    const double* full = is_factor ? from_inverse(REAL(D), n) : symmetric(REAL(D), (size_t)n);
    const dual_form form = {n, m, full, minus_d, REAL(A), REAL(b), upper};
    return form;
}

SEXP C_solve_quadprog(SEXP D, SEXP d, SEXP A, SEXP b, SEXP meq, SEXP factorized) {
    static const char* names[] = {
        "solution", "value", "unconstrained.solution", "iterations", "Lagrangian", "iact", ""};
    const dual_form form = form_of(D, d, A, b, Rf_asInteger(meq), Rf_asLogical(factorized) == 1);
    const SEXP list = PROTECT(Rf_mkNamed(VECSXP, names));
    int8_t* sides = (int8_t*)R_alloc((size_t)form.m + 1, 1);
    char message[4096] = ""; /* ten faults */
    activeset_result result;
    activeset_result_init(&result);
    result.x = REAL(vector_of(list, 0, form.n));
    result.y = REAL(vector_of(list, 4, form.m));
    result.row_sides = sides;
    result.message = message;
    result.message_size = sizeof message;
    raise_code(solve_form(&form, &result));
    deliver_interrupt();
    if (result.status == ACTIVESET_INVALID) {
        UNPROTECT(1);
        return Rf_mkString(message);
    }
    require_optimal(&result);
    for (int i = 0; i < form.m; ++i) {
        result.y[i] = 0.0 - result.y[i]; /* no -0 */
    }
    SET_VECTOR_ELT(list, 1, Rf_ScalarReal(result.objective));
    double* const without = REAL(vector_of(list, 2, form.n));
    if (!unconstrained(form.D, REAL(d), form.n, without)) {
        unconstrained_of_singular(&form, without);
        deliver_interrupt();
    }
    const SEXP iterations = Rf_allocVector(INTSXP, 2);
    SET_VECTOR_ELT(list, 3, iterations);
    INTEGER(iterations)
    [0] = (int)(result.dual_iterations + result.main_iterations + result.phase_one_iterations +
                result.prediction_iterations);
    INTEGER(iterations)[1] = 0;
    SET_VECTOR_ELT(list, 5, active_of(sides, form.m));
    UNPROTECT(1);
    return list;
}
