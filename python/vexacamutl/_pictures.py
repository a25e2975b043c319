# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""to_bgra, to_bgr and to_rgb: one call from a frame or a camera buffer to a picture.

Frames of the library's own formats, tight and as they are, go to the library's converter. Everything else (packed
samples, rows apart, an offset, levels, limited range) goes to the frames layer, which gives the same bytes where both
can serve.
"""
from __future__ import annotations

from typing import Any, NamedTuple, Optional

import numpy as np
from numpy.typing import NDArray

from . import _frames
from ._arrays import Frame, base_array, is_array
from ._buffers import Place, camera_buffer, is_core_format, rows_apart
from ._converters import ModeLike, choose, run
from ._formats import FormatLike
from ._frames import Tone, WhiteBalance
from ._stream import convert_once


class Levels(NamedTuple):
    """What is done to levels and colour; None for nothing."""

    white_balance: Optional[WhiteBalance]
    black_level: Optional[int]
    exposure: Optional[float]
    tone: Optional[Tone]
    matrix: Any


def _has_rows_apart(value: Any) -> bool:
    if not is_array(value):
        return False
    array = base_array(value)
    return not array.flags.c_contiguous and rows_apart(array)


def _needs_frames_layer(frame: Frame, format: FormatLike, place: Place, levels: Levels, out: Any) -> bool:
    return (
        not is_core_format(format)
        or place[2:] != Place(None, None)[2:]
        or any(value is not None for value in levels)
        or _has_rows_apart(frame)
        or _has_rows_apart(out)
    )


def _picture(
    frame: Frame,
    format: FormatLike,
    to: str,
    place: Place,
    bayer: bool,
    mode: Optional[ModeLike],
    levels: Levels,
    out: Optional[NDArray[np.uint8]],
) -> NDArray[np.uint8]:
    if _needs_frames_layer(frame, format, place, levels, out):
        settings = {**levels._asdict(), "bayer": bayer}
        return convert_once(camera_buffer(frame, format, place), to, out, mode, settings, stacklevel=3)
    chosen, converter = choose(format, "bgra" if to == "bgra" else "bgr", bayer, mode, 3)
    picture = run(chosen, converter, frame, place.width, place.height, out)
    if to == "rgb":
        pixels = base_array(picture)
        pixels[..., ::2] = pixels[..., ::-2].copy()
    return picture


def to_bgra(
    frame: Frame,
    format: FormatLike,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
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
    out: Optional[NDArray[np.uint8]] = None,
) -> NDArray[np.uint8]:
    """Convert a frame to a picture of blue, green, red and 255 per pixel.

    The frame is not copied, except that a YUV8_UYV frame of 3 bytes per pixel is spread to 4 first.

    Parameters
    ----------
    frame : array or bytes-like
        In the shape of the format's layout, where the rows of an array may lie apart; or bytes of any kind with `width`
        and `height` given; or rows of packed bytes, (height, bytes), with `width` given.
    format : PixelFormat, int or str
        Of the frame. Packed formats, 14 and 16 bits, CSI-2 layouts and YUYV take the frames layer.
    width, height : int, optional
        In pixels and rows, where the shape does not have them.
    stride : int, optional
        Bytes from row to row, of bytes in one dimension; None where rows follow without padding.
    offset : int
        Bytes before the first row, of bytes in one dimension. Bytes after the last pixel do not matter.
    shift : int
        For 16-bit words: the sample is ``word >> shift``.
    range : {"full", "limited"}
        Of YUV.
    bayer : bool
        False shows a Bayer frame as the grey picture of its mosaic.
    mode : BayerMode, int or str, optional
        The demosaic, ``"default"`` or ``"acpi"``; None for the one that `set_bayer_mode` chose.
    white_balance : "auto" or three floats, optional
        Gains of red, green and blue, 0 to 16; ``"auto"`` estimates them from the frame (grey world).
    black_level : int, optional
        Subtracted from every sample.
    exposure : float, optional
        A factor for all samples, 0 to 16.
    tone : "linear", "srgb" or float, optional
        How the 8-bit values follow the light; a number is a gamma, 2.2 for example.
    matrix : 3 x 3 floats, optional
        Applied to red, green and blue of the finished picture.
    out : ndarray of uint8, optional
        Receives the picture; its rows may lie apart. Not overlapping the frame.

    Returns
    -------
    ndarray of uint8
        `out`, or a new array of shape (height, width, 4).

    Raises
    ------
    ImportError
        The frames layer is needed and not installed.
    UnsupportedFormatError
        The format is unknown or has no converter.
    TypeError, ValueError
        An array, a size or an option does not fit; nothing is written.

    Warns
    -----
    UserWarning
        The ACPI mode is named for a Bayer format of more than 8 bits without levels, which is demosaiced bilinearly.

    Examples
    --------
    >>> vcu.to_bgra(np.array([[0, 128]], np.uint8), "Mono8")
    array([[[  0,   0,   0, 255],
            [128, 128, 128, 255]]], dtype=uint8)
    """
    place = Place(width, height, stride, offset, shift, range)
    levels = Levels(white_balance, black_level, exposure, tone, matrix)
    return _picture(frame, format, "bgra", place, bayer, mode, levels, out)


def to_bgr(
    frame: Frame,
    format: FormatLike,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
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
    out: Optional[NDArray[np.uint8]] = None,
) -> NDArray[np.uint8]:
    """Convert a frame to a picture of blue, green and red per pixel, as OpenCV wants it.

    The frame is not copied, with two exceptions: a YUV422_8_UYVY frame goes through BGRA, and a YUV8_UYV frame of 3
    bytes per pixel is spread to 4 first.

    Parameters
    ----------
    frame, format, width, height, stride, offset, shift, range, bayer, mode
    white_balance, black_level, exposure, tone, matrix, out
        As in `to_bgra`.

    Returns
    -------
    ndarray of uint8
        `out`, or a new array of shape (height, width, 3).

    Raises
    ------
    ImportError, UnsupportedFormatError, TypeError, ValueError
        As `to_bgra`.

    Warns
    -----
    UserWarning
        As `to_bgra`.

    Examples
    --------
    >>> vcu.to_bgr(bytes([10, 20, 30]), "RGB8", width=1, height=1)
    array([[[30, 20, 10]]], dtype=uint8)
    >>> buffer = bytes(6000)
    >>> picture = vcu.to_bgr(buffer, "BayerRG12p", width=62, height=46, stride=96, white_balance="auto", tone="srgb")
    """
    place = Place(width, height, stride, offset, shift, range)
    levels = Levels(white_balance, black_level, exposure, tone, matrix)
    return _picture(frame, format, "bgr", place, bayer, mode, levels, out)


def to_rgb(
    frame: Frame,
    format: FormatLike,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
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
    out: Optional[NDArray[np.uint8]] = None,
) -> NDArray[np.uint8]:
    """Convert a frame to a picture of red, green and blue per pixel, as Matplotlib and Pillow want it.

    A frame that needs no frames layer becomes a picture as `to_bgr` makes it; then red and blue are exchanged in place.

    Parameters
    ----------
    frame, format, width, height, stride, offset, shift, range, bayer, mode
    white_balance, black_level, exposure, tone, matrix, out
        As in `to_bgra`.

    Returns
    -------
    ndarray of uint8
        `out`, or a new array of shape (height, width, 3).

    Raises
    ------
    ImportError, UnsupportedFormatError, TypeError, ValueError
        As `to_bgra`.

    Warns
    -----
    UserWarning
        As `to_bgra`.

    Examples
    --------
    >>> vcu.to_rgb(bytes([10, 20, 30]), "RGB8", width=1, height=1)
    array([[[10, 20, 30]]], dtype=uint8)
    """
    place = Place(width, height, stride, offset, shift, range)
    levels = Levels(white_balance, black_level, exposure, tone, matrix)
    return _picture(frame, format, "rgb", place, bayer, mode, levels, out)
