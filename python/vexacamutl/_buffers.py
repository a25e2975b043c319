# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Camera buffers as the frames layer takes them: an address, a length, and a layout with stride and offset.

    bytes of any kind         width and height given; stride and offset may be
    array of samples          (height, width) or (height, width, samples), rows apart or not: the stride is the array's
    packed rows               (height, bytes) of uint8, width given: the stride is the array's

Nothing is copied.
"""
from __future__ import annotations

from typing import Any, NamedTuple, Optional

import numpy as np
from numpy.typing import NDArray

from . import _frames
from ._arrays import Frame, base_array, dimensions_of, dtype_name, is_array, missing_size, writable_memory
from ._formats import BYTE, WORD, FormatLike, Layout, PixelFormat, format_code, frame_layout
from ._numbers import integer


class Place(NamedTuple):
    """How the bytes lie, for callers that have no shape to tell it."""

    width: Optional[int]
    height: Optional[int]
    stride: Optional[int] = None
    offset: int = 0
    shift: int = 0
    range: str = "full"


class CameraBuffer(NamedTuple):
    """`array` keeps the memory alive. Where that lies is asked for when it is read: a caller's number may be an object
    that resizes the array while it is looked at."""

    array: NDArray[Any]
    layout: _frames.BufferLayout

    @property
    def address(self) -> int:
        return self.array.ctypes.data

    @property
    def length(self) -> int:
        return _span(self.array)


def sample_layout(format: FormatLike) -> Optional[Layout]:
    """The layout of an array of this format's samples; None for packed ones, which no array can show."""
    row = _frames.format_row(format)
    if row.packing != 0:
        return None
    if row.format in PixelFormat.__members__.values():
        return frame_layout(row.format)
    return Layout(BYTE, 2, 4) if row.group_pixels == 2 else Layout(WORD, 1, 1)


def rows_apart(array: NDArray[Any]) -> bool:
    """Whether each row is in one piece and the rows follow each other upwards, with or without a gap."""
    if array.ndim < 2 or array.size == 0:
        return False
    row_bytes = array[0].nbytes
    return bool(array[0].flags.c_contiguous and (array.shape[0] == 1 or array.strides[0] >= row_bytes))


def _span(array: NDArray[Any]) -> int:
    """Bytes from the first to the last one of an array of bytes or of rows."""
    if array.flags.c_contiguous:
        return array.nbytes
    return array.strides[0] * (array.shape[0] - 1) + int(array[0].nbytes)


def _of_bytes(array: NDArray[Any], format: FormatLike, place: Place) -> CameraBuffer:
    if not array.flags.c_contiguous:
        raise ValueError("the frame is not C-contiguous; pass numpy.ascontiguousarray(...) of it")
    if place.width is None or place.height is None:
        raise ValueError(missing_size("the frame"))
    size = integer(place.width, "the width"), integer(place.height, "the height")
    layout = _frames.buffer_layout(format, size, place.stride, place.offset, place.shift, place.range)
    return CameraBuffer(array, layout)


def _size_of(array: NDArray[Any], samples: Optional[Layout], place: Place) -> tuple[int, int]:
    if samples is None:
        if array.ndim != 2 or array.dtype != BYTE:
            raise ValueError("packed frames are bytes, or rows of bytes: an array of uint8 of shape (height, bytes)")
        if place.width is None:
            raise ValueError("the frame has rows of bytes: the width has to be given")
        shown = integer(place.width, "the width"), array.shape[0]
    else:
        if array.dtype != samples.dtype:
            raise TypeError(f"the frame has dtype {dtype_name(array.dtype)}; expected is {dtype_name(samples.dtype)}")
        shown = dimensions_of(array, samples, "the frame")
    for given, found, what in ((place.width, shown[0], "width"), (place.height, shown[1], "height")):
        if given is not None and integer(given, f"the {what}") != found:
            raise ValueError(f"the frame has shape {array.shape}, whose {what} is {found}, not {given}")
    return shown


def camera_buffer(frame: Frame, format: FormatLike, place: Place) -> CameraBuffer:
    """The buffer, once the frames layer finds that the layout makes sense; it checks the length in each call."""
    if not is_array(frame):
        try:
            array = np.frombuffer(frame, np.uint8)
        except (TypeError, ValueError, BufferError) as error:
            raise TypeError(f"the frame must be a NumPy array or a bytes-like object: {error}") from None
        return _of_bytes(array, format, place)
    array = base_array(frame)
    samples = sample_layout(format)
    if array.ndim == 1:
        if array.dtype != BYTE and (samples is None or array.dtype != samples.dtype):
            raise TypeError(f"the frame has dtype {dtype_name(array.dtype)}; expected is uint8")
        return _of_bytes(array, format, place)
    if place.stride is not None or place.offset != 0:
        raise ValueError("stride and offset are for bytes; an array of rows has its own")
    size = _size_of(array, samples, place)
    if not rows_apart(array):
        raise ValueError("the frame's rows are not in one piece each; pass numpy.ascontiguousarray(...) of it")
    row_bytes = int(array[0].nbytes)
    stride = None if array.shape[0] == 1 or array.strides[0] == row_bytes and samples is not None else array.strides[0]
    layout = _frames.buffer_layout(format, size, stride, 0, place.shift, place.range)
    return CameraBuffer(array, layout)


def picture_memory(out: Any, shape: tuple[int, ...], dtype: np.dtype[Any], source: NDArray[Any]) -> NDArray[Any]:
    """The memory to write to: that of `out`, whose rows may lie apart, or a new one."""
    if out is None:
        return np.empty(shape, dtype)
    memory = writable_memory(out, shape, dtype, source)
    if not rows_apart(memory):
        raise ValueError("out is not C-contiguous, nor are its rows")
    return memory


def stride_of(memory: NDArray[Any]) -> int:
    return 0 if memory.shape[0] == 1 else memory.strides[0]


def is_core_format(format: FormatLike) -> bool:
    """Whether libVexaCamUtl_64.so.1 itself converts the format."""
    return format_code(format) in PixelFormat.__members__.values()
