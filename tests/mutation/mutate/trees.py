# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""A copy of the tree with a build of its own, in which mutants are tried.

Verdicts on a mutant:

    refused    it does not build (a warning or a static_assert counts)
    killed     a test fails or crashes
    hung       a test does not end in many times its usual time, which kills as well; on a machine that is busy with
               something else, try again
    survived   all tests that concern its file pass
"""
from __future__ import annotations

import filecmp
import os
import resource
import shutil
import signal
import subprocess
import tempfile
import time
from collections.abc import Iterable

from mutate.mutant import Mutant
from mutate.suites import Test

BUILD_SECONDS = 1800


class Broken(Exception):
    """The unchanged tree does not build or pass."""


def limit_test() -> None:
    """A mutant that writes without end shall not fill the disk, nor one that crashes leave its memory there.

    The tests have sparse files of a little more than 4 GiB.
    """
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 33, 1 << 33))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def copy_tracked(source: str, destination: str) -> None:
    """The files that git knows, as they are now. A file that is the same stays, so that little is built again."""
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=source, check=True, capture_output=True).stdout
    names = {name for name in listed.decode().split("\0") if name and os.path.isfile(os.path.join(source, name))}
    for folder, _, files in os.walk(destination):
        for file in files:
            if os.path.relpath(os.path.join(folder, file), destination) not in names:
                os.unlink(os.path.join(folder, file))
    for name in names:
        copy = os.path.join(destination, name)
        if os.path.exists(copy) and filecmp.cmp(os.path.join(source, name), copy, shallow=False):
            continue
        os.makedirs(os.path.dirname(copy), exist_ok=True)
        shutil.copy(os.path.join(source, name), copy)


class Tree:
    def __init__(self, root: str, build: str, jobs: int):
        self.root, self.build, self.jobs = root, build, jobs
        self.seconds: dict[str, float] = {}  # what a test takes on the unchanged tree

    def prepare(self, source: str, options: Iterable[str]) -> None:
        """Copies the tree and configures its build."""
        copy_tracked(source, self.root)
        ccache = ("C", "CXX") if shutil.which("ccache") else ()
        launcher = [f"-DCMAKE_{language}_COMPILER_LAUNCHER=ccache" for language in ccache]
        done = subprocess.run(["cmake", "-S", self.root, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                               "-DCMAKE_CXX_FLAGS_RELEASE=-O1", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
                               "-DVEXACAMUTL_BUILD_TESTS=ON", "-DVEXACAMUTL_BUILD_EXAMPLES=OFF", *options, *launcher],
                              check=False, capture_output=True, text=True)
        if done.returncode != 0:
            raise Broken(f"{self.root} cannot be configured:\n{done.stderr}")

    def builds(self, tests: Iterable[Test]) -> bool:
        targets = sorted({target for test in tests for target in test.targets})
        command = ["cmake", "--build", self.build, "--parallel", str(self.jobs), "--target", *targets]
        try:
            return not targets or subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                                 check=False, timeout=BUILD_SECONDS).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def run(self, test: Test) -> str:
        """'passed', 'failed' or 'hung'. What a test starts ends with it."""
        fill = {"root": self.root, "build": self.build}
        environment = {**os.environ, **{name: value.format(**fill) for name, value in test.environment}}
        limit = 30 + 10 * self.seconds.get(test.name, 60)
        began = time.monotonic()
        with tempfile.TemporaryDirectory() as scratch:
            environment["TMPDIR"] = scratch
            process = subprocess.Popen([word.format(**fill) for word in test.command], stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL, env=environment,
                                       preexec_fn=limit_test, start_new_session=True, cwd=scratch)
            try:
                status = process.wait(timeout=limit)
            except subprocess.TimeoutExpired:
                return "hung"
            finally:
                end_group(process)
        if status != 0:
            return "failed"
        self.seconds.setdefault(test.name, time.monotonic() - began)
        return "passed"

    def check(self, tests: Iterable[Test]) -> None:
        """Raises Broken unless the unchanged tree builds and passes."""
        tests = list(dict.fromkeys(tests))
        if not self.builds(tests):
            raise Broken(f"the unchanged tree in {self.root} does not build")
        for test in tests:
            if self.run(test) != "passed":
                raise Broken(f"the unchanged tree in {self.root} does not pass: {test.name}")

    def judge(self, mutant: Mutant, tests: list[Test]) -> str:
        path = os.path.join(self.root, mutant.path)
        with open(path, encoding="ascii") as file:
            original = file.read()
        try:
            with open(path, "w", encoding="ascii") as file:
                file.write(mutant.apply(original))
            if not self.builds(tests):
                return "refused"
            for test in tests:
                result = self.run(test)
                if result != "passed":
                    return "killed" if result == "failed" else "hung"
            return "survived"
        finally:
            with open(path, "w", encoding="ascii") as file:
                file.write(original)


def end_group(process: subprocess.Popen[bytes]) -> None:
    """Ends what is left of a test: it leads a process group of its own."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
