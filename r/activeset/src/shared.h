/* What the files of this package share: the parts of a problem as R gives them, results as R takes
 * them, and solves that Ctrl-C ends. R's errors leave a function by a jump, so everything that can
 * raise one happens while no handle of the library is held, or frees it before. */
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

/* Turns the parts into doubles and checks their shapes. `parts.kept` is to be protected. */
problem_parts read_parts(SEXP given);
/* A part's numbers, or null. */
const double* part_data(const problem_parts* parts, int part);
/* G above A, by columns; null without rows. Where there is one of them only, that one. */
const double* joined_rows(const problem_parts* parts);
/* The sides of the joined rows. */
void joined_sides(const problem_parts* parts, const double** lower, const double** upper);
/* A bound of each variable, null for none; a single number holds for all. */
const double* bound_data(const problem_parts* parts, int part);

/* Options from the list that activeset_settings() makes, or their defaults for NULL. */
void read_settings(SEXP settings, activeset_options* options);

/* Everything that a solve writes, in memory that R frees after the call. */
typedef struct {
    activeset_result result;
    char message[512];
} solve_output;
void prepare_output(const problem_parts* parts, solve_output* output);
SEXP output_to_r(const problem_parts* parts, const solve_output* output);

/* Where to start: the result of a solve, or a list with x. Null pointers without one. */
typedef struct {
    const double* x;
    const int8_t* row_sides;
    const int8_t* bound_sides;
} warm_start;
warm_start read_warm_start(const problem_parts* parts, SEXP start);

/* Gives the problem the parts; raises nothing. The first code that is not ACTIVESET_OK. */
int set_parts(activeset_problem* problem,
              const problem_parts* parts,
              const double* rows,
              const double* lower,
              const double* upper,
              const double* lb,
              const double* ub);

/* What makes a problem invalid, and its texts. Reading raises nothing. */
enum { SHOWN_FAULTS = 10 };
typedef struct {
    activeset_fault shown[SHOWN_FAULTS];
    int64_t count;
} problem_faults;
void read_faults(const activeset_problem* problem, problem_faults* faults);
SEXP faults_to_r(const problem_faults* faults, const solve_output* output);

/* Raises what a code of the library stands for. */
void raise_code(int code);

/* From one to the other, Ctrl-C ends the solve that runs. The second takes the interrupt to R. */
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
