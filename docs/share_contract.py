#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Doxygen's input filter for the header. There, one line says what each converter reads and writes, and the types
# ConverterFunc and ConverterNFunc say what holds for all of them. On the site every converter shows its full contract,
# so this filter adds a reference to the text of its type:
#
#     /** Mono8 to BGR: ... */   ->   /** Mono8 to BGR: ... @copydetails ConverterFunc */
"""Completes the comments of the converters for Doxygen."""

import pathlib
import re
import sys

CONVERTER = re.compile(r"^/\*\* (?P<line>.*) \*/\n(?=VEXACAMUTL_API UtlStatus Conv\w+\(void\* dst, const void\* src, "
                       r"uint32_t width, uint32_t height(?P<shift>, uint32_t shift)?\);)", re.MULTILINE)


def complete(match):
    """The comment with the shared part."""
    return f"/** {match['line']} @copydetails {'ConverterNFunc' if match['shift'] else 'ConverterFunc'} */\n"


sys.stdout.write(CONVERTER.sub(complete, pathlib.Path(sys.argv[1]).read_text(encoding="ascii")))
