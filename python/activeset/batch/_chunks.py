"""Chunks of a store, one after another: the next is read and the last one written meanwhile."""

from __future__ import annotations

from concurrent.futures import ThreadPoolExecutor

from ._errors import BatchError

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Callable, Sequence
    from concurrent.futures import Future

    from ._store import Array, Store


def solve_chunks(store: Store, chunks: Sequence[int], threads: int,
                 told: Callable[[int, int], object] | None = None) -> None:
    """Solves chunks with `threads` threads. `told` gets the number of finished chunks and of all.

    Raises BatchError where a chunk cannot be read or written; those before it stay done.
    """
    if not chunks:
        return
    with ThreadPoolExecutor(1) as reader, ThreadPoolExecutor(1) as writer:
        coming = reader.submit(store.parts, chunks[0])
        going: Future[None] | None = None
        spare: dict[str, Array] | None = None  # memory of what has been written
        last: dict[str, Array] | None = None
        for number, k in enumerate(chunks):
            parts = coming.result()
            if number + 1 < len(chunks):
                coming = reader.submit(store.parts, chunks[number + 1])
            arrays = store.solve(parts, threads, spare)
            _finish(store, going)
            spare, last = last, arrays
            going = writer.submit(store.write, k, arrays)
            if told is not None:
                told(number, len(chunks))
        _finish(store, going)


def _finish(store: Store, writing: Future[None] | None) -> None:
    if writing is not None:
        try:
            writing.result()
        except OSError as error:
            raise BatchError(f"{store.location}: a chunk could not be written: {error}; chunks "
                             "that are done stay done") from error
