"""Converts data that are not float64 arrays yet."""

from __future__ import annotations

import numpy as np

from ._faults import ProblemError
from ._records import Fault

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import NDArray

_SIDES = ("lb", "ub", "l", "h")


def _refuse(name: str, what: str) -> ProblemError:
    return ProblemError([Fault(name, (), float("nan"), f"{name} {what}")])


def _array(given: Any, name: str) -> NDArray[np.float64]:
    """The array of real numbers in any container of NumPy, SciPy or pandas."""
    if isinstance(given, np.ma.MaskedArray):
        raise _refuse(name, "is a masked array; fill it first")
    if hasattr(given, "toarray") and hasattr(given, "nnz"):  # scipy.sparse
        given = given.toarray()
    elif hasattr(given, "to_numpy"):  # pandas
        given = given.to_numpy()
    try:
        array = np.asarray(given)
    except (ValueError, TypeError) as error:
        raise _refuse(name, f"is no array: {error}") from None
    if array.dtype.kind not in "biuf" or array.dtype.itemsize > 8:
        kind = "complex" if array.dtype.kind == "c" else f"of type {array.dtype}"
        wanted = "float64" if array.dtype.kind == "f" else "real numbers"
        if name in _SIDES and array.dtype.kind == "O" and any(one is None for one in array.flat):
            wanted += "; an absent bound is infinite, not None"
        elif array.dtype.kind == "O":
            wanted += ": write np.asarray(..., dtype=float)"
        raise _refuse(name, f"is {kind}, expected {wanted}")
    return array.astype(np.float64, order="K", copy=False)


def vector(given: Any, name: str) -> NDArray[np.float64]:
    """A contiguous array of one dimension; a single number counts as one entry."""
    array = _array(given, name)
    if array.ndim > 1:
        hint = ": write np.ravel(...)" if array.size == max(array.shape) else ""
        raise _refuse(name, f"has shape {array.shape}, expected one dimension{hint}")
    return np.array(array, dtype=np.float64, ndmin=1, order="C", subok=False)


def matrix(given: Any, name: str) -> NDArray[np.float64]:
    """An array of two dimensions without gaps. One dimension is taken as a row."""
    array = _array(given, name)
    if array.ndim not in (1, 2):
        raise _refuse(name, f"has shape {array.shape}, expected two dimensions")
    if name == "P" and array.ndim != 2:
        raise _refuse(name, f"has shape {array.shape}, expected two dimensions")
    return np.array(array, dtype=np.float64, order="C", subok=False)


def all_names(names: Any, row_names: Any, variables: int, rows: int) -> tuple[Any, Any]:
    """Both as tuples of strings, or None."""
    return _names(names, "names", variables), _names(row_names, "row_names", rows)


def _names(given: Any, name: str, size: int) -> tuple[str, ...] | None:
    if given is None:
        return None
    if isinstance(given, str):
        raise TypeError(f"{name} has to be a sequence of strings")
    result = tuple(str(entry) for entry in given)
    if len(result) != size:
        raise _refuse(name, f"has {len(result)} entries, expected {size}")
    return result
