"""Errors of stores and clusters."""

from __future__ import annotations


class BatchError(RuntimeError):
    """A store is no batch, is damaged, is done already, or could not be finished."""
