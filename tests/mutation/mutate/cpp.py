# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Mutants of C++, found in the syntax tree that libclang makes of the file.

The tree says what text alone cannot: whether `*` multiplies, points or declares, where a statement of several lines
ends, and what the preprocessor leaves out. A header or an .inc file is read as a part of a source that includes it.
"""
from __future__ import annotations

import json
import os
import re
import shlex

from clang.cindex import Cursor, CursorKind, Index, SourceLocation, SourceRange, Token, TokenKind, TranslationUnit, conf

from mutate.mutant import Mutant, in_order
from mutate.operators import KEYWORDS, OPERATORS, identifier_siblings, number_neighbours

OPERATIONS = {CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR, CursorKind.UNARY_OPERATOR}
NUMBERS = {CursorKind.INTEGER_LITERAL, CursorKind.FLOATING_LITERAL}
# Uses of a name; in a declaration the same token is the name's own.
USES = {CursorKind.DECL_REF_EXPR, CursorKind.MEMBER_REF_EXPR, CursorKind.OVERLOADED_DECL_REF, CursorKind.TYPE_REF,
        CursorKind.MEMBER_REF, CursorKind.CALL_EXPR, CursorKind.TEMPLATE_REF, CursorKind.VARIABLE_REF}
STATEMENTS = {CursorKind.CALL_EXPR, CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR,
              CursorKind.UNARY_OPERATOR, CursorKind.CXX_THROW_EXPR, CursorKind.CXX_DELETE_EXPR,
              CursorKind.UNEXPOSED_EXPR, CursorKind.CSTYLE_CAST_EXPR, CursorKind.CXX_STATIC_CAST_EXPR}
INCLUDE = re.compile(r'#include ["<](?:.*/)?([^"/>]+)[">]')
JOINING = {"<<", ">>", "+", "/"}
BROKEN = 3  # severity of an error


class Unreadable(Exception):
    """A file that no source of the build includes, or that does not parse."""


def file_of(cursor: Cursor) -> str | None:
    return cursor.location.file.name if cursor.location.file is not None else None


def spans(cursor: Cursor, path: str, kinds: set[CursorKind]) -> list[Cursor]:
    """All cursors of these kinds in the file itself. It may be included inside a namespace of another file."""
    found = []
    for child in cursor.get_children():
        file = file_of(child)
        if file != path and child.kind.is_declaration() and (child.kind != CursorKind.NAMESPACE or is_system(child)):
            continue
        if child.kind in kinds and file == path:
            found.append(child)
        found += spans(child, path, kinds)
    return found


def is_system(cursor: Cursor) -> bool:
    return bool(conf.lib.clang_Location_isInSystemHeader(cursor.location))


def token_mutants(unit: TranslationUnit, path: str, text: str, shown: str) -> list[Mutant]:
    file = unit.get_file(path)
    whole = SourceRange.from_locations(SourceLocation.from_offset(unit, file, 0),
                                       SourceLocation.from_offset(unit, file, len(text)))
    asserted = [(c.extent.start.offset, c.extent.end.offset)
                for c in spans(unit.cursor, path, {CursorKind.STATIC_ASSERT})]
    found = []
    for token in unit.get_tokens(extent=whole):
        start, word = token.extent.start.offset, token.spelling
        if any(first <= start < last for first, last in asserted):
            continue
        found += [Mutant.at(shown, text, start, start + len(word), new) for new in replacements(token, word)]
    return found


def replacements(token: Token, word: str) -> list[str]:
    kind, cursor = token.kind, token.cursor
    if kind == TokenKind.PUNCTUATION and word in OPERATORS:
        # Texts are only joined, and streams only written to.
        overloaded = cursor.spelling.startswith("operator") and cursor.kind in USES and word not in JOINING
        address = cursor.kind == CursorKind.UNARY_OPERATOR and word in ("*", "&")
        return OPERATORS[word] if cursor.kind in OPERATIONS and not address or overloaded else []
    if kind == TokenKind.KEYWORD:
        is_code = cursor.kind in (CursorKind.CXX_BOOL_LITERAL_EXPR, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT)
        return KEYWORDS.get(word, []) if is_code else []
    if kind == TokenKind.LITERAL:
        return number_neighbours(word) if cursor.kind in NUMBERS else []
    if kind == TokenKind.IDENTIFIER and cursor.kind in USES:
        return identifier_siblings(word)
    return []


def statement_mutants(unit: TranslationUnit, path: str, text: str, shown: str) -> list[Mutant]:
    """Statements left out and conditions turned round."""
    found = []
    for block in spans(unit.cursor, path, {CursorKind.COMPOUND_STMT}):
        for statement in block.get_children():
            start, end = statement.extent.start.offset, statement.extent.end.offset
            semicolon = re.compile(r"\s*;").match(text, end)
            if statement.kind in STATEMENTS and semicolon and statement.extent.start.file.name == path:
                found.append(Mutant.at(shown, text, start, semicolon.end(), ""))
    for branch in spans(unit.cursor, path, {CursorKind.IF_STMT}):
        conditions = [c for c in branch.get_children() if c.kind.is_expression() and c.extent.start.file.name == path]
        body = next(c for c in branch.get_children() if c.kind.is_statement() and c.kind != CursorKind.DECL_STMT)
        declares = any(c.kind == CursorKind.VAR_DECL for c in branch.get_children())
        if conditions and not declares and conditions[0].extent.end.offset <= body.extent.start.offset:
            start, end = conditions[0].extent.start.offset, conditions[0].extent.end.offset
            found.append(Mutant.at(shown, text, start, end, f"!({text[start:end]})"))
    return found


class Sources:
    """The sources of a build, by its compile_commands.json, and which of them includes what."""

    def __init__(self, root: str, build: str):
        self.root = os.path.realpath(root)
        with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
            self.commands = {os.path.realpath(c["file"]): c["command"] for c in reversed(json.load(file))}
        self.index = Index.create()
        self.unit: tuple[str, TranslationUnit] | None = None  # the last one that was read

    def arguments(self, source: str) -> list[str]:
        """Folders, definitions, language and machine; what else a compiler is told does not change the tree."""
        words = shlex.split(self.commands[source])
        kept = []
        for word, following in zip(words, [*words[1:], ""]):
            if word == "-isystem":
                kept += [word, following]
            elif re.match(r"-(I|D|std=|m(?!prefer)|isystem.)", word):
                kept.append(word)
        if "aarch64" in os.path.basename(words[1] if words[0].endswith("ccache") else words[0]):
            kept.append("--target=aarch64-linux-gnu")
        return kept

    def includers(self, path: str) -> list[str]:
        """Sources that could include a file, likeliest first: the same name, the same folder, any."""
        wanted, stem = {os.path.basename(path)}, os.path.splitext(path)[0]
        texts: dict[str, set[str]] = {}
        for folder, _, names in os.walk(self.root):
            if os.path.relpath(folder, self.root).split(os.sep)[0] in ("build", ".git"):
                continue
            for name in names:
                if name.endswith((".cpp", ".h", ".inc", ".hpp", ".c")):
                    with open(os.path.join(folder, name), encoding="utf-8") as file:
                        texts[file.name] = set(INCLUDE.findall(file.read()))
        before = 0
        while before < len(wanted):
            before = len(wanted)
            wanted |= {os.path.basename(name) for name, included in texts.items()
                       if included & wanted and not name.endswith((".cpp", ".c"))}
        sources = [name for name, included in texts.items() if included & wanted and name in self.commands]
        return sorted(sources, key=lambda name: (os.path.splitext(name)[0] != stem,
                                                 os.path.dirname(name) != os.path.dirname(path), name))

    def parse(self, source: str) -> TranslationUnit:
        if self.unit is None or self.unit[0] != source:
            unit = self.index.parse(source, args=self.arguments(source))
            errors = [str(d) for d in unit.diagnostics if d.severity >= BROKEN]
            if errors:
                raise Unreadable(f"{source}: {errors[0]}")
            self.unit = (source, unit)
        return self.unit[1]

    def unit_with(self, path: str) -> TranslationUnit:
        if path in self.commands:
            return self.parse(path)
        for source in self.includers(path):
            unit = self.parse(source)
            if any(os.path.realpath(i.include.name) == path for i in unit.get_includes()):
                return unit
        raise Unreadable(f"{path}: no source of the build includes it")

    def mutants(self, shown: str, statements_only: bool = False) -> list[Mutant]:
        """All mutants of a file, by its path in the tree."""
        path = os.path.join(self.root, shown)
        with open(path, encoding="ascii") as file:
            text = file.read()
        unit = self.unit_with(path)
        by_name = next(i.include.name for i in unit.get_includes()
                       if os.path.realpath(i.include.name) == path) if path not in self.commands else path
        found = [] if statements_only else token_mutants(unit, by_name, text, shown)
        return in_order(found + statement_mutants(unit, by_name, text, shown))
