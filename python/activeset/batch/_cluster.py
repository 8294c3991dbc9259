"""Works on a store with a cluster of dask.distributed. A task is a location and chunk numbers."""

from __future__ import annotations

import math
import time
from functools import lru_cache
from queue import Empty, SimpleQueue
from statistics import median

from ._chunks import solve_chunks
from ._errors import BatchError
from ._store import Store

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Sequence
    from typing import Any

    from .._many import Bar

_SHORTEST = 0.05  # seconds: the least that a task should take,
_LONGEST = 1.0  # and the most, which is what a dead worker loses
_AHEAD = 2  # tasks for each thread of the workers: one runs, one waits
_LOOK = 2.0  # seconds from one look at the workers to the next
_RETRIES = 3
_PATIENCE = 5.0  # seconds without the scheduler, until it counts as gone


@lru_cache(maxsize=8)
def _opened(location: Any, name: str) -> Store:
    store = Store(location)
    if store.name != name:
        raise BatchError(f"{location} is another store than the one to be solved")
    return store


def work(location: Any, name: str, chunks: Sequence[int]) -> float:
    """Solves chunks on a worker, with the thread of the task. Returns the seconds per chunk."""
    begin = time.perf_counter()
    store = _opened(location, name)
    left = [k for k in chunks if not store.is_done(k)]  # by a worker that died
    solve_chunks(store, left, 1)
    return (time.perf_counter() - begin) / max(len(left), 1)


class _Shares:
    """Divides chunks into tasks, one at a time. Tasks get shorter towards the end, so that no
    worker waits for another."""

    def __init__(self, chunks: Sequence[int], each: int | None) -> None:
        self.left, self.each = list(reversed(chunks)), each
        self.times: list[float] = []  # seconds per chunk of the first tasks

    def wants_times(self, threads: int) -> bool:
        return self.each is None and len(self.times) < min(_AHEAD * threads, 16)

    def take(self, threads: int) -> list[int]:
        """The chunks of the next task of a cluster with `threads` threads."""
        number = min(self._size(threads) if self.each is None else self.each, len(self.left))
        return [self.left.pop() for _ in range(number)]

    def _size(self, threads: int) -> int:
        if not self.times:
            return 1
        # The first tasks open the store and start cold, so only the faster half counts.
        typical = max(median(sorted(self.times)[:-(-len(self.times) // 2)]), 1e-6)
        # As many tasks wait as run, and the last ones should be short.
        fair = len(self.left) // ((_AHEAD + 1) * threads)
        return max(math.ceil(_SHORTEST / typical), min(math.ceil(_LONGEST / typical), fair))


def solve_there(store: Store, missing: Sequence[int], client: Any, each: int | None,
                bar: Bar | None) -> None:
    """Solves in tasks of `each` chunks. None makes tasks of 50 ms to a second."""
    total = len(missing)
    _run(store, missing, client, each, bar, total)
    left = sorted(set(missing) & set(store.missing()))
    if left:  # chunks of workers that died
        _run(store, left, client, 1, bar, total)


def _run(store: Store, chunks: Sequence[int], client: Any, each: int | None, bar: Bar | None,
         total: int) -> None:
    """Solves the chunks, which are the last ones of `total` chunks."""
    shares = _Shares(chunks, each)
    ended: SimpleQueue[Any] = SimpleQueue()
    pending: dict[Any, int] = {}
    done, threads, last_look, last_heard = total - len(chunks), 1, -_LOOK, time.monotonic()
    try:
        while pending or shares.left:
            now = time.monotonic()
            if client.status == "running":
                last_heard = now
                if now - last_look >= _LOOK:
                    threads, last_look = _threads(client), now
                while shares.left and len(pending) < _AHEAD * threads:
                    task = shares.take(threads)
                    future = client.submit(work, store.location, store.name, task, pure=False,
                                           retries=_RETRIES)
                    pending[future] = len(task)
                    future.add_done_callback(ended.put)
            elif now - last_heard > _PATIENCE:
                raise _gone(store)
            try:
                future = ended.get(timeout=0.2)
            except Empty:
                continue
            done += pending.pop(future)
            if _is_good(store, future, client) and shares.wants_times(threads):
                shares.times += _time(future)
            if bar is not None:
                bar(done, total)
    except BaseException:
        if client.status == "running":
            client.cancel(list(pending))
        raise


def _threads(client: Any) -> int:
    """The number of threads of all workers; 1 if no worker has come yet."""
    workers = client.scheduler_info()["workers"].values()
    return max(1, sum(int(worker["nthreads"]) for worker in workers))


def _time(future: Any) -> list[float]:
    """The seconds of a task that has ended, unless its worker has died since."""
    try:
        return [future.result(timeout=_PATIENCE)]
    except Exception:  # errors of many kinds; only the time is missing
        return []


def _is_good(store: Store, future: Any, client: Any) -> bool:
    """Whether the task returned its time. If its worker died, its chunks are in the store or found
    missing. Asks the scheduler only about failures: each result would be a message."""
    if future.status != "error":
        if client.status != "running" and future.status != "finished":
            raise _gone(store)
        return bool(future.status == "finished")
    error = future.exception()
    raise error if isinstance(error, BatchError) else BatchError(
        f"{store.location}: a task failed: {error!r}; what is done stays done") from error


def _gone(store: Store) -> BatchError:
    return BatchError(f"{store.location}: the scheduler has gone; {len(store.done())} of "
                      f"{store.chunks} chunks are done, solve() goes on with what is missing")
