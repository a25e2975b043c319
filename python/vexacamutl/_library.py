# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Finds libVexaCamUtl_64.so.1, checks that it is the right one, declares its functions, prepares its tables.

The library is looked for in this order; the first that is there is taken:

1. the file that the environment variable VEXACAMUTL_LIBRARY names (and nothing else, when it is set),
2. libVexaCamUtl_64.so.1 in the folder of this package, or in the lib folder of the tree that it was installed into,
3. libVexaCamUtl_64.so.1 as the loader finds it: LD_LIBRARY_PATH, ldconfig's cache, /usr/lib.

Its SONAME must be the name that this package was written for. A package that brings its own library (a wheel) has the
build id of each in libraries.txt, and a library in its folder must be that very build. Elsewhere any build of the
SONAME is good: it may be newer.

ctypes.CDLL lets go of the interpreter's lock during every call, so other threads run meanwhile.
"""
from __future__ import annotations

import ctypes
import os
import sysconfig
from pathlib import Path
from typing import Any, NamedTuple, Optional

from ._elf import identity

FILE_NAME = "libVexaCamUtl_64.so.1"
ENVIRONMENT_VARIABLE = "VEXACAMUTL_LIBRARY"
PACKAGE = Path(__file__).resolve().parent

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
    """The converters, by the names under which the library exports them."""
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


class LibraryInfo(NamedTuple):
    """A shared library that this process uses."""

    #: The name that programs are linked with; it carries the version of the interface.
    soname: Optional[str]
    #: The file, with links resolved.
    path: str
    #: Differs between any two builds that differ.
    build_id: Optional[str]


class _SymbolInfo(ctypes.Structure):
    _fields_ = [
        ("dli_fname", ctypes.c_char_p),
        ("dli_fbase", ctypes.c_void_p),
        ("dli_sname", ctypes.c_char_p),
        ("dli_saddr", ctypes.c_void_p),
    ]


def info_of(library: ctypes.CDLL, function: str) -> LibraryInfo:
    """Where a loaded library comes from, told by the address of one of its functions."""
    found = _SymbolInfo()
    symbols = ctypes.CDLL(None)
    symbols.dladdr.argtypes = [ctypes.c_void_p, ctypes.POINTER(_SymbolInfo)]
    if symbols.dladdr(ctypes.cast(getattr(library, function), ctypes.c_void_p), ctypes.byref(found)) == 0:
        raise ImportError(f"the loader does not know where {library._name} is")
    path = os.path.realpath(os.fsdecode(found.dli_fname))
    soname, build_id = identity(path)
    return LibraryInfo(soname, path, build_id)


def _made_with(name: str) -> Optional[str]:
    """The build id that the package says its own library has."""
    try:
        lines = (PACKAGE / "libraries.txt").read_text(encoding="ascii").splitlines()
    except FileNotFoundError:
        return None
    return dict(line.split() for line in lines).get(name)


def check_identity(info: LibraryInfo, name: str) -> None:
    """An ImportError for a library of another SONAME, and for another build in the package's own folder."""
    if info.soname is not None and info.soname != name:
        raise ImportError(f"{info.path} is {info.soname}; this package needs {name}")
    wanted = _made_with(name)
    if wanted is not None and Path(info.path).parent == PACKAGE and info.build_id != wanted:
        raise ImportError(
            f"{info.path} is not the build that this package was made with (build id {info.build_id}, expected "
            f"{wanted}): install the package again"
        )


def candidates(name: str, variable: str) -> list[str]:
    """What to try for a library, in this order."""
    named = os.environ.get(variable)
    if named:
        return [named]
    folders = [PACKAGE]
    # PREFIX/lib/python3/dist-packages/vexacamutl
    if len(PACKAGE.parents) > 2 and PACKAGE.parents[2].name == "lib":
        folders += [PACKAGE.parents[2], PACKAGE.parents[2] / (sysconfig.get_config_var("MULTIARCH") or "")]
    return [str(folder / name) for folder in folders if (folder / name).exists()] + [name]


def open_library(paths: list[str], name: str, variable: str) -> ctypes.CDLL:
    """The first of the paths that can be loaded."""
    reasons = []
    for path in paths:
        try:
            return ctypes.CDLL(path, use_errno=True)
        except OSError as error:
            reasons.append(str(error))
    raise ImportError(
        f"{name} was not found: {'; '.join(reasons)}. Install the library (and run ldconfig), or set {variable} to its "
        "full path"
    )


def _load() -> tuple[ctypes.CDLL, LibraryInfo]:
    library = open_library(candidates(FILE_NAME, ENVIRONMENT_VARIABLE), FILE_NAME, ENVIRONMENT_VARIABLE)
    try:
        info = info_of(library, "BitPerPixel")
        check_identity(info, FILE_NAME)
        _declare(library)
    except AttributeError as error:
        raise ImportError(
            f"{library._name} is not a version of the library that this package can use: {error}"
        ) from error
    check_status("PrepareLUT", library.PrepareLUT())
    return library, info


LIBRARY, _INFO = _load()


def library_info() -> LibraryInfo:
    """Tell which shared library the package calls.

    Returns
    -------
    LibraryInfo
        SONAME, file and build id. The version of the package is ``vexacamutl.__version__``.

    Examples
    --------
    >>> vcu.library_info().soname
    'libVexaCamUtl_64.so.1'
    """
    return _INFO
