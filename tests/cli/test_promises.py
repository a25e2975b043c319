# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# What holds for any number of files, and while other processes interfere: nothing is left open, interrupted calls go
# on, planted names in a shared folder are not followed, results before a mistake stay.
import os
import pty
import resource
import signal
import subprocess
import threading

import numpy as np
import pytest
from conftest import PROGRAM
from model import random_samples, read_png

SHAPE = ["-f", "BayerRG8", "-s", "16x8"]
FRAME = 16 * 8
SANITIZED = os.environ.get("VEXACAMUTL_SANITIZE", "") != ""
PACKED = ["BayerRG10p", "BayerRG12p", "BayerRG10Packed", "BayerRG12Packed", "Mono10p", "Mono12Packed"]
MALLOC_DEBUG = "libc_malloc_debug.so.0"


def frame(n=0):
    return random_samples(FRAME, 8, seed=n).tobytes()


# many files

CONVERT = ["convert", "-t", "ppm", "-o", "out", "-j", 1]
WAYS = {
    "convert": [*CONVERT, *SHAPE], "convert-sidecars": CONVERT, "convert-rwh": CONVERT,
    "pack": ["pack", "-o", "out", "-j", 1, *SHAPE], "info": ["info", *SHAPE], "info-sidecars": ["info"],
    "info-json": ["info", "--json"], "info-rwh": ["info"],
}


@pytest.mark.skipif(SANITIZED, reason="the runtimes open files themselves")
@pytest.mark.parametrize("way", WAYS)
def test_files_are_closed(tool, way):
    """A hundred files with twenty descriptors."""
    names = [f"in/{n:03}.{'rwh' if way.endswith('rwh') else 'raw'}" for n in range(100)]
    for n, name in enumerate(names):
        tool.write(f"in/{n:03}.txt", b"pixel format: BayerRG8\nwidth: 16\nheight: 8\n")
        header = np.array([0x01080009, 16, 8, 16], "<u4").tobytes() if way.endswith("rwh") else b""
        tool.write(name, header + frame(n))
    done = tool(*WAYS[way], *names, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (20, 20)))
    assert (done.returncode, done.stderr) == (0, "")
    assert len(tool.names("out/*")) == (0 if way.startswith("info") else 100)


@pytest.mark.skipif(SANITIZED, reason="sanitizers need memory without a limit")
def test_files_are_unmapped(tool):
    """Of 40 files of 64 MiB the first frame, in 1 GiB of addresses."""
    names = [f"in/{n:02}.raw" for n in range(40)]
    for name in names:
        os.truncate(tool.write(name, frame()), 64 << 20)
    tool.good("convert", *SHAPE, "--frame", 0, "-j", 1, "-t", "ppm", "-o", "out", *names,
              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (1 << 30, 1 << 30)))
    assert len(tool.names("out/*")) == 40


# moments

def test_interrupted_calls_go_on(tool, interposer):
    pictures = [tool.good("convert", *SHAPE, "-", "-", stdin=frame(n)) for n in range(3)]
    stream = b"".join(map(frame, range(3)))
    tool.write("in.raw", frame(1))
    tool.good("convert", *SHAPE, "in.raw", "before.png")
    interrupted = interposer(VEXA_INTERRUPT=1)
    assert tool.good("convert", *SHAPE, "-", "-", stdin=stream, env=interrupted) == b"".join(pictures)
    tool.good("convert", *SHAPE, "in.raw", "after.png", env=interrupted)
    assert tool.read("after.png") == tool.read("before.png")
    tool.write("in.txt", b"pixel format: BayerRG8\nwidth: 16\nheight: 8\n")
    tool.good("convert", "in.raw", "sidecar.png", env=interrupted)
    assert tool.read("sidecar.png") == tool.read("before.png")


@pytest.mark.parametrize("files", [{}, {"VEXA_REFUSE_ANONYMOUS": 1}], ids=["anonymous", "named"])
@pytest.mark.parametrize("older", [False, True])
def test_ended_while_a_file_gets_its_name(tool, interposer, files, older):
    """The result is whole or absent, the older one untouched, and nothing lies beside it."""
    tool.write("in.raw", frame())
    tool.good("convert", *SHAPE, "in.raw", "whole.ppm")
    whole = tool.read("whole.ppm")
    if older:
        tool.write("out.ppm", b"older result")
    done = tool("convert", *SHAPE, "in.raw", "out.ppm", env=interposer(VEXA_END_AT_NAMES=1, **files))
    assert done.returncode in (-signal.SIGTERM, 0)
    assert tool.names() in (["in.raw", "whole.ppm"], ["in.raw", "out.ppm", "whole.ppm"])
    if "out.ppm" in tool.names():
        assert tool.read("out.ppm") in ([b"older result"] if older else []) + [whole]
    else:
        assert not older


def test_a_planted_link_is_not_followed(tool, interposer):
    """Somebody who can write to the folder has guessed the hidden name."""
    tool.write("in.raw", frame())
    victim = tool.write("elsewhere/victim", b"untouched")
    done = tool("convert", *SHAPE, "in.raw", "out.ppm",
                env=interposer(VEXA_PLANT=victim, VEXA_REFUSE_ANONYMOUS=1))
    assert victim.read_bytes() == b"untouched"
    assert done.returncode == (0 if (tool.folder / "out.ppm").exists() else 4)
    assert not (tool.folder / "out.ppm").is_symlink()


# memory

@pytest.mark.skipif(SANITIZED, reason="they watch the heap themselves")
@pytest.mark.parametrize("name", PACKED)
def test_unpacked_frames_end_where_their_block_ends(tool, monkeypatch, name):
    """The C library's own checks put a mark behind each block and look at it when the block is freed."""
    monkeypatch.setenv("LD_PRELOAD", MALLOC_DEBUG)
    monkeypatch.setenv("MALLOC_CHECK_", "3")
    if b"cannot be preloaded" in subprocess.run(["true"], capture_output=True, check=False).stderr:
        pytest.skip("the C library has no debugging allocator")
    bits = 12 if "12" in name or name.endswith("Packed") else 10
    for width in range(2, 26, 2):
        tool.write("in.raw", random_samples((width * 4 * bits + 7) // 8, 8).tobytes())
        assert len(tool.good("unpack", "-f", name, "-s", f"{width}x4", "in.raw", "-")) == width * 4 * 2
        tool.good("convert", "-f", name, "-s", f"{width}x4", "in.raw", "-")


# what was done before a mistake

def test_frames_before_a_short_one_are_written(tool):
    stream = b"".join(map(frame, range(3)))
    whole = tool.good("convert", *SHAPE, "-", "-", stdin=stream)
    for jobs in (1, 2, 3):  # the short one alone, or read together with good ones
        done = tool("convert", *SHAPE, "-j", jobs, "-", "-", stdin=stream + frame(3)[:50])
        assert (done.returncode, done.stdout) == (3, whole)
        done = tool("convert", *SHAPE, "-j", jobs, "-t", "bgra", "-", f"f{jobs}_%d.bgra", stdin=stream + frame(3)[:50])
        assert done.returncode == 3
        assert b"".join(tool.read(f) for f in tool.names(f"f{jobs}_*")) == whole


def test_files_before_and_behind_a_bad_one_are_written(tool):
    for n in range(4):
        tool.write(f"in/{n}.raw", frame(n) if n != 1 else b"short")
    done = tool("convert", *SHAPE, "-j", 1, "-t", "ppm", "-o", "out", "in/0.raw", "in/1.raw", "in/2.raw", "in/3.raw")
    assert done.returncode != 0 and "in/1.raw" in done.stderr
    assert tool.names("out/*") == ["out/0.ppm", "out/2.ppm", "out/3.ppm"]


# options and side files

@pytest.mark.parametrize("name, channels", [("Mono8", 1), ("BGR8", 3)])
def test_png_level(tool, name, channels):
    gradient = (np.arange(64 * 64) // 64).astype(np.uint8).repeat(channels).tobytes()
    sizes, pictures = [], []
    for level in range(10):
        file = tool.good("convert", "-f", name, "-s", "64x64", "--png-level", level, "-t", "png", "-", "-",
                         stdin=gradient)
        sizes.append(len(file))
        pictures.append(read_png(file).tobytes())
    assert sizes[0] > 64 * 64 > 4 * sizes[9]
    assert set(pictures) == {gradient}
    assert tool.bad(2, "convert", "-f", "Mono8", "-s", "64x64", "--png-level", 10, "-t", "png", "-", "-")


@pytest.mark.parametrize("size", ["8x6px", "8x6 ", " 8x6", "8x", "x6", "8", "8x6x2", "+8x6", "-8x6", "8.0x6", "0x6",
                                  "8x0", "0x8x6", "8x4294967302", "18446744073709551624x6", ""])
def test_what_is_not_a_size(tool, size):
    tool.write("in.raw", bytes(48))
    tool.bad(2, "convert", "-f", "Mono8", "-s", size, "in.raw", "out.ppm")
    assert tool.names() == ["in.raw"]


@pytest.mark.parametrize("ending", ["\r\n", "\n", " \n", "\t\r\n"])
def test_sidecars_of_other_systems(tool, ending):
    tool.write("in.raw", frame())
    lines = ["pixel format: 0x01080009 BayerRG8", "width: 16", "height: 8"]
    tool.write("in.txt", "".join(line + ending for line in lines).encode())
    tool.good("convert", "in.raw", "out.ppm")
    tool.good("convert", *SHAPE, "in.raw", "wanted.ppm")
    assert tool.read("out.ppm") == tool.read("wanted.ppm")


# streams of the program

def through_terminal(tool, stream, arguments, **pipes):
    """Runs the program with one of its streams on a terminal. Returns what came out there, and at the other one."""
    try:
        master, slave = pty.openpty()
    except OSError:
        pytest.skip("this system has no pseudo-terminals")
    seen = bytearray()

    def collect():
        while True:
            try:
                block = os.read(master, 65536)
            except OSError:
                return
            if not block:
                return
            seen.extend(block)

    process = subprocess.Popen([PROGRAM, *map(str, arguments)], cwd=tool.folder,
                               **{"stdin": subprocess.DEVNULL, stream: slave, **pipes})
    os.close(slave)
    reader = threading.Thread(target=collect)
    reader.start()
    other = b"".join(pipe.read() for pipe in (process.stdout, process.stderr) if pipe is not None)
    assert process.wait(timeout=60) == 0
    for pipe in (process.stdout, process.stderr):
        if pipe is not None:
            pipe.close()
    reader.join()
    os.close(master)
    return bytes(seen), other


def test_progress_is_on_standard_error(tool):
    tool.write("in.raw", b"".join(map(frame, range(5))))
    pictures = tool.good("convert", *SHAPE, "in.raw", "-")
    seen, other = through_terminal(tool, "stderr", ["convert", *SHAPE, "in.raw", "-"], stdout=subprocess.PIPE)
    assert other == pictures
    assert b"frames/s" not in other
    seen, other = through_terminal(tool, "stderr", ["convert", *SHAPE, "in.raw", "f_%d.ppm"], stdout=subprocess.PIPE)
    assert b"frames/s" in seen and other == b""
    with open(tool.folder / "in.raw", "rb") as stream:  # of which nobody knows how many frames will come
        seen, other = through_terminal(tool, "stderr", ["convert", *SHAPE, "-", "h_%d.ppm"], stdin=stream,
                                       stdout=subprocess.PIPE)
    assert b"frames/s" in seen and other == b""
    seen, other = through_terminal(tool, "stdout", ["convert", *SHAPE, "in.raw", "g_%d.ppm"], stderr=subprocess.PIPE)
    assert (seen, other) == (b"", b"")
