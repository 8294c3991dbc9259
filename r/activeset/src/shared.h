/* Shared by the files of this package: the parts of a problem from R, results for R, and solves that
 * Ctrl-C ends. An R error leaves a function by a jump, so code that may raise one must hold no handle of
 * the library, or free it first. */
#ifndef ACTIVESET_R_SHARED_H
#define ACTIVESET_R_SHARED_H

#define R_NO_REMAP
#include <Rinternals.h>
#include <activeset/activeset.h>

/* The parts of a problem, in the order of the arguments of solve_qp(). */
enum { PART_P, PART_Q, PART_G, PART_H, PART_A, PART_B, PART_LB, PART_UB, PART_L, PARTS };

typedef struct {
    int n;     /* variables */
    int mG;    /* rows of G */
    int mA;    /* rows of A */
    SEXP kept; /* a list with the parts as doubles, or NULL where they are absent */
} problem_parts;

/* Turns the parts into doubles and checks their shapes. The caller must protect `kept`. */
problem_parts read_parts(SEXP given);
/* A vector or matrix as doubles, or NULL as it is; anything but numbers is an error. */
SEXP as_doubles(SEXP given, const char* name, const char* kind);
/* The numbers of a part; null if it is absent. */
const double* part_data(const problem_parts* parts, int part);
/* The rows of G above those of A, by columns, without a copy if only one is given; null without rows. */
const double* joined_rows(const problem_parts* parts);
/* The sides of the joined rows. */
void joined_sides(const problem_parts* parts, const double** lower, const double** upper);
/* The bounds of the variables; null for none. A single number counts for all variables. */
const double* bound_data(const problem_parts* parts, int part);

/* Options from the list of activeset_settings(); the defaults for NULL. */
void read_settings(SEXP settings, activeset_options* options);

/* The arrays that a solve writes, in memory that R frees after the call. */
typedef struct {
    activeset_result result;
    char message[4096]; /* ten faults */
} solve_output;
void prepare_output(const problem_parts* parts, solve_output* output);
/* The result as a list, or the text of the faults if the problem is invalid. */
SEXP output_to_r(const problem_parts* parts, const solve_output* output);

/* The start of a solve: a result, or a list with x. Without one the pointers are null. */
typedef struct {
    const double* x;
    const int8_t* row_sides;
    const int8_t* bound_sides;
} warm_start;
warm_start read_warm_start(const problem_parts* parts, SEXP start);

/* Sets the parts of the problem. Returns the first code that is not ACTIVESET_OK. Raises no R error. */
int set_parts(activeset_problem* problem,
              const problem_parts* parts,
              const double* rows,
              const double* lower,
              const double* upper,
              const double* lb,
              const double* ub);

/* Raises an R error unless the code is ACTIVESET_OK. */
void raise_code(int code);

/* Between these calls Ctrl-C ends the running solve. The second one delivers the interrupt to R. */
void begin_interruptible(void);
void end_interruptible(void);
void deliver_interrupt(void);

SEXP C_solve_qp(SEXP parts, SEXP x0, SEXP start, SEXP settings);
SEXP C_solve_quadprog(SEXP D, SEXP d, SEXP A, SEXP b, SEXP meq, SEXP factorized);
SEXP C_solver_new(SEXP parts, SEXP settings);
SEXP C_solver_solve(SEXP solver);
SEXP C_solver_update(SEXP solver, SEXP parts, SEXP replaced);
SEXP C_solver_restart(SEXP solver, SEXP start);
SEXP C_version(void);

#endif
