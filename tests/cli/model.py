# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Slow and obvious models, written apart from the program: what its results are compared with.
import struct
import zlib

import numpy as np

CELLS = {"GR": "GRBG", "RG": "RGGB", "GB": "GBRG", "BG": "BGGR"}


def random_samples(count, depth, seed=7):
    kind = np.uint8 if depth == 8 else "<u2"
    return np.random.default_rng(seed).integers(0, 1 << depth, count).astype(kind)


def demosaic(samples, phase, depth):
    """The bilinear demosaic: BGR from a (height, width) array. Each missing colour is the truncated mean of the samples
    of that colour among the neighbours: of the four beside the site if any of them has it, else of the diagonal ones."""
    height, width = samples.shape
    colour = [[CELLS[phase][(y % 2) * 2 + x % 2] for x in range(width)] for y in range(height)]
    picture = np.zeros((height, width, 3), np.uint8)
    for y in range(height):
        for x in range(width):
            for c, letter in enumerate("BGR"):
                if colour[y][x] == letter:
                    value = int(samples[y, x])
                else:
                    value = mean_around(samples, colour, x, y, letter)
                picture[y, x, c] = value >> (depth - 8) & 255
    return picture


def mean_around(samples, colour, x, y, letter):
    height, width = samples.shape
    for ring in ([(0, -1), (0, 1), (-1, 0), (1, 0)], [(-1, -1), (-1, 1), (1, -1), (1, 1)]):
        found = [int(samples[y + dy, x + dx]) for dy, dx in ring
                 if 0 <= y + dy < height and 0 <= x + dx < width and colour[y + dy][x + dx] == letter]
        if found:
            return sum(found) // len(found)
    raise AssertionError("no neighbour of this colour")


def yuv_pixel(y, u, v):
    """BGR of one pixel, full range BT.601; the chroma part of each colour is rounded by itself."""
    u, v = u - 128, v - 128
    parts = (1772 * u + 500) // 1000, -((344 * u + 714 * v + 500) // 1000), (1402 * v + 500) // 1000
    return [min(255, max(0, y + part)) for part in parts]


def read_netpbm(data):
    magic, size, most, pixels = data.split(b"\n", 3)
    width, height = map(int, size.split())
    assert most == b"255"
    shape = (height, width, 3) if magic == b"P6" else (height, width)
    assert magic in (b"P5", b"P6")
    return np.frombuffer(pixels, np.uint8).reshape(shape)


def read_grey_words(data):
    """The 16-bit samples of a grey PNG, TIFF or PGM."""
    if data[:2] == b"II":
        tags, pixels = read_tiff(data)
        assert (tags[258], tags[262], tags.get(277, [1])) == ([16], [1], [1])
        return np.frombuffer(pixels, "<u2").reshape(tags[257][0], tags[256][0])
    if data[:2] == b"P5":
        _, size, most, pixels = data.split(b"\n", 3)
        width, height = map(int, size.split())
        assert most == b"65535" and len(pixels) == 2 * width * height
        return np.frombuffer(pixels, ">u2").reshape(height, width)
    (width, height, bits, colour), rows = png_rows(data)
    assert (bits, colour, rows.shape) == (16, 0, (height, 1 + 2 * width))
    return unfiltered(rows, 2).reshape(height, 2 * width).view(">u2")


def read_tiff(data):
    """Tags and pixel bytes of a little-endian TIFF file with one directory and strips that are not compressed."""
    magic, version, at = struct.unpack("<2sHI", data[:8])
    assert (magic, version) == (b"II", 42)
    (count,) = struct.unpack_from("<H", data, at)
    assert struct.unpack_from("<I", data, at + 2 + 12 * count) == (0,)
    tags = {}
    for n in range(count):
        tag, kind, values = struct.unpack_from("<HHI", data, at + 2 + 12 * n)
        code, size = {3: ("H", 2), 4: ("I", 4)}[kind]
        here = at + 10 + 12 * n
        place = here if size * values <= 4 else struct.unpack_from("<I", data, here)[0]
        tags[tag] = list(struct.unpack_from(f"<{values}{code}", data, place))
    assert (tags[259], tags[284]) == ([1], [1])
    return tags, b"".join(data[offset:offset + length] for offset, length in zip(tags[273], tags[279]))


def jpeg_header(data):
    """Height, width, bits and the sampling factors of the components of a JFIF file, and its first table."""
    assert data[:4] == b"\xff\xd8\xff\xe0" and data[6:11] == b"JFIF\0" and data[-2:] == b"\xff\xd9"
    at, table = 2, None
    while data[at + 1] != 0xC0:
        (length,) = struct.unpack_from(">H", data, at + 2)
        if data[at + 1] == 0xDB and table is None:
            table = list(data[at + 5:at + 69])
        at += 2 + length
    bits, height, width, components = struct.unpack_from(">BHHB", data, at + 4)
    return height, width, bits, [data[at + 11 + 3 * n] for n in range(components)], table


def png_rows(data):
    """Width, height, bits and colour type of a PNG, and its rows as they are filtered."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, packed, header = 8, b"", None
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        (checksum,) = struct.unpack(">I", data[at + 8 + length:at + 12 + length])
        assert checksum == zlib.crc32(kind + body)
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        packed += body if kind == b"IDAT" else b""
        at += 12 + length
    width, height, bits, colour = header[:4]
    return header[:4], np.frombuffer(zlib.decompress(packed), np.uint8).reshape(height, -1)


def unfiltered(rows, pixel_bytes):
    """The pixels' bytes, undone of the filters none and sub, which look at the pixel to the left."""
    picture = np.zeros((len(rows), rows.shape[1] - 1), np.uint8)
    for y, row in enumerate(rows):
        assert row[0] in (0, 1)
        pixels = row[1:].reshape(-1, pixel_bytes)
        picture[y] = (np.cumsum(pixels, axis=0, dtype=np.uint8) if row[0] == 1 else pixels).ravel()
    return picture


def read_png(data):
    """An 8-bit PNG as an array in the order of the file (RGB)."""
    (width, height, bits, colour), rows = png_rows(data)
    assert bits == 8
    channels = {0: 1, 2: 3, 6: 4}[colour]
    picture = unfiltered(rows, channels)
    return picture.reshape((height, width, channels) if channels > 1 else (height, width))


def read_bmp(data):
    """The common bitmap, as BGR, BGRA or grey."""
    magic, size, zero, offset = struct.unpack("<2sIII", data[:14])
    header, width, height, planes, bits, compression = struct.unpack("<IiiHHI", data[14:34])
    assert (magic, size, zero, header, planes, compression) == (b"BM", len(data), 0, 40, 1, 0)
    channels = bits // 8
    assert offset == 54 + (1024 if channels == 1 else 0)
    if channels == 1:
        assert data[54:offset] == b"".join(bytes([i, i, i, 0]) for i in range(256))
    stride = (width * channels + 3) // 4 * 4
    rows = np.frombuffer(data[offset:], np.uint8).reshape(height, stride)[::-1, :width * channels]
    return rows.reshape((height, width, channels) if channels > 1 else (height, width))


def read_library_bitmap(data):
    """The library's own bitmap: the same fields, the 32-bit ones twice as wide."""
    magic, size, zero, offset = struct.unpack("<2sQIQ", data[:22])
    header, width, height, planes, bits = struct.unpack("<QQQHH", data[22:50])
    assert (magic, size, zero, header, planes) == (b"BM", len(data), 0, 80, 1)
    channels = bits // 8
    assert offset == 102 + (1024 if channels == 1 else 0)
    stride = (width * channels + 3) // 4 * 4
    rows = np.frombuffer(data[offset:], np.uint8).reshape(height, stride)[::-1, :width * channels]
    return rows.reshape((height, width, channels) if channels > 1 else (height, width))


def rwh(code, width, height, frame):
    return struct.pack("<IIII", code, width, height, (code >> 16 & 255) * width // 8) + bytes(frame)


def pack_bit_stream(samples, depth):
    """10p and 12p: one long number, the first sample in its lowest bits."""
    number = 0
    for n, sample in enumerate(samples):
        number |= int(sample) << (n * depth)
    return number.to_bytes((len(samples) * depth + 7) // 8, "little")


def pack_pairs(samples, depth):
    """10Packed and 12Packed: high bytes outside, low bits between them."""
    low = depth - 8
    packed = bytearray()
    for a, b in zip(samples[::2], samples[1::2]):
        packed += bytes([int(a) >> low, (int(a) & (1 << low) - 1) | (int(b) & (1 << low) - 1) << 4, int(b) >> low])
    return bytes(packed)
