"""Batches in memory give the answers of single solves, in the arrays that were asked for."""

import numpy as np
import pytest
from conftest import problem
from hypothesis import given, settings
from hypothesis import strategies as st

import activeset

NAMES = ("P", "q", "G", "h", "A", "b", "lb", "ub", "l")


def batch_of(count, batched=NAMES, seed=0, **sizes):
    """The parts of `count` problems; those in `batched` have a leading axis."""
    problems = [problem(seed + k, **sizes) for k in range(count)]
    return {name: np.stack([p[name] for p in problems]) if name in batched else problems[0][name]
            for name in NAMES}


@settings(max_examples=40, deadline=None)
@given(seed=st.integers(0, 1000), n=st.integers(1, 6), m=st.integers(0, 4), p=st.integers(0, 1),
       batched=st.sets(st.sampled_from([("P",), ("G",), ("A",), ("h", "l"), ("b",), ("lb", "ub")])),
       threads=st.integers(1, 3))
def test_each_problem_ends_as_it_does_alone(seed, n, m, p, batched, threads):
    parts = batch_of(5, {"q", *sum(batched, ())}, seed, n=n, m=m, p=p)
    r = activeset.solve_batch(**parts, threads=threads)
    for k in range(5):
        alone = r.problem(k).solve()
        assert r.statuses[r.status[k]] == alone.status
        if alone.found:
            np.testing.assert_allclose(r.x[k], alone.x, atol=1e-9)
            np.testing.assert_allclose(r.obj[k], alone.obj, atol=1e-9)
            for ours, theirs in ((r.y, alone.y), (r.z, alone.z), (r.z_box, alone.z_box)):
                assert ours[k].shape == theirs.shape
            gradient = (r.problem(k).P @ r.x[k] + r.problem(k).q + r.problem(k).G.T @ r.z[k]
                        + r.problem(k).A.T @ r.y[k] + r.z_box[k])
            assert np.abs(gradient).max() < 1e-9
    again = activeset.solve_batch(**parts, threads=1, chain=0)
    np.testing.assert_array_equal(r.x, again.x)


def test_where_nothing_is_optimal_there_is_no_objective():
    r = activeset.solve_batch(None, [[1.0], [1.0], [-1.0]], lb=[[0.0], [2.0], [0.0]], G=[[1.0]], h=[1.0],
                              out=["obj"])
    assert [r.statuses[code] for code in r.status] == ["optimal", "infeasible", "optimal"]
    np.testing.assert_array_equal(r.obj, [0.0, np.nan, -1.0])


def test_arrays_are_written_where_they_lie_and_parts_are_read_there():
    parts = batch_of(6)
    gaps = np.full((6, 9), 7.0)
    gaps[:, :4] = parts["q"]
    parts["q"] = gaps[:, :4]
    x, obj = np.full((6, 4), np.nan), np.empty(6)
    r = activeset.solve_batch(**parts, out={"x": x, "obj": obj})
    assert r.x is x and r.obj is obj and r.z is None and r.residuals is None
    assert r.found.all() and not np.isnan(x).any() and (gaps[:, 4:] == 7).all()
    assert r._batch.parts["q"].ctypes.data == gaps.ctypes.data
    only = activeset.solve_batch(**parts, out=["certificate", "z"])
    assert only.x is None and (only.residuals < 1e-9).all() and only.z.shape == (6, 5)
    chained = activeset.solve_batch(**parts, chain=3)
    np.testing.assert_allclose(chained.x, x, atol=1e-9)


def test_a_failure_stays_that_of_its_problem():
    parts = batch_of(4, p=0)
    parts["q"][1, 0] = np.nan
    parts["lb"][2] = parts["ub"][2] + 1
    r = activeset.solve_batch(parts["P"], parts["q"], lb=parts["lb"], ub=parts["ub"],
                              constant=np.arange(4.0))
    np.testing.assert_array_equal(r.failed, [1, 2])
    assert r.summary() == {"optimal": 2, "invalid": 2} and np.isnan(r.x[1]).all()
    assert r.obj[3] == r.problem(3).solve().obj
    assert "2 optimal, 2 invalid" in repr(r)
    with pytest.raises(IndexError, match="no problem 4, only 4"):
        r.problem(4)


@pytest.mark.parametrize("change, text", [
    ({"q": np.zeros(4), "h": np.zeros(5)}, "shared by all"),
    ({"q": np.zeros((5, 4))}, "has 5 problems"),
    ({"P": np.eye(3)}, r"^P has shape \(3, 3\).* as q has shape \(6, 4\)"), ({"h": None, "l": None}, "^h is missing"),
    ({"G": np.zeros(4)}, "2 or 3"), ({"q": np.zeros((6, 4), complex)}, "complex"),
    ({"out": {"x": np.empty((6, 3))}}, "out"), ({"out": {"x": np.empty((6, 4), "f4")}}, "out"),
    ({"out": {"w": None}}, "no part 'w'"), ({"threads": -1}, "0 or more"),
])
def test_what_does_not_fit_is_refused(change, text):
    parts = {**batch_of(6, {"h", "q"}), "l": None, **change}
    with pytest.raises(ValueError, match=text):
        activeset.solve_batch(**parts)


def test_outputs_must_not_overlap_inputs():
    parts = batch_of(6, {"q"})
    with pytest.raises(activeset.ProblemError, match="overlaps"):
        activeset.solve_batch(**parts, out={"x": parts["q"]})
