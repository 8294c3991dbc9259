#!/usr/bin/python3
"""The tool's output fits in 100 columns and its help in 80, for sound files, damaged files and misuse.

usage: width_test.py TOOL PROJECT     PROJECT has fuzz/corpus and examples/problems
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile

MESSAGE, HELP = 100, 80
VERBS = (["solve", "--solution"], ["explain"], ["relax"], ["check"], ["solve", "--strict"])
MISUSE = (["solve"], ["solve", "absent.qps"], ["solve", ".", "--jobs", "0"], ["solves", "f.lp"],
          ["solve", "f.lp", "--format", "xml"], ["solve", "f.lp", "-o", "f.txt"],
          ["solve", "f.lp", "--tolerance", "2"], ["solve", "f.lp", "--resume"],
          ["solve", "f.lp", "--start", "warm"], ["solve", "f.lp", "--unknown"],
          ["solve", "f.lp", "--tol-con", "1"], ["relax", "f.lp", "--hard", "none"],
          ["report", "f.lp"], ["compare", "f.lp", "f.lp"], ["convert", "f.lp", "--to", "xml"],
          ["solve", "f.lp", "--warm", "f.lp"], ["solve", "empty"], ["solve", "f.lp", "f.lp"])


LONG = "a_name_that_somebody_took_from_a_database_with_many_columns"
DAMAGED = {
    "json": ['{"schema": "activeset-problem/1", "%s": [1]}' % LONG, '{"schema": "%s"}' % LONG,
             '{"schema": "activeset-problem/1", "c": [1], "upper": ["%s"]}' % LONG],
    "lp": [f"min x\nst\n x + {LONG} >= 1 <= {LONG}\n", f"min x * {LONG} * {LONG}\n",
           f"min x\nst\n x >= 1\nbounds\n x + {LONG} <= 3\n", f"min x\n{LONG}\n x\nend\n",
           "min x\nst\n x >= 1\nbounds\n x <= -1\n", "min x\nst\n [x^2] <= 1\n"],
    "mps": [f"ROWS\n N o\nCOLUMNS\n x o 1\n{LONG}\n", f"ROWS\n N o\nCOLUMNS\n x {LONG} 1\n",
            f"ROWS\n N o\nCOLUMNS\n x o {LONG}\n", f"ROWS\n Q {LONG}\n"],
}


def inputs(project):
    """Files, each with the name of its format."""
    corpora = {"lp": "lp", "json": "json", "npz": "npz", "reader": "mps"}
    for folder, word in corpora.items():
        for file in sorted((project / "fuzz" / "corpus" / folder).iterdir()):
            yield file, word
    for file in sorted((project / "examples" / "problems").glob("*.qps")):
        yield file, "mps"


class Widths:
    def __init__(self, tool, folder):
        self.tool, self.folder, self.lines, self.long = tool, folder, 0, []

    def check(self, arguments, widest=MESSAGE):
        done = subprocess.run([self.tool, *arguments], cwd=self.folder, capture_output=True,
                              stdin=subprocess.DEVNULL, check=False)
        for line in (done.stdout + done.stderr).decode("utf-8", "replace").splitlines():
            self.lines += 1
            if len(line) > widest:
                self.long.append(f"{' '.join(arguments)}: {len(line)} columns: {line}")


def main(tool, project):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        widths = Widths(tool, folder)
        for file, word in inputs(pathlib.Path(project)):
            shutil.copy(file, folder / "f")
            for verb in VERBS:
                widths.check([*verb, "--format", word, "f"])
        for word, texts in DAMAGED.items():
            for text in texts:
                (folder / "f").write_text(text)
                widths.check(["check", "--format", word, "f"])
        (folder / "empty").mkdir()
        (folder / "f.lp").write_text("min x\nst\n capacity: x + y <= 4\nbounds\n x >= 3\n y >= 2\n")
        for arguments in MISUSE:
            widths.check(arguments)
        widths.check(["--help"], HELP)
        for verb in ("solve", "explain", "relax", "check", "convert", "compare", "report"):
            widths.check([verb, "--help"], HELP)
    print(*widths.long, sep="\n")
    print(f"{widths.lines} lines, {len(widths.long)} too long")
    return 1 if widths.long or widths.lines < 1000 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
