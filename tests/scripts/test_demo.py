# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""scripts/demo, in the tree's own build folder; its pictures go to a folder of the test."""
import os
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
SIDECAR = "pixel format: BayerRG8\nwidth: 8\nheight: 6\n"


def demo(*arguments):
    return subprocess.run([ROOT / "scripts" / "demo", *arguments], capture_output=True, text=True, check=False)


def pictures(done):
    """The names in the list of pictures."""
    return [Path(line).name for line in done.stdout.splitlines() if line.startswith("  /") and line.endswith(".png")
            and " " not in line.strip()]


@pytest.fixture
def frames(tmp_path):
    folder = tmp_path / "frames"
    folder.mkdir()
    for name in ("a.raw", "b.RAW", "c.bin"):
        (folder / name).write_bytes(bytes(range(48)))
        (folder / name).with_suffix(".txt").write_text(SIDECAR, encoding="ascii")
    return folder


def test_a_folder(frames, tmp_path):
    """The pictures, every kind of name, and the tool with its next use."""
    out = tmp_path / "out"
    done = demo(frames, out)
    assert (done.returncode, done.stderr) == (0, "")
    assert sorted(pictures(done)) == ["a.png", "b.png", "c.png"] == sorted(path.name for path in out.iterdir())
    tool = next(line.split()[3].rstrip(";") for line in done.stdout.splitlines() if line.startswith("The tool is "))
    assert os.access(tool, os.X_OK)
    assert f"{tool} convert --format BayerRG8 --size 1920x1080 frame.raw frame.png" in done.stdout
    assert "sidecar" not in done.stdout and "beside it" not in done.stdout


def test_the_printed_next_use_works(frames, tmp_path):
    done = demo(frames, tmp_path / "out")
    line = next(line for line in done.stdout.splitlines() if " convert --format" in line)
    (tmp_path / "frame.raw").write_bytes(bytes(1920 * 1080))
    subprocess.run(line.split(), cwd=tmp_path, check=True)
    assert (tmp_path / "frame.png").read_bytes().startswith(b"\x89PNG")


def test_lists_what_it_wrote_and_nothing_else(frames, tmp_path):
    out = tmp_path / "out"
    out.mkdir()
    (out / "a_old.png").write_bytes(b"older")
    (frames / "c.bin").unlink()
    for _ in range(2):  # the second time it replaces
        done = demo(frames, out)
        assert sorted(pictures(done)) == ["a.png", "b.png"]


def test_a_frame_without_a_sidecar(frames, tmp_path):
    """The good ones are converted and listed; the advice is a sidecar, in lines that are one."""
    (frames / "lonely.raw").write_bytes(bytes(48))
    done = demo(frames, tmp_path / "out")
    assert done.returncode != 0
    assert sorted(pictures(done)) == ["a.png", "b.png", "c.png"]
    lines = done.stdout.splitlines()
    advice = next(number for number, line in enumerate(lines) if line.endswith("and run the demo again:"))
    (frames / "lonely.txt").write_text("\n".join(lines[advice + 1:advice + 4]) + "\n", encoding="ascii")
    (frames / "lonely.raw").write_bytes(bytes(1920 * 1080))
    done = demo(frames, tmp_path / "out")
    assert (done.returncode, done.stderr) == (0, "")
    assert "lonely.png" in pictures(done)


@pytest.mark.parametrize("arguments", [("no such folder",), ("--help",), ("/", "-x"), ("a", "b", "c")])
def test_mistakes(arguments):
    done = demo(*arguments)
    assert done.returncode == 2
    assert done.stderr.count("\n") == 1
