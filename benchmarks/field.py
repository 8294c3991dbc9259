#!/usr/bin/env python3
"""Times the front end and other solvers and prints one table; scripts/bench builds and calls it.

usage: field.py PROGRAM [--quick] [--without-peers] [--problems FOLDER] [FAMILY N...]

PROGRAM is activeset_field. FOLDER has files of predictive control, LIPMWALK*.QPS and WHLIPBAL*.QPS. cvxopt is timed
in the same run; field.csv has the time of the best other solver as a fraction of the time of cvxopt.
"""

import argparse
import csv
import json
import pathlib
import subprocess
import sys
import tempfile

from machine import model, number, one_thread, time

HERE = pathlib.Path(__file__).resolve().parent
CVXOPT = ["/usr/bin/python3", str(HERE / "peers" / "cvxopt_qp.py")]
AGREEMENT = 1e-6  # relative, of objectives
QUICK = [("random30", [5, 10, 20, 50, 100, 200, 500]), ("random60", [100]), ("box50", [10, 50, 100, 500]),
         ("svm-C1", [20, 100, 500]), ("svm-C100", [100]), ("portfolio", [50, 200]), ("linear-kernel", [100]),
         ("tall", [50]), ("infeasible-rows", [50]), ("infeasible-bounds", [50]),
         ("sequence:random30", [20, 100]), ("sequence:box50", [100]), ("sequence:svm-C1", [100]),
         ("sequence:portfolio", [50]), ("many1:random30", [20]), ("many2:random30", [20]),
         ("batch1:random30", [10]), ("batch2:random30", [10]), ("shared1:random30", [10]), ("shared2:random30", [10])]
FULL = [("random10", [20, 100, 500]), ("random30", [5, 10, 20, 50, 100, 200, 500, 1000, 2000]),
        ("random60", [20, 100, 500]), ("box10", [100, 500]), ("box50", [10, 50, 100, 500, 1000]),
        ("svm-C1", [20, 50, 100, 200, 500, 1000]), ("svm-C100", [100, 500, 1000]),
        ("portfolio", [50, 200, 500, 1000]), ("linear-kernel", [20, 100, 500]), ("tall", [20, 50, 100]),
        ("infeasible-rows", [20, 50, 100, 200, 500]), ("infeasible-bounds", [20, 50, 100, 200, 500]),
        ("sequence:random30", [20, 50, 100, 200]), ("sequence:box50", [100, 200]),
        ("sequence:svm-C1", [100, 500]), ("sequence:portfolio", [50, 200]), ("sequence:linear-kernel", [200]),
        ("many1:random30", [20]), ("many2:random30", [20]),
        ("batch1:random30", [10, 20]), ("batch2:random30", [10, 20]),
        ("shared1:random30", [10, 20]), ("shared2:random30", [10, 20])]
FILES = [("LIPMWALK", 16), ("WHLIPBAL", 50)]  # and their sizes in field.csv

LEGEND = """
time        one solve of the front end, proof included, from the caller's views to the result. seq: one step of a Solver
            whose c and sides have changed. many: wall-clock time per problem, for 2000 problems. batch, shared: the same
            from arrays to arrays, for 20000 problems with matrices of their own or shared ones
cvxopt      its time for a cold solve with residuals up to 1e-9; /ours: divided by our time
best/ours   the time of the best of seven dense solvers divided by ours; it is their share of cvxopt's time in another
            run (field.csv) times cvxopt's time in this one. Above 1 we are faster
"""

COLUMNS = [
    ("family", 19, lambda r: r["family"]),
    ("n", 5, lambda r: str(r["n"])),
    ("rows", 5, lambda r: str(r["rows"])),
    ("eq", 4, lambda r: str(r["equalities"])),
    ("time", 8, lambda r: time(r["seconds"])),
    ("cvxopt", 8, lambda r: time(r["cvxopt"])),
    ("/ours", 6, lambda r: number(r["cvxopt"] / r["seconds"])),
    ("best/ours", 9, lambda r: number(r["best"] / r["seconds"])),
]


def print_row(cell):
    print(*(cell(column).rjust(column[1]) if k else cell(column).ljust(column[1])
            for k, column in enumerate(COLUMNS)), flush=True)


def print_measured(row):
    def cell(column):
        try:
            return column[2](row)
        except KeyError:
            return "-"
    print_row(cell)


class Failure(Exception):
    pass


def shares():
    with open(HERE / "field.csv", encoding="utf-8") as file:
        table = csv.DictReader(line for line in file if not line.startswith("#"))
        return {(row["family"], int(row["n"])): (float(row["share"]), int(row["cvxopt_n"])) for row in table}


class Bench:
    def __init__(self, options):
        self.options = options
        self.seconds = 0.3 if options.quick else 1.5
        self.environment = one_thread()
        self.shares = shares()
        self.cvxopt = {}  # cold seconds, by family and size

    def run(self, command):
        run = subprocess.run([str(word) for word in command], env=self.environment, text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        if run.returncode != 0:
            raise Failure(run.stderr.strip().splitlines()[-1] if run.stderr.strip() else "ended")
        return run.stdout

    def time_cvxopt(self, family, n, folder, values):
        """Seconds of cvxopt, measured once for each cold family and size."""
        if (family, n) not in self.cvxopt:
            numbers = [float(word) for word in self.run([*CVXOPT, folder, self.seconds]).split()]
            for theirs, ours in zip(numbers[1:], values):
                if not abs(theirs - ours) <= AGREEMENT * (1.0 + abs(ours)):
                    raise Failure(f"{family} {n}: cvxopt ends at {theirs!r}, we at {ours!r}")
            self.cvxopt[family, n] = numbers[0]
        return self.cvxopt[family, n]

    def cold_cvxopt(self, family, n):
        """Seconds of cvxopt for another size than the row's, which field.csv refers to."""
        if (family, n) not in self.cvxopt:
            with tempfile.TemporaryDirectory() as folder:
                self.run([self.options.program, "--seconds", 0, "--write", folder, family, n])
                self.time_cvxopt(family, n, folder, [])
        return self.cvxopt[family, n]

    def measure(self, name, n, arguments):
        family = name.rpartition(":")[2]
        with tempfile.TemporaryDirectory() as folder:
            command = [self.options.program, "--seconds", self.seconds, "--write", folder, name, *arguments]
            row = json.loads(self.run(command))
            if self.options.without_peers:
                return row
            row["cvxopt"] = self.time_cvxopt(family, n, folder, row["values"])
            # Time once more after cvxopt, so that other load slows both down.
            row["seconds"] = min(row["seconds"], json.loads(self.run(command))["seconds"])
        if (name, n) in self.shares:
            share, size = self.shares[name, n]
            cold = row["cvxopt"] if size == n else self.cold_cvxopt(family, size)
            row["best"] = share * cold
        return row

    def rows(self):
        if self.options.selection:
            name, *sizes = self.options.selection
            yield from ((name, int(n), [n]) for n in sizes)
            return
        for name, sizes in QUICK if self.options.quick else FULL:
            yield from ((name, n, [n]) for n in sizes)
        for name, n in FILES:
            files = sorted(pathlib.Path(self.options.problems).glob(name + "*.QPS"))
            if files:
                yield name, n, files
        files = sorted(pathlib.Path(self.options.problems).glob("WHLIPBAL*.QPS"))
        if files:
            yield "sequence:WHLIPBAL", 50, files


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("\n\n")[1])
    parser.add_argument("program")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--without-peers", action="store_true")
    parser.add_argument("--problems", default=HERE.parent.parent / "shared" / "problems" / "mpc")
    parser.add_argument("selection", nargs="*")
    options = parser.parse_intermixed_args()
    bench = Bench(options)
    print(model() + "\n\nThe front end and other solvers, proofs included:")
    print_row(lambda column: column[0])
    failures = []
    for name, n, arguments in bench.rows():
        try:
            print_measured(bench.measure(name, n, arguments))
        except Failure as failure:
            failures.append(f"{name} {n}: {failure}")
    print(LEGEND)
    print(*failures, sep="\n", end="\n" if failures else "")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
