"""Constrained least squares. The matrix is factored, never squared: docs/python.md says how."""

from __future__ import annotations

import numpy as np

from . import _core
from ._faults import ProblemError, renamed

_NAMES = {"R": "A", "s": "b"}

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import ArrayLike

    from ._records import Settings
    from ._result import Result


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
        Weights: a symmetric positive definite matrix, or the diagonal of one.
    settings, verbose
        As in `solve_qp`.

    Returns
    -------
    Result
        `obj` is half the weighted sum of squares. If no constraint is active, x is as accurate as
        that of `numpy.linalg.lstsq`, or better.

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
    return _core.solve_ls(R, s, G, h, A, b, lb, ub, W, l=l, settings=settings, verbose=verbose)


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
    return _fit(A, b, 0.0, None, settings)


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
        `fun` is SciPy's cost.

    Examples
    --------
    >>> r = lsq_linear([[1.0, 0.0], [0.0, 1.0]], [2.0, -1.0], bounds=(0.0, [1.0, 5.0]))
    >>> r.x, r.active_mask
    (array([1., 0.]), array([ 1, -1]))
    """
    lower, upper = (bounds.lb, bounds.ub) if hasattr(bounds, "lb") else bounds
    return _fit(A, b, lower, upper, settings)


def _fit(A: Any, b: Any, lower: Any, upper: Any, settings: Settings | None) -> Result:
    n = (A if hasattr(A, "shape") else np.asarray(A)).shape[-1:]
    try:
        return _core.solve_ls(A, b, lb=_spread(lower, n), ub=_spread(upper, n), settings=settings)
    except ProblemError as error:
        raise renamed(error, _NAMES) from None


def _spread(side: Any, n: tuple[int, ...]) -> Any:
    """Sides of all variables: a number counts for all of them, None means no sides."""
    return np.full(n, float(side)) if isinstance(side, (int, float)) or (
        side is not None and np.ndim(side) == 0) else side
