# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""python3 -m vexacamutl.archive: what it prints, how it ends, and how it is stopped."""
from __future__ import annotations

import json
import os
import runpy
import signal
import subprocess
import sys

import pytest

import vexacamutl
from archive_support import H, TOOL, W, files_of, recording, results_in, run_tool, samples, sidecar, wait_until
from vexacamutl import archive
from vexacamutl.archive import _command


@pytest.fixture(autouse=True)
def tool(monkeypatch, tmp_path):
    monkeypatch.setenv("VEXACAMUTL_TOOL", TOOL)
    monkeypatch.chdir(tmp_path)


@pytest.fixture
def mixed(tmp_path, random):
    return recording(tmp_path / "rec", random)


def run(capsys, *words):
    """Status, standard output, and the lines of standard error without the name."""
    try:
        status = _command.main([str(word) for word in words])
    except SystemExit as ended:
        status = ended.code
    printed = capsys.readouterr()
    lines = printed.err.splitlines()
    assert all(line.startswith("vexacamutl.archive: ") for line in lines)
    return status, printed.out, [line[len("vexacamutl.archive: "):] for line in lines]


def test_convert_and_verify(mixed, capsys):
    run_tool("convert", "-o", "plain", mixed)
    status, out, said = run(capsys, "convert", mixed, "out")
    assert (status, said) == (0, []) and out.startswith("26 done, 0 skipped, 0 failed; ")
    assert files_of("out") == files_of("plain")
    status, out, said = run(capsys, "convert", mixed, "out", "--json")
    assert (status, said) == (0, []) and json.loads(out)["skipped"] == 26
    assert run(capsys, "verify", "out", "--digests")[:2] == (0, f"26 good, 0 wrong, 0 failed; {json.loads(out)['bytes'] or sum(map(len, files_of('out').values()))} bytes\n")
    os.truncate("out/grey0.png", 3)
    status, out, said = run(capsys, "verify", "out", "--json")
    assert status == 1 and json.loads(out)["wrong"][0]["output"] == "grey0.png"
    assert len(said) == 1 and said[0].startswith("grey0.png: 3 bytes instead of ")


def test_every_setting(mixed, capsys):
    """Each reaches the tool with its value."""
    grey = [mixed / f"grey{i}.raw" for i in range(3)]
    run_tool("convert", "-t", "png", "--bits", 16, "--png-level", 7, "-o", "a", *grey)
    assert run(capsys, "convert", *grey, "b", "--bits", 16, "--png-level", 7, "--sync", "--no-resume", "-j", 1, "--batch", 2)[0] == 0
    assert files_of("a") == files_of("b")
    options = ["-t", "bmp", "-b", "acpi", "--white-balance", "1.5,1,2", "--black-level", 2, "--exposure", 1.5, "--tone", 2.2, "--alpha"]
    run_tool("convert", *options, "-o", "c", mixed / "bayer.raw")
    assert run(capsys, "convert", *options, mixed / "bayer.raw", "d", "--digest", "sha256")[0] == 0
    assert files_of("c") == files_of("d")
    run_tool("convert", "-g", "-t", "jpg", "--quality", 30, "--tone", "srgb", "-o", "e", mixed / "bayer.raw")
    assert run(capsys, "convert", "-g", "-t", "jpg", "--quality", 30, "--tone", "srgb", mixed / "bayer.raw", "f")[0] == 0
    assert files_of("e") == files_of("f")
    run_tool("convert", "-t", "bgr", "--white-balance", "auto", "-o", "g", mixed / "bayer.raw")
    assert run(capsys, "convert", "-t", "bgr", "--white-balance", "auto", mixed / "bayer.raw", "h")[0] == 0
    assert files_of("g") == files_of("h")


def test_every_layout_option(capsys, random):
    frames = samples(random, (3, H, W + 2), 12)
    with open("a.raw", "wb") as file:
        file.write(b"head" + (frames << 2).tobytes())
    layout = ["-f", "BayerRG12", "-s", f"{W}x{H}", "--stride", 2 * W + 4, "--offset", 4, "--shift", 2]
    run_tool("convert", *layout, "-o", "plain", "a.raw")
    assert run(capsys, "convert", *layout, "a.raw", "out", "--tool", TOOL, "--frames-per-chunk", 2)[0] == 0
    assert files_of("out") == files_of("plain") and len(files_of("out")) == 3
    status, out, _ = run(capsys, "info", *layout, "a.raw", "--frames-per-chunk", 2)
    assert status == 0 and out.splitlines()[:3] == [
        f"frames    3 in 1 files, {3 * 2 * H * (W + 2)} bytes", "chunks    2 of 2 frames",
        f"layout    BayerRG12 {W}x{H}, frames of {2 * H * (W + 2)} bytes"]
    samples(random, (H, 2 * W), 8).tofile("b.raw")
    run_tool("convert", "-f", "uyvy", "-s", f"{W}x{H}", "--range", "limited", "-o", "p", "b.raw")
    assert run(capsys, "convert", "-f", "uyvy", "-s", f"{W}x{H}", "--range", "limited", "b.raw", "q")[0] == 0
    assert files_of("p") == files_of("q")


def test_info(mixed, capsys):
    (mixed / "bad.rwh").write_bytes(b"")
    status, out, said = run(capsys, "info", mixed, "--json")
    found = json.loads(out)
    assert status == 1 and said == [f"{mixed}/bad.rwh: the header holds no known pixel format (0x00000000)"]
    assert (found["frames"], found["files"], found["chunks"], len(found["layouts"])) == (26, 10, 2, 6)
    assert found["timestamps"] == ["1970-01-01T00:00:00.000000000", "1970-01-01T00:00:02.000000000"]
    assert found["bad"][0]["path"] == f"{mixed}/bad.rwh"
    assert "times     1970-01-01T00:00:00.000000000 to 1970-01-01T00:00:02" in run(capsys, "info", mixed)[1]
    assert run(capsys, "info", mixed / "deep0.rwh")[1].splitlines()[-1] == "times     none"
    (mixed / "deep0.raw").write_bytes((mixed / "deep0.rwh").read_bytes()[-2 * W * H:])
    sidecar(mixed / "deep0.raw", "BayerBG12")
    shown = run(capsys, "info", mixed / "deep0.raw", mixed / "deep0.rwh")[1].splitlines()
    assert shown[2:] == [f"layout    BayerBG12 {W}x{H}, frames of {2 * W * H} bytes", "times     none"]


def test_advice_in_the_words_of_the_command(mixed, capsys):
    assert run(capsys, "convert", mixed / "grey0.raw", "out")[0] == 0
    status, _, said = run(capsys, "convert", mixed / "grey0.raw", "out", "--to", "jpg")
    assert status == 2 and said[0].endswith("(to: png, not jpg); choose another folder, or begin anew with --no-resume")
    assert run(capsys, "convert", mixed / "grey0.raw", "out", "--to", "jpg", "--no-resume")[0] == 0


def test_failures_are_listed(mixed, capsys):
    os.truncate(mixed / "grey1.raw", 5)
    status, out, said = run(capsys, "convert", mixed, "out")
    assert status == 1 and "25 done, 0 skipped, 1 failed" in out
    assert said == [f"{mixed}/grey1.raw: 5 bytes are not a whole number of frames of 192 bytes (Mono8 16x12)"]
    status, out, said = run(capsys, "verify", "out")
    assert status == 1 and said[0].startswith(f"{mixed}/grey1.raw: 5 bytes") and "25 good, 0 wrong, 1 failed" in out
    (mixed.parent / "out" / "grey0.png").unlink()
    os.mkdir("out/grey0.png")
    status, out, said = run(capsys, "convert", mixed, "out")
    assert said[-1] == f"{mixed}/grey0.raw: cannot write {os.getcwd()}/out/grey0.png: Is a directory"


SHAPE = ["-f", "Mono8", "-s", "4x4"]


@pytest.mark.parametrize("words,said", [
    ([], "the following arguments are required: VERB"), (["nothing"], "invalid choice: 'nothing'"),
    (["convert"], "required: IN, OUT"), (["convert", "a.raw"], "required: OUT"), (["verify"], "required: OUT"), (["info"], "required: IN"),
    (["convert", "a.raw", "out", "--to", "gif"], "invalid choice: 'gif'"), (["info", "a.raw", "-s", "4"], "invalid size '4'"),
    (["info", "a.raw", "-s", "4xx4"], "invalid size"), (["info", "a.raw", "-s", "0x4", "-f", "Mono8"], "the width must be 1"),
    (["info", "a.raw", "-f", "Mono9", "-s", "4x4"], "unknown pixel format 'Mono9'; did you mean"),
    (["info", "a.raw", *SHAPE, "--stride", "x"], "invalid int value"), (["info", "a.raw", *SHAPE, "--stride", "-4"], "the stride must be"),
    (["info", "a.raw", *SHAPE, "--offset", "-1"], "the offset must be"), (["info", "a.raw", *SHAPE, "--shift", "99"], "the shift must be"),
    (["info", "a.raw", *SHAPE, "--range", "all"], "invalid choice"), (["info", "a.raw", *SHAPE, "--frames-per-chunk", "0"], "frames_per_chunk"),
    (["info", "a.raw", *SHAPE, "--tool", "none"], "none is not a program"), (["info", "none*.raw"], "nothing matches none*.raw"),
    (["info", "none.raw"], "No such file"), (["info", "a.raw"], "give --format and --size"),
    (["convert", "a.raw", "out", *SHAPE, "--jobs", "0"], "jobs must be 1"), (["convert", "a.raw", "out", *SHAPE, "--batch", "-3"], "batch must be"),
    (["convert", "a.raw", "out", *SHAPE, "--digest", "md5"], "invalid choice"), (["convert", "a.raw", "out", *SHAPE, "--patience", "-1"], "patience"),
    (["convert", "a.raw", "out", *SHAPE, "--patience", "nan"], "patience"),
    (["convert", "a.raw", "out", *SHAPE, "--scheduler", "x"], "invalid scheduler 'x'"),
    (["convert", "a.raw", "out", *SHAPE, "--scheduler", "tcp://127.0.0.1:1", "--patience", "0"], "no scheduler answers at tcp://127.0.0.1:1"),
    (["convert", "a.raw", "out", *SHAPE, "--scheduler", "tcp://127.0.0.1:1", "--jobs", "2"], "jobs is for this machine"),
    (["convert", "a.raw", "out", *SHAPE, "--progress", "--quiet"], "not allowed with"),
    (["convert", "a.raw", "out", *SHAPE, "--white-balance", "1,x"], "invalid gains"), (["convert", "a.raw", "out", *SHAPE, "--bits", "9"], "invalid choice"),
    (["convert", "a.raw", "out", *SHAPE, "--white-balance", "1,2"], "white-balance"), (["convert", "a.raw", "out", *SHAPE, "--tone", "wild"], "tone"),
    (["convert", "a.raw", "out", *SHAPE, "--exposure", "99"], "exposure"), (["convert", "a.raw", "out", *SHAPE, "--black-level", "-1"], "black_level"),
    (["convert", "a.raw", "out", *SHAPE, "--png-level", "10"], "png-level"), (["convert", "a.raw", "out", *SHAPE, "--quality", "0"], "quality"),
    (["convert", "a.raw", "out", *SHAPE, "--bits", "16", "-t", "jpg"], "--bits 16 is for"), (["convert", "a.raw", "out", *SHAPE, "-b", "best"], "invalid choice"),
    (["convert", "a.raw", "a.raw", *SHAPE], "Not a directory"), (["convert", "a.raw", "a.raw/x", *SHAPE], "Not a directory"),
    (["convert", "a.raw", "", *SHAPE], "No such file"), (["convert", "a.raw", "out", *SHAPE, "--frames", "3"], "unrecognized arguments"),
    (["verify", "none"], "nothing was converted"), (["verify", "."], "nothing was converted"), (["verify", ""], "No such file")])
def test_mistakes_are_one_line(capsys, words, said):
    with open("a.raw", "wb") as file:
        file.write(bytes(16))
    status, out, lines = run(capsys, *words)
    assert (status, out, len(lines)) == (2, "", 1) and said in lines[0], lines
    assert os.listdir() == ["a.raw"]


def test_version_and_help(capsys):
    assert run(capsys, "--version")[:2] == (0, f"vexacamutl.archive {vexacamutl.__version__}\n")
    for words in (["--help"], ["convert", "--help"], ["info", "-h"], ["verify", "-h"]):
        status, out, _ = run(capsys, *words)
        assert status == 0 and out.startswith("usage: python3 -m vexacamutl.archive")


def test_as_a_module(capsys, monkeypatch):
    import vexacamutl.archive.__main__  # noqa: F401  (imported, it does nothing)

    monkeypatch.setattr(sys, "argv", ["archive", "--version"])
    with pytest.raises(SystemExit):
        runpy.run_module("vexacamutl.archive", run_name="__main__")
    assert "vexacamutl.archive 1" in capsys.readouterr().out


@pytest.mark.parametrize("number,status", [(signal.SIGKILL, -9), (signal.SIGINT, 130), (signal.SIGTERM, 143)])
def test_stopped(random, number, status):
    """While the tool runs, in the middle of the archive; nothing unfinished is left, and the same command goes on."""
    samples(random, (2000, H, W), 8).tofile("s.raw")
    layout = ["-f", "BayerRG8", "-s", f"{W}x{H}"]
    command = [sys.executable, "-m", "vexacamutl.archive", "convert", "s.raw", "out", *layout, "--batch", "10"]
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    wait_until(lambda: results_in("out") >= 300, process)
    process.send_signal(number)
    said = process.communicate()[1]
    assert process.returncode == status
    word = {signal.SIGINT: "stopped", signal.SIGTERM: "ended"}.get(number)
    assert said == (f"vexacamutl.archive: {word}; the same command goes on where this one was\n" if word else "")
    seen = results_in("out")
    assert 300 <= seen < 2000 and archive.verify("out").interrupted
    done = json.loads(subprocess.run([*command, "--json"], capture_output=True, text=True, check=True).stdout)
    assert done["skipped"] == seen and done["done"] == 2000 - seen
    run_tool("convert", *layout, "-o", "plain", "s.raw")
    assert files_of("out") == files_of("plain") and archive.verify("out", True).complete
    assert sorted(os.listdir("out/.vexacamutl")) == ["lock", "manifest.jsonl"]


def test_stopping_from_python(monkeypatch, mixed):
    """An interruption while batches run ends the tool's processes and leaves a folder that goes on."""
    found = archive.open(mixed)
    add = archive._convert.Manifest.add

    def interrupted(self, lines):
        add(self, lines)
        if any("output" in line for line in lines):
            raise KeyboardInterrupt

    with monkeypatch.context() as patch:
        patch.setattr(archive._convert.Manifest, "add", interrupted)
        with pytest.raises(KeyboardInterrupt):
            found.convert("out", batch=1, jobs=2)
    done = results_in("out")
    assert 1 <= done < 26 and found.convert("out").skipped == done
