# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The folder that Debian's tools are given. scripts/package builds with it, which takes longer than a test may."""
import re
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
CONTACT = "Some & body <somebody@example.org>"


@pytest.fixture(scope="module")
def debian(tmp_path_factory):
    tree = tmp_path_factory.mktemp("tree")
    (tree / "packaging").symlink_to(ROOT / "packaging")
    subprocess.run(["bash", "-euc", '. packaging/build.sh; debianize "$1" "$2"', "bash", tree, CONTACT], cwd=ROOT,
                   check=True)
    return tree / "debian"


def test_contact_is_filled_in(debian):
    for name in ("control", "changelog"):
        text = (debian / name).read_text("ascii")
        assert CONTACT in text and "@CONTACT@" not in text


def test_contact_is_not_invented():
    """The identity of the last commit in a checkout; the file's own in an exported tree."""
    script = ". packaging/build.sh; packages_contact"
    contact = subprocess.run(["bash", "-euc", script], cwd=ROOT, check=True, capture_output=True, text=True).stdout
    assert re.fullmatch(r"[^<>]+ <[^@ ]+@[^@ ]+>\n", contact)
    log = subprocess.run(["git", "-c", "safe.directory=*", "log", "-1", "--format=%aN <%aE>"], cwd=ROOT, check=False,
                         capture_output=True, text=True)
    if log.returncode == 0:
        assert contact == log.stdout
    assert (ROOT / "packaging" / "contact").read_text("ascii").startswith("$Format:") or log.returncode != 0


def test_changelog_is_read_by_debian(debian):
    read = subprocess.run(["dpkg-parsechangelog", "-l", debian / "changelog", "-S", "Maintainer"], check=True,
                          capture_output=True, text=True)
    assert (read.stdout, read.stderr) == (f"{CONTACT}\n", "")


def test_each_package_has_its_files(debian):
    names = re.findall(r"^Package: (.*)$", (debian / "control").read_text("ascii"), re.MULTILINE)
    assert {f"{name}.install" for name in names} == {path.name for path in debian.glob("*.install")}


def test_removal_runs_nothing_of_ours(debian):
    """A postrm of ours, or a configuration file, would leave a removed package in the state rc."""
    assert not [path.name for path in debian.iterdir() if re.search(r"postrm|conffiles", path.name)]


def test_tool_licence_names_what_is_compiled_in(debian):
    text = (debian / "copyright").read_text("ascii") + (debian / "copyright-tool").read_text("ascii")
    tool = text[text.index("Files: usr/bin/vexacamutl"):]
    assert "University of Cincinnati" in tool and "License: Expat and BSD-3-Clause" in tool
    for licence in ("Expat", "BSD-3-Clause"):
        assert re.search(rf"^License: {licence}\n .+", text, re.MULTILINE)
