# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# A drawing of the library's own structure: the road of a call from the exported function to the bytes.
"""The road of a call."""

from layouts import LEFT
from svg import Canvas

STATIONS = (
    ("exported function", "ConvRGBA8PToBGR", "convert/PackedColour.cpp", "field"),
    ("contract", "null? tables ready?\nhow many pixels?", "convert/Contract.h", "field"),
    ("walker", "borders, rows\n(Bayer only)", "convert/BayerFrame.h", "field"),
    ("kernel", "s_psKernels->rgba8[kBgr]", "kernels/KernelTable.h", "strong"),
)
TABLES = (("scalar", "scalar/*.h"), ("sse4.1", "simd/*.inc\nvector/Sse.inc"), ("avx2", "simd/*.inc\nvector/Avx2.inc"),
          ("avx512", "simd/*.inc\nvector/Avx512.inc"), ("neon", "simd/*.inc\nvector/Neon.inc"))


def call_road():
    """Stations from left to right, the tables that the last one points into below."""
    canvas = Canvas()
    canvas.text(LEFT, 22, "The road of a call", 15, bold=True)
    width = 178
    for i, (name, what, where, kind) in enumerate(STATIONS):
        x = LEFT + i * (width + 26)
        canvas.text(x, 52, name, 13, bold=True)
        canvas.cell(x, 60, what, kind, width, 52, 12)
        canvas.text(x, 130, where, 12, colour="#666666")
        if i:
            canvas.line(x - 22, 86, x - 4, 86, "#222222", 1.5)
    canvas.text(LEFT, 172, "one table for each instruction set; chosen once, when the library is loaded", 13, bold=True)
    for i, (name, where) in enumerate(TABLES):
        x = LEFT + i * 160
        canvas.cell(x, 182, name, "strong" if i == 0 else "plain", 150, 30, 13)
        for k, line in enumerate(where.split("\n")):
            canvas.text(x, 230 + k * 17, line, 12, colour="#666666")
    return canvas.document("The road of a call")


def drawings():
    """File name without ending -> text of the drawing."""
    return {"call-road": call_road()}
