# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# --frames: part of a sequence, from files and streams, each result under the frame's own number.
import pytest

W, H, FRAMES = 6, 4, 9
SHAPE = ["-f", "Mono8", "-s", f"{W}x{H}"]
SLICES = ["0:9", ":", "2:", ":3", "2:5", "4:5", "8:", "7:100", ":1", "3", "0"]


def frame(number):
    return bytes([10 + number]) * W * H


SEQUENCE = b"".join(map(frame, range(FRAMES)))


def chosen(text):
    """The frames that Python itself means by this text."""
    everything = list(range(FRAMES))
    if ":" not in text:
        return [everything[int(text)]]
    return everything[slice(*[int(part) if part else None for part in text.split(":")])]


def bgr(numbers):
    return b"".join(frame(n) * 3 for n in numbers)


@pytest.mark.parametrize("text", SLICES)
def test_file_and_stream_to_one_file(tool, text):
    tool.write("in.raw", SEQUENCE)
    for jobs in (1, 4):
        arguments = ["convert", *SHAPE, "-j", jobs, "-t", "bgr", "--frames", text]
        assert tool.good(*arguments, "in.raw", "-") == bgr(chosen(text))
        assert tool.good(*arguments, "-", "-", stdin=SEQUENCE) == bgr(chosen(text))


@pytest.mark.parametrize("text", SLICES)
@pytest.mark.parametrize("source", ["in.raw", "-"])
def test_results_keep_their_numbers(tool, text, source):
    tool.write("in.raw", SEQUENCE)
    tool.good("convert", *SHAPE, "-j", 2, "--frames", text, source, "f_%03d.bgr", stdin=SEQUENCE)
    tool.good("convert", *SHAPE, "-t", "bgr", "-o", "out", "--frames", text, source, stdin=SEQUENCE)
    stem = "in" if source == "in.raw" else "frame"
    assert tool.names("*.bgr") == sorted([f"f_{n:03d}.bgr" for n in chosen(text)]
                                         + [f"out/{stem}_{n:05d}.bgr" for n in chosen(text)])
    for n in chosen(text):
        assert tool.read(f"f_{n:03d}.bgr") == tool.read(f"out/{stem}_{n:05d}.bgr") == bgr([n])


def test_parts_make_the_whole(tool):
    """Three commands share a sequence; one that is run again has nothing left to do."""
    tool.write("in.raw", SEQUENCE)
    for part in (":4", "4:5", "5:"):
        tool.good("unpack", *SHAPE, "--frames", part, "-o", "parts", "in.raw")
    tool.good("unpack", *SHAPE, "-o", "whole", "in.raw")
    assert len(tool.names("parts/*")) == FRAMES
    for name in tool.names("parts/*"):
        assert tool.read(name) == tool.read(name.replace("parts", "whole"))
    done = tool("unpack", *SHAPE, "--skip-existing", "--frames", "3:6", "-o", "parts", "in.raw")
    assert (done.returncode, done.stderr) == (0, "vexacamutl: 3 results exist and were skipped\n")
    assert tool.bad(2, "unpack", *SHAPE, "--no-overwrite", "--frames", "3:6", "-o", "parts", "in.raw") == (
        "parts/in_00003.raw exists already (--no-overwrite)")


def test_pack_and_reverse(tool):
    tool.write("in.raw", SEQUENCE)
    tool.good("pack", *SHAPE, "--frames", "7:9", "in.raw", "p_%d.rwh")
    assert tool.names("p_*") == ["p_7.rwh", "p_8.rwh"] and tool.read("p_8.rwh").endswith(frame(8))
    tool.good("reverse", *SHAPE, "-m", "--frames", "7:9", "in.raw", "r.raw")
    assert tool.read("r.raw") == frame(7) + frame(8)


def test_a_stream_is_not_read_beyond_the_end(tool):
    """What follows is not even a whole frame."""
    assert tool.good("convert", *SHAPE, "-t", "bgr", "--frames", "1:3", "-", "-", stdin=SEQUENCE[:80]) == bgr([1, 2])


def test_one_picture_takes_one_frame(tool):
    tool.write("in.raw", SEQUENCE)
    tool.good("convert", *SHAPE, "--frames", "6:7", "in.raw", "out.pgm")
    assert tool.read("out.pgm").endswith(frame(6))
    assert "holds 2 frames" in tool.bad(2, "convert", *SHAPE, "--frames", "6:8", "in.raw", "out.pgm")
    tool.bad(2, "convert", *SHAPE, "--frames", "6:8", "-", "other.pgm", stdin=SEQUENCE)
    assert tool.names() == ["in.raw", "out.pgm"]


def test_beyond_the_last_frame(tool):
    tool.write("in.raw", SEQUENCE)
    for text in ("9:", "9", "20:30", f"{2**64 - 2}:"):
        assert "there is no frame" in tool.bad(3, "convert", *SHAPE, "--frames", text, "in.raw", "f_%d.pgm")
    assert tool.bad(3, "convert", *SHAPE, "--frames", "9:", "-", "f_%d.pgm", stdin=SEQUENCE) == (
        "standard input: there is no frame")
    assert tool.names() == ["in.raw"]


def test_a_rest_is_still_an_error(tool):
    """Unless the range ends before it."""
    tool.write("in.raw", SEQUENCE + b"rest")
    for text in ("2:", ":", "8:20"):
        assert "not a whole number of frames" in tool.bad(3, "convert", *SHAPE, "--frames", text, "in.raw", "f_%d.pgm")
    tool.good("convert", *SHAPE, "--frames", "7:9", "in.raw", "f_%d.pgm")
    assert tool.names("f_*") == ["f_7.pgm", "f_8.pgm"]


@pytest.mark.parametrize("text", ["", "x", "1:x", "-1:", ":-1", "1:2:3", "1-3", "0x1:", "+1", " 1", "1.0", "a:b",
                                  str(2**64)])
def test_what_is_no_range(tool, text):
    tool.write("in.raw", SEQUENCE)
    line = tool.bad(2, "convert", *SHAPE, f"--frames={text}", "in.raw", "f_%d.pgm")
    assert "--frames" in line
    assert tool.names() == ["in.raw"]


@pytest.mark.parametrize("text", ["3:3", "5:2", ":0", "0:0"])
def test_empty_range(tool, text):
    tool.write("in.raw", SEQUENCE)
    assert tool.bad(2, "convert", *SHAPE, "--frames", text, "in.raw", "f_%d.pgm") == (
        f"--frames {text} holds no frame; END is the first one that is left out")


def test_not_with_frame(tool):
    tool.write("in.raw", SEQUENCE)
    line = tool.bad(2, "convert", *SHAPE, "--frame", 1, "--frames", "1:2", "in.raw", "f_%d.pgm")
    assert "--frame" in line and "--frames" in line
