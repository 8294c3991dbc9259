"""Linear programs by SciPy's arguments."""

from __future__ import annotations

import numpy as np

from . import _core
from ._faults import ProblemError, renamed

_NAMES = {"q": "c", "G": "A_ub", "h or l": "b_ub", "h": "b_ub", "A": "A_eq", "b": "b_eq"}

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Sequence
    from typing import Any

    from numpy.typing import ArrayLike, NDArray

    from ._result import Result


def linprog(c: ArrayLike, A_ub: ArrayLike | None = None, b_ub: ArrayLike | None = None,
            A_eq: ArrayLike | None = None, b_eq: ArrayLike | None = None,
            bounds: Sequence[Any] | ArrayLike | None = None, **options: Any) -> Result:
    """Minimise ``c'x`` subject to ``A_ub x <= b_ub``, ``A_eq x = b_eq`` and bounds.

    Parameters
    ----------
    c, A_ub, b_ub, A_eq, b_eq
        As in `scipy.optimize.linprog`: shapes (n,), (m, n), (m,), (p, n), (p,).
    bounds : pair or sequence of n pairs, optional
        (lower, upper) for all variables, or for each; None means no bound. By default all variables
        are at least 0.
    **options
        Options of `solve_qp`: x0, warm_start, settings, verbose, callback, names, row_names.

    Returns
    -------
    Result
        Its `marginals` have SciPy's names and signs.

    Examples
    --------
    >>> import activeset
    >>> r = activeset.linprog([-1.0, -2.0], A_ub=[[1.0, 1.0]], b_ub=[4.0], bounds=(0, 3))
    >>> r.x, r.marginals.ineqlin, r.marginals.upper
    (array([1., 3.]), array([-1.]), array([-0., -1.]))
    """
    n = np.size(np.asarray(c))
    lb, ub = _bounds(bounds, n)
    try:
        return _core.solve_qp(None, c, A_ub, b_ub, A_eq, b_eq, lb, ub, **options)
    except ProblemError as error:
        raise renamed(error, _NAMES) from None


def _bounds(bounds: Any, n: int) -> tuple[NDArray[np.float64] | None, NDArray[np.float64] | None]:
    if bounds is None or np.size(bounds) == 0:
        return np.zeros(n), None
    pairs = np.array([[np.nan if side is None else side for side in _pair(pair)]
                      for pair in (bounds if _is_nested(bounds) else [bounds])], dtype=np.float64)
    if len(pairs) == 1:
        pairs = np.repeat(pairs, n, axis=0)
    lower, upper = pairs[:, 0], pairs[:, 1]
    return (np.where(np.isnan(lower), -np.inf, lower), np.where(np.isnan(upper), np.inf, upper))


def _is_nested(bounds: Any) -> bool:
    return len(bounds) == 0 or (bounds[0] is not None and np.ndim(bounds[0]) > 0)


def _pair(pair: Any) -> Any:
    if len(pair) != 2:
        raise ValueError(f"bounds are pairs (lower, upper), not {pair!r}")
    return pair
