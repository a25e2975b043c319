#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Doxygen's input filter for the headers. In VexaCamUtl.h, one line says what each converter reads and writes, and the
# types ConverterFunc and ConverterNFunc say what holds for all of them. On the site every converter shows its full
# contract, so this filter adds a reference to the text of its type:
#
#     /** Mono8 to BGR: ... */   ->   /** Mono8 to BGR: ... @copydetails ConverterFunc */
#
# In VexaCamFrames.h, a comment leaves out arguments that mean the same everywhere, and `@return` where its first
# sentence is the answer. The filter adds both:
#
#     /** Bytes of a row. */     ->   /** Bytes of a row. @param layout ... @return bytes of a row */
"""Completes the comments of the functions for Doxygen."""

import pathlib
import re
import sys

CONVERTER = re.compile(r"^/\*\* (?P<line>.*) \*/\n(?=VEXACAMUTL_API UtlStatus Conv\w+\(void\* dst, const void\* src, "
                       r"uint32_t width, uint32_t height(?P<shift>, uint32_t shift)?\);)", re.MULTILINE)
FRAMES_FUNCTION = re.compile(r"^/\*\*(?P<text>(?:(?!\*/).)*?)\s*\*/\n"
                             r"(?=VEXACAMUTL_API (?P<type>[^(;]*?)\bVcf\w+\((?P<arguments>[^)]*)\);)",
                             re.MULTILINE | re.DOTALL)
#: What an argument means in every function of the frames layer that does not say otherwise.
SHARED = {
    "balance": "receives the result",
    "buffer": "first byte of the buffer; only read",
    "converter": "made by VcfCreateConverter",
    "dst_stride": "bytes from row to row of the destination; 0: no padding",
    "format": "a code",
    "height": "rows",
    "index": "from 0",
    "layout": "of the buffer",
    "length": "bytes of the buffer",
    "mirror": "not 0: left to right",
    "name": "ended by a 0 byte",
    "settings": "made by VcfInitSettings",
    "status": "a VCF_ constant",
    "text": "receives the text for people, ended by a 0 byte",
    "text_bytes": "room for it; VCF_TEXT_BYTES is always enough",
    "upside_down": "not 0: upside down",
    "width": "pixels",
    "x": "column of the first pixel",
    "y": "row of the first pixel",
}


def complete(match):
    """The comment with the shared part."""
    return f"/** {match['line']} @copydetails {'ConverterNFunc' if match['shift'] else 'ConverterFunc'} */\n"


def complete_frames(match):
    """The comment with the arguments and the result that it leaves out, on its last line: line numbers stay."""
    text = match["text"]
    names = [argument.split()[-1].lstrip("*") for argument in match["arguments"].split(",") if argument != "void"]
    added = [f"@param {name} {SHARED[name]}" for name in names if not re.search(rf"@param {name}\b", text)]
    if "@return" not in text and match["type"].strip() == "VcfStatus":
        added.append("@return VCF_OK, or the status of what is wrong")
    elif "@return" not in text and match["type"].strip() != "void":
        first = re.match(r"[\s*]*(.*?)\.?(?:\s@|\.\s|$)", re.sub(r"\s*\n \* ?", " ", text), re.DOTALL)
        added.append(f"@return {first[1][0].lower()}{first[1][1:]}")
    return f"/**{text} {' '.join(added)} */\n"


HEADER = pathlib.Path(sys.argv[1])
TEXT = HEADER.read_text(encoding="ascii")
sys.stdout.write(FRAMES_FUNCTION.sub(complete_frames, TEXT) if HEADER.name == "VexaCamFrames.h"
                 else CONVERTER.sub(complete, TEXT))
