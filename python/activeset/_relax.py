"""The nearest feasible point of an infeasible problem."""

from __future__ import annotations

import operator
from dataclasses import dataclass

import numpy as np

from . import _core
from ._faults import raise_invalid
from ._problem import required

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterable

    from numpy.typing import ArrayLike, NDArray

    from ._problem import Problem
    from ._records import Settings

    Array = NDArray[np.float64]

_NORMS = {"l1": 1, "l2": 2, "inf": 0}


@dataclass(frozen=True)
class Relaxation:
    """A nearest feasible point, and the violation of each row and bound there.

    Violations are positive above an upper side, negative below a lower one. Rows are numbered from
    0, those of G first. If `found`, the point is proved to be nearest. The status is "infeasible"
    if the hard constraints contradict one another. `distance` is the norm of the weighted violations.
    `text` has a line for each violated side.
    """

    status: str
    x: Array
    row_violation: Array
    bound_violation: Array
    distance: float
    text: str

    @property
    def found(self) -> bool:
        """Whether the point is proved to be nearest."""
        return self.status == "optimal"

    def __bool__(self) -> bool:
        return self.found

    def __str__(self) -> str:
        if not self.found:
            return f"no nearest point: {self.status}"
        return self.text or "nothing has to give way"


def relax(problem: Problem, *, norm: str = "l1", weights: ArrayLike | None = None,
          bound_weights: ArrayLike | None = None, hard: Iterable[int | str] = (),
          settings: Settings | None = None) -> Relaxation:
    """Find the point with the smallest violation of the rows. The objective is ignored.

    Parameters
    ----------
    problem : Problem
    norm : {"l1", "l2", "inf"}
        What is minimised: the sum of the violations (few rows are violated), the sum of their
        squares (many rows are, a little), or the largest one.
    weights : (m + p,) array_like, optional
        Weights of the violations of rows, those of G first: at least 0, by default 1. Rows of
        infinite weight are hard.
    bound_weights : (n,) array_like, optional
        Weights of the violations of bounds. Without it bounds are hard.
    hard : iterable of int or str
        Hard rows, by 0-based position or name.
    settings : Settings, optional

    Returns
    -------
    Relaxation

    Raises
    ------
    ProblemError
        The data, or the weights, have faults.

    Examples
    --------
    >>> p = Problem(None, [1.0, 1.0], [1.0, 1.0], [4.0], lb=[3.0, 2.0], row_names=["capacity"])
    >>> r = activeset.relax(p)
    >>> print(r)
    row 'capacity': 1 above
    >>> r.x
    array([3., 2.])
    """
    required(problem, "relax")
    if norm not in _NORMS:
        raise ValueError(f"norm has to be 'l1', 'l2' or 'inf', not {norm!r}")
    rows = sum(problem._data.sizes[1:])
    kept = [_position(problem, row, rows) for row in ([hard] if isinstance(hard, str) else hard)]
    row_weights: Array = np.ones(0)
    if weights is not None:
        row_weights = np.array(weights, dtype=float)
    if kept and row_weights.size == 0:
        row_weights = np.ones(rows)
    if row_weights.shape not in ((0,), (rows,)):
        raise ValueError(f"weights has shape {row_weights.shape}, expected ({rows},)")
    row_weights[kept] = np.inf
    bounds = np.zeros(0) if bound_weights is None else np.asarray(bound_weights, dtype=float)
    if bounds.shape not in ((0,), (problem.n,)):
        raise ValueError(f"bound_weights has shape {bounds.shape}, expected ({problem.n},)")
    status, x, row_violation, bound_violation, distance, faults = _core.relax(
        problem, _NORMS[norm], row_weights.tolist(), bounds.tolist(), settings)
    if faults:
        raise_invalid(faults, *problem._data.sizes[1:], problem._names)
    lines = [*_lines("row", row_violation, problem.row_names),
             *_lines("bound of", bound_violation, problem.names)]
    return Relaxation(status, x, row_violation, bound_violation, distance, "\n".join(lines))


def _position(problem: Problem, row: int | str, rows: int) -> int:
    if isinstance(row, str):
        if problem.row_names is None or row not in problem.row_names:
            raise ValueError(f"hard: there is no row {row!r}")
        return problem.row_names.index(row)
    row = operator.index(row)
    if not 0 <= row < rows:
        raise ValueError(f"hard: there is no row {row}")
    return row


def _lines(kind: str, violation: Array, names: tuple[str, ...] | None) -> list[str]:
    largest = np.abs(violation).max(initial=0.0)
    return [f"{kind} {repr(names[k]) if names else k}: {abs(v):.6g} {'above' if v > 0 else 'below'}"
            for k, v in enumerate(violation) if abs(v) > 1e-9 * max(1.0, largest)]
