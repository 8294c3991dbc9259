"""Many problems on several threads."""

from __future__ import annotations

import time

from . import _core
from ._problem import Problem

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Callable, Iterable

    from ._records import Settings
    from ._result import Result

_PATIENCE = 1.0  # seconds before a progress bar appears


class Bar:
    """A progress bar of tqdm. It appears if tqdm is installed and the work takes long."""

    def __init__(self, name: str, unit: str = "problem") -> None:
        self.name, self.unit = name, unit
        self.begin = time.monotonic()
        self.bar = None

    def __call__(self, done: int, of: int) -> None:
        if self.bar is None and time.monotonic() - self.begin > _PATIENCE and done < of:
            try:
                from tqdm.auto import tqdm
            except ImportError:
                self.begin = float("inf")
                return
            self.bar = tqdm(total=of, desc=self.name, unit=self.unit)
        if self.bar is not None:
            self.bar.update(done - self.bar.n)

    def close(self, of: int) -> None:
        if self.bar is not None:
            self.bar.update(of - self.bar.n)
            self.bar.close()


def solve_many(problems: Iterable[Problem], threads: int = 0, chain: int = 0,
               progress: bool | Callable[[int, int], object] = True, *,
               settings: Settings | None = None,
               time_limit: float | None = None) -> list[Result]:
    """Solve independent problems, or chains of similar ones, on several threads.

    Parameters
    ----------
    problems : iterable of Problem
    threads : int
        0 means one per processor. Results do not depend on the number of threads.
    chain : int
        Length of a chain of neighbours, each of which starts at the previous optimum. Neighbours
        that share P, G and A (as `Problem.replace` makes them) share factors, too. 0: no chains.
    progress : bool or callable
        True shows a progress bar for long work if tqdm is installed. A function is called from time
        to time with the number of finished problems and the number of all.
    settings : Settings, optional
        For every solve.
    time_limit : float, optional
        Seconds for all problems together.

    Returns
    -------
    list of Result
        In the order of the problems. A problem with faults has the status "invalid", one whose
        solve raised "failed"; others are not affected.

    Examples
    --------
    >>> p = Problem([[1.0]], [-1.0])
    >>> [float(r.x[0]) for r in solve_many([p, p.replace(q=[-2.0])])]
    [1.0, 2.0]
    """
    problems = list(problems)
    for k, problem in enumerate(problems):
        if not isinstance(problem, Problem):
            raise TypeError(f"problems[{k}] is a {type(problem).__name__}, expected a Problem")
    if threads < 0 or chain < 0:
        raise ValueError("threads and chain have to be 0 or more")
    bar = Bar("solve_many") if progress is True else None
    told = bar if bar is not None else progress if callable(progress) else None
    try:
        return _core.solve_many(problems, threads, chain, settings, time_limit, told)
    finally:
        if bar is not None:
            bar.close(len(problems))
