# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Inputs that would keep the tool waiting, stop a batch, or speak through its messages.
import json
import os
import subprocess

import pytest
from conftest import PROGRAM

SHAPE = ["-f", "Mono8", "-s", "6x4"]
FRAME = bytes(range(24))
TEXT = b"pixel format: Mono8\nwidth: 6\nheight: 4\n"


def test_a_stream_that_ends_before_the_frame(tool):
    assert tool.bad(3, "convert", *SHAPE, "--frame", 10**18, "-", "-", stdin=FRAME * 2, timeout=60) == (
        "standard input: there is no frame")


def test_side_files_are_regular_and_small(tool):
    tool.write("in.raw", FRAME)
    side = tool.folder / "in.txt"
    os.mkfifo(side)
    assert tool.bad(3, "info", "in.raw", timeout=60) == "in.txt: a sidecar must be a regular file"
    side.unlink()
    side.symlink_to("/dev/zero")
    assert tool.bad(3, "convert", "in.raw", "out.png", timeout=60) == "in.txt: a sidecar must be a regular file"
    side.unlink()
    tool.write("in.txt", TEXT + b"#" * (64 * 1024 - len(TEXT)))
    tool.good("info", "in.raw")
    tool.write("in.txt", tool.read("in.txt") + b"#")
    assert tool.bad(3, "info", "in.raw") == "in.txt: a sidecar has at most 64 KiB"
    side.unlink()
    side.symlink_to("in.txt")
    assert tool.bad(3, "info", "in.raw") == "cannot read in.txt: Too many levels of symbolic links"


@pytest.mark.parametrize("name", ["pipe.raw", "pipe.rwh"])
def test_fifos_where_files_are_needed(tool, name):
    os.mkfifo(tool.folder / name)
    line = f"cannot read {name}: not a regular file"
    assert tool.bad(3, "info", *SHAPE, name, timeout=60) == line
    assert tool.bad(3, "guess", "-s", "6x4", name, "out.png", timeout=60) == line
    if name == "pipe.rwh":
        assert tool.bad(3, "convert", name, "-", timeout=60) == line
    assert tool.bad(2, "info", *SHAPE, "-") == "standard input cannot be used here; name a file"


def test_one_bad_name_does_not_stop_a_batch(tool):
    tool.write("in/a.raw", FRAME)
    (tool.folder / "in/b.raw").symlink_to("b.raw")
    (tool.folder / "in/c.raw").symlink_to("nothing")
    (tool.folder / "empty").mkdir()
    tool.write("in/d.raw", FRAME)
    done = tool("convert", *SHAPE, "-t", "pgm", "-o", "out", "in", "empty")
    assert (done.returncode, sorted(done.stderr.splitlines())) == (1, [
        "vexacamutl: 3 of 5 inputs failed, 2 were converted",
        "vexacamutl: cannot read in/b.raw: Too many levels of symbolic links",
        "vexacamutl: cannot read in/c.raw: No such file or directory",
        "vexacamutl: empty: no raw frames (*.raw, *.bin, *.rwh) in this folder"])
    assert tool.names("out/*") == ["out/a.pgm", "out/d.pgm"]


@pytest.mark.parametrize("jobs", [1, 4])
def test_frames_before_a_bad_one_are_written(tool, jobs):
    done = tool("convert", *SHAPE, "-j", jobs, "--to", "raw", "-", "-", stdin=FRAME * 2 + b"short")
    assert (done.returncode, done.stdout) == (3, FRAME * 2)


LIES = {"width": TEXT.replace(b"6", b"60000").replace(b"4", b"60000"), "no width": TEXT.replace(b"6", b"0"),
        "stride": TEXT + b"stride: 5\n", "long stride": TEXT + b"stride: 99999999999\n", "chroma": b""}


@pytest.mark.parametrize("name", list(LIES)[:-1])
def test_a_lying_sidecar_is_a_bad_input(tool, name):
    tool.write("in.raw", FRAME)
    tool.write("in.txt", LIES[name])
    tool.bad(3, "convert", "in.raw", "out.png")
    tool.bad(2, "convert", *SHAPE, "--stride", 5, "in.raw", "out.png")


def test_spellings_of_a_sidecar(tool):
    tool.write("in.raw", FRAME)
    for text in (TEXT.upper().replace(b"MONO", b"mono"), TEXT.replace(b"\n", b"\r\n"), b"\xEF\xBB\xBF" + TEXT,
                 TEXT.replace(b"pixel format", b"  Pixel   Format ")):
        tool.write("in.txt", text)
        assert b"Mono8" in tool.good("info", "in.raw")


def test_names_and_texts_cannot_forge_lines(tool):
    name = "a\x1b[31m\n\u202etxt\u009b\x7f.raw"
    tool.write(name, FRAME)
    line = tool.bad(3, "convert", *SHAPE, "--frame", 5, name, "out.png")
    assert line == (r"a\x1B[31m\n\xE2\x80\xAEtxt\xC2\x9B\x7F.raw: there is no frame 5; the file holds 1")
    assert b"\x1b" not in tool.good("info", *SHAPE, name)
    printed = tool.good("info", *SHAPE, "--json", name).decode()
    assert printed[:-1].isprintable() and json.loads(printed)["file"] == name
    tool.write("in.raw", FRAME)
    tool.write("in.txt", TEXT.replace(b"6", b"\x1b]0;6\x07"))
    assert tool.bad(3, "info", "in.raw") == r"in.txt: invalid width '\x1B]0;6\x07'"
    assert tool.bad(2, "convert", "-f", "\xff\u00e9", "-s", "6x4", "in.raw", "out.png").startswith(
        "unknown pixel format '\u00ff\u00e9'")
    done = subprocess.run([PROGRAM, "info", b"\xff.raw"], cwd=tool.folder, capture_output=True, check=False)
    assert done.stderr.startswith(b"vexacamutl: cannot read \\xFF.raw: ")


def in_terminal(tool, command):
    try:
        for descriptor in os.openpty():
            os.close(descriptor)
    except OSError:
        pytest.skip("this system has no pseudo-terminals")
    done = subprocess.run(["script", "-qec", f"{PROGRAM} {command}", "/dev/null"], cwd=tool.folder, capture_output=True,
                          check=False, timeout=60, stdin=subprocess.DEVNULL)
    return done.returncode, done.stdout


@pytest.mark.parametrize("output", ["-", "/dev/stdout", "/dev/tty"])
def test_pixels_are_not_poured_onto_a_terminal(tool, output):
    tool.write("in.raw", FRAME)
    code, said = in_terminal(tool, f"convert {' '.join(SHAPE)} --to bgr in.raw {output}")
    name = b"standard output" if output == "-" else output.encode()
    assert (code, said) == (2, b"vexacamutl: " + name + b" is a terminal; redirect it, or name a file\r\n")
