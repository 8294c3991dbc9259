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


def check_soft_sides(tool, folder):
    """Penalties of Python's problem reach the tool, and those of the tool's file reach Python."""
    if activeset is None:
        return
    soft = {"h": ([np.inf, 0.5], None), "b": 8.0, "lb": (None, [0.0, 1.0])}
    problem = activeset.Problem(np.eye(2), [-2.0, -3.0], [[1.0, -1.0], [1.0, 1.0]], [9.0, 3.0],
                                [[1.0, 0.0]], [1.0], [0.0, 3.5], soft=soft)
    problem.save(folder / "soft.npz")
    run(tool, "convert", folder / "soft.npz", folder / "soft.json")
    run(tool, "convert", folder / "soft.json", folder / "again.npz")
    for name in ("soft.npz", "soft.json", "again.npz"):
        # x = 1; y - 3 + 0.5 - (3.5 - y) = 0
        np.testing.assert_allclose(json.loads(run(tool, "solve", "--json", folder / name))["x"],
                                   [1.0, 3.0], atol=1e-12)
        np.testing.assert_allclose(activeset.read(folder / name).solve().x, [1.0, 3.0], atol=1e-12)
    back = activeset.Problem.load(folder / "again.npz").soft
    assert sorted(back) == ["b", "h", "lb"] and back["h"][0].tolist() == [np.inf, 0.5]
    assert back["b"][0].tolist() == [8.0] and back["lb"][1].tolist() == [0.0, 1.0]


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
        check_soft_sides(tool, pathlib.Path(name))
        check_published_form(tool, pathlib.Path(name))


if __name__ == "__main__":
    main(*sys.argv[1:])
