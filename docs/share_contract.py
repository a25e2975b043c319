#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Doxygen's input filter. The header says in one line what each converter reads and writes, and once, at
# ConverterFunc, what holds for all of them. On the site every converter shows its full contract, so this filter
# refers each of them to that text:
#
#     /** Mono8 to BGR: ... */   ->   /** Mono8 to BGR: ... @copydetails ConverterFunc */
"""Completes the comments of the converters for Doxygen."""

import pathlib
import re
import sys

CONVERTER = re.compile(r"^/\*\* (?P<line>.*) \*/\n(?=VEXACAMUTL_API UtlStatus Conv\w+\(void\* dst, const void\* src, "
                       r"uint32_t width, uint32_t height(?P<shift>, uint32_t shift)?\);)", re.MULTILINE)
SHIFT = "\n * @param shift right shift that brings a 16-bit sample to 8 bits; its low 8 bits count"


def complete(match):
    """The comment with the shared part; a shift is a parameter that only the workers have."""
    shift = SHIFT if match["shift"] else ""
    return f"/** {match['line']} @copydetails ConverterFunc{shift} */\n"


sys.stdout.write(CONVERTER.sub(complete, pathlib.Path(sys.argv[1]).read_text(encoding="ascii")))
