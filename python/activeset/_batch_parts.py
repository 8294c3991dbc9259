"""The parts of a batch, and the form in which the solver takes them."""

from __future__ import annotations

import numpy as np

from . import _convert
from ._faults import ProblemError
from ._problem import Problem
from ._records import Fault

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Mapping
    from typing import Any

    from numpy.typing import NDArray

    Array = NDArray[Any]

DIMENSIONS = {"P": 2, "q": 1, "G": 2, "h": 1, "A": 2, "b": 1, "lb": 1, "ub": 1, "l": 1,
              "constant": 0, "x0": 1}


def fault(name: str, text: str) -> ProblemError:
    return ProblemError([Fault(name, (), float("nan"), f"{name} {text}")])


def position(k: int, count: int, what: str) -> int:
    """The same from 0 up; negative ones count from the end."""
    if not -count <= k < count:
        raise IndexError(f"there is no {what} {k}, only {count}, counted from 0")
    return range(count)[k]


class Batch:
    """The parts of a batch: arrays with the axis of the batch in front, or shared by all."""

    def __init__(self, parts: Mapping[str, Any]) -> None:
        self.parts = {name: _part(given, name) for name, given in parts.items()
                      if given is not None}
        self.batched = {name for name, part in self.parts.items()
                        if part.ndim == DIMENSIONS[name] + 1}
        self.count = self._count()
        self.n = self._variables()
        self.rows_of_G, self.rows_of_A = (
            self.parts[name].shape[-2] if name in self.parts else 0 for name in ("G", "A"))
        self._check()

    def _count(self) -> int:
        sizes = {name: len(self.parts[name]) for name in sorted(self.batched)}
        if not sizes:
            raise fault("q", "and the other parts are shared by all problems: at least one needs "
                              "an axis of the batch in front")
        name, count = next(iter(sizes.items()))
        for other, size in sizes.items():
            if size != count:
                raise fault(other, f"has {size} problems, but {name} has {count}")
        return count

    def _variables(self) -> int:
        for name in ("q", "P", "G", "A"):
            if name in self.parts:
                return int(self.parts[name].shape[-1])
        raise fault("q", "is missing, and no other part says how many variables there are")

    def _reason(self, name: str) -> str:
        """The other part from which the number of variables is known."""
        other = next(other for other in ("q", "P", "G", "A") if other in self.parts)
        return "" if name == other else f", as {other} has shape {self.parts[other].shape}"

    def _check(self) -> None:
        n, m, p = self.n, self.rows_of_G, self.rows_of_A
        wanted = {"P": (n, n), "q": (n,), "G": (m, n), "A": (p, n), "lb": (n,), "ub": (n,),
                  "h": (m,), "l": (m,), "b": (p,), "x0": (n,), "constant": ()}
        for name, part in self.parts.items():
            own = part.shape[1:] if name in self.batched else part.shape
            if own != wanted[name]:
                front = "the axis of the batch and " if name in self.batched else ""
                raise fault(name, f"has shape {part.shape}, expected {front}{wanted[name]}"
                                  f"{self._reason(name)}")
        if "G" in self.parts and not {"h", "l"} & set(self.parts):
            raise fault("h", "is missing: G needs h or l")
        if "A" in self.parts and "b" not in self.parts:
            raise fault("b", "is missing: A needs b")

    def inputs(self) -> dict[str, Array]:
        """The parts under the names of the solver. If both G and A exist, they become one array."""
        parts = self.parts
        names = {"P": "H", "q": "c", "lb": "lower", "ub": "upper", "x0": "start"}
        result = {theirs: parts[ours] for ours, theirs in names.items() if ours in parts}
        if "constant" in parts:
            result["constant"] = parts["constant"][..., None]
        m, p = self.rows_of_G, self.rows_of_A
        if p and not m:
            result.update(A=parts["A"], rowLower=parts["b"], rowUpper=parts["b"])
        elif m:
            result["A"] = _joined(parts["G"], parts["A"], 2) if p else parts["G"]
            for name, theirs, absent in (("l", "rowLower", -np.inf), ("h", "rowUpper", np.inf)):
                if p:
                    side = parts.get(name, np.full(m, absent))
                    result[theirs] = _joined(side, parts["b"], 1)
                elif name in parts:
                    result[theirs] = parts[name]
        return result

    def problem(self, k: int) -> Problem:
        """Problem k."""
        k = position(k, self.count, "problem")
        parts: dict[str, Any] = {name: part[k] if name in self.batched else part
                                 for name, part in self.parts.items()}
        if "constant" in parts:
            parts["constant"] = float(parts["constant"])
        return Problem(parts.pop("P", None), parts.pop("q", None), **parts)


def _part(given: Any, name: str) -> Array:
    """The part as float64 without gaps in the axes of a problem. It is copied only if it is not."""
    array = np.asarray(_convert._array(given, name))
    dimensions = DIMENSIONS[name]
    if array.ndim not in (dimensions, dimensions + 1):
        raise fault(name, f"has shape {array.shape}, expected {dimensions} or {dimensions + 1} "
                           "dimensions")
    inner, distance = True, 8
    for axis in range(array.ndim - 1, array.ndim - 1 - dimensions, -1):
        inner = inner and (array.shape[axis] <= 1 or array.strides[axis] == distance)
        distance *= array.shape[axis]
    outer = array.ndim == dimensions or len(array) < 2 or (
        array.strides[0] >= 0 and array.strides[0] % 8 == 0)
    is_plain = array.dtype == np.float64 and array.dtype.isnative and array.flags.aligned
    if not (inner and outer and is_plain):
        array = np.array(array, np.float64, order="C")
    return array


def _joined(first: Array, second: Array, dimensions: int) -> Array:
    """One matrix below the other. The result has the axis of the batch if one of them has it."""
    count = max(len(part) if part.ndim > dimensions else 0 for part in (first, second))
    if count:
        first, second = (part if part.ndim > dimensions else
                         np.broadcast_to(part, (count, *part.shape)) for part in (first, second))
    return np.ascontiguousarray(np.concatenate([first, second], axis=-dimensions))


def shapes(batch: Batch) -> dict[str, tuple[tuple[int, ...], type]]:
    """Shapes and types of the outputs of one problem."""
    return {"x": ((batch.n,), np.float64), "y": ((batch.rows_of_A,), np.float64),
            "z": ((batch.rows_of_G,), np.float64), "z_box": ((batch.n,), np.float64),
            "obj": ((), np.float64), "status": ((), np.int32),
            "certificate": ((6,), np.float64), "iterations": ((6,), np.uint64)}
