# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Checks of arrays before their address goes to the library, which can check neither size nor type.

Nothing is copied or converted here: an array that does not fit is refused with the reason and the remedy.

Every check reads an array of exactly numpy.ndarray. A subclass may override `shape`, `nbytes` or `ctypes`; the base
class reads them from the memory that it holds.
"""
from __future__ import annotations

from typing import Any, Optional, Union

import numpy as np
from numpy.typing import NDArray

from ._formats import BYTE, Layout
from ._numbers import WORD_LIMIT, integer

# Everything that has its bytes in one piece: bytes, bytearray, memoryview, mmap, array.array.
Buffer = Any
Frame = Union[NDArray[Any], Buffer]


def is_array(value: Any) -> bool:
    """Whether a value is a NumPy array by its type; isinstance() believes what `__class__` says."""
    return issubclass(type(value), np.ndarray)


def base_array(array: Any) -> NDArray[Any]:
    """The same memory as an array of the base class."""
    if type(array) is np.ndarray:
        return array
    return np.ndarray.view(array, np.ndarray)


def dtype_name(dtype: np.dtype[Any]) -> str:
    """uint8 rather than |u1, big-endian uint16 rather than >u2."""
    return f"big-endian {dtype.name}" if dtype.byteorder == ">" else dtype.name


def as_array(frame: Frame, what: str) -> NDArray[Any]:
    """The frame as an array over the same memory; other buffers become one row of bytes."""
    if is_array(frame):
        array = base_array(frame)
    else:
        try:
            array = np.frombuffer(frame, np.uint8)
        except (TypeError, ValueError, BufferError) as error:
            raise TypeError(f"{what} must be a NumPy array or a bytes-like object: {error}") from None
    if not array.flags.c_contiguous:
        raise ValueError(f"{what} is not C-contiguous; pass numpy.ascontiguousarray(...) of it")
    return array


def dimensions_of(array: NDArray[Any], layout: Layout, what: str) -> tuple[int, int]:
    """Width and height from the shape, for arrays of two and three dimensions."""
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


def check_size(width: Any, height: Any) -> tuple[int, int]:
    """Width and height as exact integers whose product the library can count."""
    width, height = integer(width, "the width"), integer(height, "the height")
    if width * height >= WORD_LIMIT:
        raise ValueError(f"{width} x {height} is too large: a frame has less than 2^32 pixels")
    return width, height


def missing_size(what: str) -> str:
    """The complaint about a frame without rows: an array of one dimension, or a buffer of any shape."""
    return f"{what} is taken as one row: width and height have to be given (only arrays have them in their shape)"


def _size_of(
    array: NDArray[Any], layout: Layout, width: Optional[int], height: Optional[int], what: str
) -> tuple[int, int]:
    if array.ndim == 1:
        if width is None or height is None:
            raise ValueError(missing_size(what))
        return check_size(width, height)
    shown = dimensions_of(array, layout, what)
    given = check_size(shown[0] if width is None else width, shown[1] if height is None else height)
    if given != shown:
        raise ValueError(
            f"{what} has shape {array.shape}, which is {shown[0]} x {shown[1]}, not {given[0]} x {given[1]}"
        )
    return given


def check_frame(
    frame: Frame, layout: Layout, width: Optional[int], height: Optional[int], what: str = "the frame"
) -> tuple[NDArray[Any], int, int]:
    """The frame as an array, with its width and height, once it holds exactly what the layout says.

    Width and height may be left out where the shape has them. One dimension of bytes serves every layout.
    """
    array = as_array(frame, what)
    if array.dtype != layout.dtype and not (array.ndim == 1 and array.dtype == BYTE):
        raise TypeError(f"{what} has dtype {dtype_name(array.dtype)}; expected is {dtype_name(layout.dtype)}")
    width, height = _size_of(array, layout, width, height, what)
    if width * height % layout.pixels != 0:
        raise ValueError(f"{width} x {height} pixels do not fill whole groups of {layout.pixels}")
    needed = layout.frame_bytes(width, height)
    if array.nbytes != needed:
        groups = "per pixel" if layout.pixels == 1 else f"for {layout.pixels} pixels"
        unit = "byte" if layout.group_bytes == 1 else "bytes"
        raise ValueError(
            f"{what} holds {array.nbytes} bytes; {width} x {height} pixels take {needed} "
            f"({layout.group_bytes} {unit} {groups})"
        )
    return array, width, height


def writable_memory(
    out: Any, shape: tuple[int, ...], dtype: np.dtype[Any], source: NDArray[Any]
) -> NDArray[Any]:
    """The memory of `out` as an array of the base class, once it fits; how its rows lie is the caller's to check."""
    if not is_array(out):
        raise TypeError("out must be a NumPy array")
    memory = base_array(out)
    if memory.dtype != dtype:
        raise TypeError(f"out has dtype {dtype_name(memory.dtype)}; expected is {dtype_name(dtype)}")
    if memory.shape != shape:
        raise ValueError(f"out has shape {memory.shape}; expected is {shape}")
    if not memory.flags.writeable:
        raise ValueError("out is read-only")
    if np.may_share_memory(memory, source):
        raise ValueError("out overlaps the frame")
    return memory


def check_out(
    out: Optional[NDArray[Any]], shape: tuple[int, ...], dtype: np.dtype[Any], source: NDArray[Any]
) -> NDArray[Any]:
    """The memory to write to, as an array of the base class: that of `out` once it fits, or a new one.

    A new one holds zeros, as some converters leave a few pixels unwritten.
    """
    if out is None:
        return np.zeros(shape, dtype)
    memory = writable_memory(out, shape, dtype, source)
    if not memory.flags.c_contiguous:
        raise ValueError("out is not C-contiguous")
    return memory
