"""Constrained least squares. The matrix is factored, never squared: docs/python.md says how."""

from __future__ import annotations

import time

import numpy as np

from . import _convert, _core
from ._faults import ProblemError
from ._lsq_active_set import Constraints, Solve
from ._lsq_certificate import certify
from ._records import Fault, Settings

_ABSENT = 1e20  # sides of this size are absent, as for the solver
_SHIFT = 1e-10  # of the diagonal, where a start is all that is wanted

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import ArrayLike, NDArray

    from ._result import Result

    Vector = NDArray[np.float64]


def solve_ls(R: ArrayLike, s: ArrayLike, G: ArrayLike | None = None, h: ArrayLike | None = None,
             A: ArrayLike | None = None, b: ArrayLike | None = None,
             lb: ArrayLike | None = None, ub: ArrayLike | None = None,
             W: ArrayLike | None = None, *, l: ArrayLike | None = None,  # noqa: E741
             settings: Settings | None = None, verbose: bool = False) -> Result:
    """Minimise ``1/2 (R x - s)'W (R x - s)`` subject to the constraints of `solve_qp`.

    Parameters
    ----------
    R, s : (m, n) and (m,) array_like
    G, h, A, b, lb, ub, l
        As in `solve_qp`.
    W : (m, m) or (m,) array_like, optional
        Weights, symmetric positive definite, or the diagonal of such a matrix.
    settings, verbose
        As in `solve_qp`.

    Returns
    -------
    Result
        `obj` is half the weighted sum of squares. As accurate as `numpy.linalg.lstsq` where no
        bound is active.

    Raises
    ------
    ProblemError
        The data have faults.

    Examples
    --------
    >>> r = solve_ls([[1.0, 0.0], [0.0, 1.0], [0.0, 0.0]], [3.0, 1.0, 1.0], ub=[2.0, 2.0])
    >>> r.x, r.z_box, r.obj
    (array([2., 1.]), array([1., 0.]), 1.0)
    """
    begin = time.perf_counter()
    R_, s_ = _data(R, s)
    if W is not None:
        R_, s_ = _weighted(R_, s_, _convert._array(W, "W"))
    T, t, rest = _triangle(R_, s_)
    with np.errstate(over="ignore", invalid="ignore"):
        P, q, constant = T.T @ T, -(T.T @ t), 0.5 * float(t @ t) + rest
    if not (np.isfinite(P).all() and np.isfinite(q).all() and np.isfinite(constant)):
        raise _fault("R", "and s are too large: sums of their products are not finite")
    parts: dict[str, Any] = dict(G=G, h=h, A=A, b=b, lb=lb, ub=ub, l=l)
    result = _core.solve_qp(P, q, constant=constant, settings=settings, **parts)
    if result.status == "unbounded":  # by the squared condition only: a sum of squares is not
        P[np.diag_indices_from(P)] += _SHIFT * P.diagonal().max()
        result = _core.solve_qp(P, q, constant=constant, settings=settings, **parts)
    if result.x.size and result.status in ("optimal", "inaccurate", "not convex"):
        tolerance = Settings().tolerance if settings is None else settings.tolerance
        result = _exact(R_, s_, T, t, result, parts, tolerance, begin)
    if verbose:
        print(result)
    return result


def nnls(A: ArrayLike, b: ArrayLike, *, settings: Settings | None = None) -> Result:
    """Minimise ``1/2 |A x - b|**2`` subject to x >= 0.

    Parameters
    ----------
    A, b : (m, n) and (m,) array_like
    settings : Settings, optional

    Returns
    -------
    Result
        The norm of the residual is ``(2 * r.obj) ** 0.5``.

    Examples
    --------
    >>> nnls([[1.0, 0.0], [0.0, 1.0]], [2.0, -1.0]).x
    array([2., 0.])
    """
    n = _data(A, b, "A", "b")[0].shape[1]
    return solve_ls(A, b, lb=np.zeros(n), settings=settings)


def lsq_linear(A: ArrayLike, b: ArrayLike, bounds: Any = (-np.inf, np.inf), *,
               settings: Settings | None = None) -> Result:
    """Minimise ``1/2 |A x - b|**2`` subject to bounds.

    Parameters
    ----------
    A, b : (m, n) and (m,) array_like
    bounds : pair of array_like or numbers, or scipy.optimize.Bounds
        Lower and upper bounds.
    settings : Settings, optional

    Returns
    -------
    Result
        `fun` is what SciPy calls cost.

    Examples
    --------
    >>> r = lsq_linear([[1.0, 0.0], [0.0, 1.0]], [2.0, -1.0], bounds=(0.0, [1.0, 5.0]))
    >>> r.x, r.active_mask
    (array([1., 0.]), array([ 1, -1]))
    """
    n = _data(A, b, "A", "b")[0].shape[1]
    lower, upper = (bounds.lb, bounds.ub) if hasattr(bounds, "lb") else bounds
    return solve_ls(A, b, lb=_spread(lower, n), ub=_spread(upper, n), settings=settings)


def _spread(side: Any, n: int) -> Any:
    return np.full(n, float(side)) if np.ndim(side) == 0 else side


def _fault(name: str, text: str) -> ProblemError:
    return ProblemError([Fault(name, (), float("nan"), f"{name} {text}")])


def _data(R: ArrayLike, s: ArrayLike, *names: str) -> tuple[Vector, Vector]:
    left, right = names or ("R", "s")
    matrix, vector = np.atleast_2d(_convert.matrix(R, left)), _convert.vector(s, right)
    if matrix.shape[0] != vector.size:
        raise _fault(right, f"has shape {vector.shape}, expected ({matrix.shape[0]},)")
    if matrix.size == 0:
        raise _fault(left, f"has shape {matrix.shape}, expected entries")
    for name, array in ((left, matrix), (right, vector)):
        if not np.isfinite(array).all():
            bad = np.argwhere(~np.isfinite(array))
            raise ProblemError([
                Fault(name, tuple(map(int, index)), float(array[tuple(index)]),
                      f"{name}{list(map(int, index))} = {array[tuple(index)]}, expected a finite "
                      "number") for index in bad[:100]])
    return matrix, vector


def _weighted(R: Vector, s: Vector, W: Vector) -> tuple[Vector, Vector]:
    m = s.size
    if W.shape == (m,) and np.isfinite(W).all() and (W >= 0).all():
        root = np.sqrt(W)
        return R * root[:, None], s * root
    if W.shape != (m, m):
        raise _fault("W", f"has shape {W.shape}, expected ({m}, {m}) or ({m},), no entry of a "
                          "diagonal negative")
    try:
        if not np.allclose(W, W.T, rtol=1e-10, atol=0.0):
            raise _fault("W", "is not symmetric")
        root = np.linalg.cholesky(W)
    except np.linalg.LinAlgError:
        raise _fault("W", "is not positive definite") from None
    return root.T @ R, root.T @ s


def _triangle(R: Vector, s: Vector) -> tuple[Vector, Vector, float]:
    """T and t with at most n rows and half the sum of squares that they leave out."""
    if R.shape[0] <= R.shape[1]:
        return R, s, 0.0
    Q, T = np.linalg.qr(R)
    t = Q.T @ s
    rest = s - Q @ t
    return T, t, 0.5 * float(rest @ rest)


def _exact(R: Vector, s: Vector, T: Vector, t: Vector, start: Result, parts: dict[str, Any],
           tolerance: float, begin: float) -> Result:
    """The solution by orthogonal factors, from the one with T'T."""
    n = T.shape[1]
    constraints = _constraints(parts, n)
    sides = np.zeros(len(constraints.lower), dtype=np.int64)
    rows = start.working_set
    sides[rows.rows_at_lower] = -1
    sides[rows.rows_at_upper] = 1
    sides[rows.equalities] = 1
    sides[constraints.general:] = start.active_mask
    solve = Solve(T, t, constraints, start.x, sides)
    is_end = solve.run()
    certificate, obj = certify(R, s, constraints, solve.x, solve.multipliers)
    holds = max(relative for _, relative in certificate) <= tolerance
    if not (is_end and holds) and start.found:
        return start
    general = constraints.general
    at_lower = (solve.sides < 0) & ~solve.fixed
    at_upper = (solve.sides > 0) & ~solve.fixed

    def split(mask: NDArray[np.bool_]) -> tuple[NDArray[np.intp], NDArray[np.intp]]:
        return np.flatnonzero(mask[:general]), np.flatnonzero(mask[general:])

    equal, lower, upper = split(solve.fixed & (solve.sides != 0)), split(at_lower), split(at_upper)
    state = start._state()
    state.update(
        status="optimal" if is_end and holds else "inaccurate", x=solve.x, obj=obj,
        row_duals=solve.multipliers[:general], z_box=solve.multipliers[general:],
        working_set=(equal[0], lower[0], upper[0], lower[1], upper[1], equal[1]),
        certificate=certificate, direction=(), hessian_shift=0.0, message="")
    counts = list(state["iterations"])
    counts[1] += solve.steps
    seconds = time.perf_counter() - begin
    state["iterations"] = tuple(counts)
    state["times"] = (*state["times"][:3], seconds)
    return _core.restore(state)


def _constraints(parts: dict[str, Any], n: int) -> Constraints:
    """Rows of G, rows of A, bounds, with both sides each. The parts have been checked."""
    def rows(name: str) -> Vector:
        given = parts[name]
        return np.zeros((0, n)) if given is None else np.atleast_2d(_convert.matrix(given, name))

    def side(name: str, size: int, absent: float) -> Vector:
        given = parts[name]
        return np.full(size, absent) if given is None else _convert.vector(given, name)

    G, A = rows("G"), rows("A")
    lower = [side("l", len(G), -np.inf), side("b", len(A), 0.0), side("lb", n, -np.inf)]
    upper = [side("h", len(G), np.inf), side("b", len(A), 0.0), side("ub", n, np.inf)]
    low, high = np.concatenate(lower), np.concatenate(upper)
    low[low <= -_ABSENT], high[high >= _ABSENT] = -np.inf, np.inf
    return Constraints(np.concatenate([G, A]), low, high, n)
