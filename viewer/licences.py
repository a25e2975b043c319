# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Whose code the engine holds, and under which licences: licences.txt against what the linker took.
"""The licences of everything in the page."""
import html
import pathlib
import re
import typing

TEXT = pathlib.Path(__file__).resolve().parent / "licences.txt"
OWN = "own"


class Part(typing.NamedTuple):
    """A part of licences.txt: `# title`, a line `@ names of archives and objects`, terms."""
    title: str
    names: frozenset[str]
    terms: str


def read_parts(text: str) -> list[Part]:
    parts = []
    for section in re.split(r"^# ", text, flags=re.MULTILINE)[1:]:
        title, names, terms = section.split("\n", 2)
        if not names.startswith("@ "):
            raise SystemExit(f"licences.txt: no line of names below '{title}'")
        parts.append(Part(title, frozenset(names[2:].split()), terms.strip()))
    return parts


def linked_names(lines: str) -> set[str]:
    """The archives and objects in the linker's list, without the variant: libc++ of .../libc++-except.a(new.cpp.o).

    An object of this build is `own`: its path has CMake's folder.
    """
    names = set()
    for line in lines.splitlines():
        path = line.partition("(")[0]
        name = OWN if "CMakeFiles/" in path else re.sub(r"(-\w+)*\.[ao]$", "", path.rpartition("/")[2])
        names.add(name)
    return names


def check(parts: list[Part], linked: set[str]) -> None:
    """Ends the build where something has no licence, or where licences.txt lists what the engine does not hold."""
    listed = frozenset().union(*(part.names for part in parts))
    if not linked:
        raise SystemExit("the linker's list is empty")
    for name in sorted(linked - listed):
        raise SystemExit(f"viewer/licences.txt does not list the licence of: {name}")
    for name in sorted(listed - linked):
        raise SystemExit(f"viewer/licences.txt lists what the engine does not hold: {name}")


def as_html(parts: list[Part]) -> str:
    return "\n".join(f"<details><summary>{html.escape(part.title)}</summary><pre>{html.escape(part.terms)}</pre></details>"
                     for part in parts)
