#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Runs the commands of a page as they are printed, against an installed tree:
#
#   python3 docs/run_commands.py PAGE --stage PREFIX --libdir lib --python lib/python3.11/dist-packages --work DIR
#
# A page's commands are its blocks of ```sh. They run from top to bottom in one folder, DIR, which shows the files of
# the project by links and takes what the commands write. A block that uses libraries beside this one stands below a
# line `<!-- needs: aravis-0.8 libpng -->` with their pkg-config names; it is left out, and the exit status is 77, where
# one of them is not installed.
"""Runs the commands that a page prints."""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BLOCK = re.compile(r"(?:^<!-- needs: (?P<needs>[^>]*) -->\n+)?^```sh\n(?P<code>.*?)^```$", re.MULTILINE | re.DOTALL)
BUILT = {"build", "out", ".git"}
LEFT_OUT = 77


def prepare(work):
    """An empty folder with links to what the project has."""
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    for entry in ROOT.iterdir():
        if entry.name not in BUILT and not entry.name.startswith("build-"):
            (work / entry.name).symlink_to(entry)


def environment(stage, libdir, python):
    """What a user has after an installation into a prefix of their own."""
    variables = dict(os.environ, PKG_CONFIG_PATH=f"{stage}/{libdir}/pkgconfig", LD_LIBRARY_PATH=f"{stage}/{libdir}",
                     PYTHONPATH=f"{stage}/{python}", PYTHONDONTWRITEBYTECODE="1")
    variables["PATH"] = f"{stage}/bin:{variables['PATH']}"
    return variables


def missing(needs, variables):
    """The pkg-config names of a block that are not there."""
    return [name for name in needs.split()
            if subprocess.run(["pkg-config", "--exists", name], env=variables, check=False).returncode != 0]


def main():
    """Returns the exit status."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("page", type=pathlib.Path)
    for option in ("stage", "libdir", "python", "work"):
        parser.add_argument(f"--{option}", required=True)
    arguments = parser.parse_args()
    work = pathlib.Path(arguments.work)
    prepare(work)
    variables = environment(arguments.stage, arguments.libdir, arguments.python)
    blocks = list(BLOCK.finditer(arguments.page.read_text(encoding="ascii")))
    if not blocks:
        sys.exit(f"{arguments.page}: no block of commands")
    left_out = 0
    for block in blocks:
        if absent := missing(block["needs"] or "", variables):
            print(f"left out, {', '.join(absent)} is not installed:\n{block['code']}")
            left_out += 1
            continue
        print(block["code"], end="", flush=True)
        result = subprocess.run(["bash", "-euo", "pipefail", "-c", block["code"]], cwd=work, env=variables, check=False)
        if result.returncode != 0:
            sys.exit(f"{arguments.page}: the block above ended with {result.returncode}")
    return LEFT_OUT if left_out else 0


if __name__ == "__main__":
    sys.exit(main())
