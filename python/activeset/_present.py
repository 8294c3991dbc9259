"""Results for readers: text, HTML, JSON."""

from __future__ import annotations

from html import escape

import numpy as np

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from ._result import Result

_SHOWN = 6  # entries of a vector


def _vector(values: np.ndarray[Any, Any], names: tuple[str, ...] | None) -> str:
    shown = [f"{value:.6g}" for value in values[:_SHOWN]]
    if names is not None:
        shown = [f"{name}={value}" for name, value in zip(names, shown)]
    more = f", ... {values.size} in all" if values.size > _SHOWN else ""
    return f"({', '.join(shown)}{more})"


def _lines(result: Result) -> list[tuple[str, str]]:
    lines = [("status", result.message)]
    if result.x.size:
        working = result.working_set
        rows = (working.equalities.size + working.rows_at_lower.size + working.rows_at_upper.size)
        bounds = working.at_lower.size + working.at_upper.size + working.fixed.size
        residuals = ", ".join(
            f"{name} {residual.relative:.1e}"
            for name, residual in zip(result.certificate._fields, result.certificate))
        row_names = result.row_names
        split = result.z.size
        lines += [
            ("objective", f"{result.obj:.10g}"),
            ("x", _vector(result.x, result.names)),
            ("z", _vector(result.z, row_names[:split] if row_names else None)),
            ("y", _vector(result.y, row_names[split:] if row_names else None)),
            ("active", f"{rows} rows, {bounds} bounds"),
            ("relative residuals", residuals),
        ]
    lines.append(("time", f"{result.times.total:.3g} s, {result.iterations.total} iterations"))
    return lines


def text(result: Result) -> str:
    """Some eight lines."""
    lines = _lines(result)
    width = max(len(name) for name, _ in lines)
    return "Result\n" + "\n".join(f"  {name:<{width}}  {value}" for name, value in lines)


def html(result: Result) -> str:
    """The same as a table."""
    rows = "".join(f"<tr><th style='text-align:left'>{name}</th>"
                   f"<td style='text-align:left'>{escape(value)}</td></tr>"
                   for name, value in _lines(result))
    return f"<table>{rows}</table>"


def _plain(value: Any) -> Any:
    """JSON has no infinity and no NaN: those are strings, as float() reads them."""
    if isinstance(value, np.ndarray):
        return [_plain(entry) for entry in value.tolist()]
    if hasattr(value, "_asdict"):
        return {name: _plain(entry) for name, entry in value._asdict().items()}
    if isinstance(value, tuple):
        return [_plain(entry) for entry in value]
    if isinstance(value, float) and not np.isfinite(value):
        return str(value)
    return value


def dictionary(result: Result) -> dict[str, Any]:
    """All parts by name."""
    parts = ("found", "x", "y", "z", "z_box", "obj", "working_set", "certificate", "farkas",
             "direction", "direction_residual", "hessian_shift", "iterations", "times", "message", "names",
             "row_names", "was_predicted", "exit_code")
    plain = {name: _plain(getattr(result, name)) for name in parts}
    return {"status": result.status.value, **plain}
