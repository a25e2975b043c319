# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The version stands in CMakeLists.txt; every other place that has to name it names the same."""
import re
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
VERSION = re.search(r"project\(VexaCamUtl\s+VERSION (\d+\.\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text("ascii"))[1]

PLACES = {
    "python/pyproject.toml": r'^version = "(.*)"$',
    "python/vexacamutl/__init__.py": r'^__version__ = "(.*)"$',
    "packaging/debian/changelog": r"\Avexacamutl \((.*?)\)",
    "docs/installing.md": r"/vexacamutl-(\d+\.\d+\.\d+)\.tar\.gz",
    "CHANGELOG.md": r"^## \[?v?(\d+\.\d+\.\d+)",
}


@pytest.mark.parametrize("name", PLACES)
def test_place(name):
    file = ROOT / name
    if not file.exists():
        pytest.skip(f"the tree has no {name}")
    found = re.search(PLACES[name], file.read_text("utf-8"), re.MULTILINE)
    assert found, f"{name} names no version"
    assert found[1] == VERSION


def test_header():
    header = (ROOT / "include" / "VexaCamUtl.h").read_text("ascii")
    numbers = [re.search(rf"#define VEXACAMUTL_VERSION_{part} (\d+)", header)[1] for part in ("MAJOR", "MINOR", "PATCH")]
    assert ".".join(numbers) == VERSION


def test_symbols():
    """No exported function is newer than the version."""
    versions = re.findall(r"@Base (\S+)$", (ROOT / "packaging" / "symbols").read_text("ascii"), re.MULTILINE)
    assert len(versions) >= 90
    assert max(tuple(map(int, version.split("."))) for version in versions) <= tuple(map(int, VERSION.split(".")))
