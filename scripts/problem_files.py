"""Shared by the scripts that solve problem files."""

import json
import os
import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
TOOL = ROOT / "build/release/cli/activeset"
PROBLEMS = pathlib.Path(os.environ.get("ACTIVESET_SHARED", ROOT.parent / "shared")) / "problems"


def files_in(folder):
    return sorted(folder.glob("*.[qQ][pP][sS]"))


def solve(program, file, *options):
    """The first line that the program prints for the file, which is a JSON object."""
    run = subprocess.run([program, *map(str, options), file], capture_output=True, text=True,
                         check=False)
    if not run.stdout:
        raise RuntimeError(f"{program} {file}: {run.stderr.strip() or run.returncode}")
    return json.loads(run.stdout.splitlines()[0])
