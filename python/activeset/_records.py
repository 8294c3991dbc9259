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
    """A residual as it is, and in proportion to the terms that it is the sum of."""

    __slots__ = ()


class Certificate(Record, fields="primal dual gap"):
    """What a point and its multipliers are worth, from the data alone, in extended precision.

    Attributes
    ----------
    primal : Residual
        Largest violation of a row or bound.
    dual : Residual
        Largest entry of P x + q + G'z + A'y + z_box, multipliers projected on their signs.
    gap : Residual
        Primal minus dual objective.
    """

    __slots__ = ()

    def holds(self, tol):
        """True if all three relative residuals are at most `tol`."""
        return all(residual.relative <= tol for residual in self)


class ViolatedSides(Record, fields="rows_at_lower rows_at_upper at_lower at_upper"):
    """Soft sides beyond which a point lies, numbered as in WorkingSet."""

    __slots__ = ()


class WorkingSet(Record, fields="equalities rows_at_lower rows_at_upper at_lower at_upper fixed "
                                "soft_violated", defaults=(None,)):
    """Constraints that hold with equality, as 0-based ascending integer arrays.

    Rows are numbered through: those of G first, then those of A. Rows whose sides are equal are in
    `equalities`, variables whose bounds are equal in `fixed`. Soft sides that are violated do not
    hold: they are in `soft_violated`, ViolatedSides or, where there are none, None.
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

    G'z + A'y + z_box = 0 up to `residual`, yet the sides that they weigh add up to `value`, which
    is negative. No x whose sizes add up to less than `radius` is feasible. Signs and shapes as in
    Result.
    """

    __slots__ = ()


class Marginals(Record, fields="ineqlin eqlin lower upper"):
    """Derivatives of the optimal value by h (or l), b, lb and ub: SciPy's signs."""

    __slots__ = ()


class Iterations(Record, fields="phase_one main prediction dual proximal refinement"):
    """How often what was done: passes of both phases of the active-set method, rounds of guessing
    the working set, steps of the dual method, proximal subproblems, corrections."""

    __slots__ = ()

    @property
    def total(self):
        """Passes, rounds and dual steps together."""
        return self.phase_one + self.main + self.prediction + self.dual


class Times(Record, fields="setup solve polish total"):
    """Seconds."""

    __slots__ = ()


class Fault(Record, fields="name index value text count", defaults=(1,)):
    """One mistake in the data: the part's name, the 0-based index of the entry (empty for the part
    as a whole), its value, a line of text, and the number of mistakes that it stands for."""

    __slots__ = ()

    def __str__(self):
        return self.text


class Progress(Record, fields="iteration phase_one objective violation active step working_set",
               defaults=(None,)):
    """What a callback is told after every pass: passes so far, whether it looks for a feasible
    point, objective and largest violation there, size of the working set, norm of the step, and
    the working set itself, a WorkingSet."""

    __slots__ = ()


class Settings(Record, fields="tolerance start max_iterations time_limit convexity_tolerance "
               "keep_factors", defaults=(1e-9, "automatic", None, None, None, False)):
    """How a solve goes.

    Attributes
    ----------
    tolerance : float
        Relative size up to which residuals support "optimal"; more than 0, at most 1.
    start : {"automatic", "predict", "cold"}
        Whether a prediction of the working set comes first; "automatic" leaves it out for a
        callback or a limit of iterations.
    max_iterations : int or None
    time_limit : float or None
        Seconds.
    convexity_tolerance : float or None
        Negative curvature of P that counts as rounding, relative; None is the solver's default.
    keep_factors : bool
        Whether the result of `solve_qp` or `Problem.solve` keeps a copy of the problem and its
        factors, from which `Result.backward` and `Sensitivity` take less time.
    """

    __slots__ = ()


class Conflict(Record, fields="found minimal rows_at_lower rows_at_upper at_lower at_upper text"):
    """Sides of rows and bounds that contradict one another, as 0-based integer arrays.

    `found` says that no point satisfies all of them, `minimal` that none can be left out. Rows are
    numbered through, those of G first. `text` names each with its value, one a line.
    """

    __slots__ = ()

    def __bool__(self):
        return self.found

    def __str__(self):
        return self.text or "no sides that contradict one another were found"
