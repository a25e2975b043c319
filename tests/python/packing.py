# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Camera buffers made in NumPy: samples to packed bits, rows with padding. One bit at a time, nothing clever."""
from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

Array = NDArray[Any]


def _bits_low_first(samples: Array, depth: int) -> Array:
    """All bits of all samples as one string, least significant first (10p, 12p)."""
    flat = samples.ravel().astype(np.uint32)
    bits = (flat[:, np.newaxis] >> np.arange(depth)) & 1
    return np.packbits(bits.ravel().astype(np.uint8), bitorder="little")


def _groups(samples: Array, per_group: int) -> Array:
    flat = samples.ravel().astype(np.uint32)
    return np.pad(flat, (0, -len(flat) % per_group)).reshape(-1, per_group)



def _bytes(columns: list[Array]) -> Array:
    return np.stack(columns, axis=-1).astype(np.uint8).ravel()


def pack(samples: Array, name: str) -> Array:
    """A run of samples as the bytes of the layout that the name ends with."""
    depth = 10 if "10" in name else 12
    low = (1 << depth - 8) - 1
    if name.endswith("p"):
        return _bits_low_first(samples, depth)
    if name.endswith("Packed"):
        a, b = _groups(samples, 2).T
        middle = (b & low) << 4 | (a & low)
        return _bytes([a >> depth - 8, middle, b >> depth - 8])
    assert name.endswith("CSI2")
    if depth == 12:
        a, b = _groups(samples, 2).T
        return _bytes([a >> 4, b >> 4, (b & low) << 4 | (a & low)])
    a, b, c, d = _groups(samples, 4).T
    last = (d & 3) << 6 | (c & 3) << 4 | (b & 3) << 2 | (a & 3)
    return _bytes([a >> 2, b >> 2, c >> 2, d >> 2, last])


def pack_rows(samples: Array, name: str, stride: int, filler: int = 0xA5) -> Array:
    """Each row on its own, `stride` bytes from the one before; the padding holds the filler."""
    rows = [pack(row, name) for row in samples]
    picture = np.full((len(rows), stride), filler, np.uint8)
    for target, row in zip(picture, rows):
        target[: len(row)] = row
    return picture


def leveled(samples: Array, depth: int, black: int, gain: float, exposure: float = 1.0) -> Array:
    """8-bit values of samples: black level, gain and exposure at full depth, a linear tone. Integers throughout."""
    top = (1 << depth) - 1
    factor = (int(gain * 65536 + 0.5) * int(exposure * 65536 + 0.5) + (1 << 15)) >> 16
    values = []
    for sample in samples.ravel().tolist():
        above = max(0, min(sample, top) - black)
        span = (top - black) * 65536
        x = min(65535, (above * factor * 65535 + span // 2) // span)
        values.append((255 * x * 2 + 65535) // (2 * 65535))
    return np.array(values, np.uint8).reshape(samples.shape)
