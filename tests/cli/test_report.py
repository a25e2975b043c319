# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# --report: what became of each frame, for programs.
import json
import os
import resource
import subprocess
import zlib

import pytest
from conftest import PROGRAM

W, H = 6, 4
SHAPE = ["-f", "Mono8", "-s", f"{W}x{H}"]
PGM = len(b"P5\n6 4\n255\n") + W * H
KEYS = ["input", "frame", "output", "status", "reason", "bytes", "crc32", "seconds"]


def frame(number):
    return bytes([number]) * W * H


SEQUENCE = b"".join(map(frame, range(5)))


def lines_of(tool, name="r.jsonl"):
    lines = [json.loads(line) for line in tool.read(name).decode().splitlines()]
    assert all(list(line) == KEYS for line in lines)
    for line in lines:
        done = line["status"] == "done"
        assert [line[key] is not None for key in ("bytes", "crc32", "seconds")] == [done] * 3
        assert (line["reason"] is not None) == (line["status"] == "failed")
        assert line["seconds"] is None or 0 <= line["seconds"] < 600
    return lines


def briefly(tool, *keys):
    return [tuple(line[key] for key in keys) for line in lines_of(tool)]


@pytest.mark.parametrize("jobs", [1, 4])
@pytest.mark.parametrize("source", ["in.raw", "-"])
def test_every_frame_in_order(tool, source, jobs):
    tool.write("in.raw", SEQUENCE)
    tool.good("convert", *SHAPE, "-j", jobs, "--report", "r.jsonl", source, "f_%d.pgm", stdin=SEQUENCE)
    assert briefly(tool, "input", "frame", "output", "status", "bytes") == [
        (source, n, f"f_{n}.pgm", "done", PGM) for n in range(5)]


@pytest.mark.parametrize("jobs", [1, 4])
@pytest.mark.parametrize("source", ["in.raw", "-"])
def test_checksums(tool, source, jobs):
    """Of the bytes of each file; of each frame where one file takes all of them."""
    tool.write("in.raw", SEQUENCE)
    tool.good("convert", *SHAPE, "-j", jobs, "--report", "r.jsonl", source, "f_%d.pgm", stdin=SEQUENCE)
    assert briefly(tool, "crc32") == [(f"{zlib.crc32(tool.read(f'f_{n}.pgm')):08x}",) for n in range(5)]
    tool.good("unpack", *SHAPE, "-j", jobs, "--report", "r.jsonl", source, "all.raw", stdin=SEQUENCE)
    assert briefly(tool, "crc32") == [(f"{zlib.crc32(frame(n)):08x}",) for n in range(5)]


def test_one_file_for_all(tool):
    tool.write("in.raw", SEQUENCE)
    tool.good("unpack", *SHAPE, "--report", "r.jsonl", "--frames", "2:4", "in.raw", "out.raw")
    assert briefly(tool, "frame", "output", "status", "bytes") == [(n, "out.raw", "done", W * H) for n in (2, 3)]
    assert tool("unpack", *SHAPE, "--report", "r.jsonl", "--skip-existing", "in.raw", "out.raw").returncode == 0
    assert briefly(tool, "frame", "output", "status") == [(None, "out.raw", "skipped")]


def test_numbers_of_frames(tool):
    tool.write("in.raw", SEQUENCE)
    tool.good("convert", *SHAPE, "--report", "r.jsonl", "--frames", "3:", "in.raw", "f_%d.pgm")
    assert briefly(tool, "frame", "output") == [(3, "f_3.pgm"), (4, "f_4.pgm")]
    tool.good("pack", *SHAPE, "--report", "r.jsonl", "--frame", 2, "in.raw", "out.rwh")
    assert briefly(tool, "frame", "output", "bytes") == [(2, "out.rwh", 16 + W * H)]


@pytest.mark.parametrize("jobs", [1, 3])
def test_a_batch_of_which_some_fail(tool, jobs):
    tool.write("a.raw", frame(1) + frame(2))
    tool.write("b.raw", b"short")
    tool.write("d.raw", frame(3))
    tool.write("out/d.pgm", b"older")
    (tool.folder / "empty").mkdir()
    done = tool("convert", *SHAPE, "-j", jobs, "--skip-existing", "-t", "pgm", "--report", "r.jsonl", "-o", "out",
                "a.raw", "b.raw", "c.raw", "d.raw", "empty")
    assert done.returncode == 1
    assert briefly(tool, "input", "frame", "output", "status") == [
        ("empty", None, None, "failed"), ("a.raw", 0, "out/a_00000.pgm", "done"),
        ("a.raw", 1, "out/a_00001.pgm", "done"), ("b.raw", None, None, "failed"), ("c.raw", None, None, "failed"),
        ("d.raw", 0, "out/d.pgm", "skipped")]
    assert [line["reason"] for line in lines_of(tool) if line["input"] in "b.raw c.raw"] == [
        "b.raw: 5 bytes are not a whole number of frames of 24 bytes (Mono8 6x4)",
        "cannot read c.raw: No such file or directory"]


def test_result_that_cannot_be_written(tool):
    tool.write("in.raw", SEQUENCE)
    (tool.folder / "f_1.pgm").mkdir()
    assert tool("convert", *SHAPE, "-j", 1, "--report", "r.jsonl", "in.raw", "f_%d.pgm").returncode == 4
    assert briefly(tool, "frame", "status") == [(0, "done"), (1, "failed")]
    assert "f_1.pgm" in lines_of(tool)[1]["reason"]


def test_short_stream(tool):
    """What was written to files one by one is done; one file for all is not there at all."""
    tool.bad(3, "convert", *SHAPE, "-j", 2, "--report", "r.jsonl", "-", "f_%d.pgm", stdin=SEQUENCE[:55])
    assert briefly(tool, "frame", "status") == [(0, "done"), (1, "done"), (2, "failed")]
    tool.bad(3, "convert", *SHAPE, "-j", 2, "--report", "r.jsonl", "-", "all.bgr", stdin=SEQUENCE[:55])
    reason = "standard input: frame 2 is short, 7 of 24 bytes (Mono8 6x4)"
    assert briefly(tool, "frame", "status", "reason") == [(n, "failed", reason) for n in range(3)]
    assert not (tool.folder / "all.bgr").exists()
    done = tool("convert", *SHAPE, "--report", "r.jsonl", "-", "-", stdin=SEQUENCE[:55])
    assert done.returncode == 3 and briefly(tool, "frame", "output", "status") == [
        (0, "-", "done"), (1, "-", "done"), (2, "-", "failed")]


def test_inputs_that_cannot_be_read_at_all(tool):
    for arguments in (["none.raw", "out.bgr"], ["none.raw", "out.png"]):
        line = tool.bad(3, "convert", *SHAPE, "--report", "r.jsonl", *arguments)
        assert briefly(tool, "input", "frame", "status", "reason") == [("none.raw", None, "failed", line)]
    tool.bad(3, "convert", *SHAPE, "--report", "r.jsonl", "-", "out.bgr")
    assert briefly(tool, "input", "status") == [("-", "failed")]
    assert tool.names() == ["r.jsonl"]


def test_report_to_standard_output(tool):
    tool.write("in.raw", SEQUENCE)
    text = tool.good("convert", *SHAPE, "--report", "-", "in.raw", "f_%d.pgm")
    assert [json.loads(line)["output"] for line in text.splitlines()] == [f"f_{n}.pgm" for n in range(5)]


@pytest.mark.parametrize("report,arguments", [
    ("in.raw", ["in.raw", "out.pgm"]), ("link", ["in.raw", "out.pgm"]), ("in.raw", ["none.raw", "in.raw", "out/"]),
    ("in.txt", ["-t", "pgm", "-o", "out", "in.raw"]), ("out.pgm", ["in.raw", "out.pgm"]),
    ("x/../out.pgm", ["in.raw", "out.pgm"]), ("out/in.pgm", ["-t", "pgm", "-o", "out", "in.raw"]),
    ("-", ["in.raw", "-"]), ("/dev/stdout", ["in.raw", "-"]), ("-", ["in.raw", "/dev/stdout", "--to", "bgr"]),
    ("out.bgr", ["in.raw", "out.bgr"]), ("", ["in.raw", "out.pgm"])])
def test_never_an_input_or_a_result(tool, report, arguments):
    tool.write("in.raw", frame(1))
    tool.write("in.txt", b"pixel format: Mono8\nwidth: 6\nheight: 4\n")
    (tool.folder / "x").mkdir()
    os.symlink("in.raw", tool.folder / "link")
    tool.bad(2, "convert", f"--report={report}", *arguments)
    assert tool.names() == ["in.raw", "in.txt", "link"] and tool.read("in.raw") == frame(1)


def test_redirected_streams_that_are_the_report(tool):
    tool.write("r.jsonl", SEQUENCE)
    for source, result in (("-", "f_%d.pgm"), ("in.raw", "-")):
        tool.write("in.raw", SEQUENCE)
        with open(tool.folder / "r.jsonl", "r+b") as stream:
            done = subprocess.run([PROGRAM, "convert", *SHAPE, "--report", "r.jsonl", source, result], cwd=tool.folder,
                                  stdin=stream, stdout=stream, stderr=subprocess.PIPE, check=False)
        assert done.returncode == 2 and done.stderr.count(b"\n") == 1
        assert tool.names() == ["in.raw", "r.jsonl"] and tool.read("r.jsonl") == SEQUENCE


def test_frame_of_a_stream_that_is_the_report(tool):
    done = tool("convert", *SHAPE, "-j", 1, "--report", "f_3.pgm", "-", "f_%d.pgm", stdin=SEQUENCE)
    assert (done.returncode, done.stderr) == (2, "vexacamutl: f_3.pgm is the report\n")
    assert [json.loads(line)["status"] for line in tool.read("f_3.pgm").splitlines()] == ["done"] * 3 + ["failed"]


def test_refused_commands_leave_none(tool):
    tool.write("in.raw", SEQUENCE)
    tool.write("out.pgm", b"older")
    tool.bad(2, "convert", *SHAPE, "--report", "r.jsonl", "in.raw", "one.pgm")
    tool.bad(2, "convert", *SHAPE, "--no-overwrite", "--frame", 1, "--report", "r.jsonl", "in.raw", "out.pgm")
    assert tool.names() == ["in.raw", "out.pgm"]


def test_older_report(tool):
    tool.write("in.raw", frame(1))
    tool.write("r.jsonl", b"older")
    assert tool.bad(2, "convert", *SHAPE, "--no-overwrite", "--report", "r.jsonl", "in.raw", "out.pgm") == (
        "r.jsonl exists already (--no-overwrite)")
    assert tool.names() == ["in.raw", "r.jsonl"] and tool.read("r.jsonl") == b"older"
    tool.good("convert", *SHAPE, "--skip-existing", "--report", "r.jsonl", "in.raw", "out.pgm")
    assert briefly(tool, "status") == [("done",)]


def test_report_without_a_place(tool):
    """Said before anything is converted."""
    tool.write("in.raw", frame(1))
    assert "none/r.jsonl" in tool.bad(4, "convert", *SHAPE, "--report", "none/r.jsonl", "in.raw", "out.pgm")
    assert tool.names() == ["in.raw"]


def test_no_room_for_the_report(tool):
    """It is whole or absent; the results, which have room, stay."""
    tool.write("in.raw", SEQUENCE)
    tool.write("r.jsonl", b"older")
    line = tool.bad(4, "convert", *SHAPE, "--report", "r.jsonl", "in.raw", "f_%d.pgm",
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
    assert line == "cannot write r.jsonl: File too large"
    assert tool.read("r.jsonl") == b"older" and tool.names("f_*") == [f"f_{n}.pgm" for n in range(5)]


def test_names_are_json(tool):
    name = 'a"b\\c\n\u00e9.raw'
    tool.write(name, frame(1))
    tool.good("convert", *SHAPE, "--report", "r.jsonl", name, "out.pgm")
    assert briefly(tool, "input", "output") == [(name, "out.pgm")]
