# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Names of results: the one rule of `vexacamutl convert --output-dir`, needed here before the tool runs.

    a file of one frame     stem.png
    a frame of a sequence   stem_00012.png

tests/python/test_archive_names.py compares it with the tool's own answers.
"""
from __future__ import annotations

import os
import re
from typing import Iterable, Optional

from ._errors import NameCollisionError
from ._inputs import Input

_DIGITS = 5


def stem_of(path: str) -> str:
    """The name of a file without its last ending; a name that begins with its only dot has none."""
    name = os.path.basename(path)
    dot = name.rfind(".")
    return name[:dot] if dot > 0 else name


def result_name(path: str, number: Optional[int], ending: str) -> str:
    """The name of a frame's result; `number` is None for a file of one frame."""
    stem = stem_of(path)
    return f"{stem}.{ending}" if number is None else f"{stem}_{number:0{_DIGITS}}.{ending}"


def refuse_collisions(inputs: Iterable[Input], ending: str) -> None:
    """Two inputs that would become one result."""
    single: dict[str, str] = {}
    sequences: dict[str, Input] = {}
    for source in inputs:
        stem = stem_of(source.path)
        taken = single.get(stem) if source.frames == 1 else None
        if source.frames > 1 and stem in sequences:
            taken = sequences[stem].path
        if taken is not None:
            number = None if source.frames == 1 else 0
            _refuse(taken, source.path, result_name(source.path, number, ending))
        if source.frames == 1:
            single[stem] = source.path
        else:
            sequences[stem] = source
    for stem, path in single.items():
        match = re.fullmatch(rf"(.*)_(\d{{{_DIGITS},}})", stem, re.DOTALL)
        if match is None or match[1] not in sequences:
            continue
        sequence, number = sequences[match[1]], int(match[2])
        if number < sequence.frames and result_name(sequence.path, number, ending) == f"{stem}.{ending}":
            _refuse(sequence.path, path, f"{stem}.{ending}")


def _refuse(one: str, other: str, name: str) -> None:
    raise NameCollisionError(f"{one} and {other} would both become {name}")
