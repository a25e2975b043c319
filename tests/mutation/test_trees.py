# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Verdicts on mutants of a fake project: a C file whose test is the program that is built of it."""
import os
import re
import shutil
import subprocess
import time

import pytest
from mutate.mutant import Mutant
from mutate.suites import SUITES, Test, folder_of, suite_of
from mutate.trees import Broken, Tree, copy_tracked

CMAKE = "cmake_minimum_required(VERSION 3.25)\nproject(Fake C)\nadd_executable(fake fake.c)\n"
CODE = ("int main(void) {\n"
        "    int turns = 0;\n"
        "    for (int i = 0; i < 4; ++i) {\n"
        "        turns += 1;\n"
        "    }\n"
        "    return turns == 4 ? 0 : 1;\n"
        "}\n")
RUNS = Test("fake", ("fake",), ("{build}/fake",))

pytestmark = pytest.mark.skipif(not shutil.which("cmake") or not shutil.which("git"), reason="no CMake or git")


def git(folder, *arguments):
    subprocess.run(["git", "-c", "user.name=t", "-c", "user.email=t@localhost", *arguments], cwd=folder, check=True,
                   capture_output=True)


@pytest.fixture
def project(tmp_path):
    folder = tmp_path / "project"
    folder.mkdir()
    (folder / "CMakeLists.txt").write_text(CMAKE)
    (folder / "fake.c").write_text(CODE)
    git(folder, "init", "-q")
    git(folder, "add", ".")
    return folder


@pytest.fixture
def tree(project, tmp_path):
    tree = Tree(str(tmp_path / "tree"), str(tmp_path / "build"), 1)
    tree.prepare(str(project), [])
    tree.check([RUNS])
    return tree


def verdict(tree, old, new, test=RUNS):
    start = CODE.index(old)
    result = tree.judge(Mutant.at("fake.c", CODE, start, start + len(old), new), [test])
    with open(os.path.join(tree.root, "fake.c"), encoding="ascii") as file:
        assert file.read() == CODE  # put back
    return result


def test_verdicts(tree):
    assert verdict(tree, "i < 4", "i <= 4") == "killed"
    assert verdict(tree, "turns += 1;", "gone();;") in ("refused", "killed")  # C may take it for a declaration
    assert verdict(tree, "int turns", "int other") == "refused"
    assert verdict(tree, "turns == 4", "turns >= 4") == "survived"


def test_a_test_that_does_not_end(tree):
    tree.seconds["fake"] = -2.9  # of 30 seconds one is left
    assert verdict(tree, "++i", "i += 0") == "hung"


def test_what_a_test_starts_ends_with_it(tree, tmp_path):
    mark = tmp_path / "pid"
    leaves = Test("leaves", (), ("sh", "-c", f"sleep 600 & echo $! >{mark}"))
    assert tree.run(leaves) == "passed"
    assert ended(mark.read_text().strip())


def ended(pid):
    """Whether a process that got its signal ends; a zombie has."""
    while True:
        try:
            with open(f"/proc/{pid}/stat", encoding="ascii") as file:
                if file.read().split()[2] in "ZX":
                    return True
        except FileNotFoundError:
            return True
        time.sleep(0.01)


def test_folders_of_the_tree_are_filled_in(tree):
    test = Test("env", (), ("sh", "-c", 'test "$HERE" = "$0"', "{root}/x"), (("HERE", "{root}/x"),))
    assert tree.run(test) == "passed"


def test_an_unchanged_tree_that_fails(tree):
    with pytest.raises(Broken, match="does not pass: no"):
        tree.check([Test("no", (), ("false",))])
    with pytest.raises(Broken, match="does not build"):
        tree.check([Test("no", ("no_such_target",), ("true",))])


def test_a_project_that_cannot_be_configured(project, tmp_path):
    (project / "CMakeLists.txt").write_text("message(FATAL_ERROR \"not today\")\n")
    with pytest.raises(Broken, match="not today"):
        Tree(str(tmp_path / "tree"), str(tmp_path / "build"), 1).prepare(str(project), [])


def test_copying(project, tmp_path):
    """What git knows, as it is now; what is the same stays untouched, what is gone goes."""
    copy = tmp_path / "copy"
    copy_tracked(str(project), str(copy))
    before = os.stat(copy / "fake.c").st_mtime_ns
    (copy / "old.c").write_text("old")
    (project / "untracked.c").write_text("new")
    (project / "CMakeLists.txt").write_text("# changed\n")
    copy_tracked(str(project), str(copy))
    assert sorted(os.listdir(copy)) == ["CMakeLists.txt", "fake.c"]
    assert (copy / "CMakeLists.txt").read_text() == "# changed\n"
    assert os.stat(copy / "fake.c").st_mtime_ns == before


ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")


@pytest.mark.parametrize("below", ["src", "frames", "gstreamer", "tools", "python/vexacamutl"])
def test_every_source_has_a_suite(below):
    for folder, _, names in os.walk(os.path.join(ROOT, below)):
        for name in names:
            path = os.path.relpath(os.path.join(folder, name), ROOT)
            assert not name.endswith((".cpp", ".h", ".inc", ".py")) or folder_of(path), path


def test_every_folder_has_tests_that_exist():
    root = ROOT
    for folder, suite in SUITES.items():
        assert os.path.isdir(os.path.join(root, folder)), folder
        assert suite
        for test in suite:
            for word in test.command:
                path = word.format(root=root, build="")
                assert not word.startswith("{root}") or os.path.exists(path), word
            program = next((word for word in test.command if word.startswith("{build}/tests/")), None)
            if program is not None:
                with open(os.path.join(root, os.path.dirname(program)[len("{build}/"):], "CMakeLists.txt"),
                          encoding="ascii") as file:
                    assert os.path.basename(program) in re.findall(r"\w+", file.read()), program
    assert folder_of("src/convert/Mono.cpp") == "src/convert"
    assert folder_of("tools/guess/Guess.cpp") == "tools/guess"
    assert folder_of("src/convertible.cpp") == ""
    assert suite_of("src/kernels/IsaNeon.cpp")[0].command[0] == "qemu-aarch64"
