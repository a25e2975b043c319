# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What a shared object says about itself: its SONAME, and the build id that tells two builds apart.

    ELF header --> program headers --> PT_DYNAMIC: DT_SONAME, an offset into the string table (DT_STRTAB)
                                   --> PT_NOTE:    | name size | data size | type | "GNU\\0" | build id |
"""
from __future__ import annotations

import struct
from typing import Iterator, NamedTuple, Optional

_PT_LOAD, _PT_DYNAMIC, _PT_NOTE = 1, 2, 4
_DT_STRTAB, _DT_SONAME = 5, 14
_NT_GNU_BUILD_ID = 3


class Identity(NamedTuple):
    """None for what the object does not say."""

    soname: Optional[str]
    build_id: Optional[str]


class _Segment(NamedTuple):
    type: int
    offset: int
    address: int
    size: int


def _segments(data: bytes) -> Iterator[_Segment]:
    table, = struct.unpack_from("<Q", data, 32)
    size, count = struct.unpack_from("<HH", data, 54)
    for start in range(table, table + size * count, size):
        type_, _, offset, address, _, file_size = struct.unpack_from("<IIQQQQ", data, start)
        yield _Segment(type_, offset, address, file_size)


def _soname(data: bytes, segments: list[_Segment]) -> Optional[str]:
    tags: dict[int, int] = {}
    for segment in segments:
        if segment.type == _PT_DYNAMIC:
            entries = data[segment.offset : segment.offset + segment.size // 16 * 16]
            tags.update((tag, value) for tag, value in struct.iter_unpack("<QQ", entries))
    if _DT_SONAME not in tags or _DT_STRTAB not in tags:
        return None
    for segment in segments:
        within = tags[_DT_STRTAB] - segment.address
        if segment.type == _PT_LOAD and 0 <= within < segment.size:
            start = segment.offset + within + tags[_DT_SONAME]
            return data[start : data.index(b"\0", start)].decode("ascii")
    return None


def _padded(size: int) -> int:
    return (size + 3) & ~3


def _build_id(data: bytes, segments: list[_Segment]) -> Optional[str]:
    for segment in segments:
        start, end = segment.offset, segment.offset + segment.size
        while segment.type == _PT_NOTE and start + 12 <= end:
            name_size, size, type_ = struct.unpack_from("<III", data, start)
            name = start + 12
            found = name + _padded(name_size)
            if type_ == _NT_GNU_BUILD_ID and data[name : name + name_size] == b"GNU\0":
                return data[found : found + size].hex()
            start = found + _padded(size)
    return None


def identity(path: str) -> Identity:
    """The identity of a file; of one that is not a 64-bit little-endian ELF object, nothing."""
    try:
        with open(path, "rb") as file:
            data = file.read()
        if data[:6] != b"\x7fELF\x02\x01":
            return Identity(None, None)
        segments = list(_segments(data))
        return Identity(_soname(data, segments), _build_id(data, segments))
    except (OSError, OverflowError, struct.error, ValueError):
        return Identity(None, None)
