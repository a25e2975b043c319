# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Mutants of Python, found in the syntax tree that Python's own `ast` makes of the file."""
from __future__ import annotations

import ast
import itertools
import re

from mutate.mutant import Mutant, in_order
from mutate.operators import PYTHON, SIBLINGS, number_neighbours

SIGNS = {ast.Eq: "==", ast.NotEq: "!=", ast.Lt: "<", ast.LtE: "<=", ast.Gt: ">", ast.GtE: ">=", ast.Is: "is",
         ast.IsNot: "is not", ast.In: "in", ast.NotIn: "not in", ast.Add: "+", ast.Sub: "-", ast.Mult: "*",
         ast.Div: "/", ast.FloorDiv: "//", ast.Mod: "%", ast.LShift: "<<", ast.RShift: ">>", ast.BitAnd: "&",
         ast.BitOr: "|",
         ast.BitXor: "^", ast.And: "and", ast.Or: "or"}


def is_text(node: ast.AST) -> bool:
    return isinstance(node, ast.JoinedStr) or isinstance(node, ast.Constant) and isinstance(node.value, str)


class Finder(ast.NodeVisitor):
    def __init__(self, path: str, text: str):
        self.path, self.text = path, text
        self.starts = [0, *itertools.accumulate(len(line) + 1 for line in text.split("\n"))]
        self.found: list[Mutant] = []

    def span(self, node: ast.expr | ast.stmt) -> tuple[int, int]:
        return (self.starts[node.lineno - 1] + node.col_offset,
                self.starts[(node.end_lineno or 0) - 1] + (node.end_col_offset or 0))

    def add(self, start: int, end: int, replacement: str) -> None:
        self.found.append(Mutant.at(self.path, self.text, start, end, replacement))

    def add_sign(self, left: ast.expr, right: ast.expr, sign: ast.AST) -> None:
        """The operator stands between its operands, beside brackets at most."""
        word = SIGNS.get(type(sign))
        if word is None:
            return
        pattern = r"(?<![\w])" + r"\s+".join(word.split()) + r"(?![\w])" if word[0].isalpha() else re.escape(word)
        match = re.compile(pattern).search(self.text, self.span(left)[1], self.span(right)[0])
        if match:
            for new in PYTHON[word]:
                self.add(match.start(), match.end(), new)

    def visit_BinOp(self, node: ast.BinOp) -> None:
        if not is_text(node.left) and not is_text(node.right):  # texts are only joined
            self.add_sign(node.left, node.right, node.op)
        self.generic_visit(node)

    def visit_Compare(self, node: ast.Compare) -> None:
        for left, sign, right in zip([node.left, *node.comparators], node.ops, node.comparators):
            self.add_sign(left, right, sign)
        self.generic_visit(node)

    def visit_BoolOp(self, node: ast.BoolOp) -> None:
        for left, right in zip(node.values, node.values[1:]):
            self.add_sign(left, right, node.op)
        self.generic_visit(node)

    def visit_UnaryOp(self, node: ast.UnaryOp) -> None:
        start, operand = self.span(node)[0], self.span(node.operand)[0]
        if isinstance(node.op, (ast.Not, ast.Invert)):
            self.add(start, operand, "")
        elif isinstance(node.op, ast.USub):
            self.add(start, operand, "")
        self.generic_visit(node)

    def visit_Constant(self, node: ast.Constant) -> None:
        start, end = self.span(node)
        if isinstance(node.value, bool):
            self.add(start, end, str(not node.value))
        elif isinstance(node.value, (int, float)):
            for new in number_neighbours(self.text[start:end]):
                self.add(start, end, new)

    def visit_Name(self, node: ast.Name) -> None:
        if isinstance(node.ctx, ast.Load):
            for new in SIBLINGS.get(node.id, []):
                self.add(*self.span(node), new)

    def visit_Attribute(self, node: ast.Attribute) -> None:
        _, end = self.span(node)
        for new in SIBLINGS.get(node.attr, []):
            self.add(end - len(node.attr), end, new)
        self.generic_visit(node)

    def visit_JoinedStr(self, node: ast.JoinedStr) -> None:
        """Its parts have no places of their own in this version of Python."""

    def visit_Assert(self, node: ast.Assert) -> None:
        """States what holds anyway."""

    def visit_If(self, node: ast.If) -> None:
        if ast.unparse(node.test) == "TYPE_CHECKING":
            return
        self.add_negation(node.test)
        self.generic_visit(node)

    def visit_While(self, node: ast.While) -> None:
        self.add_negation(node.test)
        self.generic_visit(node)

    def visit_IfExp(self, node: ast.IfExp) -> None:
        self.add_negation(node.test)
        self.generic_visit(node)

    def add_negation(self, test: ast.expr) -> None:
        start, end = self.span(test)
        self.add(start, end, f"(not ({self.text[start:end]}))")

    def visit_Return(self, node: ast.Return) -> None:
        if node.value is not None and not (isinstance(node.value, ast.Constant) and node.value.value is None):
            self.add(*self.span(node.value), "None")
        self.generic_visit(node)

    def visit_Expr(self, node: ast.Expr) -> None:
        if isinstance(node.value, ast.Constant):
            return  # a docstring, or the dots of a stub
        self.add(*self.span(node), "pass")
        self.generic_visit(node)

    def visit_Raise(self, node: ast.Raise) -> None:
        self.add(*self.span(node), "pass")
        self.generic_visit(node)

    def visit_AugAssign(self, node: ast.AugAssign) -> None:
        self.add(*self.span(node), "pass")
        self.generic_visit(node)

    def visit_AnnAssign(self, node: ast.AnnAssign) -> None:
        if node.value is not None:
            self.visit(node.value)  # annotations mean nothing when it runs

    def visit_arguments(self, node: ast.arguments) -> None:
        for default in [*node.defaults, *filter(None, node.kw_defaults)]:
            self.visit(default)

    def visit_FunctionDef(self, node: ast.FunctionDef) -> None:
        for part in [*node.decorator_list, node.args, *node.body]:
            self.visit(part)


def mutants_of(path: str, text: str, statements_only: bool = False) -> list[Mutant]:
    finder = Finder(path, text)
    finder.visit(ast.parse(text))
    whole = ("pass", "None")
    return in_order(m for m in finder.found
                    if not statements_only or m.replacement in whole or m.replacement.startswith("(not ("))
