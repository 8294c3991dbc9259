"""Fails on a public name of the Python package without a docstring."""

import inspect
import sys

import activeset
import activeset.compat.qpsolvers
import activeset.compat.quadprog

missing = []
for module in (activeset, activeset.compat.quadprog, activeset.compat.qpsolvers):
    names = getattr(module, "__all__", None) or [name for name in vars(module) if not name.startswith("_")]
    for name in names:
        value = getattr(module, name)
        if (inspect.isclass(value) or callable(value)) and not inspect.getdoc(value):
            missing.append(f"{module.__name__}.{name}")
        if inspect.isclass(value) and value.__module__.startswith("activeset"):
            missing += [f"{module.__name__}.{name}.{member}" for member, part in vars(value).items()
                        if not member.startswith("_") and inspect.isfunction(part) and not inspect.getdoc(part)]
print(*missing, sep="\n")
sys.exit(bool(missing))
