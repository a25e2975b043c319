# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Conversion by Dask's real processes on loopback, which are killed on the way or lack something.

The moment of a kill is a state that was seen (so many results in the manifest), not a time.
"""
from __future__ import annotations

import json
import os
import resource
import signal
import subprocess
import sys

import numpy as np
import pytest
import zarr

from archive_support import (  # noqa: F401  (fixtures)
    TOOL, cluster, convert_aside, files_of, join, kill, many, own, results_in, run_tool, samples, wait_for_workers,
    wait_until,
)
from vexacamutl import archive


@pytest.fixture(autouse=True)
def tool(monkeypatch):
    monkeypatch.setenv("VEXACAMUTL_TOOL", TOOL)


@pytest.mark.parametrize("allowed", [0, 3])
def test_workers_that_are_killed(tmp_path, many, own, allowed):
    """Whichever batches they hold; without allowed failures every one of them comes back as KilledWorker."""
    rec, plain = many
    out = tmp_path / "out"
    own.start_scheduler(DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES=str(allowed))
    workers = [own.start_worker(), own.start_worker()]
    thread, result = convert_aside(archive.open(rec), out, scheduler=own.address, batch=20)
    for seen in (60, 500, 900, 1400):
        wait_until(lambda: results_in(out) >= seen or result)
        kill(workers.pop(0))
        workers.append(own.start_worker())
    report = join(thread, result)
    assert (report.done, report.failed) == (2000, [])
    assert files_of(out) == plain and archive.verify(out, True).complete
    assert os.listdir(out / ".vexacamutl") in (["lock", "manifest.jsonl"], ["manifest.jsonl", "lock"])


def test_all_workers_and_the_scheduler_are_killed(tmp_path, many, own):
    """The same call goes on when they are there again."""
    rec, plain = many
    out = tmp_path / "out"
    own.start_scheduler()
    workers = [own.start_worker(), own.start_worker()]
    thread, result = convert_aside(archive.open(rec), out, scheduler=own.address, batch=20)
    wait_until(lambda: results_in(out) >= 300 or result)
    kill(own.scheduler)
    for worker in workers:
        kill(worker)
    port = own.port
    own.start_scheduler(port)
    own.start_worker()
    own.start_worker()
    report = join(thread, result)
    assert (report.done, report.failed) == (2000, []) and files_of(out) == plain


def test_a_scheduler_that_ends_in_good_order(tmp_path, many, own):
    """It tells its clients, who are not to wait for ever."""
    rec, plain = many
    out = tmp_path / "out"
    own.start_scheduler()
    own.start_worker()
    wait_for_workers(own, 1)
    thread, result = convert_aside(archive.open(rec), out, scheduler=own.address, batch=20, patience=0)
    wait_until(lambda: results_in(out) >= 100 or result)
    own.scheduler.send_signal(signal.SIGINT)
    own.scheduler.wait()
    with pytest.raises(archive.SchedulerError, match="no scheduler answers|went away|no workers|lost all"):
        join(thread, result)
    report = archive.open(rec).convert(out)
    assert report.skipped >= 100 and report.done + report.skipped == 2000 and files_of(out) == plain


@pytest.mark.parametrize("number,status", [(signal.SIGKILL, -9), (signal.SIGINT, 130), (signal.SIGTERM, 143)])
def test_a_client_that_goes(tmp_path, many, cluster, number, status):
    rec, plain = many
    out = tmp_path / "out"
    command = [sys.executable, "-m", "vexacamutl.archive", "convert", str(rec), str(out), "--batch", "20",
               "--scheduler", cluster.address]
    client = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    wait_until(lambda: results_in(out) >= 200, client)
    client.send_signal(number)
    said = client.communicate()[1]
    assert client.returncode == status, said
    assert number == signal.SIGKILL or "the same command goes on where this one was" in said
    seen = results_in(out)
    assert archive.verify(out).interrupted and 200 <= seen < 2000
    done = subprocess.run([*command, "--json"], capture_output=True, text=True, check=True)
    report = json.loads(done.stdout)
    assert report["skipped"] >= seen and report["done"] + report["skipped"] == 2000 and report["failed"] == []
    assert files_of(out) == plain and archive.verify(out, True).complete
    assert not archive.verify(out).left_over


def test_a_full_disk_on_one_worker(tmp_path, own):
    """The other one makes what does not fit there."""
    random = np.random.default_rng(1)
    samples(random, (60, 48, 64), 8).tofile(tmp_path / "s.raw")
    own.start_scheduler()
    own.start_worker(preexec_fn=lambda: (resource.setrlimit(resource.RLIMIT_FSIZE, (3000, 3000)),
                                         signal.signal(signal.SIGXFSZ, signal.SIG_IGN)))
    own.start_worker()
    found = archive.open(tmp_path / "s.raw", "Mono8", 64, 48)
    wait_for_workers(own, 2)
    report = found.convert(tmp_path / "out", scheduler=own.address, batch=2)
    assert (report.done, report.failed) == (60, [])
    run_tool("convert", "-f", "Mono8", "-s", "64x48", "-o", tmp_path / "plain", tmp_path / "s.raw")
    assert files_of(tmp_path / "out") == files_of(tmp_path / "plain")


@pytest.mark.parametrize("environment,words", [
    ({"VEXACAMUTL_TOOL": "/none"}, "VEXACAMUTL_TOOL must name"), ({"PYTHONPATH": "/none"}, "lacks a Python package.*vexacamutl"),
    ({"VEXACAMUTL_TOOL": "OTHER"}, "different versions of the tool")])
def test_workers_that_lack_something(tmp_path, many, own, environment, words):
    other = tmp_path / "other"
    other.write_text("#!/bin/sh\necho VexaCamUtl 0.9\n")
    other.chmod(0o755)
    own.start_scheduler()
    own.start_worker()
    own.start_worker(**{name: value.replace("OTHER", str(other)) for name, value in environment.items()})
    wait_for_workers(own, 2)
    with pytest.raises(archive.SchedulerError, match=words):
        archive.open(many[0]).convert(tmp_path / "out", scheduler=own.address)
    assert not (tmp_path / "out").exists()


def test_a_worker_that_comes_later_without_the_tool(tmp_path, many, own):
    own.start_scheduler()
    worker = own.start_worker()
    out = tmp_path / "out"
    thread, result = convert_aside(archive.open(many[0]), out, scheduler=own.address, batch=20)
    wait_until(lambda: results_in(out) >= 100 or result)
    own.start_worker(VEXACAMUTL_TOOL="/none")
    wait_for_workers(own, 2)
    kill(worker)
    # A ToolError of the task; a SchedulerError when the connection was lost meanwhile and its workers are checked anew.
    with pytest.raises(archive.ArchiveError, match="VEXACAMUTL_TOOL must name"):
        join(thread, result)
    assert archive.open(many[0]).convert(out).complete and files_of(out) == many[1]


def test_the_last_worker_goes(tmp_path, many, own):
    own.start_scheduler()
    worker = own.start_worker()
    out = tmp_path / "out"
    wait_for_workers(own, 1)
    thread, result = convert_aside(archive.open(many[0]), out, scheduler=own.address, batch=20, patience=0)
    wait_until(lambda: results_in(out) >= 100 or result)
    kill(worker)
    with pytest.raises(archive.SchedulerError, match="lost all its workers"):
        join(thread, result)
    assert archive.verify(out).interrupted


def test_memory_of_workers(tmp_path, own):
    """Less than 150 MB for frames of 1920x1080, as pictures and as chunks of an array."""
    own.start_scheduler()
    workers = [own.start_worker(), own.start_worker()]
    (tmp_path / "s.raw").write_bytes(np.random.default_rng(1).bytes(1920 * 1080) * 12)
    found = archive.open(tmp_path / "s.raw", "BayerRG8", 1920, 1080)
    wait_for_workers(own, 2)
    assert found.convert(tmp_path / "png", png_level=1, scheduler=own.address, batch=3).done == 12
    assert found.convert(tmp_path / "z", "zarr", scheduler=own.address, batch=3).done == 12
    assert zarr.open(str(tmp_path / "z"), "r").shape == (12, 1080, 1920, 3)
    for worker in workers:
        with open(f"/proc/{worker.pid}/status", encoding="ascii") as status:
            peak = next(int(line.split()[1]) for line in status if line.startswith("VmHWM"))
        assert 20_000 < peak < 150_000, f"{peak} kB"
