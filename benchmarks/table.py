#!/usr/bin/env python3
"""Measures the families of problems and prints one table of ratios; scripts/bench builds and calls it.

usage: table.py PROGRAM [--quick] [--without-peers] [--problems FOLDER] [FAMILY N...]

PROGRAM is activeset_measure. FOLDER has problem files, by default the Maros-Meszaros set. With a family and
sizes only these are measured. Exits with 1 if the optima of two solvers differ: times of wrong answers are
worth nothing.
"""

import argparse
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

from machine import model, number, one_thread, time

HERE = pathlib.Path(__file__).resolve().parent
PEERS = {
    "quadprog": ["Rscript", str(HERE / "peers" / "quadprog.R")],
    "cvxopt": ["/usr/bin/python3", str(HERE / "peers" / "cvxopt_qp.py")],
}
QUICK = [("random30", [10, 100, 500]), ("box", [10, 100, 500]), ("svm", [10, 100]),
         ("portfolio", [10, 100]), ("mpc", [20, 60])]
FULL = [("random10", [10, 100, 500, 1000]),
        ("random30", [5, 10, 20, 50, 100, 200, 500, 1000, 2000]),
        ("random60", [10, 100, 500, 1000]),
        ("box", [10, 100, 500, 1000, 2000]),
        ("svm", [10, 100, 500, 1000]),
        ("portfolio", [10, 100, 500, 1000]),
        ("mpc", [20, 60, 120])]
QUICK_FILES = ["HS118", "DUAL1", "DUALC1", "CVXQP1_S"]
LARGEST_PLAIN = 1000  # variables; beyond, the plain method takes tens of minutes
AGREEMENT = 1e-5      # relative, of objectives; interior points end at 1e-6

LEGEND = """
passes      of phase one + main loop, mean over the problems of the row (8 up to n = 60, 20 of a chain)
time        one solve from host arrays to host arrays: median, processor time of one thread
warm        the same, started at its own solution and working set; in an MPC chain at those of the previous problem
alloc       requests for memory in a cold solve, from the host's allocator, the C allocator and operator new
memory      the most memory of a cold solve besides its inputs, in n x n arrays of doubles
GFLOP/s     counted operations divided by time; peak: their time at the rates of dgemm, dgemv and drot, divided by time
dgemv       one product of an n x n matrix with a vector, between the solves in the same process
pass, 1st   one pass of the main loop, of phase one, in units of dgemv (first problem of the row)
plain, quadprog, cvxopt   their time divided by ours: ZᵀHZ formed in every pass; a dual active-set method; an interior
            point method
predicted   share of the problems with a predicted start; rounds of guessing and steps of the dual method for it;
            passes: those of the core afterwards
cold, entry the front end's time from a cold start, the entry function's time, both divided by the front end's
"""


class Disagreement(Exception):
    pass


def require_same(who, values, expected):
    for value, ours in zip(values, expected, strict=True):
        if not abs(value - ours) <= AGREEMENT * abs(ours) + 1e-9:
            raise Disagreement(f"{who} ends at {value!r}, we at {ours!r}")


def measure(options, arguments, environment):
    """The measurements of one row, or the reason why there are none."""
    seconds = "0.5" if options.quick else "2"
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run([options.program, "--json", "--seconds", seconds, "--write", folder,
                              *arguments], env=environment, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True, check=False)
        if run.returncode != 0:
            return run.stderr.strip() or f"ended with {run.returncode}"
        row = json.loads(run.stdout)
        if "plain_value" in row:
            require_same("the plain method", [row["plain_value"]], row["values"][:1])
        for peer, command in ({} if options.without_peers else PEERS).items():
            run = subprocess.run([*command, folder, seconds], env=environment, text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
            if run.returncode == 0:
                numbers = [float(word) for word in run.stdout.split()]
                require_same(peer, numbers[1:], row["values"])
                row[peer] = numbers[0] / row["seconds"]
                row["front_" + peer] = numbers[0] / row["front_seconds"]
    return row


COLUMNS = [
    ("family", 10, lambda r: r["family"]),
    ("n", 5, lambda r: str(r["n"])),
    ("ineq", 5, lambda r: str(r["inequalities"])),
    ("eq", 4, lambda r: str(r["equalities"])),
    ("active", 6, lambda r: number(r["active"])),
    ("passes", 10, lambda r: f"{number(r['phase_one_passes'])}+{number(r['passes'])}"),
    ("time", 8, lambda r: time(r["seconds"])),
    ("warm", 8, lambda r: time(r["warm_seconds"])),
    ("alloc", 6, lambda r: f"{r['allocations']:.0f}"),
    ("memory", 6, lambda r: number(r["peak_bytes"] / (8 * r["n"] ** 2))),
    ("GFLOP/s", 7, lambda r: number(1e-9 * r["flops"] / r["seconds"])),
    ("peak", 5, lambda r: f"{100 * r['kernel_seconds'] / r['seconds']:.0f} %"),
    ("dgemv", 8, lambda r: time(r["dgemv_seconds"])),
    ("pass", 5, lambda r: number(r["main_pass_products"])),
    ("1st", 5, lambda r: number(r["phase_one_pass_products"])),
    ("plain", 6, lambda r: number(r["plain"])),
    ("quadprog", 8, lambda r: number(r["quadprog"])),
    ("cvxopt", 6, lambda r: number(r["cvxopt"])),
]

# The front end, in a table of its own.
FRONT_COLUMNS = [
    ("family", 10, lambda r: r["family"]),
    ("n", 5, lambda r: str(r["n"])),
    ("time", 8, lambda r: time(r["front_seconds"])),
    ("predicted", 9, lambda r: f"{100 * r['front_predicted']:.0f} %"),
    ("rounds", 6, lambda r: number(r["front_rounds"])),
    ("dual", 6, lambda r: number(r["front_dual_steps"])),
    ("passes", 6, lambda r: number(r["front_core_passes"])),
    ("cold", 6, lambda r: number(r["front_cold_seconds"] / r["front_seconds"])),
    ("entry", 6, lambda r: number(r["seconds"] / r["front_seconds"])),
    ("quadprog", 8, lambda r: number(r["front_quadprog"])),
    ("cvxopt", 6, lambda r: number(r["front_cvxopt"])),
]


def print_row(cell, columns=COLUMNS):
    print(*(cell(column).rjust(column[1]) if k else cell(column).ljust(column[1])
            for k, column in enumerate(columns)), flush=True)


def print_measured(row, columns=COLUMNS):
    def cell(column):
        try:
            return column[2](row)
        except KeyError:
            return "-"
    print_row(cell, columns)


def cases(options):
    families = QUICK if options.quick else FULL
    if options.selection:
        families = [(options.selection[0], [int(n) for n in options.selection[1:]])]
    for family, sizes in families:
        for n in sizes:
            yield (["--plain"] if n <= LARGEST_PLAIN else []) + [family, str(n)]
    if options.selection:
        return
    folder = pathlib.Path(options.problems)
    files = sorted(folder.glob("*.QPS"), key=lambda file: file.stat().st_size)
    if not files:
        print(f"(no problem files in {folder}: the Maros-Meszaros set is not measured)")
    for file in files:
        if not options.quick or file.stem in QUICK_FILES:
            yield ["--plain", str(file)]


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("\n\n")[1])
    parser.add_argument("program")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--without-peers", action="store_true")
    parser.add_argument("--problems", default=HERE.parent.parent / "shared" / "problems" / "maros")
    parser.add_argument("selection", nargs="*")
    options = parser.parse_intermixed_args()
    environment = one_thread()
    print(model())
    if not options.without_peers and not all(shutil.which(command[0]) for command in PEERS.values()):
        print("(not all peers are installed)")
    print_row(lambda column: column[0])
    failures = []
    rows = []
    for arguments in cases(options):
        try:
            row = measure(options, arguments, environment)
        except Disagreement as disagreement:
            failures.append(f"{' '.join(arguments)}: {disagreement}")
            continue
        if isinstance(row, str):
            print(f"{pathlib.Path(arguments[-1]).stem}: {row}", flush=True)
        else:
            print_measured(row)
            rows.append(row)
    print("\nThe same problems through the C++ front end, proofs included:")
    print_row(lambda column: column[0], FRONT_COLUMNS)
    for row in rows:
        print_measured(row, FRONT_COLUMNS)
    print(LEGEND)
    print(*failures, sep="\n", end="\n" if failures else "")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
