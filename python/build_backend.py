"""The backend of setuptools, which also requires CMake and Ninja if the machine lacks them."""

import shutil

from setuptools import build_meta
from setuptools.build_meta import *  # noqa: F401,F403

TOOLS = {"cmake": "cmake>=3.25", "ninja": "ninja"}


def get_requires_for_build_wheel(config_settings=None):
    missing = [package for tool, package in TOOLS.items() if shutil.which(tool) is None]
    return build_meta.get_requires_for_build_wheel(config_settings) + missing
