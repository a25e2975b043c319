# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Mirroring and turning raw frames, and the Bayer phase that the result has."""
from __future__ import annotations

from typing import Any, Optional

from numpy.typing import NDArray

from ._arrays import Frame, check_frame, check_out
from ._formats import BYTE, FormatLike, PixelFormat, UnsupportedFormatError, frame_layout, pixel_format
from ._library import LIBRARY, UNSUPPORTED_FORMAT, check_status
from ._numbers import WORD_LIMIT, flag, integer

# A half turn counts single pixels with a signed 32-bit number.
_HALF_TURN_LIMIT = 1 << 31


def _check_limits(layout_pixels: int, size: tuple[int, int], frame_bytes: int, mirror: bool, upside_down: bool) -> None:
    """Refuses what the library's 32-bit counts cannot carry: the offset of the last row, the pixels of a half turn."""
    if upside_down and not mirror and frame_bytes >= WORD_LIMIT:
        raise ValueError("turned upside down, a frame has to be smaller than 4 GiB")
    if upside_down and mirror and layout_pixels == 1 and size[0] * size[1] > _HALF_TURN_LIMIT:
        raise ValueError(f"a half turn is limited to {_HALF_TURN_LIMIT} pixels")


def reverse(
    frame: Frame,
    format: FormatLike,
    *,
    mirror: bool = False,
    upside_down: bool = False,
    width: Optional[int] = None,
    height: Optional[int] = None,
    out: Optional[NDArray[Any]] = None,
) -> NDArray[Any]:
    """Copy a raw frame, mirrored left to right, turned upside down, or both (a half turn).

    The Bayer phase of the result may differ from the frame's: see `reversed_format`.

    Parameters
    ----------
    frame : array or bytes-like
        In the shape of the format's layout, or any bytes with `width` and `height` given.
    format : PixelFormat, int or str
        Of the frame.
    mirror : bool
        Exchange left and right.
    upside_down : bool
        Exchange top and bottom. A frame has to be smaller than 4 GiB.
    width, height : int, optional
        In pixels and rows, where the shape does not have them.
    out : ndarray, optional
        Receives the result; of the frame's shape and type, not overlapping the frame.

    Returns
    -------
    ndarray
        `out`, or a new array of the frame's shape and type; one dimension of uint8 for bytes.

    Raises
    ------
    UnsupportedFormatError
        The format is unknown or cannot be reversed (RGB12, YUV8_UYV).
    TypeError, ValueError
        An array, a size or a flag does not fit; nothing is written.

    Examples
    --------
    >>> frame = np.array([[1, 2, 3], [4, 5, 6]], np.uint8)
    >>> vcu.reverse(frame, "Mono8", mirror=True)
    array([[3, 2, 1],
           [6, 5, 4]], dtype=uint8)
    """
    chosen = pixel_format(format)
    layout = frame_layout(chosen)
    mirror, upside_down = flag(mirror, "mirror"), flag(upside_down, "upside_down")
    array, width, height = check_frame(frame, layout, width, height)
    if mirror and width % layout.pixels != 0:
        raise ValueError(f"to mirror {chosen.name}, the width must be a multiple of {layout.pixels}, not {width}")
    _check_limits(layout.pixels, (width, height), array.nbytes, mirror, upside_down)
    result = check_out(out, array.shape, array.dtype if array.ndim > 1 else BYTE, array)
    status = LIBRARY.ReverseImg(
        result.ctypes.data, array.ctypes.data, int(chosen), width, height, int(mirror), int(upside_down)
    )
    if status == UNSUPPORTED_FORMAT:
        raise UnsupportedFormatError(f"frames of {chosen.name} cannot be reversed")
    check_status("ReverseImg", status)
    return result if out is None else out


def reversed_format(
    format: FormatLike, width: int, height: int, *, mirror: bool = False, upside_down: bool = False
) -> PixelFormat:
    """Find the format that a reversed frame has.

    Mirroring an even width exchanges the columns of the mosaic, turning an even height exchanges its rows; other
    formats stay what they are.

    Parameters
    ----------
    format : PixelFormat, int or str
        Of the frame before.
    width, height : int
        Of the frame.
    mirror, upside_down : bool
        As in `reverse`.

    Returns
    -------
    PixelFormat

    Raises
    ------
    UnsupportedFormatError
        The format is unknown.
    TypeError, ValueError
        A size or a flag does not fit.

    Examples
    --------
    >>> vcu.reversed_format("BayerRG8", 1920, 1080, mirror=True).name
    'BayerGR8'
    """
    chosen = pixel_format(format)
    mirror, upside_down = flag(mirror, "mirror"), flag(upside_down, "upside_down")
    width, height = integer(width, "the width"), integer(height, "the height")
    if not chosen.is_bayer:
        return chosen
    phase, depth = chosen.name[5:7], chosen.name[7:]
    if mirror and width % 2 == 0:
        phase = {"GR": "RG", "RG": "GR", "GB": "BG", "BG": "GB"}[phase]
    if upside_down and height % 2 == 0:
        phase = {"GR": "BG", "BG": "GR", "RG": "GB", "GB": "RG"}[phase]
    return PixelFormat[f"Bayer{phase}{depth}"]
