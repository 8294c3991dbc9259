"""Quadratic programs as layers of PyTorch: `QPFunction` solves forward, differentiates backward.

The derivative is that of the exact optimum, from its working set; see `activeset.Sensitivity`.
"""

from __future__ import annotations

import torch

from ._batch import solve_batch
from ._faults import ProblemError
from ._result import SolveError

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

_NAMES = ("P", "q", "G", "h", "A", "b")
_AXES = (2, 1, 2, 1, 2, 1)  # of one problem


class _Solve(torch.autograd.Function):  # type: ignore[misc]
    """Solves a batch of problems. Each part has an axis of the batch in front, or is shared."""

    @staticmethod
    def forward(ctx: Any, *parts: Any) -> Any:
        arrays: list[Any] = [None if part.numel() == 0 else part.detach().cpu().double().numpy().copy()
                             for part in parts]
        if all(array is None or array.ndim <= axis for array, axis in zip(arrays, _AXES)):
            arrays[1] = arrays[1][None]  # a batch of one
        given: dict[str, Any] = dict(zip(_NAMES, arrays))
        try:
            solved = solve_batch(**given, progress=False, out=("x", "y", "z", "z_box", "obj"))
        except ProblemError as error:
            raise ValueError(f"QPFunction: {error}") from None
        for k in solved.failed:
            solved.problem(k).solve().raise_for_status()
            raise SolveError(f"QPFunction: problem {k} is {solved.statuses[solved.status[k]]}")
        ctx.solved = solved
        ctx.like = parts
        return torch.tensor(solved.x, dtype=parts[0].dtype, device=parts[0].device)

    @staticmethod
    def backward(ctx: Any, gradient: Any) -> Any:
        return _Gradient.apply(ctx, gradient, *ctx.like)


class _Gradient(torch.autograd.Function):  # type: ignore[misc]
    """The gradient that `_Solve` passes back. It cannot be differentiated once more."""

    @staticmethod
    def forward(_: Any, ctx: Any, gradient: Any, *parts: Any) -> Any:
        gradients = ctx.solved.backward(gradient.detach().cpu().double().numpy())
        made: list[Any] = []
        for name, part in zip(_NAMES, parts):
            if part.numel() == 0:
                made.append(None)
                continue
            values = getattr(gradients, name).reshape(tuple(part.shape))
            made.append(torch.as_tensor(values, dtype=part.dtype, device=part.device))
        return tuple(made)

    @staticmethod
    def backward(_: Any, *gradients: Any) -> Any:
        raise NotImplementedError("QPFunction: double backward is not available")


class QPFunction:
    """min x'Qx/2 + p'x subject to G x <= h, A x = b, as a function of all six.

    >>> solve = QPFunction()
    >>> x = solve(Q, p, G, h, A, b)  # doctest: +SKIP

    Each part has a first axis that counts the problems, or is shared without it. G with h, and A
    with b, may be empty tensors. x has shape (count, n). Raises SolveError if a problem has no
    optimum, and NotImplementedError for a second derivative.
    """

    def __call__(self, Q: Any, p: Any, G: Any, h: Any, A: Any, b: Any) -> Any:
        return _Solve.apply(Q, p, G, h, A, b)
