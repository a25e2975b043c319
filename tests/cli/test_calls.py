# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Each call of the system fails once, one after the other. Either the result is the right one, or one line says what is
# wrong, the older result stays, and there is no debris.
import errno

import pytest
from model import random_samples

SHAPE = ["-f", "BayerRG8", "-s", "16x8", "-j", "1"]
OLDER = b"older result"
CALLS = {"open": errno.EMFILE, "read": errno.EIO, "write": errno.ENOSPC, "pread": errno.EIO, "close": errno.EIO,
         "fstat": errno.EIO, "mmap": errno.ENOMEM, "fchmod": errno.EPERM, "fchown": errno.EPERM,
         "faccessat": errno.EACCES, "linkat": errno.EIO, "rename": errno.EIO, "unlink": errno.EACCES,
         "fsync": errno.EIO, "memfd_create": errno.ENFILE, "mkostemp": errno.ENOSPC, "pthread_create": errno.EAGAIN}
SYSTEMS = {"usual": {}, "named": {"VEXA_REFUSE_ANONYMOUS": 1}, "no proc": {"VEXA_HIDE_PROC": 1}}
WORK = {
    "new": ["convert", "in.raw", "out.ppm"],
    "sidecar": ["unpack", "in.raw", "out.raw", "--sidecar"],
    "synced": ["convert", "--sync", "in.raw", "out.png"],
    "kept": ["convert", "--sync", "--no-overwrite", "in.raw", "out.png"],
    "library's file": ["convert", "in.raw", "out.vbmp"],
}
MEANINGS = (3, 4, 6)  # input, output, memory


@pytest.fixture(name="work")
def fixture_work(tool):
    """Runs an operation in the folder where everything is as before, and says what it left."""
    tool.write("in.raw", random_samples(16 * 8, 8).tobytes())
    tool.write("in.txt", b"pixel format: 0x01080009 BayerRG8\nwidth: 16\nheight: 8\n")
    calls = tool.folder.parent / (tool.folder.name + ".calls")

    def run(arguments, environment, older):
        for name in tool.names("out*"):
            (tool.folder / name).unlink()
        result = next(word for word in arguments if word.startswith("out."))
        if older:
            tool.write(result, OLDER)
        done = tool(*arguments, env={**environment, "VEXA_CALLS": str(calls)})
        left = {name: tool.read(name) for name in tool.names() if not name.startswith(("in.", "report"))}
        return done, left, result, int(calls.read_text())
    return run


def check(done, left, wanted, result, older):
    if done.returncode == 0:
        assert (done.stderr, left) == ("", wanted)
        return
    assert done.returncode in MEANINGS, (done.returncode, done.stderr)
    assert done.stderr.startswith("vexacamutl: ") and done.stderr.count("\n") == 1, done.stderr
    # What fails after the result has its name does not take it back.
    assert left.get(result) in ((OLDER if older else None), wanted[result])
    assert all(content == wanted[name] for name, content in left.items() if name != result), left.keys()


@pytest.mark.parametrize("name, system", [
    ("new", "usual"), ("sidecar", "usual"), ("synced", "usual"), ("synced", "named"), ("kept", "named"),
    ("library's file", "usual"), ("library's file", "no proc")])
def test_every_call_can_fail(work, interposer, name, system):
    older = name in ("synced", "library's file")
    done, wanted, result, _ = work(WORK[name], interposer(**SYSTEMS[system]), older)
    assert done.returncode == 0, done.stderr
    reached = 0
    for call, number in CALLS.items():
        n = calls = 0
        while calls >= n:
            n += 1
            environment = interposer(VEXA_FAIL=f"{call}:{n}:{number}", **SYSTEMS[system])
            done, left, _, calls = work(WORK[name], environment, older)
            check(done, left, wanted, result, older)
        reached += calls
    assert reached > 15


def test_no_replacement_on_a_system_that_cannot_refuse_one(tool, interposer):
    """Some file systems have no flag for a rename that fails when the name exists."""
    tool.write("in.raw", random_samples(16 * 8, 8).tobytes())
    environment = interposer(VEXA_REFUSE_ANONYMOUS=1, VEXA_FAIL=f"rename:1:{errno.EINVAL}")
    tool.good("convert", *SHAPE, "--no-overwrite", "in.raw", "out.ppm", env=environment)
    assert tool.names() == ["in.raw", "out.ppm"]
    assert len(tool.read("out.ppm")) == 12 + 16 * 8 * 3


@pytest.mark.parametrize("kind", ["png", "tif", "jpg", "vbmp", "ppm", "bgr"])
def test_memory_can_end_at_any_moment(work, interposer, kind):
    """The last allocations, where the file is built."""
    arguments = ["convert", "--report", "report", "in.raw", f"out.{kind}"]
    done, wanted, result, count = work(arguments, interposer(VEXA_FAIL="malloc:0:0"), True)
    assert done.returncode == 0 and count > 100
    for n in range(count - 60, count + 1):
        done, left, _, _ = work(arguments, interposer(VEXA_FAIL=f"malloc:{n}:{errno.ENOMEM}"), True)
        check(done, left, wanted, result, True)


def test_memory_can_end_while_the_command_line_is_read(tool, interposer):
    """Also in functions of the parser that may not throw: they copy long words, and names of options."""
    calls = tool.folder.parent / (tool.folder.name + ".calls")
    arguments = ["reverse", "--mirror", "--frames", "0:1", "a-long-name-of-an-input.raw", "another-long-name.raw"]
    environment = {"VEXA_CALLS": str(calls)}
    tool.bad(3, *arguments, env=interposer(VEXA_FAIL="malloc:0:0", **environment))
    count = int(calls.read_text())
    said = []
    for n in range(1, count + 1):
        done = tool(*arguments, env=interposer(VEXA_FAIL=f"malloc:{n}:{errno.ENOMEM}", **environment))
        assert done.returncode in (3, 6), (n, done.returncode, done.stderr)
        assert done.stderr.startswith("vexacamutl: ") and done.stderr.count("\n") == 1, done.stderr
        said.append(done.stderr)
    assert said.count("vexacamutl: out of memory\n") > count - 10 > 100
