# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Conversion by Dask's real processes on loopback; two of them are killed on the way.

The moment of a kill is a state that was seen (so many results in the manifest), not a time. tests/archive has the rest.
"""
from __future__ import annotations

import json
import signal
import subprocess
import sys

import distributed
import numpy as np
import pytest

import vexacamutl as vcu
from archive_support import (  # noqa: F401  (fixtures)
    TOOL, cluster, convert_aside, files_of, join, kill, many, own, results_in, wait_until,
)
from vexacamutl import archive
from vexacamutl.archive import _cluster


@pytest.fixture(autouse=True)
def tool(monkeypatch):
    monkeypatch.setenv("VEXACAMUTL_TOOL", TOOL)


def test_bytes_of_a_plain_run(tmp_path, many, cluster):
    rec, plain = many
    report = archive.open(rec).convert(tmp_path / "out", scheduler=cluster.address)
    assert (report.done, report.skipped, report.failed) == (2000, 0, [])
    assert files_of(tmp_path / "out") == plain and archive.verify(tmp_path / "out", True).complete
    report = archive.open(rec).convert(tmp_path / "out", scheduler=cluster.address)
    assert (report.done, report.skipped) == (0, 2000)


def test_clients_and_clusters(tmp_path, many, cluster):
    """What users of Dask have at hand; the client stays open."""
    found = archive.open(many[0])[:30]
    with distributed.Client(cluster.address, set_as_default=False) as client:
        assert found.convert(tmp_path / "a", scheduler=client).done == 30
        assert client.submit(abs, -1).result() == 1

        class Whole:
            scheduler_address = cluster.address
        assert found.convert(tmp_path / "b", scheduler=Whole()).done == 30
    assert files_of(tmp_path / "a") == files_of(tmp_path / "b")


def test_arrays_by_workers(many, cluster):
    found = archive.open(many[0] / "bayer.raw")[:100]
    with distributed.Client(cluster.address, set_as_default=False) as client:
        pictures = client.compute(found.to_dask("bgr")).result()
    assert all(np.array_equal(picture, vcu.to_bgr(frame, "BayerRG8")) for picture, frame in zip(pictures, found))


def test_progress_names_the_tasks(tmp_path, many, cluster, capsys):
    archive.open(many[0])[:30].convert(tmp_path / "out", scheduler=cluster.address, progress=True)
    assert "30/30 frames" in capsys.readouterr().err.splitlines()[-1]


def test_a_folder_that_workers_do_not_see(tmp_path, cluster):
    job = _cluster.Job(str(tmp_path), str(tmp_path / "none"), TOOL, (), "png", "crc32")
    with pytest.raises(archive.SchedulerError, match="it does not see .*; workers need the folder under the same name"):
        _cluster.DaskPool(cluster.address, job, 0, print)


def test_no_workers(tmp_path, many, own):
    own.start_scheduler()
    with pytest.raises(archive.SchedulerError, match="has no workers; start them with dask-worker"):
        archive.open(many[0]).convert(tmp_path / "out", scheduler=own.address, patience=0, progress=True)
    assert not (tmp_path / "out").exists()


def test_a_worker_and_the_client_are_killed(tmp_path, many, own):
    """Two workers; one is killed with its batch, then the client, and a second client goes on."""
    rec, plain = many
    out = tmp_path / "out"
    own.start_scheduler()
    workers = [own.start_worker(), own.start_worker()]
    command = [sys.executable, "-m", "vexacamutl.archive", "convert", str(rec), str(out), "--batch", "20",
               "--scheduler", own.address]
    client = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    wait_until(lambda: results_in(out) >= 200, client)
    kill(workers[0])
    wait_until(lambda: results_in(out) >= 600, client)
    client.send_signal(signal.SIGKILL)
    client.communicate()
    seen = results_in(out)
    assert archive.verify(out).interrupted and 600 <= seen < 2000
    done = subprocess.run([*command, "--json"], capture_output=True, text=True, check=True)
    report = json.loads(done.stdout)
    assert report["skipped"] >= seen and report["done"] + report["skipped"] == 2000 and report["failed"] == []
    assert files_of(out) == plain and archive.verify(out, True).complete and not archive.verify(out).left_over
