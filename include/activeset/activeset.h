/* The C interface: dense convex quadratic and linear programs from any language that can call C.
 *
 *     minimise ½xᵀHx + cᵀx + constant
 *     subject to  row_lower ≤ A·x ≤ row_upper,  lower ≤ x ≤ upper
 *
 * with n variables and m rows, where any side may be soft: violated at a price. It is
 * activeset/qp.hpp in C99: the same solver, the same signs, the same proofs. docs/c.md has
 * examples.
 *
 * Arguments. Sizes are 64 bits wide, and at most 2^29. A matrix is a pointer, the distance between
 * its columns (rows, for ACTIVESET_ROW_MAJOR), and an order; a distance of 0 stands for no gaps.
 * Null stands for what is absent: H of a linear program, c of zeros, infinite sides and bounds.
 * Indices are 0-based.
 *
 * Memory. What is passed in is read only and stays the caller's; where a comment says "looked at",
 * it has to stay as it is until it is replaced or the handle is freed. Results are written into
 * arrays of the caller's. Handles come from *_new and go to *_free, which takes null.
 *
 * Errors. Every function that returns int returns an activeset_code. No exception leaves a
 * function, and one that fails leaves its handles as they were. How a solve ended is a status, not
 * an error.
 *
 * Structs begin with struct_size, sizeof of the struct that the caller was compiled with: later
 * versions add members at the end. The *_init functions set it, and defaults.
 *
 * Threads. A handle is for one thread at a time; different handles are independent. */
#ifndef ACTIVESET_ACTIVESET_H
#define ACTIVESET_ACTIVESET_H

/* This is C. NOLINTBEGIN(modernize-*) */
#include <stddef.h>
#include <stdint.h>

#define ACTIVESET_C_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* What a function returns. */
typedef enum activeset_code {
    ACTIVESET_OK = 0,
    ACTIVESET_BAD_ARGUMENT =
        -1, /* a null handle, a negative size, a struct_size that is too small */
    ACTIVESET_OUT_OF_MEMORY = -2,
    ACTIVESET_BUSY = -3,  /* inside a callback: another solve, a change of the solver at work */
    ACTIVESET_ERROR = -4, /* anything else */
    ACTIVESET_NOT_ITS_OPTIMUM = -5 /* the result is not optimal, or of another problem */
} activeset_code;

/* How a solve ended; see docs/frontend.md for what each one promises. */
typedef enum activeset_status {
    ACTIVESET_OPTIMAL = 0,
    ACTIVESET_INFEASIBLE = 1,
    ACTIVESET_UNBOUNDED = 2,
    ACTIVESET_NOT_CONVEX = 3,
    ACTIVESET_ITERATION_LIMIT = 4,
    ACTIVESET_TIME_LIMIT = 5,
    ACTIVESET_INTERRUPTED = 6,
    ACTIVESET_INACCURATE = 7,
    ACTIVESET_INVALID = 8,
    ACTIVESET_FAILED = 9
} activeset_status;

typedef enum activeset_order {
    ACTIVESET_COLUMN_MAJOR = 0,
    ACTIVESET_ROW_MAJOR = 1
} activeset_order;

/* Where a solve begins whose warm start, if there is one, is not the solution yet. */
typedef enum activeset_start {
    ACTIVESET_START_AUTOMATIC = 0, /* predict, unless a callback or a limit asks for passes */
    ACTIVESET_START_PREDICT = 1,   /* at a prediction of the working set */
    ACTIVESET_START_COLD = 2       /* at the start of the problem */
} activeset_start;

/* The side at which a row or variable is held by a working set, or which it violates. */
typedef enum activeset_side {
    ACTIVESET_FREE = 0,
    ACTIVESET_AT_LOWER = -1,
    ACTIVESET_AT_UPPER = 1,
    ACTIVESET_EQUAL = 2, /* the sides are equal */
    /* Of a problem with penalties: a soft side is violated. Such a constraint is not held. */
    ACTIVESET_BELOW_LOWER = -2,
    ACTIVESET_ABOVE_UPPER = 3
} activeset_side;

/* "optimal", "infeasible", …; "unknown" for a number that is no status. Static memory. */
ACTIVESET_C_API const char* activeset_text(int status);
/* One word on a code: "ok", "out of memory", … Static memory. */
ACTIVESET_C_API const char* activeset_code_text(int code);
/* The version of the library, "0.1.0.0". Static memory. */
ACTIVESET_C_API const char* activeset_c_version(void);

/* ---- Problems ----------------------------------------------------------------------------------
 */

/* Views of the caller's data: what its functions are given is looked at, not copied. */
typedef struct activeset_problem activeset_problem;

/* A problem whose parts are all absent. *problem is null unless ACTIVESET_OK is returned. */
ACTIVESET_C_API int activeset_problem_new(int64_t n, int64_t m, activeset_problem** problem);
ACTIVESET_C_API void activeset_problem_free(activeset_problem* problem);
/* H: n × n, symmetric. */
ACTIVESET_C_API int activeset_problem_set_hessian(activeset_problem* problem,
                                                  const double* H,
                                                  int64_t leading,
                                                  int order);
/* c: n. */
ACTIVESET_C_API int activeset_problem_set_linear(activeset_problem* problem,
                                                 const double* c,
                                                 double constant);
/* A: m × n. */
ACTIVESET_C_API int activeset_problem_set_rows(activeset_problem* problem,
                                               const double* A,
                                               int64_t leading,
                                               int order);
/* m each. A row with equal sides is an equality. */
ACTIVESET_C_API int activeset_problem_set_row_sides(activeset_problem* problem,
                                                    const double* lower,
                                                    const double* upper);
/* n each. A variable with equal bounds is fixed. */
ACTIVESET_C_API int activeset_problem_set_bounds(activeset_problem* problem,
                                                 const double* lower,
                                                 const double* upper);
/* What it costs to violate the sides of the rows, m each, or of the bounds, n each: a side that is
 * missed by v costs linear·v + ½·quadratic·v², and is soft then. Arrays may be null. An infinite
 * linear penalty leaves a side hard; without linear ones the sides with a positive quadratic one
 * are soft. Linear penalties are from 0 up, quadratic ones, too, and finite; not both are 0. */
typedef struct activeset_penalty {
    size_t struct_size;            /* sizeof this structure; set by its init function */
    const double* lower_linear;    /* of sides missed from below, per unit */
    const double* upper_linear;    /* of sides missed from above, per unit */
    const double* lower_quadratic; /* of sides missed from below, per unit squared */
    const double* upper_quadratic; /* of sides missed from above, per unit squared */
} activeset_penalty;

/* struct_size, and all sides hard. */
ACTIVESET_C_API void activeset_penalty_init(activeset_penalty* penalty);
/* Replaces both penalties; null for hard sides. The structs are read at once, the arrays are looked
 * at. */
ACTIVESET_C_API int activeset_problem_set_penalties(activeset_problem* problem,
                                                    const activeset_penalty* rows,
                                                    const activeset_penalty* bounds);
/* Where to start; x: n, or null for zeros. Need not be feasible. */
ACTIVESET_C_API int activeset_problem_set_start(activeset_problem* problem, const double* x);
/* A point and the working set of a similar problem, copied. row_sides: m and bound_sides: n values
 * of activeset_side, or null. Sides that this problem does not have are left out. A null x takes
 * the warm start away. */
ACTIVESET_C_API int activeset_problem_set_warm_start(activeset_problem* problem,
                                                     const double* x,
                                                     const int8_t* row_sides,
                                                     const int8_t* bound_sides);

/* ---- Settings ----------------------------------------------------------------------------------
 */

/* What a callback is told after every pass of the core. */
typedef struct activeset_progress {
    size_t struct_size; /* of the library that calls */
    int64_t iteration;  /* passes so far, over all phases */
    int32_t phase_one;  /* 1 while it looks for a feasible point */
    int32_t reserved;   /* 0 */
    double objective;   /* at the present point, constant included */
    double violation;   /* the largest there, absolute */
    int64_t active;     /* members of the working set */
    double step;        /* Euclidean norm of the last step, in scaled variables */
} activeset_progress;

/* Ends solves from another thread. */
typedef struct activeset_stop activeset_stop;
ACTIVESET_C_API int activeset_stop_new(activeset_stop** stop);
/* Ends all solves that have this stop, now and later. From any thread. */
ACTIVESET_C_API void activeset_stop_request(activeset_stop* stop);
/* Solves that are running keep what they need. */
ACTIVESET_C_API void activeset_stop_free(activeset_stop* stop);

/* Sets (1) or clears (0) a flag that ends every solve in the process while it is set. May be called
 * in a signal handler. */
ACTIVESET_C_API void activeset_interrupt_all(int flag);

/* How a problem is solved, and when to give up. */
typedef struct activeset_options {
    size_t struct_size; /* sizeof this structure; set by its init function */
    double tolerance;   /* relative size up to which residuals support ACTIVESET_OPTIMAL; (0, 1] */
    int32_t start_mode; /* an activeset_start */
    int32_t reserved;   /* 0 */
    int64_t max_iterations;     /* 0: a limit that no sound problem meets */
    double time_limit;          /* seconds; infinite for none */
    const activeset_stop* stop; /* or null; looked at until the solve ends */
    /* Called after every pass of the core, or null; 0 ends the solve. With a callback
     * ACTIVESET_START_AUTOMATIC leaves predictions out. In it, other solves of the thread and
     * changes of the activeset_solver at work are ACTIVESET_BUSY, those of its options count for
     * the solves to come; it must not free what is at work. */
    int (*on_pass)(const activeset_progress* progress, void* user);
    void* user; /* handed to on_pass */
    /* How far H may be from convex, in proportion to its Frobenius norm; [0, 1], 0 for no shift. */
    double convexity_tolerance;
} activeset_options;

/* struct_size and the defaults; wherever options are taken, null stands for them. */
ACTIVESET_C_API void activeset_options_init(activeset_options* options);

/* ---- Results -----------------------------------------------------------------------------------
 */

/* As it is, and in proportion to the terms that it is the sum of. */
typedef struct activeset_residual {
    double absolute; /* in the units of the problem */
    double relative; /* without a unit */
} activeset_residual;

/* Hx + c + Aᵀy + z = 0, y and z positive at an upper side, negative at a lower one, of any sign at
 * an equality. To first order the optimal value changes by −y_i when the active side of row i grows
 * by one. Arrays that a solve has nothing for are filled with NaN, sides with ACTIVESET_FREE. */
typedef struct activeset_result {
    size_t struct_size; /* sizeof this structure; set by its init function */

    /* Set by the caller: arrays to be written, or null. */
    double* x;            /* n */
    double* y;            /* m */
    double* z;            /* n */
    int8_t* row_sides;    /* m values of activeset_side: the working set, and what is violated */
    int8_t* bound_sides;  /* n */
    double* farkas_y;     /* m, for ACTIVESET_INFEASIBLE: Aᵀ·farkas_y + farkas_z = 0, */
    double* farkas_z;     /* n, yet the sides that they stand for add up to less than 0 */
    double* direction;    /* n, for ACTIVESET_UNBOUNDED and ACTIVESET_NOT_CONVEX */
    char* message;        /* a text, cut to fit, for ACTIVESET_INVALID and ACTIVESET_FAILED */
    int64_t message_size; /* of `message`, its end counted in */

    /* Written. */
    int32_t status;                        /* an activeset_status */
    int32_t exit_code;                     /* of the last run of the core; −5 without one */
    int32_t was_predicted;                 /* 1: the start was predicted */
    int32_t reserved;                      /* 0 */
    double objective;                      /* constant included; NaN without a point */
    activeset_residual primal;             /* largest violation of a row or bound */
    activeset_residual dual;               /* largest entry of Hx + c + Aᵀy + z */
    activeset_residual gap;                /* primal minus dual objective */
    activeset_residual farkas_residual;    /* of Aᵀ·farkas_y + farkas_z; 0 without a vector */
    double farkas_value;                   /* what the sides add up to; 0 without a vector */
    activeset_residual direction_residual; /* see Result::directionResidual in qp.hpp */
    int64_t phase_one_iterations;          /* passes that look for a feasible point */
    int64_t main_iterations;               /* passes from there to the optimum */
    int64_t prediction_iterations;         /* rounds of guessing the working set */
    int64_t dual_iterations;               /* steps of the dual method */
    int64_t proximal_iterations;           /* subproblems of the proximal-point loop */
    int64_t refinement_iterations;         /* corrections in extended precision */
    double setup_seconds;                  /* checks, copies, scaling */
    double solve_seconds;                  /* active-set iterations */
    double polish_seconds;                 /* refinement and certificates */
    double total_seconds;                  /* of the whole call */
    double hessian_shift; /* H + this times I was solved, which H misses to be convex; 0 for H */
} activeset_result;

/* struct_size, no arrays, and ACTIVESET_FAILED. */
ACTIVESET_C_API void activeset_result_init(activeset_result* result);

/* One mistake in the data of a problem. */
typedef struct activeset_fault {
    size_t struct_size; /* sizeof this structure; set by the caller */
    int64_t row;        /* 0-based; of a shape that does not fit, what was given */
    int64_t col;        /* 0 for vectors */
    double value;       /* of the entry */
    int64_t count;      /* mistakes that it stands for */
    char name[32];      /* of the part, "rowLower" for example */
    char text[256];     /* one line, cut to fit */
} activeset_fault;

/* Writes the first `capacity` faults, whose struct_size the caller has set, and how many there are;
 * none is a problem that can be solved. `faults` may be null with a capacity of 0. */
ACTIVESET_C_API int activeset_faults(const activeset_problem* problem,
                                     activeset_fault* faults,
                                     int64_t capacity,
                                     int64_t* count);

/* ---- Solves ------------------------------------------------------------------------------------
 */

/* Solves one problem. On an error the result is not written. */
ACTIVESET_C_API int activeset_solve(const activeset_problem* problem,
                                    const activeset_options* options,
                                    activeset_result* result);

/* The sides of rows and bounds that contradict one another, none of which can be left out. sides
 * are as in activeset_result, with ACTIVESET_EQUAL where both sides of a row or variable take part;
 * any of the arrays may be null. *found is 1 if there is a conflict, 2 if none of it can be left
 * out. */
ACTIVESET_C_API int activeset_explain_infeasibility(const activeset_problem* problem,
                                                    const activeset_options* options,
                                                    int8_t* row_sides,
                                                    int8_t* bound_sides,
                                                    int* found);

/* A sequence of related problems of the same sizes. Holds copies of all data; each solve starts
 * from the last optimum, and factors are kept while the matrices stay. */
typedef struct activeset_solver activeset_solver;

/* Copies the problem and the options; of the options, `stop` and `user` are looked at. Faults show
 * when it is solved. */
ACTIVESET_C_API int activeset_solver_new(const activeset_problem* problem,
                                         const activeset_options* options,
                                         activeset_solver** solver);
ACTIVESET_C_API void activeset_solver_free(activeset_solver* solver);
/* Replace a part; arguments as for a problem, but copied. */
ACTIVESET_C_API int activeset_solver_set_hessian(activeset_solver* solver,
                                                 const double* H,
                                                 int64_t leading,
                                                 int order);
ACTIVESET_C_API int activeset_solver_set_linear(activeset_solver* solver,
                                                const double* c,
                                                double constant);
ACTIVESET_C_API int activeset_solver_set_rows(activeset_solver* solver,
                                              const double* A,
                                              int64_t leading,
                                              int order);
ACTIVESET_C_API int activeset_solver_set_row_sides(activeset_solver* solver,
                                                   const double* lower,
                                                   const double* upper);
ACTIVESET_C_API int activeset_solver_set_bounds(activeset_solver* solver,
                                                const double* lower,
                                                const double* upper);
ACTIVESET_C_API int activeset_solver_set_penalties(activeset_solver* solver,
                                                   const activeset_penalty* rows,
                                                   const activeset_penalty* bounds);
/* Where the next solve starts, instead of at the last optimum; null x: from zero. */
ACTIVESET_C_API int activeset_solver_restart(activeset_solver* solver,
                                             const double* x,
                                             const int8_t* row_sides,
                                             const int8_t* bound_sides);
/* For the solves to come. */
ACTIVESET_C_API int activeset_solver_set_options(activeset_solver* solver,
                                                 const activeset_options* options);
ACTIVESET_C_API int activeset_solver_solve(activeset_solver* solver, activeset_result* result);

/* ---- Many problems -----------------------------------------------------------------------------
 */

/* `count` problems of the same sizes. Problem k has its part at data + k·stride; a stride of 0 is a
 * part that all share. Matrices have no gaps. */
typedef struct activeset_batch {
    size_t struct_size;       /* sizeof this structure; set by its init function */
    int64_t count;            /* problems */
    int64_t n;                /* variables of each */
    int64_t m;                /* rows of each */
    int32_t order;            /* of H and A */
    int32_t threads;          /* 0: as many as there are processors */
    int64_t chain;            /* neighbours that begin at the optimum before them; 0 and 1: none */
    const double* H;          /* n × n */
    int64_t H_stride;         /* in numbers, as all strides */
    const double* c;          /* n */
    int64_t c_stride;         /* from c of a problem to that of the next */
    const double* A;          /* m × n */
    int64_t A_stride;         /* from A of a problem to that of the next */
    const double* row_lower;  /* m */
    int64_t row_lower_stride; /* from row_lower of a problem to that of the next */
    const double* row_upper;  /* m */
    int64_t row_upper_stride; /* from row_upper of a problem to that of the next */
    const double* lower;      /* n */
    int64_t lower_stride;     /* from lower of a problem to that of the next */
    const double* upper;      /* n */
    int64_t upper_stride;     /* from upper of a problem to that of the next */

    /* Arrays to be written, or null; problem k has its part at k times the length. */
    double* x;         /* count · n */
    double* y;         /* count · m */
    double* z;         /* count · n */
    int32_t* status;   /* count */
    double* objective; /* count */
    double* residuals; /* count · 3: primal, dual and gap, relative */
} activeset_batch;

/* struct_size, and everything else absent. */
ACTIVESET_C_API void activeset_batch_init(activeset_batch* batch);
/* Solves them all; the results do not depend on the number of threads. A problem that fails has the
 * status ACTIVESET_FAILED and spoils no other. The callback of the options is called from several
 * threads at the same time; the time limit holds for all problems together. */
ACTIVESET_C_API int activeset_solve_batch(const activeset_batch* batch,
                                          const activeset_options* options);

/* ---- Beyond the point --------------------------------------------------------------------------
 * What an optimum says about its neighbours; docs/parametric.md. Where a result is taken it has x,
 * y, z, row_sides and bound_sides, as a solve of this problem has left them. struct_size is set by
 * the caller; arrays that are null are not written. */

/* Which derivative there is. */
typedef enum activeset_derivative {
    ACTIVESET_DERIVATIVE_FULL = 0,         /* the solution is differentiable */
    ACTIVESET_DERIVATIVE_ONE_SIDED = 1,    /* a side holds, or is touched, without a multiplier */
    ACTIVESET_DERIVATIVE_LEAST_SQUARES = 2 /* multipliers, or the point, are not unique */
} activeset_derivative;

/* What a loss gains per unit of each number of the problem. Of an equality the gradient is that of
 * the side that its multiplier presses on. */
typedef struct activeset_gradients {
    size_t struct_size; /* sizeof this structure */
    double* H;          /* n × n, symmetric, column by column */
    double* c;          /* n */
    double* A;          /* m × n, column by column */
    double* row_lower;  /* m */
    double* row_upper;  /* m */
    double* lower;      /* n */
    double* upper;      /* n */
    int32_t derivative; /* written: an activeset_derivative */
    int32_t reserved;   /* 0 */
} activeset_gradients;

/* The factors for the derivatives of one optimum; holds copies of all that it needs. */
typedef struct activeset_sensitivity activeset_sensitivity;
ACTIVESET_C_API int activeset_sensitivity_new(const activeset_problem* problem,
                                              const activeset_result* result,
                                              activeset_sensitivity** sensitivity);
ACTIVESET_C_API void activeset_sensitivity_free(activeset_sensitivity* sensitivity);
/* From what the loss gains per unit of x (n), y (m) and z (n), each null for none. */
ACTIVESET_C_API int activeset_backward(const activeset_sensitivity* sensitivity,
                                       const double* dx,
                                       const double* dy,
                                       const double* dz,
                                       activeset_gradients* gradients);

/* The values that one number may have, alone, while the working set stays that of an optimum. */
typedef struct activeset_range {
    double value;              /* as the problem has it */
    double least;              /* −infinity without an end */
    double most;               /* infinity without an end */
    double objective_at_least; /* the optimal value there */
    double objective_at_most;  /* likewise */
    int32_t is_degenerate;     /* 1: the working set changes at once */
    int32_t reserved;          /* 0 */
} activeset_range;

/* Of all numbers. */
typedef struct activeset_ranges {
    size_t struct_size;         /* sizeof this structure */
    activeset_range* c;         /* n */
    activeset_range* row_lower; /* m */
    activeset_range* row_upper; /* m */
    activeset_range* lower;     /* n */
    activeset_range* upper;     /* n */
} activeset_ranges;
ACTIVESET_C_API int activeset_find_ranges(const activeset_problem* problem,
                                          const activeset_result* result,
                                          activeset_ranges* ranges);

/* What the vectors of a problem gain per unit of a parameter t, null for nothing. */
typedef struct activeset_direction {
    size_t struct_size;      /* sizeof this structure */
    const double* c;         /* n */
    const double* row_lower; /* m */
    const double* row_upper; /* m */
    const double* lower;     /* n */
    const double* upper;     /* n */
} activeset_direction;

/* The optimum from one breakpoint to the next: with s = t − from it is x + s·dx, and so on; the
 * objective is objective + s·slope + ½s²·curvature. */
typedef struct activeset_piece {
    size_t struct_size;  /* sizeof this structure */
    double* x;           /* n */
    double* y;           /* m */
    double* z;           /* n */
    double* dx;          /* n */
    double* dy;          /* m */
    double* dz;          /* n */
    int8_t* row_sides;   /* m values of activeset_side: the working set */
    int8_t* bound_sides; /* n */
    double from;         /* written, as what follows: the first t */
    double to;           /* the last t */
    double objective;    /* at `from` */
    double slope;        /* of the objective there */
    double curvature;    /* of the objective */
} activeset_piece;

/* How a path ends. */
typedef struct activeset_path_end {
    size_t struct_size;   /* sizeof this structure */
    double* farkas_y;     /* m, for ACTIVESET_INFEASIBLE: the proof at every t behind the end; NaN
                             where two sides cross, as the message says */
    double* farkas_z;     /* n, likewise */
    double* direction;    /* n, for ACTIVESET_UNBOUNDED */
    char* message;        /* a text, cut to fit */
    int64_t message_size; /* of `message`, its end counted in */
    int32_t status;       /* written: ACTIVESET_OPTIMAL where the whole range was followed */
    int32_t reserved;     /* 0 */
    int64_t pieces;       /* how many there are */
    double end;           /* the last t with an optimum */
    double hessian_shift; /* as in activeset_result */
} activeset_path_end;

/* The optimum as a function of t; holds copies of all that it needs. */
typedef struct activeset_path activeset_path;
/* From `from` to `to`. ACTIVESET_BAD_ARGUMENT for faults of the problem, a direction that is not
 * finite, and a range that is none. */
ACTIVESET_C_API int activeset_path_new(const activeset_problem* problem,
                                       const activeset_direction* direction,
                                       double from,
                                       double to,
                                       const activeset_options* options,
                                       activeset_path** path);
ACTIVESET_C_API void activeset_path_free(activeset_path* path);
ACTIVESET_C_API int activeset_path_result(const activeset_path* path, activeset_path_end* end);
/* Piece k, 0-based. */
ACTIVESET_C_API int activeset_path_get(const activeset_path* path,
                                       int64_t k,
                                       activeset_piece* piece);
/* The optimum at t into arrays or null; ACTIVESET_BAD_ARGUMENT where the path does not reach. */
ACTIVESET_C_API int activeset_path_at(
    const activeset_path* path, double t, double* x, double* y, double* z, double* objective);

#ifdef __cplusplus
}
#endif
/* NOLINTEND(modernize-*) */

#endif
