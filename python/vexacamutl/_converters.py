# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The library's converters: each of them by its name, and the choice of one for a format.

A converter reads its own layout, which for three of the YUV converters is not the camera's: ConvYUV422PToBGR reads 5
bytes for 2 pixels, ConvYUV444PToBGRA and ConvYUV444PToBGR read 4 bytes per pixel. Called by name they require just
that; to_bgra and to_bgr also take the camera's frame and convert it by a detour.
"""
from __future__ import annotations

import ctypes
import enum
import warnings
from types import MappingProxyType
from typing import Mapping, Optional, Union

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
from ._numbers import WORD_LIMIT, flag, integer


class BayerMode(enum.IntEnum):
    """How 8-bit Bayer frames are demosaiced; those of 10 and 12 bits are always DEFAULT."""

    DEFAULT = 0
    ACPI = 1


ModeLike = Union[BayerMode, int, str]


def bayer_mode(mode: ModeLike) -> BayerMode:
    """A mode by its member, its number, or its name in any case."""
    if isinstance(mode, str):
        try:
            return BayerMode[mode.upper()]
        except KeyError:
            raise ValueError(f"the mode must be 'default' or 'acpi', not {mode!r}") from None
    return BayerMode(integer(mode, "the mode", 0, 1))


def set_bayer_mode(mode: ModeLike) -> None:
    """Choose the demosaic for the whole process, for calls that do not name a mode themselves.

    Parameters
    ----------
    mode : BayerMode, int or str
        ``"default"`` (bilinear) or ``"acpi"`` (adaptive colour-plane interpolation, 8-bit frames only).

    Raises
    ------
    TypeError, ValueError
        There is no such mode.

    Examples
    --------
    >>> vcu.set_bayer_mode("acpi")
    >>> vcu.converter_for("BayerRG8").name
    'ConvByrRG8ToBGRAACPI'
    >>> vcu.set_bayer_mode("default")
    """
    check_status("SetBayerConvMode", LIBRARY.SetBayerConvMode(int(bayer_mode(mode))))


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


class NamedConverter:
    """One of the library's converters: call it with a frame, get the picture.

    Examples
    --------
    >>> convert = vcu.converter_for("BayerRG8", "bgr")
    >>> out = np.empty((480, 640, 3), np.uint8)
    >>> for frame in np.zeros((2, 480, 640), np.uint8):
    ...     picture = convert(frame, out=out)
    """

    def __init__(self, name: str) -> None:
        self._name = name
        self._source = _source_layout(name)
        # ConvByrRG8ToBGRACPI is BGR followed by ACPI.
        self._channels = 4 if name.removesuffix("ACPI").endswith("BGRA") else 3
        self._takes_shift = _library.takes_shift(name)
        self._function = getattr(LIBRARY, name)

    @property
    def name(self) -> str:
        """As the library exports it."""
        return self._name

    @property
    def source(self) -> Layout:
        """The layout that the converter reads."""
        return self._source

    @property
    def channels(self) -> int:
        """4 for BGRA, 3 for BGR."""
        return self._channels

    @property
    def takes_shift(self) -> bool:
        """Whether it is a worker, with N in its name, which takes the shift as an argument."""
        return self._takes_shift

    def __repr__(self) -> str:
        return f"<NamedConverter {self._name}>"

    def source_bytes(self, width: int, height: int) -> int:
        """Bytes that the frame must hold."""
        return self._source.frame_bytes(width, height)

    def destination_bytes(self, width: int, height: int) -> int:
        """Bytes that the picture takes."""
        return integer(width, "the width") * integer(height, "the height") * self._channels

    def _shifts(self, shift: Optional[int]) -> tuple[int, ...]:
        if self._takes_shift != (shift is not None):
            raise TypeError(f"{self._name} {'needs the' if self._takes_shift else 'takes no'} argument shift")
        return () if shift is None else (integer(shift, "shift", 0, 31),)

    def _check_limits(self, width: int, height: int) -> None:
        # This converter counts bytes where the others count pixels, and its count wraps.
        if self._name == "ConvBGR8PToBGR" and self.source_bytes(width, height) >= WORD_LIMIT:
            raise ValueError(f"{self._name} copies less than 4 GiB")
        if self._name.endswith("ACPI") and (min(width, height) < 4 or width % 2 != 0 or height % 2 != 0):
            raise ValueError(f"the ACPI mode needs an even width and height of at least 4, not {width}x{height}")

    def __call__(
        self,
        frame: Frame,
        *,
        width: Optional[int] = None,
        height: Optional[int] = None,
        shift: Optional[int] = None,
        out: Optional[NDArray[np.uint8]] = None,
    ) -> NDArray[np.uint8]:
        """Convert a frame.

        Parameters
        ----------
        frame : array or bytes-like
            In the shape of `source`, or any bytes with `width` and `height` given.
        width, height : int, optional
            In pixels and rows, where the shape does not have them.
        shift : int, optional
            For the workers only: the right shift, 0 to 31, that brings a sample to 8 bits.
        out : ndarray of uint8, optional
            Receives the picture; not overlapping the frame.

        Returns
        -------
        ndarray of uint8
            `out`, or a new array of shape (height, width, channels).

        Raises
        ------
        TypeError, ValueError
            An array, a size or the shift does not fit; nothing is written.

        Examples
        --------
        >>> samples = np.full((2, 2), 0x3210, np.uint16)
        >>> vcu.CONVERTERS["ConvMonoNToBGR"](samples, shift=8)[0, 0]
        array([50, 50, 50], dtype=uint8)
        """
        shifts = self._shifts(shift)
        array, width, height = check_frame(frame, self._source, width, height)
        self._check_limits(width, height)
        picture = check_out(out, (height, width, self._channels), BYTE, array)
        check_status(self._name, self._function(picture.ctypes.data, array.ctypes.data, width, height, *shifts))
        return picture if out is None else out


#: All converters by name.
CONVERTERS: Mapping[str, NamedConverter] = MappingProxyType(
    {name: NamedConverter(name) for name in _library.converter_names()}
)


def _address(name: str) -> int:
    return ctypes.cast(getattr(LIBRARY, name), ctypes.c_void_p).value or 0


_NAME_AT = {_address(name): name for name in CONVERTERS}


def warn_of_bilinear(name: str, stacklevel: int) -> None:
    warnings.warn(
        f"{name} is demosaiced bilinearly: without levels the ACPI mode serves 8-bit Bayer frames only",
        UserWarning,
        stacklevel=stacklevel + 1,
    )


def choose(
    format: FormatLike, to: str, bayer: bool, mode: Optional[ModeLike], stacklevel: int
) -> tuple[PixelFormat, NamedConverter]:
    """What converter_for answers; `stacklevel` is that of the user's call, for warnings."""
    if to not in ("bgra", "bgr"):
        raise ValueError(f"to must be 'bgra' or 'bgr', not {to!r}")
    chosen, bayer = pixel_format(format), flag(bayer, "bayer")
    wanted = None if mode is None else bayer_mode(mode)
    getter = LIBRARY.GetBGRAConverter if to == "bgra" else LIBRARY.GetBGRConverter
    address = getter(int(chosen), int(bayer))
    if address is None:
        raise UnsupportedFormatError(
            f"no converter is selected for {chosen.name}; call CONVERTERS['Conv{chosen.name}PTo{to.upper()}']"
        )
    name = _NAME_AT[address]
    if wanted is not None and "Byr" in name:
        name = name.removesuffix("ACPI")
        if wanted == BayerMode.ACPI and f"{name}ACPI" in CONVERTERS:
            name = f"{name}ACPI"
        elif wanted == BayerMode.ACPI:
            warn_of_bilinear(chosen.name, stacklevel + 1)
    return chosen, CONVERTERS[name]


def converter_for(
    format: FormatLike, to: str = "bgra", *, bayer: bool = True, mode: Optional[ModeLike] = None
) -> NamedConverter:
    """Choose the converter for a format, to keep for a stream of frames.

    Parameters
    ----------
    format : PixelFormat, int or str
        Of the frames.
    to : {"bgra", "bgr"}
        The kind of picture.
    bayer : bool
        False shows a Bayer frame as the grey picture of its mosaic.
    mode : BayerMode, int or str, optional
        The demosaic, ``"default"`` or ``"acpi"``; None for the one that `set_bayer_mode` chose.

    Returns
    -------
    NamedConverter

    Raises
    ------
    UnsupportedFormatError
        The format is unknown or has no converter.
    TypeError, ValueError
        An option does not fit.

    Warns
    -----
    UserWarning
        The ACPI mode is named for a Bayer format of 10 or 12 bits, which is demosaiced bilinearly.

    Examples
    --------
    >>> vcu.converter_for("BayerRG8", "bgr", mode="acpi")
    <NamedConverter ConvByrRG8ToBGRACPI>
    """
    return choose(format, to, bayer, mode, stacklevel=2)[1]


def _fits(frame: Frame, layout: Layout, width: Optional[int], height: Optional[int]) -> bool:
    try:
        check_frame(frame, layout, width, height)
    except (TypeError, ValueError):
        return False
    return True


def run(
    chosen: PixelFormat,
    converter: NamedConverter,
    frame: Frame,
    width: Optional[int],
    height: Optional[int],
    out: Optional[NDArray[np.uint8]],
) -> NDArray[np.uint8]:
    """The converter on a camera's frame, by a detour where the converter reads wider groups than cameras send."""
    sent = frame_layout(chosen)
    fits_converter_only = _fits(frame, converter.source, width, height) and not _fits(frame, sent, width, height)
    if sent == converter.source or fits_converter_only:
        return converter(frame, width=width, height=height, out=out)
    array, width, height = check_frame(frame, sent, width, height)
    # Checked against the camera's frame, before a copy hides an overlap.
    picture = check_out(out, (height, width, converter.channels), BYTE, array)
    if sent.pixels == 2:
        bgra = CONVERTERS["ConvYUV422PToBGRA"](array, width=width, height=height)
        picture[...] = bgra[..., :3]
    else:
        spread = np.zeros((height, width, 4), np.uint8)
        spread[..., :3] = array.reshape(height, width, 3)
        converter(spread, out=picture)
    return picture if out is None else out
