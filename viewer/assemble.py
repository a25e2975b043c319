#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Makes the viewer page: one HTML file with script, style and engine inside.

    viewer/assemble.py ENGINE.wasm OUTPUT.html

The script is src/main.js and all that it imports, bundled by esbuild; the engine is base64 in it. The page's own policy
forbids it every connection, so nothing in it can load from or send to anywhere.
"""
import argparse
import base64
import pathlib
import subprocess

HERE = pathlib.Path(__file__).resolve().parent

POLICY = "default-src 'none'; script-src 'unsafe-inline' 'wasm-unsafe-eval' blob:; worker-src blob:; " \
    "style-src 'unsafe-inline'; img-src blob: data:; base-uri 'none'; form-action 'none'"

PAGE = """<!DOCTYPE html>
<!-- SPDX-License-Identifier: MIT; Copyright (c) the Vexa camera utility library authors -->
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="{policy}">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Raw frame viewer</title>
<style>{style}</style>
</head>
<body>{body}
<script type="application/wasm" id="engine">{engine}</script>
<script>{script}</script>
</body>
</html>
"""


def bundled(entry):
    """The module and its imports as one classic script. A script element ends at the first "</script"."""
    command = ["esbuild", str(entry), "--bundle", "--format=iife", "--target=es2022", "--charset=utf8"]
    script = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return script.replace("</script", "<\\/script")


def text_of(path):
    return path.read_text(encoding="utf-8") if path.exists() else ""


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("engine", type=pathlib.Path)
    parser.add_argument("output", type=pathlib.Path)
    arguments = parser.parse_args()
    page = PAGE.format(
        policy=POLICY,
        style=text_of(HERE / "viewer.css"),
        body=text_of(HERE / "viewer.html"),
        engine=base64.b64encode(arguments.engine.read_bytes()).decode("ascii"),
        script=bundled(HERE / "src" / "main.js"))
    arguments.output.write_text(page, encoding="utf-8")


if __name__ == "__main__":
    main()
