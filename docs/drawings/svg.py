# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# As much of SVG as the drawings need: cells with text, lines, brackets. A drawing is a list of elements; the size of
# the picture follows from what was drawn. The background is white, so that the drawings can be read on dark pages too.
"""A small SVG canvas."""

from xml.sax.saxutils import escape

FONT = "DejaVu Sans, Verdana, sans-serif"
CELL = 40

# What a cell holds decides its colour, the same in every drawing.
COLOURS = {
    "R": "#f4a6a0", "G": "#a9dba0", "B": "#a3c4f3", "A": "#ffffff", "Y": "#d9d9d9", "U": "#bcd3f7", "V": "#f7c6bc",
    "skip": "#ffffff", "zero": "#f7f7f7", "field": "#fff2c2", "plain": "#ffffff", "strong": "#ffd966",
    "ring": "#e6e6e6", "ring2": "#f2f2f2",
}


class Canvas:
    """Collects elements and knows how far they reach."""

    def __init__(self):
        self.elements = []
        self.right = 0
        self.bottom = 0

    def _reach(self, x, y):
        self.right = max(self.right, x)
        self.bottom = max(self.bottom, y)

    def text(self, x, y, text, size=13, anchor="start", bold=False, colour="#222222"):
        """Text with its baseline at y."""
        weight = ' font-weight="bold"' if bold else ""
        self.elements.append(f'<text x="{x}" y="{y}" font-size="{size}" text-anchor="{anchor}" fill="{colour}"{weight}>'
                             f"{escape(text)}</text>")
        width = len(text) * size * 0.6
        self._reach(x + {"start": width, "middle": width / 2, "end": 0}[anchor], y + 4)

    def cell(self, x, y, label, kind, width=CELL, height=CELL, size=13):
        """A box; a skipped byte is dashed and crossed out."""
        dashed = ' stroke-dasharray="4 3"' if kind == "skip" else ""
        self.elements.append(f'<rect x="{x}" y="{y}" width="{width}" height="{height}" fill="{COLOURS[kind]}" '
                             f'stroke="#555555"{dashed}/>')
        if kind == "skip":
            self.line(x, y + height, x + width, y, "#aaaaaa")
        self._reach(x + width, y + height)
        lines = label.split("\n")
        for i, line in enumerate(lines):
            middle = y + height / 2 + size * 0.36 + (i - (len(lines) - 1) / 2) * (size + 2)
            self.text(x + width / 2, round(middle, 1), line, size, "middle")

    def line(self, x1, y1, x2, y2, colour="#555555", width=1):
        """A straight line."""
        self.elements.append(f'<line x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}" stroke="{colour}" '
                             f'stroke-width="{width}"/>')
        self._reach(max(x1, x2), max(y1, y2))

    def arrow(self, x1, y1, x2, y2):
        """A horizontal or vertical line with a head at both ends."""
        self.line(x1, y1, x2, y2, "#222222", 1.5)
        for x, y, sign in ((x1, y1, 1), (x2, y2, -1)):
            if y1 == y2:
                points = f"{x},{y} {x + 8 * sign},{y - 4} {x + 8 * sign},{y + 4}"
            else:
                points = f"{x},{y} {x - 4},{y + 8 * sign} {x + 4},{y + 8 * sign}"
            self.elements.append(f'<polygon points="{points}" fill="#222222"/>')

    def bracket(self, x1, x2, y, label):
        """A bracket below a run of cells, with a label under it."""
        self.elements.append(f'<path d="M {x1 + 3} {y + 3} v 6 H {x2 - 3} v -6" fill="none" stroke="#555555"/>')
        self.text((x1 + x2) / 2, y + 24, label, 12, "middle")

    def document(self, title):
        """The whole file as text."""
        width = int(self.right + 12)
        height = int(self.bottom + 10)
        head = (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
                f'viewBox="0 0 {width} {height}" font-family="{FONT}" role="img">')
        return "\n".join([
            "<!-- SPDX-License-Identifier: MIT; Copyright (c) the Vexa camera utility library authors. "
            "Made by docs/drawings/draw.py. -->",
            head, f"<title>{escape(title)}</title>",
            f'<rect width="{width}" height="{height}" fill="#ffffff"/>', *self.elements, "</svg>", ""])
