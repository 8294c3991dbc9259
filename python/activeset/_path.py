"""The optimum as a piecewise linear function of a parameter."""

from __future__ import annotations

import numpy as np

from . import _core
from ._problem import Problem, required

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import ArrayLike, NDArray

    Array = NDArray[np.float64]


class Path:
    """The optima of a problem over a range of a parameter t, as `path` returns them.

    Attributes
    ----------
    status : str
        "optimal" if the path covers the whole range; "infeasible" or "unbounded" if there is no
        optimum beyond `end`, as `farkas` (z, y, z_box) or `direction` prove.
    breakpoints : (k + 1,) ndarray
        The ends of the k pieces, ascending.
    x, z, y, z_box : (k, size) ndarray
        The optimum at the beginning of each piece.
    dx, dz, dy, dz_box : (k, size) ndarray
        Their derivatives in t on each piece.
    objective, slope, curvature : (k,) ndarray
        At a distance s from the beginning of a piece the objective is
        objective + slope s + curvature s^2 / 2.
    """

    def __init__(self, parts: dict[str, Any], inequalities: int) -> None:
        rows = inequalities
        self.status: str = parts["status"]
        self.message: str = parts["message"]
        self.end: float = parts["end"]
        y = parts["farkas_y"]
        self.farkas: tuple[Array, Array, Array] = (y[:rows], y[rows:], parts["farkas_z"])
        self.direction: Array = parts["direction"]
        self.breakpoints: Array = np.append(parts["from"], parts["to"][-1:])
        self.objective: Array = parts["objective"]
        self.slope: Array = parts["slope"]
        self.curvature: Array = parts["curvature"]
        self.x: Array = parts["x"]
        self.z: Array = parts["y"][:, :rows]
        self.y: Array = parts["y"][:, rows:]
        self.z_box: Array = parts["z"]
        self.dx: Array = parts["dx"]
        self.dz: Array = parts["dy"][:, :rows]
        self.dy: Array = parts["dy"][:, rows:]
        self.dz_box: Array = parts["dz"]

    def __len__(self) -> int:
        return len(self.objective)

    def __repr__(self) -> str:
        pieces = "1 piece" if len(self) == 1 else f"{len(self)} pieces"
        return f"<Path: {pieces}, {self.status}, ends at {self.end:g}>"

    def _at(self, t: ArrayLike) -> tuple[NDArray[np.int64], Array]:
        values = np.asarray(t, dtype=float)
        if len(self) == 0 or not np.all((values >= self.breakpoints[0])
                                        & (values <= self.breakpoints[-1])):
            raise ValueError("t is outside of the range that was followed")
        place = np.searchsorted(self.breakpoints[1:-1], values)
        return place, values - self.breakpoints[place]

    def x_at(self, t: ArrayLike) -> Array:
        """The optimum at one t, shape (n,), or at several, shape (len(t), n)."""
        place, s = self._at(t)
        found: Array = self.x[place] + s[..., None] * self.dx[place]
        return found

    def objective_at(self, t: ArrayLike) -> Array:
        """The optimal value at one t, or at several."""
        place, s = self._at(t)
        found: Array = self.objective[place] + s * (self.slope[place]
                                                    + 0.5 * s * self.curvature[place])
        return found

    def plot(self, ax: Any = None) -> Any:
        """Plot x over the parameter with matplotlib; returns the axes."""
        if ax is None:
            import matplotlib.pyplot as plt

            ax = plt.subplots()[1]
        t = np.column_stack((self.breakpoints[:-1], self.breakpoints[1:])).ravel()
        steps = np.diff(self.breakpoints)[:, None]
        ends = np.stack((self.x, self.x + steps * self.dx), axis=1).reshape(len(t), -1)
        ax.plot(t, ends)
        ax.set_xlabel("t")
        ax.set_ylabel("x")
        return ax


def path(problem: Problem, start: float = 0.0, stop: float = 1.0, *, q: ArrayLike | None = None,
         h: ArrayLike | None = None, b: ArrayLike | None = None, lb: ArrayLike | None = None,
         ub: ArrayLike | None = None, l: ArrayLike | None = None) -> Path:  # noqa: E741
    """Follow the optimum of q + t dq, h + t dh and so on while t goes from start to stop.

    Parameters
    ----------
    problem : Problem
        The problem at t = 0.
    start, stop : float
    q, h, b, lb, ub, l : array_like, optional
        The derivatives of these parts in t, with their shapes; 0 by default.

    Returns
    -------
    Path

    Examples
    --------
    >>> p = Problem([[1.0]], [0.0], ub=[1.0])
    >>> path(p, 0.0, 3.0, q=[-1.0]).breakpoints
    array([0., 1., 3.])
    """
    required(problem, "path")
    if stop < start:
        raise ValueError(f"path: stop is {stop:g}, below start, {start:g}")
    n, inequalities, equalities = problem._data.sizes

    def part(value: ArrayLike | None, length: int, name: str) -> Array:
        array = np.zeros(length) if value is None else np.asarray(value, dtype=float)
        if array.shape != (length,):
            raise ValueError(f"path: {name} has the shape {array.shape}, expected ({length},)")
        return array

    same = part(b, equalities, "b")
    parts = _core.path(problem, part(q, n, "q"),
                       np.concatenate((part(l, inequalities, "l"), same)),
                       np.concatenate((part(h, inequalities, "h"), same)), part(lb, n, "lb"),
                       part(ub, n, "ub"), start, stop)
    return Path(parts, inequalities)
