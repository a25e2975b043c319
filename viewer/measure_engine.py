#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""How fast the converters are as WebAssembly in node.js, beside the same on the processor itself.

    scripts/viewer measure-engine

prints nanoseconds per pixel of a frame of 1920x1080 on one thread, one converter for each family: medians of ROUNDS
runs of the tool's own bench in both, one after the other.
"""
import os
import statistics
import subprocess

FAMILIES = (
    ("Mono8", "ConvMono8ToBGRA"), ("Mono12", "ConvMono12ToBGRA"), ("RGB8", "ConvRGB8PToBGRA"),
    ("RGB12", "ConvRGB12PToBGRA"), ("YUV 4:1:1", "ConvYUV411PToBGRA"), ("YUV 4:2:2", "ConvYUV422PToBGRA"),
    ("YUV 4:4:4", "ConvYUV444PToBGRA"), ("Bayer8", "ConvByrRG8ToBGRA"), ("Bayer12", "ConvByrRG12ToBGRA"),
    ("BayerN", "ConvByrRGNToBGRA"), ("Bayer8, ACPI", "ConvByrRG8ToBGRAACPI"))
NAMES = [name for _, name in FAMILIES]
WIDTH, HEIGHT = 1920, 1080
SECONDS = "0.1"
ROUNDS = 5


def nanoseconds(command):
    """{converter: ns per pixel} of a run of the bench."""
    rows = subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()
    speeds = dict(row.split(",")[:2] for row in rows if row.startswith("Conv"))
    return {name: 1000 / float(speeds[name]) for name in NAMES}


def main():
    engine = ["node", "--no-experimental-fetch", os.environ["VEXACAMUTL_MEASURE"], str(WIDTH), str(HEIGHT), SECONDS]
    native = [os.environ["VEXACAMUTL_TOOL"], "bench", "--csv", "--size", f"{WIDTH}x{HEIGHT}", "--seconds", SECONDS]
    runs = [(nanoseconds(engine + NAMES), nanoseconds(native + NAMES)) for _ in range(ROUNDS)]
    print("| Family | Converter | WebAssembly | native | ratio |\n|---|---|---:|---:|---:|")
    for family, name in FAMILIES:
        ours, theirs = (statistics.median(run[i][name] for run in runs) for i in range(2))
        print(f"| {family} | `{name}` | {ours:.2f} | {theirs:.2f} | {ours / theirs:.1f} |")


if __name__ == "__main__":
    main()
