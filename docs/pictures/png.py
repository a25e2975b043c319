# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Writes 8-bit RGB pictures as PNG and reads back the files that it wrote (rows unfiltered, one IDAT chunk). That the
# pixels are compared and not the files keeps a check independent of the compressor's version.
"""PNG, as much as the example pictures need."""

import struct
import zlib

SIGNATURE = b"\x89PNG\r\n\x1a\n"


def _chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def write(path, picture):
    """Writes rows of (red, green, blue)."""
    rows = b"".join(b"\0" + bytes(channel for pixel in row for channel in pixel) for row in picture)
    header = struct.pack(">IIBBBBB", len(picture[0]), len(picture), 8, 2, 0, 0, 0)
    path.write_bytes(SIGNATURE + _chunk(b"IHDR", header) + _chunk(b"IDAT", zlib.compress(rows, 9)) + _chunk(b"IEND", b""))


def read(path):
    """Rows of (red, green, blue) of a file that write() made."""
    data = path.read_bytes()
    width, height = struct.unpack(">II", data[16:24])
    size, kind = struct.unpack(">I4s", data[33:41])
    if data[:8] != SIGNATURE or kind != b"IDAT":
        raise ValueError(f"{path} was not written by this program")
    rows = zlib.decompress(data[41:41 + size])
    if len(rows) != height * (1 + 3 * width):
        raise ValueError(f"{path} was not written by this program")
    return [[tuple(rows[i:i + 3]) for i in range(r * (1 + 3 * width) + 1, (r + 1) * (1 + 3 * width), 3)]
            for r in range(height)]
