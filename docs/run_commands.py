#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Runs the commands of a page as they are printed, against an installed tree:
#
#   python3 docs/run_commands.py PAGE --stage PREFIX --libdir lib --python lib/python3.11/dist-packages --work DIR
#
# A page's commands are its blocks of ```sh. They run from top to bottom in one folder, DIR, which shows the files of
# the project by links and takes what the commands write. A block of ```console shows each command after "$ " and what
# it prints; "..." stands for any text, and the time of a frame does not count.
#
# Comments above a block are for this program:
#
#   <!-- needs: aravis-0.8 libpng -->   pkg-config names of libraries, or names of programs; the block is left out, and
#                                       the exit status is 77, where one of them is not installed
#   <!-- before: COMMANDS -->           what the page takes for granted, run before the block in the same shell
"""Runs the commands that a page prints."""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BLOCK = re.compile(r"(?P<comments>(?:^<!-- \w+: [^\n]* -->\n+)*)^```(?P<kind>sh|console)\n(?P<code>.*?)^```$",
                   re.MULTILINE | re.DOTALL)
COMMENT = re.compile(r"^<!-- (\w+): (.*) -->$", re.MULTILINE)
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
    """The libraries and programs of a block that are not there."""
    return [name for name in needs.split() if shutil.which(name, path=variables["PATH"]) is None
            and subprocess.run(["pkg-config", "--exists", name], env=variables, check=False).returncode != 0]


def run(code, work, variables, **options):
    """Runs a block, with nothing to read from standard input."""
    return subprocess.run(["bash", "-euo", "pipefail", "-c", code], cwd=work, env=variables, check=False,
                          stdin=subprocess.DEVNULL, **options)


def pattern_of(shown):
    """What a command may print, as a regular expression."""
    shown = re.sub(r'(?<="seconds": )[0-9.]+', "...", shown)
    return re.compile(".*".join(map(re.escape, shown.rstrip("\n").split("..."))), re.DOTALL)


def run_console(before, code, work, variables):
    """Runs the commands of a console block; None, or what is wrong with what they print."""
    for step in re.split(r"^\$ ", code, flags=re.MULTILINE)[1:]:
        command, _, shown = step.partition("\n")
        printed = run(f"{before}\n{command}", work, variables, text=True, stdout=subprocess.PIPE,
                      stderr=subprocess.STDOUT).stdout.rstrip("\n")
        if not pattern_of(shown).fullmatch(printed):
            return f"'{command}' printed:\n{printed}"
    return None


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
        comments = COMMENT.findall(block["comments"])
        before = "\n".join(text for kind, text in comments if kind == "before")
        if absent := missing(" ".join(text for kind, text in comments if kind == "needs"), variables):
            print(f"left out, {', '.join(absent)} is not installed:\n{block['code']}")
            left_out += 1
            continue
        print(block["code"], end="", flush=True)
        if block["kind"] == "console":
            if wrong := run_console(before, block["code"], work, variables):
                sys.exit(f"{arguments.page}: {wrong}")
            continue
        result = run(f"{before}\n{block['code']}", work, variables)
        if result.returncode != 0:
            sys.exit(f"{arguments.page}: the block above ended with {result.returncode}")
    return LEFT_OUT if left_out else 0


if __name__ == "__main__":
    sys.exit(main())
