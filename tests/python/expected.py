# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What pictures must be, in NumPy: whole arrays, wide integers, no tables."""
from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

Array = NDArray[Any]


def with_alpha(bgr: Array) -> Array:
    return np.concatenate([bgr, np.full(bgr.shape[:2] + (1,), 255, np.uint8)], axis=2)


def grey(samples: Array, shift: int) -> Array:
    """Samples above the depth wrap."""
    return np.repeat(((samples.astype(np.uint32) >> shift) % 256).astype(np.uint8)[..., np.newaxis], 3, axis=2)


def packed(samples: Array, order: str, shift: int) -> Array:
    reduced = ((samples.astype(np.uint32) >> shift) % 256).astype(np.uint8)
    return reduced[..., ::-1] if order == "RGB" else reduced


def yuv(y: Array, u: Array, v: Array) -> Array:
    """Full range BT.601. Green's chroma term is single precision, product by product, and rounded on its own."""
    luma, cu, cv = y.astype(np.float64), u.astype(np.float64) - 128, v.astype(np.float64) - 128
    blue = np.trunc(luma + cu * 1.772 + 0.5)
    red = np.trunc(luma + cv * 1.402 + 0.5)
    term = cv.astype(np.float32) * np.float32(0.714) + cu.astype(np.float32) * np.float32(0.344)
    green = luma - (np.trunc(term.astype(np.float64) + 256.5) - 256)
    return np.clip(np.stack([blue, green, red], axis=-1), 0, 255).astype(np.uint8)


def colours_of_phase(phase: str, height: int, width: int) -> Array:
    """The mosaic's colour at every pixel: 0 blue, 1 green, 2 red."""
    first = ["BGR".index(letter) for letter in phase]
    second = [2 - first[1], 2 - first[0]] if first[0] == 1 else [1, 2 - first[0]]
    return np.tile(np.array([first, second]), (height // 2 + 1, width // 2 + 1))[:height, :width]


def _sum_3x3(plane: Array) -> Array:
    around = np.pad(plane, 1)
    height, width = plane.shape
    return sum(around[r : r + height, c : c + width] for r in range(3) for c in range(3))


def bilinear(mosaic: Array, phase: str, shift: int) -> Array:
    """The mean of a colour's samples among the eight neighbours, where the pixel does not have that colour itself.

    Around a site, the samples of a missing colour are just those that the mean is made of: the four of the cross, the
    four of the diagonals, or the two of a row or a column. Outside the frame there are none.
    """
    height, width = mosaic.shape
    colours = colours_of_phase(phase, height, width)
    wide = mosaic.astype(np.int64)
    channels = []
    for colour in range(3):
        here = (colours == colour).astype(np.int64)
        count = np.maximum(_sum_3x3(here), 1)
        mean = _sum_3x3(wide * here) // (count << shift)
        channels.append(np.where(here == 1, wide >> shift, mean) % 256)
    return np.stack(channels, axis=-1).astype(np.uint8)
