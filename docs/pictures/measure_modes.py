#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# How near the two demosaic modes come to the truth: cuts a mosaic of each phase from colour pictures, converts it and
# reports the colour peak signal-to-noise ratio in dB (one mean squared error over all three colours, 10 pixels around
# the picture left out, mean of the four phases). Takes Debian's python3-numpy and python3-matplotlib.
#
#   /usr/bin/python3 docs/pictures/measure_modes.py LIBRARY PICTURE.png...
"""Compares both demosaic modes with the pictures that the mosaics were cut from."""

import ctypes
import sys

import matplotlib.image
import numpy

BORDER = 10
PHASES = {"GR8": "GRBG", "RG8": "RGGB", "GB8": "GBRG", "BG8": "BGGR"}


def read_rgb(path):
    """A PNG as height x width x 3 bytes, cut to even sizes."""
    picture = numpy.rint(matplotlib.image.imread(path)[:, :, :3] * 255).astype(numpy.uint8)
    return picture[:picture.shape[0] & ~1, :picture.shape[1] & ~1]


def cut_mosaic(rgb, pattern):
    """One sample per pixel; `pattern` are the colours of the first two rows' first two samples."""
    mosaic = numpy.empty(rgb.shape[:2], numpy.uint8)
    for i, colour in enumerate(pattern):
        mosaic[i // 2::2, i % 2::2] = rgb[i // 2::2, i % 2::2, "RGB".index(colour)]
    return mosaic


def cpsnr(truth, picture):
    """In dB, without the border."""
    inside = slice(BORDER, -BORDER)
    error = (truth.astype(float) - picture.astype(float))[inside, inside]
    return 10 * numpy.log10(255 ** 2 / numpy.mean(error ** 2))


def measure(library, rgb, suffix):
    """The mean over the phases; `suffix` is that of the converter's name."""
    height, width = rgb.shape[:2]
    results = []
    for phase, pattern in PHASES.items():
        mosaic = cut_mosaic(rgb, pattern)
        bgr = numpy.empty((height, width, 3), numpy.uint8)
        converter = getattr(library, f"ConvByr{phase}ToBGR{suffix}")
        converter.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint32]
        if converter(bgr.ctypes.data, mosaic.ctypes.data, width, height) != 0:
            raise RuntimeError(converter.__name__)
        results.append(cpsnr(rgb, bgr[:, :, ::-1]))
    return sum(results) / len(results)


def main(arguments):
    """Prints one line a picture and the mean."""
    library = ctypes.CDLL(arguments[0])
    lines = []
    for path in arguments[1:]:
        rgb = read_rgb(path)
        lines.append((path.rsplit("/", 1)[-1], measure(library, rgb, ""), measure(library, rgb, "ACPI")))
    lines.append(("mean", *(sum(line[k] for line in lines) / len(lines) for k in (1, 2))))
    for name, default, acpi in lines:
        print(f"{name:20} default {default:5.2f} dB   ACPI {acpi:5.2f} dB")


if __name__ == "__main__":
    main(sys.argv[1:])
