"""Relaxations, diagnoses of data, and reports."""

import json
import re

import numpy as np
import pytest

import activeset

PLAN = activeset.Problem(None, [1.0, 1.0], [[1.0, 1.0], [1.0, 0.0]], [4.0, 9.0], [[1.0, -1.0]], [0.0],
                         lb=[3.0, 2.0], names=["day", "night"],
                         row_names=["capacity", "loose", "even"])


@pytest.mark.parametrize("norm", ["l1", "l2", "inf"])
def test_the_nearest_point_violates_as_little_as_it_says(norm):
    r = activeset.relax(PLAN, norm=norm)
    assert r and r.found and r.status == "optimal" and (r.x >= [3.0, 2.0]).all()
    over, even = r.x.sum() - 4.0, r.x[0] - r.x[1]
    np.testing.assert_allclose(r.row_violation, [over, 0.0, even], atol=1e-9)
    if norm == "l1":  # 1 above the capacity and 1 from even, or 2 above
        assert abs(r.distance - 2.0) < 1e-9
    elif norm == "inf":
        assert abs(r.distance - 1.0) < 1e-9
    else:  # x = (3, 2): ½(1 + 1). No other point has both violations smaller.
        assert abs(over - 1.0) < 1e-9 and abs(even - 1.0) < 1e-9


def test_what_is_hard_or_heavy_stays():
    for hard in (["even"], [2]):
        r = activeset.relax(PLAN, hard=hard)
        np.testing.assert_allclose(r.x, [3.0, 3.0], atol=1e-9)
        assert str(r) == "row 'capacity': 2 above"
    r = activeset.relax(PLAN, hard=["even", "capacity"], bound_weights=[1.0, 1.0])
    assert r and r.row_violation[0] < 1e-9 and r.bound_violation[0] == pytest.approx(-1.0)
    assert not activeset.relax(PLAN, hard=["even", "capacity"])
    r = activeset.relax(PLAN, weights=[1.0, 1.0, 10.0])
    assert r.row_violation[2] == pytest.approx(0.0, abs=1e-9)
    for wrong in ({"hard": ["none"]}, {"hard": [3]}, {"weights": [1.0]}, {"norm": "l3"},
                  {"weights": [-1.0, 1.0, 1.0]}, {"bound_weights": [1.0]}):
        with pytest.raises(ValueError):
            activeset.relax(PLAN, **wrong)


def test_where_nothing_has_to_give_way_it_is_said():
    feasible = PLAN.replace(h=[7.0, 9.0])
    assert str(activeset.relax(feasible)) == "nothing has to give way"
    assert "no nearest point: infeasible" == str(activeset.relax(PLAN, hard=["even", "capacity"]))
    conflict = activeset.explain_infeasibility(feasible)
    assert conflict.text == "" and str(conflict).startswith("no sides")


def test_data_are_told_in_the_terms_of_python():
    d = activeset.diagnose(PLAN.replace(P=np.array([[0.0, 1.0], [1.0, 3.0]]), lb=[-1e9, 0.0]))
    assert (d.equalities, d.rank, d.free_variables, d.fixed_variables) == (1, 1, 0, 0)
    found = {finding.name: finding for finding in d.findings}
    assert found["big bounds"].members.tolist() == [0]
    assert "P cannot be convex" in found["no curvature of their own"].text
    assert d.smallest_eigenvalue[0] <= (3 - 13 ** 0.5) / 2 <= d.smallest_eigenvalue[1]
    with pytest.raises(activeset.ProblemError):
        activeset.diagnose(PLAN.replace(q=[np.nan, 1.0]))


def test_a_report_has_the_numbers_of_the_result(tmp_path):
    told = []
    feasible = PLAN.replace(h=[7.0, 9.0], P=np.eye(2), names=["</script>", "night"])
    r = feasible.solve(callback=told.append)
    r.report(tmp_path / "page.html", title="plan", passes=told)
    page = (tmp_path / "page.html").read_text(encoding="utf-8")
    text = re.search(r'id="data">(.*?)</script>', page, re.DOTALL).group(1)
    [shown] = json.loads(text)
    assert shown["schema"] == "activeset-result/1" and shown["objective"] == r.obj
    assert shown["x"] == r.x.tolist() and shown["z"] == r.z_box.tolist()
    assert shown["y"] == [*r.z.tolist(), *r.y.tolist()] and shown["proved"]
    assert shown["names"][0] == "</script>" and shown["row_names"] == list(PLAN.row_names)
    assert [p["objective"] for p in shown["passes"]] == [p.objective for p in told] != []
    members = set()
    for p in shown["passes"]:
        leaving, entering = ({(kind, k) for kind, ks in p[key].items() for k in ks}
                             for key in ("leaving", "entering"))
        assert leaving <= members and not entering & members
        members = (members - leaving) | entering
    assert members == {(kind, k) for kind, ks in shown["working_set"].items() for k in ks} != set()
    bare = activeset.solve_qp(None, [1.0], [1.0], [1.0], lb=[2.0])
    bare.report(tmp_path / "page.html")
    assert '"objective"' not in re.search(
        r'id="data">(.*?)</script>', (tmp_path / "page.html").read_text(encoding="utf-8")).group(1)
