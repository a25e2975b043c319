# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The tool vexacamutl: where it is, and how it is run.

It is looked for in the argument `tool`, in the environment variable VEXACAMUTL_TOOL and on PATH, in this order; by the
process that opens an archive, and again by each worker that converts.
"""
from __future__ import annotations

import contextlib
import json
import os
import shutil
import signal
import subprocess
import threading
from typing import Any, Iterator, NamedTuple, Optional, Sequence

from ._errors import ArchiveError, SettingError, ToolError

ENVIRONMENT_VARIABLE = "VEXACAMUTL_TOOL"

#: Bytes of file names in one command; Linux permits 2 MiB with the environment.
COMMAND_BYTES = 500_000


def find_tool(given: Optional[str]) -> str:
    """The path of the tool."""
    wanted = given or os.environ.get(ENVIRONMENT_VARIABLE) or "vexacamutl"
    found = shutil.which(wanted)
    if found is not None:
        return os.path.abspath(found)
    if given:
        raise ToolError(f"{given} is not a program; the argument tool must name the tool vexacamutl")
    if wanted != "vexacamutl":
        raise ToolError(f"{wanted} is not a program; {ENVIRONMENT_VARIABLE} must name the tool vexacamutl")
    raise ToolError(
        "the tool vexacamutl was not found: install it (Debian: vexacamutl-tools) so that it is on PATH, name it in "
        f"{ENVIRONMENT_VARIABLE}, or give the argument tool"
    )


class Finished(NamedTuple):
    """How a run of the tool ended; a negative status is a signal."""

    status: int
    output: str
    said: str

    def sentence(self) -> str:
        """What the tool said last, without its name."""
        if self.status < 0:
            return f"the tool was ended by the signal {signal.Signals(-self.status).name}"
        lines = self.said.splitlines() or [f"the tool ended with the status {self.status}"]
        return lines[-1][len("vexacamutl: ") :] if lines[-1].startswith("vexacamutl: ") else lines[-1]


class Stopped(Exception):
    """The run was stopped from outside."""


class Runner:
    """Runs the tool, from any thread, until it is stopped; then the runs under way are ended too."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._running: set[subprocess.Popen[str]] = set()
        self._stopped = False

    def _start(self, command: Sequence[str], folder: Optional[str]) -> subprocess.Popen[str]:
        with self._lock:
            if self._stopped:
                raise Stopped()
            # A session of its own: Ctrl-C is for the process that stops its runs in good order.
            process = subprocess.Popen(
                command,
                cwd=folder,
                stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE,
                stderr=subprocess.PIPE,
                text=True,
                encoding="utf-8",
                errors="surrogateescape",
                start_new_session=True,
            )
            self._running.add(process)
            return process

    def run(self, tool: str, arguments: Sequence[str], folder: Optional[str] = None) -> Finished:
        """Runs the tool to its end."""
        try:
            process = self._start([tool, *arguments], folder)
        except OSError as error:
            if folder is not None and not os.path.isdir(folder):
                raise
            raise ToolError(f"{tool} does not run: {error.strerror}") from None
        try:
            output, said = process.communicate()
        finally:
            with self._lock:
                self._running.discard(process)
        if self._stopped:
            raise Stopped()
        return Finished(process.returncode, output, said)

    def stop(self) -> None:
        """Ends the runs under way; no other one starts."""
        with self._lock:
            self._stopped = True
            for process in self._running:
                with contextlib.suppress(ProcessLookupError):
                    process.kill()


RUNNER = Runner()


def tool_version(tool: str) -> str:
    """Name and version, as the tool tells them."""
    finished = RUNNER.run(tool, ["--version"])
    if finished.status != 0 or not finished.output.startswith("VexaCamUtl "):
        raise ToolError(f"{tool} is not the tool vexacamutl")
    return finished.output.strip()


def in_portions(paths: Sequence[str], limit: int = COMMAND_BYTES) -> Iterator[list[str]]:
    """The paths in order, as many at once as fit on a command line."""
    portion: list[str] = []
    size = 0
    for path in paths:
        size += len(os.fsencode(path)) + 9  # a zero and a pointer
        if portion and size > limit:
            yield portion
            portion, size = [], len(os.fsencode(path)) + 9
        portion.append(path)
    if portion:
        yield portion


def shown(path: str) -> str:
    """A path as the tool writes it into JSON: bytes that are not UTF-8 as U+FFFD."""
    return "".join("\ufffd" if "\udc80" <= c <= "\udcff" else c for c in path)


def _objects(finished: Finished) -> list[dict[str, Any]]:
    try:
        return [json.loads(line) for line in finished.output.splitlines()]
    except ValueError:
        raise ArchiveError("the tool's description of the inputs cannot be read") from None


def describe(tool: str, paths: Sequence[str], layout: Sequence[str]) -> Iterator[dict[str, Any]]:
    """What `vexacamutl info --json` says of each input; folders stand for the raw frames in them."""
    for portion in in_portions(paths):
        finished = RUNNER.run(tool, ["info", "--json", *layout, "--", *portion])
        if finished.status < 0:
            raise ToolError(finished.sentence())
        objects = _objects(finished)
        if not objects and finished.status == 0:
            raise ToolError(f"{tool} is not the tool vexacamutl")
        if not objects:
            raise SettingError(finished.sentence())
        if any("reason" not in found and "timestamp" not in found for found in objects):
            raise ToolError(f"{tool} is older than this package")
        yield from objects
