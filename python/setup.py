# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Puts the shared libraries into the package: a wheel works without anything installed beside it.

pyproject.toml describes the package; this file adds what it cannot say. The libraries are built by CMake from the
folder above, into a temporary folder, or into the one that the environment variable VEXACAMUTL_WHEEL_BUILD names (a
build that is there already is brought up to date). VEXACAMUTL_WHEEL_PLATFORM replaces the platform in the wheel's name.
"""
from __future__ import annotations

import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

try:
    from setuptools.command.bdist_wheel import bdist_wheel
except ImportError:
    from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE / "vexacamutl"))
from _elf import identity  # noqa: E402  (reads the libraries' names; the package itself needs them to be imported)

OPTIONS = [
    "-DCMAKE_BUILD_TYPE=Release",
    "-DCMAKE_INSTALL_LIBDIR=lib",
    *(f"-DVEXACAMUTL_BUILD_{part}=OFF" for part in ("TOOL", "TESTS", "BENCH", "EXAMPLES", "DOCS")),
]


def run(*command: str) -> None:
    try:
        subprocess.run(command, check=True, stdout=sys.stderr)
    except FileNotFoundError:
        raise SystemExit(f"{command[0]} was not found; building the libraries takes cmake, ninja or make, and g++")
    except subprocess.CalledProcessError as error:
        raise SystemExit(f"{' '.join(command)}: exit status {error.returncode}")


def build_libraries(build: str, stage: str) -> list[Path]:
    """Builds and installs the libraries; the installed ones find each other in their own folder."""
    source = HERE.parent
    if not (source / "src" / "CMakeLists.txt").exists():
        raise SystemExit(f"{source} is not the project's folder: build the package inside the project")
    generator = [] if (Path(build) / "CMakeCache.txt").exists() or not shutil.which("ninja") else ["-G", "Ninja"]
    run("cmake", "-S", str(source), "-B", build, f"-DCMAKE_INSTALL_PREFIX={stage}", *generator, *OPTIONS)
    run("cmake", "--build", build, "--parallel", str(os.cpu_count() or 1))
    for component in ("library", "frames"):
        run("cmake", "--install", build, "--component", component, "--strip")
    return sorted(path for path in (Path(stage) / "lib").iterdir() if ".so." in path.name)


class BuildWithLibraries(build_py):
    def run(self) -> None:
        super().run()
        if getattr(self, "editable_mode", False):
            return  # the sources stay where they are; VEXACAMUTL_LIBRARY or the loader says where the library is
        package = Path(self.build_lib) / "vexacamutl"
        with tempfile.TemporaryDirectory() as scratch:
            build = os.environ.get("VEXACAMUTL_WHEEL_BUILD") or os.path.join(scratch, "build")
            libraries = build_libraries(build, os.path.join(scratch, "stage"))
            for library in libraries:
                shutil.copyfile(library, package / library.name)
        shutil.copyfile(HERE.parent / "LICENSE", package / "LICENSE")
        lines = [f"{library.name} {identity(str(package / library.name)).build_id}\n" for library in libraries]
        (package / "libraries.txt").write_text("".join(lines), encoding="ascii")


class WheelForAnyPython(bdist_wheel):
    """The libraries are of one platform, and no part depends on the version of Python."""

    def get_tag(self) -> tuple[str, str, str]:
        return "py3", "none", os.environ.get("VEXACAMUTL_WHEEL_PLATFORM") or super().get_tag()[2]


class PlatformDistribution(Distribution):
    def has_ext_modules(self) -> bool:
        return True


# A build folder in the source tree would hand files of an older build to the next wheel. This one goes with Python.
scratch_folder = tempfile.TemporaryDirectory(prefix="vexacamutl-")

setup(
    distclass=PlatformDistribution,
    cmdclass={"build_py": BuildWithLibraries, "bdist_wheel": WheelForAnyPython},
    options={"build": {"build_base": scratch_folder.name}, "egg_info": {"egg_base": scratch_folder.name}},
)
