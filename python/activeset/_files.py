"""Problem files."""

from __future__ import annotations

import os

import numpy as np

from . import _reader
from ._problem import Problem
from ._reader import ReadError

__all__ = ["ReadError", "read"]

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any


def read(path: str | os.PathLike[str]) -> Problem:
    """Read an MPS, QPS, LP, JSON or NPZ file, plain or compressed with gzip or bzip2.

    Rows and variables have their names of the file. Of a maximum the negated objective is the
    problem's.

    Parameters
    ----------
    path : str or path

    Returns
    -------
    Problem
        A row with two sides is one row of G; equalities are rows of A.

    Raises
    ------
    ReadError
        The file is missing, malformed or too large; the text says the line.
    """
    parts = _reader.read(os.fspath(path))
    G, lower, upper, names = _rows(parts)
    has_rows, has_equalities = bool(names), parts["beq"].size > 0
    return Problem(
        parts["H"] if parts["H"].any() else None, parts["c"],
        G if has_rows else None, upper if has_rows else None,
        parts["Aeq"] if has_equalities else None, parts["beq"] if has_equalities else None,
        parts["lb"], parts["ub"], l=lower if has_rows else None, constant=parts["constant"],
        names=parts["names"], row_names=[*names, *parts["equality_names"]])


def _rows(parts: dict[str, Any]) -> tuple[Any, Any, Any, list[str]]:
    """The file's inequalities with both of their sides; the reader has a row for each side, the
    lower ones negated, those of one row next to each other."""
    picked: list[int] = []
    names: list[str] = []
    signs: list[float] = []
    lower: list[float] = []
    upper: list[float] = []
    for k, (name, is_upper) in enumerate(parts["inequalities"]):
        if is_upper or not names or names[-1] != name:
            picked.append(k)
            names.append(name)
            signs.append(1.0 if is_upper else -1.0)
            lower.append(-np.inf)
            upper.append(np.inf)
        if is_upper:
            upper[-1] = parts["b"][k]
        else:
            lower[-1] = -parts["b"][k]
    rows = parts["A"][picked, :] * np.array(signs)[:, np.newaxis] if picked else None
    return rows, np.array(lower), np.array(upper), names
