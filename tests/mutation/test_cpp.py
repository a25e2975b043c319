# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Mutants of C++: exactly the expected ones of small snippets."""
import json

import pytest

pytest.importorskip("clang.cindex", reason="libclang for Python (python3-clang-14) is not installed")
from mutate.cpp import Sources, Unreadable  # noqa: E402


def sources(folder, **files):
    """A project of a.cpp and headers, with the compile commands of a build."""
    for name, text in files.items():
        (folder / name.replace("_", ".")).write_text(text)
    commands = [{"file": str(folder / "a.cpp"), "directory": str(folder),
                 "command": f"/usr/bin/c++ -std=c++20 -I{folder} -O2 -o a.o -c a.cpp"}]
    (folder / "compile_commands.json").write_text(json.dumps(commands))
    return Sources(str(folder), str(folder))


def changes(folder, code, **files):
    found = sources(folder, a_cpp=code, **files).mutants("a.cpp")
    return sorted((m.line, m.old, m.replacement) for m in found)


@pytest.mark.parametrize("code, expected", [
    ("int f(int* p, int& q) { return *p * q; }", [(1, "*", "+")]),
    ("bool f(int a, int b) { return a < b; }", [(1, "<", "<="), (1, "<", ">")]),
    ("bool f(bool a, bool b) { return a && !b; }", [(1, "!", ""), (1, "&&", "||")]),
    ("bool f() { return true; }", [(1, "true", "false")]),
    ("unsigned f() { return 0x10u; }", [(1, "0x10u", "15u"), (1, "0x10u", "17u")]),
    ("int f() { return 0; }", [(1, "0", "1")]),
    ("float f() { return 0.714f; }", [(1, "0.714f", "0.715f")]),
    ("int f(int left, int right) { return left; }", [(1, "left", "right")]),
])
def test_tokens(tmp_path, code, expected):
    assert changes(tmp_path, code) == expected


@pytest.mark.parametrize("code", [
    "template <class T> T f(T&& t);",
    "const char* text = \"1 < 2\";  // 1 < 2",
    "/* a + b */ int left;",
    "static_assert(sizeof(int) == 4);",
    "#define N 4\n#if 1 < 2\n#endif\n",
    "#if 0\nint f() { return 1 + 2; }\n#endif\n",
    "#include <vector>\nstd::vector<int> f(const std::vector<int>& v);",
])
def test_what_is_not_an_operation(tmp_path, code):
    assert changes(tmp_path, code) == []


def test_statements_of_several_lines(tmp_path):
    code = ("void g(int, int);\n"
            "int f(int a) {\n"
            "    g(a,\n"
            "      a);\n"
            "    const int b = a;\n"
            "    return b;\n"
            "}\n")
    assert changes(tmp_path, code) == [(3, "g(a,\n      a);", "")]


def test_conditions(tmp_path):
    code = "void g();\nvoid f(bool a, bool b) {\n    if (a ||\n        b) {\n        g();\n    }\n}\n"
    assert changes(tmp_path, code) == [(3, "a ||\n        b", "!(a ||\n        b)"), (3, "||", "&&"), (5, "g();", "")]


def test_condition_that_declares(tmp_path):
    code = "int* p();\nvoid f() {\n    if (int* q = p()) {\n        *q = 7;\n    }\n}\n"
    assert [m for m in changes(tmp_path, code) if m[2].startswith("!(")] == []


def test_template_that_nothing_uses(tmp_path):
    code = "template <class T> T f(T a, T b) { return a - b; }"
    assert changes(tmp_path, code) == [(1, "-", "+")]


def test_loops(tmp_path):
    code = "void f() {\n    for (;;) {\n        break;\n    }\n}\n"
    assert changes(tmp_path, code) == [(3, "break", "continue")]


def test_included_files(tmp_path):
    """Inside a namespace too, as the kernels are."""
    project = sources(tmp_path, a_cpp="namespace N {\n#include \"rows.inc\"\n}\n#include \"b.h\"\n",
                      rows_inc="inline int f(int a) {\n    a++;\n    return a;\n}\n",
                      b_h="#pragma once\n#include \"c.h\"\n",
                      c_h="#pragma once\ninline bool g(int a) { return a == 7; }\n")
    assert [(m.old, m.replacement) for m in project.mutants("rows.inc")] == [("a++;", ""), ("++", "--")]
    assert [(m.old, m.replacement) for m in project.mutants("c.h")] == [("==", "!="), ("7", "6"), ("7", "8")]
    assert project.mutants("b.h") == []


def test_statements_only(tmp_path):
    project = sources(tmp_path, a_cpp="void f(int* a) {\n    *a = 7;\n}\n")
    assert [(m.old, m.replacement) for m in project.mutants("a.cpp", statements_only=True)] == [("*a = 7;", "")]


def test_what_cannot_be_read(tmp_path):
    project = sources(tmp_path, a_cpp="int f() { return missing; }", alone_h="int a;")
    with pytest.raises(Unreadable, match="missing"):
        project.mutants("a.cpp")
    with pytest.raises(Unreadable, match="no source of the build includes it"):
        project.mutants("alone.h")
