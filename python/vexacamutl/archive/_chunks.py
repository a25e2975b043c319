# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Chunks of a Zarr array (version 2): pictures of the tool, one after another, compressed into one file.

A chunk is a file of its own, named by its place, "3.0.0.0"; it is moved there when it is whole, as every result is.
"""
from __future__ import annotations

import json
import os
import re
from dataclasses import dataclass
from typing import Any, Optional, Sequence

import numpy as np
from numpy.typing import NDArray

from . import _optional

#: Chunks hold no more than this, unless a single frame does: a worker has two of them in memory.
CHUNK_BYTES = 16 << 20
LEVEL = 1

_HEADER = re.compile(rb"(P[56])\n(\d+) (\d+)\n(\d+)\n")


@dataclass(frozen=True)
class ChunkForm:
    """A chunk: so many pictures of one shape. `dtype` is NumPy's text."""

    frames: int
    shape: tuple[int, ...]
    dtype: str


def read_picture(path: str) -> NDArray[Any]:
    """A PPM or PGM file of the tool: (height, width) or (height, width, 3); 16 bits in this machine's order."""
    with open(path, "rb") as file:
        content = file.read()
    header = _HEADER.match(content)
    assert header is not None, "the tool writes this header"
    shape = (int(header[3]), int(header[2])) + ((3,) if header[1] == b"P6" else ())
    stored = np.dtype(">u2" if int(header[4]) > 255 else "|u1")
    return np.frombuffer(content, stored, offset=header.end()).reshape(shape)


def form_of(picture: NDArray[Any], frames_per_chunk: int) -> ChunkForm:
    """Chunks for pictures like this one."""
    most = max(1, CHUNK_BYTES // max(1, picture.nbytes))
    dtype = "<u2" if picture.dtype.itemsize == 2 else "|u1"
    return ChunkForm(min(frames_per_chunk, most), picture.shape, dtype)


def chunk_name(form: ChunkForm, number: int) -> str:
    """The file of a chunk."""
    return ".".join(map(str, (number, *(0 for _ in form.shape))))


def encode_chunk(form: ChunkForm, pictures: Sequence[Optional[str]], path: str) -> list[tuple[int, str]]:
    """Writes a chunk; a picture that is absent, or of another shape (returned with the reason), is zeros."""
    chunk = np.zeros((form.frames, *form.shape), form.dtype)
    wrong = []
    for i, name in enumerate(pictures):
        if name is None:
            continue
        picture = read_picture(name)
        if picture.shape != form.shape or picture.dtype.itemsize != chunk.dtype.itemsize:
            wrong.append((i, f"a picture of shape {picture.shape}; the array has pictures of shape {form.shape}"))
        else:
            chunk[i] = picture
        os.unlink(name)
    encoded = _optional.module("numcodecs").Zstd(LEVEL).encode(chunk)
    with open(path, "wb") as file:
        file.write(encoded)
    return wrong


def describe_array(form: ChunkForm, frames: int) -> dict[str, Any]:
    """What the array's own file says."""
    return {
        "chunks": [form.frames, *form.shape],
        "compressor": {"id": "zstd", "level": LEVEL},
        "dtype": form.dtype,
        "fill_value": 0,
        "filters": None,
        "order": "C",
        "shape": [frames, *form.shape],
        "zarr_format": 2,
    }


def make_array(out: str, form: ChunkForm, frames: int, folder: str) -> None:
    """Writes the files that make a folder of chunks an array, by way of another folder."""
    dimensions = ["frame", "y", "x", "channel"][: 1 + len(form.shape)]
    for name, content in ((".zattrs", {"_ARRAY_DIMENSIONS": dimensions}), (".zarray", describe_array(form, frames))):
        path = os.path.join(folder, name)
        with open(path, "w", encoding="ascii") as file:
            json.dump(content, file, indent=4)
        os.replace(path, os.path.join(out, name))
