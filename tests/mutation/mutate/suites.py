# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Which tests concern which folder, those first that notice most in the shortest time.

A test names the targets that it needs built and its command; {build} and {root} stand for the folders of the tree that
it is run in.
"""
from __future__ import annotations

import os
import re
import shutil
from dataclasses import dataclass, field
from typing import ClassVar

HERE = os.path.dirname(os.path.abspath(__file__))
PYTHON = "/usr/bin/python3"


@dataclass(frozen=True)
class Test:
    __test__: ClassVar[bool] = False  # to pytest

    name: str
    targets: tuple[str, ...]
    command: tuple[str, ...]
    environment: tuple[tuple[str, str], ...] = field(default=())


def program(folder: str, target: str, cases: str = "") -> Test:
    """A GoogleTest program of tests/FOLDER; the first failed assertion ends it."""
    only = (f"--gtest_filter={cases}",) if cases else ()
    return Test(f"{target} {cases}".strip(), (target,),
                (f"{{build}}/tests/{folder}/{target}", "--gtest_break_on_failure", *only))


def table_of(processor: str) -> str:
    """The kernel table that an emulated processor has to choose, as tests/processors says it."""
    with open(os.path.join(HERE, "..", "..", "processors", "CMakeLists.txt"), encoding="ascii") as file:
        match = re.search(f'"{processor} (\\S+)"', file.read())
    if match is None:
        raise LookupError(f"tests/processors names no table for {processor}")
    return match[1]


def emulated(processor: str, test: Test) -> list[Test]:
    """The same as a processor that this one is not, where the emulator is installed."""
    if not shutil.which("qemu-x86_64"):
        return []
    return [Test(f"{test.name} as {processor}", test.targets, ("qemu-x86_64", "-cpu", processor, *test.command),
                 (("VEXACAMUTL_EXPECTED_TABLE", table_of(processor)),))]


def on_arm(test: Test) -> Test:
    return Test(f"{test.name} on ARM", test.targets, ("qemu-aarch64", "-L", "/usr/aarch64-linux-gnu", *test.command))


def pytests(folder: str, targets: tuple[str, ...], environment: dict[str, str], *files: str) -> Test:
    paths = [f"{{root}}/tests/{folder}/{file}" for file in files] or [f"{{root}}/tests/{folder}"]
    return Test(f"pytest {folder} {' '.join(files)}".strip(), targets,
                (PYTHON, "-m", "pytest", "-q", "-x", "-p", "no:cacheprovider", *paths),
                (("PYTHONDONTWRITEBYTECODE", "1"), *environment.items()))


def cli(*files: str) -> Test:
    return pytests("cli", ("vexacamutl", "tests/cli/all"),
                   {"VEXACAMUTL": "{build}/tools/vexacamutl/vexacamutl",
                    "VEXACAMUTL_INTERPOSER": "{build}/tests/cli/libInterposer.so"}, *files)


def package(*files: str) -> Test:
    return pytests("python", ("VexaCamUtl", "VexaCamFrames", "vexacamutl"),
                   {"VEXACAMUTL": "{build}/tools/vexacamutl/vexacamutl",
                    "VEXACAMUTL_TOOL": "{build}/tools/vexacamutl/vexacamutl",
                    "VEXACAMUTL_LIBRARY": "{build}/src/libVexaCamUtl_64.so.1",
                    "VEXACAMUTL_FRAMES_LIBRARY": "{build}/frames/libVexaCamFrames.so.0",
                    "PYTHONPATH": "{root}/python"}, *files)


PIPELINES = pytests("gstreamer", ("gstvexacamutl", "vexacamutl"),
                    {"GST_PLUGIN_PATH": "{build}/gstreamer/plugin", "GST_REGISTRY": "{build}/pipelines.registry",
                     "PATH": "{build}/tools/vexacamutl:" + os.environ.get("PATH", os.defpath)}, "test_pipelines.py")

CHOICE = program("kernels", "kernels_test", "ProcessorChoice.*")
CONVERTERS = [program("kernels", "kernels_test", "*Digests*:ProcessorChoice.*"), program("unit", "unit_convert_test"),
              program("kernels", "kernels_test", "*EveryAlignment*:*OddAndEmptySizes*:*EveryShift*"),
              program("kernels", "kernels_test")]
START_STATE = program("unit", "unit_start_state_test")
EARLY_CALLER = program("abi", "abi_early_caller_test")

IMAGE_FILES = [program("unit", "unit_limits_test"), program("unit", "unit_imagefile_test"),
               program("unit", "unit_rwh_allocation_test"), program("faults", "faults_malloc"),
               program("faults", "faults_interposed"), program("faults", "faults_real")]

SUITES: dict[str, list[Test]] = {
    "src/base": [*IMAGE_FILES[:2], *CONVERTERS, *IMAGE_FILES[2:]],
    "src/catalogue": [program("unit", "unit_catalogue_test"), START_STATE, EARLY_CALLER,
                      *emulated("qemu64", EARLY_CALLER), *CONVERTERS, program("abi", "abi_test")],
    "src/convert": [START_STATE, program("unit", "unit_limits_test"), *CONVERTERS],
    "src/kernels": [program("kernels", "block_start_test"), START_STATE, *emulated("qemu64", CHOICE),
                    *emulated("Nehalem", CHOICE), *emulated("Haswell", CHOICE), *CONVERTERS,
                    program("abi", "abi_test")],
    "src/imagefile": [*IMAGE_FILES, program("kernels", "kernels_test", "*Revers*")],
    "frames": [program("frames", "frames_test")],
    "gstreamer": [program("gstreamer", "gstreamer_threads_test"), program("gstreamer", "gstreamer_test"), PIPELINES],
    "tools/guess": [program("guess", "guess_test"), cli("test_verbs.py")],
    "tools": [cli("test_promises.py"), cli("test_verbs.py", "test_convert.py"), cli("test_mistakes.py", "test_help.py"),
              cli()],
    "python/vexacamutl": [package("test_numbers.py", "test_names.py", "test_formats.py", "test_arrays.py"),
                          package("test_files.py", "test_output.py", "test_reversal.py", "test_library.py"),
                          package("test_edges.py", "test_loading.py", "test_frames.py"),
                          package("test_converters.py", "test_buffers.py")],
    "python/vexacamutl/archive": [package("test_archive_names.py", "test_archive.py", "test_archive_parts.py"),
                                  package("test_archive_convert.py", "test_archive_command.py"),
                                  package("test_archive_page.py", "test_archive_cluster.py")],
}

# The layer for NEON, cross-built.
ARM_SUITE = [on_arm(program("kernels", "kernels_test", cases)) for cases in
             ("*Digests/neon", "*EveryAlignment/neon:*OddAndEmptySizes/neon:*EveryShift/neon", "*/neon")]


def folder_of(path: str) -> str:
    """The folder of SUITES that a file belongs to."""
    return max((folder for folder in SUITES if path.startswith(folder + "/")), key=len, default="")


def suite_of(path: str) -> list[Test]:
    return ARM_SUITE if "Neon" in path else SUITES[folder_of(path)]
