"""The optimum of a small problem as an explicit function of a few parameters."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from . import _core
from ._problem import Problem, required
from ._records import WorkingSet

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterator

    from numpy.typing import ArrayLike, NDArray

    Array = NDArray[np.float64]


@dataclass(frozen=True)
class Region:
    """A polyhedron: if E theta <= e inside the box, the optimum is gain theta + offset."""

    E: Array
    e: Array
    gain: Array
    offset: Array
    working_set: WorkingSet


class Regions:
    """All critical regions of a problem over a box of parameters, as `regions` finds them.

    Attributes
    ----------
    parameters : int
    is_complete : bool
        False if the limit of regions, or a solve without an answer, ended the search.
    """

    def __init__(self, law: _core.Law, parameters: int) -> None:
        self._law = law
        self.parameters = parameters
        self.is_complete: bool = law.is_complete()

    def __len__(self) -> int:
        return len(self._law)

    def __getitem__(self, k: int) -> Region:
        E, e, gain, offset, members = self._law.region(range(len(self))[k])
        return Region(E, e, gain, offset, WorkingSet(*members))

    def __iter__(self) -> Iterator[Region]:
        return (self[k] for k in range(len(self)))

    def __repr__(self) -> str:
        return f"<Regions: {len(self)} of {self.parameters} parameters>"

    def _look(self, theta: ArrayLike) -> tuple[NDArray[np.int64], Array]:
        values = np.asarray(theta, dtype=float)
        if values.ndim not in (1, 2) or values.shape[-1] != self.parameters:
            raise ValueError(f"theta has the shape {values.shape}, expected ({self.parameters},) "
                             f"or (count, {self.parameters})")
        found, points = self._law.look(np.ascontiguousarray(np.atleast_2d(values)))
        return (found, points) if values.ndim == 2 else (found[0], points[0])

    def find(self, theta: ArrayLike) -> NDArray[np.int64]:
        """The index of the region of one theta, or of each row; -1 where no point is feasible."""
        return self._look(theta)[0]

    def x(self, theta: ArrayLike) -> Array:
        """The optimum at one theta, or at each row; NaN where no point is feasible."""
        return self._look(theta)[1]

    def to_c(self, name: str = "law") -> str:
        """The law as a C99 file that needs no library and allocates nothing.

        ``int NAME(const double theta[p], double x[n])`` returns the region, or -1 and x unchanged.
        """
        return self._law.code(name)


def regions(problem: Problem, F: ArrayLike | None, box: tuple[ArrayLike, ArrayLike], *,
            h: ArrayLike | None = None, b: ArrayLike | None = None,
            bounds: ArrayLike | None = None, limit: int = 10000,
            samples: int = 2000) -> Regions:
    """Find the optimum as a function of parameters theta: affine on each of many polyhedra.

    Parameters
    ----------
    problem : Problem
        The problem at theta = 0: strictly convex, with up to some twenty variables.
    F : (n, p) array_like or None
        q becomes q + F theta.
    box : pair of (p,) array_like
        Lower and upper limits of the parameters; p is up to about six.
    h, b, bounds : (m, p), (k, p) and (n, p) array_like, optional
        Matrices by which theta changes h and l, b, and lb and ub.
    limit : int
        The search ends at this number of regions.
    samples : int
        Number of random parameters at which to look for further regions.

    Returns
    -------
    Regions

    Examples
    --------
    >>> law = regions(Problem([[1.0]], [0.0], lb=[0.0]), [[-1.0]], ([-1.0], [1.0]))
    >>> len(law), law.x([[-0.5], [0.5]])[:, 0]
    (2, array([0. , 0.5]))
    """
    required(problem, "regions")
    n, inequalities, equalities = problem._data.sizes
    least, most = (np.atleast_1d(np.asarray(side, dtype=float)) for side in box)
    count = least.size

    def part(value: ArrayLike | None, rows: int, name: str) -> Array:
        array = np.zeros((rows, count)) if value is None else np.asarray(value, dtype=float)
        if array.shape != (rows, count):
            raise ValueError(f"regions: {name} has the shape {array.shape}, "
                             f"expected {(rows, count)}")
        return array

    if least.shape != (count,) or most.shape != (count,):
        raise ValueError("regions: box has to be two vectors of one length")
    if limit < 0 or samples < 0:
        raise ValueError("regions: limit and samples have to be 0 or more")
    rows = np.vstack((part(h, inequalities, "h"), part(b, equalities, "b")))
    law = _core.Law(problem, part(F, n, "F"), rows, part(bounds, n, "bounds"), least, most, limit,
                    samples)
    return Regions(law, count)
