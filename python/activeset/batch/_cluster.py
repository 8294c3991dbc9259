"""Work on a store by a cluster of dask.distributed: tasks are a location and numbers of chunks."""

from __future__ import annotations

import time
from functools import lru_cache
from queue import Empty, SimpleQueue
from statistics import median

from ._errors import BatchError
from ._store import Store

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Sequence
    from typing import Any

    from .._many import Bar

_SHORTEST = 0.05  # seconds that a task should take at least
_RETRIES = 3
_PATIENCE = 5.0  # seconds without the scheduler, until it counts as gone


@lru_cache(maxsize=8)
def _opened(location: Any) -> Store:
    return Store(location)


def work(location: Any, chunks: Sequence[int]) -> float:
    """Solves chunks with the thread of the task; seconds per chunk. Runs on a worker."""
    begin = time.perf_counter()
    store = _opened(location)
    for k in chunks:
        try:
            store.write(k, store.solve(store.parts(k), 1))
        except OSError as error:
            raise BatchError(f"{location}: chunk {k} could not be written: {error}") from None
    return (time.perf_counter() - begin) / max(len(chunks), 1)


def solve_there(store: Store, missing: Sequence[int], client: Any, each: int | None,
                bar: Bar | None) -> None:
    """Tasks of `each` chunks; None finds out how many take 50 ms."""
    total, done, wanted = len(missing), 0, missing
    if each is None:
        trial = min(total, 2 * max(1, len(client.scheduler_info()["workers"])))
        first = _run(store, [[k] for k in missing[:trial]], client, bar, 0, total)
        times = client.gather(first, errors="skip")
        missing, done = missing[trial:], trial
        # The first ones open the store and begin cold: the faster half tells.
        typical = median(sorted(times)[:max(1, len(times) // 2)]) if times else 1.0
        each = max(1, int(-(-_SHORTEST // max(typical, 1e-6))))
    tasks = [list(missing[first:first + each]) for first in range(0, len(missing), each)]
    _run(store, tasks, client, bar, done, total)
    left = sorted(set(wanted) & set(store.missing()))
    if left:  # of workers that died
        _run(store, [[k] for k in left], client, bar, total - len(left), total)


def _run(store: Store, tasks: Sequence[Sequence[int]], client: Any, bar: Bar | None, done: int,
         total: int) -> list[Any]:
    """Futures of tasks that have ended well."""
    ended: SimpleQueue[Any] = SimpleQueue()
    futures = {client.submit(work, store.location, task, pure=False, retries=_RETRIES): len(task)
               for task in tasks}
    for future in futures:
        future.add_done_callback(ended.put)
    good: list[Any] = []
    last_heard = time.monotonic()
    try:
        while futures:
            try:
                future = ended.get(timeout=0.2)
                done += futures.pop(future)
                if _is_good(store, future, client):
                    good.append(future)
            except Empty:
                pass
            if client.status == "running":
                last_heard = time.monotonic()
            elif time.monotonic() - last_heard > _PATIENCE:
                raise _gone(store)
            if bar is not None:
                bar(done, total)
    except BaseException:
        if client.status == "running":
            client.cancel(list(futures))
        raise
    return good


def _is_good(store: Store, future: Any, client: Any) -> bool:
    """False for a task whose worker died with its time; its chunks are in the store, or are found
    missing. Asks the scheduler only about a failure: results would be a message each."""
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
