from collections.abc import Callable, Mapping, Sequence
from typing import Any, final

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._problem import Problem
from ._records import Progress, Settings, WarmStart
from ._result import Result, Status

_Vector = NDArray[np.float64]
_Indices = NDArray[np.int64]

_Violated = tuple[_Indices, _Indices, _Indices, _Indices]

LONG_SOLVE: int

class ResultBase:
    @property
    def status(self) -> Status: ...
    @property
    def found(self) -> bool: ...
    @property
    def success(self) -> bool: ...
    @property
    def x(self) -> _Vector: ...
    @property
    def y(self) -> _Vector: ...
    @property
    def z(self) -> _Vector: ...
    @property
    def z_box(self) -> _Vector: ...
    @property
    def obj(self) -> float: ...
    @property
    def fun(self) -> float: ...
    @property
    def direction(self) -> _Vector | None: ...
    @property
    def hessian_shift(self) -> float: ...
    @property
    def exit_code(self) -> int: ...
    @property
    def was_predicted(self) -> bool: ...
    @property
    def _working_set(
        self,
    ) -> tuple[_Indices, _Indices, _Indices, _Indices, _Indices, _Indices, _Violated | None]: ...
    @property
    def _certificate(self) -> tuple[float, float, float, float, float, float]: ...
    @property
    def _farkas(
        self,
    ) -> tuple[_Vector, _Vector, _Vector, float, float, float, float] | None: ...
    @property
    def _direction_residual(self) -> tuple[float, float]: ...
    @property
    def _iterations(self) -> tuple[int, int, int, int, int, int]: ...
    @property
    def _times(self) -> tuple[float, float, float, float]: ...
    @property
    def _message(self) -> str: ...
    @property
    def _faults(self) -> list[tuple[str, int, int, float, str, int]]: ...
    @property
    def _rows(self) -> tuple[int, int]: ...
    @property
    def _names(self) -> tuple[tuple[str, ...] | None, tuple[str, ...] | None]: ...
    def _state(self) -> dict[str, Any]: ...

@final
class Solver:
    def __init__(
        self,
        problem: Problem,
        *,
        settings: Settings | None = None,
        callback: Callable[[Progress], object] | None = None,
    ) -> None: ...
    def solve(self) -> Result: ...
    def update(
        self,
        *,
        P: ArrayLike | None = None,
        q: ArrayLike | None = None,
        G: ArrayLike | None = None,
        h: ArrayLike | None = None,
        A: ArrayLike | None = None,
        b: ArrayLike | None = None,
        lb: ArrayLike | None = None,
        ub: ArrayLike | None = None,
        l: ArrayLike | None = None,
        constant: float | None = None,
        soft: Mapping[str, Any] | None = None,
    ) -> None: ...
    def restart(self, warm_start: WarmStart | Result | None = None) -> None: ...

class ProblemData:
    def __init__(self, parts: dict[str, Any], like: ProblemData | None = None) -> None: ...
    def part(self, name: str) -> Any: ...
    def views(self) -> dict[str, tuple[Any, ...]]: ...
    def faults(self) -> list[tuple[str, int, int, float, str, int]]: ...
    def set_names(
        self, names: tuple[tuple[str, ...] | None, tuple[str, ...] | None] | None
    ) -> None: ...
    @property
    def constant(self) -> float: ...
    @property
    def sizes(self) -> tuple[int, int, int]: ...

def solve_ls(
    R: ArrayLike,
    s: ArrayLike,
    G: ArrayLike | None = None,
    h: ArrayLike | None = None,
    A: ArrayLike | None = None,
    b: ArrayLike | None = None,
    lb: ArrayLike | None = None,
    ub: ArrayLike | None = None,
    W: ArrayLike | None = None,
    *,
    l: ArrayLike | None = None,
    settings: Settings | None = None,
    verbose: bool = False,
) -> Result: ...
def solve_qp(
    P: ArrayLike | None,
    q: ArrayLike | None,
    G: ArrayLike | None = None,
    h: ArrayLike | None = None,
    A: ArrayLike | None = None,
    b: ArrayLike | None = None,
    lb: ArrayLike | None = None,
    ub: ArrayLike | None = None,
    *,
    l: ArrayLike | None = None,
    constant: float = 0.0,
    x0: ArrayLike | None = None,
    soft: Mapping[str, Any] | None = None,
    warm_start: WarmStart | Result | None = None,
    settings: Settings | None = None,
    verbose: bool = False,
    callback: Callable[[Progress], object] | None = None,
    names: Sequence[str] | None = None,
    row_names: Sequence[str] | None = None,
) -> Result: ...
def solve_many(
    problems: Sequence[Problem],
    threads: int,
    chain: int,
    settings: Settings | None,
    time_limit: float | None,
    progress: Callable[[int, int], object] | None,
) -> list[Result]: ...
def solve_batch(
    count: int,
    inputs: dict[str, NDArray[Any]],
    outputs: dict[str, NDArray[Any]],
    threads: int,
    chain: int,
    settings: Settings | None,
    time_limit: float | None,
    progress: Callable[[int, int], object] | None,
) -> None: ...
def backward_batch(
    count: int,
    inputs: dict[str, NDArray[Any]],
    solution: dict[str, NDArray[Any]],
    loss: dict[str, NDArray[Any]],
    outputs: dict[str, NDArray[Any]],
    threads: int,
) -> None: ...
def explain(
    problem: Problem, settings: Settings | None
) -> tuple[bool, bool, _Indices, _Indices, _Indices, _Indices]: ...
def relax(
    problem: Problem,
    norm: int,
    row_weights: list[float],
    bound_weights: list[float],
    settings: Settings | None,
) -> tuple[str, _Vector, _Vector, _Vector, float, list[Any]]: ...
def diagnose(problem: Problem) -> tuple[Any, ...]: ...
def ranges(result: Result, problem: Problem) -> dict[str, _Vector]: ...
def path(
    problem: Problem,
    q: _Vector,
    rowLower: _Vector,
    rowUpper: _Vector,
    lb: _Vector,
    ub: _Vector,
    start: float,
    stop: float,
) -> dict[str, Any]: ...
def solver_code(problem: Problem, name: str) -> str: ...

@final
class Law:
    def __init__(
        self,
        problem: Problem,
        c: _Vector,
        rows: _Vector,
        bounds: _Vector,
        least: _Vector,
        most: _Vector,
        limit: int,
        samples: int,
    ) -> None: ...
    def __len__(self) -> int: ...
    def is_complete(self) -> bool: ...
    def look(self, thetas: _Vector) -> tuple[_Indices, _Vector]: ...
    def region(
        self, k: int
    ) -> tuple[
        _Vector,
        _Vector,
        _Vector,
        _Vector,
        tuple[_Indices, _Indices, _Indices, _Indices, _Indices, _Indices],
    ]: ...
    def code(self, name: str) -> str: ...

@final
class Derivatives:
    def __init__(self, result: Result, problem: Problem) -> None: ...
    def smoothness(self) -> dict[str, Any]: ...
    def backward(self, dx: _Vector, dy: _Vector, dz: _Vector) -> dict[str, _Vector]: ...
    def forward(
        self,
        P: _Vector,
        q: _Vector,
        rows: _Vector,
        rowLower: _Vector,
        rowUpper: _Vector,
        lb: _Vector,
        ub: _Vector,
    ) -> tuple[_Vector, _Vector, _Vector]: ...

def configure(result: type[Result], statuses: tuple[Status, ...]) -> None: ...
def restore(state: dict[str, Any]) -> Result: ...
def end_tasks() -> None: ...
