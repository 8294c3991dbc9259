"""Directives that draw the results which pages have stored; all axes are logarithmic.

    ```{table-plot} r.md 0
    label of the vertical axis
    ```

takes the first table of r.md whose columns are sizes; its rows are the series.

    ```{field-plot} performance.md
    family, family, ...
    ```

takes the printed table of `scripts/bench field`: the best peer's time over ours by the number of variables.
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


def field_rows(text):
    """(family, n, best/ours) of the printed table; rows without a peer are left out."""
    block = re.search(r"^family +n .*best/ours\n((?:(?!```).+\n)+)", text, re.MULTILINE).group(1)
    for line in block.splitlines():
        family, n, *_, share = line.split()
        if share != "-":
            yield family, int(n), float(share)


class Plot(Directive):
    """Draws series, (label, sizes, values), into a file of the site."""

    has_content = True

    def image(self, file, series, across, up, level=None):
        figure, axes = pyplot.subplots(figsize=(6, 3.4), layout="constrained")
        for label, sizes, values in series:
            axes.loglog(sizes, values, marker="o", label=label)
        sizes = sorted({size for _, some, _ in series for size in some})
        axes.set_xticks(sizes, [str(size) for size in sizes])
        axes.minorticks_off()
        axes.yaxis.set_major_formatter("{x:g}")
        if level is not None:
            axes.axhline(level, color="0.4", linewidth=1)
        axes.set_xlabel(across)
        axes.set_ylabel(up)
        axes.grid(True, alpha=0.3)
        axes.legend(fontsize="small")
        folder = pathlib.Path(self.state.document.settings.env.app.outdir) / "_static"
        folder.mkdir(parents=True, exist_ok=True)
        matplotlib.rcParams["svg.hashsalt"] = "activeset"
        figure.savefig(folder / file, metadata={"Date": None})
        pyplot.close(figure)
        alternative = ", ".join(label for label, _, _ in series) + f" over {across}"
        return [nodes.raw("", f'<p><img src="_static/{file}" alt="{alternative}"></p>', format="html")]


class TablePlot(Plot):
    required_arguments = 2

    def run(self):
        name, index = self.arguments
        header, *rows = [table for table in tables((FOLDER / name).read_text(encoding="utf-8"))
                         if all(cell.isdigit() for cell in table[0][1:])][int(index)]
        sizes = [int(cell) for cell in header[1:]]
        series = [(row[0], sizes,
                   [float(cell.replace(" ", "").replace("\u00a0", "")) for cell in row[1:]])
                  for row in rows]
        return self.image(f"plot_{pathlib.Path(name).stem}_{index}.svg", series, header[0],
                          " ".join(self.content) or "microseconds")


class FieldPlot(Plot):
    required_arguments = 1

    def run(self):
        name, = self.arguments
        found = list(field_rows((FOLDER / name).read_text(encoding="utf-8")))
        series = []
        for family in (label.strip() for label in " ".join(self.content).split(",")):
            points = [(n, share) for one, n, share in found if one == family]
            if not points:
                raise self.error(f"{name} has no results of {family}")
            series.append((family, *zip(*points)))
        slug = re.sub(r"[^a-z0-9]+", "-", series[0][0].lower())
        return self.image(f"plot_field_{slug}.svg", series, "n", "best peer's time / ours", 1.0)


def setup(app):
    app.add_directive("table-plot", TablePlot)
    app.add_directive("field-plot", FieldPlot)
    return {"parallel_read_safe": True}
