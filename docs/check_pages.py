#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Keeps the project's Markdown true where a program can: every relative link leads to a file, every function of the
# library that is named exists, every block of C code compiles without a warning against the public header, and so
# does the header's own first program.
#
#   python3 docs/check_pages.py [--compiler cc]
"""Checks the pages of the documentation."""

import argparse
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADER = ROOT / "include" / "VexaCamUtl.h"
LINK = re.compile(r"!?\[[^\]]*\]\(([^)#\s]+)[^)]*\)")
CODE = re.compile(r"^```c\n(.*?)^```$", re.MULTILINE | re.DOTALL)
NAME = re.compile(r"\b(Conv(?:Mono|RGB|BGR|YUV|Byr)\w+|SaveBmp\w+|(?:UTL_STS|PIXEL_FORMAT|BAYER_CONV|CONV_DST)_\w+)\b"
                  r"(?!\.\.\.)")
# The names that the page on adding a converter invents.
INVENTED = {"ConvRGBA8PToBGRA", "ConvRGBA8PToBGR", "PIXEL_FORMAT_RGBA8"}
FIRST_PROGRAM = re.compile(r"^ \* ## A first program\n \*\n((?: \*(?:     .*)?\n)+)", re.MULTILINE)
FLAGS = ["-std=c99", "-pedantic", "-Wall", "-Wextra", "-Wconversion", "-Wshadow", "-Werror", "-Wno-unused-function",
         "-fsyntax-only", "-x", "c", "-"]


def pages():
    """All Markdown of the project; what is built is not part of it."""
    outside = {"build", "out", ".git"}
    return [page for page in sorted(ROOT.rglob("*.md"))
            if not any(part in outside or part.startswith("build-") for part in page.relative_to(ROOT).parts)]


def compile_block(compiler, code):
    """The compiler's complaints about a block, or nothing."""
    result = subprocess.run([compiler, *FLAGS, f"-I{HEADER.parent}"], input=code, text=True, capture_output=True,
                            check=False)
    return result.stderr if result.returncode != 0 else ""


def first_program():
    """The example in the header's opening comment."""
    match = FIRST_PROGRAM.search(HEADER.read_text(encoding="ascii"))
    return "\n".join(line[7:] for line in match[1].splitlines())


def main():
    """Prints what is wrong; returns the exit status."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--compiler", default="cc")
    arguments = parser.parse_args()
    declared = set(NAME.findall(HEADER.read_text(encoding="ascii")))
    problems = []
    blocks = 1
    if complaint := compile_block(arguments.compiler, first_program()):
        problems.append(f"include/VexaCamUtl.h: the first program does not compile\n{complaint}")
    for page in pages():
        name = page.relative_to(ROOT)
        text = page.read_text(encoding="utf-8")
        if not text.isascii():
            problems.append(f"{name}: not ASCII")
        for target in LINK.findall(re.sub(r"```.*?```", "", text, flags=re.DOTALL)):
            if not re.match(r"[a-z]+:", target) and not (page.parent / target).exists():
                problems.append(f"{name}: link to {target}, which does not exist")
        for unknown in sorted(set(NAME.findall(text)) - declared - INVENTED):
            problems.append(f"{name}: {unknown} is not in the header")
        for code in CODE.findall(text):
            blocks += 1
            if complaint := compile_block(arguments.compiler, code):
                problems.append(f"{name}: code does not compile\n{complaint}")
    for problem in problems:
        print(problem, file=sys.stderr)
    print(f"{len(pages())} pages, {blocks} blocks of C: {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
