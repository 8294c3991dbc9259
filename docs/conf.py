"""The documentation site: Sphinx over the Markdown of this folder and the comments of the sources."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "docs" / "site"))
sys.path.insert(0, str(ROOT / "build" / "release" / "python"))

project = "activeset"
copyright = "2026, the activeset developers"
author = "the activeset developers"
version = release = re.search(r"VERSION (\d+\.\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text())[1]

extensions = ["myst_parser", "breathe", "sphinx.ext.autodoc", "sphinx.ext.napoleon", "sphinx_inline_tabs",
              "sphinx_copybutton", "plots"]
exclude_patterns = ["site"]
myst_heading_anchors = 4
myst_enable_extensions = ["colon_fence", "deflist"]
suppress_warnings = ["misc.highlighting_failure"]  # the language of an example that no lexer knows
nitpicky = False

breathe_projects = {"activeset": str(ROOT / "build" / "docs" / "xml")}
breathe_default_project = "activeset"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
breathe_default_members = ("members", "undoc-members")
autodoc_member_order = "bysource"
autodoc_typehints = "signature"
napoleon_google_docstring = False
napoleon_use_ivar = True
copybutton_prompt_text = r">>> |\.\.\. |\$ "
copybutton_prompt_is_regexp = True

html_theme = "furo"
html_title = f"activeset {version}"
html_static_path = ["site/static"]
html_css_files = ["site.css"]


def tell_files_of_the_project(app, name, source):
    """Links out of this folder, which lead somewhere in a checkout, are paths on the site."""
    source[0] = re.sub(r"\[([^\]]*)\]\(\.\./([^)]*)\)", r"`\2`", source[0])


def list_other_pages(app, name, source):
    """Pages that the index does not name yet are listed at its end."""
    if name == "index":
        others = sorted(app.env.found_docs - {"index"} - set(re.findall(r"^[\w/]+$", source[0], re.MULTILINE)))
        if others:
            source[0] += "\n".join(["\n```{toctree}", ":hidden:", ":caption: More", "", *others, "```", ""])


def setup(app):
    app.connect("source-read", tell_files_of_the_project)
    app.connect("source-read", list_other_pages)
