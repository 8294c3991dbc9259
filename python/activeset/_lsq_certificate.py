"""Residuals of a least-squares solution, from the caller's data in extended precision."""

from __future__ import annotations

import numpy as np

from ._lsq_active_set import Constraints

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import NDArray

    Pair = tuple[float, float]


def certify(R: NDArray[Any], s: NDArray[Any], constraints: Constraints, x: NDArray[Any],
            multipliers: NDArray[Any]) -> tuple[tuple[Pair, Pair, Pair], float]:
    """Primal residual, dual residual and gap, each absolute and relative to the terms that it is
    the sum of (at least 1), and half the sum of squares.

    Multipliers count by the sides that there are: where a side is absent, as zero.
    """
    long = np.longdouble
    R_, x_ = R.astype(long), x.astype(long)
    rows = np.concatenate([constraints.rows, np.eye(constraints.n)]).astype(long)
    y = np.where(multipliers > 0, np.where(np.isfinite(constraints.upper), multipliers, 0.0),
                 np.where(np.isfinite(constraints.lower), multipliers, 0.0)).astype(long)
    residual = R_ @ x_ - s
    values, sizes = rows @ x_, np.abs(rows) @ np.abs(x_)

    below = np.where(np.isfinite(constraints.lower), constraints.lower - values, -np.inf)
    above = np.where(np.isfinite(constraints.upper), values - constraints.upper, -np.inf)
    violation = np.maximum(np.maximum(below, above), 0)
    side = np.where(below > above, constraints.lower, constraints.upper)
    weight = np.maximum(1, sizes + np.where(np.isfinite(side), np.abs(side), 0))

    # The terms of the gradient are those of R'(R x - s), multiplied out.
    dual = R_.T @ residual + rows.T @ y
    terms = np.abs(R_).T @ (np.abs(R_) @ np.abs(x_) + np.abs(s)) + np.abs(rows).T @ np.abs(y)

    active = np.where(y > 0, constraints.upper, constraints.lower)
    sides = np.where(y != 0, y * np.where(np.isfinite(active), active, 0), 0)
    gap = abs(residual @ (R_ @ x_) + sides.sum())
    half = residual @ residual / 2
    total = max(1, np.abs(residual) @ (np.abs(R_) @ np.abs(x_)) + np.abs(sides).sum())
    return (
        (_largest(violation), _largest(violation / weight)),
        (_largest(np.abs(dual)), _largest(np.abs(dual) / np.maximum(1, terms))),
        (float(gap), float(gap / total)),
    ), float(half)


def _largest(values: NDArray[Any]) -> float:
    return float(values.max()) if values.size else 0.0
