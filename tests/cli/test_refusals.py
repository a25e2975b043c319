# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Options and names that do not fit the result are refused before anything is written.
import pytest

RGGB = ["-f", "BayerRG8", "-s", "8x6"]
UYVY = ["-f", "uyvy", "-s", "6x4"]
SAMPLES = "a {} file holds the samples of the input"


@pytest.fixture(name="raw")
def raw_frame(tool):
    tool.write("in.raw", bytes(range(48)))
    return tool


@pytest.mark.parametrize("option, kind, files", [
    *((["--alpha"], kind, "png, bmp and vbmp") for kind in ("ppm", "pgm", "tif", "jpg", "bgr", "raw", "rwh")),
    *((["--quality", "80"], kind, "jpg") for kind in ("png", "tif", "ppm", "pgm", "bmp", "vbmp", "bgra", "bgr", "raw")),
    *((["--png-level", "9"], kind, "png") for kind in ("tif", "jpg", "ppm", "bmp", "vbmp", "bgra", "bgr", "rwh")),
])
def test_options_of_other_files(raw, option, kind, files):
    line = f"{option[0]} is for {files} files, not for {kind}"
    assert raw.bad(2, "convert", *RGGB, *option, "in.raw", f"out.{kind}") == line
    assert raw.bad(2, "convert", *RGGB, *option, "-t", kind, "-o", "out", "in.raw") == line
    assert raw.bad(2, "convert", *RGGB, *option, "-t", kind, "-", "-", stdin=bytes(48)) == line
    assert raw.names() == ["in.raw"]


def test_options_of_the_file_are_taken(raw):
    raw.good("convert", *RGGB, "--alpha", "--png-level", 9, "in.raw", "out.png")
    raw.good("convert", *RGGB, "--quality", 80, "in.raw", "out.jpg")
    assert raw.good("convert", *RGGB, "--alpha", "in.raw", "-") == raw.good("convert", *RGGB, "in.raw", "-")


@pytest.mark.parametrize("kind", ["raw", "rwh"])
@pytest.mark.parametrize("options, makes", [
    ([*UYVY, "--range", "limited"], "--range makes"), ([*UYVY, "--range", "full"], "--range makes"),
    ([*RGGB, "--grey"], "--grey makes"), ([*RGGB, "-b", "acpi"], "--bayer-mode makes"),
    ([*RGGB, "--tone", "srgb"], "--white-balance, --black-level, --exposure and --tone make"),
])
def test_options_of_pictures_for_frames(raw, options, makes, kind):
    assert raw.bad(2, "convert", *options, "in.raw", f"out.{kind}") == f"{makes} pictures; {SAMPLES.format(kind)}"
    assert raw.names() == ["in.raw"]


@pytest.mark.parametrize("name", ["one.png", "one.PNG", "one.raw", "one.bgra", "one_%d.tif"])
def test_pack_writes_rwh_files_only(raw, name):
    kind = name.rsplit(".", 1)[1].lower()
    assert raw.bad(2, "pack", *RGGB, "in.raw", name) == (
        f"{name}: pack writes rwh files, not {kind} (see: vexacamutl convert --help)")
    assert raw.names() == ["in.raw"]


def test_unpack_writes_raw_files_only(raw):
    raw.good("pack", *RGGB, "in.raw", "in.rwh")
    for kind in ("png", "rwh", "bgr"):
        assert raw.bad(2, "unpack", "in.rwh", f"out.{kind}") == (
            f"out.{kind}: unpack writes raw files, not {kind} (see: vexacamutl convert --help)")
    raw.good("unpack", "in.rwh", "out.bin")
    raw.good("unpack", "in.rwh", "out")
    assert raw.read("out.bin") == raw.read("out") == raw.read("in.raw")


@pytest.mark.parametrize("output", ["out.png", "out.bgra", "-"])
def test_every_refusal_names_its_input(raw, output):
    assert raw.bad(5, "convert", *UYVY, "--tone", "srgb", "in.raw", output) == (
        "in.raw: YUV422_8_UYVY 6x4: levels need raw samples, which YUV422_8_UYVY does not have")
    assert raw.bad(5, "convert", *UYVY, "--tone", "srgb", "-", output, stdin=bytes(48)) == (
        "standard input: YUV422_8_UYVY 6x4: levels need raw samples, which YUV422_8_UYVY does not have")


def test_an_empty_file_is_called_empty(raw):
    raw.write("empty.raw", b"")
    for arguments in (["convert", *RGGB, "empty.raw", "out.png"], ["info", *RGGB, "empty.raw"],
                      ["pack", *RGGB, "--offset", 4, "empty.raw", "out.rwh"]):
        assert raw.bad(3, *arguments) == "empty.raw: the file is empty"
    done = raw("convert", *RGGB, "-o", "out", "in.raw", "empty.raw")
    assert done.returncode == 1
    assert done.stderr.splitlines()[-1] == "vexacamutl: 1 of 2 inputs failed, 1 was converted"


def test_a_single_frame_keeps_its_number(tool):
    tool.write("in.raw", bytes(48) + bytes([7]) * 48 + bytes([9]) * 48)
    shape = ["-f", "Mono8", "-s", "8x6"]
    tool.good("convert", *shape, "--frame", 2, "in.raw", "f_%03d.pgm")
    tool.good("convert", *shape, "--frame", 1, "-", "s_%d.pgm", stdin=tool.read("in.raw"))
    tool.good("convert", *shape, "--frame", 1, "-t", "pgm", "-o", "out", "in.raw")
    assert tool.names("*.pgm") == ["f_002.pgm", "out/in.pgm", "s_1.pgm"]
    assert tool.read("f_002.pgm")[-48:] == bytes([9]) * 48
    assert tool.read("s_1.pgm") == tool.read("out/in.pgm")


def test_sidecars_say_shift_and_range(tool):
    tool.write("high.raw", b"".join((value << 4).to_bytes(2, "little") for value in range(48)))
    tool.write("high.txt", b"pixel format: Mono12\nwidth: 8\nheight: 6\nShift: 4\n")
    low = b"".join(value.to_bytes(2, "little") for value in range(48))
    tool.good("unpack", "high.raw", "low.bin")
    assert tool.read("low.bin") == low
    tool.good("unpack", "--shift", 0, "high.raw", "as-is.bin")  # the command line comes first
    assert tool.read("as-is.bin") == tool.read("high.raw")
    tool.write("video.raw", bytes([128, 16, 128, 235]) * 12)
    tool.write("video.txt", b"pixel format: uyvy\nwidth: 6\nheight: 4\nrange: limited\n")
    limited = tool.good("convert", "-f", "uyvy", "-s", "6x4", "--range", "limited", "video.raw", "-")
    assert limited[:8] == bytes([0, 0, 0, 255, 255, 255, 255, 255])
    assert tool.good("convert", "video.raw", "-") == limited
    assert tool.good("convert", "--range", "full", "video.raw", "-") != limited
    tool.good("unpack", "--sidecar", "video.raw", "again.raw")
    assert tool.read("again.txt").endswith(b"\nrange: limited\n")
    assert tool.good("convert", "again.raw", "-") == limited
    tool.good("unpack", "--sidecar", "video.raw", "again.raw")  # its own text may be replaced


@pytest.mark.parametrize("line, error", [
    ("shift: 9", "in.txt: invalid shift '9'"), ("shift: 4294967295", "in.txt: invalid shift '4294967295'"),
    ("shift: -1", "in.txt: invalid shift '-1'"), ("shift: 1", "in.raw: samples of BayerRG8 cannot lie 1 bits higher"),
    ("range: tv", "in.txt: invalid range 'tv': expected full or limited"),
    ("range: limited", "in.raw: a limited range is for YUV frames, not for BayerRG8"),
])
def test_sidecars_that_cannot_be_true(raw, line, error):
    raw.write("in.txt", f"pixel format: BayerRG8\nwidth: 8\nheight: 6\n{line}\n".encode())
    assert raw.bad(3, "convert", "in.raw", "out.png") == error


def test_help_calls_a_verb_a_verb(tool):
    text = tool.good("--help").decode()
    assert "\nVerbs:\n  convert " in text and "Usage: vexacamutl [OPTIONS] VERB" in text
    assert "subcommand" not in text.lower()
