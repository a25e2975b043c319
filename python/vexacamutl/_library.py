# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Finds libVexaCamUtl_64.so.1, declares its functions, prepares its tables.

The library is looked for in this order; the first that is there is taken:

1. the file that the environment variable VEXACAMUTL_LIBRARY names (and nothing else, when it is set),
2. libVexaCamUtl_64.so.1 in the folder of this package, or in the lib folder of the tree that it was installed into,
3. libVexaCamUtl_64.so.1 as the loader finds it: LD_LIBRARY_PATH, ldconfig's cache, /usr/lib.

ctypes.CDLL lets go of the interpreter's lock during every call, so other threads run meanwhile.
"""
from __future__ import annotations

import ctypes
import os
import sysconfig
from pathlib import Path
from typing import Any

FILE_NAME = "libVexaCamUtl_64.so.1"
ENVIRONMENT_VARIABLE = "VEXACAMUTL_LIBRARY"

SUCCESS = 0
INVALID_PARAMETER = 13
NOT_INITIALIZED = 21
FILE_OPEN_ERROR = 0x2001
FILE_IO_ERROR = 0x2002
FILE_READ_ERROR = 0x2003
UNSUPPORTED_FORMAT = 0xFFFFFFFF

_STATUS_TEXTS = {
    INVALID_PARAMETER: "invalid parameter",
    NOT_INITIALIZED: "the lookup tables are not prepared",
    FILE_OPEN_ERROR: "the file could not be opened",
    FILE_IO_ERROR: "writing the file failed",
    FILE_READ_ERROR: "reading the file failed",
    UNSUPPORTED_FORMAT: "unsupported pixel format",
}


class StatusError(RuntimeError):
    """A call of the library returned a status other than 0; the number is in `status`."""

    def __init__(self, function: str, status: int) -> None:
        super().__init__(f"{function}: {_STATUS_TEXTS.get(status, 'unknown status')} (status {status:#x})")
        self.function = function
        self.status = status

    def __reduce__(self) -> tuple[type[StatusError], tuple[str, int]]:
        """Pickled by what it is made of, as process pools send exceptions."""
        return type(self), (self.function, self.status)


def check_status(function: str, status: int) -> None:
    if status != SUCCESS:
        raise StatusError(function, status)


def converter_names() -> tuple[str, ...]:
    """The 72 converters, by the names under which the library exports them."""
    phases = ("GR", "RG", "GB", "BG")
    sources = [f"Mono{depth}" for depth in ("8", "10", "12", "16", "N")]
    sources += [f"{order}{depth}" for order in ("RGB", "BGR") for depth in ("8P", "10P", "12P", "N")]
    sources += ["YUV411P", "YUV422P", "YUV444P"]
    sources += [f"Byr{phase}{depth}" for phase in phases for depth in ("8", "10", "12", "N")]
    names = [f"Conv{source}To{layout}" for source in sources for layout in ("BGRA", "BGR")]
    names += [f"ConvByr{phase}8To{layout}ACPI" for phase in phases for layout in ("BGRA", "BGR")]
    return tuple(names)


def takes_shift(name: str) -> bool:
    """Whether the converter is a worker, which takes the shift as a fifth argument: an N stands for the depth."""
    return "NTo" in name


def _declare(library: ctypes.CDLL) -> None:
    word, byte, pointer, path = ctypes.c_uint32, ctypes.c_uint8, ctypes.c_void_p, ctypes.c_char_p
    words = ctypes.POINTER(word)
    signatures: dict[str, tuple[Any, list[Any]]] = {
        "BitPerPixel": (word, [word]),
        "DataDepth": (byte, [word]),
        "IsMonochromic": (byte, [word]),
        "IsPixelBayer": (byte, [word]),
        "PrepareLUT": (word, []),
        "SetBayerConvMode": (word, [word]),
        "GetBGRAConverter": (pointer, [word, byte]),
        "GetBGRConverter": (pointer, [word, byte]),
        "ReverseImg": (word, [pointer, pointer, word, word, word, byte, byte]),
        "SaveBmpARGB_S": (word, [pointer, word, word, word, path]),
        "SaveBmpRGB_S": (word, [pointer, word, word, word, path]),
        "SaveBmpMono_S": (word, [pointer, word, word, word, path]),
        "SaveRWH": (word, [pointer, word, word, word, path]),
        "LoadRWH": (word, [path, ctypes.POINTER(pointer), words, words, words, words]),
    }
    for name in converter_names():
        signatures[name] = (word, [pointer, pointer, word, word] + [word] * takes_shift(name))
    for name, (result, arguments) in signatures.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments


def _candidates() -> list[str]:
    named = os.environ.get(ENVIRONMENT_VARIABLE)
    if named:
        return [named]
    package = Path(__file__).resolve().parent
    folders = [package]
    # PREFIX/lib/python3/dist-packages/vexacamutl
    if len(package.parents) > 2 and package.parents[2].name == "lib":
        folders += [package.parents[2], package.parents[2] / (sysconfig.get_config_var("MULTIARCH") or "")]
    return [str(folder / FILE_NAME) for folder in folders if (folder / FILE_NAME).exists()] + [FILE_NAME]


def _open() -> ctypes.CDLL:
    reasons = []
    for candidate in _candidates():
        try:
            return ctypes.CDLL(candidate, use_errno=True)
        except OSError as error:
            reasons.append(str(error))
    raise ImportError(
        f"{FILE_NAME} was not found: {'; '.join(reasons)}. Install the library (and run ldconfig), or set "
        f"{ENVIRONMENT_VARIABLE} to its full path"
    )


def _load() -> ctypes.CDLL:
    library = _open()
    try:
        _declare(library)
    except AttributeError as error:
        raise ImportError(
            f"{library._name} is not a version of the library that this package can use: {error}"
        ) from error
    check_status("PrepareLUT", library.PrepareLUT())
    return library


LIBRARY = _load()
