"""Shared by the tests: small random problems and the optimality conditions."""

import hypothesis
import numpy as np
import pytest

hypothesis.settings.register_profile("same", derandomize=True, deadline=None, database=None)
hypothesis.settings.load_profile("same")


def problem(seed, n=4, m=5, p=1):
    """A strictly convex problem with a feasible point, all parts given."""
    rng = np.random.default_rng(seed)
    root = rng.normal(size=(n, n))
    x = rng.normal(size=n)
    G, A = rng.normal(size=(m, n)), rng.normal(size=(p, n))
    return {"P": root @ root.T + np.eye(n), "q": 5 * rng.normal(size=n), "G": G,
            "h": G @ x + rng.random(m), "l": G @ x - rng.random(m), "A": A, "b": A @ x,
            "lb": x - rng.random(n), "ub": x + rng.random(n)}


def residual(r, P, q, G=None, A=None, **_):
    """The largest entry of P x + q + G'z + A'y + z_box."""
    total = q + r.z_box
    for matrix, vector in ((P, r.x), (None if G is None else G.T, r.z),
                           (None if A is None else A.T, r.y)):
        if matrix is not None:
            total = total + matrix @ vector
    return np.abs(total).max()


@pytest.fixture
def parts():
    return problem(1)


