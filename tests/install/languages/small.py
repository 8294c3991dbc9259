# The problem of small.c in Python.
import activeset
r = activeset.solve_qp([[3.0, 1.0], [1.0, 7.0]], [-2.0, -3.0], G=[[1.0, 3.0]], h=[1.0])
print(f"{r.x[0]:.17g} {r.x[1]:.17g} {r.obj:.17g}")
