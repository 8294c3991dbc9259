"""A batch in a store: its progress, and solving what is missing."""

from __future__ import annotations

import math

import numpy as np

from .._batch import OUTPUTS, STATUSES, BatchResult
from .._batch_parts import Batch, position
from .._many import Bar
from .._records import Settings
from ._chunks import solve_chunks
from ._errors import BatchError
from ._store import Store, make

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterable, Sequence
    from typing import Any

    from numpy.typing import NDArray

    from .._problem import Problem
    from .._result import Status


def create(store: Any, P: Any, q: Any, G: Any = None, h: Any = None, A: Any = None, b: Any = None,
           lb: Any = None, ub: Any = None, *, l: Any = None, constant: Any = None,  # noqa: E741
           x0: Any = None, chunk: int | None = None, chain: int = 0,
           outputs: Iterable[str] = OUTPUTS, settings: Settings | None = None) -> Job:
    """Put problems into a new store.

    Parameters
    ----------
    store : path, address that fsspec knows, or Zarr store
        Must not exist.
    P, q, G, h, A, b, lb, ub, l, constant, x0
        As in `solve_batch`. Arrays of dask and Zarr, and memory maps, are read chunk by chunk.
    chunk : int, optional
        Number of problems in a unit of work. By default those with 16 MB of inputs and outputs.
    chain : int
        As in `solve_batch`; a chunk has to be a multiple of it.
    outputs : names
        The outputs to keep; status is always kept.
    settings : Settings, optional

    Returns
    -------
    Job
    """
    parts = dict(P=P, q=q, G=G, h=h, A=A, b=b, lb=lb, ub=ub, l=l, constant=constant, x0=x0)
    make(store, parts, chunk, chain, Settings() if settings is None else settings, outputs)
    return Job(Store(store))


def open(store: Any) -> Job:  # noqa: A001
    """Open a store that `create` made, finished or not.

    Raises
    ------
    BatchError
        It is no such store, has another version, or its arrays do not match.
    """
    return Job(Store(store))


class Job:
    """A batch in a store. All properties are read from the store."""

    def __init__(self, store: Store) -> None:
        self.store = store

    def progress(self) -> tuple[int, int]:
        """The numbers of finished chunks and of all chunks."""
        return len(self.store.done()), self.store.chunks

    def solve(self, executor: Any = "threads", chunk: int | None = None, resume: bool = True, *,
              restart: bool = False, shard: tuple[int, int] = (1, 1), threads: int = 0,
              progress: bool = True) -> Job:
        """Solve the chunks that are not done.

        Parameters
        ----------
        executor : "threads" or dask.distributed.Client
            This process, or the workers of a cluster, which must reach the store.
        chunk : int, optional
            Number of problems in a task of a cluster, rounded up to chunks of the store. By
            default tasks take 50 ms to a second, estimated from the first ones.
        resume : bool
            False raises if any chunk is finished.
        restart : bool
            True discards finished chunks first.
        shard : pair of int
            (i, N) solves every N-th chunk from number i on, so that several jobs can share a store.
        threads : int
            Threads of this process; 0 means one per processor.
        progress : bool
            Whether long work shows a progress bar.

        Raises
        ------
        BatchError
            The store is damaged or full, or the cluster is gone. Finished chunks stay finished.
        """
        is_pair = isinstance(shard, (tuple, list)) and len(shard) == 2
        if not is_pair or not all(isinstance(part, (int, np.integer)) for part in shard) or not (
                1 <= shard[0] <= shard[1]):
            raise ValueError(f"shard is {shard!r}, expected (i, N) with i from 1 to N")
        first, number = shard
        if restart:
            self.store.forget()
        elif not resume and self.store.done():
            done, of = self.progress()
            raise BatchError(f"{self.store.location}: {done} of {of} chunks are done; resume or "
                             "restart says what shall become of them")
        missing = [k for k in self.store.missing() if k % number == first - 1]
        bar = Bar("batch", "chunk") if progress else None
        try:
            if executor == "threads":
                solve_chunks(self.store, missing, threads, bar)
            else:
                from ._cluster import solve_there

                each = None if chunk is None else max(1, math.ceil(chunk / self.store.chunk))
                solve_there(self.store, missing, executor, each, bar)
        finally:
            if bar is not None:
                bar.close(len(missing))
        return self

    @property
    def status(self) -> NDArray[Any]:
        """For each problem an index into `BatchResult.statuses`, -1 if it is not finished."""
        return np.asarray(self.store.outputs["status"][:])

    def summary(self) -> dict[Status, int]:
        """The number of finished problems for each status."""
        codes, counts = np.unique(self.status, return_counts=True)
        return {STATUSES[code]: int(count) for code, count in zip(codes, counts) if code >= 0}

    @property
    def failed(self) -> NDArray[Any]:
        """The indices of finished problems without a proved optimum."""
        return np.flatnonzero(self.status > 0)

    def problem(self, k: int) -> Problem:
        """Problem k as a Problem."""
        k = position(k, self.store.count, "problem")
        return Batch(self.store.parts(k // self.store.chunk)).problem(k % self.store.chunk)

    def result(self, chunks: Sequence[int] | None = None) -> BatchResult:
        """Problems and results of the given chunks, by default all, in memory.

        The arrays of the store, such as ``job.store.outputs["x"]``, can be read in parts instead.
        Raises IndexError for a chunk that does not exist, BatchError for one that is not finished.
        """
        count = self.store.chunks
        wanted = range(count) if chunks is None else [position(k, count, "chunk") for k in chunks]
        undone = sorted(set(wanted) - set(self.store.done()))
        if undone:
            raise BatchError(f"{self.store.location}: chunks {undone[:10]} are not done")
        found = [self.store.results(k) for k in wanted]
        parts = [self.store.parts(k) for k in wanted]
        joined = {name: part if part.ndim == self.store.inputs[name].ndim and not
                  self.store.is_batched(name) else np.concatenate([one[name] for one in parts])
                  for name, part in parts[0].items()}
        return BatchResult(Batch(joined), {
            name: np.concatenate([one[name] for one in found]) for name in found[0]})

    def __repr__(self) -> str:
        done, of = self.progress()
        counts = "".join(f", {count} {status}" for status, count in self.summary().items())
        return f"Job of {self.store.count} problems in {of} chunks: {done} done{counts}"
