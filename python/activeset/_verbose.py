"""Prints the progress of a solve for verbose=True."""

from __future__ import annotations

import sys

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Callable

    from ._records import Progress, WorkingSet
    from ._result import Result


_SHOWN = 3  # changes of the working set in a line
_SIDES = {"equalities": ("row", "="), "rows_at_lower": ("row", ">="),
          "rows_at_upper": ("row", "<="), "fixed": ("x", "="), "at_lower": ("x", ">="),
          "at_upper": ("x", "<=")}


def _members(working_set: WorkingSet | None) -> set[str]:
    """As "row 3 <=" and "x 0 >=": rows of G first, then those of A."""
    return {f"{kind} {k} {sign}" for name, (kind, sign) in _SIDES.items()
            if working_set is not None for k in getattr(working_set, name).tolist()}


class Printer:
    """A callback that prints passes to sys.stdout and calls another callback, if there is one."""

    def __init__(self, callback: Callable[[Progress], object] | None) -> None:
        self.callback = callback
        self.has_title = False
        self.members: set[str] = set()

    def __call__(self, progress: Progress) -> object:
        if not self.has_title:
            print(f"{'pass':>6} {'phase':>5} {'objective':>16} {'violation':>10} {'active':>6} "
                  f"{'step':>9}  working set", file=sys.stdout)
            self.has_title = True
        print(f"{progress.iteration:6d} {1 if progress.phase_one else 2:5d} "
              f"{progress.objective:16.8e} {progress.violation:10.2e} {progress.active:6d} "
              f"{progress.step:9.2e}{self.changes(progress.working_set)}", file=sys.stdout)
        return None if self.callback is None else self.callback(progress)

    def changes(self, working_set: WorkingSet | None) -> str:
        """What has entered and left since the last pass."""
        before, self.members = self.members, _members(working_set)
        changes = [*(f"+{name}" for name in sorted(self.members - before)),
                   *(f"-{name}" for name in sorted(before - self.members))]
        more = [f"{len(changes) - _SHOWN} more"] if len(changes) > _SHOWN else []
        return "".join(f"  {change}" for change in [*changes[:_SHOWN], *more])

    def finish(self, result: Result) -> None:
        """Prints the outcome."""
        print(result, file=sys.stdout)
        sys.stdout.flush()
