# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""tests/skipped.py on the results of a small run of ctest, which prints as the kinds of tests do."""
import subprocess
import sys
from pathlib import Path

import pytest

SKIPPED = Path(__file__).resolve().parents[1] / "skipped.py"
GOOGLETEST = "[ RUN      ] A.b\n/x/Test.cpp:60: Skipped\nthis processor cannot run the avx512 kernels\n\n[  SKIPPED ] A.b (0 ms)"
CMAKE = "skipped: the sanitizers do not run in the emulator"
PYTEST = "s..\nSKIPPED [2] tests/cli/test_faults.py:28: no right to mount\n2 passed, 2 skipped in 1s"


@pytest.fixture
def run(tmp_path):
    """Runs ctest over outputs, each with whether ctest is to call it skipped; returns what the list says."""
    def run_cases(*cases):
        lines = []
        for number, (output, skipped) in enumerate(cases):
            (tmp_path / f"{number}.txt").write_text(output + "\n", encoding="ascii")
            lines.append(f'add_test(case{number} "cat" "{tmp_path}/{number}.txt")')
            if skipped:
                lines.append(f'set_tests_properties(case{number} PROPERTIES SKIP_REGULAR_EXPRESSION "kipped")')
        (tmp_path / "CTestTestfile.cmake").write_text("\n".join(lines) + "\n", encoding="ascii")
        subprocess.run(["ctest", "--output-junit", "results.xml", "--test-output-size-passed", "1000000"], cwd=tmp_path,
                       check=True, stdout=subprocess.DEVNULL)
        return subprocess.run([sys.executable, SKIPPED, tmp_path / "results.xml"], capture_output=True, text=True,
                              check=False)
    return run_cases


def test_counts_each_reason(run):
    done = run((GOOGLETEST, True), (GOOGLETEST, True), (CMAKE, True), (PYTEST, False), ("fine", False))
    assert done.returncode == 0, done.stderr
    assert sorted(done.stdout.splitlines()) == [
        "skipped: 1 because the sanitizers do not run in the emulator",
        "skipped: 2 because no right to mount",
        "skipped: 2 because this processor cannot run the avx512 kernels"]


def test_long_output_keeps_its_reason(run):
    done = run(("x\n" * 100000 + PYTEST, False))
    assert done.stdout == "skipped: 2 because no right to mount\n"


def test_nothing_skipped(run):
    done = run(("fine", False))
    assert (done.returncode, done.stdout) == (0, "")


@pytest.mark.parametrize("output", ["skipped: OpenCV is not installed", PYTEST.replace("no right to mount",
                                                                                     "mypy is not installed")])
def test_what_is_not_installed_is_a_failure(run, output):
    done = run((output, output.startswith("skipped")))
    assert done.returncode == 1
    assert "is not installed" in done.stderr


def test_a_skip_without_a_reason_is_a_failure(run):
    done = run(("I was skipped, and do not say why", True))
    assert done.returncode == 1
    assert "case0 gives no reason" in done.stderr
