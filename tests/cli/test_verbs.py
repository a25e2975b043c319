# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# The other verbs: info, formats, reverse, pack, unpack, synth, guess, bench; help and version.
import json
import os
import pathlib
import re
import json
import struct

import numpy as np
import pytest
from model import CELLS, demosaic, pack_bit_stream, pack_pairs, random_samples, read_netpbm, read_png, rwh
from test_help import VERBS

RG8, RG12, UYVY = 0x01080009, 0x01100011, 0x0210001F


# info

def test_info_of_rwh(tool):
    tool.write("in.rwh", rwh(RG12, 6, 4, bytes(48)))
    assert tool.good("info", "in.rwh").decode() == (
        "in.rwh\n"
        "  format    BayerRG12 (0x01100011), Bayer, 16 bits per pixel, 12 significant\n"
        "  size      6x4\n"
        "  row       12 bytes\n"
        "  frames    1 of 48 bytes\n"
        "  length    agrees\n")


def test_info_of_raw_with_sidecar_and_without(tool):
    tool.write("in.raw", bytes(32))
    expected = ("in.raw\n"
                "  format    YUV422_8_UYVY (0x0210001F), YUV, 16 bits per pixel, 8 significant\n"
                "  size      4x2\n"
                "  row       8 bytes\n"
                "  frames    2 of 16 bytes\n"
                "  length    agrees\n")
    assert tool.good("info", "-f", "uyvy422", "-s", "4x2", "in.raw").decode() == expected
    tool.write("in.txt", b"pixel format: 0x0210001F\nwidth: 4\nheight: 2\n")
    assert tool.good("info", "in.raw").decode() == expected


@pytest.mark.parametrize("length", range(16 + 48))
def test_info_of_every_shorter_rwh(tool, length):
    tool.write("in.rwh", rwh(RG12, 6, 4, bytes(48))[:length])
    tool.bad(3, "info", "in.rwh")


def test_info_says_what_is_wrong_with_an_rwh(tool):
    whole = rwh(RG12, 6, 4, bytes(48))
    wrong = {
        "in.rwh: 63 bytes are not the frame of 48 bytes (BayerRG12 6x4) after 16 bytes": whole[:-1],
        "in.rwh: 65 bytes are not the frame of 48 bytes (BayerRG12 6x4) after 16 bytes": whole + b"x",
        "in.rwh: 112 bytes are not the frame of 48 bytes (BayerRG12 6x4) after 16 bytes": whole + bytes(48),
        "in.rwh: the header holds no known pixel format (0x01100099)": b"\x99" + whole[1:],
        "in.rwh: the header says BayerRG12 6x4, but rows of 13 bytes": whole[:12] + b"\x0D" + whole[13:],
        "in.rwh: BayerRG12 0x4 has no pixels": struct.pack("<4I", RG12, 0, 4, 0),
        "in.rwh: BayerRG12 32768x65536 is more than 2^30 pixels": struct.pack("<4I", RG12, 0x8000, 0x10000, 0x10000),
    }
    for line, content in wrong.items():
        tool.write("in.rwh", content)
        assert tool("info", "in.rwh").stderr == f"vexacamutl: {line}\n"


def test_info_of_many(tool):
    tool.write("a.rwh", rwh(RG8, 4, 4, bytes(16)))
    tool.write("b.rwh", rwh(RG8, 4, 4, bytes(15)))
    done = tool("info", "a.rwh", "b.rwh")
    assert done.returncode == 1
    assert done.stdout.startswith(b"a.rwh\n  format    BayerRG8")
    assert done.stderr == ("vexacamutl: b.rwh: 31 bytes are not the frame of 16 bytes (BayerRG8 4x4) after 16 bytes\n"
                           "vexacamutl: 1 of 2 inputs failed\n")


def test_info_as_json(tool):
    tool.write("in.rwh", rwh(RG12, 6, 4, bytes(48)))
    tool.write('"\n.raw', bytes(8))
    lines = tool.good("info", "--json", "in.rwh").decode().splitlines()
    assert [json.loads(line) for line in lines] == [
        {"file": "in.rwh", "format": "BayerRG12", "code": "0x01100011", "width": 6, "height": 4, "stride": 0, "offset": 16,
         "frames": 1, "frame_bytes": 48, "timestamp": None}]
    line = tool.good("info", "--json", "-f", "Mono8", "-s", "2x2", "--stride", 2, '"\n.raw').decode()
    assert json.loads(line)["file"] == '"\n.raw' and json.loads(line)["frames"] == 2 and line.count("\n") == 1


def test_info_of_a_folder(tool):
    for name in ("in/b.raw", "in/a.RWH", "in/notes.txt"):
        tool.write(name, rwh(RG8, 2, 2, bytes(4)))
    tool.write("in/bad.rwh", b"")
    (tool.folder / "empty").mkdir()
    done = tool("info", "--json", "-f", "Mono8", "-s", "5x4", "empty", "in", "none.raw")
    objects = [json.loads(line) for line in done.stdout.splitlines()]
    assert [(o["file"], o.get("frames")) for o in objects] == [
        ("in/a.RWH", 1), ("in/b.raw", 1), ("empty", None), ("in/bad.rwh", None), ("none.raw", None)]
    assert [o["reason"] for o in objects[2:]] + ["3 of 5 inputs failed"] == [
        line[len("vexacamutl: "):] for line in done.stderr.splitlines()]
    assert done.returncode == 1
    done = tool("info", "--json", "none.rwh")
    assert (done.returncode, done.stdout) == (
        3, b'{"file": "none.rwh", "reason": "cannot read none.rwh: No such file or directory"}\n')


@pytest.mark.parametrize("name", ["in.txt", "in.rwh.txt"])
def test_info_of_times(tool, name):
    tool.write("in.rwh", rwh(RG8, 2, 2, bytes(4)))
    for text, found in ((b"TimeStamp:  1700000000123456789 ns\n", "1700000000123456789"), (b"timestamp: 1,2,3", "1,2,3"),
                        (b"timestamp: 2026-11-22T10:00:00Z", "2026-11-22T10:00:00Z"), (b"timestamp:\n", None),
                        (b"no key", None), (b"timestamp: 1\n" + bytes(1 << 16), None)):
        tool.write(name, text)
        assert json.loads(tool.good("info", "--json", "in.rwh"))["timestamp"] == found


# formats

def test_formats_with_the_odd_strides(tool):
    lines = tool.good("formats", "--size", "100x10", "BayerRG8", "uyvy", "0x02180020", "Mono12p").decode().splitlines()
    assert lines[:5] == [
        "name              code       bits depth  kind    frame bytes read for BGRA  read for BGR",
        "BayerRG8          0x01080009    8     8  Bayer          1000          1000          1000",
        "YUV422_8_UYVY     0x0210001F   16     8  YUV            2000          2000         2500*",
        "YUV8_UYV          0x02180020   24     8  YUV            3000         4000*         4000*",
        "Mono12p           0x010C0047   12    12  grey           1500             -             -"]


def test_formats_lists_all(tool):
    names = tool.good("formats", "--names").decode().split()
    assert len(names) == len(set(names)) == 65
    for phase in CELLS:
        for depth in ("8", "10", "12", "14", "16", "10p", "12p", "10Packed", "12Packed", "10CSI2", "12CSI2"):
            assert f"Bayer{phase}{depth}" in names
    assert len(tool.good("formats").decode().splitlines()) == 1 + 65 + 1 + 5
    codes = {line.split()[1] for line in tool.good("formats").decode().splitlines()[1:66]}
    assert len(codes) == 65


def test_aliases_are_accepted_and_unique(tool):
    seen = {}
    for line in tool.good("formats", "--aliases").decode().splitlines():
        name, *aliases = line.split()
        for alias in aliases:
            assert seen.setdefault(alias, name) == name
            assert tool.good("formats", "--names", alias).decode() == name + "\n"
    assert seen["uyvy422"] == "YUV422_8_UYVY" and seen["gray8"] == "Mono8" and seen["rggb"] == "BayerRG8"


# reverse

@pytest.mark.parametrize("mirror", [False, True])
@pytest.mark.parametrize("flip", [False, True])
@pytest.mark.parametrize("phase", list(CELLS))
@pytest.mark.parametrize("size", [(6, 4), (5, 4), (6, 3), (5, 3)])
def test_reverse_and_the_phase_it_prints(tool, mirror, flip, phase, size):
    width, height = size
    frame = random_samples(width * height, 12).reshape(height, width)
    letters = np.array([[CELLS[phase][(y % 2) * 2 + x % 2] for x in range(width)] for y in range(height)])
    for step in ([np.fliplr] if mirror else []) + ([np.flipud] if flip else []):
        frame, letters = step(frame), step(letters)
    tool.write("in.rwh", rwh(0x01100010 + list(CELLS).index(phase), width, height,
                             random_samples(width * height, 12).tobytes()))
    flags = ["--mirror"] * mirror + ["--flip"] * flip
    after = "".join(letters[0, :2])
    assert tool.good("reverse", *flags, "in.rwh", "out.rwh") == f"out.rwh: Bayer{after}12 {width}x{height}\n".encode()
    assert tool.read("out.rwh") == rwh(0x01100010 + list(CELLS).index(after), width, height, frame.tobytes())


def test_reverse_uyvy_keeps_chroma_in_place(tool):
    tool.write("in.raw", b"".join(bytes([u, y, v, y + 1]) for u, y, v in ((1, 10, 2), (3, 20, 4))))
    assert tool.good("reverse", "-m", "-f", "uyvy", "-s", "4x1", "in.raw", "out.raw") == (
        b"out.raw: YUV422_8_UYVY 4x1\n")
    assert tool.read("out.raw") == bytes([3, 21, 4, 20, 1, 11, 2, 10])


def test_reverse_stream(tool):
    done = tool("reverse", "-u", "-f", "Mono8", "-s", "1x3", "-", "-", stdin=b"abcdef")
    assert (done.returncode, done.stdout, done.stderr) == (0, b"cbafed", "standard output: Mono8 1x3\n")


def test_reverse_to_a_picture(tool):
    frame = random_samples(48, 8).reshape(6, 8)
    tool.write("in.raw", frame.tobytes())
    tool.good("reverse", "-m", "-f", "BayerGR8", "-s", "8x6", "in.raw", "out.ppm")
    assert (read_netpbm(tool.read("out.ppm")) == demosaic(np.fliplr(frame), "RG", 8)[..., ::-1]).all()


# pack and unpack

def test_pack_and_unpack(tool):
    frame = random_samples(24, 12).tobytes()
    tool.write("in.raw", frame)
    tool.good("pack", "-f", "BayerRG12", "-s", "6x4", "in.raw", "out.dat")
    assert tool.read("out.dat") == rwh(RG12, 6, 4, frame)
    (tool.folder / "out.dat").rename(tool.folder / "out.rwh")
    tool.good("unpack", "--sidecar", "out.rwh", "back.raw")
    assert tool.read("back.raw") == frame
    assert tool.read("back.txt").decode() == (
        "file: back.raw\npixel format: 0x01100011 BayerRG12\nwidth: 6\nheight: 4\nbytes: 48\n")
    tool.good("pack", "back.raw", "again.rwh")
    assert tool.read("again.rwh") == rwh(RG12, 6, 4, frame)


@pytest.mark.parametrize("depth", [10, 12])
@pytest.mark.parametrize("suffix,pack", [("p", pack_bit_stream), ("Packed", pack_pairs)])
def test_unpack_transport_formats(tool, depth, suffix, pack):
    samples = random_samples(6 * 4, depth)
    tool.write("in.raw", pack(samples, depth))
    tool.good("unpack", "-f", f"Mono{depth}{suffix}", "-s", "6x4", "in.raw", "out.raw")
    assert tool.read("out.raw") == samples.tobytes()


def test_pack_a_folder(tool):
    tool.write("in/a.raw", bytes(16))
    tool.write("in/b.raw", bytes(16))
    tool.good("pack", "-f", "BayerRG8", "-s", "4x4", "-o", "out", "in")
    assert tool.names("out/*") == ["out/a.rwh", "out/b.rwh"]


# synth

FORMATS = [f"Bayer{p}{d}" for p in CELLS for d in (8, 10, 12)] + [f"{c}{d}" for c in ("RGB", "BGR") for d in (8, 10, 12)]
PACKED = [f"Bayer{p}{d}" for p in CELLS for d in ("10p", "12p", "10Packed", "12Packed")]
SIZE = (320, 180)


def patch_centres():
    """Where the drawn scene has its flat patches, and their colours row by row (first, second and last are enough)."""
    width, height = SIZE
    cell_w, cell_h = width * 54 // 100 // 6, height * 56 // 100 // 4
    for (row, column), rgb in {(0, 0): (200, 30, 30), (0, 1): (30, 160, 40), (0, 2): (30, 50, 190),
                               (3, 5): (8, 8, 8)}.items():
        yield width * 3 // 100 + column * cell_w + cell_w // 2, height * 4 // 100 + row * cell_h + cell_h // 2, rgb


@pytest.mark.parametrize("name", FORMATS + PACKED)
def test_synth_and_convert_give_the_drawn_colours(tool, name):
    tool.good("synth", "-f", name, "-s", "320x180", "--sidecar", "in.raw")
    tool.good("convert", "in.raw", "out.png")
    picture = read_png(tool.read("out.png"))
    for x, y, rgb in patch_centres():
        assert tuple(picture[y, x]) == rgb


@pytest.mark.parametrize("name", ["YUV411_8_UYYVYY", "YUV422_8_UYVY", "YUV8_UYV"])
def test_synth_in_yuv_gives_nearly_the_drawn_colours(tool, name):
    tool.good("synth", "-f", name, "-s", "320x180", "--sidecar", "in.raw")
    tool.good("convert", "in.raw", "out.png")
    picture = read_png(tool.read("out.png")).astype(int)
    for x, y, rgb in patch_centres():
        assert np.abs(picture[y, x] - rgb).max() <= 2


@pytest.mark.parametrize("depth,name", [(8, "Mono8"), (10, "Mono10"), (12, "Mono12"), (16, "Mono16"),
                                        (10, "Mono10p"), (12, "Mono12p"), (10, "Mono10Packed"), (12, "Mono12Packed")])
def test_synth_in_grey(tool, depth, name):
    tool.good("synth", "-f", name, "-s", "320x180", "--sidecar", "in.raw")
    bits = {"p": depth, "d": 12}.get(name[-1], 8 if depth == 8 else 16)
    assert len(tool.read("in.raw")) == 320 * 180 * bits // 8
    tool.good("convert", "in.raw", "out.pgm")
    picture = read_netpbm(tool.read("out.pgm")).astype(int)
    for x, y, (r, g, b) in patch_centres():
        assert abs(picture[y, x] - (299 * r + 587 * g + 114 * b) / 1000) <= 1


def test_synth_moves_from_frame_to_frame(tool):
    sequence = tool.good("synth", "-s", "64x48", "-n", 3, "-")
    frames = [sequence[i * 3072:(i + 1) * 3072] for i in range(3)]
    assert len(sequence) == 3 * 3072 and len(set(frames)) == 3
    tool.good("synth", "-s", "64x48", "-n", 3, "f%d.rwh")
    assert [tool.read(f"f{n}.rwh")[16:] for n in range(3)] == frames


@pytest.mark.parametrize("size", ["1x1", "2x2", "4x2", "5x7", "16x12", "100x1", "1x100"])
def test_synth_of_tiny_frames(tool, size):
    width, height = map(int, size.split("x"))
    assert len(tool.good("synth", "-s", size, "-")) == width * height


def test_synth_straight_to_a_picture(tool):
    tool.good("synth", "-s", "320x180", "scene.png")
    tool.good("synth", "-s", "320x180", "--sidecar", "scene.raw")
    tool.good("convert", "scene.raw", "same.png")
    assert tool.read("scene.png") == tool.read("same.png")


# guess

def test_guess(tool):
    tool.good("synth", "-s", "320x180", "in.raw")
    lines = tool.good("guess", "-s", "320x180", "in.raw", "sheet.png").decode().splitlines()
    assert lines == [f"{name} 320x180 has the length of one frame"
                     for name in ("BayerGR8", "BayerRG8", "BayerGB8", "BayerBG8", "Mono8")]
    sheet = read_png(tool.read("sheet.png"))
    gap, label, columns = 8, 24, 4
    assert sheet.shape == (gap + 2 * (180 + label + gap), gap + columns * (320 + gap), 3)
    tool.good("convert", "-f", "BayerRG8", "-s", "320x180", "in.raw", "rg8.png")
    top, left = gap + label, gap + 320 + gap
    assert (sheet[top:top + 180, left:left + 320] == read_png(tool.read("rg8.png"))).all()


def test_guess_of_words_shows_the_word_layouts_too(tool):
    tool.good("synth", "-f", "BayerGB10", "-s", "320x180", "in.raw")
    lines = tool.good("guess", "-s", "320x180", "--tile-width", 160, "in.raw", "sheet.png").decode()
    assert "BayerGB10 320x180 has the length of one frame\n" in lines
    assert read_png(tool.read("sheet.png")).shape == (8 + 5 * (90 + 32), 8 + 4 * 168, 3)


def test_guess_takes_any_bytes(tool):
    for length in (128, 129, 5000):
        tool.write("in.bin", bytes(random_samples(length, 8)))
        assert tool.good("guess", "-s", "64x48", "in.bin", "sheet.ppm").decode() == (
            f"no frame of 64x48 has {length} bytes\n")


def test_guess_says_that_a_file_is_too_short_for_the_size(tool):
    for length in (1, 2, 100):
        tool.write("in.bin", bytes(random_samples(length, 8)))
        assert tool.bad(3, "guess", "-s", "64x48", "in.bin", "sheet.ppm") == (
            f"in.bin: {length} bytes are too few to show rows of 64 pixels")
    assert tool.names("*.ppm") == []


FOUND = {"png": "a PNG picture", "tif": "a TIFF picture", "jpg": "a JPEG picture", "bmp": "a bitmap",
         "ppm": "a PPM picture", "rwh": "an RWH file of BayerRG8 320x240"}


@pytest.mark.parametrize("kind", FOUND)
def test_guess_says_what_a_file_with_a_header_is(tool, kind):
    tool.good("synth", "-s", "320x240", "--sidecar", "in.raw")
    tool.good("convert", "in.raw", f"known.{kind}")
    (tool.folder / f"known.{kind}").rename(tool.folder / "unknown.bin")
    assert tool.bad(3, "guess", "unknown.bin") == (
        f"unknown.bin: this is {FOUND[kind]}; guess is for bare samples (--offset skips a header)")


def test_guess_takes_samples_that_begin_like_a_header(tool):
    tool.good("synth", "-f", "Mono8", "-s", "320x240", "in.raw")
    for begin in (b"BM" + bytes(12), b"P5x", b"P6", (0x01080001).to_bytes(4, "little") + bytes(12), b"\x89PNG"):
        tool.write("unknown.bin", begin + tool.read("in.raw")[len(begin):])
        assert json.loads(tool.good("guess", "--json", "unknown.bin"))[0]["width"] == 320, begin
    tool.write("unknown.bin", b"P5 320 240 255\n" + tool.read("in.raw"))
    assert json.loads(tool.good("guess", "--offset", 15, "--json", "unknown.bin"))[0]["width"] == 320


@pytest.mark.parametrize("name, size", [("BayerRG12", "640x480"), ("BayerGB12", "512x300"), ("Mono8", "500x312"),
                                        ("YUV422_8_UYVY", "640x360"), ("BGR8", "402x300")])
def test_guess_without_a_size_finds_the_layout(tool, name, size):
    tool.good("synth", "-f", name, "-s", size, "unknown.raw")
    found = json.loads(tool.good("guess", "--json", "unknown.raw"))
    assert len(found) <= 5
    red_and_blue = str.maketrans("RB", "BR")
    names = {name, name[:5] + name[5:7].translate(red_and_blue) + name[7:], name[:3].translate(red_and_blue) + name[3:]}
    assert found[0]["format"] in names
    assert f"{found[0]['width']}x{found[0]['height']}" == size
    assert found[0]["offset"] == found[0]["stride"] == found[0]["shift"] == found[0]["rest"] == 0
    assert found[0]["frames"] == 1
    assert found[0]["evidence"]


def test_guess_prints_options_that_convert_takes(tool):
    tool.good("synth", "-f", "BayerGR8", "-s", "320x240", "in.raw")
    tool.write("unknown.bin", b"HEADER" + bytes(250) + tool.read("in.raw"))
    lines = tool.good("guess", "--most", 2, "unknown.bin", "sheet.png").decode().splitlines()
    options = [line[3:].split() for line in lines if not line.startswith(" ")]
    assert ["--format", "BayerGR8", "--size", "320x240", "--offset", "256"] in options
    assert read_png(tool.read("sheet.png")).shape == (8 + 240 + 32, 8 + 4 * 328, 3)
    tool.good("convert", *options[0], "unknown.bin", "out.png")


def test_guess_adds_the_offset_that_it_is_told(tool):
    tool.good("synth", "-f", "Mono8", "-s", "320x240", "in.raw")
    tool.write("unknown.bin", bytes(range(37)) + tool.read("in.raw"))
    found = json.loads(tool.good("guess", "--offset", 37, "--most", 1, "--json", "unknown.bin"))
    assert [found[0][key] for key in ("format", "width", "height", "offset")] == ["Mono8", 320, 240, 37]


def test_guess_says_when_there_is_no_picture(tool):
    tool.write("noise.bin", os.urandom(200000))
    tool.write("small.bin", b"abc")
    for name in ("noise.bin", "small.bin"):
        assert tool.bad(3, "guess", name, "sheet.png") == \
            f"{name}: no rows of a picture found; the file may be compressed or too short"
        assert tool.names("*.png") == []
    tool.write("empty.bin", b"")
    assert tool.bad(3, "guess", "empty.bin") == "empty.bin: there is nothing to guess from"


def test_guess_refuses_options_that_do_not_meet(tool):
    tool.good("synth", "-s", "64x48", "in.raw")
    assert "contact sheet" in tool.bad(2, "guess", "-s", "64x48", "in.raw")
    assert tool.bad(2, "guess", "-s", "64x48", "--json", "in.raw", "sheet.png")
    assert tool.bad(2, "guess", "--most", 0, "in.raw")
    assert "colour picture" in tool.bad(2, "guess", "in.raw", "sheet.raw")
    assert tool.bad(2, "guess", "--tile-width", 200, "in.raw") == (
        "--tile-width is for a contact sheet; name a picture for it")
    assert tool.bad(2, "guess", "in.raw", "in.raw")


# bench, help, version

def test_bench_names_each_converter_once(tool):
    lines = tool.good("bench", "--csv", "--size", "16x8", "--seconds", "0").decode().splitlines()
    assert lines[0] == "converter,mpixel_per_s,gbyte_per_s,ratio_to_copy"
    names = [line.split(",")[0] for line in lines[1:]]
    header = (pathlib.Path(__file__).parents[2] / "include/VexaCamUtl.h").read_text(encoding="ascii")
    assert sorted(names) == sorted(re.findall(r"UtlStatus (Conv\w+To\w+)\(", header))
    for line in lines[1:]:
        assert all(float(figure) > 0 for figure in line.split(",")[1:])


def test_bench_of_some(tool):
    lines = tool.good("bench", "-s", "16x8", "--seconds", 0, "YUV411", "ByrRG8ToBGRA").decode().splitlines()
    assert lines[0] == "converter                  Mpixel/s     GB/s  of copy   (16x8, one thread)"
    assert [line.split()[0] for line in lines[1:]] == [
        "ConvYUV411PToBGRA", "ConvYUV411PToBGR", "ConvByrRG8ToBGRA", "ConvByrRG8ToBGRAACPI", "ConvByrRG8ToBGRACPI"]


def test_help_and_version(tool):
    assert tool.good("--version").decode().startswith("VexaCamUtl 1.")
    assert tool.good("-V") == tool.good("--version")
    text = tool.good("--help").decode()
    assert tool.good("help").decode() == text
    assert tool.good("help", "convert") == tool.good("convert", "--help")
    for verb in VERBS:
        assert f"\n  {verb} " in text
        assert "Options:" in tool.good(verb, "--help").decode()
