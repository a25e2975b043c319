# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Saving pictures and raw frames, loading raw frames.

The library does not report a write that fails half way (a full disk) nor a file that ends early. Here both are errors:
the size of the file is compared with what it must be.
"""
from __future__ import annotations

import ctypes
import errno
import os
import stat
from dataclasses import dataclass
from typing import Any, Optional, Union

import numpy as np
from numpy.typing import NDArray

from ._arrays import Frame, as_array, check_size, dimensions_of
from ._formats import BYTE, FormatLike, PixelFormat, bits_per_pixel, frame_layout, pixel_format
from ._library import FILE_IO_ERROR, FILE_OPEN_ERROR, FILE_READ_ERROR, LIBRARY, check_status

Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

_RWH_HEADER_BYTES = 16
_BMP_HEADER_BYTES = 102
_BMP_PALETTE_BYTES = 1024

_free = ctypes.CDLL(None).free
_free.argtypes = [ctypes.c_void_p]
_free.restype = None


def _raise_file_error(function: str, status: int, path: Path) -> None:
    if status in (FILE_OPEN_ERROR, FILE_IO_ERROR, FILE_READ_ERROR):
        code = ctypes.get_errno() or errno.EIO
        raise OSError(code, os.strerror(code), os.fsdecode(path))
    check_status(function, status)


def _call(function: str, path: Path, *arguments: Any, path_first: bool = False) -> None:
    encoded = os.fsencode(path)
    if b"\0" in encoded:
        raise ValueError("the path holds a zero byte")
    ctypes.set_errno(0)
    ordered = (encoded, *arguments) if path_first else (*arguments, encoded)
    _raise_file_error(function, getattr(LIBRARY, function)(*ordered), path)


def _expect_size(path: Path, wanted: int) -> None:
    found = os.stat(path)
    if stat.S_ISREG(found.st_mode) and found.st_size != wanted:
        raise OSError(errno.ENOSPC, f"only {found.st_size} of {wanted} bytes were written", os.fsdecode(path))


def save_bmp(picture: NDArray[np.uint8], path: Path) -> None:
    """Saves a picture as the library's own bitmap, which has 64-bit header fields that common viewers do not read.

    picture   uint8, shape (height, width, 4) BGRA, (height, width, 3) BGR or (height, width) grey. Rows may lie apart,
              as in a cut-out of a larger picture; the pixels of a row may not.
    """
    if not isinstance(picture, np.ndarray) or picture.dtype != BYTE:
        raise TypeError("the picture has to be a NumPy array of uint8")
    channels = picture.shape[2] if picture.ndim == 3 else 1
    function = {1: "SaveBmpMono_S", 3: "SaveBmpRGB_S", 4: "SaveBmpARGB_S"}.get(channels)
    if picture.ndim not in (2, 3) or function is None or (picture.ndim == 3 and channels == 1):
        raise ValueError(
            f"the picture has shape {picture.shape}; expected is (height, width), (height, width, 3) or (height, width, 4)"
        )
    height, width = picture.shape[:2]
    check_size(width, height)
    if height > 0 and not picture[0].flags.c_contiguous:
        raise ValueError("the pixels of a row are not contiguous; pass numpy.ascontiguousarray(...) of the picture")
    stride = picture.strides[0] if height > 1 else width * channels
    if not width * channels <= stride < 1 << 32 or (channels == 1 and stride * max(height - 1, 0) >= 1 << 32):
        raise ValueError(f"rows of {width * channels} bytes cannot lie {stride} bytes apart; pass a contiguous copy")
    _call(function, path, picture.ctypes.data, width, height, stride)
    headers = _BMP_HEADER_BYTES + (_BMP_PALETTE_BYTES if channels == 1 else 0)
    _expect_size(path, headers + (width * channels + 3) // 4 * 4 * height)


@dataclass(frozen=True)
class RwhHeader:
    """The four words in front of a raw frame. `format` is a plain int for a code that is not known."""

    format: Union[PixelFormat, int]
    width: int
    height: int
    row_size: int


@dataclass(frozen=True)
class RawFrame(RwhHeader):
    """A raw frame from a file.

    `data` has the shape and type that to_bgra and the others take for this format; (height, row_size) bytes when the
    header does not fit together or the code is not known.
    """

    data: NDArray[Any]


def save_rwh(
    frame: Frame, format: FormatLike, path: Path, *, width: Optional[int] = None, height: Optional[int] = None
) -> None:
    """Saves a raw frame with its header.

    Width and height may be left out where the shape tells them, as in to_bgra. Rows of 12 bits a pixel take the bits of
    their width rounded down to bytes.
    """
    chosen = pixel_format(format)
    layout = frame_layout(chosen)
    array = as_array(frame, "the frame")
    if array.dtype != layout.dtype and not (array.ndim == 1 and array.dtype == BYTE):
        raise TypeError(f"the frame has dtype {array.dtype.str}; expected is {layout.dtype.str}")
    if width is None or height is None:
        if array.ndim == 1:
            raise ValueError("the frame has one dimension: width and height have to be given")
        width, height = dimensions_of(array, layout, "the frame")
    check_size(width, height)
    wanted = bits_per_pixel(chosen) * width // 8 * height
    if array.nbytes != wanted:
        raise ValueError(f"the frame holds {array.nbytes} bytes; {width} x {height} of {chosen.name} take {wanted}")
    _call("SaveRWH", path, array.ctypes.data, int(chosen), width, height)
    _expect_size(path, _RWH_HEADER_BYTES + wanted)


def _known(code: int) -> Union[PixelFormat, int]:
    try:
        return PixelFormat(code)
    except ValueError:
        return code


def _load(path: Path, frame: Optional[ctypes.c_void_p]) -> RwhHeader:
    words = [ctypes.c_uint32() for _ in range(4)]
    block = ctypes.byref(frame) if frame is not None else None
    _call("LoadRWH", path, block, *(ctypes.byref(word) for word in words), path_first=True)
    code, width, height, row_size = (word.value for word in words)
    return RwhHeader(_known(code), width, height, row_size)


def _size_of_file(path: Path) -> int:
    """The library reads a folder or a pipe without complaint, and finds nothing there or only once."""
    found = os.stat(path)
    if stat.S_ISDIR(found.st_mode):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), os.fsdecode(path))
    if not stat.S_ISREG(found.st_mode):
        raise OSError(errno.EINVAL, "not a regular file", os.fsdecode(path))
    return found.st_size


def load_rwh_header(path: Path) -> RwhHeader:
    """The header of a raw frame's file. A file of less than 16 bytes is an error."""
    found = _size_of_file(path)
    if found < _RWH_HEADER_BYTES:
        raise ValueError(f"{os.fsdecode(path)}: {found} bytes are no header")
    return _load(path, None)


def _expect_readable(path: Path, header: RwhHeader) -> None:
    size = header.row_size * header.height
    if size >= 1 << 32:
        raise ValueError(f"{os.fsdecode(path)}: frames of 4 GiB or more cannot be loaded")
    found = _size_of_file(path)
    if found < _RWH_HEADER_BYTES + size:
        raise ValueError(f"{os.fsdecode(path)}: {found} bytes, but its header asks for {_RWH_HEADER_BYTES + size}")


class _Block:
    """Memory that the library got from malloc, as something that NumPy can look into and that frees itself."""

    def __init__(self, address: int, size: int) -> None:
        self._address = address
        self.__array_interface__ = {"version": 3, "typestr": "|u1", "shape": (size,), "data": (address, False)}

    def __del__(self, free: Any = _free) -> None:
        free(self._address)


def _shaped(data: NDArray[np.uint8], header: RwhHeader) -> NDArray[Any]:
    if isinstance(header.format, PixelFormat):
        layout = frame_layout(header.format)
        if header.width % layout.pixels == 0 and layout.frame_bytes(header.width, header.height) == data.size:
            return data.view(layout.dtype).reshape(layout.shape(header.width, header.height))
    return data.reshape(header.height, header.row_size)


def load_rwh(path: Path) -> RawFrame:
    """A raw frame with its header. A file that is shorter than its header says is an error."""
    # The header first: a lying one must not make the library ask for memory that the file cannot fill.
    _expect_readable(path, load_rwh_header(path))
    address = ctypes.c_void_p()
    header = _load(path, address)
    assert address.value is not None, "LoadRWH succeeds with a block, of whatever size"
    data = np.asarray(_Block(address.value, header.row_size * header.height % (1 << 32)))
    _expect_readable(path, header)
    return RawFrame(header.format, header.width, header.height, header.row_size, _shaped(data, header))
