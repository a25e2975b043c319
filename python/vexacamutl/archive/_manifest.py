# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The manifest of a folder of results: what is there, of which bytes, made of what.

    OUT/.vexacamutl/manifest.jsonl   a line for each run ("run"), each result ("output"), each end of a run ("end")
    OUT/.vexacamutl/lock             held by the one process that converts into OUT
    OUT/.vexacamutl/run-...          files of a run that do not have their names yet; they end with the run

Lines are only added, by one process, and are on the disk before the next batch counts as done. The last line about a
result is the one that holds; a last line that was cut off counts as not written.
"""
from __future__ import annotations

import contextlib
import errno
import fcntl
import json
import os
import shutil
import tempfile
from typing import Any, Iterator, NamedTuple, Optional

from ._errors import ArchiveInUseError, ManifestError

FOLDER = ".vexacamutl"
_NAME = "manifest.jsonl"
_LOCK = "lock"
_RUN = "run-"


class Entry(NamedTuple):
    """What the manifest says of a result. `made_of` tells the inputs and their state then; a reason means failed."""

    bytes: int
    digest: str
    input: str
    made_of: str
    reason: Optional[str]


class Contents(NamedTuple):
    """A manifest: what the last run was, the results, whether that run came to its end, inputs that it could not read."""

    run: dict[str, Any]
    entries: dict[str, Entry]
    ended: bool
    bad: list[tuple[str, str]]


def _folder(out: str) -> str:
    return os.path.join(out, FOLDER)


def manifest_path(out: str) -> str:
    """Where the manifest of a folder is."""
    return os.path.join(_folder(out), _NAME)


def _entry(line: dict[str, Any]) -> Entry:
    return Entry(line["bytes"], line["digest"], line["input"], line["made_of"], line["reason"])


def _whole_lines(path: str) -> Iterator[bytes]:
    with open(path, "rb") as file:
        for line in file:
            if line.endswith(b"\n"):
                yield line


def read_manifest(out: str) -> Optional[Contents]:
    """What a folder's manifest says; None without one."""
    path = manifest_path(out)
    run: Optional[dict[str, Any]] = None
    entries: dict[str, Entry] = {}
    bad: list[tuple[str, str]] = []
    ended = False
    try:
        for text in _whole_lines(path):
            with contextlib.suppress(ValueError, KeyError, TypeError):
                # A line that cannot be read is a result that has to be made again.
                line = json.loads(text)
                if "run" in line:
                    run, ended, bad = dict(line["run"]), False, []
                elif "end" in line:
                    ended = True
                elif "output" in line:
                    entries[line["output"]] = _entry(line)
                else:
                    bad.append((line["input"], line["reason"]))
    except FileNotFoundError:
        return None
    if run is None:
        if os.path.getsize(path) == 0 or not entries:
            return None
        raise ManifestError(f"{path} is damaged: no line names a run; resume=False begins anew")
    return Contents(run, entries, ended, bad)


def _locked(out: str) -> int:
    """A descriptor that holds the lock of a folder, which is made if it does not exist."""
    path = os.path.join(_folder(out), _LOCK)
    while True:
        os.makedirs(_folder(out), exist_ok=True)
        lock = os.open(path, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o666)
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
            if os.path.exists(path) and os.path.samestat(os.fstat(lock), os.stat(path)):
                return lock
        except OSError as error:
            os.close(lock)
            if error.errno in (errno.EWOULDBLOCK, errno.EACCES):
                raise ArchiveInUseError(errno.EWOULDBLOCK, "another process converts into this folder", out) from None
            raise
        os.close(lock)  # the file went with a run that was refused


class Manifest:
    """A folder's manifest, open for adding; one process at a time has it."""

    def __init__(self, out: str) -> None:
        self._out = out
        self._made = not os.path.isdir(out)
        self._lock = _locked(out)
        self._file = -1
        self._size = 0
        self.folder = ""

    def __enter__(self) -> Manifest:
        return self

    def __exit__(self, *_: Any) -> None:
        if self._file >= 0:
            os.close(self._file)
        if self.folder:
            shutil.rmtree(self.folder, ignore_errors=True)
        self._leave_no_trace()
        os.close(self._lock)

    def _leave_no_trace(self) -> None:
        """Of a run that was refused; a folder that holds anything stays."""
        with contextlib.suppress(OSError):
            if not os.path.exists(manifest_path(self._out)):
                os.unlink(os.path.join(_folder(self._out), _LOCK))
                os.rmdir(_folder(self._out))
                if self._made:
                    os.rmdir(self._out)

    def _sync_folder(self) -> None:
        folder = os.open(_folder(self._out), os.O_RDONLY | os.O_DIRECTORY)
        try:
            os.fsync(folder)
        finally:
            os.close(folder)

    def make_folder(self) -> None:
        """The folder of this run, in the place of those that earlier runs left."""
        for name in os.listdir(_folder(self._out)):
            if name.startswith(_RUN):
                shutil.rmtree(os.path.join(_folder(self._out), name), ignore_errors=True)
        self.folder = tempfile.mkdtemp(prefix=_RUN, dir=_folder(self._out))
        os.chmod(self.folder, 0o777 & ~_umask())

    def begin(self, run: dict[str, Any], anew: bool) -> None:
        """Opens the file and adds the line of this run; `anew` forgets the others."""
        path = manifest_path(self._out)
        self._file = os.open(path, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC | (os.O_TRUNC if anew else 0), 0o666)
        self._size = _length_of_whole_lines(path)
        os.ftruncate(self._file, self._size)
        self.add([{"run": run}])
        self._sync_folder()

    def add(self, lines: list[dict[str, Any]]) -> None:
        """Adds lines; they are on the disk afterwards, all or none."""
        text = "".join(json.dumps(line) + "\n" for line in lines).encode("ascii")
        try:
            at = self._size
            while at < self._size + len(text):
                at += os.pwrite(self._file, text[at - self._size :], at)
            os.fsync(self._file)
        except OSError as error:
            with contextlib.suppress(OSError):
                os.ftruncate(self._file, self._size)
            raise OSError(error.errno, error.strerror, manifest_path(self._out)) from None
        self._size += len(text)


def _umask() -> int:
    mask = os.umask(0)
    os.umask(mask)
    return mask


def _length_of_whole_lines(path: str) -> int:
    return sum(map(len, _whole_lines(path)))


def left_over(out: str) -> list[str]:
    """Folders of runs that were killed."""
    with contextlib.suppress(FileNotFoundError):
        return sorted(os.path.join(FOLDER, name) for name in os.listdir(_folder(out)) if name.startswith(_RUN))
    return []
