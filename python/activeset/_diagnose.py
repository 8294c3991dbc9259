"""Findings about the data of a problem before it is solved."""

from __future__ import annotations

import re
from dataclasses import dataclass

import numpy as np

from . import _core
from ._faults import raise_invalid
from ._problem import required

TYPE_CHECKING = False
if TYPE_CHECKING:
    from numpy.typing import NDArray

    from ._problem import Problem


@dataclass(frozen=True)
class Finding:
    """Something that a solve will notice: its name, the rows or variables, what it does."""

    name: str
    members: NDArray[np.int64]
    text: str

    def __str__(self) -> str:
        which = ", ".join(map(str, self.members[:10])) + (", ..." if self.members.size > 10 else "")
        return f"{self.name}{f' ({which})' if which else ''}: {self.text}"


@dataclass(frozen=True)
class Diagnosis:
    """What is remarkable about the data of a problem.

    `equalities` counts rows whose sides are equal, `rank` those of them that do not depend on
    others. Each extreme eigenvalue of P lies between two numbers; `coefficients` are the smallest
    and the largest magnitude in P, q, G and A, zeros left out.
    """

    equalities: int
    rank: int
    smallest_eigenvalue: tuple[float, float]
    largest_eigenvalue: tuple[float, float]
    coefficients: tuple[float, float]
    free_variables: int
    fixed_variables: int
    findings: list[Finding]

    def __str__(self) -> str:
        return "\n".join(map(str, self.findings)) or "nothing remarkable"


def diagnose(problem: Problem) -> Diagnosis:
    """Look for what is remarkable about the data, without solving.

    Rows are numbered through, those of G first.

    Raises
    ------
    ProblemError
        The data have faults.

    Examples
    --------
    >>> p = Problem(None, [1.0, 0.0], [[1.0, 0.0], [2.0, 0.0]], [4.0, 9.0], lb=[0.0, 0.0])
    >>> for finding in activeset.diagnose(p).findings:
    ...     print(finding.name, finding.members)
    duplicate rows [1]
    unused variables [1]
    """
    required(problem, "diagnose")
    (equalities, rank, smallest, largest, coefficients, free, fixed, found,
     faults) = _core.diagnose(problem)
    if faults:
        raise_invalid(faults, *problem._data.sizes[1:], problem._names)
    findings = [Finding(name, members, re.sub(r"\bH\b", "P", text))
                for name, members, text in found]
    return Diagnosis(equalities, rank, smallest, largest, coefficients, free, fixed, findings)
