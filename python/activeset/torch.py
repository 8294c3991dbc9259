"""Quadratic programs as layers of PyTorch: `QPFunction` solves forward, differentiates backward.

The derivative is that of the exact optimum, from its working set; see `activeset.Sensitivity`.
"""

from __future__ import annotations

import numpy as np
import torch

from ._problem import Problem
from ._sensitivity import Sensitivity
from ._many import solve_many

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

_NAMES = ("P", "q", "G", "h", "A", "b")


class _Solve(torch.autograd.Function):  # type: ignore[misc]
    """A batch of problems, all parts of which have a first axis for it, or lack it."""

    @staticmethod
    def forward(ctx: Any, *parts: Any) -> Any:
        axes = (2, 1, 2, 1, 2, 1)
        arrays = [None if part.numel() == 0 else part.detach().cpu().double().numpy()
                  for part in parts]
        counts = {array.shape[0] for array, axis in zip(arrays, axes)
                  if array is not None and array.ndim > axis}
        if len(counts) > 1:
            raise ValueError(f"QPFunction: the parts are of batches of {sorted(counts)} problems")
        count = next(iter(counts), 1)
        problems = []
        for k in range(count):
            own = [array if array is None or array.ndim == axis else array[k]
                   for array, axis in zip(arrays, axes)]
            problems.append(Problem(**dict(zip(_NAMES, own))))
        results = solve_many(problems, progress=False)
        for result in results:
            result.raise_for_status()
        ctx.pairs = list(zip(results, problems))
        ctx.axes = axes
        ctx.like = parts
        solution = np.stack([result.x for result in results])
        return torch.as_tensor(solution, dtype=parts[0].dtype, device=parts[0].device)

    @staticmethod
    def backward(ctx: Any, gradient: Any) -> Any:
        return _Gradient.apply(ctx, gradient, *ctx.like)


class _Gradient(torch.autograd.Function):  # type: ignore[misc]
    """What `_Solve` passes back, which itself cannot be differentiated."""

    @staticmethod
    def forward(_: Any, ctx: Any, gradient: Any, *parts: Any) -> Any:
        given = gradient.detach().cpu().double().numpy()
        gradients = [Sensitivity(*pair).backward(given[k]) for k, pair in enumerate(ctx.pairs)]
        made: list[Any] = []
        for name, part, axis in zip(_NAMES, parts, ctx.axes):
            if part.numel() == 0:
                made.append(None)
                continue
            values = np.stack([getattr(own, name) for own in gradients])
            if part.dim() == axis:
                values = values.sum(axis=0)
            made.append(torch.as_tensor(values, dtype=part.dtype, device=part.device))
        return tuple(made)

    @staticmethod
    def backward(_: Any, *gradients: Any) -> Any:
        raise NotImplementedError("QPFunction: double backward is not available")


class QPFunction:
    """min x'Qx/2 + p'x subject to G x <= h, A x = b, as a function of all six.

    >>> solve = QPFunction()
    >>> x = solve(Q, p, G, h, A, b)  # doctest: +SKIP

    Each part has a first axis for the batch, or none where it is the same for all; G with h, and A
    with b, may be empty tensors. x has the batch and n. What is not optimal raises SolveError; a
    double backward raises NotImplementedError.
    """

    def __call__(self, Q: Any, p: Any, G: Any, h: Any, A: Any, b: Any) -> Any:
        return _Solve.apply(Q, p, G, h, A, b)
