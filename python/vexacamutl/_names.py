# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Names of pixel formats: the list that tool and frames layer are tested against as well, and the search through it."""
from __future__ import annotations

from pathlib import Path
from typing import NamedTuple, Optional


class FormatName(NamedTuple):
    """One line of format_names.txt, which explains the columns."""

    name: str
    code: int
    served: str
    aliases: tuple[str, ...]


def _read() -> tuple[FormatName, ...]:
    text = (Path(__file__).parent / "format_names.txt").read_text(encoding="ascii")
    rows = [line.split() for line in text.splitlines() if not line.startswith("#")]
    return tuple(FormatName(name, int(code, 16), served, tuple(aliases)) for name, code, served, *aliases in rows)


FORMAT_NAMES = _read()


def normalised(text: str) -> str:
    """Lower-case letters and digits only."""
    return "".join(c for c in text.lower() if c.isascii() and c.isalnum())


_SPELLINGS = {row: tuple(map(normalised, (row.name, *row.aliases))) for row in FORMAT_NAMES}
_BY_SPELLING = {spelling: row for row, spellings in _SPELLINGS.items() for spelling in spellings}
_BY_CODE = {row.code: row for row in FORMAT_NAMES}


def find_name(text: str) -> Optional[FormatName]:
    """The format of a name or an alias."""
    return _BY_SPELLING.get(normalised(text))


def find_code(code: int) -> Optional[FormatName]:
    return _BY_CODE.get(code)


def _edit_distance(a: str, b: str) -> int:
    """How many letters to change, add, leave out or exchange with their neighbour to get from one to the other."""
    before, above = [0] * (len(b) + 1), list(range(len(b) + 1))
    for i in range(1, len(a) + 1):
        row = [i] + [0] * len(b)
        for j in range(1, len(b) + 1):
            row[j] = min(above[j] + 1, row[j - 1] + 1, above[j - 1] + (a[i - 1] != b[j - 1]))
            if i > 1 and j > 1 and a[i - 1] == b[j - 2] and a[i - 2] == b[j - 1]:
                row[j] = min(row[j], before[j - 2] + 1)
        before, above = above, row
    return above[-1]


#: Two letters are part of too many names.
_SHORTEST_PART = 3


def _distance(wanted: str, row: FormatName) -> int:
    if len(wanted) >= _SHORTEST_PART and wanted in normalised(row.name):
        return 0
    return min(_edit_distance(wanted, spelling) for spelling in _SPELLINGS[row])


def nearest_names(text: str) -> tuple[str, ...]:
    """The three names nearest to a text: names that contain it first, then those with the fewest letters to change."""
    wanted = normalised(text)
    return tuple(row.name for row in sorted(FORMAT_NAMES, key=lambda row: _distance(wanted, row))[:3])
