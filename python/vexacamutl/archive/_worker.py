# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What one task does, in any process of any machine: a batch of frames becomes files.

    vexacamutl convert --> a folder of this attempt, inside the run's folder --> size, digest --> rename --> the result

The run's folder ends with the run. A worker that was thought dead and goes on finds its folder gone: it can neither
write nor rename, so that it cannot undo what a later run does. Attempts of one run make the same bytes.
"""
from __future__ import annotations

import hashlib
import json
import os
import shutil
import signal
import tempfile
import zlib
from dataclasses import dataclass
from typing import Any, Iterator, NamedTuple, Optional, Union

from ._chunks import ChunkForm, encode_chunk
from ._errors import ArchiveError, ToolError
from ._names import result_name
from ._tool import COMMAND_BYTES, RUNNER, Finished, Runner, find_tool, shown, tool_version

_REPORT = "report.jsonl"
_ENDED_FROM_OUTSIDE = (-signal.SIGKILL, -signal.SIGTERM, -signal.SIGINT, -signal.SIGHUP)
_BLOCK = 1 << 20


class Frame(NamedTuple):
    """A frame of a file; `number` is None where the file has this one only."""

    path: str
    number: Optional[int]


class Item(NamedTuple):
    """A result and the frames that it is made of: one, or those of a chunk."""

    output: str
    frames: tuple[Frame, ...]


@dataclass(frozen=True)
class Job:
    """What all batches of a run have in common. `folder` is the run's; `chunk` is given for Zarr."""

    out: str
    folder: str
    tool: Optional[str]
    arguments: tuple[str, ...]
    ending: str
    digest: str
    chunk: Optional[ChunkForm] = None


class Batch(NamedTuple):
    """A task. With `apart` no frame shares a run of the tool with another file."""

    job: Job
    items: tuple[Item, ...]
    apart: bool = False


class Missed(NamedTuple):
    """A frame that was not converted; `killed` when that says nothing about the frame."""

    frame: Frame
    reason: str
    killed: bool = False


class Outcome(NamedTuple):
    """What became of an item; it has no result when frames were missed, except a chunk whose others are there."""

    output: str
    missed: tuple[Missed, ...] = ()
    bytes: int = 0
    digest: str = ""
    seconds: float = 0.0


class RunEnded(ArchiveError):
    """The run's folder is gone, or this worker does not see it."""


class _Staged(NamedTuple):
    path: str
    bytes: int
    crc32: str
    seconds: float


def digest_of(path: str, kind: str) -> str:
    """The digest of a file."""
    crc = 0
    sha = hashlib.sha256()
    with open(path, "rb") as file:
        while block := file.read(_BLOCK):
            if kind == "crc32":
                crc = zlib.crc32(block, crc)
            else:
                sha.update(block)
    return f"{crc:08x}" if kind == "crc32" else sha.hexdigest()


def _calls(frames: list[Frame], apart: bool) -> Iterator[list[Frame]]:
    """Frames that one run of the tool converts: a part of a sequence, or files with different names."""
    call: list[Frame] = []
    names: set[str] = set()
    size = 0
    for frame in frames:
        name, length = shown(os.path.basename(frame.path)), len(os.fsencode(frame.path)) + 9
        if frame.number is not None:
            follows = call and call[-1] == (frame.path, frame.number - 1)
        else:
            fits = not apart and size + length <= COMMAND_BYTES and name not in names
            follows = call and call[-1].number is None and fits
        if call and not follows:
            yield call
            call, names, size = [], set(), 0
        call.append(frame)
        names.add(name)
        size += length
    if call:
        yield call


def _read_report(folder: str) -> list[dict[str, Any]]:
    try:
        with open(os.path.join(folder, _REPORT), encoding="utf-8") as file:
            return [json.loads(line) for line in file]
    except FileNotFoundError:
        return []


def _why_not(finished: Finished, failure: Optional[dict[str, Any]], frame: Frame) -> Missed:
    if failure is not None:
        return Missed(frame, failure["reason"])
    if finished.status == 0:
        return Missed(frame, f"{frame.path}: the file ends before this frame")
    return Missed(frame, f"{frame.path}: {finished.sentence()}", finished.status in _ENDED_FROM_OUTSIDE)


def _staged(job: Job, folder: str, frame: Frame, line: dict[str, Any]) -> Union[_Staged, Missed]:
    path = os.path.join(folder, result_name(frame.path, frame.number, job.ending))
    if "crc32" not in line:
        raise ToolError("the tool vexacamutl is older than this package")
    try:
        found = os.stat(path).st_size
    except FileNotFoundError:
        return Missed(frame, f"{frame.path} holds another number of frames than when it was opened")
    if found != line["bytes"]:
        return Missed(frame, f"only {found} of {line['bytes']} bytes were written")
    return _Staged(path, found, line["crc32"], line["seconds"])


def _run(job: Job, tool: str, call: list[Frame], folder: str, runner: Runner) -> dict[Frame, Union[_Staged, Missed]]:
    os.mkdir(folder)
    arguments = ["convert", *job.arguments, "--jobs=1", "--quiet", f"--report={_REPORT}", "--output-dir=."]
    if call[0].number is not None:
        arguments.append(f"--frames={call[0].number}:{call[0].number + len(call)}")
        paths = [call[0].path]
    else:
        paths = [frame.path for frame in call]
    # In the folder itself: once that is gone, no result can be made in another one of its name.
    finished = runner.run(tool, [*arguments, "--", *paths], folder)
    lines = _read_report(folder)
    done = {(line["input"], line["frame"]): line for line in lines if line["status"] == "done"}
    failures = {line["input"]: line for line in lines if line["status"] == "failed"}
    results: dict[Frame, Union[_Staged, Missed]] = {}
    for frame in call:
        line = done.get((shown(frame.path), frame.number or 0))
        if line is not None:
            results[frame] = _staged(job, folder, frame, line)
        else:
            results[frame] = _why_not(finished, failures.get(shown(frame.path)), frame)
    return results


def _place(job: Job, item: Item, path: str) -> Optional[str]:
    """Gives a staged file its name; what went wrong, if anything did."""
    target = os.path.join(job.out, item.output)
    try:
        os.replace(path, target)
    except OSError as error:
        if not os.path.isdir(job.folder):
            raise RunEnded(f"{job.folder} is gone") from None
        return f"cannot write {target}: {error.strerror}"
    return None


def _deliver(job: Job, item: Item, staged: _Staged) -> Outcome:
    digest = staged.crc32 if job.digest == "crc32" else digest_of(staged.path, job.digest)
    wrong = _place(job, item, staged.path)
    if wrong is not None:
        return Outcome(item.output, tuple(Missed(frame, wrong) for frame in item.frames))
    return Outcome(item.output, (), staged.bytes, digest, staged.seconds)


def _deliver_chunk(job: Job, item: Item, results: dict[Frame, Union[_Staged, Missed]], folder: str) -> Outcome:
    """A chunk with the frames that there are; the others are zeros, and are named."""
    assert job.chunk is not None
    pictures = {frame: one.path for frame, one in results.items() if isinstance(one, _Staged)}
    path = os.path.join(folder, item.output)
    try:
        wrong = encode_chunk(job.chunk, [pictures.get(frame) for frame in item.frames], path)
        size, digest = os.stat(path).st_size, digest_of(path, job.digest)
    except OSError as error:
        reason = f"cannot write {item.output}: {error.strerror}"
        return Outcome(item.output, tuple(Missed(frame, reason) for frame in item.frames))
    missed = [one for frame in item.frames if isinstance(one := results[frame], Missed)]
    missed += [Missed(item.frames[i], f"{item.frames[i].path}: {reason}") for i, reason in wrong]
    misplaced = _place(job, item, path)
    if misplaced is not None:
        return Outcome(item.output, tuple(Missed(frame, misplaced) for frame in item.frames))
    seconds = sum(one.seconds for one in results.values() if isinstance(one, _Staged))
    return Outcome(item.output, tuple(missed), size, digest, seconds)


def _make_folder(job: Job) -> str:
    try:
        return tempfile.mkdtemp(dir=job.folder)
    except FileNotFoundError:
        raise RunEnded(f"{job.folder} is gone, or is not seen from here") from None


def convert_batch(batch: Batch, runner: Runner = RUNNER) -> list[Outcome]:
    """Converts a batch; frames that fail do not keep the others from their results."""
    job = batch.job
    tool = find_tool(job.tool)
    folder = _make_folder(job)
    results: dict[Frame, Union[_Staged, Missed]] = {}
    outcomes = []
    try:
        frames = [frame for item in batch.items for frame in item.frames]
        for number, call in enumerate(_calls(frames, batch.apart)):
            results.update(_run(job, tool, call, os.path.join(folder, str(number)), runner))
        for item in batch.items:
            missed = tuple(one for frame in item.frames if isinstance(one := results[frame], Missed))
            if job.chunk is not None and (batch.apart or not missed):
                own = {frame: results[frame] for frame in item.frames}
                outcomes.append(_deliver_chunk(job, item, own, folder))
            elif missed:
                outcomes.append(Outcome(item.output, missed))
            else:
                staged = results[item.frames[0]]
                assert isinstance(staged, _Staged)
                outcomes.append(_deliver(job, item, staged))
    except FileNotFoundError as error:
        raise RunEnded(f"{error.filename} is gone") from None
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    return outcomes


def check_worker(job: Job) -> tuple[str, str]:
    """("good", version of the tool), or ("bad", what this worker lacks)."""
    try:
        version = tool_version(find_tool(job.tool))
    except ToolError as error:
        return "bad", str(error)
    if not os.path.isdir(job.folder):
        return "bad", f"it does not see {job.out}; workers need the folder under the same name"
    return "good", version
