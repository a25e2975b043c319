# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Pixel formats: their codes, the library's answers about them, and how a frame of each lies in memory.

A layout says how many samples of which type one group of pixels takes. Most formats have groups of one pixel; the YUV
formats that share chroma have groups of two and four.
"""
from __future__ import annotations

import enum
from dataclasses import dataclass
from typing import Any, Union

import numpy as np

from ._library import LIBRARY
from ._names import FormatName, find_code, find_name
from ._numbers import integer


class UnsupportedFormatError(ValueError):
    """The pixel format is unknown, or the operation does not handle it."""


class PixelFormat(enum.IntEnum):
    """The codes of the GenICam Pixel Format Naming Convention, named as cameras print them."""

    Mono8 = 0x01080001
    Mono10 = 0x01100003
    Mono12 = 0x01100005
    Mono16 = 0x01100007
    BayerGR8 = 0x01080008
    BayerRG8 = 0x01080009
    BayerGB8 = 0x0108000A
    BayerBG8 = 0x0108000B
    BayerGR10 = 0x0110000C
    BayerRG10 = 0x0110000D
    BayerGB10 = 0x0110000E
    BayerBG10 = 0x0110000F
    BayerGR12 = 0x01100010
    BayerRG12 = 0x01100011
    BayerGB12 = 0x01100012
    BayerBG12 = 0x01100013
    RGB8 = 0x02180014
    BGR8 = 0x02180015
    RGB10 = 0x02300018
    BGR10 = 0x02300019
    RGB12 = 0x0230001A
    BGR12 = 0x0230001B
    YUV411_8_UYYVYY = 0x020C001E
    YUV422_8_UYVY = 0x0210001F
    YUV8_UYV = 0x02180020

    @property
    def bits_per_pixel(self) -> int:
        """Bits that one pixel takes in a frame; 16 for Mono10."""
        return bits_per_pixel(self)

    @property
    def depth(self) -> int:
        """Significant bits per sample; 0 for RGB10, RGB12 and BGR12, which the library does not catalogue."""
        return data_depth(self)

    @property
    def is_bayer(self) -> bool:
        """True for the twelve Bayer mosaics."""
        return is_bayer(self)

    @property
    def is_monochromic(self) -> bool:
        """True for the grey formats, and for the three formats that the library does not catalogue."""
        return is_monochromic(self)


FormatLike = Union[PixelFormat, int, str]


def _hint(wrong: str) -> str:
    try:
        from ._frames import nearest_names  # which imports this module

        names = nearest_names(wrong)
        return f"; did you mean {names}?" if names else ""
    except ImportError:
        return "; PixelFormat has the names of the library's formats"


def _code_of_name(text: str) -> int:
    """A hex code, a decimal code, or a name as cameras and other programs write it."""
    try:
        code = int(text, 0)
    except ValueError:
        row = find_name(text)
    else:
        return integer(code, "a pixel format")
    if row is not None:
        return row.code
    raise UnsupportedFormatError(f"unknown pixel format {text!r}{_hint(text)}")


def format_code(format: FormatLike) -> int:
    """The code of any format, known or not."""
    if isinstance(format, str):
        return _code_of_name(format)
    return integer(format, "a pixel format")


def pixel_format(format: FormatLike) -> PixelFormat:
    """Find a pixel format of the library by its name or its code.

    Parameters
    ----------
    format : PixelFormat, int or str
        A code; a name (``"BayerRG8"``) or an alias (``"rggb"``), in which case, ``_``, ``-`` and ``.`` do not matter;
        or a code in a string (``"0x01080009"``). `vexacamutl formats --aliases` lists the same names.

    Returns
    -------
    PixelFormat

    Raises
    ------
    UnsupportedFormatError
        The format is unknown, or one that only `to_bgr`, `to_bgra`, `to_rgb`, `unpack` and `Converter` take.
    TypeError
        It is neither a number nor a string.

    Examples
    --------
    >>> vcu.pixel_format("bayer_rggb8").name
    'BayerRG8'
    >>> vcu.pixel_format("rg8")
    Traceback (most recent call last):
    vexacamutl._formats.UnsupportedFormatError: unknown pixel format 'rg8'; did you mean BayerRG8 or RGB8?
    """
    code = format_code(format)
    try:
        return PixelFormat(code)
    except ValueError:
        row = find_code(code)
    if row is not None:
        raise UnsupportedFormatError(
            f"{row.name} is not served by this call: unpack it first, or convert it with to_bgr, to_bgra, to_rgb"
        )
    raise UnsupportedFormatError(f"unknown pixel format {code:#010x}")


def bits_per_pixel(format: FormatLike) -> int:
    """Bits that one pixel takes in a frame: bits 16 to 23 of the code, for any code.

    Parameters
    ----------
    format : PixelFormat, int or str

    Returns
    -------
    int

    Raises
    ------
    UnsupportedFormatError
        A string names no format.
    TypeError, ValueError
        A number that is not a 32-bit code.

    Examples
    --------
    >>> vcu.bits_per_pixel("Mono10")
    16
    """
    return int(LIBRARY.BitPerPixel(format_code(format)))


def data_depth(format: FormatLike) -> int:
    """Significant bits per sample.

    Parameters
    ----------
    format : PixelFormat, int or str

    Returns
    -------
    int
        0 for a code that the library does not catalogue: RGB10, RGB12, BGR12 and unknown codes.

    Raises
    ------
    UnsupportedFormatError
        A string names no format.
    TypeError, ValueError
        A number that is not a 32-bit code.

    Examples
    --------
    >>> vcu.data_depth("BayerGR12")
    12
    """
    return int(LIBRARY.DataDepth(format_code(format)))


def is_monochromic(format: FormatLike) -> bool:
    """Whether a format is grey; True for every code that the library does not catalogue as well.

    Parameters
    ----------
    format : PixelFormat, int or str

    Returns
    -------
    bool

    Raises
    ------
    UnsupportedFormatError
        A string names no format.
    TypeError, ValueError
        A number that is not a 32-bit code.

    Examples
    --------
    >>> vcu.is_monochromic("Mono12"), vcu.is_monochromic("RGB8"), vcu.is_monochromic(0)
    (True, False, True)
    """
    return bool(LIBRARY.IsMonochromic(format_code(format)))


def is_bayer(format: FormatLike) -> bool:
    """Whether a format is one of the library's twelve Bayer mosaics.

    Parameters
    ----------
    format : PixelFormat, int or str

    Returns
    -------
    bool

    Raises
    ------
    UnsupportedFormatError
        A string names no format.
    TypeError, ValueError
        A number that is not a 32-bit code.

    Examples
    --------
    >>> vcu.is_bayer("BayerBG10"), vcu.is_bayer("Mono8")
    (True, False)
    """
    return bool(LIBRARY.IsPixelBayer(format_code(format)))


BYTE: np.dtype[Any] = np.dtype(np.uint8)
WORD: np.dtype[Any] = np.dtype("<u2")


@dataclass(frozen=True)
class Layout:
    """How a frame lies in memory.

    `samples` values of type `dtype` hold a group of `pixels` pixels; groups and rows follow without gaps.

    Examples
    --------
    >>> vcu.frame_layout("YUV422_8_UYVY").shape(width=640, height=480)
    (480, 320, 4)
    """

    dtype: np.dtype[Any]
    pixels: int
    samples: int

    @property
    def group_bytes(self) -> int:
        """Bytes of one group."""
        return self.samples * self.dtype.itemsize

    def frame_bytes(self, width: int, height: int) -> int:
        """Bytes of a frame whose pixels fill whole groups."""
        return integer(width, "the width") * integer(height, "the height") // self.pixels * self.group_bytes

    def shape(self, width: int, height: int) -> tuple[int, ...]:
        """The shape of an array that shows the layout; its rows have to be whole groups."""
        width, height = integer(width, "the width"), integer(height, "the height")
        if self.samples == 1:
            return (height, width)
        return (height, width // self.pixels, self.samples)


# Two layouts that converters read and cameras do not send: one byte more per group than the format.
YUV422_IN_5_BYTES = Layout(BYTE, 2, 5)
YUV444_IN_4_BYTES = Layout(BYTE, 1, 4)

_YUV_LAYOUTS = {
    PixelFormat.YUV411_8_UYYVYY: Layout(BYTE, 4, 6),
    PixelFormat.YUV422_8_UYVY: Layout(BYTE, 2, 4),
    PixelFormat.YUV8_UYV: Layout(BYTE, 1, 3),
}


def frame_layout(format: FormatLike) -> Layout:
    """How a camera's frame of a format lies in memory.

    Parameters
    ----------
    format : PixelFormat, int or str

    Returns
    -------
    Layout

    Raises
    ------
    UnsupportedFormatError
        The format is unknown, or one that only `to_bgr`, `to_bgra`, `to_rgb`, `unpack` and `Converter` take.

    Examples
    --------
    >>> layout = vcu.frame_layout("BayerRG12")
    >>> layout.dtype, layout.frame_bytes(1920, 1080)
    (dtype('uint16'), 4147200)
    """
    chosen = pixel_format(format)
    if chosen in _YUV_LAYOUTS:
        return _YUV_LAYOUTS[chosen]
    dtype = BYTE if chosen.name.endswith("8") else WORD
    return Layout(dtype, 1, chosen.bits_per_pixel // 8 // dtype.itemsize)
