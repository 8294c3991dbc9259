"""Soft sides: the forms of `soft`, in every function that solves."""

import pickle

import numpy as np
import pytest

import activeset
from activeset import Problem, ProblemError, Solver, solve_qp

EYE = np.eye(2)


def test_sides_give_way_at_their_price():
    # x - 2 + y = 0 for each, with y <= 0.5; the hard x0 + x1 <= 3 would have y = 1
    r = solve_qp(EYE, [-2.0, -3.0], [1.0, 1.0], [3.0], soft={"h": 0.5})
    assert np.allclose(r.x, [1.5, 2.5]) and np.allclose(r.z, [0.5])
    assert r.obj == pytest.approx(0.5 * (r.x @ r.x) - [2, 3] @ r.x + 0.5 * 1.0)
    assert r.working_set.soft_violated.rows_at_upper.tolist() == [0]
    assert solve_qp(EYE, [-2.0, -3.0], [1.0, 1.0], [3.0]).working_set.soft_violated is None
    # x = (2, 3) - v and v = x0 + x1 - 3
    curved = solve_qp(EYE, [-2.0, -3.0], [1.0, 1.0], [3.0], soft={"h": (None, 1.0)})
    assert np.allclose(curved.z, [2 / 3]) and np.allclose(curved.x, [4 / 3, 7 / 3])


def test_every_side_has_its_rows():
    # The objective pulls one variable to 0; each side pushes it elsewhere.
    for side, parts, x in (("l", {"G": [[1.0]], "l": [2.0]}, 0.5), ("lb", {"lb": [2.0]}, 0.5),
                           ("b", {"A": [[1.0]], "b": [2.0]}, 0.5),
                           ("b", {"A": [[1.0]], "b": [-2.0]}, -0.5),
                           ("h", {"G": [[1.0]], "h": [-2.0]}, -0.5), ("ub", {"ub": [-2.0]}, -0.5)):
        assert np.allclose(solve_qp([[1.0]], [0.0], **parts, soft={side: [0.5]}).x, x), side
    # Rows of G, then rows of A; the others stay hard.
    r = solve_qp(EYE, None, [[1.0, 0.0], [0.0, 1.0]], l=[1.0, 1.0], A=[[1.0, 1.0]], b=[5.0],
                 soft={"l": [np.inf, 0.1], "b": 1.0})
    assert np.allclose(r.x, [1.0, 1.0]) and np.allclose(r.y, [-1.0])


def test_problems_and_solvers_keep_them(tmp_path):
    p = Problem(EYE, [-2.0, -3.0], [1.0, 1.0], [3.0], soft={"h": (0.5, None), "lb": 2.0},
                lb=[0.0, 0.0])
    for other in (p, pickle.loads(pickle.dumps(p)), p.replace(lb=[-1.0, -1.0])):
        assert np.allclose(other.solve().x, [1.5, 2.5])
    p.save(tmp_path / "soft.npz")
    assert np.allclose(Problem.load(tmp_path / "soft.npz").solve().x, [1.5, 2.5])
    both = p.replace(soft={"lb": ([2.0, np.inf], [0.0, 1.0])})
    both.save(tmp_path / "soft.npz")
    linear, quadratic = Problem.load(tmp_path / "soft.npz").soft["lb"]
    assert linear.tolist() == [2.0, np.inf] and quadratic.tolist() == [0.0, 1.0]
    assert np.allclose(activeset.solve_many([p, p], chain=2)[1].x, [1.5, 2.5])
    warm = pickle.loads(pickle.dumps(p.solve()))
    assert warm.warm_start.working_set.soft_violated.rows_at_upper.tolist() == [0]
    assert np.allclose(p.solve(warm_start=warm).x, [1.5, 2.5])
    solver = Solver(p)
    assert np.allclose(solver.solve().x, [1.5, 2.5])
    solver.update(soft={})
    assert np.allclose(solver.solve().x, [1.0, 2.0])
    solver.update(soft={"h": 0.25})
    assert np.allclose(solver.solve().x, [1.75, 2.75])


@pytest.mark.parametrize(("soft", "text"), [
    ({"h": [1.0, 2.0]}, "soft['h'] has 2 entries, expected one or 1"),
    ({"G": 1.0}, "soft has 'G', expected l, h, b, lb, ub"),
    (3.0, "soft is of type float"),
    ({"h": (1.0, 2.0, 3.0)}, "soft['h'] is a tuple of 3"),
    ({"h": -1.0}, "soft['h'][0] = -1, expected a number from 0 up"),
    ({"h": (0.0, np.inf)}, "soft['h', quadratic][0] = inf, expected a finite number"),
    ({"ub": [1.0, np.nan]}, "soft['ub'][1] = nan"),
])
def test_what_is_no_penalty_is_refused(soft, text):
    with pytest.raises(ProblemError) as caught:
        solve_qp(EYE, [-2.0, -3.0], [1.0, 1.0], [3.0], ub=[9.0, 9.0], soft=soft)
    assert text in str(caught.value)
    solver = Solver(Problem(EYE, [-2.0, -3.0], [1.0, 1.0], [3.0]))
    with pytest.raises(ProblemError):
        solver.update(soft=soft)
        solver.solve()


def test_absent_sides_have_no_price():
    with pytest.raises(ProblemError) as caught:
        Problem(EYE, [-2.0, -3.0], [1.0, 1.0], [3.0], A=EYE, b=[0.0, 0.0], soft={"l": 1.0})
    assert caught.value.faults[0].name == "soft['l']"
    assert str(caught.value).endswith("is the price of sides that are absent: there is no l")
    p = Problem(EYE, [-2.0, -3.0], lb=[0.0, 0.0], soft={"lb": 1.0, "ub": None})
    with pytest.raises(ProblemError, match="there is no lb"):
        p.replace(lb=None)
    solver = Solver(Problem(EYE, [-2.0, -3.0]))
    solver.update(soft={"ub": 1.0})
    solver.update(ub=[0.0, 5.0])
    assert np.allclose(solver.solve().x, [1.0, 3.0])


@pytest.mark.parametrize("ask", [
    lambda p: activeset.ranges(p.solve(), p), lambda p: activeset.path(p, q=[1.0, 1.0]),
    lambda p: activeset.regions(p, EYE, ([-1.0, -1.0], [1.0, 1.0])), lambda p: p.to_c(),
    lambda p: p.solve().backward(p, np.ones(2)), lambda p: activeset.Sensitivity(p.solve(), p)])
def test_what_cannot_follow_soft_sides_refuses_them(ask):
    p = Problem(EYE, [-2.0, -3.0], [1.0, 1.0], [3.0], soft={"h": 0.5})
    with pytest.raises(ValueError, match="the problem has soft sides"):
        ask(p)
    with pytest.raises(TypeError, match="soft"):
        activeset.solve_batch(EYE, np.ones((3, 2)), soft={"h": 0.5})


def test_a_file_gives_its_penalties(tmp_path):
    file = tmp_path / "soft.json"
    file.write_text("""{"schema": "activeset-problem/2", "H": [[1, 0], [0, 1]], "c": [-2, -3],
        "A": [[1, 1], [1, -1], [1, 0]], "row_lower": ["-inf", 0, 1], "row_upper": [3, 0, 1],
        "row_penalty": {"upper_linear": [0.5, "inf", 8], "lower_linear": ["inf", 0.25, 8]},
        "lower": ["-inf", 0], "bound_penalty": {"lower_quadratic": [0, 1]}}""")
    p = activeset.read(file)
    # An equality whose sides have different penalties becomes a row of G.
    assert p.G.shape == (2, 2) and p.A.shape == (1, 2) and p.row_names == ("r1", "r2", "r3")
    assert p.soft["b"][0].tolist() == [8.0]
    # x = 1; y - 3 + 0.5 + 0.25 = 0
    assert np.allclose(p.solve().x, [1.0, 2.25])
    assert p.soft["lb"][1].tolist() == [0.0, 1.0] and "ub" not in p.soft
