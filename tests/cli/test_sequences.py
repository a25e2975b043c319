# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Many frames: streams, sequences in one file, folders, threads, and what is said when some of them fail.
import fcntl
import os
import subprocess
import threading

import numpy as np
import pytest
from conftest import PROGRAM

W, H = 6, 4
SHAPE = ["-f", "Mono8", "-s", f"{W}x{H}"]


def frame(number):
    return bytes([number]) * W * H


def pgm(number):
    return b"P5\n6 4\n255\n" + frame(number)


def bgra(number):
    return bytes([number, number, number, 255]) * W * H


@pytest.mark.parametrize("jobs", [1, 2, 5])
def test_stream_to_stream_keeps_the_order(tool, jobs):
    result = tool.good("convert", *SHAPE, "-j", jobs, "-", "-", stdin=b"".join(map(frame, range(23))))
    assert result == b"".join(map(bgra, range(23)))


def test_short_last_frame_is_an_error(tool):
    done = tool("convert", *SHAPE, "-j", 1, "-", "-", stdin=frame(1) + frame(2) + b"12345")
    assert done.returncode == 3
    assert done.stderr == "vexacamutl: standard input: frame 2 is short, 5 of 24 bytes (Mono8 6x4)\n"
    assert done.stdout == bgra(1) + bgra(2)


def test_short_last_frame_leaves_no_file(tool):
    tool.bad(3, "convert", *SHAPE, "-", "out.bgra", stdin=frame(1) + b"12345")
    assert tool.names() == []


def test_empty_stream_is_an_error(tool):
    assert tool.bad(3, "convert", *SHAPE, "-", "-") == "standard input: there is no frame"


def test_stream_to_one_file(tool):
    tool.good("convert", *SHAPE, "-", "out.bgr", stdin=frame(1) + frame(2))
    assert tool.read("out.bgr") == frame(1) * 3 + frame(2) * 3


def test_stream_to_numbered_files(tool):
    tool.good("convert", *SHAPE, "-", "f%03d.pgm", stdin=frame(1) + frame(2))
    assert tool.names() == ["f000.pgm", "f001.pgm"]
    assert tool.read("f001.pgm") == pgm(2)


def test_stream_to_folder(tool):
    tool.good("convert", *SHAPE, "-t", "pgm", "-o", "out", "-", stdin=frame(1) + frame(2))
    assert tool.names() == ["out/frame_00000.pgm", "out/frame_00001.pgm"]


def test_second_frame_of_a_stream_for_one_picture(tool):
    line = tool.bad(2, "convert", *SHAPE, "-", "out.pgm", stdin=frame(1) + frame(2))
    assert line == ("there is more than one frame for out.pgm; number the outputs (out_%05d.pgm), "
                    "or use --output-dir or --frame")
    assert tool.names() == []


def test_pictures_one_after_another_on_standard_output(tool):
    assert tool.good("convert", *SHAPE, "-t", "pgm", "-", "-", stdin=frame(1) + frame(2)) == pgm(1) + pgm(2)


def test_one_frame_of_a_stream(tool):
    assert tool.good("convert", *SHAPE, "--frame", 1, "-", "-", stdin=frame(1) + frame(2) + b"rest") == bgra(2)
    assert tool.bad(3, "convert", *SHAPE, "--frame", 2, "-", "-", stdin=frame(1) + frame(2)) == (
        "standard input: there is no frame")


def test_offset_in_a_stream(tool):
    assert tool.good("convert", *SHAPE, "--offset", 3, "-", "-", stdin=b"abc" + frame(9)) == bgra(9)


def test_fifo(tool):
    path = tool.folder / "pipe"
    os.mkfifo(path)
    writer = threading.Thread(target=lambda: path.write_bytes(frame(1) + frame(2)))
    writer.start()
    assert tool.good("convert", *SHAPE, "pipe", "-") == bgra(1) + bgra(2)
    writer.join()


def test_live_stream_is_not_held_back(tool):
    """With one thread a frame comes out before the next one goes in."""
    process = tool.start("convert", *SHAPE, "-j", "1", "-", "-", stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    for number in range(3):
        process.stdin.write(frame(number))
        process.stdin.flush()
        assert process.stdout.read(W * H * 4) == bgra(number)
    process.stdin.close()
    process.stdout.close()
    assert process.wait(timeout=60) == 0


@pytest.mark.parametrize("jobs", [1, 4])
def test_sequence_file(tool, jobs):
    tool.write("in.raw", b"".join(map(frame, range(12))))
    tool.good("convert", *SHAPE, "-j", jobs, "in.raw", "f_%d.pgm")
    assert len(tool.names("f_*")) == 12
    assert all(tool.read(f"f_{n}.pgm") == pgm(n) for n in range(12))
    tool.good("convert", *SHAPE, "-j", jobs, "in.raw", "all.bgra")
    assert tool.read("all.bgra") == b"".join(map(bgra, range(12)))


def test_sequence_file_into_one_picture(tool):
    tool.write("in.raw", frame(1) + frame(2))
    assert tool.bad(2, "convert", *SHAPE, "in.raw", "out.pgm") == (
        "in.raw holds 2 frames of Mono8 6x4; number the outputs (out_%05d.pgm), or use --output-dir or --frame")
    tool.good("convert", *SHAPE, "--frame", 1, "in.raw", "out.pgm")
    assert tool.read("out.pgm") == pgm(2)
    assert tool.bad(3, "convert", *SHAPE, "--frame", 2, "in.raw", "out.pgm") == (
        "in.raw: there is no frame 2; the file holds 2")


def sidecar(width=W, height=H, name="Mono8"):
    return f"pixel format: {name}\nwidth: {width}\nheight: {height}\n".encode()


def test_folder(tool):
    for number, name in enumerate(["b", "a", "c"]):
        tool.write(f"in/{name}.raw", frame(number))
        tool.write(f"in/{name}.txt", sidecar())
    tool.write("in/notes.md", b"no frame")
    tool.good("convert", "-t", "pgm", "--output-dir", "out/deep", "in")
    assert tool.names("out/deep/*") == ["out/deep/a.pgm", "out/deep/b.pgm", "out/deep/c.pgm"]
    assert tool.read("out/deep/b.pgm") == pgm(0)


def test_one_bad_file_does_not_stop_the_rest(tool):
    for number in range(8):
        tool.write(f"in/{number}.raw", frame(number)[: 20 if number in (2, 5) else None])
        tool.write(f"in/{number}.txt", sidecar())
    done = tool("convert", "-t", "pgm", "-o", "out", "-j", 3, "in")
    assert done.returncode == 1
    lines = done.stderr.splitlines()
    assert sorted(lines[:2]) == [
        f"vexacamutl: in/{n}.raw: 20 bytes are not a whole number of frames of 24 bytes (Mono8 6x4)" for n in (2, 5)]
    assert lines[2:] == ["vexacamutl: 2 of 8 inputs failed, 6 were converted"]
    assert tool.names("out/*") == [f"out/{n}.pgm" for n in (0, 1, 3, 4, 6, 7)]


def test_missing_file_in_a_batch(tool):
    tool.write("a.raw", frame(1))
    done = tool("convert", *SHAPE, "-t", "pgm", "-o", "out", "a.raw", "b.raw")
    assert (done.returncode, done.stderr) == (
        1, "vexacamutl: cannot read b.raw: No such file or directory\n"
           "vexacamutl: 1 of 2 inputs failed, 1 was converted\n")
    assert tool.read("out/a.pgm") == pgm(1)


def test_empty_folder(tool):
    (tool.folder / "in").mkdir()
    assert tool.bad(3, "convert", "-o", "out", "in") == "in: no raw frames (*.raw, *.bin, *.rwh) in this folder"


def test_two_inputs_of_one_name(tool):
    tool.write("a/x.raw", frame(1))
    tool.write("b/x.raw", frame(2))
    assert tool.bad(2, "convert", *SHAPE, "-o", "out", "a/x.raw", "b/x.raw") == (
        "a/x.raw and b/x.raw would both become out/x.png")


def test_progress_line_only_on_a_terminal(tool):
    """`script` gives the program a terminal; its output has the line of progress, a pipe's has nothing."""
    try:
        for descriptor in os.openpty():
            os.close(descriptor)
    except OSError:
        pytest.skip("this system has no pseudo-terminals")
    tool.write("in.raw", b"".join(map(frame, range(50))))
    arguments = " ".join(["convert", *SHAPE, "-j", "1", "in.raw", "f_%d.png"])
    done = subprocess.run(["script", "-qec", f"{PROGRAM} {arguments}", "/dev/null"], cwd=tool.folder,
                          capture_output=True, check=True, timeout=60)
    assert b"frames/s" in done.stdout and b"s left" in done.stdout
    assert tool.good("convert", *SHAPE, "in.raw", "f_%d.png") == b""


def test_many_threads_give_the_same_bytes(tool):
    noise = np.random.default_rng(3).integers(0, 256, 64 * 48 * 40, dtype=np.uint8).tobytes()
    tool.write("in.raw", noise)
    shape = ["-f", "BayerGB8", "-s", "64x48"]
    one = tool.good("convert", *shape, "-j", 1, "in.raw", "-")
    assert tool.good("convert", *shape, "-j", 8, "in.raw", "-") == one
    tool.good("convert", *shape, "-j", 8, "-t", "bgra", "in.raw", "f_%02d.bgra")
    assert b"".join(tool.read(name) for name in tool.names("f_*")) == one


def test_pipes_are_widened_and_never_narrowed(tool):
    tool.write("in.raw", frame(1))
    for before in (4096, 65536, 1 << 20):
        reader, writer = os.pipe()
        try:
            try:
                fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 1 << 20)
            except PermissionError:
                pytest.skip("the system grants no larger pipes")
            fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, before)
            subprocess.run([PROGRAM, "convert", *SHAPE, "in.raw", "-"], cwd=tool.folder, stdout=writer, check=True)
            assert fcntl.fcntl(reader, fcntl.F_GETPIPE_SZ) == 1 << 20
            assert os.read(reader, 1000) == bgra(1)
        finally:
            os.close(reader)
            os.close(writer)
