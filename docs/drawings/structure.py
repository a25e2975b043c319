# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Drawings of the project's own structure: the parts and what each is built on, and the path of a call through the
# library.
"""The house, and the path of a call."""

from layouts import LEFT
from svg import Canvas

GREY = "#666666"

# From what users touch down to the kernels; each row is built on the rows below it.
PARTS = (
    ("what users run", (("vexacamutl", "tools/vexacamutl/", "plain"), ("Python package", "python/", "plain"),
                        ("vexaconvert", "gstreamer/", "plain"), ("viewer page", "viewer/", "plain"),
                        ("C and C++ programs", "examples/", "plain"))),
    ("libVexaCamFrames.so.0", (("packed bits, padded rows, levels, colour", "frames/", "field"),)),
    ("libVexaCamUtl_64.so.1", (("converters", "src/convert/", "strong"), ("files, reversal", "src/imagefile/", "strong"),
                               ("formats, tables", "src/catalogue/", "strong"))),
    ("its kernels", (("obvious loops", "src/kernels/scalar/", "strong"), ("fast rows", "src/kernels/simd/", "strong"),
                     ("registers", "src/kernels/vector/", "strong"))),
)

STATIONS = (
    ("exported function", "ConvByrRG8ToBGRA", "convert/Bayer8.cpp", "field"),
    ("contract", "null?\ntables ready?", "convert/Contract.h", "field"),
    ("walker", "rows, borders,\nphase", "convert/BayerFrame.h", "field"),
    ("row kernel", "s_psKernels->bayer8", "kernels/KernelTable.h", "strong"),
)
TABLES = (("scalar", "scalar/*.h"), ("sse4.1", "simd/*.inc\nvector/Sse.inc"), ("avx2", "simd/*.inc\nvector/Avx2.inc"),
          ("avx512bw, avx512", "simd/*.inc\nvector/Avx512*.inc"), ("neon", "simd/*.inc\nvector/Neon.inc"),
          ("wasm", "simd/*.inc\nvector/Wasm.inc"))


def house():
    """One row per layer, one box per part, the folder below its name."""
    canvas = Canvas()
    canvas.text(LEFT, 22, "The parts, each built on those below it", 15, bold=True)
    for i, (layer, parts) in enumerate(PARTS):
        y = 44 + i * 84
        canvas.text(LEFT, y + 32, layer, 13, bold=True)
        gap = 12
        width = (760 - gap * (len(parts) - 1)) // len(parts)
        for k, (name, folder, kind) in enumerate(parts):
            x = LEFT + 190 + k * (width + gap)
            canvas.cell(x, y, f"{name}\n{folder}", kind, width, 56, 12)
    return canvas.document("The parts of the project")


def call_path():
    """Stations from left to right, the tables that the last one points into below."""
    canvas = Canvas()
    canvas.text(LEFT, 22, "The path of a call", 15, bold=True)
    width = 178
    for i, (name, what, where, kind) in enumerate(STATIONS):
        x = LEFT + i * (width + 26)
        canvas.text(x, 52, name, 13, bold=True)
        canvas.cell(x, 60, what, kind, width, 52, 12)
        canvas.text(x, 130, where, 12, colour=GREY)
        if i:
            canvas.line(x - 22, 86, x - 4, 86, "#222222", 1.5)
    canvas.text(LEFT, 172, "one table per instruction set; chosen once, when the library is loaded", 13, bold=True)
    for i, (name, where) in enumerate(TABLES):
        x = LEFT + i * 160
        canvas.cell(x, 182, name, "strong" if i == 0 else "plain", 150, 30, 13)
        for k, line in enumerate(where.split("\n")):
            canvas.text(x, 230 + k * 17, line, 12, colour=GREY)
    return canvas.document("The path of a call")


def drawings():
    """File name without ending -> text of the drawing."""
    return {"house": house(), "call-path": call_path()}
