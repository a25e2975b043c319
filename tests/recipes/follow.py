#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Follows the recipes of docs/add-*.md in scratch copies of the tree; README.md beside this says how pages are written.

    follow.py [PAGE...]          changes and commands, in build/recipes/NAME
    follow.py --apply [PAGE...]  changes only, in a temporary folder
"""
from __future__ import annotations

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FAILS = "<!-- recipe: fails -->"


class BadPage(Exception):
    """A page that is not written as it must be, or that does not fit the tree."""


@dataclass
class Hunk:
    line: int  # of the page
    start: str = ""
    old: str = ""
    new: str = ""


@dataclass
class Change:
    path: str
    creates: bool
    hunks: list[Hunk]


@dataclass
class Command:
    line: int
    text: str
    fails: bool


def blocks(page: str) -> list[tuple[int, str, list[str], str]]:
    """Fenced blocks: the number of their first line, their kind, their lines, the line before them."""
    found = []
    lines = page.split("\n")
    at = 0
    while at < len(lines):
        fence = re.fullmatch(r"( *)```(\w*).*", lines[at])
        at += 1
        if fence is None:
            continue
        first = at
        while at < len(lines) and lines[at].strip() != "```":
            at += 1
        if at == len(lines):
            raise BadPage(f"line {first}: a block without an end")
        indent = len(fence[1])
        body = [line[indent:] for line in lines[first:at]]
        found.append((first + 1, fence[2], body, lines[first - 2].strip() if first >= 2 else ""))
        at += 1
    return found


def changes_of(first: int, lines: list[str]) -> list[Change]:
    changes: list[Change] = []
    source = None
    for number, line in enumerate(lines, first):
        if line.startswith("--- "):
            source = line[4:].strip()
        elif line.startswith("+++ ") and source is not None:
            path = re.sub(r"^b/", "", line[4:].strip())
            creates = source == "/dev/null"
            if not creates and re.sub(r"^a/", "", source) != path:
                raise BadPage(f"line {number}: '{source}' and '{path}' are different files")
            changes.append(Change(path, creates, [Hunk(number)]))
            source = None
        elif not changes:
            raise BadPage(f"line {number}: a change begins with '--- a/FILE' and '+++ b/FILE'")
        elif line.startswith("@@"):
            changes[-1].hunks.append(Hunk(number, line.strip("@ ")))
        elif line[:1] in ("", " ", "-", "+"):
            hunk = changes[-1].hunks[-1]
            hunk.old += "" if line[:1] == "+" else line[1:] + "\n"
            hunk.new += "" if line[:1] == "-" else line[1:] + "\n"
        else:
            raise BadPage(f"line {number}: neither context nor change: {line}")
    for change in changes:
        change.hunks = [hunk for hunk in change.hunks if hunk.old or hunk.new]
        for hunk in change.hunks:
            if change.creates == bool(hunk.old) or hunk.old == hunk.new:
                raise BadPage(f"line {hunk.line}: a hunk has context and changes something; a new file has no context")
    return changes


def steps_of(page: str) -> list[Change | Command]:
    steps: list[Change | Command] = []
    for first, kind, lines, before in blocks(page):
        if kind == "diff":
            steps += changes_of(first, lines)
        elif kind == "sh":
            steps.append(Command(first, "\n".join(lines), before == FAILS))
    return steps


def apply_hunk(text: str, hunk: Hunk, path: str) -> str:
    where = f"line {hunk.line}: {path}"
    begin = 0
    if hunk.start:
        at = text.find(hunk.start)
        if at < 0:
            raise BadPage(f"{where}: '{hunk.start}' is not there")
        begin = text.rfind("\n", 0, at) + 1
    places = [m.start() for m in re.finditer("^" + re.escape(hunk.old), text[begin:], re.M)]
    if not places:
        raise BadPage(f"{where}: these lines are not there:\n{hunk.old}")
    if len(places) > 1 and not hunk.start:
        raise BadPage(f"{where}: these lines stand in {len(places)} places; say after @@ where to begin:\n{hunk.old}")
    at = begin + places[0]
    return text[:at] + hunk.new + text[at + len(hunk.old):]


def apply(change: Change, tree: Path) -> None:
    path = tree / change.path
    if change.creates:
        if path.exists():
            raise BadPage(f"line {change.hunks[0].line}: {change.path} is there already")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("".join(hunk.new for hunk in change.hunks), encoding="ascii")
        return
    if not path.is_file():
        raise BadPage(f"line {change.hunks[0].line}: {change.path} is not there")
    text = path.read_text(encoding="utf-8")
    for hunk in change.hunks:
        text = apply_hunk(text, hunk, change.path)
    path.write_text(text, encoding="utf-8")


def run(command: Command, tree: Path) -> None:
    environment = dict(os.environ)
    if shutil.which("ccache"):
        environment.setdefault("CMAKE_C_COMPILER_LAUNCHER", "ccache")
        environment.setdefault("CMAKE_CXX_COMPILER_LAUNCHER", "ccache")
    print(f"+ {command.text}", flush=True)
    status = subprocess.run(["bash", "-euo", "pipefail", "-c", command.text], cwd=tree, env=environment,
                            check=False).returncode
    if (status != 0) != command.fails:
        raise BadPage(f"line {command.line}: " +
                      ("succeeds, and should not" if command.fails else f"exit status {status}") + f": {command.text}")


def copy_tree(copy: Path) -> None:
    """The files that git knows, as they are now. What is the same stays, so that a second run builds little."""
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True).stdout.decode()
    names = {name for name in listed.split("\0") if name and (ROOT / name).is_file()}
    for path in [p for p in copy.rglob("*") if p.is_file() and p.relative_to(copy).parts[0] not in ("build", ".git")]:
        if str(path.relative_to(copy)) not in names:
            path.unlink()
    for name in names:
        target = copy / name
        if not target.is_file() or target.read_bytes() != (ROOT / name).read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, target)


def follow(page: Path, copy: Path, commands: bool) -> int:
    """Does what the page says, and returns how many steps that were."""
    try:
        steps = steps_of(page.read_text(encoding="utf-8"))
        if not any(isinstance(step, Change) for step in steps):
            raise BadPage("has no block 'diff'")
        copy_tree(copy)
        for step in steps:
            if isinstance(step, Change):
                apply(step, copy)
            elif commands:
                run(step, copy)
        return len(steps)
    except BadPage as error:
        raise BadPage(f"{page.name}: {error}") from error


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--apply", action="store_true")
    parser.add_argument("pages", nargs="*", type=Path, default=sorted((ROOT / "docs").glob("add-*.md")))
    options = parser.parse_args()
    failed = 0
    for page in options.pages:
        with tempfile.TemporaryDirectory() as scratch:
            copy = Path(scratch) if options.apply else ROOT / "build" / "recipes" / page.stem
            copy.mkdir(parents=True, exist_ok=True)
            try:
                print(f"{page.name}: {follow(page, copy, not options.apply)} steps", flush=True)
            except BadPage as error:
                print(f"follow: {error}", file=sys.stderr, flush=True)
                failed = 1
    return failed


if __name__ == "__main__":
    sys.exit(main())
