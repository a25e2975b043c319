#!/usr/bin/python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Sums of squared errors of both demosaic modes on photographs, computed with NumPy.

    squared_errors.py PICTURE.png ...

From each picture the four mosaics are cut and demosaiced again with whole-array arithmetic that
shares nothing with the library or with the reference of the tests; what is printed are the rows of
the table in RealFramesTest.cpp: picture, phase, errors of the default mode, errors of ACPI. Ten
pixels along every border do not count.
"""

import pathlib
import sys

import matplotlib.image
import numpy as np

BORDER = 10
PHASES = {"GR": "GRBG", "RG": "RGGB", "GB": "GBRG", "BG": "BGGR"}


def shifted(plane, rows, columns):
    """The plane whose pixel (r, c) is pixel (r + rows, c + columns); wraps around, the border does not count."""
    return np.roll(plane, (-rows, -columns), (0, 1))


def total(plane, places):
    return sum(shifted(plane, rows, columns) for rows, columns in places)


BESIDE = ((0, -1), (0, 1))
STACKED = ((-1, 0), (1, 0))
EDGES = BESIDE + STACKED
RISING = ((-1, 1), (1, -1))
FALLING = ((-1, -1), (1, 1))
CORNERS = RISING + FALLING


def difference(plane, places):
    return np.abs(shifted(plane, *places[0]) - shifted(plane, *places[1]))


def chosen(gradient_a, gradient_b, value_a, value_b, tie):
    return np.where(gradient_a < gradient_b, value_a, np.where(gradient_b < gradient_a, value_b, tie))


def limited(plane):
    return np.clip(plane, 0, 255)


def default_mode(mosaic, sites):
    green_site = sites["G"]
    green = np.where(green_site, mosaic, total(mosaic, EDGES) // 4)
    planes = [None, green, None]
    for index, colour in ((0, "R"), (2, "B")):
        in_row = shifted(sites[colour], 0, 1)
        pair = np.where(in_row, total(mosaic, BESIDE) // 2, total(mosaic, STACKED) // 2)
        planes[index] = np.where(sites[colour], mosaic, np.where(green_site, pair, total(mosaic, CORNERS) // 4))
    return np.stack(planes, axis=-1)


def acpi_mode(mosaic, sites, wraps_blue):
    green_site = sites["G"]
    across = 2 * mosaic - total(mosaic, ((0, -2), (0, 2)))
    along = 2 * mosaic - total(mosaic, ((-2, 0), (2, 0)))
    sum_across, sum_along = total(mosaic, BESIDE), total(mosaic, STACKED)
    estimate = chosen(
        difference(mosaic, BESIDE) + np.abs(across),
        difference(mosaic, STACKED) + np.abs(along),
        (2 * sum_across + across) >> 2,
        (2 * sum_along + along) >> 2,
        (2 * (sum_across + sum_along) + across + along) >> 3,
    )
    green = np.where(green_site, mosaic, limited(estimate))
    rising, falling = 2 * green - total(green, RISING), 2 * green - total(green, FALLING)
    gradient_rising = difference(mosaic, RISING) + np.abs(rising)
    gradient_falling = difference(mosaic, FALLING) + np.abs(falling)
    sum_rising, sum_falling = total(mosaic, RISING), total(mosaic, FALLING)
    value_rising = limited((2 * sum_rising + rising) >> 2)
    value_falling = limited((2 * sum_falling + falling) >> 2)
    tie = limited((2 * (sum_rising + sum_falling) + rising + falling) >> 3)
    float_tie = np.trunc((sum_rising + sum_falling) * 0.25 + (rising + falling) * 0.125 + 0.5).astype(np.int64) & 255
    planes = [None, green, None]
    for index, colour in ((0, "R"), (2, "B")):
        in_row = shifted(sites[colour], 0, 1)
        places_sum = np.where(in_row, sum_across, sum_along)
        places_green = np.where(in_row, total(green, BESIDE), total(green, STACKED))
        pair = limited((2 * places_sum + 2 * green - places_green) >> 2)
        ties = float_tie if colour == "B" and wraps_blue else tie
        opposite = chosen(gradient_rising, gradient_falling, value_rising, value_falling, ties)
        planes[index] = np.where(sites[colour], mosaic, np.where(green_site, pair, opposite))
    return np.stack(planes, axis=-1)


def inner(picture):
    return picture[BORDER:-BORDER, BORDER:-BORDER]


def main():
    for path in map(pathlib.Path, sys.argv[1:]):
        photo = np.rint(matplotlib.image.imread(path)[..., :3] * 255).astype(np.int64)
        for phase, colours in PHASES.items():
            cell = np.array(list(colours)).reshape(2, 2)
            grid = np.tile(cell, (photo.shape[0] // 2, photo.shape[1] // 2))
            sites = {colour: grid == colour for colour in "RGB"}
            mosaic = sum(photo[..., i] * sites[colour] for i, colour in enumerate("RGB"))
            errors = [
                int(((inner(made) - inner(photo)) ** 2).sum())
                for made in (default_mode(mosaic, sites), acpi_mode(mosaic, sites, phase == "RG"))
            ]
            print(f'{{"{path.name}", "{phase}", {errors[0]}, {errors[1]}}},')


if __name__ == "__main__":
    main()
