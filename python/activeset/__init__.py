"""Dense convex quadratic and linear programs, solved with a proof.

The functions take NumPy arrays and keyword arguments and return a `Result`:

>>> import numpy as np, activeset
>>> r = activeset.solve_qp(P=np.eye(2), q=[-2.0, -3.0], G=[1.0, 1.0], h=[3.0])
>>> r.x
array([1., 2.])

docs/python.md of the project is the tutorial.
"""

from __future__ import annotations

import atexit as _atexit

from . import _core
from ._core import Solver, solve_qp
from ._problem import Problem
from ._records import (
    Certificate,
    Conflict,
    Farkas,
    Fault,
    Iterations,
    Marginals,
    Progress,
    Residual,
    Settings,
    Times,
    ViolatedSides,
    WarmStart,
    WorkingSet,
)
from ._result import Result, SolveError, Status
from ._faults import ProblemError

__version__ = "0.1.0"

__all__ = [
    "BatchResult", "Certificate", "Conflict", "Diagnosis", "Farkas", "Fault", "Finding",
    "Iterations", "Marginals", "Problem", "ProblemError", "Progress", "ReadError", "Relaxation",
    "Residual", "Result", "Settings", "SolveError", "Sensitivity",
    "Solver", "Status", "Times", "ViolatedSides", "WarmStart", "WorkingSet", "batch", "compat",
    "diagnose", "explain_infeasibility", "linprog", "lsq_linear", "nnls", "path", "ranges", "read",
    "regions", "relax", "solve_batch", "solve_ls", "solve_many", "solve_qp",
]

_core.configure(Result, tuple(Status))
_atexit.register(_core.end_tasks)

# The modules of names that are imported at their first use.
_LATER = {
    "BatchResult": "_batch",
    "Diagnosis": "_diagnose",
    "Finding": "_diagnose",
    "ReadError": "_files",
    "Relaxation": "_relax",
    "Sensitivity": "_sensitivity",
    "diagnose": "_diagnose",
    "explain_infeasibility": "_explain",
    "linprog": "_linprog",
    "lsq_linear": "_least_squares",
    "nnls": "_least_squares",
    "path": "_path",
    "ranges": "_sensitivity",
    "read": "_files",
    "regions": "_regions",
    "relax": "_relax",
    "solve_batch": "_batch",
    "solve_ls": "_least_squares",
    "solve_many": "_many",
}

TYPE_CHECKING = False
if TYPE_CHECKING:
    from . import batch, compat
    from ._batch import BatchResult, solve_batch
    from ._diagnose import Diagnosis, Finding, diagnose
    from ._explain import explain_infeasibility
    from ._files import ReadError, read
    from ._least_squares import lsq_linear, nnls, solve_ls
    from ._linprog import linprog
    from ._many import solve_many
    from ._path import path
    from ._regions import regions
    from ._relax import Relaxation, relax
    from ._sensitivity import Sensitivity, ranges


def __getattr__(name: str) -> object:
    from importlib import import_module

    if name in ("batch", "compat"):
        return import_module("." + name, __name__)
    if name not in _LATER:
        raise AttributeError(f"module 'activeset' has no attribute '{name}'")
    value = getattr(import_module("." + _LATER[name], __name__), name)
    globals()[name] = value
    return value


def __dir__() -> list[str]:
    return sorted({*globals(), *__all__})
