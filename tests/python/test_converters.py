# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Every converter through Python: the pictures against NumPy, and against the same call of the C function."""
from __future__ import annotations

import ctypes
import re
import tracemalloc

import numpy as np
import pytest

import expected
import vexacamutl as vcu
from vexacamutl._library import LIBRARY

SHIFTS = {"8": 0, "10": 2, "12": 4, "16": 8}
SIZES = [(2, 2), (6, 4), (66, 10), (130, 34)]
PHASES = ("GR", "RG", "GB", "BG")


def samples(random, depth: str, shape) -> np.ndarray:
    """Words use all 16 bits, so that some samples are above the depth."""
    return random.integers(0, 256, shape, np.uint8) if depth == "8" else random.integers(0, 65536, shape, np.uint16)


def expect_both_layouts(frame, name: str, bgr: np.ndarray, **options) -> None:
    np.testing.assert_array_equal(vcu.to_bgr(frame, name, **options), bgr)
    np.testing.assert_array_equal(vcu.to_bgra(frame, name, **options), expected.with_alpha(bgr))


@pytest.mark.parametrize("width, height", SIZES)
@pytest.mark.parametrize("depth", SHIFTS)
def test_grey(random, depth, width, height):
    frame = samples(random, depth, (height, width))
    expect_both_layouts(frame, f"Mono{depth}", expected.grey(frame, SHIFTS[depth]))


@pytest.mark.parametrize("width, height", SIZES)
@pytest.mark.parametrize("name", ["RGB8", "BGR8", "BGR10", "BGR12"])
def test_packed_colour(random, name, width, height):
    frame = samples(random, name[3:], (height, width, 3))
    expect_both_layouts(frame, name, expected.packed(frame, name[:3], SHIFTS[name[3:]]))


@pytest.mark.parametrize("name", ["RGB10", "RGB12"])
def test_rgb_words_by_name_only(random, name):
    frame = samples(random, name[3:], (4, 6, 3))
    bgr = expected.packed(frame, "RGB", SHIFTS[name[3:]])
    np.testing.assert_array_equal(vcu.CONVERTERS[f"Conv{name}PToBGR"](frame), bgr)
    np.testing.assert_array_equal(vcu.CONVERTERS[f"Conv{name}PToBGRA"](frame), expected.with_alpha(bgr))
    with pytest.raises(vcu.UnsupportedFormatError, match=f"Conv{name}PToBGR"):
        vcu.to_bgr(frame, name)


@pytest.mark.parametrize("width, height", SIZES)
@pytest.mark.parametrize("depth", ["8", "10", "12"])
@pytest.mark.parametrize("phase", PHASES)
def test_bayer_default(random, phase, depth, width, height):
    frame = samples(random, depth, (height, width))
    bgr = expected.bilinear(frame, phase, SHIFTS[depth])
    expect_both_layouts(frame, f"Bayer{phase}{depth}", bgr, mode=vcu.BayerMode.DEFAULT)


@pytest.mark.parametrize("depth", ["8", "10", "12"])
@pytest.mark.parametrize("phase", PHASES)
def test_bayer_not_demosaiced_is_grey(random, phase, depth):
    frame = samples(random, depth, (6, 8))
    expect_both_layouts(frame, f"Bayer{phase}{depth}", expected.grey(frame, SHIFTS[depth]), bayer=False)


@pytest.mark.parametrize("phase", ["RG", "BG"])
def test_bayer_10_bits_by_hand(phase):
    """Two neighbours 3 and 13 of a green site give (3 + 13) >> 3, not (3 >> 2 + 13 >> 2) >> 1."""
    frame = np.zeros((2, 4), np.uint16)
    frame[0, 0], frame[0, 2] = 3, 13
    colour = "BGR".index(phase[0])
    assert vcu.to_bgr(frame, f"Bayer{phase}10")[0, 1, colour] == 2


@pytest.mark.parametrize("phase", PHASES)
def test_acpi_keeps_flat_colours_and_own_samples(random, phase):
    """Whatever the interpolation does, one colour stays that colour and red and blue sites keep their samples."""
    colours = expected.colours_of_phase(phase, 12, 16)
    flat = np.array([40, 90, 200], np.uint8)[colours]
    picture = vcu.to_bgr(flat, f"Bayer{phase}8", mode=vcu.BayerMode.ACPI)
    assert (picture[2:-2, 2:-2] == (40, 90, 200)).all()

    frame = samples(random, "8", (12, 16))
    picture = vcu.to_bgr(frame, f"Bayer{phase}8", mode=vcu.BayerMode.ACPI)
    own = np.take_along_axis(picture, colours[..., np.newaxis], axis=2)[..., 0]
    np.testing.assert_array_equal(own, frame)
    assert (picture != vcu.to_bgr(frame, f"Bayer{phase}8", mode=vcu.BayerMode.DEFAULT)).any()


@pytest.mark.parametrize("width, height", [(4, 1), (8, 6), (132, 4)])
def test_yuv(random, width, height):
    pixels = (height, width)
    luma = samples(random, "8", pixels)
    for name, shared in (("YUV411_8_UYYVYY", 4), ("YUV422_8_UYVY", 2), ("YUV8_UYV", 1)):
        u, v = (samples(random, "8", (height, width // shared)) for _ in range(2))
        y = luma.reshape(height, width // shared, shared)
        groups = {
            4: lambda: [u, y[..., 0], y[..., 1], v, y[..., 2], y[..., 3]],
            2: lambda: [u, y[..., 0], v, y[..., 1]],
            1: lambda: [u, y[..., 0], v],
        }[shared]()
        bgr = expected.yuv(luma, np.repeat(u, shared, axis=1), np.repeat(v, shared, axis=1))
        expect_both_layouts(np.stack(groups, axis=-1), name, bgr)


def test_yuv_all_triples_of_a_plane():
    """All pairs of chroma at a few lumas: the pairs whose rounding hangs on single precision are among them."""
    u, v = np.meshgrid(np.arange(256, dtype=np.uint8), np.arange(256, dtype=np.uint8), indexing="ij")
    for luma in (0, 77, 128, 255):
        y = np.full_like(u, luma)
        frame = np.stack([u, y, v, np.zeros_like(u)], axis=-1)
        np.testing.assert_array_equal(vcu.CONVERTERS["ConvYUV444PToBGR"](frame), expected.yuv(y, u, v))


def test_odd_strides_of_yuv(random):
    """The layouts with a byte to skip give the picture of the plain ones, whatever the skipped byte holds."""
    uyvy = samples(random, "8", (4, 6, 4))
    five = np.concatenate([uyvy, samples(random, "8", (4, 6, 1))], axis=2)
    wanted = vcu.to_bgra(uyvy, "YUV422_8_UYVY")[..., :3]
    np.testing.assert_array_equal(vcu.CONVERTERS["ConvYUV422PToBGR"](five), wanted)
    np.testing.assert_array_equal(vcu.to_bgr(five, "YUV422_8_UYVY"), wanted)
    np.testing.assert_array_equal(vcu.to_bgr(five.tobytes(), "YUV422_8_UYVY", width=12, height=4), wanted)
    np.testing.assert_array_equal(vcu.to_bgr(uyvy.tobytes(), "YUV422_8_UYVY", width=12, height=4), wanted)

    uyv = samples(random, "8", (4, 6, 3))
    four = np.concatenate([uyv, samples(random, "8", (4, 6, 1))], axis=2)
    for convert in (vcu.to_bgra, vcu.to_bgr):
        np.testing.assert_array_equal(convert(four, "YUV8_UYV"), convert(uyv, "YUV8_UYV"))
    # Rows of 12 bytes could be either; they are the camera's.
    rows = samples(random, "8", (2, 12))
    assert vcu.to_bgr(rows, "YUV8_UYV").shape == (2, 4, 3)
    np.testing.assert_array_equal(vcu.to_bgr(rows, "YUV8_UYV"), vcu.to_bgr(rows.reshape(2, 4, 3), "YUV8_UYV"))
    assert vcu.CONVERTERS["ConvYUV422PToBGR"].source_bytes(12, 4) == 24 * 5
    assert vcu.CONVERTERS["ConvYUV422PToBGRA"].source_bytes(12, 4) == 24 * 4
    assert vcu.CONVERTERS["ConvYUV444PToBGRA"].source_bytes(6, 4) == 24 * 4


@pytest.mark.parametrize("name", vcu.CONVERTERS)
def test_every_converter_is_its_c_function(random, name):
    """The same frame through the C function of that name, straight from ctypes, with the address of each buffer."""
    converter = vcu.CONVERTERS[name]
    width, height = 20, 8
    frame = random.integers(0, 256, converter.source_bytes(width, height), np.uint8)
    shift = {"shift": 3} if converter.takes_shift else {}
    picture = converter(frame, width=width, height=height, **shift)

    # The C call gets its own copy of the bytes, in the middle of buffers that show a write outside.
    margin = 64
    there = (ctypes.c_uint8 * (picture.nbytes + 2 * margin))()
    function = getattr(ctypes.CDLL(LIBRARY._name), name)
    arguments = [
        ctypes.c_void_p(ctypes.addressof(there) + margin),
        ctypes.c_char_p(frame.tobytes()),
        ctypes.c_uint32(width),
        ctypes.c_uint32(height),
    ] + [ctypes.c_uint32(3)] * converter.takes_shift
    function.argtypes = None
    assert function(*arguments) == 0
    result = np.frombuffer(there, np.uint8)
    np.testing.assert_array_equal(picture.ravel(), result[margin:-margin])
    assert not result[:margin].any() and not result[-margin:].any()
    layout = re.search(r"To(BGRA|BGR)(ACPI)?$", name).group(1)
    assert picture.shape == (height, width, len(layout))
    assert picture.nbytes == converter.destination_bytes(width, height)


def test_kept_converter_and_out(random):
    converter = vcu.converter_for("BayerRG8", "bgr", mode=vcu.BayerMode.DEFAULT)
    assert converter.name == "ConvByrRG8ToBGR"
    out = np.empty((4, 6, 3), np.uint8)
    for _ in range(3):
        frame = samples(random, "8", (4, 6))
        assert converter(frame, out=out) is out
        np.testing.assert_array_equal(out, expected.bilinear(frame, "RG", 0))


def test_frames_of_every_kind_of_memory():
    """A frame that is read-only is fine, and so are bytes."""
    frame = np.arange(24, dtype=np.uint8).reshape(4, 6)
    frame.setflags(write=False)
    wanted = expected.grey(frame, 0)
    np.testing.assert_array_equal(vcu.to_bgr(frame, "Mono8"), wanted)
    for same in (bytes(frame), bytearray(frame), memoryview(bytes(frame))):
        np.testing.assert_array_equal(vcu.to_bgr(same, "Mono8", width=6, height=4), wanted)


SIDE = 1024
CALLS = {
    "to_bgra": lambda frame, out, **size: vcu.to_bgra(frame, "BayerRG8", out=out, **size),
    "levels": lambda frame, out, **size: vcu.to_bgra(frame, "BayerRG8", out=out, black_level=1, **size),
    "converter": lambda frame, out, **size: vcu.CONVERTERS["ConvMono8ToBGRA"](frame, out=out, **size),
    "stream": lambda frame, out, **_: vcu.Converter("BayerRG8", SIDE, SIDE)(frame, out=out),
}


@pytest.mark.parametrize("call", CALLS)
@pytest.mark.parametrize("kind", [bytes, bytearray, memoryview, np.ravel])
def test_bytes_are_not_copied(call, kind):
    """Nothing as large as a quarter of the frame is allocated; NumPy and Python tell of every block."""
    frame = np.full((SIDE, SIDE), 7, np.uint8)
    given, size = kind(frame), {"width": SIDE, "height": SIDE}
    out = np.empty((SIDE, SIDE, 4), np.uint8)
    CALLS[call](given, out, **size)  # what is imported late has been
    tracemalloc.start()
    try:
        CALLS[call](given, out, **size)
        assert tracemalloc.get_traced_memory()[1] < frame.nbytes // 4
    finally:
        tracemalloc.stop()


@pytest.mark.parametrize("mode", vcu.BayerMode)
def test_a_mode_that_is_named_is_not_kept(mode):
    frame = np.arange(64, dtype=np.uint8).reshape(8, 8)
    other = vcu.BayerMode(1 - mode)
    try:
        vcu.set_bayer_mode(mode)
        chosen = vcu.converter_for("BayerGB8").name
        vcu.to_bgra(frame, "BayerGB8", mode=other)
        vcu.to_bgra(frame, "BayerGB8", mode=other, black_level=1)
        vcu.Converter("BayerGB8", 8, 8, mode=other)(frame)
        assert vcu.converter_for("BayerGB8", mode=other).name != chosen
        assert vcu.converter_for("BayerGB8").name == chosen
    finally:
        vcu.set_bayer_mode(vcu.BayerMode.DEFAULT)


def test_mode_of_the_process(random):
    frame = samples(random, "8", (8, 8))
    default = vcu.to_bgra(frame, "BayerGB8", mode=vcu.BayerMode.DEFAULT)
    acpi = vcu.to_bgra(frame, "BayerGB8", mode=vcu.BayerMode.ACPI)
    assert (default != acpi).any()
    try:
        vcu.set_bayer_mode(vcu.BayerMode.ACPI)
        np.testing.assert_array_equal(vcu.to_bgra(frame, "BayerGB8"), acpi)
        np.testing.assert_array_equal(vcu.to_bgra(frame, "BayerGB8", mode=vcu.BayerMode.DEFAULT), default)
        assert vcu.converter_for("BayerGB10").name == "ConvByrGB10ToBGRA"
        assert vcu.converter_for("BayerGB8", bayer=False).name == "ConvMono8ToBGRA"
    finally:
        vcu.set_bayer_mode(vcu.BayerMode.DEFAULT)
    np.testing.assert_array_equal(vcu.to_bgra(frame, "BayerGB8"), default)


def test_empty_pictures():
    assert vcu.to_bgra(np.zeros((0, 8), np.uint8), "Mono8").shape == (0, 8, 4)
    assert vcu.to_bgr(b"", "BayerRG8", width=0, height=6).shape == (6, 0, 3)


@pytest.mark.parametrize("width, height", [(8, 7), (7, 8), (2, 8), (8, 2), (0, 4)])
def test_adaptive_demosaic_of_sizes_that_it_does_not_serve(width, height):
    with pytest.raises(ValueError, match=f"even width and height of at least 4, not {width}x{height}"):
        vcu.to_bgr(np.zeros((height, width), np.uint8), "BayerRG8", mode="acpi")
    assert vcu.to_bgr(np.zeros((height, width), np.uint8), "BayerRG8").shape == (height, width, 3)


@pytest.mark.parametrize("to_picture", [vcu.to_bgra, vcu.to_bgr, vcu.to_rgb, vcu.converter_for])
def test_adaptive_demosaic_of_words_warns(to_picture):
    arguments = () if to_picture is vcu.converter_for else (np.zeros((4, 4), np.uint16),)
    with pytest.warns(UserWarning, match="BayerRG12 is demosaiced bilinearly: without levels") as caught:
        to_picture(*arguments, "BayerRG12", mode="acpi")
    assert [warning.filename for warning in caught] == [__file__]


def test_no_warning_where_the_mode_has_no_meaning(recwarn):
    vcu.to_bgr(np.zeros((4, 4), np.uint16), "BayerRG12", mode="default")
    vcu.to_bgr(np.zeros((4, 4), np.uint16), "BayerRG12", mode="acpi", bayer=False)
    vcu.to_bgr(np.zeros((4, 4), np.uint16), "Mono12", mode="acpi")
    vcu.to_bgr(np.zeros((4, 4), np.uint8), "BayerRG8", mode="acpi")
    assert not recwarn.list


@pytest.mark.parametrize("mode", ["acpi", "ACPI", vcu.BayerMode.ACPI, 1, np.uint8(1)])
def test_ways_to_name_a_mode(mode):
    assert vcu.converter_for("BayerRG8", "bgr", mode=mode).name == "ConvByrRG8ToBGRACPI"


def test_a_mode_named_in_a_call_stays_in_that_call(random):
    frame = samples(random, "8", (8, 8))
    bilinear = expected.bilinear(frame, "RG", 0)
    assert (vcu.to_bgr(frame, "BayerRG8", mode="acpi") != bilinear).any()
    np.testing.assert_array_equal(vcu.to_bgr(frame, "BayerRG8"), bilinear)
    vcu.converter_for("BayerRG8", "bgr", mode="acpi")
    np.testing.assert_array_equal(vcu.to_bgr(frame, "BayerRG8"), bilinear)


def test_rgb_is_bgr_in_the_other_order(random):
    out = np.empty((8, 12, 3), np.uint8)
    for format in vcu.PixelFormat:
        if format.name not in ("RGB10", "RGB12"):
            layout = vcu.frame_layout(format)
            frame = random.integers(0, 256, layout.frame_bytes(12, 8), np.uint8)
            bgr = vcu.to_bgr(frame, format, width=12, height=8)
            np.testing.assert_array_equal(vcu.to_rgb(frame, format, width=12, height=8), bgr[..., ::-1])
            assert vcu.to_rgb(frame, format, width=12, height=8, out=out) is out
            np.testing.assert_array_equal(out, bgr[..., ::-1])


NOT_COPIED = [f for f in vcu.PixelFormat if f.name not in ("RGB10", "RGB12", "YUV8_UYV")]


@pytest.mark.parametrize(
    "convert, format",
    [(vcu.to_bgra, f) for f in NOT_COPIED] + [(vcu.to_bgr, f) for f in NOT_COPIED if f.name != "YUV422_8_UYVY"],
)
def test_frames_are_not_copied(convert, format):
    """NumPy reports its allocations to tracemalloc: beside the picture there is none of a frame's size."""
    layout = vcu.frame_layout(format)
    frame = np.zeros(layout.shape(640, 480), layout.dtype)
    out = np.empty((480, 640, 4 if convert is vcu.to_bgra else 3), np.uint8)
    convert(frame, format, out=out)
    tracemalloc.start()
    try:
        convert(frame, format, out=out)
        peak = tracemalloc.get_traced_memory()[1]
    finally:
        tracemalloc.stop()
    assert peak < 50_000, peak
