# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Names of pixel formats: the list that tool and frames layer are tested against as well."""
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
