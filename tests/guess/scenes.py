# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Pictures to guess from: drawn ones of several kinds and, where a folder of them is given, photographs.

A picture is an array of rows, columns and red, green, blue from 0 to 1, in light, as a lens would throw it on a sensor.
Nothing here is shared with the library or the guesser.
"""
import pathlib
import struct
import zlib

import numpy as np

KINDS = ("clouds", "objects", "texture", "text", "stripes")


def _clouds(random, height, width, roughness):
    """Noise whose power falls with frequency: what most scenes look like to statistics."""
    fy = np.fft.fftfreq(height)[:, np.newaxis]
    fx = np.fft.rfftfreq(width)[np.newaxis, :]
    frequency = np.hypot(fy, fx)
    frequency[0, 0] = 1
    phase = np.exp(2j * np.pi * random.random(frequency.shape))
    field = np.fft.irfft2(phase / frequency ** roughness, s=(height, width))
    field -= field.min()
    return field / max(field.max(), 1e-12)


def _coloured(random, field):
    """One field in three colours that mostly go together."""
    tint = random.uniform(0.5, 1, 3)
    other = _clouds(random, *field.shape, 1.8)
    mix = random.uniform(-0.3, 0.3, 3)
    return np.clip(field[..., np.newaxis] * tint + other[..., np.newaxis] * mix, 0, 1)


def _clouds_scene(random, height, width):
    return _coloured(random, _clouds(random, height, width, random.uniform(1.2, 2.2)))


def _objects(random, height, width):
    """Discs and blocks with shading before a sky."""
    picture = _clouds_scene(random, height, width) * 0.6 + 0.2
    y, x = np.mgrid[:height, :width]
    for _ in range(random.integers(6, 30)):
        colour = random.uniform(0.05, 1, 3)
        cy, cx = random.uniform(0, height), random.uniform(0, width)
        size = random.uniform(0.03, 0.25) * min(height, width)
        if random.random() < 0.5:
            inside = np.hypot(y - cy, x - cx) < size
        else:
            inside = (abs(y - cy) < size) & (abs(x - cx) < size * random.uniform(0.3, 3))
        shade = 0.7 + 0.3 * np.sin(x / random.uniform(5, 40) + y / random.uniform(5, 40))
        picture = np.where(inside[..., np.newaxis], colour * shade[..., np.newaxis], picture)
    return picture


def _texture(random, height, width):
    """Fine detail everywhere: gravel, leaves, cloth."""
    return _coloured(random, _clouds(random, height, width, random.uniform(0.7, 1.0)))


def _text(random, height, width):
    """Black marks on white paper, lit unevenly."""
    cell = int(random.integers(6, 14))
    stroke = max(cell // 3, 1)
    marks = random.random((height // cell + 1, width // stroke + 1)) < 0.45
    ink = np.kron(marks, np.ones((cell, stroke)))[:height, :width]
    lines = (np.arange(height) // cell % 2 == 0)[:, np.newaxis]
    paper = 0.75 + 0.2 * _clouds(random, height, width, 2.2)
    grey = np.where((ink > 0) & lines, 0.08, paper)
    return grey[..., np.newaxis] * random.uniform(0.85, 1, 3)


def _stripes(random, height, width):
    """A drawn chart: flat patches beside stripes as fine as the sampling allows."""
    y, x = np.mgrid[:height, :width]
    patch = random.random((7, 9, 3))
    picture = patch[np.minimum(y * 7 // height, 6), np.minimum(x * 9 // width, 8)]
    period = np.array([2, 3, 4, 6, 8, 16])[np.minimum(x * 12 // width % 6, 5)]
    fine = np.where((x if random.random() < 0.5 else x + y) % period * 2 < period, 0.95, 0.05)
    striped = (y > height * 0.55) & (y < height * 0.85)
    return np.where(striped[..., np.newaxis], fine[..., np.newaxis], picture)


_DRAWN = {"clouds": _clouds_scene, "objects": _objects, "texture": _texture, "text": _text, "stripes": _stripes}


def _unfiltered(rows, width):
    """PNG's filters taken off 8-bit RGB rows."""
    above = np.zeros(width * 3, np.int64)
    for kind, coded in rows:
        row = coded.astype(np.int64)
        if kind == 2:
            row = row + above
        elif kind in (1, 3, 4):
            out = row.tolist()
            up = above.tolist()
            for i, value in enumerate(out):
                a, b, c = (out[i - 3], up[i], up[i - 3]) if i >= 3 else (0, up[i], 0)
                if kind == 1:
                    guess = a
                elif kind == 3:
                    guess = (a + b) // 2
                else:
                    guess = min((abs(b - c), 0, a), (abs(a - c), 1, b), (abs(a + b - 2 * c), 2, c))[2]
                out[i] = (value + guess) & 255
            row = np.array(out)
        above = row & 255
        yield above


def read_png(path):
    """An 8-bit RGB picture, as numbers from 0 to 255."""
    data = pathlib.Path(path).read_bytes()
    width, height = struct.unpack(">II", data[16:24])
    if data[24:26] != b"\x08\x02" or data[28] != 0:
        raise ValueError(f"{path}: not 8-bit RGB without interlace")
    at, packed = 8, b""
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        packed += data[at + 8:at + 8 + length] if kind == b"IDAT" else b""
        at += 12 + length
    rows = np.frombuffer(zlib.decompress(packed), np.uint8).reshape(height, 1 + 3 * width)
    return np.stack(list(_unfiltered(((row[0], row[1:]) for row in rows), width))).reshape(height, width, 3)


class Photographs:
    """The pictures of a folder, each read once."""

    def __init__(self, folder):
        self.paths = sorted(pathlib.Path(folder).glob("*.png")) if folder else []
        self.read = {}

    def crop(self, random, height, width):
        """A part of one of them; mirrored at its edges where it is too small."""
        path = self.paths[random.integers(len(self.paths))]
        if path not in self.read:
            self.read[path] = (read_png(path) / 255.0) ** 2.2
        picture = self.read[path]
        top = random.integers(max(picture.shape[0] - height, 0) + 1)
        left = random.integers(max(picture.shape[1] - width, 0) + 1)
        part = picture[top:top + height, left:left + width]
        rest = ((0, height - part.shape[0]), (0, width - part.shape[1]), (0, 0))
        return np.pad(part, rest, mode="symmetric")


def picture(random, kind, height, width, photographs=None):
    """A picture of that kind, or a photograph."""
    if kind == "photograph":
        return photographs.crop(random, height, width)
    return _DRAWN[kind](random, height, width)
