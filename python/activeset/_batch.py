"""Many problems of one shape, from arrays to arrays."""

from __future__ import annotations

import numpy as np

from . import _core
from ._batch_parts import Batch, fault, shapes
from ._many import Bar
from ._result import Status

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
OUTPUTS = ("x", "y", "z", "z_box", "obj", "status", "certificate", "iterations")


class BatchResult:
    """The results of a batch, as arrays whose first axis counts the problems.

    x, z, y and z_box have shape (count, size), `obj` and `status` (count,). `certificate` has shape
    (count, 6) with the primal, dual and gap residual, each absolute and then relative, and
    `iterations` (count, 6) in the order of `Iterations`. Outputs that were not requested are None.

    `status` has a number for each problem, 0 for optimal. `statuses` is the list of all Status
    members by these numbers, so ``r.statuses[r.status[k]]`` is the status of problem k. Entries of
    invalid and failed problems are NaN. For infeasible and not convex ones `obj` is NaN, and the
    other entries are where the solve ended.
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

        Each argument has the shape of the output that it belongs to. The gradient in a part has
        the shape of that part; for a part that all problems share it is the sum over them. Sides
        with a multiplier count as active. Sides with multiplier 0 do only if the optimum would
        not be unique without them. Gradients of problems that are not optimal are NaN. The outputs
        x, z, y and z_box are required, and the problems' arrays must be unchanged.

        Raises
        ------
        ValueError
            An output is missing, or a shape differs.

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
        """Problem k as a Problem."""
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
        As in `solve_qp`. The first axis of an array with one axis more than a problem needs counts
        the problems; all problems share the other arrays. At least one array must have that axis.
        float64 arrays without gaps in the axes of a problem are used without a copy, including
        memory maps; but G and A together are copied into one array. Shared P, G and A are
        factorised once.
    threads : int
        0 means one per processor. Results do not depend on the number of threads.
    chain : int
        Length of a chain of neighbours, each of which starts at the previous optimum. 0: no chains.
    out : mapping of names to arrays, or sequence of names, optional
        The outputs, and arrays for them: x (count, n), y, z, z_box, obj (count,), status (count,)
        of int32, certificate (count, 6), iterations (count, 6) of uint64. By default all, in new
        arrays. status is always written.
    progress, settings, time_limit
        As in `solve_many`.

    Returns
    -------
    BatchResult

    Raises
    ------
    ProblemError
        Shapes do not match. Invalid entries, such as NaN, only make their own problem invalid.

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
