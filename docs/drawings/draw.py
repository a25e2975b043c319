#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Writes all drawings of the documentation beside this file, as SVG; plain Python, no packages. The drawings are kept
# in the tree so that the pages show them wherever the tree is browsed; --check tells whether they are what this
# script draws.
#
#   python3 docs/drawings/draw.py            write the drawings
#   python3 docs/drawings/draw.py --check    compare only; status 1 and the names if some differ
"""Draws the documentation's figures."""

import pathlib
import sys

import archives
import structure
import layouts
import mosaics
import viewer

HERE = pathlib.Path(__file__).resolve().parent


def main(arguments):
    """Writes or compares; returns the exit status."""
    drawings = {f"{name}.svg": text for source in (archives, layouts, mosaics, structure, viewer)
                for name, text in source.drawings().items()}
    if arguments not in ([], ["--check"]):
        print(__doc__, "usage: draw.py [--check]", file=sys.stderr)
        return 2
    if not arguments:
        for name, text in drawings.items():
            (HERE / name).write_text(text, encoding="ascii")
        return 0
    there = {path.name: path.read_text(encoding="ascii") for path in HERE.glob("*.svg")}
    wrong = sorted(name for name in drawings.keys() | there.keys() if drawings.get(name) != there.get(name))
    for name in wrong:
        print(f"docs/drawings/{name} is not what draw.py draws", file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
