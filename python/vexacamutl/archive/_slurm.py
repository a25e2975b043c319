# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Workers of a job array of Slurm, with a Dask scheduler in this process.

sbatch reads its options from the environment as well: SBATCH_PARTITION, SBATCH_ACCOUNT, SBATCH_TIMELIMIT and so on choose
where the workers run. They end with this process: their jobs are cancelled, and a worker that lost its scheduler ends.
"""
from __future__ import annotations

import contextlib
import os
import shlex
import subprocess
import sys
from typing import Any, Callable

from . import _optional
from ._cluster import ENVIRONMENT, DaskPool
from ._errors import SchedulerError
from ._worker import Job

#: Workers that are asked for where the caller does not say.
WORKERS = 4


def _command(scheduler_file: str) -> str:
    words = ["env", *(f"{name}={value}" for name, value in ENVIRONMENT.items())]
    words += [sys.executable, "-m", "distributed.cli.dask_worker", "--scheduler-file", scheduler_file]
    words += ["--nworkers=1", "--no-nanny", "--no-dashboard", "--memory-limit=0", "--death-timeout=60"]
    threads = '--nthreads="${SLURM_CPUS_PER_TASK:-1}" --local-directory="${TMPDIR:-/tmp}"'
    return f"exec {shlex.join(words)} {threads}"


def _call(*words: str) -> str:
    try:
        done = subprocess.run(words, capture_output=True, text=True, check=False)
    except FileNotFoundError:
        raise SchedulerError(f"{words[0]} was not found: this machine is not part of a Slurm cluster") from None
    if done.returncode != 0:
        raise SchedulerError((done.stderr.strip() or f"{words[0]} ended with {done.returncode}").splitlines()[-1])
    return done.stdout.strip()


class SlurmPool(DaskPool):
    """Workers of a job array, for as long as this pool is open."""

    def __init__(self, workers: int, job: Job, patience: float, say: Callable[[str], None]) -> None:
        distributed = _optional.module("distributed")
        self._array = ""
        self._cluster: Any = distributed.LocalCluster(
            n_workers=0, host=distributed.utils.get_ip(), dashboard_address=":0", silence_logs=50
        )
        scheduler_file = os.path.join(job.folder, "scheduler.json")
        try:
            with open(scheduler_file, "w", encoding="utf-8") as file:
                file.write('{"address": "%s"}' % self._cluster.scheduler_address)
            self._array = _call(
                "sbatch",
                "--parsable",
                f"--array=1-{workers}",
                "--job-name=vexacamutl",
                f"--output={os.path.join(os.path.dirname(job.folder), 'slurm-%A_%a.log')}",
                f"--wrap={_command(scheduler_file)}",
            ).split(";")[0]
            say(f"Slurm's job {self._array} has {workers} workers")
            super().__init__(self._cluster.scheduler_address, job, patience, say)
        except BaseException:
            self._end()
            raise

    def _end(self) -> None:
        if self._array:
            with contextlib.suppress(SchedulerError):
                _call("scancel", self._array)
        self._cluster.close(timeout=10)

    def close(self) -> None:
        """Ends the workers, then the scheduler."""
        super().close()
        self._end()
