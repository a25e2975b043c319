# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Files that appear whole or not at all, and never in the place of the file that the data comes from.

    whole_file --> temporary name beside the result --> the library writes --> size compared --> rename

The library does not report a write that fails half way (a full disk); the size shows it. What is not a regular file
(a pipe, /dev/full) and a descriptor of this process (/dev/stdout) cannot be renamed onto: they get the bytes of a file
in the folder for temporary files.
"""
from __future__ import annotations

import contextlib
import errno
import os
import secrets
import shutil
import stat
import tempfile
from typing import Any, Callable, Iterator, Optional, Union

import numpy as np
from numpy.typing import NDArray

from ._arrays import is_array

Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]


class FileBacked:
    """Memory that was read from a file: the writers refuse to replace that file with it."""

    path: str


def checked_path(path: Path) -> str:
    """The path as text; a number, which os.stat would take for a descriptor, is refused."""
    text = os.fsdecode(path)
    if "\0" in text:
        raise ValueError("the path holds a zero byte")
    if text == "":
        raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), text)
    return text


def _mapped_files(low: int, high: int) -> Iterator[str]:
    """Files that the kernel has mapped somewhere between two addresses."""
    with contextlib.suppress(OSError), open("/proc/self/maps", encoding="utf-8", errors="surrogateescape") as maps:
        for line in maps:
            fields = line.rstrip("\n").split(maxsplit=5)
            start, end = (int(text, 16) for text in fields[0].split("-"))
            if len(fields) == 6 and fields[5].startswith("/") and start < high and low < end:
                yield fields[5].replace("\\012", "\n")


def _base_of(value: Any) -> Any:
    """Whose memory an array shows; a `base` of any other making may be anything, even the object itself."""
    return vars(np.ndarray)["base"].__get__(value) if is_array(value) else None


def _sources(array: NDArray[Any]) -> Iterator[str]:
    """Files that hold the very bytes of an array, or held them when they were read."""
    reach = sum(stride * (count - 1) for stride, count in zip(array.strides, array.shape)) if array.size else 0
    yield from _mapped_files(array.ctypes.data, array.ctypes.data + reach + array.itemsize)
    owner: Any = array
    while owner is not None:
        if isinstance(owner, FileBacked):
            yield owner.path
        if isinstance(owner, np.memmap) and owner.filename is not None:
            yield os.fsdecode(owner.filename)
        owner = owner.obj if isinstance(owner, memoryview) else _base_of(owner)


def _same_file(a: os.stat_result, path: str) -> bool:
    with contextlib.suppress(OSError):
        return os.path.samestat(a, os.stat(path))
    return False


def _refuse_source(path: str, found: os.stat_result, data: NDArray[Any]) -> None:
    if any(_same_file(found, source) for source in _sources(data)):
        raise shutil.SameFileError(errno.EINVAL, "the file holds the data that would be written to it", path)


def _status_of(path: str) -> Optional[os.stat_result]:
    try:
        return os.stat(path)
    except FileNotFoundError:
        return None


def _take_over(descriptor: int, replaced: os.stat_result) -> None:
    """Gives a new file the owner and the mode of the one that it replaces, as far as the system allows.

    Where the owner cannot be kept, the group is tried; set-user-id bits stay with their owner only.
    """
    kept = 0o7777
    try:
        os.fchown(descriptor, replaced.st_uid, replaced.st_gid)
    except PermissionError:
        kept = 0o777
        with contextlib.suppress(PermissionError):
            os.fchown(descriptor, -1, replaced.st_gid)
    os.fchmod(descriptor, stat.S_IMODE(replaced.st_mode) & kept)


def _expect_size(path: str, shown: str, wanted: int) -> None:
    found = os.stat(path).st_size
    if found != wanted:
        raise OSError(errno.ENOSPC, f"only {found} of {wanted} bytes were written", shown)


def _place(temporary: str, path: str, overwrite: bool) -> None:
    if overwrite:
        os.replace(temporary, path)
        return
    # Unlike a rename a link fails when the name has appeared meanwhile.
    try:
        os.link(temporary, path)
    except FileExistsError:
        raise FileExistsError(errno.EEXIST, os.strerror(errno.EEXIST), path) from None
    except OSError:  # a file system without hard links
        os.close(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600))
        try:
            os.replace(temporary, path)
        except BaseException:
            os.unlink(path)
            raise
    else:
        os.unlink(temporary)


def _write_regular(
    path: str, replaced: Optional[os.stat_result], size: int, write: Callable[[str], None], overwrite: bool
) -> None:
    # A link stays a link: the file that it leads to is replaced.
    target = os.path.realpath(path)
    folder, name = os.path.split(target)
    temporary = os.path.join(folder, f".{name[:200]}.{secrets.token_hex(4)}.part")
    try:
        descriptor = os.open(temporary, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o666)
    except OSError as error:
        raise OSError(error.errno, error.strerror, path) from None
    try:
        try:
            write(temporary)
            _expect_size(temporary, path, size)
            if replaced is not None:
                _take_over(descriptor, replaced)
        finally:
            os.close(descriptor)
        _place(temporary, target, overwrite)
    except BaseException:
        with contextlib.suppress(OSError):
            os.unlink(temporary)
        raise


def _descriptor(path: str) -> Optional[int]:
    """The descriptor of this process that a path stands for, as /dev/stdout and /dev/fd/3 do."""
    for _ in range(40):  # as many links as the kernel follows
        folder, name = os.path.split(path)
        folder = os.path.realpath(folder)
        if folder == f"/proc/{os.getpid()}/fd" and name.isdecimal():
            return int(name)
        path = os.path.join(folder, name)
        if not os.path.islink(path):
            break
        path = os.path.join(folder, os.readlink(path))
    return None


def _write_through(path: str, descriptor: Optional[int], size: int, write: Callable[[str], None]) -> None:
    with tempfile.TemporaryDirectory() as folder:
        temporary = os.path.join(folder, "whole")
        write(temporary)
        _expect_size(temporary, path, size)
        try:
            # A second descriptor of the same opening goes on where the first one stands.
            opened: Union[str, int] = path if descriptor is None else os.dup(descriptor)
            with open(temporary, "rb") as source, open(opened, "wb") as target:
                shutil.copyfileobj(source, target, 1 << 20)
        except OSError as error:
            raise OSError(error.errno, error.strerror, path) from None


def write_whole(path: Path, data: NDArray[Any], size: int, write: Callable[[str], None], overwrite: bool) -> None:
    """Calls write(name) with the name to write to, and makes its file, of `size` bytes, the one at `path`.

    `data` is the array that is written: a file that holds it is not replaced.
    """
    text = checked_path(path)
    if not overwrite and os.path.lexists(text):
        raise FileExistsError(errno.EEXIST, os.strerror(errno.EEXIST), text)
    found = _status_of(text)
    if text.endswith("/") or (found is not None and stat.S_ISDIR(found.st_mode)):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), text)
    if found is not None:
        _refuse_source(text, found, data)
    descriptor = _descriptor(text)
    if descriptor is None and (found is None or stat.S_ISREG(found.st_mode)):
        _write_regular(text, found, size, write, overwrite)
    else:
        _write_through(text, descriptor, size, write)
