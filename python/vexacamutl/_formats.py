# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Pixel formats: their codes, the library's answers about them, and how a frame of each lies in memory.

A layout says how many samples of which type one group of pixels takes. Most formats have groups of one pixel; the YUV
formats that share chroma have groups of two and four.
"""
from __future__ import annotations

import difflib
import enum
from dataclasses import dataclass
from typing import Any, Union

import numpy as np

from ._library import LIBRARY


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
        return is_bayer(self)

    @property
    def is_monochromic(self) -> bool:
        """True for the grey formats and, mind, for the three formats that the library does not catalogue."""
        return is_monochromic(self)


FormatLike = Union[PixelFormat, int, str]


def pixel_format(value: FormatLike) -> PixelFormat:
    """The format that a code, a name ("BayerRG8") or a code in a string ("0x01080009") stands for."""
    if isinstance(value, str):
        if value in PixelFormat.__members__:
            return PixelFormat[value]
        try:
            code = int(value, 0)
        except ValueError:
            nearest = difflib.get_close_matches(value, PixelFormat.__members__, n=3)
            hint = f"; did you mean {' or '.join(nearest)}?" if nearest else ""
            raise UnsupportedFormatError(f"unknown pixel format {value!r}{hint}") from None
    else:
        code = int(value)
    try:
        return PixelFormat(code)
    except ValueError:
        raise UnsupportedFormatError(f"unknown pixel format {code:#010x}") from None


def _code(value: FormatLike) -> int:
    return int(pixel_format(value)) if isinstance(value, str) else int(value)


def bits_per_pixel(value: FormatLike) -> int:
    """Bits that one pixel takes in a frame: bits 16 to 23 of the code, for any code."""
    return int(LIBRARY.BitPerPixel(_code(value)))


def data_depth(value: FormatLike) -> int:
    """Significant bits per sample, 0 for a code that is not catalogued."""
    return int(LIBRARY.DataDepth(_code(value)))


def is_monochromic(value: FormatLike) -> bool:
    """True for the grey formats and for every code that is not catalogued."""
    return bool(LIBRARY.IsMonochromic(_code(value)))


def is_bayer(value: FormatLike) -> bool:
    """True for the twelve Bayer formats."""
    return bool(LIBRARY.IsPixelBayer(_code(value)))


BYTE: np.dtype[Any] = np.dtype(np.uint8)
WORD: np.dtype[Any] = np.dtype("<u2")


@dataclass(frozen=True)
class Layout:
    """`samples` values of type `dtype` hold a group of `pixels` pixels; groups and rows follow without gaps."""

    dtype: np.dtype[Any]
    pixels: int
    samples: int

    @property
    def group_bytes(self) -> int:
        return self.samples * self.dtype.itemsize

    def frame_bytes(self, width: int, height: int) -> int:
        """Bytes of a frame whose pixels fill whole groups."""
        return width * height // self.pixels * self.group_bytes

    def shape(self, width: int, height: int) -> tuple[int, ...]:
        """The shape of an array that shows the layout; its rows have to be whole groups."""
        if self.samples == 1:
            return (height, width)
        return (height, width // self.pixels, self.samples)


# The three layouts that sources of converters have and frames of cameras have not: one byte more than the format.
YUV422_IN_5_BYTES = Layout(BYTE, 2, 5)
YUV444_IN_4_BYTES = Layout(BYTE, 1, 4)

_YUV_LAYOUTS = {
    PixelFormat.YUV411_8_UYYVYY: Layout(BYTE, 4, 6),
    PixelFormat.YUV422_8_UYVY: Layout(BYTE, 2, 4),
    PixelFormat.YUV8_UYV: Layout(BYTE, 1, 3),
}


def frame_layout(value: FormatLike) -> Layout:
    """How a camera's frame of this format lies in memory."""
    format_ = pixel_format(value)
    if format_ in _YUV_LAYOUTS:
        return _YUV_LAYOUTS[format_]
    dtype = BYTE if format_.name.endswith("8") else WORD
    return Layout(dtype, 1, format_.bits_per_pixel // 8 // dtype.itemsize)
