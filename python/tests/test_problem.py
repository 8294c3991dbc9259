"""The class Problem, files, sequences, many problems at once, conflicts."""

import pickle
import threading

import numpy as np
import pytest

import activeset
from conftest import problem, residual


def test_a_problem_survives_a_file_and_a_pickle(parts, tmp_path):
    p = activeset.Problem(**parts, constant=2.0, names=list("äbcd"))
    p.save(tmp_path / "p.npz")
    for other in (activeset.Problem.load(tmp_path / "p.npz"), pickle.loads(pickle.dumps(p))):
        assert other.names == p.names and other.row_names is None and other.constant == 2.0
        assert repr(other) == repr(p)
        np.testing.assert_array_equal(other.solve().x, p.solve().x)


@pytest.mark.parametrize("members, text", [
    ({"x": [1.0], "outcome": "optimal"}, "no part 'outcome', expected P, q"),
    ({"q": np.array([None])}, "member 'q', cannot be read"),
    ({"P": np.eye(2), "q": np.ones(3)}, r"P has shape \(2, 2\), expected \(3, 3\)"),
    ({"q": [1.0], "constant": [1.0]}, "constant has 1 axes"),
    ({"q": [1.0], "names": "x"}, "names has 0 axes"),
])
def test_a_file_that_is_no_problem_is_refused_by_name(members, text, tmp_path):
    np.savez(tmp_path / "p.npz", **members)
    with pytest.raises(ValueError, match=f"p.npz.*{text}"):
        activeset.Problem.load(tmp_path / "p.npz")


def test_a_damaged_file_is_refused_by_name(parts, tmp_path):
    file = tmp_path / "p.npz"
    activeset.Problem(**parts).save(file)
    whole = file.read_bytes()
    middle = len(whole) // 20  # within the compressed numbers of P
    for damaged in (b"", whole[:-40], pickle.dumps(parts),
                    whole[:middle] + bytes(9) + whole[middle + 9:]):
        file.write_bytes(damaged)
        with pytest.raises(ValueError, match="p.npz"):
            activeset.Problem.load(file)


def test_faults_are_found_without_a_solve(parts):
    parts["h"][2] = np.nan
    fault, = activeset.Problem(**parts).faults()
    assert (fault.name, fault.index) == ("h", (2,)) and np.isnan(fault.value)
    with pytest.raises(activeset.ProblemError):
        activeset.Problem(parts["P"], [1.0])


def test_a_file_gives_rows_with_both_sides_and_names(tmp_path):
    file = tmp_path / "ranged.qps"
    file.write_text("NAME t\nROWS\n N cost\n L up\n G low\n E eq\nCOLUMNS\n x cost 1 up 1\n"
                    " x low 1 eq 1\n y cost 2 up 1\n y low 3 eq -1\nRHS\n r up 4 low 1\n r eq 0\n"
                    "RANGES\n r up 3\nBOUNDS\n UP b x 9\nQUADOBJ\n x x 2\n y y 2\nENDATA\n")
    p = activeset.read(file)
    assert p.names == ("x", "y") and p.row_names == ("up", "low", "eq")
    np.testing.assert_array_equal(p.G, [[1, 1], [1, 3]])
    np.testing.assert_array_equal(p.l, [1, 1])
    np.testing.assert_array_equal(p.h, [4, np.inf])
    np.testing.assert_array_equal(p.A, [[1, -1]])
    r = p.solve()
    assert r.found and r.x[0] == r.x[1] == pytest.approx(0.5)
    file.write_text("ROWS\n N cost\n Q what\n")
    with pytest.raises(activeset.ReadError, match="ranged.qps:3"):
        activeset.read(file)
    with pytest.raises(activeset.ReadError):
        activeset.read(tmp_path / "absent.qps")


@pytest.mark.parametrize("part", ["P", "q", "G", "h", "A", "b", "lb", "ub", "l", "constant"])
@pytest.mark.parametrize("absent", [(), ("A", "b"), ("G", "h", "l")])
def test_an_updated_solver_gives_what_a_new_solve_gives(part, absent):
    parts = {k: v for k, v in {**problem(4), "constant": 0.0}.items() if k not in absent}
    if part in absent:
        pytest.skip("a part that is absent cannot be replaced")
    s = activeset.Solver(activeset.Problem(**parts))
    s.solve()
    changes = {"P": parts["P"] + np.eye(4), "q": parts["q"] * 0.5, "constant": 3.0}
    for name in ("h", "ub"):
        if name in parts:
            changes[name] = parts[name] + 0.25
    for name in ("l", "lb"):
        if name in parts:
            changes[name] = parts[name] - 0.25
    if "A" in parts:
        changes["A"], changes["b"] = parts["A"] * 2, parts["b"] * 1.01
    if "G" in parts:
        changes["G"] = np.asfortranarray(parts["G"] * 0.99)
    parts[part] = changes[part]
    s.update(**{part: changes[part]})
    warm, cold = s.solve(), activeset.solve_qp(**parts)
    assert warm.status == cold.status
    if cold.found:
        np.testing.assert_allclose(warm.x, cold.x, atol=1e-9)
        assert warm.obj == pytest.approx(cold.obj)
        assert residual(warm, **parts) < 1e-10


def test_a_wrong_update_changes_nothing_and_a_wrong_entry_shows_until_it_is_replaced(parts):
    s, untouched = (activeset.Solver(activeset.Problem(**parts)) for _ in range(2))
    x = s.solve().x
    np.testing.assert_array_equal(untouched.solve().x, x)
    with pytest.raises(activeset.ProblemError, match="h has shape") as caught:
        s.update(q=np.zeros(4), h=[1.0], lb="text")
    assert len(caught.value.faults) == 2
    np.testing.assert_array_equal(s.solve().x, untouched.solve().x)
    s.update(q=np.full(4, np.nan))
    for _ in range(2):
        with pytest.raises(activeset.ProblemError, match=r"q\[3\]"):
            s.solve()
    s.update(q=parts["q"])
    np.testing.assert_allclose(s.solve().x, x)
    s.restart(activeset.WarmStart(x))
    assert s.solve().found
    with pytest.raises(TypeError):
        s.update(x0=x)
    with pytest.raises(TypeError):
        activeset.Solver(parts)
    with pytest.raises(RuntimeError, match="before"):
        s.__init__(activeset.Problem(**parts))
    with pytest.raises(RuntimeError, match="initialised"):
        activeset.Solver.__new__(activeset.Solver).solve()


@pytest.mark.parametrize("threads, chain", [(1, 0), (2, 0), (2, 4)])
def test_many_problems_give_what_each_gives(threads, chain):
    problems = [activeset.Problem(**problem(k)) for k in range(30)]
    problems[7] = problems[7].replace(q=np.full(4, np.nan))
    told = []
    results = activeset.solve_many(problems, threads, chain, lambda done, of: told.append(done))
    assert results[7].status == "invalid" and "q[0]" in results[7].message
    with pytest.raises(activeset.ProblemError):
        results[7].raise_for_status()
    assert told == sorted(told)
    for k in set(range(30)) - {7}:
        np.testing.assert_allclose(results[k].x, problems[k].solve().x, atol=1e-10)
    assert activeset.solve_many([]) == []
    with pytest.raises(TypeError, match=r"problems\[1\]"):
        activeset.solve_many([problems[0], 3])
    assert {r.status for r in activeset.solve_many(problems, time_limit=0.0)} == {"time limit"}


def test_chains_share_the_rows_that_two_kinds_were_joined_to(parts):
    p = activeset.Problem(**parts)
    other, third = p.replace(q=parts["q"] + 1), p.replace(G=parts["G"] + 1)
    address = p._data.views()["A"][0]
    assert other._data.views()["A"][0] == address != third._data.views()["A"][0]


def test_a_conflict_is_told_by_names():
    p = activeset.Problem(None, [0.0, 0.0, 0.0], [[1.0, 1.0, 0.0], [0.0, 0.0, 1.0]], [1.0, 5.0],
                          lb=[1.0, 0.5, 0.0], names=["a", "b", "c"], row_names=["budget", "other"])
    conflict = activeset.explain_infeasibility(p)
    assert conflict and conflict.minimal
    assert conflict.rows_at_upper.tolist() == [0] and conflict.at_lower.tolist() == [0, 1]
    assert str(conflict).splitlines()[0] == "row 'budget': G[0] x <= h[0] = 1"
    assert not activeset.explain_infeasibility(p.replace(h=[9.0, 9.0]))


def test_threads_are_independent_and_a_solver_is_for_one_of_them(parts):
    expected = [activeset.solve_qp(**problem(k)).x for k in range(20)]
    failures = []

    def work():
        for k in range(200):
            if not np.array_equal(activeset.solve_qp(**problem(k % 20)).x, expected[k % 20]):
                failures.append(k)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures
    s = None

    def use(_):
        with pytest.raises(RuntimeError, match="at work"):
            s.update(q=parts["q"])
        with pytest.raises(RuntimeError, match="callback|at work"):
            s.solve()

    s = activeset.Solver(activeset.Problem(**parts), callback=use)
    assert s.solve().found
