# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The inputs of an archive: which files, and what the tool says of each.

    paths, globs, folders --> files --> vexacamutl info --json --> Input ... and BadInput with the tool's reason
"""
from __future__ import annotations

import glob
import os
from collections import deque
from typing import Any, Iterable, NamedTuple, Optional, Sequence, Union

from .._frames import RANGES, format_row
from .._formats import FormatLike
from .._numbers import integer
from .._output import Path, checked_path
from ._errors import NoFramesError, SettingError
from ._tool import describe, shown

PathsLike = Union[Path, Iterable[Path]]


class FrameLayout(NamedTuple):
    """How the frames of an input lie in its file."""

    format: str
    code: int
    width: int
    height: int
    stride: int
    offset: int
    frame_bytes: int


class Input(NamedTuple):
    """A file of frames. `size`, `mtime_ns` and `identity` are those of the file when the archive was opened."""

    path: str
    layout: FrameLayout
    frames: int
    size: int
    mtime_ns: int
    identity: tuple[int, int]
    times: Optional[str]


class BadInput(NamedTuple):
    """A file that is no part of the archive, and why."""

    path: str
    reason: str


def layout_options(
    format: Optional[FormatLike],
    width: Optional[int],
    height: Optional[int],
    stride: Optional[int],
    offset: Optional[int],
    shift: int,
    range: str,
) -> tuple[str, ...]:
    """The options of the tool that say how raw files are to be read."""
    options = []
    if format is not None:
        options.append(f"--format={format_row(format).name.decode('ascii')}")
    if (width is None) != (height is None):
        raise SettingError("width and height are given together, or neither")
    if width is not None and height is not None:
        options.append(f"--size={integer(width, 'the width', 1)}x{integer(height, 'the height', 1)}")
    for name, value in (("stride", stride), ("offset", offset)):
        if value is not None and integer(value, f"the {name}", 0, (1 << 63) - 1) > 0:
            options.append(f"--{name}={integer(value, name, 0, (1 << 63) - 1)}")
    if integer(shift, "the shift", 0, 31) > 0:
        options.append(f"--shift={integer(shift, 'the shift')}")
    if range not in RANGES:
        raise SettingError(f"the range must be 'full' or 'limited', not {range!r}")
    return tuple(options)


def _matches(pattern: Path) -> list[str]:
    """A file, a folder, or what a pattern matches; absolute, in the order of names."""
    text = checked_path(pattern)
    if os.path.lexists(text) or not glob.has_magic(text):
        return [os.path.abspath(text)]
    found = sorted(glob.glob(text, recursive=True))
    if not found:
        raise NoFramesError(f"nothing matches {text}")
    return [os.path.abspath(path) for path in found]


def find_paths(paths: PathsLike) -> list[str]:
    """The files and folders of an argument, which is one of them, a pattern, or several of both."""
    if isinstance(paths, (str, bytes, os.PathLike)):
        return _matches(paths)
    try:
        several = list(paths)
    except TypeError:
        raise TypeError(f"the paths must be a path, a pattern or a list of them, not {type(paths).__name__}") from None
    if not several:
        raise NoFramesError("the list of paths is empty")
    return [path for pattern in several for path in _matches(pattern)]


def _names_by_shown(paths: Sequence[str]) -> dict[str, deque[str]]:
    """Files whose names are not UTF-8, by the names that the tool shows, in the order in which it does."""
    names: dict[str, deque[str]] = {}
    for path in paths:
        inside = [os.path.join(path, name) for name in os.listdir(path)] if os.path.isdir(path) else []
        for name in (path, *sorted(inside)):
            if shown(name) != name:
                names.setdefault(shown(name), deque()).append(name)
    return names


def _input_of(found: dict[str, Any], path: str, layouts: dict[FrameLayout, FrameLayout]) -> Input:
    layout = FrameLayout(
        found["format"],
        int(found["code"], 16),
        found["width"],
        found["height"],
        found["stride"],
        found["offset"],
        found["frame_bytes"],
    )
    status = os.stat(path)
    identity = status.st_dev, status.st_ino
    shared = layouts.setdefault(layout, layout)
    return Input(path, shared, found["frames"], status.st_size, status.st_mtime_ns, identity, found["timestamp"])


def find_inputs(tool: str, paths: PathsLike, options: Sequence[str]) -> tuple[list[Input], list[BadInput]]:
    """What can be read, in order, and what cannot."""
    files = find_paths(paths)
    inputs: list[Input] = []
    bad: list[BadInput] = []
    layouts: dict[FrameLayout, FrameLayout] = {}
    names: Optional[dict[str, deque[str]]] = None
    for found in describe(tool, files, options):
        path = found["file"]
        if "\ufffd" in path:
            names = _names_by_shown(files) if names is None else names
            path = names[path].popleft() if names.get(path) else path
        if "reason" in found:
            bad.append(BadInput(path, found["reason"]))
            continue
        try:
            inputs.append(_input_of(found, path, layouts))
        except OSError as error:
            bad.append(BadInput(path, f"cannot read {path}: {error.strerror}"))
    if not inputs:
        more = f" (and {len(bad) - 1} more)" if len(bad) > 1 else ""
        raise NoFramesError(f"no frame can be read: {bad[0].reason}{more}")
    return inputs, bad
