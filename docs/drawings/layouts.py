# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Drawings of memory: which byte of a frame, picture or file is what. Each layout is a few words of data (the bytes of
# one group, and which of them make up a pixel); the drawing follows from it.
#
#     offset  0  1  2  3
#             U  Y0 V  Y1      one cell a byte
#             |_________|      bracket: the pixels that these bytes are
"""Memory layouts."""

from svg import CELL, Canvas

LEFT = 12


def byte_strip(canvas, top, cells, first_offset=0, width=CELL):
    """Cells of one byte each, with their offsets above. A cell is (label, kind)."""
    canvas.text(LEFT, top + 12, "byte offset", 11, colour="#666666")
    for i, (label, kind) in enumerate(cells):
        x = LEFT + i * width
        canvas.text(x + width / 2, top + 28, str(first_offset + i), 11, "middle", colour="#666666")
        canvas.cell(x, top + 34, label, kind, width, size=12)
    return top + 34 + CELL


def word_strip(canvas, top, depth):
    """The 16 bits of one sample word."""
    canvas.text(LEFT, top + 12, f"one sample: a little-endian 16-bit word, value in bits 0 to {depth - 1}", 12)
    width = 26
    for i in range(16):
        bit = 15 - i
        x = LEFT + i * width
        canvas.text(x + width / 2, top + 30, str(bit), 10, "middle", colour="#666666")
        canvas.cell(x, top + 35, "0" if bit >= depth else "v", "zero" if bit >= depth else "Y", width, 26, 11)
    canvas.bracket(LEFT, LEFT + 8 * width, top + 61, "byte 1 of the word (hi)")
    canvas.bracket(LEFT + 8 * width, LEFT + 16 * width, top + 61, "byte 0 of the word (lo)")


def as_words(samples):
    """Splits each sample into its low and its high byte."""
    return [(f"{label}\n{half}", kind) for label, kind in samples for half in ("lo", "hi")]


def layout(title, cells, groups, depth=8, note=""):
    """A frame's first bytes. `groups` lists (number of bytes, label of what they are)."""
    canvas = Canvas()
    canvas.text(LEFT, 22, title, 15, bold=True)
    bottom = byte_strip(canvas, 34, cells, width=CELL if depth == 8 else 36)
    x = LEFT
    width = CELL if depth == 8 else 36
    for count, label in groups:
        canvas.bracket(x, x + count * width, bottom, label)
        x += count * width
    canvas.text(x + 8, bottom - CELL / 2 + 4, "...")
    bottom += 34
    if depth > 8:
        word_strip(canvas, bottom + 4, depth)
        bottom += 98
    if note:
        canvas.text(LEFT, bottom + 14, note, 12)
    return canvas.document(title)


def grey(name, depth):
    """Mono8 to Mono16."""
    samples = [(f"Y{i}", "Y") for i in range(6)]
    cells = samples if depth == 8 else as_words(samples)
    size = 1 if depth == 8 else 2
    return layout(f"{name}: {size} byte{'s' if size > 1 else ''} per pixel", cells,
                  [(size, f"pixel {i}" if size > 1 else f"px {i}") for i in range(6)], depth)


def packed(name, depth):
    """RGB and BGR; the order of the name is the order in memory."""
    samples = [(f"{colour}{i}", colour) for i in range(2) for colour in name[:3]]
    cells = samples if depth == 8 else as_words(samples)
    size = 3 if depth == 8 else 6
    return layout(f"{name}: {size} bytes per pixel", cells, [(size, f"pixel {i}") for i in range(2)], depth)


def chroma_group(title, letters, pixels, note=""):
    """YUV; `letters` are the bytes of one group in order, '-' being skipped. Two groups are drawn."""
    cells = []
    groups = []
    for group in range(2):
        luma = group * pixels
        for letter in letters:
            if letter == "Y":
                cells.append((f"Y{luma}", "Y"))
                luma += 1
            elif letter == "-":
                cells.append(("--", "skip"))
            else:
                cells.append((f"{letter}{group if pixels > 1 else luma}", letter))
        first = group * pixels
        groups.append((len(letters), f"pixels {first} to {first + pixels - 1}" if pixels > 1 else f"pixel {group}"))
    return layout(title, cells, groups, note=note)


def mosaic(canvas, left, top, phase, cell=30, size=4):
    """The first samples of a Bayer frame; the second row holds the other pair, see `phase_rows`."""
    rows = phase_rows(phase)
    for r in range(size):
        for c in range(size):
            colour = rows[r % 2][c % 2]
            canvas.cell(left + c * cell, top + r * cell, colour, colour, cell, cell)


def phase_rows(phase):
    """The two rows of a phase: green stands on one diagonal, so the second row is the opposite pair."""
    other = {"GR": "BG", "RG": "GB", "GB": "RG", "BG": "GR"}
    return phase, other[phase]


def bayer(depth):
    """All four phases of one depth, and the first row of one of them in memory."""
    size = 1 if depth == 8 else 2
    title = f"BayerGR{depth}, BayerRG{depth}, BayerGB{depth}, BayerBG{depth}: {size} byte{'s' * (size - 1)} per pixel"
    canvas = Canvas()
    canvas.text(LEFT, 22, title, 15, bold=True)
    for i, phase in enumerate(("GR", "RG", "GB", "BG")):
        left = LEFT + i * 140
        canvas.text(left, 48, f"Bayer{phase}{depth}", 13)
        mosaic(canvas, left, 56, phase)
    canvas.text(LEFT, 202, f"first row of BayerRG{depth} in memory; row r starts at byte r * width"
                f"{' * 2' if size == 2 else ''}", 12)
    samples = [(f"{colour}{i}", colour) for i, colour in enumerate("RGRGRG")]
    width = CELL if depth == 8 else 36
    bottom = byte_strip(canvas, 208, samples if depth == 8 else as_words(samples), width=width)
    for i in range(6):
        canvas.bracket(LEFT + i * size * width, LEFT + (i + 1) * size * width, bottom, f"px {i}")
    if depth > 8:
        word_strip(canvas, bottom + 38, depth)
    return canvas.document(title)


def picture_out(name):
    """What the converters write."""
    cells = [("255" if channel == "A" else f"{channel}{i}", channel) for i in range(3) for channel in name]
    return layout(f"{name}: {len(name)} bytes per pixel, as the converters write it", cells,
                  [(len(name), f"pixel {i}") for i in range(3)])


PACKED_BITS = {
    "10p": ("10p: 4 samples in 5 bytes, least significant bit first", ("aaaaaaaa", "bbbbbbAA", "ccccBBBB", "ddCCCCCC",
                                                                         "DDDDDDDD")),
    "12p": ("12p: 2 samples in 3 bytes, least significant bit first", ("aaaaaaaa", "bbbbAAAA", "BBBBBBBB")),
    "10Packed": ("10Packed: 2 samples in 3 bytes, low 2 bits apart", ("AAAAAAAA", "--bb--aa", "BBBBBBBB")),
    "12Packed": ("12Packed: 2 samples in 3 bytes, low 4 bits apart", ("AAAAAAAA", "bbbbaaaa", "BBBBBBBB")),
    "10CSI2": ("10CSI2 (MIPI CSI-2 RAW10): 4 samples in 5 bytes", ("AAAAAAAA", "BBBBBBBB", "CCCCCCCC", "DDDDDDDD",
                                                                     "ddccbbaa")),
    "12CSI2": ("12CSI2 (MIPI CSI-2 RAW12): 2 samples in 3 bytes", ("AAAAAAAA", "BBBBBBBB", "bbbbaaaa")),
}


def packed_bits(title, group):
    """One group of a packed layout, bit by bit, bit 7 to the left; letters are samples, capitals their high bits."""
    kinds = {"a": "R", "b": "G", "c": "B", "d": "Y", "-": "skip"}
    canvas = Canvas()
    canvas.text(LEFT, 22, title, 15, bold=True)
    width = 16
    for i, byte in enumerate(group):
        left = LEFT + i * (8 * width + 8)
        for bit, letter in enumerate(byte):
            canvas.cell(left + bit * width, 40, letter, kinds[letter.lower()], width, 26, 11)
        canvas.bracket(left, left + 8 * width, 66, f"byte {i}")
    return canvas.document(title)


def fields(title, rows):
    """A file header as a list of fields: (offset, bytes, what)."""
    canvas = Canvas()
    canvas.text(LEFT, 22, title, 15, bold=True)
    canvas.text(LEFT + 50, 46, "offset", 11, "end", colour="#666666")
    canvas.text(LEFT + 110, 46, "bytes", 11, "end", colour="#666666")
    for i, (offset, size, what) in enumerate(rows):
        y = 54 + i * 26
        canvas.text(LEFT + 50, y + 18, offset, 12, "end")
        canvas.text(LEFT + 110, y + 18, size, 12, "end")
        canvas.cell(LEFT + 124, y, what, "field", 420, 26, 12)
    return canvas.document(title)


def drawings():
    """File name without ending -> text of the drawing."""
    result = {}
    for depth in (8, 10, 12, 16):
        result[f"layout-Mono{depth}"] = grey(f"Mono{depth}", depth)
    for depth in (8, 10, 12):
        result[f"layout-Bayer{depth}"] = bayer(depth)
        for order in ("RGB", "BGR"):
            result[f"layout-{order}{depth}"] = packed(f"{order}{depth}", depth)
    result["layout-YUV411_8_UYYVYY"] = chroma_group("YUV411_8_UYYVYY: 6 bytes for 4 pixels", "UYYVYY", 4)
    result["layout-YUV422_8_UYVY"] = chroma_group(
        "YUV422_8_UYVY: 4 bytes for 2 pixels (ConvYUV422PToBGRA reads this)", "UYVY", 2)
    result["layout-YUV422_8"] = chroma_group("YUV422_8 (YUYV): 4 bytes for 2 pixels", "YUYV", 2)
    for name, (title, group) in PACKED_BITS.items():
        result[f"layout-{name}"] = packed_bits(title, group)
    result["layout-YUV422-to-BGR"] = chroma_group(
        "ConvYUV422PToBGR: 5 bytes for 2 pixels", "UYVY-", 2, "The fifth byte of each group is skipped.")
    result["layout-YUV8_UYV"] = chroma_group("YUV8_UYV: 3 bytes per pixel, as the code says", "UYV", 1)
    result["layout-YUV444-converters"] = chroma_group(
        "ConvYUV444PToBGRA, ConvYUV444PToBGR: 4 bytes per pixel", "UYV-", 1,
        "The fourth byte of each pixel is skipped.")
    result["layout-BGRA"] = picture_out("BGRA")
    result["layout-BGR"] = picture_out("BGR")
    result["file-rwh"] = fields("RWH: a raw frame in a file", [
        ("0", "4", "pixel-format code"), ("4", "4", "width in pixels"), ("8", "4", "height in rows"),
        ("12", "4", "row size = bits per pixel * width / 8, rounded down"),
        ("16", "", "row size * height bytes: rows without padding, top row first")])
    result["file-bmp"] = fields("The library's bitmap file (little-endian, unsigned)", [
        ("0", "2", "'B' 'M'"), ("2", "8", "size of the file"), ("10", "4", "0"),
        ("14", "8", "where the rows start: 102, or 1126 in 8-bit files"), ("22", "8", "80"), ("30", "8", "width"),
        ("38", "8", "height"), ("46", "2", "1"), ("48", "2", "bits per pixel: 32, 24 or 8"), ("50", "4", "0, no meaning"),
        ("54", "8", "0: not compressed"), ("62", "8", "bytes of all rows"),
        ("70", "8", "pixels a metre across: 16000, or 160000 in 8-bit files"), ("78", "8", "pixels a metre down"),
        ("86", "8", "palette entries: 0, or 256 in 8-bit files"), ("94", "8", "the same again"),
        ("102", "1024", "8-bit files only: palette, 256 times (i, i, i, 0)"),
        ("then", "", "rows, the bottom row first, each padded with 0 to 3 zeros")])
    return result
