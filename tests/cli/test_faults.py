# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# What remains when things go wrong: a full disk, a size limit, a closed pipe, Ctrl-C, SIGKILL at random moments, an
# input that shrinks. A result is whole or absent, and there is no debris beside it.
import os
import random
import resource
import signal
import subprocess
import time

import pytest
from conftest import PROGRAM

SHAPE = ["-f", "BayerRG8", "-s", "640x480"]
FRAME = 640 * 480


def limit_files_to(size):
    return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


@pytest.mark.parametrize("kind", ["png", "ppm", "bmp", "vbmp", "bgra", "rwh", "raw"])
@pytest.mark.parametrize("size", [0, 10, 60, 100000])
def test_no_room_for_the_result(tool, kind, size):
    if size == 0 and "thread" in os.environ.get("VEXACAMUTL_SANITIZE", ""):
        pytest.skip("the sanitizer's runtime writes a file of its own before the program starts")
    tool.write("in.raw", os.urandom(FRAME))
    tool.write(f"out.{kind}", b"older result")
    line = tool.bad(4, "convert", *SHAPE, "in.raw", f"out.{kind}", preexec_fn=limit_files_to(size))
    # The library's own files are built in memory, where the same limit holds.
    assert line.endswith((f"cannot write out.{kind}: File too large", "cannot build the file in memory"))
    assert tool.names() == ["in.raw", f"out.{kind}"]
    assert tool.read(f"out.{kind}") == b"older result"


def test_full_device(tool):
    tool.write("in.raw", bytes(FRAME))
    assert tool.bad(4, "convert", *SHAPE, "in.raw", "/dev/full", "--to", "png").endswith(
        "cannot write /dev/full: No space left on device")
    with open("/dev/full", "wb") as full:
        done = subprocess.run([PROGRAM, "convert", *SHAPE, "in.raw", "-"], cwd=tool.folder, stdout=full,
                              stderr=subprocess.PIPE, check=False)
        assert (done.returncode, done.stderr) == (
            4, b"vexacamutl: cannot write standard output: No space left on device\n")
        done = subprocess.run([PROGRAM, "formats"], stdout=full, stderr=subprocess.PIPE, check=False)
        assert (done.returncode, done.stderr) == (
            4, b"vexacamutl: cannot write standard output: No space left on device\n")


def test_full_file_system(tool):
    """A file system of 64 KiB of our own, where the system lets us have one."""
    (tool.folder / "small").mkdir()
    tool.write("in.raw", os.urandom(FRAME))
    script = (f"mount -t tmpfs -o size=64k none small && {PROGRAM} convert {' '.join(SHAPE)} in.raw small/out.png; "
              "code=$?; ls -A small; exit $code")
    done = subprocess.run(["unshare", "-rm", "sh", "-c", script], cwd=tool.folder, capture_output=True, check=False)
    if b"unshare" in done.stderr or b"mount" in done.stderr:
        pytest.skip("no right to mount")
    assert (done.returncode, done.stdout, done.stderr) == (
        4, b"", b"vexacamutl: in.raw: cannot write small/out.png: No space left on device\n")


def test_folder_without_permission(tool):
    tool.write("in.raw", bytes(FRAME))
    if os.geteuid() == 0:
        target, words = "/proc/out.png", "No such file or directory"
    else:
        (tool.folder / "closed").mkdir(mode=0o555)
        target, words = "closed/out.png", "Permission denied"
    assert tool.bad(4, "convert", *SHAPE, "in.raw", target) == f"in.raw: cannot write {target}: {words}"


def test_reader_goes_away(tool):
    """As `vexacamutl ... | head -c 1`: the closed pipe ends the program quietly."""
    process = tool.start("synth", "-s", "640x480", "-n", 200, "-", stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    process.stdout.read(1)
    process.stdout.close()
    assert process.wait(timeout=60) == -signal.SIGPIPE
    assert process.stderr.read() == b""
    process.stderr.close()


KINDS = [("ppm", 15 + FRAME * 3), ("vbmp", 102 + FRAME * 3), ("rwh", 16 + FRAME)]


def run_and_end(tool, kind, folder, number, delay):
    """Starts a batch and ends it by a signal. True if it was still running."""
    process = tool.start("convert", *SHAPE, "-j", 3, "-t", kind, "-o", folder, "in.raw", stderr=subprocess.PIPE)
    time.sleep(delay)
    process.send_signal(number)
    code = process.wait(timeout=60)
    assert process.stderr.read() == b""
    process.stderr.close()
    assert code in (-number, 0)
    return code == -number


@pytest.fixture(params=["anonymous", "named"])
def unfinished_files(request, monkeypatch):
    """Both ways of keeping a file out of sight until it is whole (see RefuseAnonymousFiles.c)."""
    if request.param == "named":
        shim = os.environ.get("VEXACAMUTL_REFUSE_ANONYMOUS")
        if not shim:
            pytest.skip("not with sanitizers")
        monkeypatch.setenv("LD_PRELOAD", shim)
    return request.param


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGKILL])
@pytest.mark.parametrize("kind,size", KINDS)
def test_ended_at_random_moments(tool, unfinished_files, number, kind, size):
    frames = 60
    tool.write("in.raw", bytes(FRAME) * frames)
    whole = {f"in_{n:05d}.{kind}": size for n in range(frames)}
    start = time.monotonic()
    tool.good("convert", *SHAPE, "-j", 3, "-t", kind, "-o", "again", "in.raw")
    whole_run = time.monotonic() - start
    dice = random.Random(int(number) * size)
    unfinished = 0
    for attempt in range(8):
        # A fresh folder, and one whose results are replaced.
        folder = f"fresh{attempt}" if attempt % 2 == 0 else "again"
        if run_and_end(tool, kind, folder, number, dice.uniform(0.0, whole_run)):
            unfinished += 1
        else:
            whole_run /= 2  # a busy machine may have been slower while the time was taken
        for name in os.listdir(tool.folder / folder) if (tool.folder / folder).exists() else []:
            # Nobody can tidy up after SIGKILL: a hidden name can stay, where files have one before they are whole, or
            # between the two steps of a replacement.
            hidden = number == signal.SIGKILL and name.startswith(".vexacamutl-")
            if not (hidden and (unfinished_files == "named" or folder == "again")):
                assert name in whole, f"debris: {name}"
                assert (tool.folder / folder / name).stat().st_size == size
    assert unfinished > 0


def test_named_unfinished_files_end_well(tool, unfinished_files):
    tool.write("in.raw", bytes(FRAME))
    tool.write("out.ppm", b"older result")
    tool.bad(4, "convert", *SHAPE, "in.raw", "out.ppm", preexec_fn=limit_files_to(100000))
    assert (tool.names(), tool.read("out.ppm")) == (["in.raw", "out.ppm"], b"older result")
    tool.good("convert", *SHAPE, "in.raw", "out.ppm")
    tool.good("convert", *SHAPE, "in.raw", "new.ppm")
    assert tool.names() == ["in.raw", "new.ppm", "out.ppm"]
    assert tool.read("out.ppm") == tool.read("new.ppm") == b"P6\n640 480\n255\n" + bytes(FRAME * 3)
    # The permissions are those of any new file.
    mask = os.umask(0)
    os.umask(mask)
    assert (tool.folder / "new.ppm").stat().st_mode & 0o777 == 0o666 & ~mask
    assert tool.bad(4, "convert", *SHAPE, "in.raw", "none/out.ppm") == (
        "in.raw: cannot write none/out.ppm: No such file or directory")


def test_ctrl_c_during_a_stream_leaves_no_file(tool, unfinished_files):
    process = tool.start("convert", *SHAPE, "-", "out.bgra", stdin=subprocess.PIPE, stderr=subprocess.PIPE)
    process.stdin.write(bytes(FRAME) * 3)
    process.stdin.flush()
    process.send_signal(signal.SIGINT)
    assert process.wait(timeout=60) == -signal.SIGINT
    process.stdin.close()
    process.stderr.close()
    assert tool.names() == []


def test_ignored_hangup_stays_ignored(tool):
    """As under nohup."""
    process = tool.start("convert", *SHAPE, "-j", 1, "-", "-", stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                         preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
    process.stdin.write(bytes(FRAME))
    process.stdin.flush()
    assert len(process.stdout.read(FRAME * 4)) == FRAME * 4
    process.send_signal(signal.SIGHUP)
    time.sleep(0.05)
    process.stdin.close()
    process.stdout.close()
    assert process.wait(timeout=60) == 0


def test_input_shrinks_while_it_is_read(tool):
    """A long sequence is cut off while it is converted: one line, the input code, no debris."""
    frames = 400
    path = tool.write("in.raw", b"")
    os.truncate(path, FRAME * frames)
    process = tool.start("convert", *SHAPE, "-j", 1, "in.raw", "-", stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    process.stdout.read(FRAME * 4)
    os.truncate(path, FRAME)
    process.stdout.read()
    assert process.wait(timeout=60) == 3
    assert process.stderr.read() == b"vexacamutl: an input file became shorter while it was read\n"
    process.stdout.close()
    process.stderr.close()


@pytest.mark.skipif(os.environ.get("VEXACAMUTL_SANITIZE", "") != "", reason="sanitizers need memory without a limit")
def test_out_of_memory(tool):
    tool.write("in.raw", b"")
    os.truncate(tool.folder / "in.raw", 1 << 28)
    def limit():
        resource.setrlimit(resource.RLIMIT_AS, (700 << 20, 700 << 20))
    line = tool.bad(6, "convert", "-f", "Mono8", "-s", "16384x16384", "-j", 1, "in.raw", "out.png", preexec_fn=limit)
    assert line == "in.raw: out of memory"
    assert tool.names() == ["in.raw"]
