# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The steps of finding and checking the libraries, one by one in this process; test_library.py sees them from outside."""
from __future__ import annotations

import ctypes
import os
import shutil
import sysconfig
from pathlib import Path
from types import SimpleNamespace

import pytest

import vexacamutl as vcu
from vexacamutl import _elf, _files, _frames, _library
from vexacamutl._library import LibraryInfo

pytestmark = pytest.mark.skipif(
    "VEXACAMUTL_FRAMES_LIBRARY" not in os.environ, reason="VEXACAMUTL_FRAMES_LIBRARY does not name the library"
)
NAME = _library.FILE_NAME


def test_candidates(tmp_path, monkeypatch):
    package = tmp_path / "lib" / "python3" / "dist-packages" / "vexacamutl"
    multiarch = tmp_path / "lib" / str(sysconfig.get_config_var("MULTIARCH"))
    monkeypatch.setattr(_library, "PACKAGE", package)
    monkeypatch.setenv("WHERE", "/some/file")
    assert _library.candidates(NAME, "WHERE") == ["/some/file"]
    monkeypatch.setenv("WHERE", "")
    assert _library.candidates(NAME, "WHERE") == [NAME]
    for folder in (multiarch, tmp_path / "lib", package):
        folder.mkdir(parents=True, exist_ok=True)
        (folder / NAME).touch()
    files = [str(folder / NAME) for folder in (package, tmp_path / "lib", multiarch)]
    assert _library.candidates(NAME, "WHERE") == [*files, NAME]
    monkeypatch.setattr(_library, "PACKAGE", Path("/vexacamutl"))
    assert _library.candidates(NAME, "WHERE") == [NAME]


def test_nothing_to_open():
    with pytest.raises(ImportError, match=r"x was not found: /a: .*; /b: .*or set WHERE to its full path"):
        _library.open_library(["/a", "/b"], "x", "WHERE")


@pytest.mark.parametrize("module, function", [(_library, "BitPerPixel"), (_frames, "VcfVersion")])
def test_a_library_without_the_functions(monkeypatch, module, function):
    monkeypatch.setenv(module.ENVIRONMENT_VARIABLE, "libc.so.6")
    with pytest.raises(ImportError, match=f"can use: .*{function}"):
        getattr(module._load, "__wrapped__", module._load)()


def test_identity_of_the_packages_own_library(tmp_path, monkeypatch):
    monkeypatch.setattr(_library, "PACKAGE", tmp_path)
    own, other = LibraryInfo(NAME, str(tmp_path / NAME), "12"), LibraryInfo(NAME, f"/elsewhere/{NAME}", "34")
    for info in (own, other, own._replace(soname=None)):
        _library.check_identity(info, NAME)
    with pytest.raises(ImportError, match=f"is {NAME}; this package needs lib.so.2"):
        _library.check_identity(own, "lib.so.2")
    (tmp_path / "libraries.txt").write_text(f"{NAME} 12\n")
    _library.check_identity(own, NAME)
    _library.check_identity(other, NAME)
    with pytest.raises(ImportError, match=r"build id 56, expected 12\): install the package again"):
        _library.check_identity(own._replace(build_id="56"), NAME)
    (tmp_path / "libraries.txt").write_text("")
    _library.check_identity(own._replace(build_id="56"), NAME)


def test_a_function_of_no_library():
    made_here = SimpleNamespace(_name="here", function=ctypes.CFUNCTYPE(None)(lambda: None))
    with pytest.raises(ImportError, match="the loader does not know where here is"):
        _library.info_of(made_here, "function")


def test_the_frames_layer_beside_the_library(monkeypatch):
    beside = os.environ["VEXACAMUTL_FRAMES_LIBRARY"]
    monkeypatch.delenv("VEXACAMUTL_FRAMES_LIBRARY")
    where = os.path.join(os.path.dirname(beside), NAME)
    monkeypatch.setattr(_frames, "library_info", lambda: LibraryInfo(NAME, where, None))
    assert _frames._load.__wrapped__()[1].path == os.path.realpath(beside)


def test_statuses_become_exceptions(monkeypatch):
    with pytest.raises(vcu.StatusError, match=r"f: invalid parameter \(status 0xd\)"):
        _library.check_status("f", 13)
    with pytest.raises(FileNotFoundError):
        _files._call("LoadRWH", "/nowhere", b"/nowhere/file", None, None, None, None, None)
    with pytest.raises(vcu.StatusError, match="SaveRWH: invalid parameter"):
        _files._call("SaveRWH", "nothing", None, 0, 0, 0, None)
    unsupported = vcu.UnsupportedFormatError
    for status, error in ((2, unsupported), (7, unsupported), (8, MemoryError), (4, ValueError)):
        monkeypatch.setattr(_frames, "library", lambda status=status: SimpleNamespace(f=lambda *arguments: status))
        with pytest.raises(error):
            _frames.check("f")


def test_an_object_whose_strings_are_not_loaded(tmp_path):
    """No loadable segment holds the string table: there is no SONAME to read."""
    copy = tmp_path / "copy"
    shutil.copy(os.environ["VEXACAMUTL_FRAMES_LIBRARY"], copy)
    data = bytearray(copy.read_bytes())
    table = int.from_bytes(data[32:40], "little")
    for i in range(int.from_bytes(data[56:58], "little")):
        header = table + 56 * i
        if data[header] == 1:
            data[header] = 0
    copy.write_bytes(data)
    assert _elf.identity(str(copy)).soname is None
