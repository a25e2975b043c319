#!/usr/bin/python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Lists the lines and the outcomes of conditions that no test reached.

    unreached.py FOLDER... -- LLVM-COV-ARGUMENTS

runs `llvm-cov export` with the arguments (programs, -instr-profile) and looks at the sources below the folders. A
template or an inline function counts once, whichever program reached it. Exits with 1 when something is unreached.
unreached.txt excuses places that no test can reach: "FILE: CODE" after a comment with the reason. The line of a
condition that never holds, or of a function, stands for its block. A place that the tests do reach, or that is not
there, makes the list wrong, which is an error too. Only after "~ " a place may count as reached: processes that run at
once lose counts of the file that they share, and what is computed from a difference of counts may then seem reached.
"""
from __future__ import annotations

import collections
import json
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
EXCUSES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "unreached.txt")


def export(form: str, arguments: list[str]) -> str:
    return subprocess.run(["llvm-cov", "export", f"-format={form}", *arguments], check=True, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, text=True).stdout


def line_counts(arguments: list[str]) -> dict[str, dict[int, int]]:
    counts: dict[str, dict[int, int]] = collections.defaultdict(dict)
    path = ""
    for record in export("lcov", arguments).splitlines():
        kind, _, value = record.partition(":")
        if kind == "SF":
            path = os.path.realpath(value)
        elif kind == "DA":
            line, count = map(int, value.split(","))
            counts[path][line] = max(count, counts[path].get(line, 0))
    return counts


def branch_counts(arguments: list[str]) -> dict[str, dict[tuple[int, int], list[int]]]:
    """How often the condition at a line and column was true and was false."""
    counts: dict[str, dict[tuple[int, int], list[int]]] = collections.defaultdict(dict)
    for file in json.loads(export("text", arguments))["data"][0]["files"]:
        for line, column, _, _, taken, not_taken, *_ in file["branches"]:
            both = counts[os.path.realpath(file["filename"])].setdefault((line, column), [0, 0])
            both[0] += taken
            both[1] += not_taken
    return counts


def excuses() -> dict[tuple[str, str], bool]:
    """The places, and whether each has to be unreached."""
    with open(EXCUSES, encoding="ascii") as file:
        lines = [line.rstrip("\n") for line in file if line.strip() and not line.startswith("#")]
    places = {line: line.removeprefix("~ ").partition(": ") for line in lines}
    return {(place[0], place[2]): not line.startswith("~ ") for line, place in places.items()}


def indent(line: str) -> int:
    return len(line) - len(line.lstrip())


def block_of(text: list[str], line: int) -> list[int]:
    """The lines of the block that a condition's or a function's line opens; none for other lines."""
    code = text[line].strip()
    if not code.endswith(("{", ":")) or code.startswith(("switch", "for", "while", "do ")):
        return []
    begin = line  # of a condition that takes several lines
    while begin > 1 and not re.match(r"if |\} |case |extern ", text[begin].strip()) and indent(text[begin - 1]) > 0:
        begin -= 1
    end = line + 1
    while end < len(text) and (text[end] == "" or indent(text[end]) > indent(text[begin])):
        end += 1
    return list(range(line + 1, end))


def main() -> int:
    split = sys.argv.index("--")
    folders, arguments = sys.argv[1:split], sys.argv[split + 1:]
    inside = tuple(os.path.join(ROOT, folder, "") for folder in folders)
    lines, branches = line_counts(arguments), branch_counts(arguments)
    excused, used, totals = excuses(), set(), collections.Counter()
    for path in sorted(path for path in lines if path.startswith(inside)):
        name = os.path.relpath(path, ROOT)
        with open(path, encoding="ascii") as file:
            text = ["", *file.read().splitlines()]
        places: dict[int, set[str]] = collections.defaultdict(set)
        for line, count in lines[path].items():
            if count == 0:
                places[line].add("never")
        for (line, column), counts in branches[path].items():
            # Neither way: the line was not reached at all, or the compiler decided the condition.
            if any(counts):
                for count, outcome in zip(counts, ("true", "false")):
                    if count == 0:
                        places[line].add(f"not {outcome} at {column}")
        for line in [line for line in places if (name, text[line].strip()) in excused]:
            used.add((name, text[line].strip()))
            for covered in (line, *block_of(text, line)):
                places.pop(covered, None)
        for line in [line for line in places if text[line].strip() in ("", "}")]:
            del places[line]  # the line before it tells
        totals["lines"] += len(lines[path])
        totals["outcomes"] += 2 * len(branches[path])
        totals["unreached"] += len(places)
        for line in sorted(places):
            print(f"{name}:{line}: {', '.join(sorted(places[line]))}: {text[line].strip()}")
    wrong = {place for place, must in excused.items()
             if must and place not in used and place[0].startswith(tuple(f"{folder}/" for folder in folders))}
    for name, code in sorted(wrong):
        print(f"unreached.txt: {name}: reached, or not there: {code}")
    print(f"{totals['lines']} lines and {totals['outcomes']} outcomes of conditions; unreached: "
          f"{totals['unreached']} lines, {len(used)} excused")
    return 1 if totals["unreached"] or wrong or not totals["lines"] else 0


if __name__ == "__main__":
    sys.exit(main())
