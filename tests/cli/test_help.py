# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Help, man page, documentation and completion name what the program has.
import pathlib
import re
import shutil
import subprocess

import pytest
from conftest import PROGRAM

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "tools/vexacamutl"
VERBS = ["convert", "info", "formats", "reverse", "pack", "unpack", "synth", "guess", "bench"]


def options_of(tool, verb):
    return set(re.findall(r"--[a-z][a-z-]*", tool.good(verb, "--help").decode())) - {"--help"}


@pytest.mark.parametrize("verb", VERBS)
def test_man_page_has_every_option(tool, verb):
    manual = (FOLDER / "vexacamutl.1").read_text().replace("\\-", "-")
    assert options_of(tool, verb) - set(re.findall(r"--[a-z][a-z-]*", manual)) == set()
    assert re.search(rf"\b{verb}\b", manual)


@pytest.mark.skipif(shutil.which("groff") is None, reason="groff is not installed")
def test_man_page_formats_without_a_warning():
    done = subprocess.run(["groff", "-man", "-t", "-Tascii", "-ww", str(FOLDER / "vexacamutl.1")], capture_output=True,
                          check=False)
    assert (done.returncode, done.stderr) == (0, b"")
    assert b"EXIT STATUS" in re.sub(rb".\x08", b"", done.stdout)


def test_documentation_has_only_options_that_exist(tool):
    known = set().union(*(options_of(tool, verb) for verb in VERBS)) | {"--help", "--version"}
    page = (ROOT / "docs/vexacamutl.md").read_text()
    page = re.sub(r"`python3 [^`]*`", "", page)  # another program has options of its own
    assert set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", page)) - known == set()
    for verb in VERBS:
        assert f"vexacamutl {verb}" in page


def complete(*words):
    """What bash offers for the last of these words."""
    script = (f'. {FOLDER}/completions/vexacamutl.bash; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _vexacamutl; '
              'printf "%s\\n" "${COMPREPLY[@]}"')
    done = subprocess.run(["bash", "-c", script, "bash", PROGRAM, *words], capture_output=True, check=True, text=True)
    assert done.stderr == ""
    return done.stdout.split()


def test_bash_completion(tool):
    assert complete("") == VERBS + ["--help", "--version"]
    assert complete("con") == ["convert"]
    assert complete("convert", "--bayer") == ["--bayer-mode"]
    assert set(complete("convert", "--")) == options_of(tool, "convert") | {"--help"}
    assert complete("convert", "--format", "BayerRG1") == [
        "BayerRG10", "BayerRG12", "BayerRG14", "BayerRG16", "BayerRG10p", "BayerRG12p", "BayerRG10Packed",
        "BayerRG12Packed", "BayerRG10CSI2", "BayerRG12CSI2"]
    assert complete("convert", "-f", "rggb8") == ["rggb8"] and "uyvy422" in complete("formats", "uyv")
    assert complete("convert", "-t", "p") == ["png", "ppm", "pgm"]
    assert complete("formats", "YUV8") == ["YUV8_UYV"]
    assert f"{FOLDER}/vexacamutl.1" in complete("info", f"{FOLDER}/vexa")


def test_every_kind_that_completion_offers_exists(tool):
    tool.write("in.raw", bytes(16))
    for kind in complete("convert", "--to", ""):
        tool.good("convert", "-f", "Mono8", "-s", "4x4", "in.raw", f"out.{kind}")
