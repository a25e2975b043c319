# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What must hold of an array before its address goes to the library, which can test neither size nor type.

Nothing is copied or converted here: an array that does not fit is refused with the reason and the cure.
"""
from __future__ import annotations

import operator
from typing import Any, Optional, Union

import numpy as np
from numpy.typing import NDArray

from ._formats import BYTE, Layout

# Everything that has its bytes in one piece: bytes, bytearray, memoryview, mmap, array.array.
Buffer = Any
Frame = Union[NDArray[Any], Buffer]

_SIZE_LIMIT = 1 << 32


def as_array(frame: Frame, what: str) -> NDArray[Any]:
    """The frame as an array over the same memory; other buffers become one row of bytes."""
    if isinstance(frame, np.ndarray):
        array = frame
    else:
        try:
            array = np.frombuffer(frame, np.uint8)
        except (TypeError, ValueError, BufferError) as error:
            raise TypeError(f"{what} has to be a NumPy array or a bytes-like object: {error}") from None
    if not array.flags.c_contiguous:
        raise ValueError(f"{what} is not C-contiguous; pass numpy.ascontiguousarray(...) of it")
    return array


def dimensions_of(array: NDArray[Any], layout: Layout, what: str) -> tuple[int, int]:
    """Width and height that the shape tells, for arrays of two and three dimensions."""
    shape = array.shape
    if array.ndim == 2 and shape[1] % layout.samples == 0:
        return shape[1] // layout.samples * layout.pixels, shape[0]
    if array.ndim == 3 and layout.samples > 1:
        if shape[2] == layout.samples:
            return shape[1] * layout.pixels, shape[0]
        if shape[2] * layout.pixels == layout.samples:
            return shape[1], shape[0]
    wanted = "(height, width)"
    if layout.samples > 1:
        wanted = f"(height, width / {layout.pixels}, {layout.samples})".replace(" / 1,", ",")
    raise ValueError(f"{what} has shape {shape}; expected is {wanted}, or one dimension with width and height given")


def check_size(width: int, height: int) -> None:
    for number in (width, height):
        operator.index(number)
    if width < 0 or height < 0 or width * height >= _SIZE_LIMIT or max(width, height) >= _SIZE_LIMIT:
        raise ValueError(f"{width} x {height} is no size that the library can count")


def check_frame(
    frame: Frame, layout: Layout, width: Optional[int], height: Optional[int], what: str = "the frame"
) -> tuple[NDArray[Any], int, int]:
    """The frame as an array, with its width and height, once it is sure that it holds exactly what the layout says.

    Width and height may be left out where the shape tells them. One dimension of bytes serves every layout.
    """
    array = as_array(frame, what)
    flat = array.ndim == 1
    if array.dtype != layout.dtype and not (flat and array.dtype == BYTE):
        raise TypeError(f"{what} has dtype {array.dtype.str}; expected is {layout.dtype.str}")
    if flat:
        if width is None or height is None:
            raise ValueError(f"{what} has one dimension: width and height have to be given")
    else:
        told = dimensions_of(array, layout, what)
        width = told[0] if width is None else width
        height = told[1] if height is None else height
        if (width, height) != told:
            raise ValueError(f"{what} has shape {array.shape}, which is {told[0]} x {told[1]}, not {width} x {height}")
    check_size(width, height)
    if width * height % layout.pixels != 0:
        raise ValueError(f"{width} x {height} pixels do not fill whole groups of {layout.pixels}")
    needed = layout.frame_bytes(width, height)
    if array.nbytes != needed:
        groups = "a pixel" if layout.pixels == 1 else f"for {layout.pixels} pixels"
        raise ValueError(
            f"{what} holds {array.nbytes} bytes; {width} x {height} pixels take {needed} "
            f"({layout.group_bytes} bytes {groups})"
        )
    return array, width, height


def check_out(
    out: Optional[NDArray[Any]], shape: tuple[int, ...], dtype: np.dtype[Any], source: NDArray[Any]
) -> NDArray[Any]:
    """The array to write to: `out` once it fits, or a new one.

    A new one holds zeros, as a few pixels of some pictures are left as they were.
    """
    if out is None:
        return np.zeros(shape, dtype)
    if not isinstance(out, np.ndarray):
        raise TypeError("out has to be a NumPy array")
    if out.dtype != dtype:
        raise TypeError(f"out has dtype {out.dtype.str}; expected is {dtype.str}")
    if out.shape != shape:
        raise ValueError(f"out has shape {out.shape}; expected is {shape}")
    if not out.flags.writeable:
        raise ValueError("out is read-only")
    if not out.flags.c_contiguous:
        raise ValueError("out is not C-contiguous")
    if np.may_share_memory(out, source):
        raise ValueError("out overlaps the frame")
    return out
