# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Slurm's real daemons on loopback: the array that the page prints, and workers as a job array.

munged, slurmctld and slurmd run with a configuration of their own, on ports that the system chooses, for as long as the
tests do; they have to be root.
"""
from __future__ import annotations

import contextlib
import json
import os
import shutil
import signal
import socket
import subprocess
import sys

import pytest

import test_archive_page as page
from archive_support import TOOL, files_of, manifest_lines, results_in, run_tool, wait_until
from test_archive_page import folder  # noqa: F401  (fixture)
from vexacamutl import archive

CONFIGURATION = """ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={controller}
SlurmdPort={node}
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket={folder}/munge.socket
CredType=cred/munge
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
ReturnToService=2
NodeName={host} NodeAddr=127.0.0.1 CPUs={cores} State=UNKNOWN
PartitionName=main Nodes={host} Default=YES MaxTime=INFINITE State=UP
"""

pytestmark = [
    pytest.mark.skipif(os.geteuid() != 0, reason="Slurm's daemons are started as root"),
    pytest.mark.skipif(shutil.which("sbatch") is None, reason="slurm-wlm is not installed"),
]


def free_port():
    with contextlib.closing(socket.socket()) as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


@pytest.fixture(scope="module")
def slurm(tmp_path_factory):
    """The environment that makes sbatch and the others talk to a cluster of this machine."""
    place = tmp_path_factory.mktemp("slurm")
    place.chmod(0o755)
    (place / "munge.key").write_bytes(os.urandom(128))
    (place / "munge.key").chmod(0o600)
    for name in ("state", "spool"):
        (place / name).mkdir()
    values = {"host": socket.gethostname().split(".")[0], "controller": free_port(), "node": free_port(),
              "folder": place, "cores": max(2, os.cpu_count() or 1)}
    (place / "slurm.conf").write_text(CONFIGURATION.format(**values))
    environment = {**os.environ, "SLURM_CONF": str(place / "slurm.conf")}
    running = []

    def start(name, *arguments):
        log = open(place / f"{name}.err", "wb")
        running.append(subprocess.Popen([shutil.which(name, path=f"/usr/sbin:{os.environ['PATH']}"), *arguments], stdout=log,
                                        stderr=log, env=environment))
        return running[-1]

    files = [f"--{option}={place}/munge.{ending}" for option, ending in (
        ("key-file", "key"), ("socket", "socket"), ("pid-file", "pid"), ("log-file", "log"), ("seed-file", "seed"))]
    try:
        munged = start("munged", "--foreground", "--force", *files)
        wait_until(lambda: (place / "munge.socket").exists(), munged)
        start("slurmctld", "-D", "-f", str(place / "slurm.conf"))
        node = start("slurmd", "-D", "-f", str(place / "slurm.conf"))

        def idle():
            sinfo = subprocess.run(["sinfo", "-h", "-o", "%t"], env=environment, capture_output=True, text=True, check=False)
            return sinfo.stdout.strip() == "idle"

        wait_until(idle, node)
        yield environment["SLURM_CONF"]
    finally:
        for process in reversed(running):
            process.terminate()
            process.wait()


@pytest.fixture
def here(slurm, folder, monkeypatch):  # noqa: F811
    monkeypatch.setenv("SLURM_CONF", slurm)
    monkeypatch.setenv("VEXACAMUTL_TOOL", TOOL)
    return folder


def test_the_array_of_the_page(here):
    commands = [code for needs, code in page.blocks("sh") if needs == "slurm"]
    assert len(commands) == 1
    page.run(commands[0])
    run_tool("convert", "-o", "plain", "recording.raw")
    assert files_of("pictures-6") == files_of("plain") and len(files_of("plain")) == 30
    lines = [json.loads(line) for path in here.glob("slurm-*.jsonl") for line in path.read_text().splitlines()]
    assert sorted(line["frame"] for line in lines) == list(range(30))


def jobs():
    return subprocess.run(["squeue", "-h", "-o", "%i"], capture_output=True, text=True, check=True).stdout.split()


def test_workers_of_slurm(here):
    found = archive.open("recordings", "BayerRG8", 640, 480)
    report = found.convert("out", scheduler="slurm", jobs=2, batch=3)
    assert (report.done, report.failed) == (24, [])
    run_tool("convert", "-f", "BayerRG8", "-s", "640x480", "-o", "plain", "recordings")
    assert files_of("out") == files_of("plain") and archive.verify("out", True).complete
    wait_until(lambda: jobs() == [])


def test_a_client_that_goes(here):
    """Ctrl-C cancels the job; the second call makes the rest."""
    run_tool("synth", "-s", "64x48", "-n", 1000, "--sidecar", "long.raw")
    command = [sys.executable, "-m", "vexacamutl.archive", "convert", "long.raw", "out", "--scheduler", "slurm", "--jobs", "1",
               "--batch", "10"]
    client = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    wait_until(lambda: results_in("out") >= 50, client)
    client.send_signal(signal.SIGINT)
    client.communicate()
    assert client.returncode == 130 and 50 <= results_in("out") < 1000
    wait_until(lambda: jobs() == [])
    assert archive.open("long.raw").convert("out").complete and archive.verify("out", True).good == 1000


def test_refused(here, monkeypatch):
    found = archive.open("recordings", "BayerRG8", 640, 480)
    monkeypatch.setenv("SBATCH_PARTITION", "none")
    with pytest.raises(archive.SchedulerError, match="partition"):
        found.convert("out", scheduler="slurm", jobs=1)
    monkeypatch.setenv("PATH", "/none")
    with pytest.raises(archive.SchedulerError, match="sbatch was not found"):
        found.convert("out", scheduler="slurm", jobs=1)
    assert not os.path.exists("out") and manifest_lines("out") == []
