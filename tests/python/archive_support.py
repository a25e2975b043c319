# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Recordings for the tests of archives, the tool's own results for comparison, and Dask's real processes."""
from __future__ import annotations

import contextlib
import json
import os
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import numpy as np
import pytest

import vexacamutl as vcu
from packing import pack
from vexacamutl import archive

TOOL = os.environ.get("VEXACAMUTL", "")
if not TOOL:
    pytest.skip("the tool is not built", allow_module_level=True)
W, H = 16, 12


def run_tool(*arguments, check=True):
    done = subprocess.run([TOOL, *map(str, arguments)], capture_output=True, text=True, check=False)
    assert done.returncode == 0 or not check, done.stderr
    return done


def sidecar(path, format, width=W, height=H, **lines):
    more = "".join(f"{key}: {value}\n" for key, value in lines.items())
    path.with_suffix(".txt").write_text(f"pixel format: {format}\nwidth: {width}\nheight: {height}\n{more}")


def samples(random, shape, bits):
    return random.integers(0, 1 << bits, shape, np.uint8 if bits == 8 else np.uint16)


def recording(folder, random, sequence=5, singles=3):
    """Mixed formats: sequences of so many frames with a sidecar each, and so many single files of two kinds."""
    folder.mkdir(parents=True, exist_ok=True)
    samples(random, (sequence, H, W), 8).tofile(folder / "bayer.raw")
    sidecar(folder / "bayer.raw", "BayerRG8")
    padded = np.zeros((sequence, H, W + 8), np.uint8)
    padded[:, :, :W] = samples(random, (sequence, H, W), 8)
    (folder / "padded.bin").write_bytes(b"head" + padded.tobytes())
    sidecar(folder / "padded.bin", "BayerGB8", stride=W + 8, offset=4)
    words = samples(random, (sequence, H * W), 12)
    (folder / "packed.raw").write_bytes(b"".join(pack(frame, "12p").tobytes() for frame in words))
    sidecar(folder / "packed.raw", "BayerGR12p")
    samples(random, (sequence, H, W * 2), 8).tofile(folder / "colour.raw")
    sidecar(folder / "colour.raw", "YUV422_8_UYVY")
    for i in range(singles):
        samples(random, (H, W), 8).tofile(folder / f"grey{i}.raw")
        sidecar(folder / f"grey{i}.raw", "Mono8", timestamp=1_000_000_000 * i)
        vcu.save_rwh(samples(random, (H, W), 12), "BayerBG12", folder / f"deep{i}.rwh")
    return folder


def files_of(folder):
    """Every file of a folder with its bytes, without what the package keeps for itself."""
    found = {}
    for path in sorted(Path(folder).rglob("*")):
        if path.is_file() and ".vexacamutl" not in path.parts:
            found[str(path.relative_to(folder))] = path.read_bytes()
    return found


def manifest_lines(out):
    path = Path(out) / ".vexacamutl" / "manifest.jsonl"
    text = path.read_text() if path.exists() else ""
    # The last line may be half written: another process adds lines meanwhile.
    return [json.loads(line) for line in text[:text.rfind("\n") + 1].splitlines() if line]


def results_in(out):
    return sum("output" in line for line in manifest_lines(out))


def wait_until(condition, process=None):
    """Waits for a state that other processes bring about; the test's own time limit ends a wait that is in vain."""
    while not condition():
        assert process is None or process.poll() is None, "the process ended before the state was reached"
        time.sleep(0.005)


class Cluster:
    """dask-scheduler and dask-worker processes on loopback, on ports that the system chooses."""

    def __init__(self, folder):
        self.folder = Path(folder)
        self.folder.mkdir(parents=True, exist_ok=True)
        self.scheduler = None
        self.workers = []
        self.address = ""
        self._logs = []

    def start_scheduler(self, port=0, **environment):
        file = self.folder / "scheduler.json"
        file.unlink(missing_ok=True)
        self.scheduler = self._start("dask_scheduler", "--host", "127.0.0.1", "--port", port, "--no-dashboard",
                                     "--dashboard-address", "127.0.0.1:0", "--scheduler-file", file, **environment)
        wait_until(lambda: file.exists() and file.stat().st_size > 0, self.scheduler)
        self.address = json.loads(file.read_text())["address"]

    def start_worker(self, *options, **environment):
        number = len(self.workers)
        worker = self._start("dask_worker", self.address, "--nthreads", 1, "--no-nanny", "--no-dashboard",
                             "--local-directory", self.folder / f"worker{number}", *options, **environment)
        self.workers.append(worker)
        return worker

    def _start(self, module, *arguments, preexec_fn=None, **environment):
        log = open(self.folder / f"{module}-{len(self._logs)}.log", "wb")
        self._logs.append(log)
        command = [sys.executable, "-m", f"distributed.cli.{module}", *map(str, arguments)]
        variables = {**os.environ, "VEXACAMUTL_TOOL": TOOL, "DASK_DISTRIBUTED__COMM__TIMEOUTS__CONNECT": "60s"}
        variables.update(environment)
        return subprocess.Popen(command, stdout=log, stderr=log, env=variables, preexec_fn=preexec_fn)

    @property
    def port(self):
        return int(self.address.rsplit(":", 1)[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in (*self.workers, self.scheduler):
            with contextlib.suppress(ProcessLookupError):
                process.kill()
            process.wait()
        for log in self._logs:
            log.close()


def kill(process):
    process.send_signal(signal.SIGKILL)
    process.wait()


@pytest.fixture(scope="module")
def many(tmp_path_factory):
    """2,000 frames of six formats, and what a plain run makes of them."""
    folder = tmp_path_factory.mktemp("many")
    recording(folder / "rec", np.random.default_rng(20261122), sequence=450, singles=100)
    run_tool("convert", "-o", folder / "plain", folder / "rec")
    return folder / "rec", files_of(folder / "plain")


@pytest.fixture(scope="module")
def cluster(tmp_path_factory):
    """A scheduler with two workers, for tests that leave them alone."""
    with Cluster(tmp_path_factory.mktemp("cluster")) as cluster:
        cluster.start_scheduler()
        cluster.start_worker()
        cluster.start_worker()
        wait_for_workers(cluster, 2)
        yield cluster


@pytest.fixture
def own(tmp_path):
    """A cluster to be killed."""
    with Cluster(tmp_path / "own") as cluster:
        yield cluster


def convert_aside(found, out, **arguments):
    """A conversion in a thread, so that the test can interfere."""
    result = {}

    def work():
        try:
            result["report"] = found.convert(out, **arguments)
        except Exception as error:
            result["error"] = error

    thread = threading.Thread(target=work)
    thread.start()
    return thread, result


def join(thread, result):
    thread.join()
    if "error" in result:
        raise result["error"]
    return result["report"]


def wait_for_workers(cluster, number):
    import distributed

    with distributed.Client(cluster.address, set_as_default=False) as client:
        client.wait_for_workers(number)
