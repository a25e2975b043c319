# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Camera buffers as they arrive, against packers and arithmetic of our own: packed bits, rows apart, levels, YUYV."""
from __future__ import annotations

import itertools
import math
import threading
import tracemalloc

import numpy as np
import pytest

import expected
import packing
import vexacamutl as vcu

PACKED = [
    f"{kind}{suffix}"
    for kind, suffix in itertools.product(
        ("Mono", "BayerGR", "BayerRG", "BayerGB", "BayerBG"), ("10p", "12p", "10Packed", "12Packed", "10CSI2", "12CSI2")
    )
]


def depth_of(name: str) -> int:
    return 10 if "10" in name else 12


def samples(random, depth: int, width: int, height: int) -> np.ndarray:
    return random.integers(0, 1 << depth, (height, width), np.uint16)


def plain_name(name: str) -> str:
    return name[: name.index(str(depth_of(name)))] + str(depth_of(name))


@pytest.mark.parametrize("width, height", [(2, 2), (6, 4), (34, 6), (130, 10)])
@pytest.mark.parametrize("name", PACKED)
def test_packed_buffers(random, name, width, height):
    """Tight rows: those of CSI-2 start with a whole group, the others run on."""
    frame = samples(random, depth_of(name), width, height)
    csi2 = name.endswith("CSI2")
    buffer = np.concatenate([packing.pack(row, name) for row in frame]) if csi2 else packing.pack(frame, name)
    size = {"width": width, "height": height}
    np.testing.assert_array_equal(vcu.unpack(buffer.tobytes(), name, **size), frame)
    for convert in (vcu.to_bgra, vcu.to_bgr, vcu.to_rgb):
        wanted = convert(frame, plain_name(name))
        np.testing.assert_array_equal(convert(buffer.tobytes(), name, **size), wanted)
        np.testing.assert_array_equal(convert(buffer, name, **size), wanted)


@pytest.mark.parametrize("name", ["BayerRG12p", "Mono10Packed", "BayerGB10CSI2"])
def test_rows_of_packed_bytes(random, name):
    """Padded rows, by stride and offset of bytes, as an array of rows, and as a view into a larger array."""
    frame = samples(random, depth_of(name), 36, 8)
    rows = packing.pack_rows(frame, name, 64)
    wanted = vcu.to_bgr(frame, plain_name(name))
    chunk = b"12345" + rows.tobytes() + b"chunk data"
    layout = {"width": 36, "height": 8, "stride": 64, "offset": 5}
    np.testing.assert_array_equal(vcu.to_bgr(chunk, name, **layout), wanted)
    np.testing.assert_array_equal(vcu.unpack(chunk, name, **layout), frame)
    np.testing.assert_array_equal(vcu.to_bgr(rows, name, width=36), wanted)
    np.testing.assert_array_equal(vcu.unpack(rows, name, width=36, height=8), frame)
    wide = np.zeros((8, 100), np.uint8)
    wide[:, 7:71] = rows
    np.testing.assert_array_equal(vcu.to_bgr(wide[:, 7:71], name, width=36), wanted)
    np.testing.assert_array_equal(vcu.Converter(name, 36, 8, "bgr", stride=64, offset=5)(chunk), wanted)
    np.testing.assert_array_equal(vcu.Converter(name, 36, 8, "bgr", stride=100)(wide[:, 7:71]), wanted)


@pytest.mark.parametrize("format", vcu.PixelFormat)
def test_views_with_rows_apart(random, format):
    """A cut-out of a larger array converts as its contiguous copy does; nothing of it is copied."""
    layout = vcu.frame_layout(format)
    shape = layout.shape(48, 40)
    wide = random.integers(0, 256, (shape[0], shape[1] + 5, *shape[2:]), np.uint8).astype(layout.dtype)
    view = wide[:, 2:-3]
    assert view.shape == shape and not view.flags.c_contiguous
    name = {"RGB10": "BGR10", "RGB12": "BGR12"}.get(format.name, format.name)
    copy = np.ascontiguousarray(view)
    for convert in (vcu.to_bgra, vcu.to_bgr, vcu.to_rgb):
        np.testing.assert_array_equal(convert(view, name), convert(copy, name))
        np.testing.assert_array_equal(convert(view[::2], name), convert(copy[::2].copy(), name))
    np.testing.assert_array_equal(vcu.unpack(view, name), copy)
    np.testing.assert_array_equal(vcu.to_rgb(view[:1], "Mono8")[0, :, 0], copy[0]) if format.name == "Mono8" else None


def test_views_are_not_copied():
    wide = np.zeros((1200, 2000), np.uint8)
    out = np.empty((1080, 1920, 3), np.uint8)
    convert = vcu.Converter("BayerRG8", 1920, 1080, "bgr", stride=2000)
    convert(wide[:1080, :1920], out=out)
    tracemalloc.start()
    try:
        vcu.to_bgr(wide[:1080, :1920], "BayerRG8", out=out)
        convert(wide[:1080, :1920], out=out)
        peak = tracemalloc.get_traced_memory()[1]
    finally:
        tracemalloc.stop()
    assert peak < 50_000, peak


@pytest.mark.parametrize("to", ["bgra", "bgr", "rgb"])
def test_out_with_rows_apart(random, to):
    """Rows of the picture are written, what lies between them is not."""
    convert = getattr(vcu, f"to_{to}")
    channels = len(to)
    for name, frame in (
        ("BayerRG8", random.integers(0, 256, (8, 12), np.uint8)),
        ("Mono12", samples(random, 12, 12, 8)),
    ):
        around = np.full((10, 20, channels), 7, np.uint8)
        out = around[1:9, 4:16]
        assert convert(frame, name, out=out) is out
        np.testing.assert_array_equal(out, convert(frame, name))
        around[1:9, 4:16] = 7
        assert (around == 7).all()


@pytest.mark.parametrize("depth, name", [(14, "Mono14"), (16, "BayerRG16"), (14, "BayerGB14")])
def test_words_of_14_and_16_bits(random, depth, name):
    frame = samples(random, depth, 12, 8)
    kind = "Mono" if name.startswith("Mono") else "Byr" + name[5:7]
    worker = vcu.CONVERTERS[f"Conv{kind}NToBGR"]
    np.testing.assert_array_equal(vcu.to_bgr(frame, name), worker(frame, shift=depth - 8))
    np.testing.assert_array_equal(vcu.unpack(frame, name), frame)
    with pytest.raises(TypeError, match="the frame has dtype uint8; expected is uint16"):
        vcu.to_bgr(frame.astype(np.uint8), name)


def test_values_in_the_high_bits(random):
    frame = samples(random, 12, 12, 8)
    np.testing.assert_array_equal(vcu.to_bgr(frame << 4, "BayerRG12", shift=4), vcu.to_bgr(frame, "BayerRG12"))
    np.testing.assert_array_equal(vcu.unpack(frame << 4, "BayerRG12", shift=4), frame)
    convert = vcu.Converter("BayerRG12", 12, 8, "bgr", shift=4)
    np.testing.assert_array_equal(convert(frame << 4), vcu.to_bgr(frame, "BayerRG12"))
    with pytest.raises(ValueError):
        vcu.to_bgr(frame, "BayerRG12", shift=5)


def test_yuyv(random):
    uyvy = random.integers(0, 256, (6, 8, 4), np.uint8)
    yuyv = np.ascontiguousarray(uyvy[..., [1, 0, 3, 2]])
    for convert in (vcu.to_bgra, vcu.to_bgr, vcu.to_rgb):
        np.testing.assert_array_equal(convert(yuyv, "YUY2"), convert(uyvy, "UYVY"))
        np.testing.assert_array_equal(convert(yuyv.tobytes(), "yuyv", width=16, height=6), convert(uyvy, "UYVY"))


def test_limited_range():
    uyvy = np.array([[[128, 16, 128, 235]]], np.uint8)
    assert vcu.to_bgr(uyvy, "YUV422_8_UYVY", range="limited").tolist() == [[[0, 0, 0], [255, 255, 255]]]
    assert vcu.to_bgr(uyvy, "YUV422_8_UYVY").tolist() == [[[16, 16, 16], [235, 235, 235]]]
    with pytest.raises(ValueError, match="the range must be 'full' or 'limited', not 'pc'"):
        vcu.to_bgr(uyvy, "YUV422_8_UYVY", range="pc")


def mosaic_with_levels(frame, phase, depth, black, gains, exposure=1.0):
    colours = expected.colours_of_phase(phase, *frame.shape)
    result = np.zeros(frame.shape, np.uint8)
    for colour, gain in zip((2, 1, 0), gains):
        result[colours == colour] = packing.leveled(frame[colours == colour], depth, black, gain, exposure)
    return result


@pytest.mark.parametrize("mode", ["default", "acpi"])
@pytest.mark.parametrize("depth", [8, 10, 12, 14, 16])
def test_levels_of_a_mosaic(random, depth, mode):
    """Levels come before the demosaic, so that the ACPI mode serves every depth."""
    black = 5 << depth - 8
    gains = (1.75, 1.0, 2.125)
    frame = samples(random, depth, 16, 12).astype(np.uint8 if depth == 8 else np.uint16)
    # Of 16 bits the two lowest are dropped first.
    counted = (frame >> 2, 14, black >> 2) if depth == 16 else (frame, depth, black)
    wanted = mosaic_with_levels(counted[0], "GB", counted[1], counted[2], gains, 1.5)
    options = {"black_level": black, "white_balance": gains, "exposure": 1.5, "mode": mode}
    np.testing.assert_array_equal(
        vcu.to_bgr(frame, f"BayerGB{depth}", **options), vcu.to_bgr(wanted, "BayerGB8", mode=mode)
    )


@pytest.mark.parametrize("tone", ["srgb", 2.2, 1.0, "linear"])
def test_tones(tone):
    """Every 12-bit sample, by the formulas in double precision; a value may hang on the last bit of none of them."""
    frame = np.arange(4096, dtype=np.uint16).reshape(64, 64)
    x = np.minimum(65535, (frame.astype(np.int64) * 65536 * 65535 + 4095 * 32768) // (4095 * 65536)) / 65535
    if tone == "srgb":
        light = np.where(x <= 0.0031308, 12.92 * x, 1.055 * x ** (1 / 2.4) - 0.055)
    else:
        light = x if tone == "linear" else x ** (1 / tone)
    wanted = np.floor(255 * light + 0.5).astype(np.uint8)
    np.testing.assert_array_equal(vcu.to_bgr(frame, "Mono12", tone=tone)[..., 0], wanted)


def test_estimated_white_balance(random):
    """The sums of unclipped cells, green of both sites halved; and "auto" is the estimate handed in."""
    frame = random.integers(100, 3000, (24, 32), np.uint16)
    frame[:6] = 4095
    sums = [np.maximum(frame[6:].astype(np.int64) - 64, 0)[rows::2, columns::2].sum()
            for rows, columns in ((0, 0), (0, 1), (1, 0), (1, 1))]
    red, green, blue = sums[0], (sums[1] + sums[2]) // 2, sums[3]
    largest = max(red, green, blue)
    wanted = tuple(int((largest * 65536 + total // 2) // total) / 65536 for total in (red, green, blue))
    assert vcu.estimate_white_balance(frame, "BayerRG12", black_level=64) == wanted
    packed = packing.pack(frame, "12p").tobytes()
    size = {"width": 32, "height": 24}
    assert vcu.estimate_white_balance(packed, "BayerRG12p", black_level=64, **size) == wanted
    auto = vcu.to_bgr(packed, "BayerRG12p", **size, white_balance="auto", black_level=64)
    np.testing.assert_array_equal(
        auto, vcu.to_bgr(packed, "BayerRG12p", **size, white_balance=wanted, black_level=64)
    )
    convert = vcu.Converter("BayerRG12p", 32, 24, "bgr", white_balance="auto", black_level=64)
    np.testing.assert_array_equal(convert(packed), auto)
    assert convert.white_balance == wanted
    # A frame without a sample that counts keeps its colours.
    np.testing.assert_array_equal(convert(bytes(len(packed))), np.zeros((24, 32, 3), np.uint8))
    assert convert.white_balance == (1.0, 1.0, 1.0)
    with pytest.raises(vcu.UnsupportedFormatError):
        vcu.estimate_white_balance(frame, "Mono12")


@pytest.mark.filterwarnings("error")
def test_gains_in_an_array(random):
    """Gains that NumPy computed; compared with "auto" as an array they would warn, or raise."""
    frame = random.integers(0, 256, (8, 12), np.uint8)
    gains = np.array([1.5, 1.0, 2.0])
    wanted = vcu.to_bgr(frame, "BayerRG8", white_balance=(1.5, 1.0, 2.0))
    np.testing.assert_array_equal(vcu.to_bgr(frame, "BayerRG8", white_balance=gains), wanted)
    np.testing.assert_array_equal(vcu.Converter("BayerRG8", 12, 8, "bgr", white_balance=gains)(frame), wanted)


def test_matrix(random):
    frame = random.integers(0, 256, (4, 6, 3), np.uint8)
    swapped = vcu.to_rgb(frame, "RGB8", matrix=[[0, 0, 1], [0, 1, 0], [1, 0, 0]])
    np.testing.assert_array_equal(swapped, frame[..., ::-1])


@pytest.mark.parametrize("to", ["bgra", "bgr", "rgb", "rgba", "grey", "grey16"])
def test_outputs_of_a_converter(random, to):
    frame = samples(random, 10, 12, 8)
    packed = packing.pack(frame, "10p").tobytes()
    convert = vcu.Converter("BayerRG10p", 12, 8, to)
    bgr = expected.bilinear(frame, "RG", 2)
    wide = frame.astype(np.uint32)
    wanted = {
        "bgra": expected.with_alpha(bgr),
        "bgr": bgr,
        "rgb": bgr[..., ::-1],
        "rgba": expected.with_alpha(bgr[..., ::-1]),
        "grey": frame >> 2,
        "grey16": wide << 6 | wide >> 4,
    }[to]
    picture = convert(packed)
    assert picture.dtype == (np.uint16 if to == "grey16" else np.uint8)
    np.testing.assert_array_equal(picture, wanted)
    assert convert.buffer_bytes == len(packed) == 120
    assert repr(convert) == f"<Converter BayerRG10p 12x8 to {to}>"


def test_a_converter_from_many_threads(random):
    """The calls follow each other; each thread gets its own picture."""
    frames = [samples(random, 12, 64, 48) for _ in range(8)]
    convert = vcu.Converter("BayerRG12", 64, 48, "bgr", white_balance="auto")
    wanted = [convert(frame) for frame in frames]
    got: list = [None] * len(frames)

    def work(number):
        for _ in range(5):
            got[number] = convert(frames[number])

    threads = [threading.Thread(target=work, args=(number,)) for number in range(len(frames))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for one, other in zip(got, wanted):
        np.testing.assert_array_equal(one, other)


def test_process_mode_counts_here_too(random):
    frame = random.integers(0, 256, (8, 20), np.uint8)[:, :12]
    adaptive = vcu.to_bgr(frame, "BayerRG8", mode="acpi")
    try:
        vcu.set_bayer_mode("acpi")
        np.testing.assert_array_equal(vcu.to_bgr(frame, "BayerRG8"), adaptive)
        words = samples(random, 12, 20, 8)[:, :12]
        np.testing.assert_array_equal(vcu.to_bgr(words, "BayerRG12"), expected.bilinear(words, "RG", 4))
    finally:
        vcu.set_bayer_mode("default")
    assert (vcu.to_bgr(frame, "BayerRG8") != adaptive).any()


def test_adaptive_demosaic_of_packed_samples(random):
    packed = packing.pack(samples(random, 12, 8, 8), "12p").tobytes()
    size = {"width": 8, "height": 8}
    with pytest.warns(UserWarning, match="BayerRG12p is demosaiced bilinearly") as caught:
        vcu.to_bgr(packed, "BayerRG12p", **size, mode="acpi")
        vcu.Converter("BayerRG12p", 8, 8, mode="acpi")
    assert [warning.filename for warning in caught] == [__file__] * 2
    with pytest.raises(vcu.UnsupportedFormatError, match="even"):
        vcu.to_bgr(np.zeros((7, 20), np.uint8)[:, :8], "BayerRG8", mode="acpi")


def test_short_buffers_write_nothing():
    out = np.full((4, 6, 3), 7, np.uint8)
    for size in (0, 35):
        with pytest.raises(ValueError):
            vcu.to_bgr(bytes(size), "BayerRG12p", width=6, height=4, out=out)
        with pytest.raises(ValueError):
            vcu.Converter("BayerRG12p", 6, 4, "bgr")(bytes(size), out=out)
        with pytest.raises(ValueError):
            vcu.unpack(bytes(size), "BayerRG12p", width=6, height=4)
        with pytest.raises(ValueError):
            vcu.estimate_white_balance(bytes(size), "BayerRG12p", width=6, height=4)
    for layout in ({"stride": 10}, {"offset": 1}, {"stride": 8}):
        with pytest.raises(ValueError):
            vcu.to_bgr(bytes(36), "BayerRG12p", width=6, height=4, out=out, **layout)
    assert (out == 7).all()


FRAME = np.zeros((4, 6), np.uint8)
WORDS = np.zeros((4, 6), np.uint16)
SIZE = {"width": 6, "height": 4}


@pytest.mark.parametrize(
    "frame, format, options, error, text",
    [
        (bytes(36), "BayerRG12p", {}, ValueError, "width and height have to be given"),
        (FRAME, "BayerRG12p", {}, ValueError, "the width has to be given"),
        (WORDS, "BayerRG12p", SIZE, ValueError, "packed frames are bytes, or rows of bytes"),
        (WORDS.ravel(), "BayerRG12p", SIZE, TypeError, "dtype uint16; expected is uint8"),
        (FRAME.ravel()[::2], "Mono14", SIZE, TypeError | ValueError, "not C-contiguous"),
        ([1, 2], "BayerRG12p", SIZE, TypeError, "must be a NumPy array or a bytes-like object"),
        (FRAME, "BayerRG12p", {"width": 4, "height": 5}, ValueError, "whose height is 4, not 5"),
        (WORDS, "BayerRG16", {"width": 5}, ValueError, "whose width is 6, not 5"),
        (WORDS, "BayerRG16", {"stride": 12}, ValueError, "stride and offset are for bytes"),
        (WORDS, "BayerRG16", {"offset": 2}, ValueError, "stride and offset are for bytes"),
        (WORDS[:, ::2], "BayerRG16", {}, ValueError, "not in one piece"),
        (WORDS[::-1], "BayerRG16", {}, ValueError, "not in one piece"),
        (bytes(36), "BayerRG12p", {**SIZE, "stride": -1}, ValueError, "the stride must be 0 to"),
        (bytes(36), "BayerRG12p", {**SIZE, "stride": 1.5}, TypeError, "the stride must be an integer"),
        (bytes(36), "BayerRG12p", {**SIZE, "stride": 2**64}, ValueError, f"the stride must be 0 to {2**64 - 1}, not"),
        (bytes(36), "BayerRG12p", {**SIZE, "offset": 2**63}, ValueError, f"the offset must be 0 to {2**63 - 1}, not"),
        (bytes(36), "BayerRG12p", {**SIZE, "shift": 32}, ValueError, "the shift must be 0 to 31, not 32"),
        (bytes(36), "BayerRG12p", {**SIZE, "stride": 2**64 - 1}, ValueError, f"a stride of {2**64 - 1} bytes is longer"),
        (bytes(36), "BayerRG12p", {**SIZE, "offset": 2**63 - 1}, ValueError, "the frame begins more than"),
        (bytes(36), "BayerRG12p", {**SIZE, "shift": 31}, ValueError, "a shift of 31 needs samples in 16-bit words"),
        (WORDS[:0], "BayerRG16", {}, ValueError, "not in one piece|size"),
        (bytes(36), "BayerRG12p", {"width": 0, "height": 4}, ValueError, ""),
        (bytes(36), "BayerRG12p", {"width": 2**32, "height": 1}, ValueError, "the width must be 0 to"),
        (FRAME, "Mono8", {"black_level": 255}, ValueError, ""),
        (FRAME, "Mono8", {"black_level": -1}, ValueError, "the black level must be 0 to 65535"),
        (FRAME, "Mono8", {"black_level": 1.5}, TypeError, "the black level must be an integer"),
        (FRAME, "Mono8", {"exposure": 17}, ValueError, "the exposure must be 0 to 16, not 17"),
        (FRAME, "Mono8", {"exposure": math.nan}, ValueError, "the exposure must be 0 to 16, not nan"),
        (FRAME, "Mono8", {"exposure": "x"}, TypeError, "the exposure must be a number, not str"),
        (FRAME, "Mono8", {"exposure": "2"}, TypeError, "the exposure must be a number, not str"),
        (FRAME, "Mono8", {"tone": "rec709"}, ValueError, "the tone must be 'linear', 'srgb' or a gamma"),
        (FRAME, "Mono8", {"tone": 0}, ValueError, "the gamma must be 0.1 to 10, not 0"),
        (FRAME, "BayerRG8", {"white_balance": "on"}, ValueError, "must be 'auto' or three gains, not 'on'"),
        (FRAME, "BayerRG8", {"white_balance": (1, 2)}, ValueError, "the white balance must be 3 numbers"),
        (FRAME, "BayerRG8", {"white_balance": 2}, ValueError, "the white balance must be 3 numbers"),
        (FRAME, "BayerRG8", {"white_balance": (1, 2, -1)}, ValueError, "a gain must be 0 to 16, not -1"),
        (FRAME, "BayerRG8", {"matrix": [[1, 0, 0]]}, ValueError, "the matrix must be 3 rows of 3 numbers"),
        (FRAME, "BayerRG8", {"matrix": [[1, 0], [0, 1], [0, 0]]}, ValueError, "a row of the matrix must be 3"),
        (FRAME, "BayerRG8", {"matrix": [[9, 0, 0]] * 3}, ValueError, "a value of the matrix must be -8 to 8"),
        (FRAME, "BayerRG8", {"bayer": 2, "tone": "srgb"}, ValueError, "bayer must be 0 to 1"),
        (FRAME, "BayerRG8", {"mode": "x", "tone": "srgb"}, ValueError, "the mode must be"),
        (bytes(48), "YUV422_8_UYVY", {**SIZE, "tone": "srgb"}, ValueError, ""),
        (FRAME, 0x12345678, {}, ValueError, "unknown pixel format 0x12345678"),
        (FRAME, "Mono9", {}, ValueError, "unknown pixel format 'Mono9'; did you mean Mono8"),
    ],
)
def test_wrong_arguments(frame, format, options, error, text):
    if not isinstance(error, type):
        error = (TypeError, ValueError)
    for convert in (vcu.to_bgra, vcu.to_bgr, vcu.to_rgb):
        with pytest.raises(error, match=text):
            convert(frame, format, **options)


@pytest.mark.parametrize(
    "out, error, text",
    [
        (bytearray(72), TypeError, "out must be a NumPy array"),
        (np.zeros((4, 6, 3), np.int8), TypeError, "dtype int8; expected is uint8"),
        (np.zeros((4, 6, 4), np.uint8), ValueError, r"shape \(4, 6, 4\); expected is \(4, 6, 3\)"),
        (np.zeros((4, 6, 6), np.uint8)[..., ::2], ValueError, "not C-contiguous, nor are its rows"),
        (np.zeros((4, 6, 3), np.uint8)[::-1], ValueError, "not C-contiguous, nor are its rows"),
        (np.broadcast_to(np.zeros(3, np.uint8), (4, 6, 3)), ValueError, "read-only"),
    ],
)
def test_out_that_does_not_fit(out, error, text):
    with pytest.raises(error, match=text):
        vcu.to_bgr(bytes(36), "BayerRG12p", **SIZE, out=out)
    with pytest.raises(error, match=text):
        vcu.Converter("BayerRG12p", 6, 4, "bgr")(bytes(36), out=out)


def test_out_overlaps_the_buffer():
    memory = np.zeros(100, np.uint8)
    with pytest.raises(ValueError, match="out overlaps the frame"):
        vcu.to_bgr(memory[:36], "BayerRG12p", **SIZE, out=memory[28:].reshape(4, 6, 3))


def test_wrong_converters():
    with pytest.raises(ValueError, match="to must be one of 'bgra', 'bgr', 'rgb', 'rgba', 'grey', 'grey16', not 'jpg'"):
        vcu.Converter("Mono8", 6, 4, "jpg")
    with pytest.raises(ValueError, match="the array's rows do not lie as the converter was made for"):
        vcu.Converter("Mono8", 6, 4, stride=8)(FRAME)
    with pytest.raises(ValueError, match="the array's rows do not lie as the converter was made for"):
        vcu.Converter("Mono8", 6, 4, offset=8)(FRAME)
    with pytest.raises(ValueError, match="whose width is 6, not 5"):
        vcu.Converter("Mono8", 5, 4)(FRAME)
    assert vcu.Converter("Mono8", 6, 4)(FRAME).shape == (4, 6, 4)


def test_memory_of_converters_is_given_back():
    def resident() -> int:
        with open("/proc/self/status", encoding="ascii") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))

    def convert(count: int) -> None:
        for _ in range(count):
            vcu.Converter("BayerRG12p", 64, 48, tone="srgb")(bytes(64 * 48 * 3 // 2))

    convert(20)
    before = resident()
    convert(300)
    assert resident() - before < 20_000
