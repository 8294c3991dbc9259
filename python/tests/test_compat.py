"""The calls of other packages. Debian has no package of qpsolvers, so a stand-in with its attributes is
used. The answers of quadprog come from R's package of that name."""

import shutil
import subprocess
import sys
import types

import numpy as np
import pytest

from activeset.compat import qpsolvers, quadprog
from conftest import problem


def quadprog_problem(seed, n=5, m=7, meq=2):
    rng = np.random.default_rng(seed)
    root, C = rng.normal(size=(n, n)), rng.normal(size=(n, m))
    return root @ root.T + np.eye(n), 3 * rng.normal(size=n), C, C.T @ rng.normal(size=n) - 0.1, meq


def r_quadprog(G, a, C, b, meq):
    """x, objective, multipliers, active constraints and unconstrained minimum, computed by R."""
    def vector(values):
        return "c(" + ",".join(repr(float(v)) for v in np.ravel(values, order="F")) + ")"

    code = (f"library(quadprog); s <- solve.QP(matrix({vector(G)},{len(a)}),{vector(a)},"
            f"matrix({vector(C)},{len(a)}),{vector(b)},{meq});"
            "for (v in list(s$solution,s$value,s$Lagrangian,s$iact,s$unconstrained.solution))"
            "cat(format(v,digits=17),'\\n')")
    printed = subprocess.run(["Rscript", "-e", code], capture_output=True, text=True, check=True)
    return [np.array(line.split(), dtype=float) for line in printed.stdout.splitlines()]


@pytest.mark.skipif(shutil.which("Rscript") is None, reason="R is not installed")
@pytest.mark.parametrize("seed", range(3))
def test_quadprog_gives_what_rs_package_gives(seed):
    given = quadprog_problem(seed)
    x, f, xu, iterations, lagrangian, iact = quadprog.solve_qp(*given)
    other = r_quadprog(*given)
    np.testing.assert_allclose(x, other[0], atol=1e-10)
    assert f == pytest.approx(other[1][0])
    # R drops the sign of an equality's multiplier.
    np.testing.assert_allclose(np.abs(lagrangian), np.abs(other[2]), atol=1e-9)
    assert iact.tolist() == sorted(other[3].astype(int))
    np.testing.assert_allclose(xu, other[4], atol=1e-10)
    assert iterations.shape == (2,)
    G, a, C, b, meq = given
    np.testing.assert_allclose(G @ x - a - C @ lagrangian, 0, atol=1e-10)
    factor = np.linalg.inv(np.linalg.cholesky(G).T)
    np.testing.assert_allclose(quadprog.solve_qp(factor, a, C, b, meq, True)[0], x, atol=1e-9)
    np.testing.assert_allclose(quadprog.solve_qp(np.triu(G), a)[0], xu, atol=1e-10)


@pytest.mark.parametrize("change, text", [
    ({"G": -np.eye(2)}, "matrix G is not positive definite"),
    ({"C": [[1.0, -1.0], [0.0, 0.0]], "b": [1.0, 1.0]}, "constraints are inconsistent, no solution"),
    ({"G": np.ones((2, 3))}, r"G must be a square matrix. Received shape=\(2,3\)"),
    ({"a": np.ones(3)}, "G and a must have the same dimension"),
    ({"C": np.ones((3, 1)), "b": [1.0]}, "G and C must have the same first dimension"),
    ({"C": np.ones((2, 1)), "b": [1.0, 2.0]}, "columns of C must match the length of b"),
    ({"a": [np.nan, 1.0]}, "^a has entries that are not finite"),
    ({"meq": 1}, "meq must be between 0"), ({"a": [[1.0]]}, "wrong number of dimensions"),
])
def test_quadprog_raises_its_texts(change, text):
    with pytest.raises(ValueError, match=text):
        quadprog.solve_qp(**{"G": np.eye(2), "a": np.ones(2), **change})


class StandIn:
    """A stand-in with the attributes of the Problem of qpsolvers."""

    def __init__(self, **parts):
        for name in ("P", "q", "G", "h", "A", "b", "lb", "ub"):
            setattr(self, name, parts.get(name))


def test_qpsolvers_solutions_have_its_signs_and_shapes(monkeypatch):
    parts = {name: part for name, part in problem(2).items() if name != "l"}
    asked = StandIn(**parts)
    solution = qpsolvers.solve_problem(asked, initvals=np.zeros(4))
    assert solution.found and solution.problem is asked and solution.extras["result"].found
    total = (asked.P @ solution.x + asked.q + asked.G.T @ solution.z + asked.A.T @ solution.y
             + solution.z_box)
    np.testing.assert_allclose(total, 0, atol=1e-12)
    assert (solution.z >= 0).all()
    bare = qpsolvers.solve_problem(StandIn(P=asked.P, q=asked.q))
    assert bare.y.size == bare.z.size == bare.z_box.size == 0
    none = qpsolvers.solve_problem(StandIn(P=np.eye(1), q=np.ones(1), lb=[1.0], ub=[1.0],
                                           G=np.ones((1, 1)), h=np.zeros(1)))
    assert none.found is False and none.x is None and none.extras["status"] == "infeasible"
    np.testing.assert_array_equal(qpsolvers.solve_qp(asked.P, asked.q, asked.G, asked.h, asked.A,
                                                     asked.b, asked.lb, asked.ub), solution.x)

    package = types.ModuleType("qpsolvers")
    package.Solution = type("Solution", (), {"__init__": lambda self, problem: None})
    monkeypatch.setitem(sys.modules, "qpsolvers", package)
    assert isinstance(qpsolvers.solve_problem(asked), package.Solution)
