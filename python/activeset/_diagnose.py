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
    """A finding: its name, the 0-based rows or variables concerned, and its effect on a solve."""

    name: str
    members: NDArray[np.int64]
    text: str

    def __str__(self) -> str:
        which = ", ".join(map(str, self.members[:10])) + (", ..." if self.members.size > 10 else "")
        return f"{self.name}{f' ({which})' if which else ''}: {self.text}"


@dataclass(frozen=True)
class Diagnosis:
    """Unusual properties of the data of a problem.

    `equalities` is the number of rows with equal sides, `rank` the number of independent ones
    among them. The extreme eigenvalues of P are given as intervals. `coefficients` has the smallest
    and the largest magnitude of the nonzero entries of P, q, G and A.
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
    """Find unusual properties of the data, without solving.

    Rows are numbered from 0, those of G first.

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
