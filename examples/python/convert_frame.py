#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""One raw frame to one picture, in Python: convert_frame.py frame.rwh picture.ppm

A Bayer frame of 8 bits is demosaiced in the sharper mode. The frame stays where the library loaded it; NumPy arrays
only look into that memory.
"""
import sys

import vexacamutl as vcu


def main() -> None:
    if len(sys.argv) != 3:
        sys.exit("usage: convert_frame.py frame.rwh picture.ppm")
    try:
        raw = vcu.load_rwh(sys.argv[1])
        print(f"{raw.width} x {raw.height}, format {raw.format!r}")
        bgr = vcu.to_bgr(raw.data, raw.format, mode=vcu.BayerMode.ACPI)
        with open(sys.argv[2], "wb") as file:
            file.write(f"P6\n{raw.width} {raw.height}\n255\n".encode("ascii"))
            file.write(bgr[..., ::-1].tobytes())  # PPM has red first
    except (OSError, ValueError) as error:
        sys.exit(f"convert_frame.py: {error}")


if __name__ == "__main__":
    main()
