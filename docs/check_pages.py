#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Keeps the project's Markdown true where a script can: relative links lead to files; functions of the library, paths of
# the tree, scripts and presets that are named exist; blocks of C code compile without a warning against the public
# header; the header and README.md print the first program as examples/c has it; the header's table names every converter
# once; docs/README.md names every page once.
#
#   python3 docs/check_pages.py [--compiler cc]
"""Checks the pages of the documentation."""

import argparse
import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADER = ROOT / "include" / "VexaCamUtl.h"
LINK = re.compile(r"!?\[[^\]]*\]\(([^)#\s]+)[^)]*\)")
CODE = re.compile(r"^```c\n(.*?)^```$", re.MULTILINE | re.DOTALL)
SPAN = re.compile(r"`([^`]+)`")
NAME = re.compile(r"\b(Conv(?:Mono|RGB|BGR|YUV|Byr)\w+|SaveBmp\w+|(?:UTL_STS|PIXEL_FORMAT|BAYER_CONV|CONV_DST)_\w+)\b"
                  r"(?!\.\.\.)")
# The names that the page on adding a converter invents.
INVENTED = {"ConvRGBA8PToBGRA", "ConvRGBA8PToBGR", "PIXEL_FORMAT_RGBA8"}
# A path of the tree: of one of its folders, or a source file of any folder.
PATH = re.compile(r"(?<![\w/.-])(?:\.\./)*[\w.-]+(?:/[\w.*-]+)+/?")
SOURCE = re.compile(r"\.(?:h|hpp|c|cpp|inc|py|md|cmake)$")
NOT_OURS = {"linux/videodev2.h"}
FIRST_SOURCE = ROOT / "examples" / "c" / "first_picture.c"
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


def name_problems(page, text):
    """Paths, scripts and presets that a page names and the tree does not have."""
    prose = re.sub(r"```.*?```", "", text, flags=re.DOTALL)
    bases = [ROOT, page.parent, page.parent.parent, ROOT / "src", ROOT / "src" / "kernels", ROOT / "tests", ROOT / "docs"]
    folders = {path.name for base in bases for path in base.iterdir() if path.is_dir()} - {"build", "out", "lib"}
    for path in PATH.findall(" ".join(SPAN.findall(prose))):
        ours = path.split("/")[0] in folders or SOURCE.search(path)
        if ours and path not in NOT_OURS and not any(list(base.glob(path.rstrip("/"))) for base in bases):
            yield f"{path} is not in the tree"
    for script in re.findall(r"\bscripts/([a-z][\w.-]*\w)", text):
        if not (ROOT / "scripts" / script).exists():
            yield f"scripts/{script} does not exist"
    presets = {preset["name"] for preset in json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]}
    for preset in re.findall(r"--preset (\w+)", text):
        if preset not in presets:
            yield f"no preset is called {preset}"


def index_problems():
    """docs/README.md names each page once."""
    index = (ROOT / "docs" / "README.md").read_text(encoding="ascii")
    for page in sorted((ROOT / "docs").glob("*.md")):
        if page.name != "README.md" and index.count(f"]({page.name})") != 1:
            yield f"docs/README.md: names {page.name} {index.count(f']({page.name})')} times"


def first_program_problems():
    """Both printed copies of the first program against the example that the tests build and run."""
    source = FIRST_SOURCE.read_text(encoding="ascii").partition(" */\n")[2]
    in_header = FIRST_PROGRAM.search(HEADER.read_text(encoding="ascii"))[1]
    printed = {HEADER: "".join(f"{line[7:]}\n" for line in in_header.splitlines()).rstrip("\n") + "\n",
               ROOT / "README.md": CODE.search((ROOT / "README.md").read_text(encoding="ascii"))[1]}
    return [f"{page.relative_to(ROOT)}: the first program differs from {FIRST_SOURCE.relative_to(ROOT)}"
            for page, code in printed.items() if code != source]


def table_problems():
    """The header's table of formats and functions against its declarations."""
    text = HEADER.read_text(encoding="ascii")
    listed = re.findall(r"^ \*     \(?\w+\)?(?:, ACPI)? +(Conv\w+)(?: \*)? +(Conv\w+)(?: \*)?$", text, re.MULTILINE)
    names = sorted(name for row in listed for name in row)
    declared = sorted(set(re.findall(r"^VEXACAMUTL_API UtlStatus (Conv\w+To\w+)\(", text, re.MULTILINE)))
    return [] if names == declared else [f"include/VexaCamUtl.h: the table of functions differs from the declarations: "
                                         f"{sorted(set(names) ^ set(declared)) or 'a name stands twice'}"]


def main():
    """Prints what is wrong; returns the exit status."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--compiler", default="cc")
    arguments = parser.parse_args()
    headers = HEADER.parent.glob("*.h")
    declared = {name for header in headers for name in NAME.findall(header.read_text(encoding="ascii"))}
    problems = [*first_program_problems(), *table_problems(), *index_problems()]
    blocks = 0
    for page in pages():
        name = page.relative_to(ROOT)
        text = page.read_text(encoding="utf-8")
        if not text.isascii():
            problems.append(f"{name}: not ASCII")
        for target in LINK.findall(re.sub(r"```.*?```", "", text, flags=re.DOTALL)):
            if not re.match(r"[a-z]+:", target) and not (page.parent / target).exists():
                problems.append(f"{name}: link to {target}, which does not exist")
        problems += [f"{name}: {problem}" for problem in name_problems(page, text)]
        if page.parent == ROOT / "docs" or page == ROOT / "README.md":
            problems += [f"{name}: Doxygen ends the code span `{span}` at its apostrophe"
                         for span in SPAN.findall(re.sub(r"```.*?```", "", text, flags=re.DOTALL)) if "'" in span]
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
