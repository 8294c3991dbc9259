"""Problem files."""

from __future__ import annotations

import os

import numpy as np

from . import _reader, _soft
from ._problem import Problem
from ._reader import ReadError

__all__ = ["ReadError", "read"]

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import NDArray

    Pair = tuple[NDArray[np.float64], NDArray[np.float64]]


def read(path: str | os.PathLike[str]) -> Problem:
    """Read an MPS, QPS, LP, JSON or NPZ file, plain or compressed with gzip or bzip2.

    Rows and variables keep their names. The objective of a maximisation is negated.

    Parameters
    ----------
    path : str or path

    Returns
    -------
    Problem
        A row with two sides is one row of G. Equalities are rows of A, unless their two sides
        have different penalties.

    Raises
    ------
    ReadError
        The file is missing, malformed or too large. The text names file and line.
    """
    parts = _reader.read(os.fspath(path))
    A, lower, upper = parts["A"], parts["row_lower"], parts["row_upper"]
    below, above = _penalties(parts["row_penalty"], lower.size)
    equal = (lower == upper) & (below[0] == above[0]) & (below[1] == above[1])
    limited = ~equal & (np.isfinite(lower) | np.isfinite(upper))
    left, right = _penalties(parts["bound_penalty"], parts["lower"].size)
    soft = {"l": _at(below, limited), "h": _at(above, limited), "b": _at(below, equal),
            "lb": left, "ub": right}
    names = np.array(parts["row_names"], dtype=object)
    has_rows, has_equalities = limited.any(), equal.any()
    return Problem(
        parts["H"] if parts["H"].any() else None, parts["c"],
        A[limited] if has_rows else None, upper[limited] if has_rows else None,
        A[equal] if has_equalities else None, upper[equal] if has_equalities else None,
        parts["lower"], parts["upper"], l=lower[limited] if has_rows else None,
        constant=parts["constant"], names=parts["names"],
        row_names=[*names[limited], *names[equal]],
        soft={side: pair for side, pair in soft.items() if np.isfinite(pair[0]).any()} or None)


def _penalties(given: list[Any], size: int) -> tuple[Pair, Pair]:
    """Linear and quadratic penalties of all lower sides, and of all upper sides."""
    return (_soft.pair("lower", (given[0], given[2]), size),
            _soft.pair("upper", (given[1], given[3]), size))


def _at(pair: Pair, rows: NDArray[np.bool_]) -> Pair:
    return pair[0][rows], pair[1][rows]
