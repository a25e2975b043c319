#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Makes the example pictures of the documentation with the library itself: a small scene is drawn, cut into a mosaic,
# converted, enlarged and written as PNG beside this file. Plain Python, no packages.
#
#   python3 docs/pictures/make_pictures.py LIBRARY            write the pictures
#   python3 docs/pictures/make_pictures.py LIBRARY --check    compare pixel by pixel; status 1 if some differ
#
# LIBRARY is the path of libVexaCamUtl_64.so.1. Pictures are lists of rows, rows lists of (red, green, blue).
"""Example pictures for the documentation."""

import ctypes
import math
import pathlib
import sys

import png

HERE = pathlib.Path(__file__).resolve().parent
WIDTH, HEIGHT = 56, 44
PHASES = {"GR": 0x01080008, "RG": 0x01080009, "GB": 0x0108000A, "BG": 0x0108000B}
GAP = 6


def scene_colour(x, y):
    """The scene at a point: a slanted edge, fine stripes, a disc, thin lines, patches. Coordinates in pixels."""
    if y > 32:
        patches = ((200, 60, 50), (60, 150, 70), (50, 80, 190), (220, 200, 60), (230, 230, 230), (40, 40, 40), (0, 0, 0))
        return patches[int(x / 8) % len(patches)]
    if (x - 12) ** 2 + (y - 11) ** 2 < 64:
        return (210, 70, 60)
    if x > 30 and y < 16:
        level = 128 + 100 * math.cos((x - 30) * (x - 30) * math.pi / 60)
        return (level, level, level)
    if y > 18 and x > 24:
        if 26 < x - (y - 18) * 0.4 < 27.2 or 40 < x < 41:
            return (30, 30, 30)
        return (70, 120, 180) if x - 45 < (y - 18) * 0.7 else (240, 225, 190)
    return (235, 235, 225) if x + 0.25 * y < 29 else (90, 150, 90)


def draw_scene():
    """The scene as a camera without a mosaic would see it: each pixel is the mean of 4 x 4 points."""
    points = [(i + 0.5) / 4 for i in range(4)]
    picture = []
    for y in range(HEIGHT):
        row = []
        for x in range(WIDTH):
            samples = [scene_colour(x + dx, y + dy) for dy in points for dx in points]
            row.append(tuple(min(255, max(0, round(sum(s[k] for s in samples) / 16))) for k in range(3)))
        picture.append(row)
    return picture


def cut_mosaic(picture, phase):
    """One sample per pixel, as a sensor of this phase delivers it."""
    rows = {"GR": ("GR", "BG"), "RG": ("RG", "GB"), "GB": ("GB", "RG"), "BG": ("BG", "GR")}[phase]
    return bytes(row[c]["RGB".index(rows[r % 2][c % 2])] for r, row in enumerate(picture) for c in range(len(row)))


class Library:
    """The few functions that the pictures take."""

    def __init__(self, path):
        self.functions = ctypes.CDLL(str(path))
        self.functions.PrepareLUT()

    def convert(self, pixel_format, frame, width, height, bayer=1, acpi=0):
        """A frame as a picture."""
        bgra = (ctypes.c_uint8 * (width * height * 4))()
        self.functions.SetBayerConvMode(ctypes.c_uint32(acpi))
        status = self.functions.ConvImage(ctypes.c_uint32(0), ctypes.c_uint32(pixel_format), ctypes.c_uint8(bayer),
                                          bgra, frame, ctypes.c_uint32(width), ctypes.c_uint32(height))
        if status != 0:
            raise RuntimeError(f"ConvImage gave status {status}")
        return [[(bgra[i + 2], bgra[i + 1], bgra[i]) for i in range(r * width * 4, (r + 1) * width * 4, 4)]
                for r in range(height)]


def tint_mosaic(frame, phase):
    """The mosaic with each sample in its filter's colour."""
    rows = {"GR": ("GR", "BG"), "RG": ("RG", "GB"), "GB": ("GB", "RG"), "BG": ("BG", "GR")}[phase]
    picture = []
    for r in range(HEIGHT):
        line = []
        for c in range(WIDTH):
            pixel = [0, 0, 0]
            pixel["RGB".index(rows[r % 2][c % 2])] = frame[r * WIDTH + c]
            line.append(tuple(pixel))
        picture.append(line)
    return picture


def enlarge(picture, factor):
    """Every pixel as a square."""
    return [[pixel for pixel in row for _ in range(factor)] for row in picture for _ in range(factor)]


def side_by_side(pictures):
    """A row of pictures of one height on white."""
    return [[pixel for i, picture in enumerate(pictures)
             for pixel in ([(255, 255, 255)] * GAP if i else []) + picture[r]] for r in range(len(pictures[0]))]


def crop(picture, left, top, width, height):
    """A part of a picture."""
    return [row[left:left + width] for row in picture[top:top + height]]


def make_pictures(library):
    """File name -> picture."""
    scene = draw_scene()
    frame = cut_mosaic(scene, "RG")

    def demosaic(code, acpi=0, data=frame):
        return library.convert(code, data, WIDTH, HEIGHT, acpi=acpi)

    right = demosaic(PHASES["RG"])
    adaptive = demosaic(PHASES["RG"], acpi=1)
    grey = library.convert(PHASES["RG"], frame, WIDTH, HEIGHT, bayer=0)
    # The frame as it is with rows padded to 58 bytes, read as if they were 56 bytes long.
    padded = b"".join(frame[r * WIDTH:(r + 1) * WIDTH] + b"\0\0" for r in range(HEIGHT))[:WIDTH * HEIGHT]
    # 12-bit samples named as 10-bit ones: everything above a quarter of the range wraps.
    words = b"".join((sample * 16).to_bytes(2, "little") for sample in frame)
    wrapped = library.convert(0x0110000D, words, WIDTH, HEIGHT)
    unbalanced = cut_mosaic([[(int(r * 0.55), g, int(b * 0.65)) for r, g, b in row] for row in scene], "RG")
    top_edge = (26, 0, 28, 10)
    return {
        "modes.png": side_by_side([enlarge(p, 4) for p in (scene, tint_mosaic(frame, "RG"), right, adaptive)]),
        "modes-detail.png": side_by_side([enlarge(crop(p, 22, 0, 34, 33), 7) for p in (scene, right, adaptive)]),
        "border.png": side_by_side([enlarge(crop(p, *top_edge), 9) for p in (scene, right, adaptive)]),
        "phases.png": side_by_side([enlarge(demosaic(PHASES[p]), 4) for p in ("RG", "GR", "GB", "BG")]),
        "faults.png": side_by_side([enlarge(p, 4) for p in (
            grey, demosaic(PHASES["RG"], data=padded), wrapped, demosaic(PHASES["RG"], data=unbalanced))]),
    }


def main(arguments):
    """Writes or compares; returns the exit status."""
    if len(arguments) not in (1, 2) or arguments[1:] not in ([], ["--check"]):
        print("usage: make_pictures.py LIBRARY [--check]", file=sys.stderr)
        return 2
    pictures = make_pictures(Library(pathlib.Path(arguments[0]).resolve()))
    wrong = []
    for name, picture in pictures.items():
        if arguments[1:] == ["--check"]:
            path = HERE / name
            if not path.exists() or png.read(path) != picture:
                wrong.append(name)
        else:
            png.write(HERE / name, picture)
    for name in wrong:
        print(f"docs/pictures/{name} is not what the library makes", file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
