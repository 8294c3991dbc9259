/* Turns the parts of a problem from R objects into arrays of doubles. */
#include <R.h>
#include <string.h>

#include "shared.h"

static const char* const names[PARTS] = {"P", "q", "G", "h", "A", "b", "lb", "ub", "l"};

static int is_matrix_part(int part) {
    return part == PART_P || part == PART_G || part == PART_A;
}

/* The number of columns of a matrix; a vector is one row. */
static int columns_of(SEXP matrix) {
    return Rf_isMatrix(matrix) ? Rf_ncols(matrix) : Rf_length(matrix);
}

static int rows_of(SEXP matrix) {
    return Rf_isNull(matrix) ? 0 : (Rf_isMatrix(matrix) ? Rf_nrows(matrix) : 1);
}

SEXP as_doubles(SEXP given, const char* name, const char* kind) {
    if (Rf_isNull(given) || TYPEOF(given) == REALSXP) {
        return given;
    }
    if ((TYPEOF(given) != INTSXP && TYPEOF(given) != LGLSXP) || Rf_isFactor(given)) {
        Rf_error("%s must be a numeric %s", name, kind);
    }
    return Rf_coerceVector(given, REALSXP);
}

static void require_length(const problem_parts* parts, int part, int expected, int may_be_one) {
    const SEXP vector = VECTOR_ELT(parts->kept, part);
    const R_xlen_t length = Rf_xlength(vector);
    if (Rf_isNull(vector) || length == expected || (may_be_one && length == 1)) {
        return;
    }
    Rf_error("%s has %.0f entries, expected %d", names[part], (double)length, expected);
}

static void require_shape(const problem_parts* parts, int part, int rows) {
    const SEXP matrix = VECTOR_ELT(parts->kept, part);
    if (Rf_isNull(matrix)) {
        return;
    }
    const int is_scalar = Rf_xlength(matrix) == 1 && rows == 1 && parts->n == 1;
    if (!is_scalar && (rows_of(matrix) != rows || columns_of(matrix) != parts->n)) {
        Rf_error("%s is %d x %d, expected %d x %d", names[part], rows_of(matrix),
                 columns_of(matrix), rows, parts->n);
    }
}

/* The number of variables, from the first part that is given. */
static int variables_of(SEXP kept) {
    static const int telling[] = {PART_Q, PART_P, PART_G, PART_A, PART_LB, PART_UB};
    for (size_t i = 0; i < sizeof telling / sizeof *telling; ++i) {
        const SEXP part = VECTOR_ELT(kept, telling[i]);
        if (!Rf_isNull(part)) {
            return is_matrix_part(telling[i]) ? columns_of(part) : Rf_length(part);
        }
    }
    Rf_error("a problem needs at least one of P, q, G, A, lb and ub");
}

problem_parts read_parts(SEXP given) {
    problem_parts parts = {0, 0, 0, PROTECT(Rf_allocVector(VECSXP, PARTS))};
    for (int part = 0; part < PARTS; ++part) {
        SET_VECTOR_ELT(parts.kept, part,
                       as_doubles(VECTOR_ELT(given, part), names[part],
                                  is_matrix_part(part) ? "matrix" : "vector"));
    }
    parts.n = variables_of(parts.kept);
    parts.mG = rows_of(VECTOR_ELT(parts.kept, PART_G));
    parts.mA = rows_of(VECTOR_ELT(parts.kept, PART_A));
    require_shape(&parts, PART_P, parts.n);
    require_shape(&parts, PART_G, parts.mG);
    require_shape(&parts, PART_A, parts.mA);
    require_length(&parts, PART_Q, parts.n, 0);
    require_length(&parts, PART_H, parts.mG, 1);
    require_length(&parts, PART_L, parts.mG, 1);
    require_length(&parts, PART_B, parts.mA, 1);
    require_length(&parts, PART_LB, parts.n, 1);
    require_length(&parts, PART_UB, parts.n, 1);
    if (parts.mG > 0 && part_data(&parts, PART_H) == NULL && part_data(&parts, PART_L) == NULL) {
        Rf_error("G without h or l");
    }
    if (part_data(&parts, PART_G) == NULL && (Rf_xlength(VECTOR_ELT(parts.kept, PART_H)) > 0 ||
                                              Rf_xlength(VECTOR_ELT(parts.kept, PART_L)) > 0)) {
        Rf_error("h or l without G");
    }
    if (parts.mA > 0 ? part_data(&parts, PART_B) == NULL
                     : Rf_xlength(VECTOR_ELT(parts.kept, PART_B)) > 0) {
        Rf_error("A and b belong together");
    }
    UNPROTECT(1);
    return parts;
}

const double* part_data(const problem_parts* parts, int part) {
    const SEXP vector = VECTOR_ELT(parts->kept, part);
    return Rf_isNull(vector) ? NULL : REAL(vector);
}

static double* doubles(R_xlen_t count) {
    return (double*)R_alloc((size_t)count + 1, sizeof(double));
}

const double* joined_rows(const problem_parts* parts) {
    const double* G = part_data(parts, PART_G);
    const double* A = part_data(parts, PART_A);
    const size_t mG = (size_t)parts->mG, mA = (size_t)parts->mA;
    if (mG == 0 || mA == 0) {
        return mG == 0 ? A : G;
    }
    double* rows = doubles((R_xlen_t)(mG + mA) * parts->n);
    for (size_t j = 0; j < (size_t)parts->n; ++j) {
        memcpy(rows + j * (mG + mA), G + j * mG, mG * sizeof *rows);
        memcpy(rows + j * (mG + mA) + mG, A + j * mA, mA * sizeof *rows);
    }
    return rows;
}

/* Copies a vector, repeats a single number, or repeats `absent` if the part is absent. */
static void fill(const problem_parts* parts, int part, int count, double absent, double* target) {
    const double* data = part_data(parts, part);
    const int step = data != NULL && Rf_xlength(VECTOR_ELT(parts->kept, part)) == count;
    for (int i = 0; i < count; ++i) {
        target[i] = data == NULL ? absent : data[i * step];
    }
}

void joined_sides(const problem_parts* parts, const double** lower, const double** upper) {
    double* low = doubles(2 * ((R_xlen_t)parts->mG + parts->mA));
    double* high = low + parts->mG + parts->mA;
    fill(parts, PART_L, parts->mG, R_NegInf, low);
    fill(parts, PART_H, parts->mG, R_PosInf, high);
    fill(parts, PART_B, parts->mA, 0.0, low + parts->mG);
    fill(parts, PART_B, parts->mA, 0.0, high + parts->mG);
    *lower = low;
    *upper = high;
}

const double* bound_data(const problem_parts* parts, int part) {
    const double* data = part_data(parts, part);
    if (data == NULL || Rf_xlength(VECTOR_ELT(parts->kept, part)) == parts->n) {
        return data;
    }
    double* expanded = doubles(parts->n);
    fill(parts, part, parts->n, 0.0, expanded);
    return expanded;
}

int set_parts(activeset_problem* problem,
              const problem_parts* parts,
              const double* rows,
              const double* lower,
              const double* upper,
              const double* lb,
              const double* ub) {
    int code =
        activeset_problem_set_hessian(problem, part_data(parts, PART_P), 0, ACTIVESET_COLUMN_MAJOR);
    if (code == ACTIVESET_OK) {
        code = activeset_problem_set_linear(problem, part_data(parts, PART_Q), 0.0);
    }
    if (code == ACTIVESET_OK && parts->mG + parts->mA > 0) {
        code = activeset_problem_set_rows(problem, rows, 0, ACTIVESET_COLUMN_MAJOR);
    }
    if (code == ACTIVESET_OK) {
        code = activeset_problem_set_row_sides(problem, lower, upper);
    }
    return code == ACTIVESET_OK ? activeset_problem_set_bounds(problem, lb, ub) : code;
}
