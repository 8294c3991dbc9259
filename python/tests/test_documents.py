"""Runs the examples of docstrings and Markdown files; checks types and imports."""

import doctest
import importlib
import pathlib
import pkgutil
import subprocess
import sys

import pytest

import activeset

ROOT = pathlib.Path(__file__).resolve().parents[2]
MODULES = ["activeset"] + [f"activeset.{name}" for name in (
    "_batch", "_diagnose", "_explain", "_least_squares", "_linprog", "_many", "_path", "_problem",
    "_regions", "_relax", "_sensitivity", "compat.quadprog", "compat.qpsolvers")]


@pytest.mark.parametrize("name", MODULES)
def test_examples_of_docstrings(name):
    module = importlib.import_module(name)
    found = {"activeset": activeset, "Problem": activeset.Problem}
    result = doctest.testmod(module, extraglobs=found)
    assert result.attempted and not result.failed


@pytest.mark.parametrize("function", ["solve_qp", "Solver"])
def test_examples_of_the_extension_module(function):
    finder = doctest.DocTestParser().get_doctest(
        getattr(activeset, function).__doc__, {}, function, None, 0)
    runner = doctest.DocTestRunner()
    runner.run(finder)
    assert runner.tries and not runner.failures


@pytest.mark.parametrize("document", ["docs/python.md", "README.md"])
def test_examples_of_documents(document, tmp_path, monkeypatch):
    """Runs the Python blocks of a page one after the other; those with prompts are doctests."""
    monkeypatch.chdir(tmp_path)
    text = (ROOT / document).read_text(encoding="utf-8")
    blocks = [block.split("```")[0] for block in text.split("```python\n")[1:]]
    assert blocks
    scope = {}
    runner = doctest.DocTestRunner()
    for k, block in enumerate(blocks):
        if block.startswith(">>>"):
            test = doctest.DocTestParser().get_doctest(block, scope, f"{document}:{k}", None, 0)
            runner.run(test, clear_globs=False)
            scope = test.globs
            assert not runner.failures
        else:
            exec(compile(block, document, "exec"), scope)


def test_the_program_of_the_readme_is_the_example():
    block = (ROOT / "README.md").read_text(encoding="utf-8").split("```cpp\n")[1].split("```")[0]
    assert block == (ROOT / "examples" / "quick_start.cpp").read_text(encoding="utf-8")


def test_the_store_has_an_example_that_runs():
    pytest.importorskip("zarr")
    assert doctest.testmod(importlib.import_module("activeset.batch")) == (0, 7)


def test_the_backtest_proves_its_optima_and_draws_them(tmp_path):
    pytest.importorskip("matplotlib")
    run = subprocess.run([sys.executable, str(ROOT / "examples" / "backtest.py"), "picture.png"],
                         capture_output=True, text=True, cwd=tmp_path, check=True)
    assert run.stdout.startswith("100000 problems") and "all proved" in run.stdout
    assert (tmp_path / "picture.png").read_bytes().startswith(b"\x89PNG")


def test_every_public_name_is_documented():
    for name in activeset.__all__:
        assert getattr(activeset, name).__doc__, name
    assert set(activeset.__all__) <= set(dir(activeset))


def test_the_package_passes_strict_mypy_and_its_stubs_are_true(tmp_path):
    pytest.importorskip("mypy")
    config = ["--config-file", str(ROOT / "pyproject.toml"), "--cache-dir", str(tmp_path)]
    package = pathlib.Path(activeset.__file__).parent
    check = subprocess.run([sys.executable, "-m", "mypy", *config, "-p", "activeset"],
                           capture_output=True, text=True, cwd=package.parent, check=False)
    assert check.returncode == 0, check.stdout
    from activeset import _core, _records

    for module in (_core, _records):
        stub = package / f"{module.__name__.split('.')[-1]}.pyi"
        text = stub.read_text(encoding="utf-8")
        for name in vars(module):
            if not name.startswith("_") and name not in ("np", "annotations", "itemgetter"):
                assert name == "Record" or f" {name}(" in text or f"{name}:" in text, name


def test_import_brings_no_optional_package():
    code = ("import sys, activeset; print([m for m in ('scipy', 'pandas', 'tqdm', 'typing', "
            "'dataclasses') if m in sys.modules])")
    before = code.replace("activeset", "numpy", 1)
    printed = [subprocess.run([sys.executable, "-c", c], capture_output=True, text=True,
                              check=True).stdout for c in (code, before)]
    assert printed[0] == printed[1]


def test_all_modules_can_be_imported():
    for module in pkgutil.walk_packages(activeset.__path__, "activeset."):
        if module.name == "activeset.torch":
            pytest.importorskip("torch")
        importlib.import_module(module.name)
