#!/usr/bin/env python3
"""Measures the Python package: the overhead of a call over C++, threads, import, and other packages.

usage: python_peers.py [--quick]

PYTHONPATH has to lead to the package. Times are medians of calls that alternate in one process; ratios are
of two medians of the same run.
"""

import argparse
import os
import statistics
import subprocess
import sys
import threading
import time

os.environ.setdefault("OPENBLAS_NUM_THREADS", "1")  # of NumPy and the peers, as activeset's own BLAS

import cvxopt  # noqa: E402
import numpy as np  # noqa: E402
import scipy.optimize  # noqa: E402

import activeset  # noqa: E402

cvxopt.solvers.options["show_progress"] = False


def portfolio(n, seed=0):
    """min 1/2 x'Px + q'x, sum x = 1, x >= 0."""
    rng = np.random.default_rng(seed)
    root = rng.normal(size=(n, n))
    return root @ root.T / n + 0.1 * np.eye(n), rng.normal(size=n), np.ones((1, n)), np.ones(1)


def medians(seconds, **calls):
    """Median seconds of each call; the calls alternate until the time is over."""
    times = {name: [] for name in calls}
    for call in calls.values():
        call()
    end = time.perf_counter() + seconds
    while time.perf_counter() < end or len(next(iter(times.values()))) < 5:
        for name, call in calls.items():
            begin = time.perf_counter()
            call()
            times[name].append(time.perf_counter() - begin)
    return {name: statistics.median(values) for name, values in times.items()}


def over_cpp(seconds, call):
    """Median seconds of a call, and of its part in C++ by the clock of the front end."""
    totals, inside = [], []
    end = time.perf_counter() + seconds
    while time.perf_counter() < end:
        for _ in range(100):
            begin = time.perf_counter()
            r = call()
            totals.append(time.perf_counter() - begin)
            inside.append(r.times.total)
    clock = statistics.median(_clock() for _ in range(1000))
    return statistics.median(totals) - clock, statistics.median(inside)


def _clock():
    begin = time.perf_counter()
    return time.perf_counter() - begin


def overhead(seconds):
    P, q, A, b = portfolio(3)
    lb = np.zeros(3)
    total, inside = over_cpp(seconds, lambda: activeset.solve_qp(P, q, None, None, A, b, lb))
    print(f"solve_qp, n = 3            {total * 1e6:8.2f} us, over C++ {(total - inside) * 1e6:.2f} us")
    P, q, A, b = portfolio(20)
    s = activeset.Solver(activeset.Problem(P, q, A=A, b=b, lb=np.zeros(20)))
    s.solve()
    steps = [q + 1e-4 * np.random.default_rng(k).normal(size=20) for k in range(100)]
    turn = iter(range(10**9))

    def step():
        s.update(q=steps[next(turn) % 100])
        return s.solve()

    total, inside = over_cpp(seconds, step)
    print(f"Solver step, n = 20        {total * 1e6:8.2f} us, over C++ {(total - inside) * 1e6:.2f} us")


def threads(seconds):
    P, q, A, b = portfolio(100)

    def work(count):
        for _ in range(count):
            activeset.solve_qp(P, q, None, None, A, b, np.zeros(100))

    def shared(count, number):
        pool = [threading.Thread(target=work, args=(count // number,)) for _ in range(number)]
        for thread in pool:
            thread.start()
        for thread in pool:
            thread.join()

    times = medians(seconds * 3, one=lambda: shared(200, 1), two=lambda: shared(200, 2))
    print(f"two threads, n = 100       {times['one'] / times['two']:8.2f} times one thread")


def imports():
    code = "import sys, time, numpy; t = time.thread_time(); import activeset; " \
           "print(time.thread_time() - t)"
    keep = {name: value for name, value in os.environ.items()
            if name != "PYTHONDONTWRITEBYTECODE"}  # the first run compiles, the others read
    times = [float(subprocess.run([sys.executable, "-c", code], capture_output=True, text=True,
                                  check=True, env=keep).stdout) for _ in range(11)]
    print(f"import beyond NumPy        {statistics.median(times) * 1e3:8.2f} ms")


def peers(seconds, sizes):
    print(f"\n{'problem':10} {'n':>4} {'activeset':>12} {'peer':>14} {'seconds':>12} {'ratio':>8}")
    for n in sizes:
        rng = np.random.default_rng(n)
        P, q, A, b = portfolio(n)
        lb = np.zeros(n)
        matrices = [cvxopt.matrix(a) for a in (P, q, -np.eye(n), lb, A, b)]
        simplex = [{"type": "eq", "fun": lambda x: x.sum() - 1, "jac": lambda _: np.ones(n)}]
        c, rows, sides = rng.normal(size=n), rng.normal(size=(n, n)), rng.random(n) + 1
        R, s = rng.normal(size=(2 * n, n)), rng.normal(size=2 * n)
        box = (-0.1 * np.ones(n), 0.1 * np.ones(n))
        bounds = [(0, 1)] * n
        cases = [
            ("portfolio", "cvxopt", lambda: activeset.solve_qp(P, q, None, None, A, b, lb).obj,
             lambda: cvxopt.solvers.qp(*matrices)["primal objective"]),
            ("portfolio", "SLSQP", lambda: activeset.solve_qp(P, q, None, None, A, b, lb).obj,
             lambda: scipy.optimize.minimize(
                 lambda x: x @ P @ x / 2 + q @ x, np.full(n, 1 / n), jac=lambda x: P @ x + q,
                 bounds=bounds, constraints=simplex, method="SLSQP",
                 options={"ftol": 1e-12, "maxiter": 1000}).fun),
            ("linear", "linprog", lambda: activeset.linprog(c, rows, sides, bounds=(0, 1)).fun,
             lambda: scipy.optimize.linprog(c, rows, sides, bounds=(0, 1)).fun),
            ("fit, x>=0", "nnls", lambda: (2 * activeset.nnls(R, s).fun) ** 0.5,
             lambda: scipy.optimize.nnls(R, s)[1]),
            ("fit, box", "lsq_linear", lambda: activeset.lsq_linear(R, s, box).fun,
             lambda: scipy.optimize.lsq_linear(R, s, box, tol=1e-12).cost),
        ]
        for name, peer, ours, theirs in cases:
            assert abs(ours() - theirs()) <= 1e-5 * max(1, abs(ours())), (name, peer, n)
            times = medians(seconds, ours=ours, theirs=theirs)
            print(f"{name:10} {n:4} {times['ours']:12.3g} {peer:>14} {times['theirs']:12.3g} "
                  f"{times['theirs'] / times['ours']:8.1f}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--quick", action="store_true")
    quick = parser.parse_args().quick
    seconds = 0.3 if quick else 3.0
    overhead(seconds)
    threads(seconds)
    imports()
    peers(seconds, (3, 20) if quick else (3, 20, 100))


if __name__ == "__main__":
    main()
