"""Builds the extension modules of the Python package with CMake; pyproject.toml has the rest."""

import os
import pathlib
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    """All extensions come from one build of the project, without its tool and tests."""

    def run(self):
        build = pathlib.Path(self.build_temp).resolve()
        options = [
            "-DCMAKE_BUILD_TYPE=Release",
            "-DACTIVESET_BUILD_PYTHON=ON",
            "-DACTIVESET_BUILD_CLI=OFF",
            "-DACTIVESET_BUILD_TESTS=OFF",
            f"-DPython_EXECUTABLE={sys.executable}",
        ]
        subprocess.run(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", *options], check=True)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count() or 1))
        subprocess.run(["cmake", "--build", build, "--target", "activeset_python", "-j", jobs],
                       check=True)
        for extension in self.extensions:
            name = pathlib.Path(self.get_ext_filename(extension.name))
            target = pathlib.Path(self.get_ext_fullpath(extension.name))
            target.parent.mkdir(parents=True, exist_ok=True)
            self.copy_file(str(build / "python" / name), str(target))


setup(
    ext_modules=[Extension("activeset._core", []), Extension("activeset._reader", [])],
    cmdclass={"build_ext": CMakeBuild},
)
