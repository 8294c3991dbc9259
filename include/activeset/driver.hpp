// The entry function: one call solves one problem, host arrays in, host arrays out.
#ifndef ACTIVESET_DRIVER_HPP
#define ACTIVESET_DRIVER_HPP

#include "activeset/export.hpp"
#include "activeset/host.hpp"

extern "C" {
/// Version of the library, four numbers separated by dots.
ACTIVESET_API extern const char* const activeset_version;
/// Date of the build: month (three letters), day (padded to two places with a blank), year.
ACTIVESET_API extern const char* const activeset_build_date;
}

namespace activeset {

/// What the results do not say about the last call of NullSpaceASdriver on a thread.
struct SolveReport {
    int iterations = 0;          ///< passes of the main loop
    int phaseOneIterations = 0;  ///< passes of phase one, 0 when it did not run
    bool phaseOneRan = false;    ///< the start point violated the constraints
    /// Entries of Wlower and Wupper that name no bound, and were skipped. With lists that count
    /// from 0, or that belong to another problem, the outcome may be wrong (docs/limits.md).
    int skippedEntries = 0;
};

/// The report of this thread's last call; all zero before the first and after one that raised.
[[nodiscard]] ACTIVESET_API SolveReport lastSolveReport() noexcept;

}  // namespace activeset

/// Solves min ½xᵀHx + cᵀx subject to A·x ≤ b, Aeq·x = beq, lb ≤ x ≤ ub.
///
/// All inputs are read only and come back bit for bit as they went in. With n the number of
/// columns of H:
///
/// @param H        n × n, symmetric (not tested)
/// @param c        n × 1
/// @param A, b     inequalities, mIneq × n and mIneq × 1; null for none
/// @param Aeq,beq  equalities, mEq × n and mEq × 1; null for none
/// @param lb, ub   bounds, at least n rows each; lb ≤ −BIG, ub ≥ BIG and NaN mean no bound, BIG
///                 being the largest finite double
/// @param x0       start point, n × 1; need not be feasible
/// @param Wineq    1-based rows of A that are active at the start, a column; may be empty or null
/// @param Wlower   1-based variables at their lower bound at the start; entries that name no bound
///                 are skipped, and counted in SolveReport
/// @param Wupper   1-based variables at their upper bound at the start
/// @param MaxIter  limit for the passes of one phase, truncated to int (saturating; NaN is 0)
/// @param TolCon   largest constraint violation that counts as feasible, absolute
/// @param TolFun   stored; no test uses it
/// @param TolX     Euclidean norm below which a search direction counts as zero
/// @param Display  character array "off", "final", "iter" or "testing"
///
/// A numeric option that is null or empty, and a Display that is no character array, takes the
/// default of IoptOption; the empty word prints nothing.
///
/// Results are new arrays that belong to the caller (to its CallScope, if one is open); a null
/// out-pointer is skipped, and the eight must differ.
///
/// @param xstar    the point, n × 1
/// @param fstar    the objective there, 1 × 1
/// @param lambda   multipliers of all constraints, (mIneq + mEq + 2n) × 1: equalities,
///                 inequalities, lower bounds by variable, upper bounds by variable, with
///                 H·x + c + Aeqᵀλeq + Aᵀλineq − λlower + λupper = 0
/// @param WeqOut, WineqOut, WlowerOut, WupperOut  the final working set, 1-based columns
/// @param exitflag the outcome, a code of ASQP::SolutionState, 1 × 1
///
/// @return 1, always; the outcome is in exitflag. `docs/states.md` says what each code means.
///
/// @raises "optim:src:DataTypeError" when one of the first eight arrays is sparse, complex or not
///         of class double; "Size mismatch in ..." assertions for H/c, A/b and Aeq/beq;
///         "optim:optimHstError:unhandledError" for other shapes that do not fit;
///         "optim:activesetqp:Active...SizeError" for initial lists that are too long. After an
///         error nothing has leaked and nothing is changed for the next call.
ACTIVESET_API int NullSpaceASdriver(const vxArray* H,
                                    const vxArray* c,
                                    const vxArray* A,
                                    const vxArray* b,
                                    const vxArray* Aeq,
                                    const vxArray* beq,
                                    const vxArray* lb,
                                    const vxArray* ub,
                                    const vxArray* x0,
                                    const vxArray* Wineq,
                                    const vxArray* Wlower,
                                    const vxArray* Wupper,
                                    const vxArray* MaxIter,
                                    const vxArray* TolCon,
                                    const vxArray* TolFun,
                                    const vxArray* TolX,
                                    const vxArray* Display,
                                    vxArray** xstar,
                                    vxArray** fstar,
                                    vxArray** lambda,
                                    vxArray** WeqOut,
                                    vxArray** WineqOut,
                                    vxArray** WlowerOut,
                                    vxArray** WupperOut,
                                    vxArray** exitflag);

#endif
