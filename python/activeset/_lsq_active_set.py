"""Least squares with linear constraints by orthogonal factors alone.

A primal active-set method on ``min |T x - t|`` in which every step is a least-squares problem in the
null space of the working set (Lawson and Hanson, Solving Least Squares Problems, chapters 20 to
23), so that the condition of T is never squared. It begins at a feasible point and a guess of the
working set, which mostly is the solution's.
"""

from __future__ import annotations

import numpy as np

TYPE_CHECKING = False
if TYPE_CHECKING:
    from numpy.typing import NDArray

    Vector = NDArray[np.float64]

_EPS = float(np.finfo(np.float64).eps)
_ROUNDS = 2  # of refinement at the end at most, as residuals in doubles allow no more
_NEAR = 1e-8  # a relative correction below this leaves nothing to the next one


class Constraints:
    """Two-sided rows; the last n of them are the bounds, whose matrix is the identity."""

    def __init__(self, rows: Vector, lower: Vector, upper: Vector, n: int) -> None:
        self.rows = rows
        self.lower = lower
        self.upper = upper
        self.n = n

    @property
    def general(self) -> int:
        """The number of rows that are no bounds."""
        return len(self.rows)

    def values(self, x: Vector) -> Vector:
        """All rows times x."""
        return np.concatenate([self.rows @ x, x])

    def matrix(self, members: NDArray[np.int64]) -> Vector:
        """Members of a working set, row by row."""
        general = members[members < self.general]
        bounds = members[members >= self.general] - self.general
        return np.concatenate([self.rows[general], np.eye(self.n)[bounds]])


class Solve:
    """One solve; `sides` has -1, 1 and 0 for rows at the lower side, at the upper side and free."""

    def __init__(self, T: Vector, t: Vector, constraints: Constraints, x: Vector,
                 sides: NDArray[np.int64]) -> None:
        self.T, self.t, self.constraints, self.x = T, t, constraints, x.copy()
        self.sides = sides.copy()
        self.fixed = constraints.lower == constraints.upper
        self.sides[self.fixed] = 1
        self.multipliers = np.zeros(len(sides))
        self.steps = 0

    def run(self) -> bool:
        """True if the end satisfies the conditions of an optimum, as far as rounding lets it."""
        most = 3 * (len(self.sides) + self.constraints.n)
        for self.steps in range(1, most + 1):
            self._keep_independent()
            target = self._minimum()
            blocking, length = self._ratio_test(target - self.x)
            if blocking is not None and length < 1.0:
                self.x += length * (target - self.x)
                self.sides[blocking] = np.sign(self.constraints.values(target - self.x)[blocking])
                continue
            last, self.x = self.x, target
            self._find_multipliers()
            wrong = self._wrong_sign()
            if wrong is None:
                self._refine(last)
                self.multipliers[self._wrongness() > 0] = 0.0  # by rounding only
                return True
            self.sides[wrong] = 0
        return False

    def _refine(self, last: Vector) -> None:
        for _ in range(_ROUNDS):
            if np.abs(self.x - last).max() <= _NEAR * np.abs(self.x).max():
                return
            last, self.x = self.x, self._minimum()
            self._find_multipliers()

    def _members(self) -> NDArray[np.int64]:
        """Equalities first, in ascending order, general rows before bounds."""
        return np.flatnonzero(self.sides)

    def _keep_independent(self) -> None:
        """Leaves members out that depend on those before them, equalities last."""
        members = self._members()
        if members.size == 0 or members[0] >= self.constraints.general:
            return  # bounds are independent
        members = members[np.argsort(~self.fixed[members], kind="stable")]
        matrix = self.constraints.matrix(np.sort(members))
        order = np.argsort(np.argsort(members))
        matrix = matrix[order]
        scale = np.linalg.norm(matrix, axis=1)
        scaled = matrix / np.where(scale > 0, scale, 1)[:, None]
        triangle: Vector = np.linalg.qr(scaled.T)[1]
        diagonal = np.zeros(len(members))
        size = min(triangle.shape)
        diagonal[:size] = np.abs(np.diag(triangle)[:size])
        dependent = members[diagonal <= 100 * self.constraints.n * _EPS]
        self.sides[dependent] = 0

    def _minimum(self) -> Vector:
        """The minimiser with the working set at its sides, nearest to x where it is not unique."""
        members = self._members()
        x = self.x
        residual = self.t - self.T @ x
        if members.size == 0:
            return x + np.linalg.lstsq(self.T, residual, rcond=None)[0]
        values = self.constraints.values(x)[members]
        wanted = np.where(self.sides[members] > 0, self.constraints.upper[members],
                          self.constraints.lower[members])
        if members[0] >= self.constraints.general:  # bounds alone: the null space is the rest
            x = x.copy()
            x[members - self.constraints.general] = wanted
            free = self.sides[self.constraints.general:] == 0
            if free.any():
                residual = self.t - self.T @ x
                x[free] += np.linalg.lstsq(self.T[:, free], residual, rcond=None)[0]
            return x
        Q, R = np.linalg.qr(self.constraints.matrix(members).T, mode="complete")
        k = members.size
        x = x + Q[:, :k] @ np.linalg.solve(R[:k].T, wanted - values)
        Z = Q[:, k:]
        if Z.shape[1]:
            residual = self.t - self.T @ x
            x = x + Z @ np.linalg.lstsq(self.T @ Z, residual, rcond=None)[0]
        return x

    def _ratio_test(self, step: Vector) -> tuple[int | None, float]:
        """The first row that the step meets, and how much of the step it lets pass."""
        rates = self.constraints.values(step)
        values = self.constraints.values(self.x)
        free = self.sides == 0
        noise = 10 * _EPS * (np.abs(values) + 1.0)
        room = np.where(rates > 0, self.constraints.upper - values, values - self.constraints.lower)
        with np.errstate(invalid="ignore", divide="ignore"):
            ratios = np.where(free & (np.abs(rates) > noise), np.maximum(room, 0) / np.abs(rates),
                              np.inf)
        first = int(np.argmin(ratios)) if ratios.size else 0
        if not ratios.size or not np.isfinite(ratios[first]):
            return None, 1.0
        return first, float(ratios[first])

    def _find_multipliers(self) -> None:
        """Of the working set: C'multipliers = -T'(T x - t) in the sense of least squares."""
        members = self._members()
        self.multipliers[:] = 0.0
        gradient = self.T.T @ (self.T @ self.x - self.t)
        if members.size == 0:
            return
        if members[0] >= self.constraints.general:
            self.multipliers[members] = -gradient[members - self.constraints.general]
            return
        matrix = self.constraints.matrix(members)
        self.multipliers[members] = np.linalg.lstsq(matrix.T, -gradient, rcond=None)[0]

    def _wrongness(self) -> Vector:
        """The sizes of multipliers with a wrong sign, negative for others."""
        return np.where(self.fixed, 0.0, -self.multipliers * self.sides)

    def _wrong_sign(self) -> int | None:
        """The member whose multiplier is wrong by most, more than by rounding."""
        size = np.linalg.norm(np.abs(self.T) @ np.abs(self.x) + np.abs(self.t))
        noise = 10 * self.constraints.n * _EPS * size * np.linalg.norm(self.T, axis=0).max()
        wrong = self._wrongness()
        worst = int(np.argmax(wrong))
        return worst if wrong[worst] > noise else None
