# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Saving pictures and raw frames, loading raw frames.

The library does not report a file that ends early. Here it is an error: the size of the file is compared with what the
header says.
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

from ._arrays import Frame, as_array, base_array, check_size, dimensions_of, dtype_name, is_array, missing_size
from ._formats import BYTE, FormatLike, PixelFormat, bits_per_pixel, frame_layout, pixel_format
from ._library import FILE_IO_ERROR, FILE_OPEN_ERROR, FILE_READ_ERROR, LIBRARY, check_status
from ._numbers import WORD_LIMIT, flag
from ._output import FileBacked, Path, checked_path, write_whole

_RWH_HEADER_BYTES = 16
_BMP_HEADER_BYTES = 102
_BMP_PALETTE_BYTES = 1024

_free = ctypes.CDLL(None).free
_free.argtypes = [ctypes.c_void_p]
_free.restype = None


def _call(function: str, path: str, *arguments: Any) -> None:
    """Calls a file function; its statuses for files become the OSError that errno tells."""
    ctypes.set_errno(0)
    status = getattr(LIBRARY, function)(*arguments)
    if status in (FILE_OPEN_ERROR, FILE_IO_ERROR, FILE_READ_ERROR):
        code = ctypes.get_errno() or errno.EIO
        raise OSError(code, os.strerror(code), path)
    check_status(function, status)


def _check_picture(picture: Any) -> tuple[NDArray[np.uint8], int]:
    """The picture as an array of the base class, and its channels."""
    if not is_array(picture):
        raise TypeError("the picture must be a NumPy array of uint8")
    array = base_array(picture)
    if array.dtype != BYTE:
        raise TypeError(f"the picture has dtype {dtype_name(array.dtype)}; expected is uint8")
    channels = array.shape[2] if array.ndim == 3 else 1
    if array.ndim not in (2, 3) or (array.ndim == 3 and channels not in (3, 4)):
        raise ValueError(
            f"the picture has shape {array.shape}; expected is (height, width), (height, width, 3) or "
            "(height, width, 4)"
        )
    return array, channels


def _check_stride(array: NDArray[np.uint8], row_bytes: int, channels: int) -> int:
    """The distance of rows in bytes, once the library can count with it."""
    height = array.shape[0]
    if height > 0 and not array[0].flags.c_contiguous:
        raise ValueError("the pixels of a row are not contiguous; pass numpy.ascontiguousarray(...) of the picture")
    stride = array.strides[0] if height > 1 else row_bytes
    # In grey pictures the offset of the last row is a 32-bit product.
    last_row_limit = WORD_LIMIT if channels == 1 else 1 << 64
    if not row_bytes <= stride < WORD_LIMIT or stride * max(height - 1, 0) >= last_row_limit:
        raise ValueError(f"rows of {row_bytes} bytes cannot lie {stride} bytes apart; pass a contiguous copy")
    return stride


def save_bmp(picture: NDArray[np.uint8], path: Path, *, overwrite: bool = True) -> None:
    """Save a picture as the library's own bitmap, which has 64-bit header fields that common viewers do not read.

    The file appears whole or not at all; one that it replaces hands on its mode. A file that the picture is mapped
    from is never replaced.

    Parameters
    ----------
    picture : ndarray of uint8
        Shape (height, width, 4) BGRA, (height, width, 3) BGR or (height, width) grey. Rows may lie apart, as in a
        cut-out of a larger picture; the pixels of a row may not.
    path : str, bytes or path-like
        Of the file.
    overwrite : bool
        False refuses to replace a file.

    Raises
    ------
    FileExistsError
        The file exists and `overwrite` is False.
    shutil.SameFileError
        The file holds the picture that would be written to it.
    OSError
        The file could not be written.
    TypeError, ValueError
        The picture does not fit.

    Examples
    --------
    >>> vcu.save_bmp(np.zeros((480, 640, 3), np.uint8), "black.bmp")
    """
    array, channels = _check_picture(picture)
    width, height = check_size(array.shape[1], array.shape[0])
    row_bytes = width * channels
    stride = _check_stride(array, row_bytes, channels)
    size = _BMP_HEADER_BYTES + (_BMP_PALETTE_BYTES if channels == 1 else 0) + (row_bytes + 3) // 4 * 4 * height
    function = {1: "SaveBmpMono_S", 3: "SaveBmpRGB_S", 4: "SaveBmpARGB_S"}[channels]

    def write(name: str) -> None:
        _call(function, name, array.ctypes.data, width, height, stride, os.fsencode(name))

    write_whole(path, array, size, write, flag(overwrite, "overwrite"))


@dataclass(frozen=True)
class RwhHeader:
    """The four words in front of a raw frame. `format` is an int for a code that is not known."""

    format: Union[PixelFormat, int]
    width: int
    height: int
    row_size: int


@dataclass(frozen=True)
class RawFrame(RwhHeader):
    """A raw frame from a file.

    `data` has the shape and type that to_bgra and the others take for this format; (height, row_size) bytes when the
    header contradicts itself or the code is not known.
    """

    data: NDArray[Any]


def save_rwh(
    frame: Frame,
    format: FormatLike,
    path: Path,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
    overwrite: bool = True,
) -> None:
    """Save a raw frame behind a header of 16 bytes.

    The file appears whole or not at all; one that it replaces hands on its mode. A file that the frame was loaded or is
    mapped from is never replaced.

    Parameters
    ----------
    frame : array or bytes-like
        In the shape of the format's layout, or any bytes with `width` and `height` given. Rows of 12 bits per pixel
        take the bits of their width rounded down to bytes.
    format : PixelFormat, int or str
        Of the frame.
    path : str, bytes or path-like
        Of the file.
    width, height : int, optional
        In pixels and rows, where the shape does not have them.
    overwrite : bool
        False refuses to replace a file.

    Raises
    ------
    FileExistsError
        The file exists and `overwrite` is False.
    shutil.SameFileError
        The file holds the frame that would be written to it.
    OSError
        The file could not be written.
    UnsupportedFormatError, TypeError, ValueError
        The format is unknown, or the frame does not fit.

    Examples
    --------
    >>> vcu.save_rwh(np.zeros((1080, 1920), np.uint8), "BayerRG8", "frame.rwh")
    """
    chosen = pixel_format(format)
    layout = frame_layout(chosen)
    array = as_array(frame, "the frame")
    if array.dtype != layout.dtype and not (array.ndim == 1 and array.dtype == BYTE):
        raise TypeError(f"the frame has dtype {dtype_name(array.dtype)}; expected is {dtype_name(layout.dtype)}")
    if width is None or height is None:
        if array.ndim == 1:
            raise ValueError(missing_size("the frame"))
        width, height = dimensions_of(array, layout, "the frame")
    columns, rows = check_size(width, height)
    row_bits = bits_per_pixel(chosen) * columns
    wanted = row_bits // 8 * rows
    if array.nbytes != wanted:
        raise ValueError(f"the frame holds {array.nbytes} bytes; {columns} x {rows} of {chosen.name} take {wanted}")
    if row_bits >= WORD_LIMIT or wanted >= WORD_LIMIT:
        raise ValueError("a file of this kind holds frames of less than 4 GiB, with rows of less than 512 MiB")

    def write(name: str) -> None:
        _call("SaveRWH", name, array.ctypes.data, int(chosen), columns, rows, os.fsencode(name))

    write_whole(path, array, _RWH_HEADER_BYTES + wanted, write, flag(overwrite, "overwrite"))


def _known(code: int) -> Union[PixelFormat, int]:
    try:
        return PixelFormat(code)
    except ValueError:
        return code


def _load(path: str, frame: Optional[ctypes.c_void_p]) -> RwhHeader:
    words = [ctypes.c_uint32() for _ in range(4)]
    block = ctypes.byref(frame) if frame is not None else None
    _call("LoadRWH", path, os.fsencode(path), block, *(ctypes.byref(word) for word in words))
    code, width, height, row_size = (word.value for word in words)
    return RwhHeader(_known(code), width, height, row_size)


def _size_of_file(path: str) -> int:
    """The library reads a folder or a pipe without an error, and finds nothing there or only once."""
    found = os.stat(path)
    if stat.S_ISDIR(found.st_mode):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), path)
    if not stat.S_ISREG(found.st_mode):
        raise OSError(errno.EINVAL, "not a regular file", path)
    return found.st_size


def load_rwh_header(path: Path) -> RwhHeader:
    """Read the header of a raw frame's file.

    Parameters
    ----------
    path : str, bytes or path-like
        Of the file.

    Returns
    -------
    RwhHeader

    Raises
    ------
    ValueError
        The file has less than 16 bytes.
    OSError
        The file could not be read.

    Examples
    --------
    >>> vcu.save_rwh(np.zeros((1080, 1920), np.uint8), "BayerRG8", "frame.rwh")
    >>> vcu.load_rwh_header("frame.rwh")
    RwhHeader(format=<PixelFormat.BayerRG8: 17301513>, width=1920, height=1080, row_size=1920)
    """
    text = checked_path(path)
    found = _size_of_file(text)
    if found < _RWH_HEADER_BYTES:
        raise ValueError(f"{text}: {found} bytes are too few for a header")
    return _load(text, None)


def _expect_readable(path: str, header: RwhHeader) -> None:
    size = header.row_size * header.height
    found = _size_of_file(path)
    if found < _RWH_HEADER_BYTES + size:
        raise ValueError(f"{path}: {found} bytes, but its header says {_RWH_HEADER_BYTES + size}; is it an RWH file?")
    if size >= WORD_LIMIT:
        raise ValueError(f"{path}: frames of 4 GiB or more cannot be loaded")


class _Block(FileBacked):
    """Memory that the library got from malloc, as something that NumPy can look into and that frees itself."""

    def __init__(self, address: int, size: int, path: str) -> None:
        self._address = address
        self.path = path
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
    """Load a raw frame with its header.

    Parameters
    ----------
    path : str, bytes or path-like
        Of the file.

    Returns
    -------
    RawFrame

    Raises
    ------
    ValueError
        The file is shorter than its header says, or its frame has 4 GiB or more.
    OSError
        The file could not be read.

    Examples
    --------
    >>> vcu.save_rwh(np.zeros((1080, 1920), np.uint8), "BayerRG8", "frame.rwh")
    >>> raw = vcu.load_rwh("frame.rwh")
    >>> vcu.to_bgra(raw.data, raw.format).shape
    (1080, 1920, 4)
    """
    text = checked_path(path)
    # The header first: a lying one must not make the library ask for memory that the file cannot fill.
    _expect_readable(text, load_rwh_header(text))
    address = ctypes.c_void_p()
    header = _load(text, address)
    assert address.value is not None, "LoadRWH succeeds with a block, also of no bytes"
    block = _Block(address.value, header.row_size * header.height % WORD_LIMIT, os.path.abspath(text))
    _expect_readable(text, header)
    return RawFrame(header.format, header.width, header.height, header.row_size, _shaped(np.asarray(block), header))
