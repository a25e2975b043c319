# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The calls of libVexaCamFrames.so.0: camera buffers with packed samples, padded rows, raw levels.

The library is loaded when it is needed first. It is looked for where VEXACAMUTL_FRAMES_LIBRARY says (and nowhere else,
when it is set), beside libVexaCamUtl_64.so.1, and where that is looked for.
"""
from __future__ import annotations

import ctypes
import functools
import math
import os
from typing import Any, Optional, Sequence, Union

from ._formats import FormatLike, UnsupportedFormatError, format_code
from ._library import LibraryInfo, candidates, check_identity, info_of, library_info, open_library
from ._names import normalised
from ._numbers import flag, integer

FILE_NAME = "libVexaCamFrames.so.0"
ENVIRONMENT_VARIABLE = "VEXACAMUTL_FRAMES_LIBRARY"

OUTPUTS = {"bgra": 0, "bgr": 1, "rgb": 2, "rgba": 3, "grey": 4, "grey16": 5}
RANGES = {"full": 0, "limited": 1}
KINDS = ("mono", "bayer", "colour", "yuv")

_UNKNOWN_FORMAT, _UNSUPPORTED, _NO_MEMORY, _NO_ESTIMATE = 2, 7, 8, 9
_TEXT_BYTES = 256
_ONE = 65536
_MATRIX_ONE = 4096
_GAIN_LIMIT = 16.0
_BILINEAR, _ADAPTIVE, _NO_DEMOSAIC = 0, 1, 2
_LINEAR, _GAMMA, _SRGB = 0, 1, 2

WhiteBalance = Union[str, Sequence[float]]
Tone = Union[str, float]

_u32, _u64 = ctypes.c_uint32, ctypes.c_uint64


class FormatRow(ctypes.Structure):
    """VcfFormat."""

    _fields_ = [
        ("format", _u32), ("name", ctypes.c_char_p), ("aliases", ctypes.c_char_p), ("kind", _u32), ("depth", _u32),
        ("bits_per_pixel", _u32), ("packing", _u32), ("phase", _u32), ("group_pixels", _u32), ("group_bytes", _u32),
        ("unpacked", _u32),
    ]  # fmt: skip


class BufferLayout(ctypes.Structure):
    """VcfLayout."""

    _fields_ = [
        ("format", _u32), ("width", _u32), ("height", _u32), ("range", _u32), ("stride", _u64), ("offset", _u64),
        ("skip", _u64), ("row_width", _u32), ("shift", _u32), ("reserved", _u32 * 4),
    ]  # fmt: skip


class Settings(ctypes.Structure):
    """VcfSettings."""

    _fields_ = [
        ("demosaic", _u32), ("levels", _u32), ("black_level", _u32), ("gain", _u32 * 3), ("exposure", _u32),
        ("tone", _u32), ("gamma", _u32), ("use_matrix", _u32), ("matrix", ctypes.c_int32 * 9), ("reserved", _u32 * 5),
    ]  # fmt: skip


class _Balance(ctypes.Structure):
    """VcfBalance."""

    _fields_ = [
        ("gain", _u32 * 3), ("reserved0", _u32), ("used", _u64), ("clipped", _u64), ("sum", _u64 * 3),
    ]  # fmt: skip


def _declare(library: ctypes.CDLL) -> None:
    pointer, size, text = ctypes.c_void_p, ctypes.c_size_t, [ctypes.c_char_p, ctypes.c_size_t]
    layout, settings = ctypes.POINTER(BufferLayout), ctypes.POINTER(Settings)
    signatures: dict[str, tuple[Any, list[Any]]] = {
        "VcfVersion": (_u32, []),
        "VcfFormatCount": (_u32, []),
        "VcfFormatAt": (ctypes.POINTER(FormatRow), [_u32]),
        "VcfNearestNames": (_u32, [ctypes.c_char_p, *text]),
        "VcfFindFormat": (ctypes.POINTER(FormatRow), [_u32]),
        "VcfInitLayout": (None, [layout, _u32, _u32, _u32]),
        "VcfInitSettings": (None, [settings]),
        "VcfBytesNeeded": (_u64, [layout]),
        "VcfCheckLayout": (_u32, [layout, *text]),
        "VcfUnpack": (_u32, [layout, pointer, size, pointer, size, _u32, *text]),
        "VcfCreateConverter": (_u32, [ctypes.POINTER(pointer), layout, _u32, settings, *text]),
        "VcfDestroyConverter": (None, [pointer]),
        "VcfChangeSettings": (_u32, [pointer, settings, *text]),
        "VcfConvert": (_u32, [pointer, pointer, size, pointer, size, *text]),
        "VcfEstimateBalance": (_u32, [layout, pointer, size, _u32, _u32, ctypes.POINTER(_Balance), *text]),
    }
    for name, (result, arguments) in signatures.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments


@functools.lru_cache(maxsize=None)
def _load() -> tuple[ctypes.CDLL, LibraryInfo]:
    paths = candidates(FILE_NAME, ENVIRONMENT_VARIABLE)
    beside = os.path.join(os.path.dirname(library_info().path), FILE_NAME)
    if not os.environ.get(ENVIRONMENT_VARIABLE) and os.path.exists(beside):
        paths.insert(0, beside)
    library = open_library(paths, FILE_NAME, ENVIRONMENT_VARIABLE)
    try:
        info = info_of(library, "VcfVersion")
        check_identity(info, FILE_NAME)
        _declare(library)
    except AttributeError as error:
        raise ImportError(
            f"{library._name} is not a version of the frames layer that this package can use: {error}"
        ) from error
    return library, info


def library() -> ctypes.CDLL:
    return _load()[0]


def frames_library_info() -> LibraryInfo:
    """Tell which shared library of the frames layer the package calls.

    Returns
    -------
    LibraryInfo
        SONAME, file and build id.

    Raises
    ------
    ImportError
        The library is not installed.

    Examples
    --------
    >>> vcu.frames_library_info().soname
    'libVexaCamFrames.so.0'
    """
    return _load()[1]


def frames_library_version() -> str:
    """Tell the version of the frames layer that is loaded.

    Returns
    -------
    str
        Major, minor and patch number.

    Raises
    ------
    ImportError
        The library is not installed.

    Examples
    --------
    >>> vcu.frames_library_version().startswith("0.")
    True
    """
    version = library().VcfVersion()
    return f"{version >> 16}.{version >> 8 & 255}.{version & 255}"


def check(function: str, *arguments: Any) -> None:
    """Calls a function whose last arguments are a text; a status other than 0 becomes the exception that fits."""
    text = ctypes.create_string_buffer(_TEXT_BYTES)
    status = getattr(library(), function)(*arguments, text, _TEXT_BYTES)
    if status == 0:
        return
    said = text.value.decode("ascii", "replace")
    if status in (_UNKNOWN_FORMAT, _UNSUPPORTED):
        raise UnsupportedFormatError(said)
    if status == _NO_MEMORY:
        raise MemoryError(said)
    raise ValueError(said)


def format_row(format: FormatLike) -> FormatRow:
    """What the frames layer knows of a format."""
    code = format_code(format)
    found = library().VcfFindFormat(code)
    if not found:
        raise UnsupportedFormatError(f"unknown pixel format {code:#010x}")
    row: FormatRow = found.contents
    return row


def nearest_names(wrong: str) -> str:
    """The names nearest to a misspelt one, listed for a sentence; empty if none is near."""
    text = ctypes.create_string_buffer(_TEXT_BYTES)
    library().VcfNearestNames(normalised(wrong).encode("ascii"), text, _TEXT_BYTES)
    return text.value.decode("ascii")


def buffer_layout(
    format: FormatLike, size: tuple[int, int], stride: Optional[int], offset: int, shift: int, range: str
) -> BufferLayout:
    """The layout, once the library finds that it makes sense."""
    if range not in RANGES:
        raise ValueError(f"the range must be 'full' or 'limited', not {range!r}")
    layout = BufferLayout()
    library().VcfInitLayout(layout, format_row(format).format, *size)
    layout.stride = 0 if stride is None else integer(stride, "the stride", 0, (1 << 64) - 1)
    layout.offset = integer(offset, "the offset", 0, (1 << 63) - 1)
    layout.shift = integer(shift, "the shift", 0, 31)
    layout.range = RANGES[range]
    check("VcfCheckLayout", layout)
    return layout


def _real(value: Any, what: str, low: float, high: float) -> float:
    try:
        number = float("not a number" if isinstance(value, (str, bytes)) else value)
    except (TypeError, ValueError):
        raise TypeError(f"{what} must be a number, not {type(value).__name__}") from None
    except OverflowError:  # an integer beyond every float
        raise ValueError(f"{what} must be {low:g} to {high:g}") from None
    if not low <= number <= high:
        raise ValueError(f"{what} must be {low:g} to {high:g}, not {number:g}")
    return number


def _fixed(value: Any, what: str) -> int:
    return math.floor(_real(value, what, 0, _GAIN_LIMIT) * _ONE + 0.5)


def is_automatic(white_balance: Any) -> bool:
    """True for "auto". The comparison of an array of gains with a string would be one of its elements."""
    return isinstance(white_balance, str) and white_balance == "auto"


def _three(values: Any, what: str, of: str = "numbers") -> list[Any]:
    try:
        items = list(values)
    except TypeError:
        items = []
    if isinstance(values, (str, bytes)) or len(items) != 3:
        raise ValueError(f"{what} must be 3 {of}, not {values!r}")
    return items


def _set_tone(settings: Settings, tone: Tone) -> None:
    if isinstance(tone, str):
        if tone not in ("linear", "srgb"):
            raise ValueError(f"the tone must be 'linear', 'srgb' or a gamma, not {tone!r}")
        settings.tone = _LINEAR if tone == "linear" else _SRGB
    else:
        settings.tone = _GAMMA
        settings.gamma = math.floor(_real(tone, "the gamma", 0.1, 10) * 100 + 0.5)


def _set_matrix(settings: Settings, matrix: Any) -> None:
    rows = _three(matrix, "the matrix", "rows of 3 numbers")
    values = [value for row in rows for value in _three(row, "a row of the matrix")]
    settings.use_matrix = 1
    for i, value in enumerate(values):
        settings.matrix[i] = math.floor(_real(value, "a value of the matrix", -8, 8) * _MATRIX_ONE + 0.5)


def make_settings(
    *,
    adaptive: bool,
    bayer: bool,
    white_balance: Optional[WhiteBalance],
    black_level: Optional[int],
    exposure: Optional[float],
    tone: Optional[Tone],
    matrix: Any,
) -> Settings:
    """The settings, with the levels switched on by any of them that is given. Gains of "auto" are set later."""
    settings = Settings()
    library().VcfInitSettings(settings)
    settings.demosaic = _NO_DEMOSAIC if not flag(bayer, "bayer") else _ADAPTIVE if adaptive else _BILINEAR
    settings.levels = int(any(value is not None for value in (white_balance, black_level, exposure, tone)))
    if black_level is not None:
        settings.black_level = integer(black_level, "the black level", 0, 65535)
    if exposure is not None:
        settings.exposure = _fixed(exposure, "the exposure")
    if tone is not None:
        _set_tone(settings, tone)
    if matrix is not None:
        _set_matrix(settings, matrix)
    if isinstance(white_balance, str):
        if not is_automatic(white_balance):
            raise ValueError(f"the white balance must be 'auto' or three gains, not {white_balance!r}")
    elif white_balance is not None:
        for i, gain in enumerate(_three(white_balance, "the white balance")):
            settings.gain[i] = _fixed(gain, "a gain")
    return settings


def set_estimated_gains(settings: Settings, layout: BufferLayout, address: int, length: int) -> None:
    """Grey world over the whole frame; gains of 1 for a frame without a sample that counts."""
    balance = _Balance()
    text = ctypes.create_string_buffer(_TEXT_BYTES)
    black_level = settings.black_level
    status = library().VcfEstimateBalance(layout, address, length, black_level, 1, balance, text, _TEXT_BYTES)
    if status == _NO_ESTIMATE:
        balance.gain[:] = [_ONE] * 3
    elif status != 0:
        error = UnsupportedFormatError if status == _UNSUPPORTED else ValueError
        raise error(text.value.decode("ascii", "replace"))
    settings.gain[:] = balance.gain[:]


def gains_of(settings: Settings) -> tuple[float, float, float]:
    red, green, blue = (gain / _ONE for gain in settings.gain)
    return red, green, blue
