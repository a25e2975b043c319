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
#
# and likewise in VexaCamFrames.hpp:
#
#     /// The format of a code.  ->   /// The format of a code. @param code ... @return the format of a code
"""Completes the comments of the functions for Doxygen."""

import pathlib
import re
import sys

CONVERTER = re.compile(r"^/\*\* (?P<line>.*) \*/\n(?=VEXACAMUTL_API UtlStatus Conv\w+\(void\* dst, const void\* src, "
                       r"uint32_t width, uint32_t height(?P<shift>, uint32_t shift)?\);)", re.MULTILINE)
FRAMES_FUNCTION = re.compile(r"^/\*\*(?P<text>(?:(?!\*/).)*?)\s*\*/\n"
                             r"(?=VEXACAMUTL_API (?P<type>[^(;]*?)\bVcf\w+\((?P<arguments>[^)]*)\);)",
                             re.MULTILINE | re.DOTALL)
CPP_FUNCTION = re.compile(r"^ *///(?P<text>[^\n]*)\n"
                          r"(?= *(?:\[\[nodiscard\]\] |static |inline |friend |explicit )*"
                          r"(?P<type>[\w:<>&]+(?: [\w:<>&]+)? )?[\w=]+\((?P<arguments>[^)]*)\))", re.MULTILINE)
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
#: The same for the C++ header.
SHARED_CPP = {
    "a": "a format",
    "b": "another",
    "balance": "receives the gains",
    "bits": "their number",
    "blackLevel": "the sample of a black pixel",
    "buffer": "the frame; only read",
    "bytes": "their number",
    "code": "a number that the C header lists",
    "firstRow": "first row of the band",
    "format": "of the pixels",
    "height": "rows",
    "layout": "of the buffer",
    "name": "as cameras or other programs write it",
    "output": "what is written",
    "picture": "receives the result",
    "region": "receives the result",
    "rowCount": "rows of the band",
    "settings": "levels, colour and the rest",
    "status": "what came of it",
    "step": "1: all cells; n: every n-th cell of every n-th row of cells",
    "stride": "bytes from row to row of the picture; 0: no padding",
    "text": "for people",
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


def complete_cpp(match):
    """The comment with the arguments and the result that it leaves out, in one line."""
    text, kind = match["text"], (match["type"] or "void").strip()
    arguments = re.sub(r"<[^>]*>| = [^,]*", "", match["arguments"]).split(",") if match["arguments"] else []
    added = [f"@param {name} {SHARED_CPP[name]}" for name in (re.findall(r"\w+", argument)[-1] for argument in arguments)]
    if "@return" not in text and kind not in ("void", "else", "return"):
        answer = re.split(r"[.;]( |$)", text.strip())[0]
        added.append("@return " + re.sub(r"^[A-Z](?=[a-z ])", lambda letter: letter[0].lower(), answer))
    # Arguments come first: what follows @return belongs to it.
    said, returned, result = text.partition("@return")
    return f"///{said.rstrip()} {' '.join(added)} {returned}{result}".rstrip() + "\n"


FILTERS = {
    "VexaCamUtl.h": lambda text: CONVERTER.sub(complete, text),
    "VexaCamFrames.h": lambda text: FRAMES_FUNCTION.sub(complete_frames, text),
    "VexaCamFrames.hpp": lambda text: CPP_FUNCTION.sub(complete_cpp, text),
}

HEADER = pathlib.Path(sys.argv[1])
sys.stdout.write(FILTERS[HEADER.name](HEADER.read_text(encoding="ascii")))
