"""Derivatives of an optimum, and how far each number of a problem may move."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from . import _core
from ._problem import Problem, required

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import ArrayLike, NDArray

    from ._result import Result

    Array = NDArray[np.float64]


@dataclass(frozen=True)
class Gradients:
    """Gradients of a loss in the parts of a problem, with the shapes of these parts.

    Several right-hand sides add a last axis. After `BatchResult.backward` the first axis counts the
    problems, for parts that are not shared.
    """

    P: Array
    q: Array
    G: Array
    h: Array
    A: Array
    b: Array
    lb: Array
    ub: Array
    l: Array  # noqa: E741


def _divided(parts: dict[str, Array], rows: int) -> Gradients:
    """Divides rows into those of G and of A. The two sides of an equality become one."""
    lower, upper = parts["rowLower"], parts["rowUpper"]
    return Gradients(parts["H"], parts["c"], parts["A"][:rows], upper[:rows], parts["A"][rows:],
                     lower[rows:] + upper[rows:], parts["lower"], parts["upper"], lower[:rows])


class Sensitivity:
    """The derivatives of an optimum in all parts of its problem.

    Parameters
    ----------
    result : Result
        An optimal one.
    problem : Problem
        The problem of that result.

    Attributes
    ----------
    derivative : str
        "full" if the solution is differentiable. "one-sided" if a side is active with multiplier 0:
        the derivative is for changes that keep the active constraints of `result` active.
        "least-squares" if multipliers or the point are not unique: the shortest derivative.
    weak_rows, weak_bounds : ndarray of int
        Active sides with multiplier 0, rows of G before those of A.
    dependent, flat : int
        Number of members of the working set that depend on others, and dimension of the set of
        optima.

    Examples
    --------
    >>> p = Problem([[1.0, 0.0], [0.0, 1.0]], [-1.0, 0.0], A=[[1.0, 1.0]], b=[2.0])
    >>> activeset.Sensitivity(p.solve(), p).backward([1.0, 0.0]).b
    array([0.5])
    """

    def __init__(self, result: Result, problem: Problem) -> None:
        required(problem, "Sensitivity", "second")
        self._core = _core.Derivatives(result, problem)
        self._sizes = problem._data.sizes
        smoothness = self._core.smoothness()
        self.derivative: str = smoothness["derivative"]
        self.weak_rows: NDArray[np.int64] = smoothness["weakRows"]
        self.weak_bounds: NDArray[np.int64] = smoothness["weakBounds"]
        self.dependent: int = smoothness["dependent"]
        self.flat: int = smoothness["flat"]

    def __repr__(self) -> str:
        return f"<Sensitivity: {self.derivative}>"

    def backward(self, dx: ArrayLike | None = None, dz: ArrayLike | None = None,
                 dy: ArrayLike | None = None, dz_box: ArrayLike | None = None) -> Gradients:
        """Gradients of a loss from its gradients in r.x, r.z, r.y and r.z_box.

        Arguments have the shapes of these arrays, with a second axis for several right-hand sides.
        The gradient in P is symmetric.
        """
        n, inequalities, equalities = self._sizes
        given = {"dx": (dx, n), "dz": (dz, inequalities), "dy": (dy, equalities),
                 "dz_box": (dz_box, n)}
        arrays = {name: np.asarray(value, dtype=float) for name, (value, _) in given.items()
                  if value is not None}
        axes = {array.ndim for array in arrays.values()}
        counts = {array.shape[1:] for array in arrays.values()}
        if axes - {1, 2} or len(counts) > 1:
            raise ValueError("backward: all parts need one axis, or two with as many columns")
        shape = next(iter(counts), ())
        count = shape[0] if shape else 1
        full = {name: np.zeros((length, count)) for name, (_, length) in given.items()}
        for name, array in arrays.items():
            if array.shape[0] != given[name][1]:
                raise ValueError(f"backward: {name} has {array.shape[0]} entries, "
                                 f"expected {given[name][1]}")
            full[name] = array.reshape(-1, count)
        parts = self._core.backward(full["dx"], np.vstack((full["dz"], full["dy"])),
                                    full["dz_box"])
        if not shape:
            parts = {name: value[..., 0] for name, value in parts.items()}
        return _divided(parts, inequalities)

    def forward(self, *, P: ArrayLike | None = None, q: ArrayLike | None = None,
                G: ArrayLike | None = None, h: ArrayLike | None = None,
                A: ArrayLike | None = None, b: ArrayLike | None = None,
                lb: ArrayLike | None = None, ub: ArrayLike | None = None,
                l: ArrayLike | None = None) -> tuple[Array, Array, Array, Array]:  # noqa: E741
        """Derivatives of x, z, y and z_box along a change of the parts."""
        n, inequalities, equalities = self._sizes

        def part(value: ArrayLike | None, shape: tuple[int, ...], name: str) -> Array:
            array = np.zeros(shape) if value is None else np.asarray(value, dtype=float)
            if array.shape != shape:
                raise ValueError(f"forward: {name} has the shape {array.shape}, expected {shape}")
            return array

        rows = np.vstack((part(G, (inequalities, n), "G"), part(A, (equalities, n), "A")))
        same = part(b, (equalities,), "b")
        x, y, z = self._core.forward(
            part(P, (n, n), "P"), part(q, (n,), "q"), rows,
            np.concatenate((part(l, (inequalities,), "l"), same)),
            np.concatenate((part(h, (inequalities,), "h"), same)),
            part(lb, (n,), "lb"), part(ub, (n,), "ub"))
        return x, y[:inequalities], y[inequalities:], z


@dataclass(frozen=True)
class Range:
    """How far each number of a part may change alone without a change of the working set."""

    value: Array
    least: Array
    most: Array
    objective_at_least: Array
    objective_at_most: Array
    degenerate: NDArray[np.bool_]


def ranges(result: Result, problem: Problem) -> dict[str, Range]:
    """Find how far each cost, side and bound may move before the working set changes.

    Returns
    -------
    dict of Range
        With the keys "q", "h", "l", "b", "lb", "ub"; each array has the shape of that part.
        `degenerate` is True where any change changes the working set.

    Examples
    --------
    >>> p = Problem(None, [-3.0, -2.0], [[1.0, 1.0], [1.0, 3.0]], [4.0, 6.0], lb=[0.0, 0.0])
    >>> ranges(p.solve(), p)["h"].most
    array([ 6., inf])
    """
    required(problem, "ranges", "second")
    tables: dict[str, Any] = _core.ranges(result, problem)
    rows = problem._data.sizes[1]

    def made(table: Array) -> Range:
        value, least, most, at_least, at_most, flags = np.ascontiguousarray(table.T)
        return Range(value, least, most, at_least, at_most, flags != 0.0)

    return {"q": made(tables["c"]), "h": made(tables["rowUpper"][:rows]),
            "l": made(tables["rowLower"][:rows]), "b": made(tables["rowUpper"][rows:]),
            "lb": made(tables["lower"]), "ub": made(tables["upper"])}
