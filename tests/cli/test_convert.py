# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# convert: one frame to every kind of output, all formats, and what lies between file and library.
import struct

import numpy as np
import pytest
from model import (demosaic, pack_bit_stream, pack_pairs, random_samples, read_bmp, read_library_bitmap, read_netpbm,
                   read_png, rwh, yuv_pixel)

W, H = 8, 6
BAYER_RG8 = 0x01080009


def mosaic(depth=8):
    return random_samples(W * H, depth).reshape(H, W)


@pytest.fixture
def rg8(tool):
    tool.write("in.raw", mosaic().tobytes())
    return demosaic(mosaic(), "RG", 8)


RAW = ["--format", "BayerRG8", "--size", f"{W}x{H}", "in.raw"]


def test_png_by_extension(tool, rg8):
    assert tool.good("convert", *RAW, "out.png") == b""
    assert (read_png(tool.read("out.png")) == rg8[..., ::-1]).all()


def test_ppm_by_extension(tool, rg8):
    tool.good("convert", *RAW, "out.ppm")
    assert tool.read("out.ppm") == b"P6\n8 6\n255\n" + rg8[..., ::-1].tobytes()


def test_bmp_is_the_common_one(tool, rg8):
    tool.good("convert", *RAW, "out.bmp")
    assert (read_bmp(tool.read("out.bmp")) == rg8).all()


def test_bmp_rows_are_padded(tool):
    tool.write("in.raw", bytes(range(15)))
    tool.good("convert", "-f", "Mono8", "-s", "5x3", "in.raw", "out.bmp")
    assert len(tool.read("out.bmp")) == 54 + 1024 + 3 * 8
    assert read_bmp(tool.read("out.bmp")).tobytes() == bytes(range(15))


def test_vbmp_is_the_library_s_own(tool, rg8):
    tool.good("convert", *RAW, "out.vbmp")
    assert (read_library_bitmap(tool.read("out.vbmp")) == rg8).all()


def test_kind_can_be_said(tool, rg8):
    tool.good("convert", *RAW, "--to", "ppm", "out.dat")
    assert (read_netpbm(tool.read("out.dat")) == rg8[..., ::-1]).all()


def test_alpha(tool, rg8):
    bgra = np.dstack([rg8, np.full((H, W), 255, np.uint8)])
    for kind, read, order in (("png", read_png, [2, 1, 0, 3]), ("bmp", read_bmp, [0, 1, 2, 3]),
                              ("vbmp", read_library_bitmap, [0, 1, 2, 3])):
        tool.good("convert", *RAW, "--alpha", f"out.{kind}")
        assert (read(tool.read(f"out.{kind}")) == bgra[..., order]).all()


def test_standard_output_is_bgra(tool, rg8):
    bgra = np.dstack([rg8, np.full((H, W), 255, np.uint8)])
    assert tool.good("convert", *RAW, "-") == bgra.tobytes()
    assert tool.good("convert", *RAW, "--to", "bgr", "-") == rg8.tobytes()


@pytest.mark.parametrize("phase", ["GR", "RG", "GB", "BG"])
@pytest.mark.parametrize("depth", [8, 10, 12])
def test_every_bayer_format(tool, phase, depth):
    samples = mosaic(depth)
    tool.write("in.raw", samples.tobytes())
    tool.good("convert", "-f", f"Bayer{phase}{depth}", "-s", f"{W}x{H}", "in.raw", "out.ppm")
    assert (read_netpbm(tool.read("out.ppm")) == demosaic(samples, phase, depth)[..., ::-1]).all()


@pytest.mark.parametrize("depth", [8, 10, 12, 16])
def test_every_grey_format(tool, depth):
    samples = random_samples(W * H, depth)
    tool.write("in.raw", samples.tobytes())
    tool.good("convert", "-f", f"Mono{depth}", "-s", f"{W}x{H}", "in.raw", "out.pgm")
    expected = (samples.astype(int) >> (depth - 8)).astype(np.uint8)
    assert tool.read("out.pgm") == b"P5\n8 6\n255\n" + expected.tobytes()
    tool.good("convert", "-f", f"Mono{depth}", "-s", f"{W}x{H}", "in.raw", "out.png")
    assert (read_png(tool.read("out.png")).ravel() == expected).all()


@pytest.mark.parametrize("order", ["RGB", "BGR"])
@pytest.mark.parametrize("depth", [8, 10, 12])
def test_every_colour_format(tool, order, depth):
    samples = random_samples(W * H * 3, depth)
    tool.write("in.raw", samples.tobytes())
    tool.good("convert", "-f", f"{order}{depth}", "-s", f"{W}x{H}", "in.raw", "out.ppm")
    expected = (samples.astype(int) >> (depth - 8)).astype(np.uint8).reshape(H, W, 3)
    assert (read_netpbm(tool.read("out.ppm")) == (expected if order == "RGB" else expected[..., ::-1])).all()


# A group of the layout as positions of U, V and the luma bytes.
YUV = {"YUV411_8_UYYVYY": (6, 0, 3, [1, 2, 4, 5]), "YUV422_8_UYVY": (4, 0, 2, [1, 3]), "YUV8_UYV": (3, 0, 2, [1])}


@pytest.mark.parametrize("name", list(YUV))
@pytest.mark.parametrize("kind", ["bgr", "bgra"])
def test_every_yuv_format(tool, name, kind):
    group, u, v, lumas = YUV[name]
    frame = bytes(random_samples(W * H * group // len(lumas), 8))
    tool.write("in.raw", frame)
    expected = []
    for at in range(0, len(frame), group):
        for luma in lumas:
            expected += yuv_pixel(frame[at + luma], frame[at + u], frame[at + v]) + [255] * (kind == "bgra")
    result = tool.good("convert", "-f", name, "-s", f"{W}x{H}", "--to", kind, "in.raw", "-")
    assert result == bytes(expected)


def test_grey_shows_the_mosaic(tool, rg8):
    tool.good("convert", *RAW, "--grey", "out.pgm")
    assert (read_netpbm(tool.read("out.pgm")) == mosaic()).all()
    tool.good("convert", *RAW, "--grey", "out.ppm")
    assert (read_netpbm(tool.read("out.ppm")) == np.dstack([mosaic()] * 3)).all()


def test_bayer_modes_differ_inside_and_agree_on_flat_frames(tool, rg8):
    default = tool.good("convert", *RAW, "-")
    assert tool.good("convert", *RAW, "--bayer-mode", "default", "-") == default
    assert tool.good("convert", *RAW, "--bayer-mode", "acpi", "-") != default
    tool.write("in.raw", bytes([90]) * W * H)
    assert tool.good("convert", *RAW, "--bayer-mode", "acpi", "-") == bytes([90, 90, 90, 255]) * W * H


def test_rwh_to_and_fro(tool, rg8):
    tool.good("convert", *RAW, "out.rwh")
    assert tool.read("out.rwh") == rwh(BAYER_RG8, W, H, mosaic().tobytes())
    tool.good("convert", "out.rwh", "out.ppm")
    assert (read_netpbm(tool.read("out.ppm")) == rg8[..., ::-1]).all()


def test_stride_and_offset(tool, rg8):
    padded = b"".join(row.tobytes() + b"\xEE" * 5 for row in mosaic())
    tool.write("in.raw", b"HEADER!" + padded)
    tool.good("convert", *RAW, "--offset", "7", "--stride", W + 5, "out.ppm")
    assert (read_netpbm(tool.read("out.ppm")) == rg8[..., ::-1]).all()


@pytest.mark.parametrize("depth", [10, 12])
@pytest.mark.parametrize("suffix,pack", [("p", pack_bit_stream), ("Packed", pack_pairs)])
def test_packed_transport_formats(tool, depth, suffix, pack):
    samples = mosaic(depth)
    tool.write("in.raw", pack(samples.ravel(), depth))
    tool.good("convert", "-f", f"BayerGB{depth}{suffix}", "-s", f"{W}x{H}", "in.raw", "out.ppm")
    assert (read_netpbm(tool.read("out.ppm")) == demosaic(samples, "GB", depth)[..., ::-1]).all()


def test_packed_rows_with_a_stride(tool):
    samples = mosaic(12)
    tool.write("in.raw", b"".join(pack_bit_stream(row, 12) + b"??" for row in samples))
    tool.good("convert", "-f", "Mono12p", "-s", f"{W}x{H}", "--stride", W * 12 // 8 + 2, "in.raw", "out.raw")
    assert tool.read("out.raw") == samples.tobytes()


def test_check_range(tool):
    tool.write("in.raw", struct.pack("<4H", 1023, 1024, 0, 65535))
    done = tool("convert", "-f", "Mono10", "-s", "4x1", "--check-range", "in.raw", "out.pgm")
    assert (done.returncode, done.stderr) == (
        0, "vexacamutl: in.raw: 2 of 4 samples above 1023, the largest is 65535\n")
    done = tool("convert", "-f", "Mono10", "-s", "4x1", "--check-range", "-", "-", stdin=tool.read("in.raw"))
    assert done.stderr == "vexacamutl: standard input: 2 of 4 samples above 1023, the largest is 65535\n"
    assert tool.read("out.pgm").endswith(bytes([255, 0, 0, 255]))  # they wrap


def test_sidecar_names_the_layout(tool, rg8):
    tool.write("in.txt", b"file: in.raw\npixel format: 0x01080009 BayerRG8\nwidth: 8\nheight: 6\nlicence: any\n")
    tool.good("convert", "in.raw", "out.ppm")
    assert (read_netpbm(tool.read("out.ppm")) == rg8[..., ::-1]).all()


def test_existing_result_is_replaced_and_links_stay_links(tool, rg8):
    tool.write("real.ppm", b"old")
    (tool.folder / "out.ppm").symlink_to("real.ppm")
    tool.good("convert", *RAW, "out.ppm")
    assert (tool.folder / "out.ppm").is_symlink()
    assert (read_netpbm(tool.read("real.ppm")) == rg8[..., ::-1]).all()
    assert tool.names() == ["in.raw", "out.ppm", "real.ppm"]


@pytest.mark.parametrize("name", ["bayerrg8", "rggb", "RGGB8", "bayer_rggb8", "SRGGB8", "0x01080009", "0X1080009"])
def test_other_spellings(tool, rg8, name):
    tool.good("convert", "-f", name, "-s", f"{W}x{H}", "in.raw", "out.ppm")
    assert (read_netpbm(tool.read("out.ppm")) == rg8[..., ::-1]).all()
