"""Gradients with respect to the parts of a batch."""

from __future__ import annotations

import numpy as np

from . import _core
from ._sensitivity import Gradients

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Mapping
    from typing import Any

    from numpy.typing import NDArray

    from ._batch import BatchResult
    from ._batch_parts import Batch

    Array = NDArray[Any]


def gradients(batch: Batch, solved: BatchResult, loss: Mapping[str, Any],
              threads: int) -> Gradients:
    """The gradients that `BatchResult.backward` returns."""
    if threads < 0:
        raise ValueError("threads has to be 0 or more")
    found = {name: getattr(solved, name) for name in loss}
    missing = [name for name, array in found.items() if array is None]
    if missing:
        raise ValueError(f"backward needs {', '.join(missing)}, which solve_batch was told to "
                         "leave out")
    given = {}
    for name, value in loss.items():
        array = np.zeros_like(found[name]) if value is None else np.array(value, np.float64, order="C")
        if array.shape != found[name].shape:
            raise ValueError(f"backward: d{name} has the shape {array.shape}, expected "
                             f"{found[name].shape}")
        given[name] = array
    n, m, count = batch.n, batch.rows_of_G, batch.count
    rows = m + batch.rows_of_A
    out = {name: np.empty((count, size)) for name, size in
           (("c", n), ("rowLower", rows), ("rowUpper", rows), ("lower", n), ("upper", n))}
    y = np.ascontiguousarray(np.concatenate((found["z"], found["y"]), axis=1))
    if count:
        _core.backward_batch(
            count, batch.inputs(), {"x": found["x"], "y": y, "z": found["z_box"],
                                    "status": np.array(solved.status)},
            {"x": given["x"], "y": np.ascontiguousarray(
                np.concatenate((given["z"], given["y"]), axis=1)),
             "z": given["z_box"]}, out, threads)
    return _divided(batch, out, found["x"], y)


def _divided(batch: Batch, out: Mapping[str, Array], x: Array, y: Array) -> Gradients:
    """Gradients of the matrices by the product rule. Rows of G come before those of A."""
    m = batch.rows_of_G
    c, v = out["c"], out["rowLower"] + out["rowUpper"]

    def summed(values: Array, name: str) -> Array:
        total: Array = values if name in batch.batched else values.sum(axis=0)
        return total

    def outer(a: Array, b: Array, name: str) -> Array:
        product: Array = a[:, :, None] * b[:, None, :] if name in batch.batched else a.T @ b
        return product

    half = 0.5 * outer(c, x, "P")
    return Gradients(
        half + np.swapaxes(half, -1, -2), summed(c, "q"),
        outer(y[:, :m], c, "G") - outer(v[:, :m], x, "G"), summed(out["rowUpper"][:, :m], "h"),
        outer(y[:, m:], c, "A") - outer(v[:, m:], x, "A"), summed(v[:, m:], "b"),
        summed(out["lower"], "lb"), summed(out["upper"], "ub"),
        summed(out["rowLower"][:, :m], "l"))
