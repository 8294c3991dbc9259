"""The two functions that the package qpsolvers needs for each solver in its table.

It takes this solver after

    from activeset.compat.qpsolvers import solve_problem, solve_qp
    qpsolvers.solvers.dense_solvers.append("activeset")
    qpsolvers.solvers.available_solvers.append("activeset")
    qpsolvers.solvers.solve_function["activeset"] = solve_problem

and needs not be installed for what is here. With it, solutions are of its class Solution.
"""

from __future__ import annotations

import sys

import numpy as np

from .. import _core

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import ArrayLike, NDArray

    from .._result import Result

__all__ = ["Solution", "solve_problem", "solve_qp"]


class Solution:
    """The attributes of the Solution of qpsolvers: problem, found, x, y, z, z_box, obj, extras.

    Vectors are None if no solution was found. y, z and z_box are empty if the problem has no such
    part. Signs are those of `Result`.
    """

    def __init__(self, problem: Any, extras: dict[str, Any] | None = None,
                 found: bool | None = None, obj: float | None = None,
                 x: NDArray[np.float64] | None = None, y: NDArray[np.float64] | None = None,
                 z: NDArray[np.float64] | None = None,
                 z_box: NDArray[np.float64] | None = None) -> None:
        self.problem = problem
        self.extras = {} if extras is None else extras
        self.found = found
        self.obj = obj
        self.x, self.y, self.z, self.z_box = x, y, z, z_box


def solve_problem(problem: Any, initvals: ArrayLike | None = None, verbose: bool = False,
                  **options: Any) -> Any:
    """Solve a problem with the attributes P, q, G, h, A, b, lb, ub.

    Parameters
    ----------
    problem : object
        A Problem of qpsolvers, or any object with these attributes.
    initvals : (n,) array_like, optional
        The start.
    verbose : bool
    **options
        Options of `activeset.solve_qp`: settings, warm_start, callback, constant.

    Returns
    -------
    Solution
        That of qpsolvers if it is imported; `extras["result"]` is the Result.
    """
    if callable(getattr(problem, "unpack", None)):
        P, q, G, h, A, b, lb, ub = problem.unpack()[:8]
    else:
        P, q, G, h, A, b, lb, ub = (getattr(problem, name, None)
                                    for name in ("P", "q", "G", "h", "A", "b", "lb", "ub"))
    result = _core.solve_qp(P, q, G, h, A, b, lb, ub, x0=initvals, verbose=verbose, **options)
    return _solution(problem, result, G is not None, A is not None,
                     lb is not None or ub is not None)


def _solution(problem: Any, result: Result, has_G: bool, has_A: bool, has_box: bool) -> Any:
    package = sys.modules.get("qpsolvers")
    make = getattr(package, "Solution", Solution)
    solution = make(problem)
    solution.extras = {"result": result, "status": result.status.value}
    solution.found = result.found
    if result.found:
        solution.x = result.x.copy()
        solution.obj = result.obj
        empty = np.empty(0)
        solution.y = result.y.copy() if has_A else empty
        solution.z = result.z.copy() if has_G else empty
        solution.z_box = result.z_box.copy() if has_box else empty
    return solution


def solve_qp(P: ArrayLike, q: ArrayLike, G: ArrayLike | None = None, h: ArrayLike | None = None,
             A: ArrayLike | None = None, b: ArrayLike | None = None,
             lb: ArrayLike | None = None, ub: ArrayLike | None = None,
             initvals: ArrayLike | None = None, verbose: bool = False,
             **options: Any) -> NDArray[np.float64] | None:
    """The solution x, or None if none was found.

    Examples
    --------
    >>> solve_qp([[1.0]], [-2.0], lb=[0.0], ub=[1.0])
    array([1.])
    >>> print(solve_qp([[1.0]], [-2.0], G=[[1.0], [-1.0]], h=[0.0, -1.0]))
    None
    """
    result = _core.solve_qp(P, q, G, h, A, b, lb, ub, x0=initvals, verbose=verbose, **options)
    return result.x.copy() if result.found else None
