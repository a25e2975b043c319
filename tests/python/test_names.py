# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Tool, frames layer and package understand the same names, and answer a wrong one with the same words."""
from __future__ import annotations

import functools
import os
import random
import re
import subprocess

import numpy as np
import pytest

import vexacamutl as vcu
from vexacamutl import _frames
from vexacamutl._names import FORMAT_NAMES, normalised

TOOL = os.environ.get("VEXACAMUTL")
#: What the tool takes: everything that the frames layer has.
SERVED = list(FORMAT_NAMES)

needs_tool = pytest.mark.skipif(not TOOL, reason="VEXACAMUTL does not name the tool")


def run(*arguments: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run([TOOL, *arguments], capture_output=True, text=True, timeout=60, check=False)


def test_the_frames_layer_has_the_same_table():
    library = _frames.library()
    rows = [library.VcfFormatAt(i).contents for i in range(library.VcfFormatCount())]
    assert [(row.name.decode(), row.format, tuple(row.aliases.decode().split())) for row in rows] == [
        (row.name, row.code, row.aliases) for row in FORMAT_NAMES
    ]


@needs_tool
def test_the_tool_has_the_same_spellings():
    lines = [line.split() for line in run("formats", "--aliases").stdout.splitlines()]
    assert {name: tuple(aliases) for name, *aliases in lines} == {row.name: row.aliases for row in SERVED}


@needs_tool
def test_the_tool_has_the_same_codes():
    table = re.findall(r"^(\w+) +(0x[0-9A-F]{8}) ", run("formats").stdout, re.MULTILINE)
    assert {name: int(code, 16) for name, code in table} == {row.name: row.code for row in SERVED}


@needs_tool
def test_every_spelling_means_the_same_format():
    spellings = [spelling for row in SERVED for spelling in (row.name, row.name.upper(), *row.aliases)]
    answers = run("formats", "--names", *spellings).stdout.split()
    assert answers == [row.name for row in SERVED for _ in range(2 + len(row.aliases))]
    for spelling, name in zip(spellings, answers):
        if name in vcu.PixelFormat.__members__:  # the others are for the frames layer
            assert vcu.pixel_format(spelling).name == name
        else:
            with pytest.raises(vcu.UnsupportedFormatError, match=f"^{name} is not served by this call: unpack it first"):
                vcu.pixel_format(spelling)


def test_spellings_are_unique():
    each = [{normalised(spelling) for spelling in (row.name, *row.aliases)} for row in FORMAT_NAMES]
    assert len(set().union(*each)) == sum(map(len, each))
    assert len({row.code for row in FORMAT_NAMES}) == len(FORMAT_NAMES)
    assert {row.name: row.code for row in FORMAT_NAMES if row.served == "library"} == dict(vcu.PixelFormat.__members__)


@needs_tool
@pytest.mark.parametrize(
    "word", ["rg8", "rg12", "RGB9", "bayer", "BayreRG8", "mnoo8", "x", "?", "jpeg"]
)
def test_wrong_names_get_the_same_answer(word):
    told = run("formats", word).stderr
    with pytest.raises(vcu.UnsupportedFormatError) as raised:
        vcu.pixel_format(word)
    assert told.removeprefix("vexacamutl: ").split(" (see: ")[0].rstrip("\n") == str(raised.value)


def test_parts_of_a_name_propose_it_first():
    with pytest.raises(vcu.UnsupportedFormatError, match="did you mean BayerRG8 or RGB8"):
        vcu.pixel_format("rg8")


@functools.lru_cache(maxsize=None)
def distance(a: str, b: str) -> int:
    """The fewest letters to change, add, leave out or exchange with their neighbour, by trying every way."""
    if not a or not b:
        return len(a) + len(b)
    ways = [distance(a[1:], b) + 1, distance(a, b[1:]) + 1, distance(a[1:], b[1:]) + (a[0] != b[0])]
    if len(a) > 1 and len(b) > 1 and a[0] == b[1] and a[1] == b[0]:
        ways.append(distance(a[2:], b[2:]) + 1)
    return min(ways)


@pytest.mark.parametrize("a, b, letters", [
    ("", "", 0), ("a", "", 1), ("", "abc", 3), ("abc", "abc", 0), ("abc", "abd", 1), ("ab", "ba", 1),
    ("abcd", "acbd", 1), ("a", "aaa", 2), ("bayerrg8", "byaerrg8", 1), ("ca", "abc", 3),
])
def test_the_reference_of_distances(a, b, letters):
    assert distance(a, b) == distance(b, a) == letters


def rank(wrong: str, row) -> int:
    if len(wrong) >= 3 and wrong in normalised(row.name):
        return 0
    return min(distance(wrong, normalised(spelling)) for spelling in (row.name, *row.aliases))


def test_misspelt_names_propose_the_nearest_ones():
    source = random.Random(7)
    for _ in range(40):
        row = source.choice(FORMAT_NAMES)
        letters = list(normalised(source.choice((row.name, *row.aliases))))
        for _ in range(source.randint(1, 3)):
            at = source.randrange(len(letters) + 1)
            letters[at : at + source.randint(0, 2)] = source.sample("abgpry0128", source.randint(0, 2))
        wrong = "".join(letters)
        near = [row for row in FORMAT_NAMES if rank(wrong, row) <= max(1, min(4, len(wrong) // 2))]
        names = [row.name for row in sorted(near, key=lambda row: rank(wrong, row))[:3]]
        listed = " or ".join(filter(None, (", ".join(names[:-1]), *names[-1:])))
        assert _frames.nearest_names(wrong) == listed, wrong


@needs_tool
@pytest.mark.parametrize("width, height", [(8, 7), (7, 8), (2, 8), (8, 2), (8, 8), (4, 4)])
def test_adaptive_demosaic_serves_the_same_sizes(tmp_path, width, height):
    frame = np.arange(width * height, dtype=np.uint8).reshape(height, width)
    frame.tofile(tmp_path / "a.raw")
    options = ["-f", "BayerRG8", "-s", f"{width}x{height}", "-b", "acpi", "--to", "bgr"]
    done = run("convert", *options, str(tmp_path / "a.raw"), str(tmp_path / "a.bgr"))
    try:
        picture = vcu.to_bgr(frame, "BayerRG8", mode="acpi")
    except ValueError as error:
        assert str(error) in done.stderr and done.returncode != 0
    else:
        assert done.returncode == 0 and (tmp_path / "a.bgr").read_bytes() == picture.tobytes()


@needs_tool
def test_modes_have_the_same_names():
    told = re.search(r"--bayer-mode TEXT:\{(.*?)\}", run("convert", "--help").stdout)
    assert told is not None and told.group(1).split(",") == [mode.name.lower() for mode in vcu.BayerMode]
