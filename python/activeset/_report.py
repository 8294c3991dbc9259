"""A result as the page that the command line makes of it: docs/cli.md describes the fields."""

from __future__ import annotations

import json
import os

import numpy as np

from . import _reader

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterable, Sequence
    from typing import Any

    from ._records import Progress, WorkingSet
    from ._result import Result

_KINDS = ("equalities", "rows_at_lower", "rows_at_upper", "at_lower", "at_upper", "fixed")
_WITH_POINT = ("optimal", "iteration limit", "time limit", "interrupted", "inaccurate")


def write(result: Result, path: str | os.PathLike[str], title: str,
          passes: Sequence[Progress]) -> None:
    """Replace the file by the page."""
    page = _reader.page(json.dumps([fields(result, title, passes)]))
    with open(path, "w", encoding="utf-8") as file:
        file.write(page)


def _finite(value: float) -> float | None:
    return value if np.isfinite(value) else None


def _numbers(values: Any) -> list[float | None]:
    return [_finite(value) for value in values.tolist()]


def _names(names: tuple[str, ...] | None, count: int, letter: str) -> list[str]:
    return list(names) if names else [f"{letter}{k + 1}" for k in range(count)]


def _variables(result: Result) -> int:
    """The number of variables. Without a point it follows from the proof or the names."""
    proof = [] if result.farkas is None else [result.farkas.z_box]
    arrays = [result.x, *proof, *([] if result.direction is None else [result.direction])]
    return max([array.size for array in arrays] + [len(result.names or ())])


def _proof(result: Result) -> dict[str, Any]:
    if result.farkas is not None:
        farkas = result.farkas
        return {"proved": True, "farkas": {
            "value": farkas.value, "radius": _finite(farkas.radius),
            "y": _numbers(np.concatenate((farkas.z, farkas.y))), "z": _numbers(farkas.z_box)}}
    if result.direction is not None and result.direction.size:
        return {"proved": True, "direction": {"entries": _numbers(result.direction)}}
    return {"proved": result.found}


def _point(result: Result) -> dict[str, Any]:
    residuals = result.certificate._asdict()
    point: dict[str, Any] = {"objective": _finite(result.obj)}
    for theirs, ours in (("primal_residual", "primal"), ("dual_residual", "dual"),
                         ("duality_gap", "gap")):
        point[theirs] = _finite(residuals[ours].absolute)
        point["relative_" + theirs] = _finite(residuals[ours].relative)
    return {**point, "x": _numbers(result.x),
            "y": _numbers(np.concatenate((result.z, result.y))), "z": _numbers(result.z_box),
            "working_set": _lists(result.working_set, _KINDS), **_violated(result.working_set)}


def _lists(record: Any, names: Iterable[str]) -> dict[str, list[int]]:
    return {name: getattr(record, name).tolist() for name in names}


def _violated(working_set: WorkingSet) -> dict[str, Any]:
    soft = working_set.soft_violated
    return {} if soft is None else {"soft_violated": _lists(soft, soft._fields)}


def _passes(passes: Sequence[Progress]) -> list[dict[str, Any]]:
    """Each pass, with the changes of the working set since the last one if all passes have it."""
    before: dict[str, list[int]] = {name: [] for name in _KINDS}
    tells = all(p.working_set is not None for p in passes)
    told = []
    for p in passes:
        one: dict[str, Any] = {
            "pass": p.iteration, "phase_one": p.phase_one, "objective": _finite(p.objective),
            "violation": _finite(p.violation), "active": p.active}
        if tells:
            now = _lists(p.working_set, _KINDS)
            for key, these, others in (("entering", now, before), ("leaving", before, now)):
                one[key] = {name: left for name in _KINDS
                            if (left := sorted(set(these[name]) - set(others[name])))}
            before = now
        told.append(one)
    return told


def fields(result: Result, title: str, passes: Sequence[Progress]) -> dict[str, Any]:
    """The result in the schema activeset-result/1."""
    inequalities, equalities = result._rows
    n, rows = _variables(result), inequalities + equalities
    has_point = result.status.value in _WITH_POINT and result.x.size > 0
    return {
        "schema": "activeset-result/1", "file": title, "name": "", "sense": "min",
        "variables": n, "rows": rows, "outcome": result.status.value,
        "message": result.message if not result.found or result.hessian_shift > 0 else "",
        **_proof(result), "hessian_shift": result.hessian_shift,
        "iterations": result.iterations.main, "phase_one_iterations": result.iterations.phase_one,
        "prediction_rounds": result.iterations.prediction, "dual_steps": result.iterations.dual,
        "seconds": result.times.total, "names": _names(result.names, n, "x"),
        "row_names": _names(result.row_names, rows, "r"),
        **(_point(result) if has_point else {}),
        "passes": _passes(passes)}
