#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Shows a raw frame in all the ways that the library knows, as one picture.

    gallery.py out.png                                      a drawn scene
    gallery.py out.png frame.rwh                            a frame with its header
    gallery.py out.png frame.raw BayerRG8 1920x1080         a frame without one

A Bayer frame is shown as its grey mosaic, in both demosaic modes, cut-outs of these beside each other with what
differs, and mirrored and turned before it is converted. Other formats are shown as BGRA and BGR and turned.

Debian: python3-numpy, python3-matplotlib
"""
from __future__ import annotations

import sys
from typing import Any

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402
from numpy.typing import NDArray  # noqa: E402

import vexacamutl as vcu  # noqa: E402

Picture = NDArray[np.uint8]
Panels = list[tuple[str, Picture]]
CUT = 48


def drawn_scene() -> tuple[NDArray[Any], str]:
    """A zone plate, colour bars and a grey ramp, as a BayerRG8 sensor of 480 x 360 sees them."""
    height, width = 360, 480
    y, x = np.mgrid[0:height, 0:width].astype(np.float64)
    red_green_blue = np.repeat((127 + 127 * np.cos(((x - 240) ** 2 + (y - 180) ** 2) / 260))[..., np.newaxis], 3, axis=2)
    bars = np.array([(220, 40, 40), (40, 200, 40), (40, 60, 230), (230, 210, 40), (200, 60, 200), (60, 200, 210)])
    red_green_blue[:90] = bars[(x[:90] * 6 // width).astype(int)]
    red_green_blue[-50:] = (x[-50:] * 255 / width)[..., np.newaxis]
    frame = np.empty((height, width))
    for row, column, channel in ((0, 0, 0), (0, 1, 1), (1, 0, 1), (1, 1, 2)):
        frame[row::2, column::2] = red_green_blue[row::2, column::2, channel]
    return frame.astype(np.uint8), "BayerRG8"


def load(arguments: list[str]) -> tuple[NDArray[Any], vcu.PixelFormat]:
    if not arguments:
        frame, name = drawn_scene()
        return frame, vcu.pixel_format(name)
    if len(arguments) == 1:
        raw = vcu.load_rwh(arguments[0])
        return raw.data, vcu.pixel_format(raw.format)
    path, name, size = arguments
    width, height = map(int, size.split("x"))
    layout = vcu.frame_layout(name)
    return np.fromfile(path, layout.dtype).reshape(layout.shape(width, height)), vcu.pixel_format(name)


def reversals(frame: NDArray[Any], format: vcu.PixelFormat, size: tuple[int, int]) -> Panels:
    """The raw frame reversed first, then converted as what it has become."""
    panels = []
    for title, mirror, upside_down in (
        ("mirrored", True, False),
        ("upside down", False, True),
        ("half turn", True, True),
    ):
        became = vcu.reversed_format(format, *size, mirror=mirror, upside_down=upside_down)
        turned = vcu.reverse(frame, format, mirror=mirror, upside_down=upside_down)
        panels.append((f"{title}: {became.name}", vcu.to_bgr(turned, became, mode=vcu.BayerMode.DEFAULT)))
    return panels


def busiest_corner(picture: Picture) -> tuple[slice, slice]:
    """Where neighbouring pixels differ most, in blocks of CUT."""
    step = np.abs(np.diff(picture.astype(np.int16).sum(axis=2), axis=1))
    rows, columns = step.shape[0] // CUT, step.shape[1] // CUT
    if rows == 0 or columns == 0:
        return slice(None), slice(None)
    blocks = step[: rows * CUT, : columns * CUT].reshape(rows, CUT, columns, CUT).sum(axis=(1, 3))
    row, column = divmod(int(blocks.argmax()), columns)
    return slice(row * CUT, (row + 1) * CUT), slice(column * CUT, (column + 1) * CUT)


def panels_of(frame: NDArray[Any], format: vcu.PixelFormat) -> Panels:
    picture = vcu.to_bgr(frame, format, mode=vcu.BayerMode.DEFAULT)
    size = (picture.shape[1], picture.shape[0])
    if not format.is_bayer:
        panels = [("BGRA", vcu.to_bgra(frame, format)[..., :3]), ("BGR", picture)]
        return panels + (reversals(frame, format, size) if format != vcu.PixelFormat.YUV8_UYV else [])
    panels = [("the mosaic, grey", vcu.to_bgr(frame, format, bayer=False)), ("default", picture)]
    cut = busiest_corner(picture)
    if format.depth == 8:
        acpi = vcu.to_bgr(frame, format, mode=vcu.BayerMode.ACPI)
        difference = np.abs(acpi.astype(np.int16) - picture).clip(0, 63).astype(np.uint8) * 4
        panels += [("ACPI", acpi), ("default, cut-out", picture[cut]), ("ACPI, cut-out", acpi[cut])]
        panels += [("difference x 4, cut-out", difference[cut])]
    else:
        panels += [("default, cut-out", picture[cut])]
    return panels + reversals(frame, format, size)


def draw(panels: Panels, title: str, path: str) -> None:
    columns = 3
    rows = -(-len(panels) // columns)
    figure, axes = plt.subplots(rows, columns, figsize=(4.4 * columns, 3.7 * rows), squeeze=False,
                                layout="constrained")
    figure.suptitle(title)
    for axis in axes.flat:
        axis.axis("off")
    for axis, (name, picture) in zip(axes.flat, panels):
        axis.imshow(picture[..., ::-1], interpolation="nearest")
        axis.set_title(name, fontsize=10)
    figure.savefig(path, dpi=100)


def main() -> None:
    if len(sys.argv) not in (2, 3, 5):
        sys.exit("usage: gallery.py out.png [frame.rwh | frame.raw FORMAT WIDTHxHEIGHT]")
    try:
        frame, format = load(sys.argv[2:])
        panels = panels_of(frame, format)
        height, width = panels[0][1].shape[:2]
        draw(panels, f"{format.name}, {width} x {height}", sys.argv[1])
    except (OSError, ValueError) as error:
        sys.exit(f"gallery.py: {error}")
    print(f"{sys.argv[1]}: {format.name}")


if __name__ == "__main__":
    main()
