# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# How the tests run the program: `tool(...)` in the test's own empty folder.
import os
import signal
import subprocess

import pytest

# A shell starts jobs in the background with Ctrl-C ignored, nohup with SIGHUP ignored, and children inherit that.
signal.signal(signal.SIGINT, signal.default_int_handler)
for number in (signal.SIGHUP, signal.SIGQUIT, signal.SIGTERM):
    signal.signal(number, signal.SIG_DFL)

PROGRAM = os.environ["VEXACAMUTL"]
# The runtime of instrumented programs opens and writes a file of its own before the program starts.
NOT_WITH_COUNTS = ("test_no_room_for_the_result[0-", "test_every_file_is_closed_on_exec",
                   "test_a_planted_link_is_not_followed")


def pytest_collection_modifyitems(items):
    if "VEXACAMUTL_COVERAGE" in os.environ:
        for item in items:
            if item.name.startswith(NOT_WITH_COUNTS):
                item.add_marker(pytest.mark.skip(reason="the runtime that counts writes a file of its own"))


class Tool:
    def __init__(self, folder):
        self.folder = folder

    def __call__(self, *arguments, stdin=b"", **options):
        """Runs the program to its end. The result has returncode, stdout (bytes) and stderr (text)."""
        options.setdefault("timeout", 120)
        done = subprocess.run([PROGRAM, *map(str, arguments)], cwd=self.folder, input=stdin,
                              capture_output=True, check=False, **options)
        done.stderr = done.stderr.decode()
        return done

    def good(self, *arguments, stdin=b"", **options):
        """As a call, for runs that have to succeed without a word on standard error. Returns standard output."""
        done = self(*arguments, stdin=stdin, **options)
        assert (done.returncode, done.stderr) == (0, "")
        return done.stdout

    def bad(self, code, *arguments, stdin=b"", **options):
        """For runs that have to fail with this code and exactly one line, which is returned without its start."""
        done = self(*arguments, stdin=stdin, **options)
        assert done.returncode == code, done.stderr
        assert done.stderr.startswith("vexacamutl: ") and done.stderr.count("\n") == 1, done.stderr
        return done.stderr[len("vexacamutl: "):-1]

    def start(self, *arguments, **options):
        return subprocess.Popen([PROGRAM, *map(str, arguments)], cwd=self.folder, **options)

    def names(self, pattern="*"):
        """Everything in the folder, hidden files too."""
        return sorted(str(p.relative_to(self.folder)) for p in [*self.folder.rglob(pattern)] if p.is_file())

    def write(self, name, content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def read(self, name):
        return (self.folder / name).read_bytes()


@pytest.fixture
def tool(tmp_path):
    return Tool(tmp_path)


@pytest.fixture
def interposer():
    """What the system does as a test wants it (see Interposer.c): tool.good(..., env=interposer(VEXA_HIDE_PROC=1))."""
    shim = os.environ.get("VEXACAMUTL_INTERPOSER")
    if not shim:
        pytest.skip("not with sanitizers")

    def environment(**variables):
        return {**os.environ, "LD_PRELOAD": shim, **{name: str(value) for name, value in variables.items()}}
    return environment
