# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Where the library is looked for, and what happens to the interpreter's lock. Each test has a process of its own."""
from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
import sysconfig
from pathlib import Path

import pytest

import vexacamutl
from vexacamutl._elf import identity
from vexacamutl._library import FILE_NAME, LIBRARY

PACKAGE = Path(vexacamutl.__file__).parent
BUILT = os.environ.get("VEXACAMUTL_LIBRARY")
FRAMES = os.environ.get("VEXACAMUTL_FRAMES_LIBRARY")
FRAMES_NAME = "libVexaCamFrames.so.0"
OURS = ("VEXACAMUTL_LIBRARY", "VEXACAMUTL_FRAMES_LIBRARY", "LD_LIBRARY_PATH")

pytestmark = pytest.mark.skipif(not BUILT, reason="VEXACAMUTL_LIBRARY does not name the library")


def run(code: str, packages: Path, **variables: str) -> subprocess.CompletedProcess[str]:
    environment = {k: v for k, v in os.environ.items() if k not in OURS}
    environment.update(PYTHONPATH=str(packages), **variables)
    return subprocess.run(
        [sys.executable, "-c", code], env=environment, capture_output=True, text=True, timeout=60, check=False
    )


PRINT_LIBRARY = "import vexacamutl._library as l; print(l.LIBRARY._name)"


def test_environment_variable():
    assert run(PRINT_LIBRARY, PACKAGE.parent, VEXACAMUTL_LIBRARY=BUILT).stdout.strip() == BUILT


def test_environment_variable_is_final(tmp_path):
    """A wrong path is an error, not a reason to take some other library."""
    loaders = {"LD_LIBRARY_PATH": str(Path(BUILT).parent)}
    result = run(PRINT_LIBRARY, PACKAGE.parent, VEXACAMUTL_LIBRARY=str(tmp_path / "nothing.so"), **loaders)
    assert result.returncode != 0
    assert "ImportError" in result.stderr and "nothing.so" in result.stderr and "VEXACAMUTL_LIBRARY" in result.stderr


def test_beside_the_package(tmp_path):
    shutil.copytree(PACKAGE, tmp_path / "vexacamutl")
    shutil.copy(BUILT, tmp_path / "vexacamutl" / FILE_NAME)
    assert run(PRINT_LIBRARY, tmp_path).stdout.strip() == str(tmp_path / "vexacamutl" / FILE_NAME)


@pytest.mark.parametrize("folder", ["lib", f"lib/{sysconfig.get_config_var('MULTIARCH')}"])
def test_in_the_same_tree(tmp_path, folder):
    modules = tmp_path / "lib" / "python3" / "dist-packages"
    shutil.copytree(PACKAGE, modules / "vexacamutl")
    (tmp_path / folder).mkdir(exist_ok=True)
    shutil.copy(BUILT, tmp_path / folder)
    assert run(PRINT_LIBRARY, modules).stdout.strip() == str(tmp_path / folder / FILE_NAME)


def test_by_the_loader(tmp_path):
    result = run(PRINT_LIBRARY, PACKAGE.parent, LD_LIBRARY_PATH=str(Path(BUILT).parent))
    assert result.stdout.strip() == FILE_NAME


def test_a_library_of_another_kind():
    result = run(PRINT_LIBRARY, PACKAGE.parent, VEXACAMUTL_LIBRARY="libc.so.6")
    assert result.returncode != 0 and "ImportError" in result.stderr and "BitPerPixel" in result.stderr


def with_soname(library: Path, old: bytes, new: bytes) -> None:
    """Renames the library in the file itself, to a name of the same length."""
    data = library.read_bytes()
    assert len(old) == len(new) and data.count(old + b"\0") >= 1
    library.write_bytes(data.replace(old + b"\0", new + b"\0"))


def test_a_library_of_another_soname(tmp_path):
    """It has every function, but its number promises another interface."""
    other = tmp_path / FILE_NAME
    shutil.copy(BUILT, other)
    with_soname(other, b"libVexaCamUtl_64.so.1", b"libVexaCamUtl_64.so.2")
    result = run(PRINT_LIBRARY, PACKAGE.parent, VEXACAMUTL_LIBRARY=str(other))
    assert result.returncode != 0
    assert f"ImportError: {other} is libVexaCamUtl_64.so.2; this package needs {FILE_NAME}" in result.stderr


def test_another_build_in_the_package(tmp_path):
    """A package that brings its library knows which build it is; a library elsewhere may be any build."""
    package = tmp_path / "vexacamutl"
    shutil.copytree(PACKAGE, package)
    shutil.copy(BUILT, package / FILE_NAME)
    build_id = identity(BUILT).build_id
    (package / "libraries.txt").write_text(f"{FILE_NAME} {build_id}\n")
    assert run(PRINT_LIBRARY, tmp_path).stdout.strip() == str(package / FILE_NAME)
    (package / "libraries.txt").write_text(f"{FILE_NAME} {'0' * 40}\n")
    result = run(PRINT_LIBRARY, tmp_path)
    assert result.returncode != 0
    assert f"{package / FILE_NAME} is not the build that this package was made with" in result.stderr
    assert f"(build id {build_id}, expected {'0' * 40}): install the package again" in result.stderr
    assert run(PRINT_LIBRARY, tmp_path, VEXACAMUTL_LIBRARY=BUILT).stdout.strip() == BUILT


PRINT_FRAMES = """
import vexacamutl as vcu
try:
    print(vcu.frames_library_info().path)
except ImportError as error:
    print("ImportError:", error)
"""


def test_the_frames_layer_is_found(tmp_path):
    """By its variable, beside the other library, and by the loader; a wrong variable is an error."""
    environment = {"VEXACAMUTL_LIBRARY": BUILT}
    given = run(PRINT_FRAMES, PACKAGE.parent, **environment, VEXACAMUTL_FRAMES_LIBRARY=FRAMES)
    assert given.stdout.strip() == os.path.realpath(FRAMES)
    found = run(PRINT_FRAMES, PACKAGE.parent, **environment, LD_LIBRARY_PATH=str(Path(FRAMES).parent))
    assert found.stdout.strip() == os.path.realpath(FRAMES)
    for library in (BUILT, FRAMES):
        shutil.copy(library, tmp_path)
    beside = run(PRINT_FRAMES, PACKAGE.parent, VEXACAMUTL_LIBRARY=str(tmp_path / FILE_NAME))
    assert beside.stdout.strip() == str(tmp_path / FRAMES_NAME)
    wrong = {"VEXACAMUTL_FRAMES_LIBRARY": str(tmp_path / "nothing.so")}
    result = run(PRINT_FRAMES, PACKAGE.parent, VEXACAMUTL_LIBRARY=str(tmp_path / FILE_NAME), **wrong)
    assert f"ImportError: {FRAMES_NAME} was not found" in result.stdout
    assert "set VEXACAMUTL_FRAMES_LIBRARY to its full path" in result.stdout


def test_without_the_frames_layer():
    """Frames that need it say so; all others are converted."""
    code = """
import numpy as np, vexacamutl as vcu
frame = np.arange(64, dtype=np.uint8).reshape(8, 8)
print(vcu.to_rgb(frame, "BayerRG8").shape, vcu.to_bgra(b"", "Mono8", width=0, height=0).shape)
try:
    vcu.to_bgr(bytes(36), "BayerRG12p", width=6, height=4)
except ImportError as error:
    print(error)
try:
    vcu.pixel_format("rg8")
except vcu.UnsupportedFormatError as error:
    print(error)
"""
    result = run(code, PACKAGE.parent, VEXACAMUTL_LIBRARY=BUILT, VEXACAMUTL_FRAMES_LIBRARY="/nowhere.so")
    assert result.stdout.startswith("(8, 8, 3) (0, 0, 4)\nlibVexaCamFrames.so.0 was not found: /nowhere.so")
    assert result.stdout.endswith("\nunknown pixel format 'rg8'; PixelFormat has the names of the library's formats\n")


def test_a_frames_layer_of_another_kind(tmp_path):
    other = tmp_path / FRAMES_NAME
    shutil.copy(FRAMES, other)
    with_soname(other, b"libVexaCamFrames.so.0", b"libVexaCamFrames.so.1")
    for wrong, text in ((other, "is libVexaCamFrames.so.1; this package needs"), ("libc.so.6", "VcfVersion")):
        result = run(PRINT_FRAMES, PACKAGE.parent, VEXACAMUTL_LIBRARY=BUILT, VEXACAMUTL_FRAMES_LIBRARY=str(wrong))
        assert "ImportError: " in result.stdout and text in result.stdout


def test_version_of_the_frames_layer():
    header = (PACKAGE.parents[1] / "include" / "VexaCamFrames.h").read_text(encoding="ascii")
    numbers = [re.search(rf"_VERSION_{part} (\d+)", header).group(1) for part in ("MAJOR", "MINOR", "PATCH")]
    assert vexacamutl.frames_library_version() == ".".join(numbers)


def test_which_library_it_is():
    info = vexacamutl.library_info()
    assert info.soname == FILE_NAME and info.path == os.path.realpath(BUILT)
    said = subprocess.run(["readelf", "-n", BUILT], capture_output=True, text=True, check=True).stdout
    assert info.build_id is not None and f"Build ID: {info.build_id}" in said


@pytest.mark.parametrize(
    "content", [b"", b"\x7fELF\x01\x01", b"\x7fELF\x02\x01", b"\x7fELF\x02\x01" + b"\xff" * 100, None]
)
def test_files_without_an_identity(tmp_path, content):
    if content is not None:
        (tmp_path / "file").write_bytes(content)
    assert identity(str(tmp_path / "file")) == (None, None)


def test_identities_of_cut_libraries(tmp_path):
    """Wherever the file ends, it is an answer and not an exception."""
    data = Path(BUILT).read_bytes()
    for size in [*range(0, 2048, 7), *range(2048, len(data), 40009)]:
        (tmp_path / "cut").write_bytes(data[:size])
        assert identity(str(tmp_path / "cut")).soname in (None, FILE_NAME)


def test_an_object_without_a_name(tmp_path):
    """A program has a build id and no SONAME."""
    said = identity(os.path.realpath(sys.executable))
    assert said.soname is None
    assert identity(os.path.realpath("/bin/sh")).build_id


def test_the_lock_is_free_during_a_call(tmp_path):
    """LoadRWH waits in its open until somebody writes to the pipe: the other thread has to run for that."""
    os.mkfifo(tmp_path / "pipe")
    code = """
import ctypes, sys, threading
from vexacamutl._library import LIBRARY
width = ctypes.c_uint32()
reader = threading.Thread(target=lambda: LIBRARY.LoadRWH(sys.argv[1].encode(), None, None, width, None, None))
reader.start()
with open(sys.argv[1], "wb") as pipe:
    pipe.write((0x01080001).to_bytes(4, "little") + (640).to_bytes(4, "little") + bytes(8))
reader.join()
print(width.value)
"""
    environment = dict(os.environ, PYTHONPATH=str(PACKAGE.parent))
    result = subprocess.run(
        [sys.executable, "-c", code, str(tmp_path / "pipe")],
        env=environment, capture_output=True, text=True, timeout=60, check=True,
    )
    assert result.stdout.strip() == "640"


def test_all_functions_are_declared():
    """Every converter of the header; a missing declaration would let ctypes pass addresses as 32-bit numbers."""
    for name in vexacamutl.CONVERTERS:
        assert len(getattr(LIBRARY, name).argtypes) == (5 if "NTo" in name else 4)
    header = (Path(__file__).parents[2] / "include" / "VexaCamUtl.h").read_text(encoding="ascii")
    assert sorted(vexacamutl.CONVERTERS) == sorted(re.findall(r"UtlStatus (Conv\w+To\w+)\(", header))


def test_public_names():
    assert sorted(vexacamutl.__all__) == sorted(set(vexacamutl.__all__))
    for name in vexacamutl.__all__:
        assert getattr(vexacamutl, name) is not None
    assert (PACKAGE / "py.typed").exists()


def test_type_hints():
    """mypy, where it is installed, in its strict mode."""
    mypy = shutil.which("mypy")
    if mypy is None:
        pytest.skip("mypy is not installed")
    result = subprocess.run(
        [mypy, "--strict", "--python-executable", sys.executable, "--cache-dir", os.devnull, str(PACKAGE)],
        env={name: value for name, value in os.environ.items() if name != "LD_PRELOAD"},
        capture_output=True, text=True, check=False,
    )
    assert result.returncode == 0, result.stdout
