# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The code and the commands of docs/archives.md, from top to bottom in a folder that holds recordings."""
from __future__ import annotations

import json
import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

from archive_support import TOOL, files_of, run_tool
from vexacamutl import archive

PAGE = (Path(__file__).resolve().parents[2] / "docs" / "archives.md").read_text(encoding="ascii")
SHAPE = ["-f", "BayerRG8", "-s", "640x480"]


@pytest.fixture
def folder(tmp_path, monkeypatch):
    """24 frames of four files, a sequence of 30 with a sidecar, and the tool on PATH as the page expects it."""
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("PATH", f"{os.path.dirname(TOOL)}:{os.path.dirname(sys.executable)}:{os.environ['PATH']}")
    (tmp_path / "recordings").mkdir()
    for i, frames in enumerate((1, 1, 2, 20)):
        run_tool("synth", "-s", "640x480", "-n", frames, f"recordings/r{i}.raw")
    run_tool("synth", "-s", "640x480", "-n", 30, "--sidecar", "recording.raw")
    return tmp_path


def blocks(kind):
    """(what the block needs, its text)"""
    return re.findall(rf"(?:^<!-- needs: (.*) -->\n)?^```{kind}\n(.*?)^```$", PAGE, re.MULTILINE | re.DOTALL)


def run(code):
    done = subprocess.run(["bash", "-euo", "pipefail", "-c", code], capture_output=True, text=True, check=False)
    assert done.returncode == 0, code + done.stdout + done.stderr
    return done.stdout


def test_python(folder, capsys):
    names: dict = {}
    for _, code in blocks("python"):
        exec(compile(code, "archives.md", "exec"), names)
    said = capsys.readouterr().out
    assert said.startswith("<Archive of 24 frames, BayerRG8 640x480>\n") and "24 done, 0 skipped, 0 failed; " in said
    assert names["raw"].shape == (24, 480, 640) and names["pictures"].shape == (24, 480, 640, 3)
    assert names["first"].shape == (480, 640) and len(names["few"]) == 3 and names["brightness"].shape == (24,)
    run_tool("convert", *SHAPE, "-b", "acpi", "-o", "plain", "recordings")
    assert files_of("pictures") == files_of("plain")


def test_commands(folder):
    shell = [code for needs, code in blocks("sh") if not needs]
    assert len(shell) == 4
    said = [run(code) for code in shell]
    assert "24 in 4 files" in said[0] and "24 good, 0 wrong" in said[0]
    assert "24 done" in said[1] and said[2].strip() == "30"
    run_tool("convert", *SHAPE, "-o", "plain", "recordings")
    run_tool("convert", *SHAPE, "-t", "jpg", "--quality", 95, "-o", "plain-jpg", "recordings")
    run_tool("convert", "-o", "plain-4", "recording.raw")
    assert files_of("pictures-2") == files_of("plain-jpg") and files_of("pictures-3") == files_of("plain")
    assert files_of("pictures-4") == files_of("plain-4") and files_of("pictures-5") == files_of("plain")
    lines = [json.loads(line) for path in folder.glob("report-*.jsonl") for line in path.read_text().splitlines()]
    assert sorted(line["frame"] for line in lines) == list(range(30))


def test_exceptions_of_the_page():
    for name in re.findall(r"`(\w+Error)`", PAGE):
        assert issubclass(getattr(archive, name), archive.ArchiveError)
