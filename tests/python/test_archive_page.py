# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The code and the commands of docs/archives.md, from top to bottom in a folder that holds recordings."""
from __future__ import annotations

import importlib.util
import json
import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

from archive_support import TOOL, files_of, run_tool
from vexacamutl import archive
from vexacamutl.archive import _cluster, _slurm

ROOT = Path(__file__).resolve().parents[2]
PAGE = (ROOT / "docs" / "archives.md").read_text(encoding="ascii")
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


def test_settings_of_workers():
    """The page exports what Slurm's workers get, under names for which Dask has values of its own."""
    dask = pytest.importorskip("dask")
    pytest.importorskip("distributed")
    exported = dict(pair.split("=") for line in re.findall("^export (.*)$", PAGE, re.MULTILINE) for pair in line.split())
    assert exported == _cluster.ENVIRONMENT
    assert set(_slurm._command("file").split()) > {f"{name}={value}" for name, value in exported.items()}
    for name in exported:
        key = name.removeprefix("DASK_").lower().replace("__", ".").replace("_", "-")
        assert re.fullmatch(r"[0-9]+ms", dask.config.get(key)), key


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


@pytest.fixture(scope="module")
def bench():
    source = importlib.util.spec_from_file_location("bench_archive", ROOT / "bench" / "archive.py")
    assert source is not None and source.loader is not None
    module = importlib.util.module_from_spec(source)
    source.loader.exec_module(module)
    return module


def printed(bench, scale=1.0):
    speeds = [bench.Speed("png", 240, 8 * scale, 8.5, 8.25), bench.Speed("bgra", 960, 2 * scale, 2.5, 2.25)]
    costs = [bench.Cost(frames, batch, frames * 2e-4 * scale + 0.01 * -(-frames // batch))
             for frames in (1_000, 10_000, 100_000) for batch in (16, 64, 512)]
    model = bench.Model(*bench.fitted(costs), 0.01, 0.04, 1.2e6)
    return bench.report("AMD EPYC (family 26), 2 virtual cores, 2026-11-22", 0.1, speeds, costs, model,
                        bench.Waits(0.001 * scale, 0.25))


def form_of(text):
    """Without figures, and what depends on them."""
    return re.sub(r"computing|engine \||network|file system|none suffices|\d[\d,.]*(?: (?:min|h|d)\b)?", "N", text)


def test_figures_have_the_form_that_the_bench_prints(bench):
    """They were not pasted by hand."""
    between = PAGE.split(bench.BEGIN)[1].split(bench.END)[0]
    where = r"on an .*?, (\d+) virtual cores, \d{4}-\d\d-\d\d; load"
    assert re.search(where, between)
    assert form_of(re.sub(where, "", between)) == form_of(re.sub(where, "", "\n" + printed(bench) + "\n"))


def test_figures_are_written_between_their_marks(bench, tmp_path, monkeypatch):
    page = tmp_path / "page.md"
    page.write_text("before\n" + bench.BEGIN + "old\n" + bench.END + "after\n")
    monkeypatch.setattr(bench, "PAGE", page)
    for scale in (1, 2):
        bench.write_page(printed(bench, scale))
        assert page.read_text() == f"before\n{bench.BEGIN}\n{printed(bench, scale)}\n{bench.END}after\n"
    page.write_text("no marks\n")
    with pytest.raises(AssertionError):
        bench.write_page("")
    assert page.read_text() == "no marks\n"


def test_costs_are_found_again(bench):
    """100 us for a frame and 5 ms for a task, and half a second for the whole."""
    costs = [bench.Cost(frames, batch, 0.5 + frames * 1e-4 + -(-frames // batch) * 5e-3)
             for frames in (1_000, 10_000, 100_000) for batch in (16, 64, 512)]
    assert bench.fitted(costs) == pytest.approx((1e-4, 5e-3))


def test_scale_names_the_limit(bench):
    """Two workers compute for hours; a thousand wait for the storage, or for an engine that is slow."""
    def limits(frame):
        rows = [line.split(" | ") for line in bench.scale_table(bench.Model(frame, 5e-3, 0.01, 0.06, 1.2e6))
                if line.startswith("| 10^6")]
        return [(row[1], row[2], row[6]) for row in rows]
    assert limits(1e-5) == [("2", "8.3 h", "computing"), ("10", "1.7 h", "computing"), ("100", "10 min", "network"),
                            ("1,000", "1 min", "network")]
    assert limits(1e-2)[3] == ("1,000", "1 min", "engine")
