# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What scripts/release refuses before it builds anything; a release itself is made twice and compared by the script."""
import subprocess
from pathlib import Path

import pytest

SCRIPT = Path(__file__).resolve().parents[2] / "scripts" / "release"


def release(*arguments):
    return subprocess.run([SCRIPT, *arguments], capture_output=True, text=True, check=False)


@pytest.mark.parametrize("arguments", [("--sign",), ("now",), ("--key",)])
def test_usage(arguments, tmp_path):
    done = release("--output", tmp_path / "out", *arguments)
    assert done.returncode != 0
    assert "usage: scripts/release" in done.stderr
    assert not (tmp_path / "out").exists()


def test_a_key_that_is_not_there(tmp_path):
    done = release("--output", tmp_path / "out", "--key", tmp_path / "none.key")
    assert (done.returncode, done.stderr) == (1, f"release: cannot read the key: {tmp_path}/none.key\n")
    assert not (tmp_path / "out").exists()


def test_a_folder_that_is_not_empty(tmp_path):
    (tmp_path / "file").write_text("kept", encoding="ascii")
    done = release("--output", tmp_path)
    # A tree with changes is refused first.
    assert done.returncode == 1
    assert "not committed" in done.stderr or done.stderr == f"release: not empty: {tmp_path}\n"
    assert [path.name for path in tmp_path.iterdir()] == ["file"]
