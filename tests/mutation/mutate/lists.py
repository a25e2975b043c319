# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Lists of mutants: comments after #, empty lines, one name in each other line (mutant.py)."""
from __future__ import annotations

import os

from mutate.mutant import ANY, NAME, BadName, Mutant, line_start, named


def lines_of(path: str) -> list[tuple[int, str]]:
    with open(path, encoding="ascii") as file:
        lines = [line.rstrip("\n") for line in file]
    return [(number, line) for number, line in enumerate(lines, 1) if line and not line.startswith("#")]


def text_of(root: str, path: str, where: str) -> str:
    try:
        with open(os.path.join(root, path), encoding="ascii") as file:
            return file.read()
    except OSError as error:
        raise BadName(f"{where}: {path}: {error.strerror}") from error


def read(root: str, path: str) -> list[Mutant]:
    """The mutants of a list, each a single one."""
    mutants = []
    for number, line in lines_of(path):
        where = f"{path}:{number}"
        match = NAME.fullmatch(line)
        if match is None:
            raise BadName(f"{where}: not a mutant's name: {line}")
        try:
            mutants.append(named(line, text_of(root, match.group(1), where)))
        except BadName as error:
            raise BadName(f"{where}: {error}") from error
    return mutants


def read_equivalent(root: str, path: str) -> set[str]:
    """Names of mutants that cannot be told from the original; each names code that is there."""
    names = set()
    for number, line in lines_of(path):
        where = f"{path}:{number}"
        match = NAME.fullmatch(line) or ANY.fullmatch(line)
        if match is None:
            raise BadName(f"{where}: not a mutant's name: {line}")
        if line_start(text_of(root, match.group(1), where), match[match.lastindex or 1]) is None:
            raise BadName(f"{where}: no such code: {line}")
        if line in names:
            raise BadName(f"{where}: named twice: {line}")
        names.add(line)
    return names
