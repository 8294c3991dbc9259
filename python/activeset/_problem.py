"""The class Problem: data that are kept, solved, checked and saved."""

from __future__ import annotations

import numpy as np

from . import _convert, _core, _soft
from ._faults import ProblemError, translated

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Mapping, Sequence
    from os import PathLike
    from typing import Any

    from numpy.typing import ArrayLike, NDArray

    from ._records import Fault
    from ._result import Result

    Vector = NDArray[np.float64]
    Names = tuple[tuple[str, ...] | None, tuple[str, ...] | None]

_PARTS = ("P", "q", "G", "h", "A", "b", "lb", "ub", "l", "x0", "soft")


class Problem:
    """The data of one problem, as `solve_qp` takes them.

    Arrays of float64 are used without a copy, so changes of their entries affect later solves. But
    if there are both G and A their rows are copied, once.

    Parameters
    ----------
    P, q, G, h, A, b, lb, ub, l, constant, x0, soft, names, row_names
        As in `solve_qp`.

    Raises
    ------
    ProblemError
        Shapes or types are wrong. `faults` and solves find faults of entries.

    Examples
    --------
    >>> p = Problem([[2.0]], [-4.0], ub=[1.0], names=["x"])
    >>> p.solve().x
    array([1.])
    >>> p
    Problem: 1 variable, 0 inequalities, 0 equalities
    """

    __slots__ = ("_data", "_names")

    def __init__(self, P: ArrayLike | None, q: ArrayLike | None,
                 G: ArrayLike | None = None, h: ArrayLike | None = None,
                 A: ArrayLike | None = None, b: ArrayLike | None = None,
                 lb: ArrayLike | None = None, ub: ArrayLike | None = None, *,
                 l: ArrayLike | None = None,  # noqa: E741
                 constant: float = 0.0, x0: ArrayLike | None = None,
                 soft: Mapping[str, Any] | None = None,
                 names: Sequence[str] | None = None,
                 row_names: Sequence[str] | None = None) -> None:
        self._set({"P": P, "q": q, "G": G, "h": h, "A": A, "b": b, "lb": lb, "ub": ub, "l": l,
                   "constant": constant, "x0": x0, "soft": soft}, names, row_names, None)

    def _set(self, parts: dict[str, Any], names: Any, row_names: Any,
             like: _core.ProblemData | None) -> None:
        self._data = _core.ProblemData(parts, like)
        n, inequalities, equalities = self._data.sizes
        self._names: Names = _convert.all_names(names, row_names, n, inequalities + equalities)
        if self._names != (None, None):
            self._data.set_names(self._names)

    P: Vector | None = property(lambda self: self._data.part("P"))  # type: ignore[assignment]
    q: Vector | None = property(lambda self: self._data.part("q"))  # type: ignore[assignment]
    G: Vector | None = property(lambda self: self._data.part("G"))  # type: ignore[assignment]
    h: Vector | None = property(lambda self: self._data.part("h"))  # type: ignore[assignment]
    A: Vector | None = property(lambda self: self._data.part("A"))  # type: ignore[assignment]
    b: Vector | None = property(lambda self: self._data.part("b"))  # type: ignore[assignment]
    lb: Vector | None = property(lambda self: self._data.part("lb"))  # type: ignore[assignment]
    ub: Vector | None = property(lambda self: self._data.part("ub"))  # type: ignore[assignment]
    l: Vector | None = property(lambda self: self._data.part("l"))  # type: ignore  # noqa: E741
    x0: Vector | None = property(lambda self: self._data.part("x0"))  # type: ignore[assignment]

    @property
    def soft(self) -> Mapping[str, Any] | None:
        """The penalties of soft sides, as passed in."""
        soft: Mapping[str, Any] | None = self._data.part("soft")
        return soft

    @property
    def constant(self) -> float:
        """The constant of the objective."""
        return self._data.constant

    @property
    def names(self) -> tuple[str, ...] | None:
        """The names of the variables."""
        return self._names[0]

    @property
    def row_names(self) -> tuple[str, ...] | None:
        """The names of the rows, those of G first."""
        return self._names[1]

    @property
    def n(self) -> int:
        """The number of variables."""
        return self._data.sizes[0]

    def faults(self) -> list[Fault]:
        """All faults of the entries; an empty list for a valid problem."""
        _, inequalities, equalities = self._data.sizes
        return translated(self._data.faults(), inequalities, equalities, self._names)

    def solve(self, **options: Any) -> Result:
        """Solve the problem; options as in `solve_qp`: warm_start, settings, verbose, callback."""
        own: dict[str, Any] = {**self._parts(), "names": self.names, "row_names": self.row_names}
        return _core.solve_qp(**{**own, **options})

    def replace(self, **parts: Any) -> Problem:
        """A problem with some parts or names replaced. It shares the other parts with this one."""
        names = parts.pop("names", self.names)
        row_names = parts.pop("row_names", self.row_names)
        other = object.__new__(type(self))
        other._set({**self._parts(), **parts}, names, row_names, self._data)
        return other

    def to_c(self, name: str = "solve") -> str:
        """A solver for this P, G and A as a C99 file that needs no library and allocates nothing.

        ``int NAME(const double c[n], const double row_lower[m], const double row_upper[m], const
        double lower[n], const double upper[n], double x[n])``, with the rows of G before those
        of A, returns 0 with the optimum in x, 1 if no point is feasible, 2 if rounding prevented an
        answer. Raises ValueError if P is not positive definite.
        """
        return _core.solver_code(self, name)

    def save(self, path: str | PathLike[str]) -> None:
        """Write the problem to a file in NumPy's format .npz, without pickles."""
        parts = {name: part for name, part in self._parts().items() if part is not None}
        parts.update(_soft.flat(parts.pop("soft", None)))
        for name, value in (("names", self.names), ("row_names", self.row_names)):
            if value is not None:
                parts[name] = np.array(value, dtype=np.str_)
        with open(path, "wb") as file:  # np.savez would append to the name
            np.savez_compressed(file, **parts)

    @classmethod
    def load(cls, path: str | PathLike[str]) -> Problem:
        """Read a file that `save` wrote. Raises ValueError, which names the file, for others."""
        parts = _members(path)
        soft = _soft.taken(parts)
        unknown = sorted(set(parts) - {*_PARTS, "constant", "names", "row_names"})
        if unknown:
            raise ValueError(f"{path}: a problem has no part '{unknown[0]}', expected "
                             f"{', '.join(_PARTS)}")
        for name, axes in (("constant", 0), ("names", 1), ("row_names", 1)):
            if name in parts and np.ndim(parts[name]) != axes:
                raise ValueError(f"{path}: {name} has {np.ndim(parts[name])} axes, expected {axes}")
        constant = parts.pop("constant", 0.0)
        try:
            return cls(parts.pop("P", None), parts.pop("q", None), constant=constant, soft=soft,
                       **parts)
        except ProblemError as error:
            raise ProblemError([fault._replace(text=f"{path}: {fault.text}")
                                for fault in error.faults]) from None

    def _parts(self) -> dict[str, Any]:
        parts: dict[str, Any] = {name: self._data.part(name) for name in _PARTS}
        return {**parts, "constant": self.constant}

    def __reduce__(self) -> tuple[Any, ...]:
        return _restore, ({**self._parts(), "names": self.names, "row_names": self.row_names},)

    def __repr__(self) -> str:
        def counted(count: int, one: str, many: str) -> str:
            return f"{count} {one if count == 1 else many}"

        n, inequalities, equalities = self._data.sizes
        return (f"Problem: {counted(n, 'variable', 'variables')}, "
                f"{counted(inequalities, 'inequality', 'inequalities')}, "
                f"{counted(equalities, 'equality', 'equalities')}")


def _members(path: str | PathLike[str]) -> dict[str, Any]:
    """The arrays in a file of NumPy's format .npz."""
    from zipfile import is_zipfile

    member = ""
    parts: dict[str, Any] = {}
    with open(path, "rb") as file:
        if not is_zipfile(file):
            raise ValueError(f"{path} is cut short, or no file that Problem.save wrote (.npz)")
        try:
            archive = np.load(file, allow_pickle=False)
            for name in archive.files:
                member = f", its member '{name}'"
                parts[name] = archive[name]
        except MemoryError:
            raise
        except Exception as error:  # damage causes errors of the archive, of zlib or of headers
            raise ValueError(f"{path}{member}, cannot be read: {error}") from None
    return parts


def required(given: object, function: str, place: str = "first") -> None:
    """TypeError for what is no Problem, in terms of the function that takes one."""
    if not isinstance(given, Problem):
        raise TypeError(f"{function} takes a Problem {place}, not this {type(given).__name__}")


def _restore(parts: dict[str, Any]) -> Problem:
    """Restores a pickle. Parts that only another version knows are left out."""
    known = {name: parts.get(name) for name in (*_PARTS, "names", "row_names")}
    return Problem(known.pop("P"), known.pop("q"), constant=parts.get("constant", 0.0), **known)
