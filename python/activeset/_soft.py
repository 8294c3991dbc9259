"""Soft sides: turns the argument `soft` into the arrays that the solver reads."""

from __future__ import annotations

import numpy as np

from . import _convert
from ._faults import ProblemError
from ._records import Fault

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterable, Mapping
    from typing import Any

    from numpy.typing import NDArray

    Vector = NDArray[np.float64]

SIDES = ("l", "h", "b", "lb", "ub")
_KINDS = ("linear", "quadratic")


def arrays(soft: Mapping[str, Any], n: int, inequalities: int, equalities: int,
           absent: Iterable[str]) -> tuple[Vector | None, ...]:
    """Linear penalties of lower and upper sides of the rows, quadratic ones, those of bounds.

    Rows are those of G first, then those of A, whose sides b are lower and upper ones. `absent`
    names the sides that the problem does not have.

    Raises
    ------
    ProblemError
        It is no mapping, names other or absent sides, or has penalties of other shapes.
    """
    for side in absent:
        if _checked(soft).get(side) is not None:
            raise _refuse(f"soft[{side!r}]",
                          f"is the price of sides that are absent: there is no {side}")
    sizes = {"l": inequalities, "h": inequalities, "b": equalities, "lb": n, "ub": n}
    given = {side: pair(side, penalty, sizes[side])
             for side, penalty in _checked(soft).items() if penalty is not None}
    rows = [_joined(given, (side, "b"), (inequalities, equalities), kind)
            for kind in (0, 1) for side in ("l", "h")]
    bounds = [_joined(given, (side,), (n,), kind) for kind in (0, 1) for side in ("lb", "ub")]
    return (*rows, *bounds)


def flat(soft: Mapping[str, Any] | None) -> dict[str, Any]:
    """The same as parts of an archive: soft_h_linear and the like."""
    parts: dict[str, Any] = {}
    for side, penalty in _checked(soft or {}).items():
        both = penalty if isinstance(penalty, tuple) else (penalty, None)
        parts.update({f"soft_{side}_{kind}": value for kind, value in zip(_KINDS, both)
                      if value is not None})
    return parts


def taken(parts: dict[str, Any]) -> dict[str, Any] | None:
    """Takes the parts that `flat` made out of those of an archive, and undoes `flat`."""
    soft: dict[str, Any] = {}
    for side in SIDES:
        both = tuple(parts.pop(f"soft_{side}_{kind}", None) for kind in _KINDS)
        if any(penalty is not None for penalty in both):
            soft[side] = both
    return soft or None


def _refuse(name: str, what: str) -> ProblemError:
    return ProblemError([Fault(name, (), float("nan"), f"{name} {what}")])


def _checked(soft: Mapping[str, Any]) -> Mapping[str, Any]:
    if not hasattr(soft, "items"):
        raise _refuse("soft", f"is of type {type(soft).__name__}, expected a mapping from the "
                              "names of sides to penalties")
    for side in soft:
        if side not in SIDES:
            raise _refuse("soft", f"has {side!r}, expected {', '.join(SIDES)}")
    return soft


def pair(side: str, penalty: Any, size: int) -> tuple[Vector, Vector]:
    """Linear and quadratic penalties; without linear ones the quadratic ones make sides soft."""
    name = f"soft[{side!r}]"
    if isinstance(penalty, tuple) and len(penalty) != 2:
        raise _refuse(name, f"is a tuple of {len(penalty)}, expected (linear, quadratic)")
    linear, quadratic = penalty if isinstance(penalty, tuple) else (penalty, None)
    curved = np.zeros(size) if quadratic is None else _spread(name, quadratic, size)
    if linear is None:
        return np.where(curved == 0.0, np.inf, 0.0), curved
    return _spread(name, linear, size), curved


def _spread(name: str, given: Any, size: int) -> Vector:
    array = _convert.vector(given, name)
    if array.size != size and array.size != 1:
        raise _refuse(name, f"has {array.size} entries, expected one or {size}")
    return np.array(np.broadcast_to(array, (size,)))


def _joined(given: Mapping[str, tuple[Vector, Vector]], sides: tuple[str, ...],
            sizes: tuple[int, ...], kind: int) -> Vector | None:
    if not any(side in given for side in sides):
        return None
    hard = (np.inf, 0.0)[kind]
    joined: Vector = np.concatenate([
        given[side][kind] if side in given else np.full(size, hard)
        for side, size in zip(sides, sizes)])
    return joined
