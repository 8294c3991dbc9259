"""Why a problem is infeasible."""

from __future__ import annotations

from . import _core
from ._faults import Terms
from ._problem import required
from ._records import Conflict

TYPE_CHECKING = False
if TYPE_CHECKING:
    from numpy.typing import NDArray

    from ._problem import Problem
    from ._records import Settings

    import numpy as np


def explain_infeasibility(problem: Problem, *, settings: Settings | None = None) -> Conflict:
    """Find a minimal set of sides of rows and bounds that contradict one another.

    Parameters
    ----------
    problem : Problem
    settings : Settings, optional
        The limits apply to the whole explanation.

    Returns
    -------
    Conflict
        `found` is False if the problem is not proved infeasible, or has faults. The text has a
        line for each side, with the names of the problem.

    Examples
    --------
    >>> p = Problem(None, [1.0, 1.0], [1.0, 1.0], [1.0], lb=[1.0, 1.0], names=["a", "b"],
    ...             row_names=["budget"])
    >>> print(explain_infeasibility(p))
    row 'budget': G[0] x <= h[0] = 1
    variable 'a': x[0] >= lb[0] = 1
    variable 'b': x[1] >= lb[1] = 1
    """
    required(problem, "explain_infeasibility")
    conflict = _core.explain(problem, settings)
    lines = [_line(problem, member, int(index))
             for member, indices in zip(("rowLower", "rowUpper", "lower", "upper"), conflict[2:])
             for index in indices]
    return Conflict(*conflict, "\n".join(lines))


def _line(problem: Problem, member: str, index: int) -> str:
    """A line of text about one side, with its name and value."""
    terms = Terms(problem._data.sizes[1], problem._data.sizes[2])
    side, own = terms.part(member, index)
    values: NDArray[np.float64] = getattr(problem, side)
    is_row = member.startswith("row")
    names = problem.row_names if is_row else problem.names
    label = f"{'row' if is_row else 'variable'} {repr(names[index]) if names else index}"
    left = f"{terms.part('A', index)[0]}[{own}] x" if is_row else f"x[{own}]"
    relation = "=" if side == "b" else ">=" if member in ("rowLower", "lower") else "<="
    return f"{label}: {left} {relation} {side}[{own}] = {values[own]:.10g}"


