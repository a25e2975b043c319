# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Names of mutants, and lists of them."""
import pytest
from mutate import lists
from mutate.mutant import BadName, Mutant, named

TEXT = "void f() {\n    if (a < b && c < d) {\n        g(a,\n          b);\n    }\n}\n"


def test_a_name_finds_its_mutant():
    for old, at in (("<", TEXT.index("<")), ("<", TEXT.rindex("<")), ("g(a,\n          b);", TEXT.index("g("))):
        mutant = Mutant.at("a.cpp", TEXT, at, at + len(old), "new")
        assert named(mutant.name(TEXT), TEXT) == mutant


def test_names():
    second = Mutant.at("a.cpp", TEXT, TEXT.rindex("<"), TEXT.rindex("<") + 1, "<=")
    assert second.name(TEXT) == "a.cpp: '<' #2 -> '<=' in: if (a < b && c < d) {"
    assert second.names(TEXT) == {second.name(TEXT), "a.cpp: any in: if (a < b && c < d) {"}
    assert str(second).startswith("a.cpp:2:19: '<' -> '<='")
    assert second.apply(TEXT) == TEXT.replace("c < d", "c <= d")


def test_any_part_of_the_code_can_be_named():
    mutant = named("a.cpp: 'a < b && ' -> '' in: if (a < b && c < d) {", TEXT)
    assert mutant.apply(TEXT) == TEXT.replace("a < b && ", "")


@pytest.mark.parametrize("name, message", [
    ("a.cpp: '<' -> '<='", "not a mutant's name"),
    ("a.cpp: '<' -> '<=' in: if (gone) {", "no such code"),
    ("a.cpp: '<' #3 -> '<=' in: if (a < b && c < d) {", "the line has 2 such tokens"),
    ("a.cpp: 'b);' -> '' in: if (a < b && c < d) {", "no such code"),
    ("a.cpp: '' -> 'x' in: if (a < b && c < d) {", "no such code"),
])
def test_bad_names(name, message):
    with pytest.raises(BadName, match=message):
        named(name, TEXT)


@pytest.fixture
def project(tmp_path):
    (tmp_path / "a.cpp").write_text(TEXT)

    def write(*lines):
        path = tmp_path / "list.txt"
        path.write_text("\n".join(lines) + "\n")
        return str(tmp_path), str(path)
    return write


def test_a_list(project):
    mutants = lists.read(*project("# reason", "", "a.cpp: '<' -> '<=' in: if (a < b && c < d) {"))
    assert [(m.line, m.old, m.replacement) for m in mutants] == [(2, "<", "<=")]


@pytest.mark.parametrize("line, message", [
    ("a.cpp '<' -> '<='", "list.txt:2: not a mutant's name"),
    ("a.cpp: '<' -> '<=' in: gone", "list.txt:2: no such code"),
    ("b.cpp: '<' -> '<=' in: gone", "list.txt:2: b.cpp: No such file"),
    ("a.cpp: any in: if (a < b && c < d) {", "list.txt:2: not a mutant's name"),
])
def test_mistakes_in_a_list(project, line, message):
    with pytest.raises(BadName, match=message):
        lists.read(*project("# reason", line))


def test_a_list_of_equivalent_mutants(project):
    any_of_line = "a.cpp: any in: if (a < b && c < d) {"
    assert lists.read_equivalent(*project("# reason", any_of_line)) == {any_of_line}
    with pytest.raises(BadName, match="no such code"):
        lists.read_equivalent(*project("a.cpp: any in: gone"))
    with pytest.raises(BadName, match="named twice"):
        lists.read_equivalent(*project(any_of_line, any_of_line))
    with pytest.raises(BadName, match="not a mutant's name"):
        lists.read_equivalent(*project("words"))
