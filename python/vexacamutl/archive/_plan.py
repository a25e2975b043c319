# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What a conversion is going to make: results, each with the frames that it is made of.

    pictures   one result for each frame, named by the tool's rule
    zarr       one chunk for so many frames
"""
from __future__ import annotations

import hashlib
import json
import os
import tempfile
from typing import Any, Iterator, NamedTuple, Optional, Sequence

from ._archive import Archive
from ._blocks import blocks_of
from ._chunks import ChunkForm, chunk_name, describe_array, form_of, read_picture
from ._errors import InputError, InputOverwriteError, MixedFramesError, NameCollisionError
from ._inputs import Input
from ._manifest import Contents
from ._names import refuse_collisions, result_name
from ._settings import GREY, KINDS, ZARR
from ._tool import RUNNER
from ._worker import Frame, Item


#: What the tool makes for chunks: grey pictures as GREY, others as this.
COLOUR = "ppm"
_UNSUPPORTED = 5


class Planned(NamedTuple):
    """A result: the frames of it, the input that names it, and what it is made of, for the manifest."""

    item: Item
    input: str
    made_of: str


def _number(source: Input, frame: int) -> Optional[int]:
    return None if source.frames == 1 else frame


class Plan:
    """One result for each frame. A task takes so many bytes of frames at most."""

    batch_bytes = 256 << 20
    array: Optional[dict[str, Any]] = None
    chunk: Optional[ChunkForm] = None

    def __init__(self, archive: Archive, kind: str) -> None:
        self._archive, self.kind, self.ending = archive, kind, KINDS[kind]
        self.frames = self.results_expected = len(archive)
        refuse_collisions(archive.inputs, self.ending)

    def results(self) -> Iterator[Planned]:
        """All results, in order."""
        for source, frames in self._archive.runs():
            made_of = f"{source.size} bytes of {source.mtime_ns}"
            for frame in frames:
                number = _number(source, frame)
                item = Item(result_name(source.path, number, self.ending), (Frame(source.path, number),))
                yield Planned(item, source.path, made_of)


class ZarrPlan(Plan):
    """One chunk for so many frames. The pictures of a task are on the disk until their chunks are encoded."""

    batch_bytes = 64 << 20

    def __init__(self, archive: Archive, form: ChunkForm) -> None:
        self._archive, self.chunk = archive, form
        self.ending = self.kind = GREY if len(form.shape) == 2 else COLOUR
        self.frames = len(archive)
        self.results_expected = -(-self.frames // form.frames)
        self.array = describe_array(form, self.frames)

    def results(self) -> Iterator[Planned]:
        """All chunks, in order."""
        assert self.chunk is not None
        sources = {source.path: source for source in self._archive.inputs}
        for i, block in enumerate(blocks_of(self._archive.segments(), self.chunk.frames)):
            stamps = []
            frames = []
            for path, first, count, _ in block:
                source = sources[path]
                stamps.append([path, first, count, source.size, source.mtime_ns])
                frames += [Frame(path, _number(source, frame)) for frame in range(first, first + count)]
            made_of = hashlib.sha256(json.dumps(stamps).encode("ascii")).hexdigest()
            yield Planned(Item(chunk_name(self.chunk, i), tuple(frames)), block[0].path, made_of)


def _probe(tool: str, arguments: Sequence[str], source: Input, frame: int, frames_per_chunk: int) -> ChunkForm:
    """What the tool makes of a frame: it writes grey pictures, and only those, as pgm."""
    number = _number(source, frame)
    part = [] if number is None else [f"--frame={number}"]
    with tempfile.TemporaryDirectory() as folder:
        for kind in GREY, COLOUR:
            path = os.path.join(folder, f"picture.{kind}")
            finished = RUNNER.run(tool, ["convert", *arguments, *part, "--jobs=1", "--", source.path, path])
            if finished.status == 0:
                return form_of(read_picture(path), frames_per_chunk)
            if finished.status != _UNSUPPORTED:
                break
    raise InputError(finished.sentence())


def _zarr_form(archive: Archive, tool: str, arguments: Sequence[str]) -> ChunkForm:
    """The chunks for pictures of this archive, found by converting a frame of each layout."""
    forms: dict[ChunkForm, str] = {}
    tried = set()
    for source, frames in archive.runs():
        if source.layout not in tried:
            tried.add(source.layout)
            form = _probe(tool, arguments, source, frames[0], archive.frames_per_chunk)
            forms.setdefault(form, source.path)
    if len(forms) != 1:
        shown = ", ".join(f"{path} is {form.shape}" for form, path in list(forms.items())[:3])
        raise MixedFramesError(f"one array cannot hold pictures of {len(forms)} shapes" + (f": {shown}" if shown else ""))
    return next(iter(forms))


def make_plan(archive: Archive, to: str, tool: str, arguments: Sequence[str]) -> Plan:
    """The plan of a conversion; an exception where two inputs would become one result, or no array holds all."""
    return ZarrPlan(archive, _zarr_form(archive, tool, arguments)) if to == ZARR else Plan(archive, to)


def survey(plan: Plan, archive: Archive, out: str, contents: Optional[Contents]) -> set[str]:
    """The results that are there already. An exception where one of the others must not be made."""
    there = {entry.name: entry for entry in os.scandir(out)}
    entries = contents.entries if contents is not None else {}
    inputs = {source.identity: source.path for source in archive.inputs}
    done = set()
    for planned in plan.results():
        output = planned.item.output
        entry = entries.get(output)
        if entry is not None and entry.input != planned.input:
            raise NameCollisionError(
                f"{output} was made of {entry.input}; {planned.input} would become the same name (resume=False forgets "
                "what was made)"
            )
        if output not in there:
            continue
        try:
            status = there[output].stat()
        except OSError:  # a link that leads nowhere
            continue
        if (status.st_dev, status.st_ino) in inputs:
            path = inputs[status.st_dev, status.st_ino]
            raise InputOverwriteError(f"{os.path.join(out, output)} is the input {path}; an input is never overwritten")
        if entry is not None and entry.reason is None:
            if entry.made_of == planned.made_of and entry.bytes == status.st_size:
                done.add(output)
    return done
