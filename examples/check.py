#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Gives the examples something to convert and looks at what they made of it; needs nothing but Python.

    check.py ramps FILE.ppm               the first program's picture: red grows to the right, blue downwards
    check.py frame FILE.rwh               a BayerRG8 frame of six bars of one colour each
    check.py lie FILE.rwh                 a header that promises more than its rows hold
    check.py bars FILE.ppm|FILE.png       the picture of that frame: inside a bar every pixel has the bar's colour
    check.py stream PROGRAM               pipes three frames, bars moved by one each, through the program
    check.py refuses PROGRAM ARGUMENT...  the program says why in one line and fails with 1
    check.py mosaic FILE.png FILE.rwh     the picture of some raw frame: every pixel still has its own sample
"""
import struct
import subprocess
import sys
import zlib

BARS = [(255, 0, 0), (0, 255, 0), (0, 0, 255), (200, 120, 40), (17, 17, 17), (250, 240, 230)]  # red, green, blue
GREYS = [400, 800, 1400, 2000, 2800, 3600]  # of 4095
BAR = 16
WIDTH, HEIGHT = BAR * len(BARS), 24
MONO8, RG8 = 0x01080001, 0x01080009
# Which of red, green, blue the pixels of the first two rows hold.
SITES = {RG8: ((0, 1), (1, 2)), MONO8: ((1, 1), (1, 1))}


def mosaic(bars):
    return bytes(bars[x // BAR][SITES[RG8][y % 2][x % 2]] for y in range(HEIGHT) for x in range(WIDTH))


def read_ppm(data):
    magic, size, maximum, pixels = data.split(b"\n", 3)
    assert (magic, maximum) == (b"P6", b"255"), "not a PPM of bytes"
    width, height = map(int, size.split())
    return width, height, 3, pixels


def read_png(data):
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG"
    position, packed = 8, b""
    while position < len(data):
        length, kind = struct.unpack_from(">I4s", data, position)
        chunk = data[position + 8 : position + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlaced = struct.unpack(">IIBBBBB", chunk)
        packed += chunk if kind == b"IDAT" else b""
        position += 12 + length
    assert (depth, interlaced) == (8, 0) and colour in (2, 6), "not a PNG of plain RGB or RGBA bytes"
    channels = 3 if colour == 2 else 4
    return width, height, channels, unfilter(zlib.decompress(packed), width * channels, height, channels)


def unfilter(data, row_size, height, step):
    rows, above = bytearray(), bytes(row_size)
    for y in range(height):
        kind, row = data[y * (row_size + 1)], bytearray(data[y * (row_size + 1) + 1 :][:row_size])
        for i in range(row_size):
            left, up = (row[i - step] if i >= step else 0), above[i]
            corner = above[i - step] if i >= step else 0
            paeth = min((left, up, corner), key=lambda v: abs(left + up - corner - v))
            row[i] = (row[i] + (0, left, up, (left + up) // 2, paeth)[kind]) % 256
        rows += row
        above = row
    return bytes(rows)


def read_picture(path):
    with open(path, "rb") as file:
        data = file.read()
    return read_ppm(data) if path.endswith(".ppm") else read_png(data)


def expect_bars(picture, bars):
    width, height, channels, pixels = picture
    assert (width, height, len(pixels)) == (WIDTH, HEIGHT, WIDTH * HEIGHT * channels), f"size {width} x {height}"
    for y in range(2, HEIGHT - 2):
        for x in (x for x in range(WIDTH) if 3 <= x % BAR < BAR - 3):
            found = tuple(pixels[(y * WIDTH + x) * channels :][:3])
            assert found == bars[x // BAR], f"pixel ({x}, {y}) is {found}, not {bars[x // BAR]}"


def ramps(path):
    width, height, channels, pixels = read_picture(path)
    assert (width, height, len(pixels)) == (640, 480, 640 * 480 * channels), f"size {width} x {height}"
    for y in range(height):
        for x in range(width):
            found = pixels[(y * width + x) * channels :][:3]
            expected = (255 * x / width, 96, 255 * y / height)
            assert all(abs(f - e) < 2 for f, e in zip(found, expected)), f"pixel ({x}, {y}) is {tuple(found)}"


def frame(path):
    with open(path, "wb") as file:
        file.write(struct.pack("<4I", RG8, WIDTH, HEIGHT, WIDTH) + mosaic(BARS))


def packed(path):
    light = (1.0, 0.8, 0.4)  # of red, green, blue
    with open(path, "wb") as file:
        for y in range(HEIGHT):
            row = 0
            for x in range(WIDTH):
                sample = int(GREYS[x // BAR] * light[SITES[RG8][y % 2][x % 2]])
                row |= sample << 12 * x
            file.write(row.to_bytes(WIDTH * 12 // 8, "little") + b"\xee" * 16)


def balanced(path):
    width, height, channels, pixels = read_picture(path)
    assert (width, height) == (WIDTH, HEIGHT), f"size {width} x {height}"
    for y in range(2, HEIGHT - 2):
        for x in (x for x in range(WIDTH) if 3 <= x % BAR < BAR - 3):
            found = pixels[(y * WIDTH + x) * channels :][:3]
            light = GREYS[x // BAR] / 4095  # the largest gain is not red's, so red stays
            expected = 255 * (1.055 * light ** (1 / 2.4) - 0.055)
            assert all(abs(f - expected) < 2 for f in found), f"pixel ({x}, {y}) is {tuple(found)}, not {expected}"


def lie(path):
    with open(path, "wb") as file:
        file.write(struct.pack("<4I", RG8, 1024, 1024, 4) + bytes(4 * 1024))


def bars(path):
    expect_bars(read_picture(path), BARS)


def stream(program):
    turned = [BARS[i:] + BARS[:i] for i in range(3)]
    frames = b"".join(map(mosaic, turned))
    command = [program, hex(RG8), str(WIDTH), str(HEIGHT)]
    bgra = subprocess.run(command, input=frames, stdout=subprocess.PIPE, check=True).stdout
    size = WIDTH * HEIGHT * 4
    assert len(bgra) == 3 * size, f"{len(bgra)} bytes for three pictures"
    for i, wanted in enumerate(turned):
        picture = bytearray(bgra[i * size : (i + 1) * size])
        picture[0::4], picture[2::4] = picture[2::4], picture[0::4]
        assert set(picture[3::4]) == {255}, "alpha is not 255"
        expect_bars((WIDTH, HEIGHT, 4, bytes(picture)), wanted)
    cut = subprocess.run(command, input=frames[:-1], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False)
    assert cut.returncode == 1 and b"ends within a frame" in cut.stderr, "a cut frame went unnoticed"


def refuses(*command):
    result = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False)
    assert result.returncode == 1 and result.stderr.count(b"\n") == 1, f"{result.returncode}, {result.stderr}"


def mosaic_of_picture(picture_path, frame_path):
    width, height, channels, pixels = read_picture(picture_path)
    with open(frame_path, "rb") as file:
        code, *size = struct.unpack("<4I", file.read(16))
        samples = file.read()
    assert size == [width, height, width] and len(samples) == width * height, f"frame of {size}"
    assert len(set(samples)) > 16, "a frame without content proves nothing"
    for i, sample in enumerate(samples):
        channel = SITES[code][i // width % 2][i % width % 2]
        assert pixels[i * channels + channel] == sample, f"pixel {i} has lost its sample"


if __name__ == "__main__":
    commands = {"ramps": ramps, "frame": frame, "lie": lie, "bars": bars, "stream": stream, "refuses": refuses, "mosaic": mosaic_of_picture,
                "packed": packed, "balanced": balanced}
    commands[sys.argv[1]](*sys.argv[2:])
