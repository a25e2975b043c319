# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Drawings of the mosaic: which neighbours make a colour, how many are left at the border, which pixels the ACPI mode
# treats how, and what becomes of the phase when a frame is mirrored.
"""Neighbourhoods, borders and phases."""

from layouts import LEFT, mosaic, phase_rows
from svg import CELL, Canvas


def grid(canvas, left, top, rows, cell=CELL, size=13):
    """Cells from a list of rows of (label, kind)."""
    for r, row in enumerate(rows):
        for c, (label, kind) in enumerate(row):
            canvas.cell(left + c * cell, top + r * cell, label, kind, cell, cell, size)


def coloured(text, weights):
    """Rows of colour letters as cells; `weights` maps (row, column) to the cell's label."""
    return [[(weights.get((r, c), ""), colour) for c, colour in enumerate(row)] for r, row in enumerate(text)]


def bilinear_neighbours():
    """The four means of the default mode."""
    canvas = Canvas()
    title = "Default mode: each missing colour is the truncated mean of its nearest samples"
    canvas.text(LEFT, 22, title, 15, bold=True)
    edges = {(0, 1): "1/4", (1, 0): "1/4", (1, 2): "1/4", (2, 1): "1/4", (1, 1): "?"}
    corners = {(0, 0): "1/4", (0, 2): "1/4", (2, 0): "1/4", (2, 2): "1/4", (1, 1): "?"}
    sides = {(1, 0): "1/2", (1, 2): "1/2", (1, 1): "?"}
    verticals = {(0, 1): "1/2", (2, 1): "1/2", (1, 1): "?"}
    red_site = ("BGB", "GRG", "BGB")
    green_site = ("GBG", "RGR", "GBG")
    for i, (site, weights, label) in enumerate((
            (red_site, edges, "green at red"), (red_site, corners, "blue at red"),
            (green_site, sides, "red at green"), (green_site, verticals, "blue at green"))):
        left = LEFT + i * 160
        grid(canvas, left, 40, coloured(site, weights))
        canvas.text(left + 60, 180, label, 13, "middle")
    return canvas.document(title)


def border_counts():
    """How many neighbours the border leaves, on a frame of 6 x 6."""
    canvas = Canvas()
    title = "Default mode at the border: how many neighbours are left (RG frame, 6 x 6)"
    canvas.text(LEFT, 22, title, 15, bold=True)
    rows = phase_rows("RG")
    size = 6
    cells = []
    for r in range(size):
        line = []
        for c in range(size):
            colour = rows[r % 2][c % 2]
            across = (c > 0) + (c + 1 < size)
            down = (r > 0) + (r + 1 < size)
            first, second = (across, down) if colour == "G" else (across + down, across * down)
            line.append((f"{first} / {second}", colour))
        cells.append(line)
    grid(canvas, LEFT, 40, cells, 50, 13)
    for i, line in enumerate((
            "red or blue site:  greens / samples of the opposite colour",
            "green site:  left-right pair / upper-lower pair",
            "inside:  4 / 4  and  2 / 2",
            "top or bottom edge:  3 / 2  and  2 / 1",
            "left or right edge:  3 / 2  and  1 / 2",
            "corner:  2 / 1  and  1 / 1")):
        canvas.text(LEFT + 320, 66 + i * 26, line, 13)
    return canvas.document(title)


def acpi_regions():
    """Outer ring, second ring and interior of a frame of 10 x 8."""
    canvas = Canvas()
    title = "ACPI mode: the two outer rings are plain means (10 x 8)"
    canvas.text(LEFT, 22, title, 15, bold=True)
    width, height = 10, 8
    cells = []
    for r in range(height):
        line = []
        for c in range(width):
            ring = min(r, c, height - 1 - r, width - 1 - c)
            line.append(("1" if ring == 0 else "2" if ring == 1 else "", ("ring", "ring2", "strong")[min(ring, 2)]))
        cells.append(line)
    grid(canvas, LEFT, 40, cells, 34, 12)
    for i, line in enumerate((
            "1  outer ring: green from the two neighbours along the border",
            "    (corners: the two that exist)",
            "2  second ring: green from all four neighbours",
            "    red and blue on both rings: plain means, as in the default mode",
            "yellow  interior: rows 2 to height - 3, columns 2 to width - 3,",
            "    direction chosen, means corrected")):
        canvas.text(LEFT + 360, 70 + i * 26, line, 13)
    return canvas.document(title)


def acpi_green():
    """The samples that decide and make green at a red site."""
    canvas = Canvas()
    title = "ACPI mode, green at a red site: across or down, whichever is flatter"
    canvas.text(LEFT, 22, title, 15, bold=True)
    site = ("RGRGR", "GBGBG", "RGRGR", "GBGBG", "RGRGR")
    across = {(2, 0): "-1", (2, 1): "2", (2, 2): "2", (2, 3): "2", (2, 4): "-1"}
    down = {(c, r): text for (r, c), text in across.items()}
    for i, (weights, label) in enumerate(((across, "across, divided by 4"), (down, "down, divided by 4"))):
        left = LEFT + i * 220
        grid(canvas, left, 40, coloured(site, weights), 36)
        canvas.text(left + 90, 240, label, 13, "middle")
    for i, line in enumerate((
            "gradient = |difference of the two greens|",
            "    + |second difference of the three reds|",
            "the smaller gradient wins;",
            "a tie takes the mean of both")):
        canvas.text(LEFT + 440, 80 + i * 26, line, 13)
    return canvas.document(title)


def phase_mirror():
    """The four phases and the two ways from one to another."""
    canvas = Canvas()
    title = "Phase after mirroring (even width and height)"
    canvas.text(LEFT, 22, title, 15, bold=True)
    places = {"GR": (LEFT + 20, 66), "RG": (LEFT + 320, 66), "BG": (LEFT + 20, 290), "GB": (LEFT + 320, 290)}
    for phase, (x, y) in places.items():
        canvas.text(x, y - 8, f"Bayer{phase}", 14, bold=True)
        mosaic(canvas, x, y, phase)
    for y in (126, 350):
        canvas.arrow(LEFT + 160, y, LEFT + 300, y)
        canvas.text(LEFT + 230, y - 8, "mirror", 13, "middle")
    for x in (LEFT + 80, LEFT + 380):
        canvas.arrow(x, 200, x, 262)
        canvas.text(x + 10, 236, "upside down", 13)
    canvas.text(LEFT + 20, 440, "A half turn is both: GR with GB, RG with BG. Over an odd width a mirror keeps the phase,", 12)
    canvas.text(LEFT + 20, 458, "over an odd height turning upside down does.", 12)
    return canvas.document(title)


def drawings():
    """File name without ending -> text of the drawing."""
    return {"bilinear-neighbours": bilinear_neighbours(), "border-counts": border_counts(),
            "acpi-regions": acpi_regions(), "acpi-green": acpi_green(), "phase-mirror": phase_mirror()}
