"""What verbose=True prints."""

from __future__ import annotations

import sys

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Callable

    from ._records import Progress
    from ._result import Result


class Printer:
    """A callback that prints passes to sys.stdout and calls another callback, if there is one."""

    def __init__(self, callback: Callable[[Progress], object] | None) -> None:
        self.callback = callback
        self.has_title = False

    def __call__(self, progress: Progress) -> object:
        if not self.has_title:
            print(f"{'pass':>6} {'phase':>5} {'objective':>16} {'violation':>10} {'active':>6} "
                  f"{'step':>9}", file=sys.stdout)
            self.has_title = True
        print(f"{progress.iteration:6d} {1 if progress.phase_one else 2:5d} "
              f"{progress.objective:16.8e} {progress.violation:10.2e} {progress.active:6d} "
              f"{progress.step:9.2e}", file=sys.stdout)
        return None if self.callback is None else self.callback(progress)

    def finish(self, result: Result) -> None:
        """Prints the outcome."""
        print(result, file=sys.stdout)
        sys.stdout.flush()
