# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Mirroring and turning raw frames, and the Bayer phase that the result has."""
from __future__ import annotations

from typing import Any, Optional

from numpy.typing import NDArray

from ._arrays import Frame, check_frame, check_out
from ._formats import BYTE, FormatLike, PixelFormat, UnsupportedFormatError, frame_layout, pixel_format
from ._library import LIBRARY, UNSUPPORTED_FORMAT, check_status

# A half turn counts its pixels with a signed 32-bit number.
_HALF_TURN_LIMIT = 1 << 31


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
    """A copy of a raw frame, mirrored left to right, turned upside down, or both (a half turn).

    The result has the shape and the type of the frame; bytes give one dimension of bytes. A Bayer frame may change its
    phase: reversed_format tells.
    """
    chosen = pixel_format(format)
    layout = frame_layout(chosen)
    array, width, height = check_frame(frame, layout, width, height)
    if mirror and width % layout.pixels != 0:
        raise ValueError(f"to be mirrored, a width of {chosen.name} has to be a multiple of {layout.pixels}, not {width}")
    if mirror and upside_down and width * height > _HALF_TURN_LIMIT:
        raise ValueError(f"a half turn is limited to {_HALF_TURN_LIMIT} pixels")
    result = check_out(out, array.shape, array.dtype if array.ndim > 1 else BYTE, array)
    status = LIBRARY.ReverseImg(
        result.ctypes.data, array.ctypes.data, int(chosen), width, height, int(mirror), int(upside_down)
    )
    if status == UNSUPPORTED_FORMAT:
        raise UnsupportedFormatError(f"frames of {chosen.name} cannot be reversed")
    check_status("ReverseImg", status)
    return result


def reversed_format(
    format: FormatLike, width: int, height: int, *, mirror: bool = False, upside_down: bool = False
) -> PixelFormat:
    """The format that a reversed frame has.

    Mirroring an even width exchanges the columns of the mosaic, turning an even height exchanges its rows; other
    formats stay what they are.
    """
    chosen = pixel_format(format)
    if not chosen.is_bayer:
        return chosen
    phase, depth = chosen.name[5:7], chosen.name[7:]
    if mirror and width % 2 == 0:
        phase = {"GR": "RG", "RG": "GR", "GB": "BG", "BG": "GB"}[phase]
    if upside_down and height % 2 == 0:
        phase = {"GR": "BG", "BG": "GR", "RG": "GB", "GB": "RG"}[phase]
    return PixelFormat[f"Bayer{phase}{depth}"]
