# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Calls of the frames layer: Converter keeps a layout, a kind of picture and settings for a stream of camera buffers.
"""
from __future__ import annotations

import ctypes
import threading
import weakref
from typing import Any, Optional

import numpy as np
from numpy.typing import NDArray

from . import _frames
from ._arrays import Frame, base_array, is_array
from ._buffers import CameraBuffer, Place, camera_buffer, picture_memory, sample_layout, stride_of
from ._converters import BayerMode, ModeLike, bayer_mode, warn_of_bilinear
from ._formats import BYTE, WORD, FormatLike, PixelFormat
from ._frames import Tone, WhiteBalance
from ._library import LIBRARY
from ._numbers import integer

_CHANNELS = {"bgra": 4, "bgr": 3, "rgb": 3, "rgba": 4, "grey": 1, "grey16": 1}
_ACPI_OF_THE_PROCESS = ctypes.cast(LIBRARY.ConvByrRG8ToBGRAACPI, ctypes.c_void_p).value


def _chosen_mode() -> BayerMode:
    """What set_bayer_mode chose last; the frames layer does not look at it."""
    address = LIBRARY.GetBGRAConverter(int(PixelFormat.BayerRG8), 1)
    return BayerMode.ACPI if address == _ACPI_OF_THE_PROCESS else BayerMode.DEFAULT


class Converter:
    """A converter of the frames layer for a stream of camera buffers: call it with a buffer, get the picture.

    It is made once for a layout and keeps its memory. Calls from several threads follow each other; make one converter
    per thread to convert at the same time.

    Parameters
    ----------
    format : PixelFormat, int or str
        Any format, packed ones included.
    width, height : int
        In pixels and rows.
    to : {"bgra", "bgr", "rgb", "rgba", "grey", "grey16"}
        The kind of picture. Grey is the mosaic as it is, 8 or 16 bits.
    stride : int, optional
        Bytes from row to row of the buffers; None where rows follow without padding.
    offset : int
        Bytes before the first row.
    shift : int
        For 16-bit words: the sample is ``word >> shift``.
    range : {"full", "limited"}
        Of YUV.
    bayer, mode
        As in `to_bgra`. The ACPI mode serves 8 bits, and any depth together with one of the settings below.
    white_balance : "auto" or three floats, optional
        Gains of red, green and blue, 0 to 16; ``"auto"`` estimates them anew from each buffer (grey world).
    black_level : int, optional
        Subtracted from every sample.
    exposure : float, optional
        A factor for all samples, 0 to 16.
    tone : "linear", "srgb" or float, optional
        How the 8-bit values follow the light; a number is a gamma, 2.2 for example.
    matrix : 3 x 3 floats, optional
        Applied to red, green and blue of the finished picture.

    Raises
    ------
    ImportError
        The frames layer is not installed.
    UnsupportedFormatError
        The format is unknown, or does not have what is asked for.
    TypeError, ValueError
        A size or a setting does not fit.

    Examples
    --------
    >>> convert = vcu.Converter("BayerRG12p", 64, 48, "rgb", white_balance=(1.9, 1, 1.6), black_level=240, tone="srgb")
    >>> convert(bytes(64 * 48 * 3 // 2)).shape
    (48, 64, 3)
    """

    def __init__(
        self,
        format: FormatLike,
        width: int,
        height: int,
        to: str = "bgra",
        *,
        stride: Optional[int] = None,
        offset: int = 0,
        shift: int = 0,
        range: str = "full",
        bayer: bool = True,
        mode: Optional[ModeLike] = None,
        white_balance: Optional[WhiteBalance] = None,
        black_level: Optional[int] = None,
        exposure: Optional[float] = None,
        tone: Optional[Tone] = None,
        matrix: Any = None,
    ) -> None:
        size = integer(width, "the width"), integer(height, "the height")
        layout = _frames.buffer_layout(format, size, stride, offset, shift, range)
        levels = any(value is not None for value in (white_balance, black_level, exposure, tone))
        settings = _frames.make_settings(
            adaptive=_adaptive(format, size, levels, bool(bayer), mode, stacklevel=2),
            bayer=bayer,
            white_balance=white_balance,
            black_level=black_level,
            exposure=exposure,
            tone=tone,
            matrix=matrix,
        )
        self._start(layout, to, settings, _frames.is_automatic(white_balance))

    def _start(self, layout: _frames.BufferLayout, to: str, settings: _frames.Settings, estimate: bool) -> None:
        if not isinstance(to, str) or to not in _CHANNELS:
            raise ValueError(f"to must be one of {', '.join(map(repr, _CHANNELS))}, not {to!r}")
        self._layout, self._settings, self._estimate = layout, settings, estimate
        self._to = to
        channels = _CHANNELS[to]
        self._shape = (layout.height, layout.width) + ((channels,) if channels > 1 else ())
        self._dtype = WORD if to == "grey16" else BYTE
        self._lock = threading.Lock()
        self._handle = ctypes.c_void_p()
        _frames.check("VcfCreateConverter", self._handle, layout, _frames.OUTPUTS[to], settings)
        weakref.finalize(self, _frames.library().VcfDestroyConverter, self._handle)

    @classmethod
    def _made(cls, layout: _frames.BufferLayout, to: str, settings: _frames.Settings, estimate: bool) -> Converter:
        converter = cls.__new__(cls)
        converter._start(layout, to, settings, estimate)
        return converter

    def __repr__(self) -> str:
        row = _frames.format_row(self._layout.format)
        return f"<Converter {row.name.decode()} {self._layout.width}x{self._layout.height} to {self._to}>"

    @property
    def buffer_bytes(self) -> int:
        """Bytes that a buffer must hold."""
        return int(_frames.library().VcfBytesNeeded(self._layout))

    @property
    def white_balance(self) -> tuple[float, float, float]:
        """The gains of red, green and blue; with "auto" those of the last buffer."""
        return _frames.gains_of(self._settings)

    def __call__(self, buffer: Frame, *, out: Optional[NDArray[Any]] = None) -> NDArray[Any]:
        """Convert a buffer.

        Parameters
        ----------
        buffer : bytes-like or array
            At least `buffer_bytes` bytes; more are ignored, as chunk data are.
        out : ndarray, optional
            Receives the picture; its rows may lie apart. Not overlapping the buffer.

        Returns
        -------
        ndarray
            `out`, or a new array of shape (height, width, channels), (height, width) for grey.

        Raises
        ------
        TypeError, ValueError
            The buffer is too short, or `out` does not fit; nothing is written.

        Examples
        --------
        >>> convert = vcu.Converter("Mono10p", 4, 1, "grey16")
        >>> convert(b"\\xff\\x03\\x00\\x00\\x00")
        array([[65535,     0,     0,     0]], dtype=uint16)
        """
        layout = self._layout
        if is_array(buffer) and base_array(buffer).ndim > 1:
            given = camera_buffer(buffer, layout.format, Place(layout.width, layout.height, shift=layout.shift))
            if given.layout.stride != layout.stride or layout.offset != 0:
                raise ValueError("the array's rows do not lie as the converter was made for; pass bytes")
        else:
            place = Place(layout.width, layout.height, layout.stride or None, layout.offset, layout.shift)
            given = camera_buffer(buffer, layout.format, place)
        return self._run(given, out)

    def _run(self, buffer: CameraBuffer, out: Optional[NDArray[Any]]) -> NDArray[Any]:
        picture = picture_memory(out, self._shape, self._dtype, buffer.array)
        with self._lock:
            if self._estimate:
                _frames.set_estimated_gains(self._settings, self._layout, buffer.address, buffer.length)
                _frames.check("VcfChangeSettings", self._handle, self._settings)
            where = picture.ctypes.data, stride_of(picture)
            _frames.check("VcfConvert", self._handle, buffer.address, buffer.length, *where)
        return picture if out is None else out


def _adaptive(
    format: FormatLike, size: tuple[int, int], levels: bool, bayer: bool, mode: Optional[ModeLike], stacklevel: int
) -> bool:
    """Whether the ACPI mode demosaics; where it cannot and was named, a warning says so."""
    row = _frames.format_row(format)
    wanted = (_chosen_mode() if mode is None else bayer_mode(mode)) == BayerMode.ACPI
    if not wanted or _frames.KINDS[row.kind] != "bayer" or not bayer:
        return False
    if row.depth > 8 and not levels:
        if mode is not None:
            warn_of_bilinear(row.name.decode(), stacklevel + 1)
        return False
    return True


def convert_once(
    buffer: CameraBuffer,
    to: str,
    out: Optional[NDArray[Any]],
    mode: Optional[ModeLike],
    settings: dict[str, Any],
    stacklevel: int,
) -> NDArray[Any]:
    """One picture by a converter that goes right after."""
    layout = buffer.layout
    levels = any(settings[name] is not None for name in ("white_balance", "black_level", "exposure", "tone"))
    size = layout.width, layout.height
    adaptive = _adaptive(layout.format, size, levels, bool(settings["bayer"]), mode, stacklevel + 1)
    made = _frames.make_settings(adaptive=adaptive, **settings)
    return Converter._made(layout, to, made, _frames.is_automatic(settings["white_balance"]))._run(buffer, out)


def unpack(
    frame: Frame,
    format: FormatLike,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
    stride: Optional[int] = None,
    offset: int = 0,
    shift: int = 0,
) -> NDArray[Any]:
    """Copy the samples of a camera buffer into an array, without conversion.

    Parameters
    ----------
    frame : array or bytes-like
        Bytes of any kind, with `width` and `height`; or rows of bytes, (height, bytes), with `width`; or an array of
        samples, whose rows may lie apart.
    format : PixelFormat, int or str
        Any format.
    width, height : int, optional
        In pixels and rows.
    stride, offset : int, optional
        Bytes from row to row, and before the first row, of bytes in one dimension.
    shift : int
        For 16-bit words: the sample is ``word >> shift``.

    Returns
    -------
    ndarray
        uint16, value in the low bits, or uint8 for formats of 8 bits; shape (height, width), or as `frame_layout` says
        for colour and YUV.

    Raises
    ------
    ImportError
        The frames layer is not installed.
    UnsupportedFormatError
        The format is unknown.
    TypeError, ValueError
        The buffer is too short, or a size does not fit.

    Examples
    --------
    >>> vcu.unpack(bytes([0x21, 0x43, 0x65]), "Mono12p", width=2, height=1)
    array([[ 801, 1620]], dtype=uint16)
    """
    buffer = camera_buffer(frame, format, Place(width, height, stride, offset, shift))
    # Of the layout's format: that of the argument may be an object that is another number each time.
    layout = sample_layout(_frames.format_row(buffer.layout.format).unpacked)
    assert layout is not None, "what a packed format unpacks to has an array"
    samples = np.empty(layout.shape(buffer.layout.width, buffer.layout.height), layout.dtype)
    where = samples.ctypes.data, 0, layout.dtype.itemsize
    _frames.check("VcfUnpack", buffer.layout, buffer.address, buffer.length, *where)
    return samples


def estimate_white_balance(
    frame: Frame,
    format: FormatLike,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
    stride: Optional[int] = None,
    offset: int = 0,
    shift: int = 0,
    black_level: int = 0,
) -> tuple[float, float, float]:
    """Estimate the gains that make the mean of a frame grey; clipped samples do not count.

    Parameters
    ----------
    frame, format, width, height, stride, offset, shift
        As in `unpack`; a Bayer or packed-colour format.
    black_level : int
        Subtracted from every sample.

    Returns
    -------
    tuple of three floats
        For red, green and blue, the smallest being 1; for `white_balance`. All 1 where no sample counts.

    Raises
    ------
    ImportError, UnsupportedFormatError, TypeError, ValueError
        As `unpack`; also for Mono and YUV.

    Examples
    --------
    >>> mosaic = np.tile(np.array([[50, 100], [100, 25]], np.uint8), (8, 8))
    >>> vcu.estimate_white_balance(mosaic, "BayerRG8")
    (2.0, 1.0, 4.0)
    """
    buffer = camera_buffer(frame, format, Place(width, height, stride, offset, shift))
    settings = _frames.Settings()
    settings.black_level = integer(black_level, "the black level", 0, 65535)
    _frames.set_estimated_gains(settings, buffer.layout, buffer.address, buffer.length)
    return _frames.gains_of(settings)
