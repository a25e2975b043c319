# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Mutants of Python: exactly the expected ones of small snippets."""
import ast

import pytest
from mutate.python import mutants_of


def changes(code, **options):
    found = mutants_of("a.py", code, **options)
    for mutant in found:
        ast.parse(mutant.apply(code))  # every mutant is valid Python
    return sorted((m.line, m.old, m.replacement) for m in found)


@pytest.mark.parametrize("code, expected", [
    ("x = a + b", [(1, "+", "-")]),
    ("x = (a) // (b)", [(1, "//", "*")]),
    ("x = a < b <= c", [(1, "<", "<="), (1, "<", ">"), (1, "<=", "<")]),
    ("x = a is not None", [(1, "is not", "is")]),
    ("x = a not in b", [(1, "not in", "in")]),
    ("x = a and b or c", [(1, "and", "or"), (1, "or", "and")]),
    ("x = not a", [(1, "not ", "")]),
    ("x = True", [(1, "True", "False")]),
    ("x = 7", [(1, "7", "6"), (1, "7", "8")]),
    ("x = 0x10", [(1, "0x10", "15"), (1, "0x10", "17")]),
    ("x = shape.width", [(1, "width", "height"), (1, "width", "stride")]),
    ("x = a if b else c", [(1, "b", "(not (b))")]),
    ("def f(a, b=False):\n    return a", [(1, "False", "True"), (2, "a", "None")]),
    ("if a:\n    g(a)", [(1, "a", "(not (a))"), (2, "g(a)", "pass")]),
    ("if a:\n    raise E", [(1, "a", "(not (a))"), (2, "raise E", "pass")]),
    ("g(\n  a,\n  b)", [(1, "g(\n  a,\n  b)", "pass")]),
    ("for a in b:\n    continue", []),
])
def test_changes(code, expected):
    assert changes(code) == expected


@pytest.mark.parametrize("code", [
    '"""Docstring: 1 < 2."""', "# a < b", "x: int", "def f(a: int | None) -> int | None: ...",
    "if TYPE_CHECKING:\n    import a", "import a", "x = f'{a + 1}'", "assert a == b", "x = 'a' + b", "return_ = None",
])
def test_what_does_nothing_when_it_runs(code):
    assert changes(code) == []


def test_statements_only():
    assert changes("g(1 + 2)\nx = a < b", statements_only=True) == [(1, "g(1 + 2)", "pass")]
