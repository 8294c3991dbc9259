"""The calls of other packages, argument for argument."""

from . import qpsolvers, quadprog

__all__ = ["qpsolvers", "quadprog"]
