"""Shared by the measuring scripts: the machine, the environment of a process, how a time is printed."""

import os
import pathlib
import platform


def model():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            key, _, value = line.partition(":")
            if key.strip() == "model name":
                return value.strip()
    return platform.machine()


def one_thread():
    """One BLAS thread; the BLAS chooses its kernels by the processor, as that of activeset does."""
    environment = dict(os.environ, OPENBLAS_NUM_THREADS="1")
    environment.pop("OPENBLAS_CORETYPE", None)
    folder = next(pathlib.Path("/usr/lib").glob("*/openblas-pthread/libblas.so.3"), None)
    if folder is not None:
        environment["LD_LIBRARY_PATH"] = str(folder.parent)
    return environment


def time(seconds):
    for unit, factor in (("s", 1.0), ("ms", 1e3)):
        if seconds * factor >= 1.0:
            return f"{seconds * factor:.3g} {unit}"
    return f"{seconds * 1e6:.3g} us"


def number(value, digits=3):
    return f"{value:.{digits}g}" if value < 1000 else f"{value:.0f}"
