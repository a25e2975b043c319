#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Doxygen's input filter for pages. In the tree, links are paths relative to the page. On the site every page has a name,
# made from its path; a picture is found by its file name alone; files that are not on the site have no link there:
#
#     docs/faq.md:  # Questions                              ->   # Questions {#docs-faq}
#     docs/faq.md:  [phases](phases.md)                      ->   [phases](@ref docs-phases)
#     docs/faq.md:  [results](../bench/results/results.md)   ->   results (`bench/results/results.md`)
#     README.md:    ![chart](bench/results/chart.svg)        ->   ![chart](chart.svg)          found by IMAGE_PATH
#
# A comment that a page carries for the tests is left out.
"""Adapts the pages' links for Doxygen."""

import os
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADERS = {f"include/{name}" for name in ("VexaCamUtl.h", "VexaCamFrames.h", "VexaCamFrames.hpp")}
ON_SITE = {"README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md", "examples/README.md", *HEADERS,
           *(f"docs/{page.name}" for page in (ROOT / "docs").glob("*.md"))}
LINK = re.compile(r"(?P<image>!?)\[(?P<text>[^\]]*)\]\((?P<target>[^)#\s:]+)(?P<anchor>#[^)\s]*)?\)")


def name_of(path):
    """What Doxygen calls a page or a header."""
    if path in HEADERS:
        return os.path.basename(path)
    return "index" if path == "README.md" else path.removesuffix(".md").replace("/", "-")


def adapt(page, text):
    """The text with a name for the page and with links to the names of others."""
    def replace(match):
        target = os.path.normpath(page.parent.relative_to(ROOT) / match["target"])
        if match["image"]:
            return f"![{match['text']}]({os.path.basename(target)})"
        if target in ON_SITE:
            return f"[{match['text']}](@ref {name_of(target)})"
        return match["text"] if match["text"] == f"`{target}`" else f"{match['text']} (`{target}`)"
    parts = re.split(r"(^```.*?^```$)", text, flags=re.MULTILINE | re.DOTALL)
    parts[::2] = [LINK.sub(replace, re.sub(r"^<!--.*?-->\n", "", part, flags=re.MULTILINE)) for part in parts[::2]]
    own = page.relative_to(ROOT).as_posix()
    text = "".join(parts)
    return text if own == "README.md" else re.sub(r"^(# .*)$", rf"\1 {{#{name_of(own)}}}", text, 1, re.MULTILINE)


if __name__ == "__main__":
    source = pathlib.Path(sys.argv[1]).resolve()
    sys.stdout.write(adapt(source, source.read_text(encoding="ascii")))
