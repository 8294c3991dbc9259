#!/usr/bin/python3
"""Solves quadratic programs with the interior-point method of python3-cvxopt: peer.py IN OUT.

IN has one program per line, as JSON: minimise 1/2 x'Hx + c'x subject to G x <= h, E x = e. OUT gets a
line for each: x, the objective and the status. Exits with 77 if cvxopt is not installed.
"""
import json
import sys

try:
    from cvxopt import matrix, solvers
except ImportError:
    sys.exit(77)


def column(values):
    return matrix([float(value) for value in values], (len(values), 1))


def rows(values, n):
    return matrix([float(value) for row in values for value in row], (n, len(values))).trans()


solvers.options.update(show_progress=False, abstol=1e-11, reltol=1e-11, feastol=1e-11)
with open(sys.argv[1]) as problems, open(sys.argv[2], "w") as answers:
    for line in problems:
        p = json.loads(line)
        n = len(p["c"])
        inequalities = (rows(p["G"], n), column(p["h"])) if p["G"] else (None, None)
        equalities = (rows(p["E"], n), column(p["e"])) if p["E"] else (None, None)
        found = solvers.qp(rows(p["H"], n), column(p["c"]), *inequalities, *equalities)
        answer = {"x": list(found["x"]), "f": found["primal objective"], "status": found["status"]}
        print(json.dumps(answer), file=answers)
