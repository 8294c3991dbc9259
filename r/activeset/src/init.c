/* Registers the functions that R calls. */
#include <R_ext/Rdynload.h>

#include "shared.h"

#define CALLED(name, count) \
    { #name, (DL_FUNC)&name, count }

static const R_CallMethodDef methods[] = {CALLED(C_solve_qp, 4),      CALLED(C_solve_quadprog, 6),
                                          CALLED(C_solver_new, 2),    CALLED(C_solver_solve, 1),
                                          CALLED(C_solver_update, 3), CALLED(C_solver_restart, 2),
                                          CALLED(C_version, 0),       {NULL, NULL, 0}};

void R_init_activeset(DllInfo* library) {
    R_registerRoutines(library, NULL, methods, NULL, NULL);
    R_useDynamicSymbols(library, FALSE);
    R_forceSymbols(library, TRUE);
}
