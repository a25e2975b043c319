# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The converters: each of them by its name, the choice of one for a format, and the two calls that most users need.

A converter reads its own layout, which for three of the YUV converters is not the camera's: ConvYUV422PToBGR reads 5
bytes for 2 pixels, ConvYUV444PToBGRA and ConvYUV444PToBGR read 4 bytes a pixel. Called by name they ask for just that;
to_bgra and to_bgr also take the camera's frame and go the way around.
"""
from __future__ import annotations

import ctypes
import enum
from types import MappingProxyType
from typing import Any, Mapping, Optional

import numpy as np
from numpy.typing import NDArray

from . import _library
from ._arrays import Frame, check_frame, check_out
from ._formats import (
    BYTE,
    WORD,
    YUV422_IN_5_BYTES,
    YUV444_IN_4_BYTES,
    FormatLike,
    Layout,
    PixelFormat,
    UnsupportedFormatError,
    frame_layout,
    pixel_format,
)
from ._library import LIBRARY, check_status


class BayerMode(enum.IntEnum):
    """How 8-bit Bayer frames are demosaiced; those of 10 and 12 bits are always DEFAULT."""

    DEFAULT = 0
    ACPI = 1


def set_bayer_mode(mode: BayerMode) -> None:
    """Chooses the demosaic for the whole process, for calls that do not name a mode themselves."""
    check_status("SetBayerConvMode", LIBRARY.SetBayerConvMode(int(mode)))


def _source_layout(name: str) -> Layout:
    if name.startswith("ConvYUV"):
        if "444" in name:
            return YUV444_IN_4_BYTES
        if name == "ConvYUV422PToBGR":
            return YUV422_IN_5_BYTES
        return frame_layout(PixelFormat.YUV411_8_UYYVYY if "411" in name else PixelFormat.YUV422_8_UYVY)
    source = name[len("Conv") : name.index("To")]
    dtype = BYTE if "8" in source else WORD
    return Layout(dtype, 1, 3 if source.startswith(("RGB", "BGR")) else 1)


class Converter:
    """One of the library's converters. Call it with a frame, get the picture."""

    def __init__(self, name: str) -> None:
        self.name = name
        self.source = _source_layout(name)
        # Mind ConvByrRG8ToBGRACPI, which is BGR followed by ACPI.
        self.channels = 4 if name.removesuffix("ACPI").endswith("BGRA") else 3
        self.takes_shift = _library.takes_shift(name)
        self._function = getattr(LIBRARY, name)

    def __repr__(self) -> str:
        return f"<Converter {self.name}>"

    def source_bytes(self, width: int, height: int) -> int:
        """Bytes that the frame must hold."""
        return self.source.frame_bytes(width, height)

    def destination_bytes(self, width: int, height: int) -> int:
        """Bytes that the picture takes."""
        return width * height * self.channels

    def __call__(
        self,
        frame: Frame,
        *,
        width: Optional[int] = None,
        height: Optional[int] = None,
        shift: Optional[int] = None,
        out: Optional[NDArray[np.uint8]] = None,
    ) -> NDArray[np.uint8]:
        """Converts a frame into `out`, or into a new array, of shape (height, width, channels).

        frame         an array in the shape of the layout (`source`), or any bytes with width and height given
        shift         for the workers (N in the name) only: the right shift that brings a sample to 8 bits
        """
        if self.takes_shift != (shift is not None):
            raise TypeError(f"{self.name} {'needs the' if self.takes_shift else 'takes no'} argument shift")
        if shift is not None and not 0 <= shift <= 31:
            raise ValueError(f"shift has to be 0 to 31, not {shift}")
        array, width, height = check_frame(frame, self.source, width, height)
        # This converter counts bytes where the others count pixels, and its count wraps.
        if self.name == "ConvBGR8PToBGR" and array.nbytes >= 1 << 32:
            raise ValueError(f"{self.name} copies less than 4 GiB")
        picture = check_out(out, (height, width, self.channels), BYTE, array)
        shifts = () if shift is None else (shift,)
        check_status(self.name, self._function(picture.ctypes.data, array.ctypes.data, width, height, *shifts))
        return picture


#: All 72 converters by name.
CONVERTERS: Mapping[str, Converter] = MappingProxyType({name: Converter(name) for name in _library.converter_names()})


def _address(name: str) -> int:
    return ctypes.cast(getattr(LIBRARY, name), ctypes.c_void_p).value or 0


_NAME_AT = {_address(name): name for name in CONVERTERS}


def converter_for(
    format: FormatLike, to: str = "bgra", *, bayer: bool = True, mode: Optional[BayerMode] = None
) -> Converter:
    """The converter that serves a format, to keep for a stream of frames.

    to      "bgra" or "bgr"
    bayer   False shows a Bayer frame as the grey picture of its mosaic
    mode    the demosaic; None: what set_bayer_mode chose
    """
    if to not in ("bgra", "bgr"):
        raise ValueError(f"to has to be 'bgra' or 'bgr', not {to!r}")
    chosen = pixel_format(format)
    getter = LIBRARY.GetBGRAConverter if to == "bgra" else LIBRARY.GetBGRConverter
    address = getter(int(chosen), int(bayer))
    if address is None:
        raise UnsupportedFormatError(
            f"no converter is selected for {chosen.name}; call CONVERTERS['Conv{chosen.name}PTo{to.upper()}']"
        )
    name = _NAME_AT[address]
    if mode is not None and "Byr" in name:
        default = name.removesuffix("ACPI")
        adaptive = f"{default}ACPI"
        name = adaptive if BayerMode(mode) == BayerMode.ACPI and adaptive in CONVERTERS else default
    return CONVERTERS[name]


def _fits(frame: Frame, layout: Layout, width: Optional[int], height: Optional[int]) -> bool:
    try:
        check_frame(frame, layout, width, height)
    except (TypeError, ValueError):
        return False
    return True


def _bgr_of_bgra(bgra: NDArray[np.uint8], out: Optional[NDArray[np.uint8]], frame: NDArray[Any]) -> NDArray[np.uint8]:
    picture = check_out(out, bgra.shape[:2] + (3,), BYTE, frame)
    picture[...] = bgra[..., :3]
    return picture


def _convert(
    frame: Frame,
    format: FormatLike,
    to: str,
    width: Optional[int],
    height: Optional[int],
    bayer: bool,
    mode: Optional[BayerMode],
    out: Optional[NDArray[np.uint8]],
) -> NDArray[np.uint8]:
    converter = converter_for(format, to, bayer=bayer, mode=mode)
    plain = frame_layout(format)
    fits_converter_only = _fits(frame, converter.source, width, height) and not _fits(frame, plain, width, height)
    if plain == converter.source or fits_converter_only:
        return converter(frame, width=width, height=height, out=out)
    array, width, height = check_frame(frame, plain, width, height)
    if plain.pixels == 2:
        bgra = CONVERTERS["ConvYUV422PToBGRA"](array, width=width, height=height)
        return _bgr_of_bgra(bgra, out, array)
    # Checked against the camera's frame, before the copy hides an overlap.
    picture = check_out(out, (height, width, converter.channels), BYTE, array)
    spread = np.empty((height, width, 4), np.uint8)
    spread[..., :3] = array.reshape(height, width, 3)
    spread[..., 3] = 0
    return converter(spread, out=picture)


def to_bgra(
    frame: Frame,
    format: FormatLike,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
    bayer: bool = True,
    mode: Optional[BayerMode] = None,
    out: Optional[NDArray[np.uint8]] = None,
) -> NDArray[np.uint8]:
    """The picture of a frame, shape (height, width, 4): blue, green, red, 255.

    No copy is made of the frame, except that a YUV8_UYV frame of 3 bytes a pixel is spread to 4 first.
    """
    return _convert(frame, format, "bgra", width, height, bayer, mode, out)


def to_bgr(
    frame: Frame,
    format: FormatLike,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
    bayer: bool = True,
    mode: Optional[BayerMode] = None,
    out: Optional[NDArray[np.uint8]] = None,
) -> NDArray[np.uint8]:
    """The picture of a frame, shape (height, width, 3): blue, green, red.

    No copy is made of the frame, with two exceptions: a YUV422_8_UYVY frame of 4 bytes for 2 pixels goes through BGRA,
    and a YUV8_UYV frame of 3 bytes a pixel is spread to 4 first.
    """
    return _convert(frame, format, "bgr", width, height, bayer, mode, out)
