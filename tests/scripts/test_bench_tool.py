# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The comparison of scripts/bench tool: both programs do the same work, and the table has its form. No figure counts."""
import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
os.environ.setdefault("VEXACAMUTL_TOOL", str(ROOT / "build" / "dev" / "tools" / "vexacamutl" / "vexacamutl"))
sys.path.insert(0, str(ROOT / "bench"))
import tool  # noqa: E402  # pylint: disable=wrong-import-position

FRAMES = 3


@pytest.fixture(name="source", scope="module")
def fixture_source(tmp_path_factory) -> Path:
    path = tmp_path_factory.mktemp("bench") / "smooth.raw"
    path.write_bytes(tool.recording(0, FRAMES))
    return path


def test_a_recording_moves_and_its_noise_is_bounded():
    size = tool.WIDTH * tool.HEIGHT
    smooth, noisy = tool.recording(0, 2), tool.recording(8, 2)
    assert len(smooth) == len(noisy) == 2 * size
    assert smooth[:size] != smooth[size:]
    assert 0 < max(abs(a - b) for a, b in zip(smooth[::97], noisy[::97])) <= 9  # rounding adds one


@pytest.mark.parametrize("job", tool.JOBS, ids=lambda job: job.name)
def test_both_programs_make_pictures_of_all_frames(job, source, tmp_path):
    made = []
    for command in (tool.ours(job, source, tmp_path / "ours", 1), tool.theirs(job, source, tmp_path / "theirs")):
        for folder in ("ours", "theirs"):
            (tmp_path / folder).mkdir(exist_ok=True)
        stream = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout
        made.append(len(stream))
    if job.sink == "folder":
        counts = [len(list((tmp_path / folder).glob(f"*.{job.kind}"))) for folder in ("ours", "theirs")]
        assert counts == [FRAMES, FRAMES]
    else:
        assert made == [tool.WIDTH * tool.HEIGHT * 4 * FRAMES] * 2


def test_the_table():
    done = subprocess.run([sys.executable, "-B", str(ROOT / "bench" / "tool.py"), "--frames", "2", "--rounds", "1"],
                          check=True, capture_output=True, text=True)
    rows = [line for line in done.stdout.splitlines() if line.startswith("| ")][1:]
    assert [row.split(" | ")[0] for row in rows] == [f"| {job.name}" for job in tool.JOBS]
    assert all(re.fullmatch(r"\| [^|]+( \| [\d.]+){6} \|", row) for row in rows), rows
    assert re.search(r"^Bytes of a PNG file.* 2 frames, 1 rounds, \d{4}-\d\d-\d\d\.$", done.stdout, re.MULTILINE)


@pytest.mark.parametrize("arguments", [["--frames", "1"], ["--rounds", "0"], ["--frames", "x"]])
def test_wrong_counts_are_refused(arguments):
    done = subprocess.run([sys.executable, "-B", str(ROOT / "bench" / "tool.py"), *arguments],
                          check=False, capture_output=True, text=True)
    assert done.returncode == 2
    assert done.stdout == ""
