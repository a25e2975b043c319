# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Grey pictures of 16 bits: every bit of every sample at every depth. TIFF and JPEG files.
import shutil
import subprocess

import numpy as np
import pytest
from model import jpeg_header, pack_bit_stream, random_samples, read_grey_words, read_netpbm, read_png, read_tiff

W, H = 8, 6
SIZE = ["-s", f"{W}x{H}"]
WORDS = ["png", "pgm", "tif"]


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


@pytest.mark.parametrize("kind", ["ppm", "bmp", "vbmp", "bgra", "bgr", "rwh", "raw", "jpg"])
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


@pytest.mark.parametrize("size", [(1, 1), (8, 6), (641, 50)])
@pytest.mark.parametrize("name", ["BayerRG8", "Mono8", "RGB8Packed"])
def test_tiff_holds_what_netpbm_holds(tool, name, size):
    """Many strips in the largest; the same pixels as in a file that the tests can read without tags."""
    width, height = size
    tool.write("in.raw", random_samples(width * height * (3 if name == "RGB8Packed" else 1), 8).tobytes())
    other = "pgm" if name == "Mono8" else "ppm"
    for result in ("out.tif", f"out.{other}"):
        tool.good("convert", "-f", name, "-s", f"{width}x{height}", "in.raw", result)
    tags, pixels = read_tiff(tool.read("out.tif"))
    channels = 1 if name == "Mono8" else 3
    assert (tags[256], tags[257], tags[258]) == ([width], [height], [8] * channels)
    assert (tags[262], tags.get(277, [1])) == ([1 if channels == 1 else 2], [channels])
    assert pixels == read_netpbm(tool.read(f"out.{other}")).tobytes()
    assert set(tags) <= {256, 257, 258, 259, 262, 273, 274, 277, 278, 279, 284}  # no time, no name


@pytest.mark.parametrize("kind", ["tif", "jpg"])
def test_same_picture_same_bytes(tool, kind):
    tool.write("in.raw", random_samples(64 * 48 * 4, 8).tobytes())
    shape = ["-f", "BayerGR8", "-s", "64x48"]
    tool.good("convert", *shape, "-j", 4, "in.raw", f"a_%d.{kind}")
    tool.good("convert", *shape, "-j", 1, "-t", kind, "-o", "b", "in.raw")
    for n in range(4):
        assert tool.read(f"a_{n}.{kind}") == tool.read(f"b/in_0000{n}.{kind}")
    assert tool.good("convert", *shape, "-t", kind, "--frame", 2, "in.raw", "-") == tool.read(f"a_2.{kind}")


def test_long_extensions(tool):
    tool.write("in.raw", random_samples(W * H, 8).tobytes())
    for short, long in (("tif", "tiff"), ("jpg", "JPEG")):
        for kind in (short, long):
            tool.good("convert", "-f", "Mono8", *SIZE, "in.raw", f"out.{kind}")
        assert tool.read(f"out.{short}") == tool.read(f"out.{long}")
        tool.good("convert", "-f", "Mono8", *SIZE, "-t", long, "-o", "folder", "in.raw")
    assert tool.names("folder/*") == ["folder/in.jpg", "folder/in.tif"]


@pytest.mark.parametrize("name,components", [("Mono8", [0x11]), ("BayerRG8", [0x22, 0x11, 0x11])])
def test_header_of_jpeg(tool, name, components):
    tool.write("in.raw", random_samples(33 * 17, 8).tobytes())
    tool.good("convert", "-f", name, "-s", "33x17", "in.raw", "out.jpg")
    assert jpeg_header(tool.read("out.jpg"))[:4] == (17, 33, 8, components)


@pytest.mark.skipif(shutil.which("ffmpeg") is None, reason="no ffmpeg")
@pytest.mark.parametrize("kind, most, options", [("tif", 0, []), ("jpg", 12, ["--quality", 100])])
def test_another_program_reads_the_picture(tool, kind, most, options):
    """A smooth colour picture, where 4:2:0 and quality 100 leave little that differs."""
    y, x = np.mgrid[0:48, 0:64]
    picture = np.stack([x * 3, y * 4, (x + y) * 2], axis=-1).astype(np.uint8)
    tool.write("in.raw", picture.tobytes())
    tool.good("convert", "-f", "RGB8Packed", "-s", "64x48", *options, "in.raw", f"out.{kind}")
    done = subprocess.run(["ffmpeg", "-v", "error", "-i", f"out.{kind}", "-pix_fmt", "rgb24", "-f", "rawvideo", "-"],
                          cwd=tool.folder, capture_output=True, check=True)
    got = np.frombuffer(done.stdout, np.uint8).reshape(picture.shape)
    assert np.abs(got.astype(int) - picture).max() <= most


def test_quality(tool):
    """The table of quality 50 is the standard's own, 100 divides by nothing, 90 is the default."""
    tool.write("in.raw", random_samples(64 * 48, 8).tobytes())
    files = {}
    for quality in (1, 50, 90, 100):
        tool.good("convert", "-f", "Mono8", "-s", "64x48", "--quality", quality, "in.raw", "out.jpg")
        files[quality] = tool.read("out.jpg")
    assert jpeg_header(files[50])[4][:6] == [16, 11, 12, 14, 12, 10]
    assert jpeg_header(files[100])[4] == [1] * 64
    assert len(files[1]) < len(files[50]) < len(files[90]) < len(files[100])
    tool.good("convert", "-f", "Mono8", "-s", "64x48", "in.raw", "out.jpg")
    assert tool.read("out.jpg") == files[90]


@pytest.mark.parametrize("value", ["0", "101", "-1", "x", "9.5", ""])
def test_wrong_quality(tool, value):
    tool.write("in.raw", bytes(W * H))
    assert "--quality" in tool.bad(2, "convert", "-f", "Mono8", *SIZE, f"--quality={value}", "in.raw", "out.jpg")
    assert tool.names() == ["in.raw"]


@pytest.mark.parametrize("size", ["65501x1", "1x65501"])
def test_too_large_for_jpeg(tool, size):
    tool.write("in.raw", bytes(65501))
    line = tool.bad(5, "convert", "-f", "Mono8", "-s", size, "in.raw", "out.jpg")
    assert line == ("in.raw: the picture is too large for a JPEG file, which has at most 65500 rows and columns; "
                    "choose png or tif")
    assert tool.names() == ["in.raw"]
    tool.good("convert", "-f", "Mono8", "-s", size, "in.raw", "out.tif")
    assert len(read_tiff(tool.read("out.tif"))[1]) == 65501


def test_scene_and_reversed_frames_as_new_kinds(tool):
    for kind in ("tif", "jpg"):
        tool.good("synth", "-s", "64x48", f"scene.{kind}")
        tool.good("synth", "-f", "BayerRG8", "-s", "64x48", "--sidecar", "in.raw")
        tool.good("reverse", "-m", "in.raw", f"mirrored.{kind}")
    ppm = tool.good("convert", "-t", "ppm", "in.raw", "-")
    assert read_tiff(tool.read("scene.tif"))[1] == read_netpbm(ppm).tobytes()
