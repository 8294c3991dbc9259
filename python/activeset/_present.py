"""Results for readers: text, HTML, JSON."""

from __future__ import annotations

from html import escape

import numpy as np

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from ._result import Result

_SHOWN = 6  # entries of a vector
_LEAST = 1e-16  # smaller residuals are shown as "below" it


def _vector(values: np.ndarray[Any, Any], names: tuple[str, ...] | None) -> str:
    shown = [f"{value:.6g}" for value in values[:_SHOWN]]
    if names is not None:
        shown = [f"{name}={value}" for name, value in zip(names, shown)]
    more = f", ... {values.size} in all" if values.size > _SHOWN else ""
    return f"({', '.join(shown)}{more})"


def _count(number: int, what: str) -> str:
    return f"{number} {what}{'' if number == 1 else 's'}"


def _residual(value: float) -> str:
    return f"{value:.1e}" if value == 0.0 or value >= _LEAST else f"below {_LEAST:.0e}"


def _point(result: Result) -> list[tuple[str, str]]:
    working = result.working_set
    rows = working.equalities.size + working.rows_at_lower.size + working.rows_at_upper.size
    bounds = working.at_lower.size + working.at_upper.size + working.fixed.size
    residuals = ", ".join(f"{name} {_residual(residual.relative)}" for name, residual in
                          zip(result.certificate._fields, result.certificate))
    split = result.z.size
    names = result.row_names
    multipliers = [("z", result.z, names[:split] if names else None),
                   ("y", result.y, names[split:] if names else None)]
    return [
        ("objective", f"{result.obj:.10g}"),
        ("x", _vector(result.x, result.names)),
        *((name, _vector(values, own)) for name, values, own in multipliers if values.size),
        ("active", f"{_count(rows, 'row')}, {_count(bounds, 'bound')}"),
        *([] if working.soft_violated is None else
          [("violated", _count(sum(map(len, working.soft_violated)), "soft side"))]),
        ("relative residuals", residuals),
    ]


def _proof(result: Result) -> list[tuple[str, str]]:
    """The proof that there is no optimum. The point at which the solve ended proves nothing."""
    if result.farkas is not None:
        weighed = np.count_nonzero(result.farkas.z) + np.count_nonzero(result.farkas.y)
        bounds = np.count_nonzero(result.farkas.z_box)
        return [("proof", f"weights of {_count(int(weighed), 'row')} and "
                          f"{_count(int(bounds), 'bound')} that add up to a contradiction")]
    if result.direction is not None:
        return [("direction", _vector(result.direction, result.names))]
    return []


def _lines(result: Result) -> list[tuple[str, str]]:
    has_proof = result.farkas is not None or result.direction is not None
    shown = _proof(result) if has_proof else _point(result) if result.x.size else []
    return [("status", result.message), *shown,
            ("time", f"{result.times.total:.3g} s, "
                     f"{_count(result.iterations.total, 'iteration')}")]


def text(result: Result) -> str:
    """The result in some eight lines."""
    lines = _lines(result)
    width = max(len(name) for name, _ in lines)
    return "Result\n" + "\n".join(f"  {name:<{width}}  {value}" for name, value in lines)


def html(result: Result) -> str:
    """The result as a table of HTML."""
    rows = "".join(f"<tr><th style='text-align:left'>{name}</th>"
                   f"<td style='text-align:left'>{escape(value)}</td></tr>"
                   for name, value in _lines(result))
    return f"<table>{rows}</table>"


def _plain(value: Any) -> Any:
    """The value for JSON. Infinity and NaN become strings that float() reads."""
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
    """All parts of the result by name."""
    parts = ("found", "x", "y", "z", "z_box", "obj", "working_set", "certificate", "farkas",
             "direction", "direction_residual", "hessian_shift", "iterations", "times", "message", "names",
             "row_names", "was_predicted", "exit_code")
    plain = {name: _plain(getattr(result, name)) for name in parts}
    return {"status": result.status.value, **plain}
