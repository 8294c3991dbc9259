"""Solves the problems of a folder with the interior-point method of cvxopt, to residuals of 1e-9.

usage: cvxopt_qp.py FOLDER SECONDS
Prints the processor seconds per problem, without those for reading and stacking, then the objectives. If most
inequalities are bounds, they are passed as a sparse matrix, which makes cvxopt faster.
"""

import array
import math
import os
import statistics
import sys
import time

from cvxopt import matrix, solvers, spmatrix, sparse

solvers.options.update(show_progress=False, abstol=1e-9, reltol=1e-9, feastol=1e-9)


def read_problem(path):
    with open(path, "rb") as file:
        def block(rows, cols):
            values = array.array("d")
            values.fromfile(file, rows * cols)
            return matrix(values, (rows, cols), "d")

        n, m, equalities = (int(size) for size in block(3, 1))
        H, c = block(n, n), block(n, 1)
        A, b = block(m, n), block(m, 1)
        Aeq, beq = block(equalities, n), block(equalities, 1)
        lb, ub = block(n, 1), block(n, 1)
    lower = [j for j in range(n) if math.isfinite(lb[j])]
    upper = [j for j in range(n) if math.isfinite(ub[j])]
    bounds = spmatrix([-1.0] * len(lower) + [1.0] * len(upper), range(len(lower) + len(upper)),
                      lower + upper, (len(lower) + len(upper), n))
    mostly_bounds = 4 * m <= m + len(lower) + len(upper)
    G = (sparse([A, bounds]) if mostly_bounds else matrix([A, matrix(bounds)])) if m else bounds
    h = matrix([b, matrix([-lb[j] for j in lower] + [ub[j] for j in upper], tc="d")])
    return (H, c, G, h) + ((Aeq, beq) if equalities else ())


def main(folder, budget):
    problems = [read_problem(os.path.join(folder, f"{k}.bin"))
                for k in range(len(os.listdir(folder)))]

    def solve_all():
        return [solvers.qp(*problem) for problem in problems]

    solutions = solve_all()
    samples = []
    while len(samples) < 7 and sum(samples) < budget or not samples:
        start = time.process_time()
        solve_all()
        samples.append(time.process_time() - start)
    # The status is "unknown" if cvxopt cannot reach 1e-9. An infeasible problem has no objective.
    values = [math.nan if value is None else value
              for value in (solution["primal objective"] for solution in solutions)]
    print(*(f"{value:.17g}" for value in [statistics.median(samples) / len(problems), *values]))


main(sys.argv[1], float(sys.argv[2]))
