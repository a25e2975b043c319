# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Drawing of the viewer page: what runs in which thread, what passes between them, and what the engine is linked from.
"""The viewer page."""

from layouts import LEFT
from svg import Canvas

GREY = "#666666"

# The way of a frame through the page's own thread.
STATIONS = (
    ("files\ndropped, chosen, pasted", "intake.js, files.js", "field"),
    ("slices of a file\nthe rest stays on disk", "source.js", "plain"),
    ("settings\nlayout, bytes, picture", "viewer.js, settings.js", "strong"),
    ("canvas\nWebGL orders the colours", "stage.js, painter-gl.js", "plain"),
)
ENGINE_PARTS = (("C functions", "viewer/engine/"), ("ranking of layouts", "tools/guess/"),
                ("RWH headers, sidecars", "tools/vexacamutl/"), ("frames layer", "frames/"), ("converters", "src/"))


def page():
    """The page's thread above, the worker and the engines in the middle, the engine's parts below."""
    canvas = Canvas()
    canvas.text(LEFT, 22, "The viewer page: one file, two threads, an engine in each", 15, bold=True)
    width, gap = 186, 68
    for i, (what, where, kind) in enumerate(STATIONS):
        x = LEFT + i * (width + gap)
        canvas.cell(x, 44, what, kind, width, 52, 12)
        canvas.text(x, 114, where, 12, colour=GREY)
        if i:
            canvas.line(x - gap + 6, 70, x - 6, 70, "#222222", 1.5)
    canvas.text(LEFT + 2 * (width + gap) - gap / 2, 60, "bytes", 12, "middle", colour=GREY)
    canvas.text(LEFT + 3 * (width + gap) - gap / 2, 60, "BGRA", 12, "middle", colour=GREY)
    middle = LEFT + 2 * (width + gap)
    canvas.arrow(middle + 93, 122, middle + 93, 152)
    canvas.text(middle + 105, 142, "convert(), samples()", 12, colour=GREY)
    canvas.cell(middle, 158, "engine\nof the page", "strong", width, 46, 12)
    canvas.cell(LEFT, 158, "worker: the same script as a blob\nreads the file itself", "plain", 230, 46, 12)
    canvas.arrow(LEFT + 236, 181, LEFT + 264, 181)
    canvas.cell(LEFT + 270, 158, "engine\nof the worker", "strong", 150, 46, 12)
    canvas.text(LEFT, 224, "guesses, small pictures, counts of samples: what takes long", 12, colour=GREY)
    canvas.text(LEFT, 264, "engine.wasm is linked from", 13, bold=True)
    for i, (name, folder) in enumerate(ENGINE_PARTS):
        canvas.cell(LEFT + i * 190, 274, f"{name}\n{folder}", "plain", 178, 46, 12)
    canvas.text(LEFT, 344, "viewer.html = elements + style + script + engine.wasm in base64 + licences; its own policy forbids "
                "every connection", 12, colour=GREY)
    return canvas.document("The viewer page")


def drawings():
    """File name without ending -> text of the drawing."""
    return {"page": page()}
