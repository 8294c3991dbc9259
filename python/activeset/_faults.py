"""Errors about wrong data, in the terms that the caller used."""

from __future__ import annotations

import re

from ._records import Fault

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterable, Mapping, Sequence
    from typing import Any, NoReturn

_SHOWN = 10  # lines of a message
_NAN = float("nan")
_MATRICES = ("P", "G", "A", "R", "W")
_PENALTY = r"(?:row|bound)Penalty\.(?:lower|upper)(?:Linear|Quadratic)"
_ENTRY = (rf"\b(H|c|A|rowLower|rowUpper|lower|upper|start|R|s|W|weights|{_PENALTY})"
          r"\((\d+)(?:, (\d+))?\)")
_PLAIN = {"H": "P", "c": "q", "lower": "lb", "upper": "ub", "start": "x0", "weights": "W"}
_BOTH_SIDES = ("b", "soft['b']", "soft['b', quadratic]")
_SETTINGS = {"settings.timeLimit": "settings.time_limit",
             "settings.convexityTolerance": "settings.convexity_tolerance"}


class ProblemError(ValueError):
    """The data of a problem have faults; `faults` lists them all."""

    def __init__(self, faults: Iterable[Fault]) -> None:
        self.faults = list(faults)
        lines = [fault.text for fault in self.faults[:_SHOWN]]
        left = sum(fault.count for fault in self.faults[_SHOWN:])
        if left:
            lines.append(f"and {left} more")
        super().__init__("\n".join(lines))

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.faults,)


class Terms:
    """Names of the solver's parts in those of Python: its rows are those of G, then those of A."""

    def __init__(self, inequalities: int, equalities: int,
                 names: tuple[Any, Any] | None = None) -> None:
        self.inequalities = inequalities
        self.names, self.row_names = names if names is not None else (None, None)

    def part(self, name: str, row: int) -> tuple[str, int]:
        """The caller's name and row for a name and row of the solver."""
        in_g = row < self.inequalities
        if name in ("A", "rowLower", "rowUpper"):
            own = {"A": "G", "rowLower": "l", "rowUpper": "h"}[name] if in_g else (
                "A" if name == "A" else "b")
            return own, row if in_g else row - self.inequalities
        if "Penalty." in name:
            whose, side = name.split("Penalty.")
            plain = whose.replace("bound", "") + ("Lower" if side.startswith("lower") else "Upper")
            own, row = self.part(plain[0].lower() + plain[1:], row)
            kind = ", quadratic" if side.endswith("Quadratic") else ""
            return f"soft['{own}'{kind}]", row
        return _PLAIN.get(name, _SETTINGS.get(name, name)), row

    def label(self, name: str, row: int, col: int | None = None) -> str:
        """The label of an entry, as h[3], with the names of row and variable if they have names."""
        own, index = self.part(name, row)
        label = f"{own}[{index}]" if col is None else f"{own}[{index}, {col}]"
        if name in ("A", "rowLower", "rowUpper") or name.startswith("rowPenalty"):
            if self.row_names:
                label += f" (row '{self.row_names[row]}')"
        elif name != "H" and self.names:
            label += f" (variable '{self.names[row]}')"
        return label

    def text(self, text: str) -> str:
        """The solver's text with the labels of entries."""
        def relabelled(match: re.Match[str]) -> str:
            name, row, col = match.groups()
            return self.label(name, int(row), None if col is None else int(col))

        text = re.sub(_ENTRY, relabelled, text)
        if text.startswith("H is not symmetric"):
            return "P" + text[1:]
        for theirs, ours in _SETTINGS.items():
            text = text.replace(theirs, ours)
        return text

    def fault(self, name: str, row: int, col: int, value: float, text: str, count: int) -> Fault:
        own, index = self.part(name, row)
        if count > 1:
            return Fault(own, (), value, f"{count} more faults in {own} and its neighbours", count)
        position: tuple[int, ...] = (index,)
        if own in _MATRICES:
            position = (index, col)
        elif own.startswith("settings") or own == "constant":
            position = ()
        return Fault(own, position, value, self.text(text), count)


def translated(faults: Sequence[Any], inequalities: int, equalities: int,
               names: tuple[Any, Any] | None) -> list[Fault]:
    """The solver's faults in Python's terms. b is both sides of its row, but is reported once."""
    terms = Terms(inequalities, equalities, names)
    result: list[Fault] = []
    for fault in faults:
        entry = terms.fault(*fault)
        if not (entry.name in _BOTH_SIDES and any(
                entry[:2] == other[:2] and entry.count == 1 for other in result)):
            result.append(entry)
    return result


def raise_invalid(faults: Sequence[Any], inequalities: int, equalities: int,
                  names: tuple[Any, Any] | None) -> NoReturn:
    """Raises the error for faults that the solver found."""
    raise ProblemError(translated(faults, inequalities, equalities, names))


def raise_misfit(parts: Mapping[str, Any]) -> None:
    """Raises the error for parts that do not fit together, or are no arrays."""
    faults = misfits(parts)
    if faults:
        raise ProblemError(faults)


def raise_fit_misfit(parts: Mapping[str, Any]) -> None:
    """Raises the error for the parts of a fit that do not fit together, or are no arrays."""
    import numpy as np

    faults: list[Fault] = []
    shapes = _shapes({name: parts[name] for name in ("R", "s", "W") if name in parts}, faults)
    rows, n = shapes.get("R", (None, None))
    fitting: dict[str, list[tuple[Any, ...]]] = {"s": [(rows,)], "W": [(rows,), (rows, rows)]}
    for name, wanted in fitting.items():
        shape = shapes.get(name)
        if shape is not None and rows is not None and shape not in wanted:
            expected = " or ".join(str(one) for one in wanted)
            faults.append(Fault(name, (), _NAN, f"{name} has shape {shape}, expected {expected}"))
    others = {name: part for name, part in parts.items() if name not in ("R", "s", "W")}
    if n is not None:
        faults += misfits({**others, "q": np.zeros(n)})
    if faults:
        raise ProblemError(faults)


def misfits(parts: Mapping[str, Any], n: int | None = None, rows: int | None = None,
            equalities: int | None = None) -> list[Fault]:
    """All faults of type and shape. n and the rows of G and A may be known beforehand."""
    faults: list[Fault] = []
    shapes = _shapes(parts, faults)

    def fault(name: str, text: str) -> None:
        faults.append(Fault(name, (), _NAN, f"{name} {text}"))

    is_new = n is None
    if n is None:
        n = _variables(shapes)
        if n is None and not faults:
            fault("q", "is missing, and no other part says how many variables there are")
    if is_new:
        rows = shapes["G"][0] if "G" in shapes else 0 if "G" not in parts else None
        equalities = shapes["A"][0] if "A" in shapes else 0 if "A" not in parts else None
        if "G" in parts and "h" not in parts and "l" not in parts:
            fault("h", "is missing: G needs h or l")
        if "A" in parts and "b" not in parts:
            fault("b", "is missing: A needs b")
    wanted: dict[str, tuple[int | None, ...]] = {
        "P": (n, n), "q": (n,), "G": (rows, n), "A": (equalities, n), "lb": (n,), "ub": (n,),
        "h": (rows,), "l": (rows,), "b": (equalities,), "x0": (n,)}
    for name, shape in shapes.items():
        expected = wanted[name]
        if any(e is not None and e != s for e, s in zip(expected, shape)):
            text = ", ".join("any" if e is None else str(e) for e in expected)
            comma = "," if len(expected) == 1 else ""
            is_number = (isinstance(parts[name], (int, float))
                         or getattr(parts[name], "ndim", 1) == 0)
            given = "is a number, expected shape" if is_number else f"has shape {shape}, expected"
            hint = ""
            if is_number and expected[0]:
                hint = f": write np.full({expected[0]}, {parts[name]})"
            elif shape == (1, 0):
                hint = f"; an absent {name} is None"
            fault(name, f"{given} ({text}{comma}){hint}")
    if "soft" in parts and not faults and n is not None:
        from . import _soft

        try:
            absent = [side for side in _soft.SIDES if side not in parts] if is_new else []
            _soft.arrays(parts["soft"], n, rows or 0, equalities or 0, absent)
        except ProblemError as error:
            faults.extend(error.faults)
    return faults


def _shapes(parts: Mapping[str, Any], faults: list[Fault]) -> dict[str, tuple[int, ...]]:
    """The shapes of the parts that are arrays. A G or A of one dimension counts as a row."""
    from . import _convert

    shapes: dict[str, tuple[int, ...]] = {}
    for name, given in parts.items():
        if name == "soft":
            continue  # parts whose shape depends on those of others
        try:
            if name == "constant":
                float(given)
            elif name in _MATRICES:
                shape = _convert.matrix(given, name).shape
                shapes[name] = shape if len(shape) == 2 or name == "W" else (1, *shape)
            else:
                shapes[name] = _convert.vector(given, name).shape
        except ProblemError as error:
            faults.extend(error.faults)
        except (TypeError, ValueError) as error:
            faults.append(Fault(name, (), _NAN, f"{name} is no number: {error}"))
    return shapes


def _variables(shapes: Mapping[str, tuple[int, ...]]) -> int | None:
    for name in ("q", "P", "G", "A"):
        if name in shapes:
            return shapes[name][-1]
    return None


def renamed(error: ProblemError, names: Mapping[str, str]) -> ProblemError:
    """The faults in the terms of a function that has other names for the parts."""
    pattern = rf"'[^']*'|\b({'|'.join(names)})\b"  # text in quotes is the caller's

    def text(match: re.Match[str]) -> str:
        return names.get(match.group(1), match.group(0))

    return ProblemError([
        fault._replace(name=names.get(fault.name, fault.name),
                       text=re.sub(pattern, text, fault.text)) for fault in error.faults])


def raise_update_misfit(parts: Mapping[str, Any], n: int, inequalities: int,
                        equalities: int) -> None:
    """Raises the error for new parts of a Solver that do not fit into its problem."""
    faults = misfits(parts, n, inequalities, equalities)
    if faults:
        raise ProblemError(faults)


