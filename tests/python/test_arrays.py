# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Arrays that do not fit: each gets the exception that says what is wrong, and nothing is written."""
from __future__ import annotations

import numpy as np
import pytest

import vexacamutl as vcu

FRAME = np.zeros((4, 6), np.uint8)


@pytest.mark.parametrize(
    "frame, format, error, text",
    [
        (FRAME.astype(np.uint16), "Mono8", TypeError, "dtype uint16; expected is uint8"),
        (FRAME.astype(np.int8), "Mono8", TypeError, "dtype int8; expected is uint8"),
        (FRAME, "Mono12", TypeError, "dtype uint8; expected is uint16"),
        (FRAME.astype(">u2"), "BayerRG12", TypeError, "dtype big-endian uint16; expected is uint16"),
        (FRAME.astype(np.float32), "BayerRG8", TypeError, "dtype float32"),
        (FRAME[:, ::2], "Mono8", ValueError, r"not C-contiguous; pass numpy.ascontiguousarray"),
        (FRAME.T, "Mono8", ValueError, r"not C-contiguous"),
        (FRAME[::-1], "Mono8", ValueError, r"not C-contiguous"),
        (FRAME[np.newaxis, np.newaxis], "Mono8", ValueError, r"expected is \(height, width\)"),
        (np.zeros((4, 6, 3), np.uint8), "Mono8", ValueError, r"expected is \(height, width\)"),
        (FRAME.reshape(3, 8), "RGB8", ValueError, r"expected is \(height, width, 3\)"),
        (np.zeros((4, 6, 4), np.uint8), "RGB8", ValueError, r"expected is \(height, width, 3\)"),
        (np.zeros((4, 6, 5), np.uint8), "YUV411_8_UYYVYY", ValueError, r"\(height, width / 4, 6\)"),
        (np.zeros((4, 7, 3), np.uint8), "YUV422_8_UYVY", ValueError, r"\(height, width / 2, 4\)"),
        (FRAME.ravel(), "Mono8", ValueError, r"width and height have to be given"),
        (b"123456", "Mono8", ValueError, r"width and height have to be given"),
        ([[1, 2], [3, 4]], "Mono8", TypeError, r"NumPy array or a bytes-like object"),
        (None, "Mono8", TypeError, r"NumPy array or a bytes-like object"),
    ],
)
@pytest.mark.parametrize("convert", [vcu.to_bgra, vcu.to_bgr])
def test_frames_that_do_not_fit(convert, frame, format, error, text):
    with pytest.raises(error, match=text):
        convert(frame, format)


@pytest.mark.parametrize(
    "size, format, width, height, text",
    [
        (23, "Mono8", 6, 4, "holds 23 bytes; 6 x 4 pixels take 24 "),
        (25, "Mono8", 6, 4, "holds 25 bytes; 6 x 4 pixels take 24 "),
        (24, "Mono10", 6, 4, r"take 48 \(2 bytes per pixel\)"),
        (36, "YUV411_8_UYYVYY", 6, 3, "18 pixels|6 x 3 pixels do not fill whole groups of 4"),
        (47, "YUV422_8_UYVY", 6, 4, r"take 48 \(4 bytes for 2 pixels\)"),
        (59, "YUV422_8_UYVY", 6, 4, r"take 48 \(4 bytes for 2 pixels\)"),
        (71, "YUV8_UYV", 6, 4, r"take 72 \(3 bytes per pixel\)"),
        (16, "Mono8", -4, -4, "the width must be 0 to 4294967295, not -4"),
        (0, "Mono8", 1 << 32, 0, "the width must be 0 to 4294967295, not 4294967296"),
        (0, "Mono8", 1 << 16, 1 << 16, r"less than 2\^32 pixels"),
    ],
)
def test_sizes_that_do_not_fit(size, format, width, height, text):
    for convert in (vcu.to_bgra, vcu.to_bgr):
        with pytest.raises(ValueError, match=text):
            convert(bytes(size), format, width=width, height=height)


@pytest.mark.parametrize("call", [
    lambda frame: vcu.to_bgra(frame, "Mono8"), lambda frame: vcu.to_bgra(frame, "Mono8", stride=6),
    lambda frame: vcu.save_rwh(frame, "Mono8", "frame.rwh"), lambda frame: vcu.reverse(frame, "Mono8", mirror=True),
])
def test_rows_of_a_buffer_that_is_not_an_array_do_not_count(call, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    with pytest.raises(ValueError, match="the frame is taken as one row: width and height have to be given"):
        call(memoryview(bytes(24)).cast("B", [4, 6]))


def test_converters_ask_for_the_bytes_that_they_read():
    """5 bytes for 2 pixels, 4 bytes per pixel: a plain frame is refused by name, as the library would read on."""
    with pytest.raises(ValueError, match=r"holds 48 bytes; 6 x 4 pixels take 60 \(5 bytes for 2 pixels\)"):
        vcu.CONVERTERS["ConvYUV422PToBGR"](bytes(48), width=6, height=4)
    for name in ("ConvYUV444PToBGR", "ConvYUV444PToBGRA"):
        with pytest.raises(ValueError, match=r"holds 72 bytes; 6 x 4 pixels take 96 \(4 bytes per pixel\)"):
            vcu.CONVERTERS[name](bytes(72), width=6, height=4)


def test_given_size_has_to_agree_with_the_shape():
    with pytest.raises(ValueError, match="which is 6 x 4, not 4 x 6"):
        vcu.to_bgra(FRAME, "Mono8", width=4, height=6)
    with pytest.raises(TypeError):
        vcu.to_bgra(FRAME.ravel(), "Mono8", width=6.0, height=4)


def read_only():
    out = np.zeros((4, 6, 4), np.uint8)
    out.setflags(write=False)
    return out


@pytest.mark.parametrize(
    "out, error, text",
    [
        (bytearray(96), TypeError, "NumPy array"),
        (np.zeros((4, 6, 4), np.int8), TypeError, "dtype int8; expected is uint8"),
        (np.zeros((4, 6, 3), np.uint8), ValueError, r"shape \(4, 6, 3\); expected is \(4, 6, 4\)"),
        (np.zeros(96, np.uint8), ValueError, "shape"),
        (read_only(), ValueError, "read-only"),
        (np.zeros((4, 12, 4), np.uint8)[:, ::2], ValueError, "not C-contiguous"),
        (np.zeros((4, 6, 4), np.uint8)[::-1], ValueError, "not C-contiguous"),
    ],
)
def test_out_that_does_not_fit(out, error, text):
    with pytest.raises(error, match=text):
        vcu.to_bgra(FRAME, "Mono8", out=out)
    with pytest.raises(error, match=text):
        vcu.to_bgra(np.zeros((4, 6, 3), np.uint8), "YUV8_UYV", out=out)


def test_out_must_not_overlap_the_frame():
    memory = np.zeros(4 * 6 * 4, np.uint8)
    with pytest.raises(ValueError, match="overlaps"):
        vcu.to_bgra(memory[-24:].reshape(4, 6), "Mono8", out=memory.reshape(4, 6, 4))
    with pytest.raises(ValueError, match="overlaps"):
        vcu.to_bgra(memory[:72].reshape(4, 6, 3), "YUV8_UYV", out=memory.reshape(4, 6, 4))
    with pytest.raises(ValueError, match="overlaps"):
        vcu.reverse(memory, "Mono8", width=24, height=4, mirror=True, out=memory)


def test_shift_belongs_to_the_workers():
    words = np.full((2, 2), 0x1234, np.uint16)
    assert (vcu.CONVERTERS["ConvMonoNToBGR"](words, shift=8) == 0x12).all()
    with pytest.raises(TypeError, match="needs the argument shift"):
        vcu.CONVERTERS["ConvMonoNToBGR"](words)
    with pytest.raises(TypeError, match="takes no argument shift"):
        vcu.CONVERTERS["ConvMono16ToBGR"](words, shift=8)
    for shift in (-1, 32):
        with pytest.raises(ValueError, match="0 to 31"):
            vcu.CONVERTERS["ConvMonoNToBGR"](words, shift=shift)


def test_unknown_layout_of_the_picture():
    with pytest.raises(ValueError, match="'bgra' or 'bgr', not 'yuv'"):
        vcu.converter_for("Mono8", "yuv")


def test_nothing_is_written_when_refused():
    out = np.full((4, 6, 4), 7, np.uint8)
    with pytest.raises(TypeError):
        vcu.to_bgra(FRAME.astype(np.int16), "Mono16", out=out)
    with pytest.raises(vcu.UnsupportedFormatError):
        vcu.to_bgra(np.zeros((4, 6, 3), np.uint16), "RGB10", out=out)
    assert (out == 7).all()
