from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

_Vector = NDArray[np.float64]
_Indices = NDArray[np.int64]

class Residual(NamedTuple):
    absolute: float
    relative: float

class Certificate(NamedTuple):
    primal: Residual
    dual: Residual
    gap: Residual
    def holds(self, tol: float) -> bool: ...

class ViolatedSides(NamedTuple):
    rows_at_lower: _Indices
    rows_at_upper: _Indices
    at_lower: _Indices
    at_upper: _Indices

class WorkingSet(NamedTuple):
    equalities: _Indices
    rows_at_lower: _Indices
    rows_at_upper: _Indices
    at_lower: _Indices
    at_upper: _Indices
    fixed: _Indices
    soft_violated: ViolatedSides | None = ...
    @classmethod
    def of(cls, parts: tuple[Any, ...]) -> WorkingSet: ...
    def mask(self, n: int) -> _Indices: ...

class WarmStart(NamedTuple):
    x: _Vector
    working_set: WorkingSet | None = ...

class Farkas(NamedTuple):
    y: _Vector
    z: _Vector
    z_box: _Vector
    residual: Residual
    value: float
    radius: float

class Marginals(NamedTuple):
    ineqlin: _Vector
    eqlin: _Vector
    lower: _Vector
    upper: _Vector

class Iterations(NamedTuple):
    phase_one: int
    main: int
    prediction: int
    dual: int
    proximal: int
    refinement: int
    @property
    def total(self) -> int: ...

class Times(NamedTuple):
    setup: float
    solve: float
    polish: float
    total: float

class Fault(NamedTuple):
    name: str
    index: tuple[int, ...]  # type: ignore[assignment]
    value: float
    text: str
    count: int = ...  # type: ignore[assignment]

class Progress(NamedTuple):
    iteration: int
    phase_one: bool
    objective: float
    violation: float
    active: int
    step: float
    working_set: WorkingSet | None = ...

class Settings(NamedTuple):
    tolerance: float = ...
    start: str = ...
    max_iterations: int | None = ...
    time_limit: float | None = ...
    convexity_tolerance: float | None = ...
    keep_factors: bool = ...

class Conflict(NamedTuple):
    found: bool
    minimal: bool
    rows_at_lower: _Indices
    rows_at_upper: _Indices
    at_lower: _Indices
    at_upper: _Indices
    text: str
    def __bool__(self) -> bool: ...

