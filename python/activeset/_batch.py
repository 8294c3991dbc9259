"""Many problems of one shape, from arrays to arrays."""

from __future__ import annotations

import numpy as np

from . import _core
from ._batch_parts import Batch, fault, shapes
from ._many import Bar
from ._result import WITHOUT_OBJECTIVE, Status

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Callable, Mapping, Sequence
    from typing import Any

    from numpy.typing import ArrayLike, NDArray

    from ._problem import Problem
    from ._records import Settings
    from ._sensitivity import Gradients

    Array = NDArray[Any]

STATUSES = tuple(Status)
_WITHOUT_OBJECTIVE = [STATUSES.index(status) for status in WITHOUT_OBJECTIVE]
OUTPUTS = ("x", "y", "z", "z_box", "obj", "status", "certificate", "iterations")


class BatchResult:
    """What became of a batch, as arrays with one entry a problem.

    `status` has a number for each problem. `statuses` is the same for all batches: every Status, at
    the position that is its number; 0 is optimal. So ``r.statuses[r.status[k]]`` is what became of
    problem k. Entries of problems that are invalid or failed are NaN. For infeasible and not convex
    `obj` is NaN, and the other entries are where the solve ended. `certificate` has absolute and
    relative residuals in turn: primal, dual, gap; `iterations` what `Iterations` names. Arrays that
    were not asked for are None.
    """

    statuses = STATUSES

    def __init__(self, batch: Batch, arrays: Mapping[str, Array]) -> None:
        self._batch = batch
        get = arrays.get
        self.status: Array = arrays["status"]
        self.x, self.y, self.z, self.z_box = get("x"), get("y"), get("z"), get("z_box")
        self.obj, self.certificate = get("obj"), get("certificate")
        self.iterations = get("iterations")

    @property
    def found(self) -> Array:
        """Which problems are proved optimal."""
        found: Array = self.status == 0
        return found

    @property
    def failed(self) -> Array:
        """The indices of the problems that are not proved optimal."""
        return np.flatnonzero(self.status != 0)

    @property
    def residuals(self) -> Array | None:
        """Relative residuals: primal, dual, gap."""
        return None if self.certificate is None else self.certificate[:, 1::2]

    def backward(self, dx: ArrayLike | None = None, dz: ArrayLike | None = None,
                 dy: ArrayLike | None = None, dz_box: ArrayLike | None = None, *,
                 threads: int = 0) -> Gradients:
        """Gradients of a loss from its gradients in x, z, y and z_box of all problems.

        Each of those has the shape of the array that it belongs to. Parts of the problems that have
        the axis of the batch have it in their gradient, too; of shared ones the gradient is the sum
        over all problems. What has a multiplier holds; sides that are merely touched are held only
        where the others leave the optimum flat. The gradients of problems that are not optimal are
        NaN. x, z, y and z_box have to be there, and problems and arrays as they were.

        Examples
        --------
        >>> solve_batch([[1.0]], [[-1.0], [-2.0]], ub=[1.5]).backward([[1.0], [1.0]]).q
        array([[-1.],
               [-0.]])
        """
        from ._batch_gradients import gradients

        return gradients(self._batch, self, {"x": dx, "z": dz, "y": dy, "z_box": dz_box}, threads)

    def summary(self) -> dict[Status, int]:
        """The number of problems for each status."""
        codes, counts = np.unique(self.status, return_counts=True)
        return {STATUSES[code]: int(count) for code, count in zip(codes, counts)}

    def problem(self, k: int) -> Problem:
        """Problem k, to look at or to solve alone."""
        return self._batch.problem(k)

    def __len__(self) -> int:
        return len(self.status)

    def __repr__(self) -> str:
        counts = ", ".join(f"{count} {status}" for status, count in self.summary().items())
        return f"BatchResult of {len(self)} problems: {counts or 'none'}"


def _outputs(batch: Batch, out: Mapping[str, Array] | Sequence[str] | None) -> dict[str, Array]:
    """The arrays to write. The status is always among them."""
    from collections.abc import Mapping

    wanted: dict[str, Any] = dict(out) if isinstance(out, Mapping) else dict.fromkeys(
        OUTPUTS if out is None else out)
    wanted.setdefault("status", None)
    arrays: dict[str, Array] = {}
    for name, given in wanted.items():
        if name not in OUTPUTS:
            raise ValueError(f"out has no part '{name}', expected {', '.join(OUTPUTS)}")
        own, kind = shapes(batch)[name]
        shape = (batch.count, *own)
        if given is None:
            given = np.empty(shape, kind)
        is_plain = (isinstance(given, np.ndarray) and given.dtype == kind
                    and given.flags.writeable and given.flags.aligned)
        if not is_plain or given.shape != shape or not given.flags.c_contiguous:
            raise fault(f"out['{name}']", f"has to be a writeable array of {np.dtype(kind)}, "
                                          f"without gaps, of shape {shape}")
        if any(np.may_share_memory(given, part) for part in batch.parts.values()):
            raise fault(f"out['{name}']", "overlaps a part of the problems")
        if any(np.may_share_memory(given, other) for other in arrays.values()):
            raise fault(f"out['{name}']", "overlaps another output")
        arrays[name] = given
    return arrays


def solve_parts(batch: Batch, arrays: Mapping[str, Array], threads: int, chain: int,
                settings: Settings | None, time_limit: float | None,
                told: Callable[[int, int], object] | None) -> None:
    """Solves a batch into arrays."""
    theirs = {"x": "x", "z_box": "z", "obj": "objective", "status": "status",
              "certificate": "certificate", "iterations": "iterations"}
    outputs = {theirs[name]: array for name, array in arrays.items() if name in theirs}
    m, rows = batch.rows_of_G, None
    if "y" in arrays or "z" in arrays:
        alone = arrays.get("z" if m else "y")
        if alone is None or (m and batch.rows_of_A):
            rows = alone = np.empty((batch.count, m + batch.rows_of_A))
        outputs["y"] = alone
    if batch.count:
        _core.solve_batch(batch.count, batch.inputs(), outputs, threads, chain, settings,
                          time_limit, told)
    if "obj" in arrays:
        arrays["obj"][np.isin(arrays["status"], _WITHOUT_OBJECTIVE)] = np.nan
    if rows is not None:
        if "z" in arrays:
            arrays["z"][...] = rows[:, :m]
        if "y" in arrays:
            arrays["y"][...] = rows[:, m:]


def solve_batch(P: ArrayLike | None, q: ArrayLike | None, G: ArrayLike | None = None,
                h: ArrayLike | None = None, A: ArrayLike | None = None,
                b: ArrayLike | None = None, lb: ArrayLike | None = None,
                ub: ArrayLike | None = None, *, l: ArrayLike | None = None,  # noqa: E741
                constant: ArrayLike | None = None, x0: ArrayLike | None = None,
                threads: int = 0, chain: int = 0,
                out: Mapping[str, Array] | Sequence[str] | None = None,
                progress: bool | Callable[[int, int], object] = True,
                settings: Settings | None = None,
                time_limit: float | None = None) -> BatchResult:
    """Solve many problems of one shape, from arrays to arrays.

    Parameters
    ----------
    P, q, G, h, A, b, lb, ub, l, constant, x0
        As in `solve_qp`. An array with one axis more than a problem needs has one entry a problem
        along its first axis; others are shared by all problems. At least one is not. float64
        arrays without gaps in the axes of a problem are used where they lie, memory maps included;
        G and A together are copied into one. Shared P, G and A are prepared once.
    threads : int
        0 stands for as many as there are processors. Results do not depend on it.
    chain : int
        So many neighbours form a chain, in which each begins where the last optimum was. 0 is no
        chains.
    out : mapping of names to arrays, or sequence of names, optional
        What is written, and where: x (count, n), y, z, z_box, obj (count,), status (count,) of
        int32, certificate (count, 6), iterations (count, 6) of uint64. By default all, into new
        arrays. status always is.
    progress, settings, time_limit
        As in `solve_many`.

    Returns
    -------
    BatchResult

    Raises
    ------
    ProblemError
        Shapes do not fit. Entries that are no good make their own problem invalid, no other.

    Examples
    --------
    >>> r = solve_batch([[1.0]], [[-1.0], [-2.0], [float("nan")]], ub=[1.5])
    >>> r.x[:, 0], r.failed
    (array([1. , 1.5, nan]), array([2]))
    >>> r.summary()
    {<Status.OPTIMAL: 'optimal'>: 2, <Status.INVALID: 'invalid'>: 1}
    """
    if threads < 0 or chain < 0:
        raise ValueError("threads and chain have to be 0 or more")
    batch = Batch(dict(P=P, q=q, G=G, h=h, A=A, b=b, lb=lb, ub=ub, l=l, constant=constant, x0=x0))
    arrays = _outputs(batch, out)
    bar = Bar("solve_batch") if progress is True else None
    told = bar if bar is not None else progress if callable(progress) else None
    try:
        solve_parts(batch, arrays, threads, chain, settings, time_limit, told)
    finally:
        if bar is not None:
            bar.close(batch.count)
    return BatchResult(batch, arrays)
