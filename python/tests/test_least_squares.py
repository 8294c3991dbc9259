"""Least squares and linear programs: compared with SciPy, and as accurate as orthogonal factors."""

from fractions import Fraction

import numpy as np
import pytest
import scipy.linalg
import scipy.optimize
from hypothesis import given, settings
from hypothesis import strategies as st

import activeset


def ill_conditioned(m, n, condition, noise, seed=3):
    rng = np.random.default_rng(seed)
    U, V = (np.linalg.qr(rng.normal(size=(k, n)))[0] for k in (m, n))
    R = U * np.logspace(0, -np.log10(condition), n) @ V.T
    return R, R @ rng.normal(size=n) + noise * rng.normal(size=m)


def exact_fit(R, s):
    """The solution of R'R x = R's in rational arithmetic, rounded once."""
    R = [[Fraction(entry) for entry in row] for row in R.tolist()]
    columns = list(zip(*R))
    right = [Fraction(entry) for entry in s.tolist()]
    rows = [[sum(a * b for a, b in zip(c, d)) for d in (*columns, right)] for c in columns]
    for k, pivot in enumerate(rows):
        for other in rows:
            if other is not pivot:
                factor = other[k] / pivot[k]
                other[:] = [a - factor * b for a, b in zip(other, pivot)]
    return np.array([float(row[-1] / row[k]) for k, row in enumerate(rows)])


@pytest.mark.parametrize("condition", [1e2, 1e6, 4e9, 1e12])
@pytest.mark.parametrize("noise", [0.0, 1e-3, 1.0])
def test_without_active_bounds_the_answer_is_exact_but_for_its_last_digits(condition, noise):
    R, s = ill_conditioned(12, 5, condition, noise)
    exact = exact_fit(R, s)
    for r in (activeset.solve_ls(R, s), activeset.lsq_linear(R, s),
              activeset.solve_ls(R, s, np.ones((1, 5)), [1e14])):
        # At 1e12 the rounding of x alone changes the objective by more than the tolerance.
        assert r.found or condition == 1e12
        assert np.linalg.norm(r.x - exact) <= 1e-15 * np.linalg.norm(exact)


def test_a_point_far_from_the_solution_is_not_called_optimal():
    for seed in range(40, 110):
        R, s = ill_conditioned(12, 5, 1e12, 1e-3, seed)
        exact = exact_fit(R, s)
        r = activeset.solve_ls(R, s)
        assert not r.found or np.linalg.norm(r.x - exact) <= 1e-15 * np.linalg.norm(exact)


@settings(max_examples=60, deadline=None)
@given(seed=st.integers(0, 10**6), m=st.integers(1, 25), n=st.integers(1, 10),
       spread=st.integers(0, 6))
def test_bounds_give_what_scipy_gives(seed, m, n, spread):
    rng = np.random.default_rng(seed)
    R, s = rng.normal(size=(m, n)) * np.logspace(0, -spread, n), rng.normal(size=m)
    r = activeset.nnls(R, s)
    assert r.found and (r.x >= 0).all()
    assert np.sqrt(2 * r.obj) == pytest.approx(scipy.optimize.nnls(R, s)[1], abs=1e-9)
    bounds = -rng.random(n), rng.random(n)
    r = activeset.lsq_linear(R, s, bounds)
    other = scipy.optimize.lsq_linear(R, s, bounds, method="bvls", tol=1e-14)
    assert r.found and r.fun <= other.cost + 1e-9
    gradient = R.T @ (R @ r.x - s)
    np.testing.assert_allclose(r.z_box, -gradient, atol=1e-12)
    assert (r.active_mask * r.z_box >= 0).all()
    again = activeset.lsq_linear(R, s, scipy.optimize.Bounds(*bounds))
    np.testing.assert_array_equal(again.x, r.x)


def test_general_rows_and_weights():
    rng = np.random.default_rng(1)
    R, s, W = rng.normal(size=(9, 4)), rng.normal(size=9), rng.random(9) + 0.1
    rows = {"G": rng.normal(size=(3, 4)), "h": np.full(3, 0.1), "A": np.ones((1, 4)), "b": [1.0]}
    full = activeset.solve_ls(R, s, **rows, W=np.diag(W))
    r = activeset.solve_ls(R, s, **rows, W=W)
    qp = activeset.solve_qp((R.T * W) @ R, -(R.T * W) @ s, **rows)
    for other in (full, qp):
        np.testing.assert_allclose(r.x, other.x, atol=1e-12)
        np.testing.assert_allclose(r.z, other.z, atol=1e-10)
        np.testing.assert_allclose(r.y, other.y, atol=1e-10)
    assert r.obj == pytest.approx(0.5 * W @ (R @ r.x - s) ** 2)
    nothing = activeset.solve_ls(R, s, [[1.0, 0, 0, 0], [-1.0, 0, 0, 0]], [-1.0, -1.0])
    assert nothing.status == "infeasible" and nothing.farkas.value < 0
    for W in (np.ones(3), -np.ones(9), -np.eye(9)):
        with pytest.raises(activeset.ProblemError, match="W"):
            activeset.solve_ls(R, s, W=W)
    with pytest.raises(activeset.ProblemError, match="s has shape"):
        activeset.solve_ls(R, s[1:])
    with pytest.raises(activeset.ProblemError, match="nan"):
        activeset.nnls(R * np.nan, s)


@settings(max_examples=60, deadline=None)
@given(seed=st.integers(0, 10**6), n=st.integers(1, 6), m=st.integers(0, 6), p=st.integers(0, 1))
def test_linprog_has_scipys_conventions(seed, n, m, p):
    rng = np.random.default_rng(seed)
    x = rng.random(n)
    c, A_ub, A_eq = rng.normal(size=n), rng.normal(size=(m, n)), rng.normal(size=(p, n))
    given = dict(A_ub=A_ub, b_ub=A_ub @ x + 0.1, A_eq=A_eq, b_eq=A_eq @ x) if p and m else {}
    for bounds in (None, (0, 2), [(-1, 3)] * n, [(None, 5)] * n, np.array([[0, 1.5]] * n)):
        r = activeset.linprog(c, **given, bounds=bounds)
        other = scipy.optimize.linprog(c, **given, bounds=bounds)
        assert r.success == other.success
        if r.success:
            assert r.fun == pytest.approx(other.fun, abs=1e-8)
            assert r.marginals.ineqlin @ given.get("b_ub", np.zeros(0)) <= 1e-9 or m
            assert (r.marginals.ineqlin <= 0).all() and (r.marginals.lower >= 0).all()
            assert (r.marginals.upper <= 0).all()
        else:
            assert (r.status == "unbounded") == (other.status == 3)


def test_fits_may_be_empty_and_bounds_may_be_none():
    assert activeset.nnls(np.zeros((3, 0)), [1.0, 2.0, 2.0]).obj == 4.5
    r = activeset.lsq_linear(np.zeros((0, 2)), np.zeros(0), (1.0, [None, 3.0][1:] * 2))
    assert r.found and (r.x >= 1).all() and r.obj == 0
    assert activeset.lsq_linear([[2.0]], [1.0], (None, 0.25)).x == [0.25]


def test_linprog_marginals_are_scipys():
    given = dict(A_ub=[[1.0, 1.0], [1.0, -1.0]], b_ub=[4.0, 2.0], bounds=[(0, 2.5), (0.5, None)])
    r = activeset.linprog([-1.0, -0.5], **given)
    other = scipy.optimize.linprog([-1.0, -0.5], **given)
    for ours, theirs in zip(r.marginals, (other.ineqlin, other.eqlin, other.lower, other.upper)):
        np.testing.assert_allclose(ours, theirs.marginals, atol=1e-12)
    with pytest.raises(ValueError, match="pairs"):
        activeset.linprog([1.0], bounds=[(0, 1, 2)])


@pytest.mark.parametrize("call, text", [
    (lambda: activeset.linprog([1.0, np.nan], [[1.0, 2.0]]), r"A_ub needs b_ub$"),
    (lambda: activeset.linprog([1.0, np.nan], bounds=[]), r"^c\[1\] = nan"),
    (lambda: activeset.linprog([1.0], [[np.inf]], [1.0], names=["h"], row_names=["q"]),
     r"^A_ub\[0, 0\] \(row 'q'\) = inf"),
    (lambda: activeset.nnls([[1.0, np.nan]], [1.0]), r"^A\[0, 1\] = nan"),
    (lambda: activeset.lsq_linear([[1.0, 2.0]], [1.0, 2.0]), r"^b has shape"),
    (lambda: activeset.solve_ls([[1e300, 2.0]], [1.0]), r"^R and s"),
])
def test_faults_have_the_names_of_the_callers_arguments(call, text):
    with pytest.raises(activeset.ProblemError, match=text):
        call()
