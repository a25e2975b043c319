# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Names of results: the archive's own rule against the names that the tool gives."""
from __future__ import annotations

import os

import pytest

from archive_support import TOOL, run_tool
from vexacamutl import archive
from vexacamutl.archive._names import result_name
from vexacamutl.archive._settings import KINDS

NAMES = ["a.raw", "a.b.raw", ".raw", "..raw", "a.", "noending", "a b.raw", "a%d.raw", "a_00001.raw", "-a.bin", "a..rwx",
         "\u00e9.raw"]


@pytest.fixture(autouse=True)
def tool(monkeypatch):
    monkeypatch.setenv("VEXACAMUTL_TOOL", TOOL)


@pytest.mark.parametrize("frames", [1, 2])
@pytest.mark.parametrize("name", NAMES)
def test_names(tmp_path, name, frames):
    (tmp_path / name).write_bytes(bytes(4 * frames))
    run_tool("convert", "-f", "Mono8", "-s", "2x2", "-t", "bgr", "-o", tmp_path / "out", "--", tmp_path / name)
    expected = [result_name(name, number, "bgr") for number in (range(frames) if frames > 1 else [None])]
    assert sorted(os.listdir(tmp_path / "out")) == expected


@pytest.mark.parametrize("kind", KINDS)
def test_endings(tmp_path, kind):
    (tmp_path / "a.raw").write_bytes(bytes(4))
    run_tool("convert", "-f", "Mono8", "-s", "2x2", "-t", kind, "-o", tmp_path / "out", tmp_path / "a.raw")
    assert os.listdir(tmp_path / "out") == [result_name("a.raw", None, KINDS[kind])]


def test_large_numbers():
    assert [result_name("a.raw", n, "png") for n in (0, 99999, 100000, 12345678)] == [
        "a_00000.png", "a_99999.png", "a_100000.png", "a_12345678.png"]


def collide(folder, **files):
    for name, frames in files.items():
        path = folder / (name.replace("__", "/") + ".raw")
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(bytes(4 * frames))
    return archive.open(folder / "**" / "*.raw", "Mono8", 2, 2)


@pytest.mark.parametrize("files,name", [
    ({"x__a": 1, "y__a": 1}, "a.png"), ({"x__a": 2, "y__a": 3}, "a_00000.png"), ({"x__a": 3, "a_00002": 1}, "a_00002.png")])
def test_two_inputs_of_one_name(tmp_path, files, name):
    (tmp_path / "in").mkdir()
    found = collide(tmp_path / "in", **files)
    with pytest.raises(archive.NameCollisionError, match=f"would both become {name}"):
        found.convert(tmp_path / "out")
    assert not (tmp_path / "out").exists()


@pytest.mark.parametrize("files", [
    {"x__a": 1, "y__a": 2}, {"x__a": 3, "a_00003": 1}, {"x__a": 3, "a_002": 1}, {"x__a": 3, "a_000002": 1}, {"b_00001": 1, "a": 2},
    {"x__a_00001": 2, "a": 3}])
def test_names_that_only_look_alike(tmp_path, files):
    (tmp_path / "in").mkdir()
    found = collide(tmp_path / "in", **files)
    report = found.convert(tmp_path / "out")
    assert report.done == sum(files.values()) == len(list((tmp_path / "out").glob("*.png")))


def test_one_file_twice(tmp_path):
    (tmp_path / "a.raw").write_bytes(bytes(4))
    with pytest.raises(archive.NameCollisionError):
        archive.open([tmp_path / "a.raw"] * 2, "Mono8", 2, 2).convert(tmp_path / "out")
