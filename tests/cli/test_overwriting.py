# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# No file is lost: a result never replaces an input, another result or somebody's text, and what it does replace keeps
# mode, owner and links.
import os
import pathlib
import stat
import subprocess

import pytest
from conftest import PROGRAM
from model import rwh

RG8 = 0x01080009
FRAME = bytes(range(48))
SHAPE = ["-f", "BayerRG8", "-s", "8x6"]
TEXT = b"pixel format: BayerRG8\nwidth: 8\nheight: 6\n"


def everything(tool):
    return {name: (tool.folder / name).read_bytes() for name in tool.names()}


REFUSED = {
    "pack onto itself": ["pack", *SHAPE, "e.raw", "e.raw"],
    "convert onto itself": ["convert", *SHAPE, "--to", "png", "e.raw", "e.raw"],
    "through a symbolic link": ["convert", *SHAPE, "--to", "png", "e.raw", "soft.raw"],
    "from a symbolic link": ["convert", *SHAPE, "--to", "png", "soft.raw", "e.raw"],
    "through a hard link": ["convert", *SHAPE, "--to", "png", "e.raw", "hard.raw"],
    "by another name": ["convert", *SHAPE, "--to", "png", "e.raw", "rec/../e.raw"],
    "into the folder of the inputs": ["unpack", "-o", "rec", "rec"],
    "packed originals": ["unpack", "-f", "BayerRG12p", "-s", "8x4", "-o", "rec", "rec/a.raw", "rec/b.raw"],
    "packed originals, folder last": ["unpack", "-f", "BayerRG12p", "-s", "8x4", "rec/a.raw", "rec/b.raw", "rec"],
    "result of one is another input": ["unpack", "-o", "rec", "rec/c.rwh", "rec/a.raw"],
    "one of a sequence": ["convert", "-f", "Mono8", "-s", "8x3", "--to", "pgm", "f_1.pgm", "f_%d.pgm"],
    "reverse onto itself": ["reverse", "-m", *SHAPE, "e.raw", "e.raw"],
    "reverse into its folder": ["reverse", "-m", *SHAPE, "e.raw", "."],
    "the text that was read": ["convert", "--to", "ppm", "told.raw", "told.txt"],
    "the sheet onto its file": ["guess", "-s", "8x6", "e.ppm", "e.ppm"],
    "skipping changes nothing": ["convert", *SHAPE, "--skip-existing", "--to", "png", "e.raw", "e.raw"],
    "frames against a name": ["convert", "-t", "pgm", "-f", "Mono8", "-s", "8x3", "-o", "out", "f_1.pgm", "f_1_00000.pgm"],
    "one name twice": ["convert", *SHAPE, "-o", "out", "e.raw", "rec/e.raw"],
    "sidecar onto its result": ["unpack", "--sidecar", "q.rwh", "q.txt"],
    "sidecars of one name": ["unpack", "--sidecar", "-f", "Mono8", "-s", "8x3", "f_1.pgm", "g.%d"],
    "sidecar onto notes": ["unpack", "--sidecar", "q.rwh", "notes.raw"],
    "sidecar onto a told layout": ["unpack", "--sidecar", "q.rwh", "told.raw"],
    "synth's sidecar onto notes": ["synth", "-s", "8x6", "--sidecar", "notes.raw"],
    "reverse's sidecar onto notes": ["reverse", "-m", "q.rwh", "notes.raw"],
    "results that exist": ["convert", *SHAPE, "--no-overwrite", "--to", "ppm", "e.raw", "e.ppm"],
    "one of many exists": ["convert", *SHAPE, "--no-overwrite", "--to", "raw", "-o", "rec", "e.raw"],
}


def prepare(tool):
    for name in ("e.raw", "rec/e.raw", "rec/a.raw", "rec/b.raw", "f_1.pgm", "told.raw", "e.ppm"):
        tool.write(name, FRAME)
    tool.write("f_1_00000.pgm", FRAME[:24])
    tool.write("told.txt", TEXT)
    tool.write("notes.txt", b"my notes\n")
    tool.write("q.rwh", rwh(RG8, 8, 6, FRAME))
    tool.write("rec/c.rwh", rwh(RG8, 8, 6, FRAME))
    tool.write("rec/b.rwh", rwh(RG8, 8, 6, FRAME))
    (tool.folder / "soft.raw").symlink_to("e.raw")
    os.link(tool.folder / "e.raw", tool.folder / "hard.raw")
    os.link(tool.folder / "rec/a.raw", tool.folder / "rec/c.raw")


@pytest.mark.parametrize("name", list(REFUSED))
def test_refused_before_anything_is_written(tool, name):
    prepare(tool)
    before = everything(tool)
    tool.bad(2, *REFUSED[name])
    assert everything(tool) == before
    assert not (tool.folder / "out").exists()


def test_standard_streams_that_are_files(tool):
    tool.write("e.raw", FRAME)
    with open(tool.folder / "e.raw", "rb") as source:
        done = subprocess.run([PROGRAM, "convert", *SHAPE, "--to", "png", "-", "e.raw"], cwd=tool.folder, stdin=source,
                              stderr=subprocess.PIPE, check=False)
    assert (done.returncode, tool.read("e.raw")) == (2, FRAME)
    with open(tool.folder / "e.raw", "ab") as target:
        done = subprocess.run([PROGRAM, "convert", *SHAPE, "e.raw", "-"], cwd=tool.folder, stdout=target,
                              stderr=subprocess.PIPE, check=False)
    assert (done.returncode, tool.read("e.raw")) == (2, FRAME)


@pytest.mark.parametrize("name", ["/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"])
def test_standard_output_by_name_is_appended_to(tool, name):
    tool.write("e.raw", FRAME)
    tool.write("f", b"kept")
    with open(tool.folder / "f", "ab") as target:
        subprocess.run([PROGRAM, "convert", *SHAPE, "--to", "raw", "e.raw", name], cwd=tool.folder, stdout=target,
                       check=True)
    assert tool.read("f") == b"kept" + FRAME


def test_existing_results_stay(tool):
    tool.write("seq.raw", FRAME * 3)
    tool.write("f_1.ppm", b"mine")
    tool.bad(2, "convert", *SHAPE, "--no-overwrite", "seq.raw", "f_%d.ppm")
    assert tool.names() == ["f_1.ppm", "seq.raw"]
    for jobs in (1, 4):
        done = tool("convert", *SHAPE, "-j", jobs, "--skip-existing", "seq.raw", "f_%d.ppm")
        assert (done.returncode, done.stderr) == (
            0, f"vexacamutl: {'1 result exists and was' if jobs == 1 else '3 results exist and were'} skipped\n")
    assert tool.read("f_1.ppm") == b"mine" and len(tool.read("f_2.ppm")) == 11 + 144
    tool.good("convert", *SHAPE, "-q", "--skip-existing", "-", "f_%d.ppm", stdin=FRAME * 4)
    assert tool.read("f_1.ppm") == b"mine" and len(tool.read("f_3.ppm")) == 11 + 144
    tool.bad(4, "convert", *SHAPE, "--frame", "0", "--no-overwrite", "seq.raw", "none/f.ppm")


@pytest.mark.parametrize("command", [["convert", *SHAPE, "e.raw", "out.bgr"], ["synth", *SHAPE, "out.bgr"],
                                     ["convert", *SHAPE, "-", "out.bgr"], ["guess", "-s", "8x6", "e.raw", "out.png"],
                                     ["pack", *SHAPE, "e.raw", "out.dat"], ["reverse", *SHAPE, "e.raw", "out.rwh"]])
def test_every_verb_can_leave_results_alone(tool, command):
    tool.write("e.raw", FRAME)
    tool.write(command[-1], b"mine")
    tool.bad(2, *command, "--no-overwrite", stdin=FRAME)
    assert tool(*command, "--skip-existing", stdin=FRAME).returncode == 0
    assert tool.read(command[-1]) == b"mine"
    assert tool(*command, stdin=FRAME).returncode == 0
    assert tool.read(command[-1]) != b"mine"
    tool.bad(2, *command, "--skip-existing", "--no-overwrite", stdin=FRAME)


def test_own_sidecar_is_renewed(tool):
    for name in ("Mono8", "BayerGB8"):
        tool.good("synth", "-f", name, "-s", "8x6", "--sidecar", "scene.raw")
        assert name.encode() in tool.read("scene.txt")
    tool.write("scene.txt", tool.read("scene.txt") + b"taken in the garden\n")
    tool.bad(2, "synth", "-s", "8x6", "--sidecar", "scene.raw")


def test_sidecars_of_numbered_frames(tool):
    tool.good("synth", "-n", 3, "-s", "8x6", "--sidecar", "f_%d.raw")
    assert tool.names() == sorted(f"f_{n}.{kind}" for n in range(3) for kind in ("raw", "txt"))
    tool.good("convert", "f_2.raw", "out.png")


def test_reverse_leaves_the_new_phase(tool):
    tool.write("in.raw", FRAME)
    tool.write("in.txt", TEXT)
    tool.good("reverse", "-m", "in.raw", "out.raw")
    assert tool.read("out.txt") == (
        b"file: out.raw\npixel format: 0x01080008 BayerGR8\nwidth: 8\nheight: 6\nbytes: 48\n")
    tool.good("reverse", "-m", "out.raw", "back.raw")
    assert tool.read("back.raw") == FRAME and b"BayerRG8" in tool.read("back.txt")


def test_mode_and_owner_are_kept(tool):
    tool.write("e.raw", FRAME)
    for mode in (0o600, 0o640, 0o666):
        path = tool.write("out.ppm", b"older")
        path.chmod(mode)
        if os.geteuid() == 0:
            os.chown(path, 1234, 4321)
        tool.good("convert", *SHAPE, "e.raw", "out.ppm")
        status = path.stat()
        assert (stat.S_IMODE(status.st_mode), status.st_size) == (mode, 11 + 144)
        if os.geteuid() == 0:
            assert (status.st_uid, status.st_gid) == (1234, 4321)


@pytest.mark.skipif(os.geteuid() == 0, reason="nothing is closed to root")
def test_a_read_only_result_is_not_replaced(tool):
    tool.write("e.raw", FRAME)
    tool.write("out.ppm", b"older").chmod(0o400)
    tool.bad(4, "convert", *SHAPE, "e.raw", "out.ppm")
    assert tool.read("out.ppm") == b"older"


def test_links_are_followed_even_to_nothing(tool):
    tool.write("e.raw", FRAME)
    (tool.folder / "deep").mkdir()
    (tool.folder / "out.ppm").symlink_to("deep/link.ppm")
    (tool.folder / "deep/link.ppm").symlink_to("real.ppm")
    tool.good("convert", *SHAPE, "e.raw", "out.ppm")
    assert (tool.folder / "out.ppm").is_symlink() and (tool.folder / "deep/link.ppm").is_symlink()
    assert len(tool.read("deep/real.ppm")) == 11 + 144
    (tool.folder / "loop.ppm").symlink_to("loop.ppm")
    assert tool.bad(4, "convert", *SHAPE, "e.raw", "loop.ppm") == (
        "cannot write loop.ppm: Too many levels of symbolic links")


PERCENT = {"100%%.ppm": "100%.ppm", "100%.ppm": "100%.ppm", "a%%d.ppm": "a%d.ppm", "f%03d%%.ppm": "f000%.ppm",
           "%5d.ppm": "    0.ppm", "f%0dx.ppm": "f0x.ppm"}


@pytest.mark.parametrize("name", list(PERCENT))
def test_percent_signs(tool, name):
    tool.write("e.raw", FRAME)
    tool.good("convert", *SHAPE, "e.raw", name)
    assert tool.names() == sorted(["e.raw", PERCENT[name]])


@pytest.mark.parametrize("name", ["100%done.ppm", "a%d_%d.ppm"])
def test_doubtful_patterns_are_refused(tool, name):
    tool.write("e.raw", FRAME)
    assert "%%" in tool.bad(2, "convert", *SHAPE, "e.raw", name)
    assert tool.names() == ["e.raw"]


def test_folders_as_outputs(tool):
    tool.write("in/a.raw", FRAME)
    tool.write("in/b.RAW", FRAME)
    tool.good("convert", *SHAPE, "in/a.raw", ".")
    tool.good("convert", *SHAPE, "--to", "ppm", "in/a.raw", "in/b.RAW", "new/")
    tool.good("pack", *SHAPE, "in", "in")
    tool.good("reverse", "in/a.rwh", "new")
    assert set(tool.names()) == {"a.png", "new/a.ppm", "new/b.ppm", "new/a.rwh", "in/a.raw", "in/b.RAW", "in/a.rwh",
                                 "in/b.rwh"}
    assert pathlib.Path(tool.folder / "new").is_dir()
