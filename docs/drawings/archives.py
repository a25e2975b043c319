# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Drawing of an archive's conversion: which process runs where, and what passes between them.
"""Archives on a cluster."""

from layouts import LEFT
from svg import Canvas

GREY = "#666666"


def cluster():
    """The caller and the scheduler above, the workers in the middle, the shared folder below."""
    canvas = Canvas()
    canvas.text(LEFT, 22, "What runs where", 15, bold=True)
    canvas.cell(LEFT, 40, "your process\narchive.convert(...)", "field", 220, 56, 12)
    canvas.cell(LEFT + 420, 40, "dask-scheduler", "plain", 200, 56, 12)
    canvas.arrow(LEFT + 226, 58, LEFT + 414, 58)
    canvas.text(LEFT + 320, 50, "batches", 12, "middle")
    canvas.text(LEFT + 320, 78, "outcomes: sizes, digests", 12, "middle", colour=GREY)
    canvas.arrow(LEFT + 520, 100, LEFT + 520, 124)
    for i in range(3):
        x = LEFT + 60 + i * 230
        canvas.cell(x, 128, f"dask-worker {i + 1}", "plain", 190, 40, 12)
        canvas.cell(x + 20, 176, "vexacamutl convert", "strong", 150, 40, 12)
        canvas.arrow(x + 95, 222, x + 95, 252)
    canvas.text(LEFT + 534, 118, "one batch per thread", 12, colour=GREY)
    canvas.cell(LEFT, 258, "shared file system: the same names on every machine", "ring", 760, 34, 12)
    canvas.cell(LEFT, 300, "recordings\nread only", "ring2", 180, 56, 12)
    canvas.cell(LEFT + 190, 300, "OUT/.vexacamutl/run-...\nunfinished files", "ring2", 190, 56, 12)
    canvas.cell(LEFT + 390, 300, "OUT/*.png\nby rename", "ring2", 150, 56, 12)
    canvas.cell(LEFT + 550, 300, "OUT/.vexacamutl/manifest.jsonl\nby your process only", "ring2", 210, 56, 12)
    canvas.arrow(LEFT + 30, 102, LEFT + 30, 252)
    canvas.text(LEFT, 376, "Without a scheduler your process starts the tool itself, on as many processors as there are.", 12,
                colour=GREY)
    return canvas.document("Archives: what runs where")


def drawings():
    """File name without ending -> text of the drawing."""
    return {"archives": cluster()}
