"""Small immutable records; their types are in _records.pyi."""

from __future__ import annotations

from operator import itemgetter

import numpy as np


class Record(tuple):
    """A tuple with names for its entries. It is made in a fraction of a namedtuple's import time,
    is equal where its arrays are, and its pickles pass between versions with other fields."""

    __slots__ = ()
    _fields = ()
    _defaults = {}

    def __init_subclass__(cls, fields, defaults=()):
        cls._fields = tuple(fields.split())
        cls._defaults = dict(zip(cls._fields[len(cls._fields) - len(defaults):], defaults))
        for position, name in enumerate(cls._fields):
            setattr(cls, name, property(itemgetter(position)))

    def __new__(cls, *args, **kwargs):
        names = cls._fields
        if len(args) > len(names):
            raise TypeError(f"{cls.__name__} has {len(names)} fields ({len(args)} given)")
        values = {**cls._defaults, **dict(zip(names, args))}
        for name, value in kwargs.items():
            if name not in names or name in names[:len(args)]:
                raise TypeError(f"{cls.__name__} got an unexpected argument '{name}'")
            values[name] = value
        missing = [name for name in names if name not in values]
        if missing:
            raise TypeError(f"{cls.__name__} needs {', '.join(missing)}")
        return tuple.__new__(cls, [values[name] for name in names])

    def _asdict(self):
        return dict(zip(self._fields, self))

    def _replace(self, **changes):
        return type(self)(**{**self._asdict(), **changes})

    def __eq__(self, other):
        if type(other) is not type(self):
            return NotImplemented
        return all(np.array_equal(a, b) if isinstance(a, np.ndarray) else a == b
                   for a, b in zip(self, other))

    def __ne__(self, other):
        equal = self.__eq__(other)
        return equal if equal is NotImplemented else not equal

    def __hash__(self):
        return tuple.__hash__(self)

    def __repr__(self):
        fields = ", ".join(f"{name}={value!r}" for name, value in self._asdict().items())
        return f"{type(self).__name__}({fields})"

    def __reduce__(self):
        return _restore, (type(self), self._asdict())


def _restore(cls, fields):
    """Restores a pickle of this or another version."""
    return cls(**{name: value for name, value in fields.items() if name in cls._fields})


class Residual(Record, fields="absolute relative"):
    """A residual: `absolute`, and `relative` to the size of the terms of its sum."""

    __slots__ = ()


class Certificate(Record, fields="primal dual gap"):
    """Residuals of a point and its multipliers, computed from the data in extended precision.

    Attributes
    ----------
    primal : Residual
        Largest violation of a row or bound.
    dual : Residual
        Largest entry of P x + q + G'z + A'y + z_box; multipliers of the wrong sign count as 0.
    gap : Residual
        Primal minus dual objective.
    """

    __slots__ = ()

    def holds(self, tol):
        """True if all three relative residuals are at most `tol`."""
        return all(residual.relative <= tol for residual in self)


class ViolatedSides(Record, fields="rows_at_lower rows_at_upper at_lower at_upper"):
    """Soft sides that a point violates, numbered as in WorkingSet."""

    __slots__ = ()


class WorkingSet(Record, fields="equalities rows_at_lower rows_at_upper at_lower at_upper fixed "
                                "soft_violated", defaults=(None,)):
    """Active constraints, as 0-based ascending integer arrays.

    Rows are numbered from 0, those of G before those of A. Rows with equal sides are in
    `equalities`, variables with equal bounds in `fixed`. Violated soft sides are not active: they
    are in `soft_violated`, a ViolatedSides, or None if there are none.
    """

    __slots__ = ()

    @classmethod
    def of(cls, parts):
        """From the arrays in the order of the fields, as the solver hands them on."""
        *arrays, violated = parts
        return cls(*arrays, None if violated is None else ViolatedSides(*violated))

    def mask(self, n):
        """Per variable of n: -1 at the lower bound, 1 at the upper one or fixed, 0 otherwise."""
        mask = np.zeros(n, dtype=np.int64)
        mask[self.at_lower] = -1
        mask[self.at_upper] = 1
        mask[self.fixed] = 1
        return mask


class WarmStart(Record, fields="x working_set", defaults=(None,)):
    """A start for a similar problem: a point, and a WorkingSet or None."""

    __slots__ = ()


class Farkas(Record, fields="y z z_box residual value radius"):
    """Multipliers which show that no point is feasible.

    G'z + A'y + z_box = 0 up to `residual`, but the sum of the sides, weighted by the multipliers,
    is `value`, which is negative. So no x with ``sum(abs(x))`` below `radius` is feasible. Signs and
    shapes are those of Result.
    """

    __slots__ = ()


class Marginals(Record, fields="ineqlin eqlin lower upper"):
    """Derivatives of the optimal value by h (or l), b, lb and ub: SciPy's signs."""

    __slots__ = ()


class Iterations(Record, fields="phase_one main prediction dual proximal refinement"):
    """Counts of work: passes of both phases of the active-set method, rounds of guessing the
    working set, steps of the dual method, proximal subproblems, corrections."""

    __slots__ = ()

    @property
    def total(self):
        """Passes, rounds and dual steps together."""
        return self.phase_one + self.main + self.prediction + self.dual


class Times(Record, fields="setup solve polish total"):
    """Seconds."""

    __slots__ = ()


class Fault(Record, fields="name index value text count", defaults=(1,)):
    """A fault in the data: the name of the part, the 0-based index of the entry (empty for the
    whole part), its value, a line of text, and the number of faults that this one stands for."""

    __slots__ = ()

    def __str__(self):
        return self.text


class Progress(Record, fields="iteration phase_one objective violation active step working_set",
               defaults=(None,)):
    """The argument of a callback after every pass: the number of passes, whether the solve still
    looks for a feasible point, objective and largest violation, the size of the working set, the
    norm of the step, and the working set, a WorkingSet."""

    __slots__ = ()


class Settings(Record, fields="tolerance start max_iterations time_limit convexity_tolerance "
               "keep_factors", defaults=(1e-9, "automatic", None, None, None, False)):
    """Tolerance, limits and start of a solve.

    Attributes
    ----------
    tolerance : float
        Largest relative residual of an optimum; greater than 0, at most 1. Default 1e-9.
    start : {"automatic", "predict", "cold"}
        Whether the working set is predicted first. "automatic" does so unless there is a callback
        or a limit of iterations.
    max_iterations : int or None
        Largest number of passes; None is a default that ordinary problems do not reach.
    time_limit : float or None
        Limit in seconds.
    convexity_tolerance : float or None
        Largest shift of the diagonal of P that may make it convex, relative to the norm of P; None
        is the default, 1e-6.
    keep_factors : bool
        Whether the result of `solve_qp` or `Problem.solve` keeps a copy of the problem and its
        factors, which makes `Result.backward` and `Sensitivity` faster.
    """

    __slots__ = ()


class Conflict(Record, fields="found minimal rows_at_lower rows_at_upper at_lower at_upper text"):
    """Sides of rows and bounds that contradict one another, as 0-based integer arrays.

    If `found`, no point satisfies all of them. If `minimal`, the others are feasible without any
    one of them. Rows are numbered from 0, those of G first. `text` has a line for each side, with
    its value.
    """

    __slots__ = ()

    def __bool__(self):
        return self.found

    def __str__(self):
        return self.text or "no sides that contradict one another were found"
