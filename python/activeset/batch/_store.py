"""The store of a batch: a Zarr group with inputs and outputs in chunks along the axis of the batch.

    .zattrs             version, chunk, chain, settings; written last when a store is created
    inputs/P, q, G, …   (count, …) in chunks of `chunk` problems, or one array that all share
    outputs/x, …        (count, …) in the same chunks
    outputs/status      int8; a chunk of it is written after all others: where it is, all is done
"""

from __future__ import annotations

import math
import os
import uuid

import numpy as np
import zarr
from zarr.storage import listdir

from .._batch import OUTPUTS, solve_parts
from .._batch_parts import DIMENSIONS, Batch, shapes
from .._records import Settings
from ._errors import BatchError

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterable, Iterator, Mapping
    from typing import Any

    from numpy.typing import NDArray

    Array = NDArray[Any]

VERSION = 1
_MARK = "activeset_batch"
_NOT_DONE = -1
_CHUNK_BYTES = 16 << 20  # of inputs and outputs in a chunk, by default


class Store:
    """One store that is open. `root` is a Zarr group."""

    def __init__(self, location: Any, writable: bool = True) -> None:
        self.location = location
        try:
            self.root = zarr.open_group(location, mode="r+" if writable else "r")
        except zarr.errors.GroupNotFoundError:
            raise BatchError(f"there is no Zarr group at {location}") from None
        except ValueError as error:
            raise BatchError(f"{location} is no Zarr group: {error}") from None
        mark = self.root.attrs.get(_MARK)
        if not isinstance(mark, dict) or not isinstance(mark.get("version"), int):
            raise BatchError(f"{location} is no batch, or one whose creation was not finished")
        if mark["version"] != VERSION:
            raise BatchError(f"{location} has version {mark['version']} of the layout, this "
                             f"package reads version {VERSION}")
        try:
            self.count, self.chunk = int(mark["count"]), int(mark["chunk"])
            self.chain, self.settings = int(mark["chain"]), Settings(**mark["settings"])
            self.name = str(mark.get("name", ""))  # unique
            self.empty: list[str] = list(mark["empty"])
            self.inputs: dict[str, Any] = dict(self.root["inputs"].arrays())
            self.outputs: dict[str, Any] = dict(self.root["outputs"].arrays())
        except (KeyError, TypeError, ValueError) as error:
            raise BatchError(f"{location} is no batch: {error!r}") from None
        self._shared: dict[str, Array] = {}
        self._check()

    def _check(self) -> None:
        for name, array in self.inputs.items():
            if name not in DIMENSIONS:
                raise BatchError(f"{self.location}: a problem has no part '{name}'")
            if self.is_batched(name) and (array.shape[0], array.chunks[0]) != (
                    self.count, self.chunk):
                raise BatchError(f"{self.location}: inputs/{name} has shape {array.shape} in "
                                 f"chunks of {array.chunks[0]}, expected {self.count} problems in "
                                 f"chunks of {self.chunk}")
        for name, array in self.outputs.items():
            if (array.shape[0], array.chunks[0]) != (self.count, self.chunk):
                raise BatchError(f"{self.location}: outputs/{name} does not have the chunks of the "
                                 "inputs")
        if "status" not in self.outputs:
            raise BatchError(f"{self.location} has no outputs/status")

    @property
    def chunks(self) -> int:
        """The number of chunks."""
        return -(-self.count // self.chunk)

    def range(self, k: int) -> slice:
        """The problems of a chunk."""
        return slice(k * self.chunk, min((k + 1) * self.chunk, self.count))

    def done(self) -> list[int]:
        """The chunks whose status has been written."""
        names: Iterable[str] = listdir(self.root.store, self.outputs["status"].path)
        return sorted(int(name) for name in names if name.isdigit())

    def is_done(self, k: int) -> bool:
        status = self.outputs["status"]
        return f"{status.path}/{k}" in status.chunk_store

    def missing(self) -> list[int]:
        done = set(self.done())
        return [k for k in range(self.chunks) if k not in done]

    def forget(self) -> None:
        """Makes all chunks missing."""
        status = self.outputs["status"]
        for k in self.done():
            del status.chunk_store[f"{status.path}/{k}"]

    def is_batched(self, name: str) -> bool:
        """Whether a part has the axis of the batch."""
        return bool(self.inputs[name].ndim == DIMENSIONS[name] + 1)

    def _read(self, array: Any, where: Any, k: int | None) -> Array:
        key = f"{array.path}/{'.'.join([str(k), *['0'] * (array.ndim - 1)])}"
        if k is not None and key not in array.chunk_store:
            raise BatchError(f"{self.location}: {array.path} has no chunk {k}")
        try:
            if k is not None and _is_plain(array):
                size = where.stop - where.start
                return _mapped(os.path.join(array.chunk_store.path, key), array)[:size]
            return np.asarray(array[where])
        except (ValueError, RuntimeError) as error:
            raise BatchError(f"{self.location}: {array.path}, chunk {k}, is cut short or damaged: "
                             f"{error}") from None

    def parts(self, k: int) -> dict[str, Array]:
        """The parts of the problems in a chunk."""
        result = {}
        for name, array in self.inputs.items():
            if self.is_batched(name):
                result[name] = self._read(array, self.range(k), k)
            else:
                if name not in self._shared:
                    self._shared[name] = self._read(array, Ellipsis, None)
                result[name] = self._shared[name]
        return result

    def results(self, k: int) -> dict[str, Array]:
        """The outputs of a chunk that is done."""
        found = {name: self._read(array, self.range(k), k) for name, array in self.outputs.items()}
        empty = np.zeros((len(found["status"]), 0))
        return {**{name: empty for name in self.empty}, **found}

    def write(self, k: int, arrays: Mapping[str, Array]) -> None:
        """Writes a whole chunk, the status last."""
        for name, array in self.outputs.items():
            if name != "status":
                array[self.range(k)] = arrays[name]
        self.outputs["status"][self.range(k)] = arrays["status"].astype(np.int8)

    def solve(self, parts: Mapping[str, Array], threads: int,
              spare: Mapping[str, Array] | None = None) -> dict[str, Array]:
        """The outputs of the problems of one chunk, in the memory of others that are written."""
        batch = Batch(parts)
        if spare is None or len(spare["status"]) < batch.count:
            own = shapes(batch)
            spare = {name: np.empty((batch.count, *own[name][0]), own[name][1])
                     for name in self.outputs}
        arrays = {name: array[:batch.count] for name, array in spare.items()}
        solve_parts(batch, arrays, threads, self.chain, self.settings, None, None)
        return arrays


def _is_plain(array: Any) -> bool:
    """Whether the chunks are files that have the numbers as they are in memory."""
    return (type(array.chunk_store) is zarr.DirectoryStore and array.compressor is None
            and not array.filters and array.order == "C" and array.dtype.isnative)


def _mapped(file: str, array: Any) -> Array:
    """The chunk in a file, without a copy."""
    wanted = math.prod(array.chunks) * array.dtype.itemsize
    if os.path.getsize(file) != wanted:
        raise ValueError(f"{os.path.getsize(file)} bytes, expected {wanted}")
    return np.asarray(np.memmap(file, array.dtype, "r", shape=array.chunks))


def make(location: Any, parts: Mapping[str, Any], chunk: int | None, chain: int,
         settings: Settings, outputs: Iterable[str]) -> None:
    """Creates a store and fills its inputs, a chunk at a time."""
    given = {name: _sized(part) for name, part in parts.items() if part is not None}
    one = Batch({name: part[:1] if part.ndim == DIMENSIONS[name] + 1 else part[...]
                 for name, part in given.items()})
    counts = {name: int(given[name].shape[0]) for name in sorted(one.batched)}
    count = max(counts.values())
    if min(counts.values()) != count:
        raise ValueError(f"the parts have different numbers of problems: {counts}")
    wanted = {"status", *outputs}
    if wanted - set(OUTPUTS):
        raise ValueError(f"there are no outputs {sorted(wanted - set(OUTPUTS))}, only {OUTPUTS}")
    chunk = _chunk(one, wanted, count, chain) if chunk is None else chunk
    if chunk < 1 or (chain > 1 and chunk % chain):
        raise ValueError(f"chunk is {chunk}, expected a multiple of the chain, {max(chain, 1)}")
    try:
        root = zarr.open_group(location, mode="w-")
    except zarr.errors.ContainsGroupError:
        raise BatchError(f"{location} exists; open it, or remove it first") from None
    plain = {"compressor": None, "write_empty_chunks": True}
    inputs, found = root.create_group("inputs"), root.create_group("outputs")
    own = shapes(one)
    empty = [name for name in OUTPUTS if name in wanted and 0 in own[name][0]]
    for name, (shape, kind) in own.items():
        if name in wanted and name not in empty:
            is_status = name == "status"
            found.create_dataset(name, shape=(count, *shape), chunks=(chunk, *shape),
                                 dtype=np.int8 if is_status else kind,
                                 fill_value=_NOT_DONE if is_status else 0, **plain)
    for name, part in given.items():
        _fill(inputs, name, part, chunk if name in one.batched else None, plain)
    root.attrs[_MARK] = {"version": VERSION, "count": count, "chunk": chunk, "chain": chain,
                         "settings": settings._asdict(), "empty": empty, "name": uuid.uuid4().hex}


def _sized(part: Any) -> Any:
    """The data with a shape and slices. Arrays of dask and zarr and memory maps stay."""
    return part if hasattr(part, "shape") and hasattr(part, "__getitem__") and not hasattr(
        part, "iloc") and not hasattr(part, "nnz") else np.asarray(part, dtype=np.float64)


def _chunk(one: Batch, outputs: Iterable[str], count: int, chain: int) -> int:
    each = sum(one.parts[name].nbytes for name in one.batched) + sum(
        int(np.prod(shape)) * np.dtype(kind).itemsize
        for name, (shape, kind) in shapes(one).items() if name in outputs)
    chain = max(chain, 1)
    return int(-(-min(max(_CHUNK_BYTES // each, 1), count) // chain) * chain)


def _fill(inputs: Any, name: str, part: Any, chunk: int | None, plain: Mapping[str, Any]) -> None:
    shape = tuple(int(size) for size in part.shape)
    chunks = shape if chunk is None else (chunk, *shape[1:])
    array = inputs.create_dataset(name, shape=shape, dtype=np.float64, fill_value=np.nan,
                                  chunks=tuple(max(size, 1) for size in chunks) or False, **plain)
    for where in _slices(shape, chunk):
        array[where] = np.asarray(part[where], dtype=np.float64)


def _slices(shape: tuple[int, ...], chunk: int | None) -> Iterator[Any]:
    if chunk is None:
        yield Ellipsis
    else:
        for first in range(0, shape[0], chunk):
            yield slice(first, min(first + chunk, shape[0]))
