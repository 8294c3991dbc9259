// The documentation of solve_qp.
#ifndef ACTIVESET_PYTHON_SOLVE_TEXT_HPP
#define ACTIVESET_PYTHON_SOLVE_TEXT_HPP

namespace activeset::python {

inline constexpr char SolveQpText[] =
    R"(solve_qp(P, q, G=None, h=None, A=None, b=None, lb=None, ub=None, *, l=None, constant=0.0, x0=None, soft=None, warm_start=None, settings=None, verbose=False, callback=None, names=None, row_names=None)
--

Solve a convex quadratic or linear program and prove the answer.

Minimises ``1/2 x'P x + q'x + constant`` subject to ``l <= G x <= h``, ``A x = b`` and
``lb <= x <= ub``. With multipliers y of A, z of G and z_box of the bounds,
``P x + q + G'z + A'y + z_box = 0`` at an optimum: z and z_box are positive at upper sides and
negative at lower sides.

Parameters
----------
P : (n, n) array_like or None
    Symmetric, positive semidefinite. Both triangles are needed. None is a linear program.
q : (n,) array_like or None
    None is zero.
G, h, l : (m, n), (m,) and (m,) array_like, optional
    Inequalities. One of h and l may be left out. A one-dimensional G is a single row.
A, b : (p, n) and (p,) array_like, optional
    Equalities.
lb, ub : (n,) array_like, optional
    Bounds. Infinite entries, and those of 1e20 or more, mean no bound.
constant : float
    Added to the objective.
x0 : (n,) array_like, optional
    The start, which need not be feasible.
soft : mapping, optional
    Sides that may be violated at a cost: maps "h", "l", "b", "lb", "ub" to a linear penalty, or to
    a tuple (linear, quadratic). Penalties are numbers, or arrays with an entry for each side. An
    infinite linear penalty leaves a side hard; None is no penalty of that kind. A side that is
    violated by v >= 0 adds ``linear v + 1/2 quadratic v**2`` to the objective, and its multiplier
    is at most ``linear + quadratic v``. ``result.working_set.soft_violated`` lists violated sides.
warm_start : WarmStart or Result, optional
    The end of the solve of a similar problem. Takes precedence over x0.
settings : Settings, optional
    Tolerance and limits.
verbose : bool
    Whether to print passes and outcome to sys.stdout.
callback : callable, optional
    Called with a Progress after every pass of the active-set method. Returning False ends the
    solve with the status interrupted. It must not start another solve. A solve with a callback
    does not predict its working set unless the settings ask for it.
names, row_names : sequence of str, optional
    Names of the n variables and of the m + p rows, those of G first.

Returns
-------
Result
    `status` says how the solve ended; no outcome raises an exception.

Raises
------
ProblemError
    The data have faults; all of them are listed.

Examples
--------
>>> import numpy as np, activeset
>>> r = activeset.solve_qp(np.eye(2), [-2.0, -3.0], G=[1.0, 1.0], h=[3.0])
>>> r.status, r.x, r.z, r.obj
(<Status.OPTIMAL: 'optimal'>, array([1., 2.]), array([1.]), -5.5)
>>> activeset.solve_qp(np.eye(2), [-2.0, -3.0], [1.0, 1.0], [3.0], soft={"h": 0.5}).x
array([1.5, 2.5])
)";

}  // namespace activeset::python

#endif
