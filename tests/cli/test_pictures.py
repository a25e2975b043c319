# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Grey pictures of 16 bits: every bit of every sample, whatever the depth.
import numpy as np
import pytest
from model import pack_bit_stream, random_samples, read_grey_words, read_png

W, H = 8, 6
SIZE = ["-s", f"{W}x{H}"]
WORDS = ["png", "pgm"]


def widened(sample, depth):
    """The sample at the top of a word, its own high bits below it: the largest sample becomes 65535."""
    bits = format(int(sample), f"0{depth}b")
    return int((bits * 2)[:16], 2)


def words_of(samples, depth):
    return np.array([widened(s, depth) for s in samples], np.uint16).reshape(H, W)


@pytest.mark.parametrize("kind", WORDS)
@pytest.mark.parametrize("depth", [8, 10, 12, 14, 16])
@pytest.mark.parametrize("name", ["Mono", "BayerGB"])
def test_every_bit_of_grey(tool, name, depth, kind):
    samples = random_samples(W * H, depth)
    samples[:2] = 0, 2**depth - 1
    tool.write("in.raw", samples.tobytes())
    grey = ["--grey"] if name != "Mono" else []
    tool.good("convert", "-f", f"{name}{depth}", *SIZE, "--bits", 16, *grey, "in.raw", f"out.{kind}")
    words = read_grey_words(tool.read(f"out.{kind}"))
    assert (words == words_of(samples, depth)).all()
    assert (words.ravel()[:2] == [0, 65535]).all()
    assert (words.ravel() >> (16 - depth) == samples).all()  # nothing is lost


def test_packed_padded_and_shifted_frames(tool):
    samples = random_samples(W * H, 12)
    rows = b"".join(pack_bit_stream(row, 12) + b"padding" for row in samples.reshape(H, W))
    tool.write("packed.raw", rows)
    tool.good("convert", "-f", "Mono12p", *SIZE, "--stride", W * 3 // 2 + 7, "--bits", 16, "packed.raw", "packed.png")
    tool.write("high.raw", (samples << 4).astype("<u2").tobytes())
    tool.good("convert", "-f", "Mono12", *SIZE, "--shift", 4, "--bits", 16, "high.raw", "high.png")
    expected = words_of(samples, 12)
    assert (read_grey_words(tool.read("packed.png")) == expected).all()
    assert tool.read("packed.png") == tool.read("high.png")


def test_eight_bits_are_the_default(tool):
    samples = random_samples(W * H, 12)
    tool.write("in.raw", samples.tobytes())
    tool.good("convert", "-f", "Mono12", *SIZE, "in.raw", "default.png")
    tool.good("convert", "-f", "Mono12", *SIZE, "--bits", 8, "in.raw", "eight.png")
    assert tool.read("default.png") == tool.read("eight.png")
    assert (read_png(tool.read("eight.png")).ravel() == samples >> 4).all()


def test_many_frames_on_many_threads(tool):
    samples = random_samples(W * H * 9, 10)
    tool.write("in.raw", samples.tobytes())
    tool.good("convert", "-f", "Mono10", *SIZE, "--bits", 16, "-j", 3, "in.raw", "f_%d.png")
    for n, frame in enumerate(samples.reshape(9, -1)):
        assert (read_grey_words(tool.read(f"f_{n}.png")) == words_of(frame, 10)).all()


@pytest.mark.parametrize("kind", ["ppm", "bmp", "vbmp", "bgra", "bgr", "rwh", "raw"])
def test_kinds_without_words(tool, kind):
    tool.write("in.raw", bytes(2 * W * H))
    line = tool.bad(2, "convert", "-f", "Mono12", *SIZE, "--bits", 16, "in.raw", f"out.{kind}")
    assert line.startswith("--bits 16 is for ") and line.endswith(f", not for {kind}")
    assert tool.names() == ["in.raw"]


@pytest.mark.parametrize("kind", WORDS)
@pytest.mark.parametrize("name,remedy", [("BayerRG12", "; add --grey"), ("RGB8Packed", ""), ("yuyv", "")])
def test_colour_has_no_words(tool, name, remedy, kind):
    tool.write("in.raw", bytes({"BayerRG12": 2, "RGB8Packed": 3, "yuyv": 2}[name] * W * H))
    line = tool.bad(5, "convert", "-f", name, *SIZE, "--bits", 16, "in.raw", f"out.{kind}")
    assert "--bits 16 is for grey pictures, but " in line and line.endswith("is converted to colour" + remedy)
    assert tool.names() == ["in.raw"]


@pytest.mark.parametrize("options", [["--alpha"], ["--tone", "srgb"], ["--white-balance", "auto"],
                                     ["--black-level", "3"], ["--exposure", "2"]])
def test_what_makes_eight_bits_is_refused(tool, options):
    tool.write("in.raw", bytes(2 * W * H))
    line = tool.bad(2, "convert", "-f", "Mono12", *SIZE, "--bits", 16, *options, "in.raw", "out.png")
    assert "--bits 16" in line and options[0] in line
    assert tool.names() == ["in.raw"]


@pytest.mark.parametrize("value", ["12", "0", "x", "-16", "16.0"])
def test_wrong_bits(tool, value):
    tool.write("in.raw", bytes(2 * W * H))
    assert "--bits" in tool.bad(2, "convert", "-f", "Mono12", *SIZE, f"--bits={value}", "in.raw", "out.png")
