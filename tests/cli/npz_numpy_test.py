#!/usr/bin/python3
"""Exchanges problems and results as archives between the tool, NumPy and, if built, the Python package.

usage: npz_numpy_test.py TOOL FOLDER     FOLDER has problem files. Exits with 77 without NumPy.
"""

import json
import pathlib
import subprocess
import sys
import tempfile

try:
    import numpy as np
except ImportError:
    sys.exit(77)
try:
    import activeset
except ImportError:
    activeset = None


def run(tool, *arguments):
    done = subprocess.run([tool, *map(str, arguments)], capture_output=True, text=True, check=True)
    return done.stdout


def check_conversion(tool, folder, original):
    """Expects the same problem in both files, and that Python reads and writes it."""
    first = json.loads(run(tool, "solve", "--json", original))
    assert run(tool, "convert", original, folder / "a.npz") == ""
    second = json.loads(run(tool, "solve", "--json", folder / "a.npz"))
    assert second["objective"] == first["objective"] and second["names"] == first["names"]
    assert sorted(second["row_names"]) == sorted(first["row_names"])
    with np.load(folder / "a.npz", allow_pickle=False) as file:
        parts = dict(file)
    assert parts["q"].dtype == np.float64 and list(parts["names"]) == first["names"]
    if activeset is None:
        return
    problem = activeset.Problem.load(folder / "a.npz")
    problem.save(folder / "b.npz")
    third = json.loads(run(tool, "solve", "--json", folder / "b.npz"))
    assert {**third, "file": "", "seconds": 0} == {**second, "file": "", "seconds": 0}
    read = activeset.read(folder / "b.npz")
    for name, part in parts.items():
        np.testing.assert_array_equal(getattr(read, name), part, name)


def check_published_form(tool, folder):
    """A part that is None is absent; a part that is no array of numbers is an error."""
    parts = {"P": np.eye(2), "q": np.array([-1.0, -2.0]), "G": None, "h": None,
             "A": np.ones((1, 2)), "b": np.ones(1), "lb": None, "ub": None}
    for save in (np.savez, np.savez_compressed):
        save(folder / "set.npz", **parts)
        run(tool, "solve", folder / "set.npz", "-o", folder / "result.npz")
        with np.load(folder / "result.npz", allow_pickle=False) as result:
            assert result["outcome"] == "optimal"
            np.testing.assert_allclose(result["objective"], -1.5, rtol=1e-9)
            np.testing.assert_allclose(result["x"], [0.0, 1.0], atol=1e-12)
    np.savez(folder / "odd.npz", q=np.array([1, None]))
    refused = subprocess.run([tool, "solve", folder / "odd.npz"], capture_output=True, text=True)
    assert refused.returncode == 7 and "q.npy: expected an array" in refused.stderr


def main(tool, problems):
    with tempfile.TemporaryDirectory() as name:
        for problem in ("hs21.qps", "hs118.qps"):
            check_conversion(tool, pathlib.Path(name), pathlib.Path(problems) / problem)
        check_published_form(tool, pathlib.Path(name))


if __name__ == "__main__":
    main(*sys.argv[1:])
