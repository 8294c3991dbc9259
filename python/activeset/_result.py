"""What a solve returns."""

from __future__ import annotations

import enum
import re

import numpy as np

from . import _core
from ._records import (
    Certificate,
    Farkas,
    Fault,
    Iterations,
    Marginals,
    Residual,
    Times,
    WarmStart,
    WorkingSet,
)

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Sequence
    from os import PathLike
    from typing import Any

    import pandas as pd
    from numpy.typing import ArrayLike, NDArray

    from ._problem import Problem
    from ._sensitivity import Gradients, Sensitivity

    from ._records import Progress

    Vector = NDArray[np.float64]

_VERSION = 1  # of the state in a pickle


class Status(str, enum.Enum):
    """How a solve ended; equal to its text."""

    OPTIMAL = "optimal"
    INFEASIBLE = "infeasible"
    UNBOUNDED = "unbounded"
    NOT_CONVEX = "not convex"
    ITERATION_LIMIT = "iteration limit"
    TIME_LIMIT = "time limit"
    INTERRUPTED = "interrupted"
    INACCURATE = "inaccurate"
    INVALID = "invalid"
    FAILED = "failed"

    def __str__(self) -> str:
        return str(self.value)


_MEANING = {
    "optimal": "proved to the tolerance",
    "infeasible": "no point satisfies the constraints; explain_infeasibility tells why",
    "unbounded": "the objective falls without end along r.direction",
    "not convex": "P has negative curvature along r.direction",
    "iteration limit": "the point reached so far",
    "time limit": "the point reached so far",
    "interrupted": "the point reached so far",
    "inaccurate": "the best point found, with the residuals in r.certificate",
    "invalid": "the problem has faults",
    "failed": "the solve raised",
}


class SolveError(RuntimeError):
    """Raised by `Result.raise_for_status`; `result` is the result."""

    def __init__(self, message: str, result: Result | None = None) -> None:
        super().__init__(message)
        self.result = result

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.args[0], self.result)


def _restore(version: int, state: dict[str, Any]) -> Result:
    """Restores a pickle of this or another version. Missing entries have their defaults."""
    return _core.restore(state)


class Result(_core.ResultBase):
    """The outcome of a solve: status, point, multipliers and proof. Immutable.

    Arrays are read-only views; change a ``copy()`` of them. x and z_box have shape (n,), z and y
    one entry per row of G and of A. For infeasible and not convex problems they are where the solve
    ended, and no solution; for invalid and failed ones they are empty.
    """

    __slots__ = ()

    @property
    def z_lower(self) -> Vector:
        """Multipliers of lb <= x, at least 0."""
        return np.maximum(-self.z_box, 0.0)

    @property
    def z_upper(self) -> Vector:
        """Multipliers of x <= ub, at least 0."""
        return np.maximum(self.z_box, 0.0)

    @property
    def marginals(self) -> Marginals:
        """Derivatives of the optimal value by the active sides: SciPy's signs."""
        return Marginals(-self.z, -self.y, self.z_lower, -self.z_upper)

    @property
    def working_set(self) -> WorkingSet:
        """The active constraints."""
        return WorkingSet.of(self._working_set)

    @property
    def active_mask(self) -> NDArray[np.int64]:
        """Per variable: -1 at the lower bound, 1 at the upper one or fixed, 0 otherwise."""
        return self.working_set.mask(self.x.size)

    @property
    def warm_start(self) -> WarmStart:
        """The start for the next, similar problem."""
        return WarmStart(self.x, self.working_set)

    @property
    def certificate(self) -> Certificate:
        """Residuals of the point and its multipliers; infinite if there is no point."""
        r = self._certificate
        return Certificate(Residual(*r[:2]), Residual(*r[2:4]), Residual(*r[4:]))

    @property
    def farkas(self) -> Farkas | None:
        """The proof that the problem is infeasible, else None."""
        found = self._farkas
        if found is None:
            return None
        y, z, z_box, absolute, relative, value, radius = found
        return Farkas(y, z, z_box, Residual(absolute, relative), value, radius)

    @property
    def direction_residual(self) -> Residual:
        """For unbounded the relative error of P d = 0 and of the sides along d; for not convex the
        curvature."""
        return Residual(*self._direction_residual)

    @property
    def iterations(self) -> Iterations:
        """The numbers of steps of each kind."""
        return Iterations(*self._iterations)

    @property
    def times(self) -> Times:
        """Times in seconds."""
        return Times(*self._times)

    @property
    def message(self) -> str:
        """One line on the outcome; for invalid and failed what was wrong."""
        if self.status is Status.INVALID:
            return f"{self.status}: " + "\n".join(fault.text for fault in self.faults[:10])
        if self.found and self.hessian_shift > 0:
            return f"optimal: proved for P + {self.hessian_shift:.3g} I"
        theirs = re.sub(r"\bH\b", "P", self._message)  # the solver calls P by its own letter
        return f"{self.status}: {theirs or _MEANING[self.status.value]}"

    @property
    def faults(self) -> list[Fault]:
        """The faults of a problem with the status invalid (from `solve_many`), else empty."""
        from ._faults import translated

        return translated(self._faults, *self._rows, self._names)

    @property
    def names(self) -> tuple[str, ...] | None:
        """Names of the variables, if the problem had any."""
        return self._names[0]

    @property
    def row_names(self) -> tuple[str, ...] | None:
        """Names of the rows, those of G first, if the problem had any."""
        return self._names[1]

    def raise_for_status(self) -> Result:
        """Return the result if it is optimal. Otherwise raise SolveError, or ProblemError if it is
        invalid."""
        if self.status is Status.INVALID:
            from ._faults import ProblemError

            raise ProblemError(self.faults)
        if not self.found:
            raise SolveError(self.message, self)
        return self

    def sensitivity(self, problem: Problem) -> Sensitivity:
        """The derivatives of this optimum of the problem: factors for many right-hand sides."""
        return self._sensitivity(problem, "sensitivity")

    def _sensitivity(self, problem: Problem, function: str) -> Sensitivity:
        from ._problem import required
        from ._sensitivity import Sensitivity

        required(problem, f"Result.{function}")
        return Sensitivity(self, problem)

    def backward(self, problem: Problem, dx: ArrayLike | None = None,
                 dz: ArrayLike | None = None, dy: ArrayLike | None = None,
                 dz_box: ArrayLike | None = None) -> Gradients:
        """Gradients of a loss in the parts of the problem, as by `Sensitivity.backward`.

        A result does not keep its problem. Raises ValueError for a different problem.
        """
        return self._sensitivity(problem, "backward").backward(dx, dz, dy, dz_box)

    def forward(self, problem: Problem, **changes: ArrayLike
                ) -> tuple[Vector, Vector, Vector, Vector]:
        """Derivatives along a change of the parts, as by `Sensitivity.forward`."""
        return self._sensitivity(problem, "forward").forward(**changes)

    def to_series(self) -> pd.Series[float]:
        """The point as a pandas Series, by the names of the variables."""
        import pandas as pd

        names = self.names
        return pd.Series(self.x.copy(), index=None if names is None else list(names), name="x")

    def report(self, path: str | PathLike[str], *, title: str = "result",
               passes: Sequence[Progress] = ()) -> None:
        """Write a self-contained HTML page: outcome, proof, multipliers, bounds, solution.

        Parameters
        ----------
        path : str or path
            The file; an existing one is replaced.
        title : str, optional
            The name of the problem on the page.
        passes : sequence of Progress, optional
            The arguments of a callback, for plots of the passes.
        """
        from ._report import write

        write(self, path, title, passes)

    def to_dict(self) -> dict[str, Any]:
        """The result as numbers, strings, lists and dictionaries, which JSON can hold."""
        from ._present import dictionary

        return dictionary(self)

    def __bool__(self) -> bool:
        return self.found

    def __repr__(self) -> str:
        from ._present import text

        return text(self)

    def _repr_html_(self) -> str:
        from ._present import html

        return html(self)

    def __reduce__(self) -> tuple[Any, ...]:
        return _restore, (_VERSION, self._state())

    def __copy__(self) -> Result:
        return self

    def __deepcopy__(self, memo: object) -> Result:
        return self
