# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Frames of files as arrays: one frame, or the block of a chunk.

A block is plain data (paths and numbers), so that a scheduler can send it to the worker that reads it. The file is
mapped only while it is read.
"""
from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Any, Iterator, Mapping, NamedTuple, Optional

import numpy as np
from numpy.typing import NDArray

from .._buffers import sample_layout
from .._frames import format_row
from .._stream import Converter, unpack
from ._errors import InputError
from ._inputs import FrameLayout


class Segment(NamedTuple):
    """Frames that follow each other in one file, and how they lie there."""

    path: str
    first: int
    length: int
    layout: FrameLayout


def frame_form(layout: FrameLayout) -> tuple[tuple[int, ...], np.dtype[Any]]:
    """The shape and type that unpack gives a frame."""
    samples = sample_layout(format_row(layout.code).unpacked)
    assert samples is not None, "what a packed format unpacks to has an array"
    return samples.shape(layout.width, layout.height), samples.dtype


def _mapped(segment: Segment) -> NDArray[np.uint8]:
    """The bytes of the frames, one row each."""
    layout = segment.layout
    shape = segment.length, layout.frame_bytes
    try:
        return np.memmap(segment.path, np.uint8, "r", layout.offset + segment.first * layout.frame_bytes, shape)
    except OSError as error:
        raise InputError(error.errno, error.strerror, segment.path) from None
    except ValueError:
        size = os.stat(segment.path).st_size
        raise InputError(
            f"{segment.path}: {size} bytes are too few for frame {segment.first + segment.length - 1} of "
            f"{layout.frame_bytes} bytes"
        ) from None


@dataclass(frozen=True)
class FrameReader:
    """Reads frames of one format and size as samples. `layout` is that of any of them."""

    layout: FrameLayout
    shift: int = 0

    def form(self) -> tuple[tuple[int, ...], np.dtype[Any]]:
        """Shape and type of a frame."""
        return frame_form(self.layout)

    def read(self, segments: tuple[Segment, ...]) -> NDArray[Any]:
        """The frames of all segments, one after another."""
        shape, dtype = self.form()
        frames = np.empty((sum(segment.length for segment in segments), *shape), dtype)
        at = 0
        for segment in segments:
            self._copy(_mapped(segment), segment.layout, frames[at : at + segment.length])
            at += segment.length
        return frames

    def _copy(self, mapped: NDArray[np.uint8], layout: FrameLayout, frames: NDArray[Any]) -> None:
        packed = format_row(layout.code).packing != 0
        if not packed and self.shift == 0 and frames[0].nbytes == layout.frame_bytes:
            frames.reshape(len(frames), -1).view(np.uint8)[:] = mapped
            return
        stride = layout.stride or None
        for frame, row in zip(frames, mapped):
            frame[:] = unpack(
                row, layout.code, width=layout.width, height=layout.height, stride=stride, shift=self.shift
            )


_CHANNELS = {"bgra": 4, "bgr": 3, "rgb": 3, "rgba": 4, "grey": 0, "grey16": 0}


@dataclass(frozen=True)
class PictureReader(FrameReader):
    """Reads frames of one format and size as pictures."""

    to: str = "rgb"
    range: str = "full"
    settings: tuple[tuple[str, Any], ...] = ()

    def converter(self, layout: FrameLayout) -> Converter:
        return Converter(
            layout.code,
            layout.width,
            layout.height,
            self.to,
            stride=layout.stride or None,
            shift=self.shift,
            range=self.range,
            **dict(self.settings),
        )

    def form(self) -> tuple[tuple[int, ...], np.dtype[Any]]:
        channels = _CHANNELS[self.to]
        shape = (self.layout.height, self.layout.width) + ((channels,) if channels else ())
        return shape, np.dtype(np.uint16 if self.to == "grey16" else np.uint8)

    def _copy(self, mapped: NDArray[np.uint8], layout: FrameLayout, frames: NDArray[Any]) -> None:
        convert = self.converter(layout)
        for frame, row in zip(frames, mapped):
            convert(row, out=frame)


@dataclass(frozen=True)
class Block:
    """What a task of a lazy array is told. Not a plain tuple: a scheduler looks for tasks inside those."""

    reader: FrameReader
    segments: tuple[Segment, ...]


def read_block(block: Block) -> NDArray[Any]:
    """What a task of a lazy array does."""
    return block.reader.read(block.segments)


def make_reader(
    layout: FrameLayout, shift: int, range: str, to: Optional[str], settings: Mapping[str, Any]
) -> FrameReader:
    """A reader, once the frames layer accepts the settings."""
    if to is None:
        if settings:
            raise TypeError(f"{next(iter(settings))} is for pictures; name their kind, to='rgb' for example")
        return FrameReader(layout, shift)
    reader = PictureReader(layout, shift, to, range, tuple(settings.items()))
    reader.converter(layout)
    return reader


def blocks_of(segments: Iterator[Segment], frames: int) -> Iterator[tuple[Segment, ...]]:
    """Segments in groups of so many frames; a long one goes into several."""
    block: list[Segment] = []
    room = frames
    for path, first, count, layout in segments:
        while count > 0:
            taken = min(room, count)
            block.append(Segment(path, first, taken, layout))
            first, count, room = first + taken, count - taken, room - taken
            if room == 0:
                yield tuple(block)
                block, room = [], frames
    if block:
        yield tuple(block)
