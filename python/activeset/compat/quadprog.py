"""`solve_qp` with the arguments, results, conventions and error texts of the package quadprog."""

from __future__ import annotations

import numpy as np

from .. import _core
from .._faults import ProblemError, renamed

_NAMES = {"P": "G", "q": "a", "l": "b", "h": "b"}

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import ArrayLike, NDArray

    Vector = NDArray[np.float64]

__all__ = ["solve_qp"]


def solve_qp(G: ArrayLike, a: ArrayLike, C: ArrayLike | None = None, b: ArrayLike | None = None,
             meq: int = 0, factorized: bool = False,
             ) -> tuple[Vector, float, Vector, NDArray[np.int64], Vector, NDArray[np.int64]]:
    """Minimise ``1/2 x'G x - a'x`` subject to ``C'x >= b``, the first meq rows with equality.

    Parameters
    ----------
    G : (n, n) array_like
        Positive definite; with `factorized` the inverse of its upper Cholesky factor.
    a : (n,) array_like
    C : (n, m) array_like, optional
    b : (m,) array_like, optional
        Zero by default.
    meq : int
    factorized : bool

    Returns
    -------
    xf : (n,) ndarray
        The solution.
    f : float
        The objective there.
    xu : (n,) ndarray
        The solution without constraints.
    iterations : (2,) ndarray
        Changes of the working set, and removals among them. Here a count of the solver's steps, and
        0, because the methods differ.
    lagrangian : (m,) ndarray
        Multipliers, at least 0 for inequalities.
    iact : (k,) ndarray
        The active constraints, 1-based.

    Raises
    ------
    ValueError
        Shapes do not match, G is not positive definite, or the constraints are inconsistent; with
        the texts of quadprog.

    Examples
    --------
    >>> import numpy as np
    >>> x, f, xu, _, y, active = solve_qp(np.eye(2), [2.0, 3.0], [[-1.0], [-1.0]], [-3.0])
    >>> x, f, y, active
    (array([1., 2.]), -5.5, array([1.]), array([1]))
    """
    G_, a_, C_, b_ = _checked(G, a, C, b)
    n, m = C_.shape
    if not 0 <= meq <= m:
        raise ValueError(f"Argument meq must be between 0 and the number of columns of C ({m}). "
                         f"Received meq = {meq}")
    P = _hessian(G_) if factorized else np.triu(G_) + np.triu(G_, 1).T
    try:
        factor = np.linalg.cholesky(P)
    except np.linalg.LinAlgError:
        raise ValueError("matrix G is not positive definite") from None
    unconstrained = np.linalg.solve(factor.T, np.linalg.solve(factor, a_))
    rows = np.ascontiguousarray(C_.T)
    upper = np.where(np.arange(m) < meq, b_, np.inf)
    try:
        result = _core.solve_qp(P, -a_, rows if m else None, upper if m else None,
                                l=b_ if m else None)
    except ProblemError as error:
        raise ValueError(str(renamed(error, _NAMES))) from None
    if result.status == "infeasible":
        raise ValueError("constraints are inconsistent, no solution")
    if result.status == "not convex":
        raise ValueError("matrix G is not positive definite")
    result.raise_for_status()
    working = result.working_set
    active = np.sort(np.concatenate([working.equalities, working.rows_at_lower]))
    # In quadprog, too, multipliers of equalities have either sign: minus that of a lower side.
    return (result.x.copy(), result.obj, unconstrained,
            np.array([result.iterations.total, 0]), 0.0 - result.z, active + 1)


def _checked(G: Any, a: Any, C: Any, b: Any) -> tuple[Vector, Vector, Vector, Vector]:
    G_, a_ = np.asarray(G, dtype=np.float64), np.asarray(a, dtype=np.float64)
    if G_.ndim != 2 or a_.ndim != 1:
        raise ValueError("Buffer has wrong number of dimensions")
    n = G_.shape[0]
    if G_.shape != (n, n):
        raise ValueError("G must be a square matrix. "
                         f"Received shape=({G_.shape[0]},{G_.shape[1]})")
    if a_.size != n:
        raise ValueError("G and a must have the same dimension. "
                         f"Received G as {G_.shape} and a as {a_.shape}")
    if C is None:
        C_ = np.zeros((n, 0))
        b_ = np.zeros(0)
    else:
        C_ = np.asarray(C, dtype=np.float64)
        if C_.ndim != 2:
            raise ValueError("Buffer has wrong number of dimensions")
        b_ = np.zeros(C_.shape[1]) if b is None else np.asarray(b, dtype=np.float64)
    if C_.shape[0] != n:
        raise ValueError("G and C must have the same first dimension. "
                         f"Received G as {G_.shape} and C as {C_.shape}")
    if b_.shape != (C_.shape[1],):
        raise ValueError("The number of columns of C must match the length of b. "
                         f"Received C as {C_.shape} and b as {b_.shape}")
    for name, array in (("G", G_), ("a", a_), ("C", C_)):
        if not np.isfinite(array).all():
            raise ValueError(f"{name} has entries that are not finite")
    return G_, a_, C_, b_


def _hessian(inverse: Vector) -> Vector:
    """From the inverse of the upper Cholesky factor R: R'R."""
    try:
        R = np.linalg.inv(np.triu(inverse))
    except np.linalg.LinAlgError:
        raise ValueError("matrix G is not positive definite") from None
    return np.asarray(R.T @ R)
