"""Signs, outcomes and the parts of a result."""

import copy
import json
import pickle

import cvxopt
import numpy as np
import pytest

import activeset
from activeset import Status
from conftest import problem, residual

cvxopt.solvers.options["show_progress"] = False


@pytest.mark.parametrize("seed", range(20))
def test_multipliers_have_the_signs_of_the_identity(seed):
    parts = problem(seed)
    r = activeset.solve_qp(**parts)
    assert r.status == "optimal" and r.found and r.success and bool(r)
    assert residual(r, **parts) < 1e-12
    at_h = parts["h"] - parts["G"] @ r.x < 1e-12
    at_l = parts["G"] @ r.x - parts["l"] < 1e-12
    assert (r.z[~at_h & ~at_l] == 0).all() and (r.z[at_h] >= 0).all() and (r.z[at_l] <= 0).all()
    assert (r.z_lower >= 0).all() and (r.z_upper >= 0).all()
    np.testing.assert_array_equal(r.z_box, r.z_upper - r.z_lower)
    np.testing.assert_array_equal(r.active_mask == 1, parts["ub"] - r.x < 1e-12)


@pytest.mark.parametrize("seed", range(5))
def test_the_optimum_is_that_of_an_interior_point_method(seed):
    parts = problem(seed)
    r = activeset.solve_qp(**parts)
    eye = np.eye(4)
    G = np.vstack([parts["G"], -parts["G"], eye, -eye])
    h = np.concatenate([parts["h"], -parts["l"], parts["ub"], -parts["lb"]])
    other = cvxopt.solvers.qp(*map(cvxopt.matrix, (parts["P"], parts["q"], G, h, parts["A"],
                                                   parts["b"])))
    np.testing.assert_allclose(r.obj, other["primal objective"], rtol=1e-6)
    np.testing.assert_allclose(r.y, np.ravel(other["y"]), atol=1e-3)


def test_marginals_are_derivatives_of_the_optimum():
    parts = problem(2)
    r = activeset.solve_qp(**parts)
    for name, marginal in (("b", r.marginals.eqlin), ("lb", r.marginals.lower),
                           ("ub", r.marginals.upper)):
        for k in range(len(parts[name])):
            moved = {**parts, name: parts[name] + 1e-6 * (np.arange(len(parts[name])) == k)}
            change = (activeset.solve_qp(**moved).obj - r.obj) / 1e-6
            assert change == pytest.approx(marginal[k], abs=1e-3)


def test_a_problem_may_have_no_variables():
    r = activeset.solve_qp(np.zeros((0, 0)), [], G=np.zeros((2, 0)), h=[0.0, 1.0], constant=3.0)
    assert r.found and r.obj == 3.0 and r.x.shape == (0,) and r.z.shape == (2,)
    problem = activeset.Problem(None, [], A=np.zeros((1, 0)), b=[1.0])
    for r in (problem.solve(), activeset.Solver(problem).solve(), *activeset.solve_many([problem])):
        assert r.status == "infeasible" and r.farkas.value < 0
        assert pickle.loads(pickle.dumps(r)).y.shape == r.y.shape
    assert activeset.explain_infeasibility(problem).minimal
    empty = activeset.Solver(problem)
    empty.update(q=[], b=[0.0], G=np.zeros((0, 0)), h=[])
    assert empty.solve().found


def test_an_update_by_empty_parts_changes_nothing():
    solver = activeset.Solver(activeset.Problem(np.eye(2), [-2.0, -3.0], [1.0, 1.0], [3.0]))
    solver.update(A=np.zeros((0, 2)), b=[])
    np.testing.assert_allclose(solver.solve().x, [1, 2], atol=1e-15)


def test_outcomes_are_statuses_with_their_proofs():
    infeasible = activeset.solve_qp(None, [1.0], [[1.0], [-1.0]], [0.0, -1.0])
    assert infeasible.status is Status.INFEASIBLE and not infeasible
    f = infeasible.farkas
    assert abs(f.z @ [1.0, -1.0] + f.z_box[0]) < 1e-12 and f.value < 0
    unbounded = activeset.solve_qp(None, [1.0, 0.0])
    assert unbounded.status == "unbounded" and unbounded.direction[0] < 0
    bent = activeset.solve_qp([[1.0, 0.0], [0.0, -1.0]], [0.0, 0.0])
    assert bent.status == "not convex" and bent.direction[1] != 0
    assert "P + 1.01 I" in bent.message
    limited = activeset.solve_qp(**problem(1), settings=activeset.Settings(
        start="cold", max_iterations=1))
    assert limited.status == "iteration limit"
    assert [np.isnan(r.obj) for r in (infeasible, bent, unbounded, limited)] == [1, 1, 0, 0]
    assert np.isnan(pickle.loads(pickle.dumps(bent)).fun)
    for r in (infeasible, unbounded, bent, limited):
        with pytest.raises(activeset.SolveError, match=str(r.status)) as caught:
            r.raise_for_status()
        assert pickle.loads(pickle.dumps(caught.value)).result.status is r.status
    r = activeset.solve_qp(**problem(1))
    assert r.raise_for_status() is r


def test_a_result_is_frozen_and_its_arrays_outlive_it(parts):
    r = activeset.solve_qp(**parts)
    with pytest.raises(AttributeError):
        r.x = np.zeros(4)
    with pytest.raises(AttributeError):
        r.new = 1
    x, z = r.x, r.z
    with pytest.raises(ValueError):
        x[0] = 1.0
    before = x.copy()
    del r
    for seed in range(10):
        activeset.solve_qp(**problem(seed))
    np.testing.assert_array_equal(x, before)
    assert z.shape == (5,)
    with pytest.raises(TypeError):
        activeset.Result()


def test_results_and_their_parts_pass_through_pickles_also_of_other_versions(parts):
    names = [f"v{j}" for j in range(4)]
    r = activeset.solve_qp(**parts, names=names)
    again = pickle.loads(pickle.dumps(r))
    assert repr(again) == repr(r) and again.names == tuple(names)
    assert again.working_set == r.working_set and again.certificate == r.certificate
    assert copy.deepcopy(r) is r
    restore, (version, state) = r.__reduce__()
    state["invented later"] = 1
    del state["times"]
    later = restore(version + 1, state)
    np.testing.assert_array_equal(later.x, r.x)
    assert later.times.total == 0.0
    for part in (r.warm_start, r.working_set, activeset.Settings(tolerance=1e-8), r.iterations,
                 activeset.Problem(**parts, names=names).faults()):
        assert pickle.loads(pickle.dumps(part)) == part
    make, (kind, fields) = activeset.Settings().__reduce__()
    assert make(kind, {"tolerance": 1e-7, "other": 1}) == activeset.Settings(tolerance=1e-7)


def test_presentations_name_the_outcome_and_the_variables(parts):
    r = activeset.solve_qp(**parts, names=list("abcd"), row_names=list("uvwxyz"))
    assert len(repr(r).splitlines()) <= 9 and "optimal" in repr(r) and "a=" in repr(r)
    assert r._repr_html_().startswith("<table>") and "z=" in r._repr_html_()
    plain = json.loads(json.dumps(r.to_dict(), allow_nan=False))
    assert plain["status"] == "optimal" and plain["x"] == r.x.tolist()
    bad = activeset.solve_qp(None, [1.0], [[1.0], [-1.0]], [0.0, -1.0])
    json.dumps(bad.to_dict(), allow_nan=False)
    assert "objective" not in repr(bad) and "2 rows" in repr(bad)
    pytest.importorskip("pandas")
    assert r.to_series()["b"] == r.x[1]


def test_a_warm_start_at_the_optimum_needs_no_iterations(parts):
    r = activeset.solve_qp(**parts)
    for start in (r, r.warm_start, activeset.WarmStart(r.x, r.working_set)):
        again = activeset.solve_qp(**parts, warm_start=start)
        assert again.iterations.phase_one + again.iterations.main == 0
        assert residual(again, **parts) < 1e-12
    strange = activeset.WarmStart(np.full(9, np.nan), activeset.WorkingSet(*[[-1, 10**18]] * 6))
    assert activeset.solve_qp(**parts, warm_start=strange).found


def test_verbose_prints_to_the_present_stdout_and_finds_the_same_point(parts, capsys):
    r = activeset.solve_qp(**parts, verbose=True)
    printed = capsys.readouterr().out
    assert "optimal" in printed
    np.testing.assert_allclose(r.x, activeset.solve_qp(**parts).x, rtol=0, atol=1e-15)
    activeset.solve_qp(**parts, verbose=True, settings=activeset.Settings(start="cold"))
    assert "violation" in capsys.readouterr().out
    activeset.solve_qp(np.eye(1), [-3.0], ub=[2.0], verbose=True,
                       settings=activeset.Settings(start="cold"))
    assert "  +x 0 <=\n" in capsys.readouterr().out
