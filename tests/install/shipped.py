#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Everything that users get is in a staged install, with the bytes of the tree.

    shipped.py SOURCE STAGE [--tool] [--python]
"""
import argparse
import gzip
import pathlib
import sys


def expected(source, tool, python):
    """Pairs: how the path of an installed file ends, and its content."""
    pairs = [(f"include/{header.name}", header.read_bytes()) for header in (source / "include").glob("*.h*")]
    if tool:
        folder = source / "tools" / "vexacamutl"
        pairs += [("man/man1/vexacamutl.1.gz", (folder / "vexacamutl.1").read_bytes())]
        pairs += [(path, (folder / "completions" / name).read_bytes()) for path, name in (
            ("share/bash-completion/completions/vexacamutl", "vexacamutl.bash"),
            ("share/zsh/vendor-completions/_vexacamutl", "_vexacamutl"),
            ("share/fish/vendor_completions.d/vexacamutl.fish", "vexacamutl.fish"))]
        pairs += [(f"man/man3/{page.name}.gz", page.read_bytes()) for page in source.glob("*/*.3")]
    if python:
        package = source / "python" / "vexacamutl"
        pairs += [(str(file.relative_to(package.parent)), file.read_bytes())
                  for file in package.rglob("*") if file.suffix == ".py" or file.name == "py.typed"]
    return pairs


def content(file):
    """What an installed file holds; manual pages are compressed."""
    return gzip.decompress(file.read_bytes()) if file.suffix == ".gz" else file.read_bytes()


def main():
    """Prints what is missing; returns the exit status."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("stage", type=pathlib.Path)
    parser.add_argument("--tool", action="store_true")
    parser.add_argument("--python", action="store_true")
    arguments = parser.parse_args()
    installed = [file for file in arguments.stage.rglob("*") if file.is_file()]
    wanted = expected(arguments.source, arguments.tool, arguments.python)
    problems = []
    for path, bytes_ in wanted:
        found = [file for file in installed if str(file).endswith("/" + path)]
        if len(found) != 1:
            problems.append(f"{path} is installed {len(found)} times")
        elif content(found[0]) != bytes_:
            problems.append(f"{path} is not the file of the tree")
    if arguments.python and not any(path.endswith("py.typed") for path, _ in wanted):
        problems.append("the Python package has no py.typed")
    print("\n".join(problems) or f"{len(wanted)} files are where users look for them")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
