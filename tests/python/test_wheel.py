# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The wheel and the two ways of pip: each installed in a virtual environment, which then uses its own libraries.

VEXACAMUTL_WHEEL_BUILD names a CMake build folder that is brought up to date, so that not every test compiles anew.
"""
from __future__ import annotations

import hashlib
import os
import re
import subprocess
import sys
import tomllib
import zipfile
from pathlib import Path

import pytest

import vexacamutl
from vexacamutl._elf import identity

SOURCE = Path(__file__).resolve().parents[2]
CHECK = SOURCE / "python" / "backend" / "check_wheel.py"
LIBRARIES = {"libVexaCamUtl_64.so.1", "libVexaCamFrames.so.0"}
NAME = f"vexacamutl-{vexacamutl.__version__}-py3-none-manylinux2014_x86_64.whl"

pytestmark = pytest.mark.skipif(os.uname().machine != "x86_64", reason="the wheel is for x86-64")


def environment(**variables: str) -> dict[str, str]:
    ours = ("VEXACAMUTL_LIBRARY", "VEXACAMUTL_FRAMES_LIBRARY", "PYTHONPATH", "LD_LIBRARY_PATH", "LD_PRELOAD", "SOURCE_DATE_EPOCH")
    return {**{name: value for name, value in os.environ.items() if name not in ours}, **variables}


def run(*command: object, **variables: str) -> str:
    done = subprocess.run(
        [str(part) for part in command], env=environment(**variables), capture_output=True, text=True, check=False
    )
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.fixture(scope="module")
def wheel(tmp_path_factory):
    folder = tmp_path_factory.mktemp("wheel")
    printed = run(SOURCE / "scripts" / "wheel", folder, SOURCE_DATE_EPOCH="1700000000")
    assert printed.splitlines()[-1] == str(folder / NAME)
    return folder / NAME


@pytest.fixture
def venv(tmp_path):
    """Without the package; NumPy is the system's."""
    run("/usr/bin/python3", "-m", "venv", "--system-site-packages", tmp_path / "venv")
    return tmp_path / "venv"


def files_of(venv: Path) -> set[str]:
    return {str(path.relative_to(venv)) for path in venv.rglob("*") if path.is_file() and "__pycache__" not in str(path)}


USE = """
import numpy as np, vexacamutl as vcu
frame = np.arange(64, dtype=np.uint8).reshape(8, 8)
assert (vcu.to_rgb(frame, "rggb")[..., ::-1] == vcu.to_bgr(frame, "BayerRG8")).all()
assert vcu.unpack(bytes([0x21, 0x43, 0x65]), "Mono12p", width=2, height=1).tolist() == [[0x321, 0x654]]
print(vcu.__file__)
with open("/proc/self/maps") as maps:
    print(*sorted({line.split()[-1] for line in maps if "libVexa" in line}), sep="\\n")
"""


def expect_own_libraries(venv: Path) -> None:
    other = str(Path(os.environ["VEXACAMUTL_LIBRARY"]).parent)
    for variables in ({}, {"LD_LIBRARY_PATH": other}):
        package, *mapped = run(venv / "bin" / "python", "-I", "-c", USE, **variables).splitlines()
        folder = Path(package).parent
        assert venv in folder.parents
        assert {Path(path).name for path in mapped} == LIBRARIES
        assert {Path(path).parent for path in mapped} == {folder}
    assert (folder / "py.typed").exists() and (folder / "LICENSE").read_text() == (SOURCE / "LICENSE").read_text()
    lines = dict(line.split() for line in (folder / "libraries.txt").read_text().splitlines())
    assert lines == {name: identity(str(folder / name)).build_id for name in LIBRARIES}


def test_wheel_in_a_bare_environment(wheel, venv):
    before = files_of(venv)
    run(venv / "bin" / "pip", "install", "--no-index", "--no-deps", wheel)
    expect_own_libraries(venv)
    run(venv / "bin" / "pip", "uninstall", "--yes", "vexacamutl")
    assert files_of(venv) == before


@pytest.mark.parametrize("folder", [SOURCE, SOURCE / "python"], ids=["root", "python"])
def test_pip_install(folder, venv):
    before = set(os.listdir(SOURCE)) | set(os.listdir(SOURCE / "python"))
    run(venv / "bin" / "pip", "install", "--no-build-isolation", "--no-deps", "--no-index", folder)
    expect_own_libraries(venv)
    assert set(os.listdir(SOURCE)) | set(os.listdir(SOURCE / "python")) == before


def test_two_builds_are_the_same_bytes(wheel, tmp_path):
    """The second one in a build folder of its own, with another mask for new files."""
    old = os.umask(0o077)
    try:
        run(SOURCE / "scripts" / "wheel", tmp_path, SOURCE_DATE_EPOCH="1700000000", VEXACAMUTL_WHEEL_BUILD="")
    finally:
        os.umask(old)
    assert os.listdir(tmp_path) == [NAME]
    assert hashlib.sha256((tmp_path / NAME).read_bytes()).digest() == hashlib.sha256(wheel.read_bytes()).digest()


def test_contents(wheel):
    with zipfile.ZipFile(wheel) as archive:
        names = {name for name in archive.namelist() if not name.endswith("RECORD")}
        sources = {
            str(path.relative_to(SOURCE / "python")) for path in (SOURCE / "python" / "vexacamutl").rglob("*")
            if path.is_file() and "__pycache__" not in path.parts
        }
        info = {f"vexacamutl-{vexacamutl.__version__}.dist-info/{name}" for name in ("METADATA", "WHEEL", "top_level.txt")}
        assert names == sources | info | {f"vexacamutl/{name}" for name in LIBRARIES | {"libraries.txt", "LICENSE"}}
        assert all(member.date_time == (2023, 11, 14, 22, 13, 20) for member in archive.infolist())


def refused(wheel: Path) -> str:
    done = subprocess.run([sys.executable, str(CHECK), str(wheel)], capture_output=True, text=True, check=False)
    assert done.returncode == 1
    return done.stderr


def test_the_check_finds_what_manylinux_does_not_have(wheel, tmp_path):
    """A wheel whose frames layer is the C++ runtime of this system, which needs this system's glibc."""
    bad = tmp_path / "bad.whl"
    with zipfile.ZipFile(wheel) as archive, zipfile.ZipFile(bad, "w") as copy:
        for name in archive.namelist():
            if not name.endswith(".so.0"):
                copy.writestr(name, archive.read(name))
    assert refused(bad) == "bad.whl: libVexaCamFrames.so.0 is missing\n"
    runtime = run("g++", "-print-file-name=libstdc++.so.6").strip()
    with zipfile.ZipFile(bad, "a") as copy:
        copy.write(runtime, "vexacamutl/libVexaCamFrames.so.0")
    assert re.search(r"^bad.whl: libVexaCamFrames.so.0 needs \w+@GLIBC_2\.(1[89]|[2-9]\d)", refused(bad), re.MULTILINE)
    with zipfile.ZipFile(tmp_path / "worse.whl", "w") as copy:
        for name in LIBRARIES:
            copy.write(os.path.realpath("/usr/bin/python3"), f"vexacamutl/{name}")
    assert re.search(r"needs libz\.so\.1|needs libexpat\.so\.1|needs libpython", refused(tmp_path / "worse.whl"))


def test_versions_agree():
    with open(SOURCE / "python" / "pyproject.toml", "rb") as file:
        assert tomllib.load(file)["project"]["version"] == vexacamutl.__version__
    project = re.search(r"project\(VexaCamUtl\s+VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text())
    assert project is not None and project.group(1) == vexacamutl.__version__
