# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Numbers, flags and arrays that lie: none of them makes the library read or write outside a buffer.

NumPy integers wrap at their own width, ctypes cuts to 32 bits, and subclasses of int and ndarray answer what they like.
"""
from __future__ import annotations

import enum
import pickle
import warnings

import numpy as np
import pytest

import vexacamutl as vcu
from vexacamutl import _reversal

W, H = 640, 480


def frame(width: int = 8, height: int = 6) -> np.ndarray:
    return np.arange(width * height, dtype=np.uint8).reshape(height, width)


class Wrapping(int):
    """What a number must not be trusted with: its own arithmetic and comparisons."""

    def __mul__(self, other):
        return 0

    __rmul__ = __mul__

    def __ge__(self, other):
        return False

    def __le__(self, other):
        return True

    def __int__(self):
        return 3


class Index:
    def __init__(self, value):
        self.value = value

    def __index__(self):
        return self.value


@pytest.mark.parametrize("number", [np.uint16, np.int16, np.uint32, np.int64, Wrapping, Index])
def test_sizes_of_any_integer_type(number):
    """640 * 480 wraps in 16 bits: each call sees the product of the integers."""
    whole = np.zeros(W * H, np.uint8)
    assert vcu.to_bgra(whole, "Mono8", width=number(W), height=number(H)).shape == (H, W, 4)
    assert vcu.reverse(whole, "Mono8", width=number(W), height=number(H), mirror=True).size == W * H
    assert vcu.CONVERTERS["ConvMono8ToBGR"].destination_bytes(number(W), number(H)) == W * H * 3
    assert vcu.CONVERTERS["ConvMono8ToBGR"].source_bytes(number(W), number(H)) == W * H
    assert vcu.frame_layout("Mono8").shape(number(W), number(H)) == (H, W)
    # 1920 * 1080 is 41,984 modulo 2^16: a buffer of that size is too small.
    short = np.zeros(1920 * 1080 % 65536, np.uint8)
    for call in (vcu.to_bgra, vcu.to_bgr, vcu.to_rgb, vcu.reverse):
        with pytest.raises(ValueError, match="holds 41984 bytes; 1920 x 1080 pixels take 2073600"):
            call(short, "Mono8", width=number(1920), height=number(1080))
    with pytest.raises(ValueError, match="holds 41984 bytes; 1920 x 1080 of Mono8 take 2073600"):
        vcu.save_rwh(short, "Mono8", "never", width=number(1920), height=number(1080))


def test_no_wrapping_warns():
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        vcu.to_bgra(np.zeros(W * H, np.uint8), "Mono8", width=np.int16(W), height=np.int16(H))


@pytest.mark.parametrize("value", [8.0, "8", None, [8], np.float32(8), 8 + 0j])
def test_what_is_no_integer(value):
    for call in (
        lambda: vcu.CONVERTERS["ConvMono8ToBGR"].source_bytes(value, 6),
        lambda: vcu.frame_layout("Mono8").frame_bytes(8, value),
        lambda: vcu.reversed_format("BayerRG8", value, 6),
        lambda: vcu.reversed_format("Mono8", 8, value),
        lambda: vcu.reverse(frame(), "Mono8", mirror=value),
    ):
        with pytest.raises(TypeError, match="must be an integer, not "):
            call()
    if value is not None:
        with pytest.raises(TypeError, match="must be an integer, not "):
            vcu.to_bgra(frame(), "Mono8", width=value)
        with pytest.raises(TypeError, match="must be an integer, not "):
            vcu.CONVERTERS["ConvMonoNToBGR"](np.zeros((2, 2), np.uint16), shift=value)
    if not isinstance(value, str):
        with pytest.raises(TypeError, match="must be an integer, not "):
            vcu.pixel_format(value)
        with pytest.raises(TypeError, match="must be an integer, not "):
            vcu.set_bayer_mode(value)


@pytest.mark.parametrize("value", [2, 256, -1, 2**32, 2**32 + 1, np.uint8(2)])
def test_flags_are_0_or_1(value):
    for call in (
        lambda: vcu.reverse(frame(), "Mono8", mirror=value),
        lambda: vcu.reverse(frame(), "Mono8", upside_down=value),
        lambda: vcu.reversed_format("BayerRG8", 8, 6, mirror=value),
        lambda: vcu.reversed_format("Mono8", 8, 6, upside_down=value),
        lambda: vcu.to_bgra(frame(), "BayerRG8", bayer=value),
        lambda: vcu.converter_for("BayerRG8", bayer=value),
        lambda: vcu.save_bmp(frame(), "never", overwrite=value),
        lambda: vcu.save_rwh(frame(), "Mono8", "never", overwrite=value),
    ):
        with pytest.raises(ValueError, match=f"must be 0 to 1, not {value}"):
            call()


@pytest.mark.parametrize("value", [True, np.bool_(True), 1, np.uint64(1)])
def test_ways_to_set_a_flag(value):
    np.testing.assert_array_equal(vcu.reverse(frame(), "Mono8", mirror=value), frame()[:, ::-1])
    assert vcu.converter_for("BayerRG8", bayer=value).name == "ConvByrRG8ToBGRA"


@pytest.mark.parametrize("mode", [2, -1, 2**32, 2**32 + 1, "bilinear", "", "acpi "])
def test_modes_that_there_are_not(mode):
    for call in (
        lambda: vcu.set_bayer_mode(mode),
        lambda: vcu.converter_for("BayerRG8", mode=mode),
        lambda: vcu.to_bgra(frame(), "BayerRG8", mode=mode),
        lambda: vcu.to_bgra(frame(), "Mono8", mode=mode),
    ):
        with pytest.raises(ValueError, match="mode must be"):
            call()
    assert vcu.converter_for("BayerRG8").name == "ConvByrRG8ToBGRA"


@pytest.mark.parametrize("code", [2**32 + 0x01080009, -1, "0x101080009", "-1"])
def test_codes_of_more_than_32_bits(code):
    for call in (vcu.pixel_format, vcu.bits_per_pixel, vcu.data_depth, vcu.is_bayer, vcu.is_monochromic):
        with pytest.raises(ValueError, match="a pixel format must be 0 to 4294967295"):
            call(code)


def test_shifts_are_not_cut():
    for shift in (2**32, 2**32 + 8, -1, 32):
        with pytest.raises(ValueError, match="shift must be 0 to 31"):
            vcu.CONVERTERS["ConvMonoNToBGR"](np.zeros((2, 2), np.uint16), shift=shift)


class Liar(np.ndarray):
    """Claims the bytes, the shape, the flags and the address of somebody else."""

    nbytes = 10**6
    size = 10**6
    shape = property(lambda self: (1000, 1000))
    ndim = property(lambda self: 2)
    strides = property(lambda self: (1000, 1))

    @property
    def ctypes(self):
        raise AssertionError("the address was asked of the subclass")

    @property
    def flags(self):
        raise AssertionError("the flags were asked of the subclass")

    def view(self, *arguments):
        raise AssertionError("a view was asked of the subclass")

    def __array__(self, *arguments):
        raise AssertionError("the array was asked of the subclass")


def test_arrays_that_lie_about_themselves(tmp_path):
    honest = frame()
    liar = np.ndarray.view(honest.copy(), Liar)
    np.testing.assert_array_equal(vcu.to_bgra(liar, "Mono8"), vcu.to_bgra(honest, "Mono8"))
    np.testing.assert_array_equal(vcu.reverse(liar, "Mono8", mirror=True), honest[:, ::-1])
    with pytest.raises(ValueError, match="which is 8 x 6, not 1000 x 1000"):
        vcu.to_bgra(liar, "Mono8", width=1000, height=1000)
    out = np.ndarray.view(np.zeros((6, 8, 3), np.uint8), Liar)
    assert vcu.to_bgr(honest, "Mono8", out=out) is out
    np.testing.assert_array_equal(np.ndarray.view(out, np.ndarray), vcu.to_bgr(honest, "Mono8"))
    with pytest.raises(ValueError, match=r"out has shape \(6, 8, 3\); expected is \(1000, 1000, 3\)"):
        vcu.to_bgr(np.zeros((1000, 1000), np.uint8), "Mono8", out=out)
    vcu.save_bmp(liar, tmp_path / "liar.bmp")
    vcu.save_bmp(honest, tmp_path / "honest.bmp")
    assert (tmp_path / "liar.bmp").read_bytes() == (tmp_path / "honest.bmp").read_bytes()
    vcu.save_rwh(liar, "Mono8", tmp_path / "liar.rwh")
    np.testing.assert_array_equal(vcu.load_rwh(tmp_path / "liar.rwh").data, honest)


class NotAnArray:
    """isinstance() takes it for an array."""

    __class__ = np.ndarray
    shape, ndim, nbytes, dtype = (6, 8, 3), 3, 144, np.dtype(np.uint8)


def test_what_only_claims_to_be_an_array(tmp_path):
    with pytest.raises(TypeError, match="the frame must be a NumPy array or a bytes-like object"):
        vcu.to_bgr(NotAnArray(), "RGB8")
    with pytest.raises(TypeError, match="out must be a NumPy array"):
        vcu.to_bgr(frame(), "Mono8", out=NotAnArray())
    with pytest.raises(TypeError, match="the picture must be a NumPy array"):
        vcu.save_bmp(NotAnArray(), tmp_path / "never")


class LongBytes(bytes):
    def __len__(self):
        return 10**6


def test_bytes_that_lie_about_their_length():
    with pytest.raises(ValueError, match="holds 6 bytes; 1000 x 1000"):
        vcu.to_bgr(LongBytes(6), "Mono8", width=1000, height=1000)


def test_converters_cannot_be_bent():
    converter = vcu.CONVERTERS["ConvMono8ToBGR"]
    for name in ("name", "source", "channels", "takes_shift"):
        with pytest.raises(AttributeError):
            setattr(converter, name, getattr(vcu.CONVERTERS["ConvMono8ToBGRA"], name))
    with pytest.raises(TypeError):
        vcu.CONVERTERS["ConvMono8ToBGR"] = None


@pytest.mark.parametrize(
    "error",
    [
        vcu.StatusError("ConvMono8ToBGRA", 21),
        vcu.UnsupportedFormatError("unknown"),
    ],
)
def test_exceptions_survive_a_process_pool(error):
    for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
        copy = pickle.loads(pickle.dumps(error, protocol))
        assert type(copy) is type(error) and str(copy) == str(error)
        assert copy.__dict__ == error.__dict__


def test_formats_survive_a_process_pool():
    for value in (vcu.PixelFormat.BayerRG8, vcu.BayerMode.ACPI, vcu.frame_layout("Mono12")):
        assert pickle.loads(pickle.dumps(value)) == value
    assert isinstance(pickle.loads(pickle.dumps(vcu.PixelFormat.Mono8)), enum.IntEnum)


class Sized:
    """A frame of any size for the checks alone: nothing of it is ever read."""

    def __init__(self, monkeypatch):
        self.calls = []
        monkeypatch.setattr(_reversal, "check_frame", lambda array, layout, width, height: (array, width, height))
        monkeypatch.setattr(_reversal, "check_out", lambda out, shape, dtype, array: np.empty(1, np.uint8))
        monkeypatch.setattr(_reversal, "LIBRARY", self)

    def ReverseImg(self, *arguments):
        self.calls.append(arguments[2:])
        return 0


class Huge(np.ndarray):
    nbytes = 0


def huge(layout: vcu.Layout, width: int, height: int) -> np.ndarray:
    array = np.ndarray.view(np.empty(1, np.uint8), Huge)
    array.nbytes = layout.frame_bytes(width, height)
    return array


@pytest.mark.parametrize(
    "format, width, height, flags, served",
    [
        ("Mono8", 65536, 65535, {"upside_down": True}, True),
        ("Mono8", 2**32 - 1, 1, {"upside_down": True}, True),
        ("Mono16", 65536, 32767, {"upside_down": True}, True),
        ("Mono16", 65536, 32768, {"upside_down": True}, False),
        ("RGB8", 65536, 21845, {"upside_down": True}, True),
        ("RGB8", 65536, 21846, {"upside_down": True}, False),
        ("YUV422_8_UYVY", 65536, 32768, {"upside_down": True}, False),
        ("Mono16", 65536, 40000, {"mirror": True}, True),
        ("Mono16", 65536, 40000, {}, True),
        ("Mono8", 65536, 32768, {"mirror": True, "upside_down": True}, True),
        ("Mono8", 65536, 32769, {"mirror": True, "upside_down": True}, False),
        ("BGR10", 65536, 32768, {"mirror": True, "upside_down": True}, True),
        ("YUV422_8_UYVY", 65536, 65535, {"mirror": True, "upside_down": True}, True),
    ],
)
def test_reversals_that_the_library_cannot_count(monkeypatch, format, width, height, flags, served):
    """Upside down the offset of the last row, in a half turn the pixels, are 32-bit numbers in the library."""
    sized = Sized(monkeypatch)
    array = huge(vcu.frame_layout(format), width, height)
    if served:
        vcu.reverse(array, format, width=width, height=height, **flags)
        assert sized.calls[0][1:3] == (width, height)
    else:
        with pytest.raises(ValueError, match="smaller than 4 GiB|limited to 2147483648 pixels"):
            vcu.reverse(array, format, width=width, height=height, **flags)
        assert not sized.calls
