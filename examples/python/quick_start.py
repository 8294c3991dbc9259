"""Minimise 1/2 (x1**2 + x2**2) - 2 x1 - 3 x2 subject to x1 + x2 <= 3, then two relatives.

At x = (1, 2) the gradient is (-1, -1), so the multiplier of the constraint is 1.
"""

import numpy as np

import activeset


def main() -> None:
    r = activeset.solve_qp(np.eye(2), [-2.0, -3.0], G=[1.0, 1.0], h=[3.0])
    print(f"{r.status}, x = {r.x}, objective {r.obj}, multiplier {r.z[0]}")
    assert np.allclose(r.x, [1.0, 2.0])

    lp = activeset.linprog([-1.0, -2.0], A_ub=[[1.0, 1.0]], b_ub=[4.0], bounds=(0, 3))
    assert lp.success and np.allclose(lp.x, [1.0, 3.0])

    fit: activeset.Result = activeset.nnls([[1.0, 0.0], [0.0, 1.0]], [2.0, -1.0])
    assert np.allclose(fit.x, [2.0, 0.0])
    certificate = fit.certificate
    assert certificate.holds(1e-12), certificate.dual.relative


if __name__ == "__main__":
    main()
