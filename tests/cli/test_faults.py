# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# What remains when things go wrong: a full disk, a size limit, a closed pipe, signals at defined moments, an input that
# shrinks. A result is whole or absent, and there is no debris beside it.
import os
import resource
import signal
import subprocess

import pytest
from conftest import PROGRAM

SHAPE = ["-f", "BayerRG8", "-s", "640x480"]
FRAME = 640 * 480


def limit_files_to(size):
    return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


@pytest.mark.parametrize("kind", ["png", "tif", "jpg", "ppm", "bmp", "vbmp", "bgra", "rwh", "raw"])
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


SMALL = ["-f", "BayerRG8", "-s", "16x8", "-j", "1"]
KINDS = {"ppm": 12 + 16 * 8 * 3, "vbmp": 102 + 16 * 8 * 3, "rwh": 16 + 16 * 8}
SIGNALS = [signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT, signal.SIGALRM, signal.SIGUSR1, signal.SIGXCPU,
           signal.SIGRTMIN + 3, signal.SIGKILL]


@pytest.mark.parametrize("number", SIGNALS)
@pytest.mark.parametrize("point", ["open:3", "write:3", "name:3"])
@pytest.mark.parametrize("files", ["anonymous", "named"])
def test_ended_in_the_middle(tool, interposer, number, point, files):
    """A batch is ended at the third call of a kind: what has a name is whole, and nothing else is left."""
    frames = 5
    tool.write("in.raw", bytes(range(128)) * frames)
    kind = list(KINDS)[SIGNALS.index(number) % len(KINDS)]
    whole = {f"in_{n:05d}.{kind}" for n in range(frames)}
    variables = {"VEXA_END_AT": f"{point}:{int(number)}", **({"VEXA_REFUSE_ANONYMOUS": 1} if files == "named" else {})}
    for folder in ("fresh", "again"):
        if folder == "again":
            tool.good("convert", *SMALL, "-t", kind, "-o", folder, "in.raw")
        done = tool("convert", *SMALL, "-t", kind, "-o", folder, "in.raw", env=interposer(**variables),
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
        assert (done.returncode, done.stderr) == (-number, "")
        for name in os.listdir(tool.folder / folder):
            # Nobody can tidy up after SIGKILL: a hidden name can stay, where files have one before they are whole, or
            # between the two steps of a replacement.
            hidden = number == signal.SIGKILL and name.startswith(".vexacamutl-")
            if not (hidden and (files == "named" or folder == "again")):
                assert name in whole, f"debris: {name}"
                assert (tool.folder / folder / name).stat().st_size == KINDS[kind]
        if folder == "fresh":
            assert len(whole & set(os.listdir(tool.folder / folder))) < frames


def test_without_proc(tool, interposer):
    tool.write("in.raw", bytes(range(128)))
    for kind, size in KINDS.items():
        for older in (None, b"older"):
            if older:
                tool.write(f"out.{kind}", older)
            tool.good("convert", *SMALL, "in.raw", f"out.{kind}", env=interposer(VEXA_HIDE_PROC=1, TMPDIR=tool.folder))
            assert len(tool.read(f"out.{kind}")) == size
    assert tool.names() == ["in.raw"] + sorted(f"out.{kind}" for kind in KINDS)


def test_every_file_is_closed_on_exec(tool, interposer):
    tool.write("in.raw", bytes(range(128)))
    tool.write("in.txt", b"pixel format: BayerRG8\nwidth: 16\nheight: 8\n")
    for variables in ({}, {"VEXA_REFUSE_ANONYMOUS": 1}, {"VEXA_HIDE_PROC": 1}):
        env = interposer(VEXA_REQUIRE_CLOEXEC=1, **variables)
        tool.good("convert", "--sync", "in.raw", "out.png", env=env)
        tool.good("pack", "in.raw", "out.rwh", env=env)
        tool.good("unpack", "--sidecar", "out.rwh", "out.raw", env=env)
        tool.good("convert", "-", "/dev/null", "--to", "bgr", *SMALL, stdin=bytes(128), env=env)


def test_sync_brings_results_to_the_disk(tool, interposer):
    """A process that dies at its first fsync has called it, and has named nothing before."""
    tool.write("in.raw", bytes(range(128)))
    tool.good("convert", *SMALL, "in.raw", "out.ppm", env=interposer(VEXA_END_AT="fsync:1:9"))
    tool.write("out.ppm", b"older")
    done = tool("convert", *SMALL, "--sync", "in.raw", "out.ppm", env=interposer(VEXA_END_AT="fsync:1:9"))
    assert (done.returncode, tool.read("out.ppm")) == (-signal.SIGKILL, b"older")
    tool.good("convert", *SMALL, "--sync", "in.raw", "out.ppm", env=interposer())
    # The folder follows the file.
    done = tool("convert", *SMALL, "--sync", "in.raw", "out.ppm", env=interposer(VEXA_END_AT="fsync:2:9"))
    assert (done.returncode, len(tool.read("out.ppm"))) == (-signal.SIGKILL, KINDS["ppm"])


@pytest.fixture(params=["anonymous", "named"])
def unfinished_files(request, monkeypatch):
    """Both ways of keeping a file out of sight until it is whole."""
    if request.param == "named":
        shim = os.environ.get("VEXACAMUTL_INTERPOSER")
        if not shim:
            pytest.skip("not with sanitizers")
        monkeypatch.setenv("LD_PRELOAD", shim)
        monkeypatch.setenv("VEXA_REFUSE_ANONYMOUS", "1")
    return request.param


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


@pytest.mark.skipif(os.environ.get("VEXACAMUTL_SANITIZE", "") != "", reason="sanitizers need memory without a limit")
def test_fewer_threads_than_asked_for(tool):
    """Stacks for 256 threads do not fit; the work is done by those that there are."""
    tool.write("in.raw", bytes(range(256)) * 20)
    shape = ["-f", "Mono8", "-s", "16x8"]
    for output in (["-t", "pgm", "-o", "out"], []):
        paths = ["in.raw"] if output else ["in.raw", "all.bgr"]
        tool.good("convert", *shape, "-j", 256, *output, *paths,
                  preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (400 << 20, 400 << 20)))
    assert len(tool.names("out/*")) == 40
    assert tool.read("all.bgr") == b"".join(bytes([v]) * 3 for v in range(256)) * 20


@pytest.mark.parametrize("arguments", [["--help"], ["convert", "--help"], ["--version"], ["formats"], ["info", "in.rwh"]])
def test_what_is_printed_is_a_result(tool, arguments):
    tool.write("in.rwh", bytes([9, 0, 8, 1, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 7]))
    with open("/dev/full", "wb") as full:
        done = subprocess.run([PROGRAM, *arguments], cwd=tool.folder, stdout=full, stderr=subprocess.PIPE, check=False)
    assert (done.returncode, done.stderr) == (
        4, b"vexacamutl: cannot write standard output: No space left on device\n")


@pytest.mark.parametrize("arguments", [["formats"], ["--help"], ["synth", "-s", "640x480", "-"]])
def test_closed_pipe(tool, arguments):
    """By SIGPIPE, without a word; an output error where the caller ignores that signal."""
    for ignored, code in ((False, -signal.SIGPIPE), (True, 4)):
        reader, writer = os.pipe()
        os.close(reader)
        action = signal.SIG_IGN if ignored else signal.SIG_DFL
        done = subprocess.run([PROGRAM, *arguments], cwd=tool.folder, stdout=writer, stderr=subprocess.PIPE, check=False,
                              restore_signals=False, preexec_fn=lambda act=action: signal.signal(signal.SIGPIPE, act))
        os.close(writer)
        assert done.returncode == code
        assert done.stderr == (b"vexacamutl: cannot write standard output: Broken pipe\n" if ignored else b"")


@pytest.mark.parametrize("closed", [0, 1, 2])
def test_closed_standard_streams(tool, closed):
    """No result gets the number of a standard stream, so no message lands in one."""
    tool.write("good.raw", bytes(128))
    tool.write("bad.raw", bytes(1))
    done = tool("convert", *SMALL, "-t", "ppm", "-o", "out", "bad.raw", "good.raw", preexec_fn=lambda: os.close(closed))
    assert done.returncode == 1
    assert tool.read("out/good.ppm") == b"P6\n16 8\n255\n" + bytes(384)
    assert tool("convert", *SMALL, "-", "-", preexec_fn=lambda: os.close(closed)).returncode in (3, 4)
