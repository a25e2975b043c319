#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Makes the viewer page: one HTML file with script, style and engine inside.

    viewer/assemble.py ENGINE.wasm LINKED.txt OUTPUT.html

The script is src/main.js and all that it imports, bundled by esbuild; the engine is base64 beside it. The page's own
policy forbids every connection and every script and style but those of the file, known by their digests. LINKED.txt is
the linker's list of what the engine holds: each part needs its licence in licences.txt.
"""
import argparse
import base64
import hashlib
import pathlib
import subprocess

import licences

HERE = pathlib.Path(__file__).resolve().parent


def bundled(entry):
    """The module and its imports as one classic script. A script element ends at the first "</script"."""
    command = ["esbuild", str(entry), "--bundle", "--format=iife", "--target=es2022", "--legal-comments=none"]
    script = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return script.replace("</script", "<\\/script")


def digest(text):
    return "'sha256-%s'" % base64.b64encode(hashlib.sha256(text.encode("utf-8")).digest()).decode("ascii")


def policy(style, script):
    """The worker is the script once more, as a blob; img-src is for the icon."""
    return "; ".join((
        "default-src 'none'", "connect-src 'none'", "base-uri 'none'", "form-action 'none'", "worker-src blob:",
        "img-src data:", "style-src " + digest(style), "script-src 'wasm-unsafe-eval' " + digest(script)))


def assembled(engine, linked):
    parts = licences.read_parts(licences.TEXT.read_text(encoding="utf-8"))
    licences.check(parts, licences.linked_names(linked))
    style = (HERE / "viewer.css").read_text(encoding="utf-8")
    script = bundled(HERE / "src" / "main.js")
    pieces = {
        "policy": '<meta http-equiv="Content-Security-Policy" content="%s">' % policy(style, script),
        "licences": licences.as_html(parts),
        "style": "<style>%s</style>" % style,
        "engine": '<script type="application/wasm" id="engine-bytes">%s</script>' % base64.b64encode(engine).decode("ascii"),
        "program": '<script id="program">%s</script>' % script,
    }
    page = (HERE / "viewer.html").read_text(encoding="utf-8")
    for name, text in pieces.items():
        before, mark, after = page.partition("<!-- %s -->" % name)
        if not mark:
            raise SystemExit("viewer.html has no place for: " + name)
        page = before + text + after
    return page


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("engine", type=pathlib.Path)
    parser.add_argument("linked", type=pathlib.Path)
    parser.add_argument("output", type=pathlib.Path)
    arguments = parser.parse_args()
    page = assembled(arguments.engine.read_bytes(), arguments.linked.read_text(encoding="utf-8"))
    arguments.output.write_text(page, encoding="utf-8")


if __name__ == "__main__":
    main()
