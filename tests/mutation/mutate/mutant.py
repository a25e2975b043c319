# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""A mutant: one file, one range of its text, what stands there instead; and the name that lists call it by.

A name holds no line number, so that it stays when lines move:

    src/imagefile/RwhFile.cpp: '<' #2 -> '<=' in: if (width < 1 || height < 1) {

`#2` is the second such token of the line. A range of several lines is written with one space for each line's end.
"""
from __future__ import annotations

import re
from collections.abc import Iterable
from dataclasses import dataclass

TOKEN = re.compile(
    r"""//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*'|0[xX][0-9a-fA-F]+[uUlL]*|\d+\.\d+f?|\d+[uUlL]*"""
    r"""|[A-Za-z_]\w*|<<=|>>=|->\*?|::|\.\.\.|&&|\|\||[-+*/%&|^=!<>]=|<<|>>|\+\+|--|\*\*|[^\s\w]""", re.S)
NAME = re.compile(r"(\S+): '(.*)'(?: #(\d+))? -> '(.*)' in: (.*)")
ANY = re.compile(r"(\S+): any in: (.*)")


class BadName(Exception):
    """A name that is not written as names are, or that names code which is not there."""


def one_line(text: str) -> str:
    return " ".join(text.split())


@dataclass(frozen=True)
class Mutant:
    path: str
    start: int
    end: int
    replacement: str
    old: str
    line: int
    column: int
    code: str  # the line that it begins in, without indentation

    @staticmethod
    def at(path: str, text: str, start: int, end: int, replacement: str) -> Mutant:
        begin = text.rfind("\n", 0, start) + 1
        line = text[begin:].partition("\n")[0]
        return Mutant(path, start, end, replacement, text[start:end], text.count("\n", 0, start) + 1, start - begin,
                      line.strip())

    def __str__(self) -> str:
        return f"{self.path}:{self.line}:{self.column}: '{one_line(self.old)}' -> '{self.replacement}'   {self.code}"

    def name(self, text: str) -> str:
        """The name in lists; `text` is the whole unchanged file."""
        begin = self.start - self.column
        before = [m.start() for m in TOKEN.finditer(self.code) if m.group() == self.old]
        indent = text.index(self.code, begin) - begin
        nth = 1 + sum(start < self.column - indent for start in before)
        number = f" #{nth}" if nth > 1 else ""
        return f"{self.path}: '{one_line(self.old)}'{number} -> '{self.replacement}' in: {self.code}"

    def names(self, text: str) -> set[str]:
        """What a list may call it: itself, or one of all mutants of its line."""
        return {self.name(text), f"{self.path}: any in: {self.code}"}

    def apply(self, text: str) -> str:
        return text[:self.start] + self.replacement + text[self.end:]


def in_order(mutants: Iterable[Mutant]) -> list[Mutant]:
    """By their place in the file, each once."""
    return sorted(set(mutants), key=lambda m: (m.start, m.end, m.replacement))


def line_start(text: str, code: str) -> int | None:
    """Where the first line with this code begins, behind its indentation."""
    found = re.search(r"^[ \t]*(" + re.escape(code) + r")[ \t]*$", text, re.M)
    return found.start(1) if found else None


def named(name: str, text: str) -> Mutant:
    """The mutant of that name; the old text is a token, counted by #2, or any part of the code."""
    match = NAME.fullmatch(name)
    if match is None:
        raise BadName(f"not a mutant's name: {name}")
    path, old, nth, replacement, code = match.groups()
    at = line_start(text, code)
    if at is None or not old:
        raise BadName(f"no such code: {name}")
    tokens = [m.start() for m in TOKEN.finditer(code) if m.group() == old]
    if nth is not None or tokens:
        if int(nth or 1) > len(tokens):
            raise BadName(f"the line has {len(tokens)} such tokens: {name}")
        start = at + tokens[int(nth or 1) - 1]
        return Mutant.at(path, text, start, start + len(old), replacement)
    words = re.escape(old) if old in code else r"\s+".join(map(re.escape, old.split()))
    part = re.compile(words).search(text, at)
    if part is None or part.start() > at + len(code):
        raise BadName(f"no such code: {name}")
    return Mutant.at(path, text, part.start(), part.end(), replacement)
