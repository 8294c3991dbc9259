"""A directive that draws a stored table of a page: bars, one group a row.

    ```{table-plot} r.md 0
    title: …
    ```

takes the first table of r.md, whose rows are series and whose columns are sizes; both axes are logarithmic.
"""

import pathlib
import re

import matplotlib

matplotlib.use("Agg")
from docutils import nodes  # noqa: E402
from docutils.parsers.rst import Directive  # noqa: E402
from matplotlib import pyplot  # noqa: E402

FOLDER = pathlib.Path(__file__).resolve().parent.parent


def tables(text):
    """The tables of a Markdown text: a list of rows of cells each."""
    found = []
    for block in re.findall(r"(?:^\|.*\n)+", text, re.MULTILINE):
        rows = [[cell.strip().strip("`") for cell in line.strip().strip("|").split("|")]
                for line in block.splitlines()]
        found.append([row for row in rows if not set("".join(row)) <= set("-: ")])
    return found


class TablePlot(Directive):
    required_arguments = 2
    has_content = True

    def run(self):
        name, index = self.arguments
        header, *rows = [table for table in tables((FOLDER / name).read_text(encoding="utf-8"))
                         if all(cell.isdigit() for cell in table[0][1:])][int(index)]
        sizes = [int(cell) for cell in header[1:]]
        figure, axes = pyplot.subplots(figsize=(6, 3.4), layout="constrained")
        for row in rows:
            times = [float(cell.replace(" ", "").replace("\u00a0", "")) for cell in row[1:]]
            axes.loglog(sizes, times, marker="o", label=row[0])
        axes.set_xticks(sizes, [str(size) for size in sizes])
        axes.minorticks_off()
        axes.set_xlabel(header[0])
        axes.set_ylabel(" ".join(self.content) or "microseconds")
        axes.grid(True, alpha=0.3)
        axes.legend()
        folder = pathlib.Path(self.state.document.settings.env.app.outdir) / "_static"
        folder.mkdir(parents=True, exist_ok=True)
        file = f"plot_{pathlib.Path(name).stem}_{index}.svg"
        matplotlib.rcParams["svg.hashsalt"] = "activeset"
        figure.savefig(folder / file, metadata={"Date": None})
        pyplot.close(figure)
        alternative = ", ".join(row[0] for row in rows) + f" over {header[0]}"
        return [nodes.raw("", f'<p><img src="_static/{file}" alt="{alternative}"></p>', format="html")]


def setup(app):
    app.add_directive("table-plot", TablePlot)
    return {"parallel_read_safe": True}
