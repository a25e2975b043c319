# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Batches as tasks of a Dask scheduler.

A task may run more than once: its worker was killed, the scheduler went away, its answer was lost. Each attempt makes
the same files, and only this process writes the manifest. What Dask calls KilledWorker also hits tasks that merely
waited on a worker that was killed, so that such a batch is handed in again.
"""
from __future__ import annotations

import contextlib
import queue
import socket
import time
from typing import Any, Callable, Optional
from uuid import uuid4

from . import _optional
from ._errors import SchedulerError
from ._local import Finished, Pending
from ._worker import Batch, Job, Outcome, check_worker, convert_batch

#: Begins the names of tasks; Dask's own progress groups them by it.
TASK = "vexacamutl-convert"

#: For schedulers and workers. By default a worker samples its threads a hundred times a second and every process wakes up
#: fifty times, for diagrams that say nothing of work that the tool does.
ENVIRONMENT = {"DASK_DISTRIBUTED__WORKER__PROFILE__INTERVAL": "1s", "DASK_DISTRIBUTED__ADMIN__TICK__INTERVAL": "1s"}

_POLL = 2.0
_FIRST_ANSWER = 10.0
_BROKEN = (OSError, TimeoutError)


def run_batch(batch: Batch) -> tuple[str, list[Outcome]]:
    """A task: who did it, and what became of the batch."""
    return str(_optional.module("distributed").get_worker().address), convert_batch(batch)


def host_and_port(scheduler: str) -> tuple[str, int]:
    """The place that an address names."""
    addressing = _optional.module("distributed").comm.addressing
    try:
        host, port = addressing.parse_host_port(addressing.parse_address(scheduler)[1])
    except ValueError as error:
        raise SchedulerError(f"invalid scheduler {scheduler!r}: {error}") from None
    return str(host), int(port)


class DaskPool:
    """The workers of a scheduler, which is named by its address or by a client of it."""

    def __init__(
        self,
        scheduler: Any,
        job: Job,
        patience: float,
        say: Callable[[str], None],
        task: Callable[[Batch], tuple[str, list[Outcome]]] = run_batch,
    ) -> None:
        self._distributed = _optional.module("distributed")
        self._scheduler, self._job, self._patience, self._say, self._task = scheduler, job, patience, say, task
        self._client: Any = None
        self._identity: dict[str, Any] = {}
        self._had_workers = False
        self._under_way: dict[Any, Pending] = {}
        self._finished: queue.SimpleQueue[Any] = queue.SimpleQueue()
        self._connect(min(patience, _FIRST_ANSWER))

    def _connect(self, answer_within: float) -> None:
        """Connects, and waits for the first worker."""
        try:
            self._client = self._open_client(time.monotonic() + answer_within)
            self._identity = self._ask()
            self._wait_for_workers(time.monotonic() + self._patience)
            self._had_workers = True
            self._check_workers()
        except BaseException:
            self._drop_client()
            raise

    def _open_client(self, end: float) -> Any:
        if not isinstance(self._scheduler, str):
            return self._scheduler
        self._knock(end)
        try:
            left = max(1.0, end - time.monotonic())
            return self._distributed.Client(self._scheduler, timeout=left, set_as_default=False, name="vexacamutl")
        except _BROKEN as error:
            raise SchedulerError(f"no scheduler answers at {self._scheduler}: {error}") from None

    def _knock(self, end: float) -> None:
        """Waits until somebody listens at the address: a client that fails to connect is noisy."""
        place = host_and_port(self._scheduler)
        while True:
            try:
                socket.create_connection(place, timeout=5).close()
                return
            except (OSError, OverflowError, UnicodeError) as error:
                if time.monotonic() >= end or not isinstance(error, OSError):
                    raise SchedulerError(f"no scheduler answers at {self._scheduler}: {error}") from None
            time.sleep(0.2)

    def _ask(self) -> dict[str, Any]:
        """What the scheduler says of itself and its workers."""
        try:
            identity: dict[str, Any] = self._client.sync(self._client.scheduler.identity, callback_timeout=30)
            return identity
        except _BROKEN as error:
            raise SchedulerError(f"the scheduler {self._scheduler} went away: {error}") from None

    def _wait_for_workers(self, end: float) -> None:
        said = False
        while not self._identity["workers"]:
            if time.monotonic() >= end:
                raise self._without_workers()
            if not said:
                self._say(f"waiting for workers of {self._scheduler}")
            said = True
            time.sleep(0.2)
            self._identity = self._ask()

    def _without_workers(self) -> SchedulerError:
        what = "lost all its workers" if self._had_workers else "has no workers; start them with dask-worker"
        return SchedulerError(f"the scheduler {self._scheduler} {what}")

    def _check_workers(self) -> None:
        """Each worker has what it needs, of one version."""
        answers: dict[str, Any] = {}
        with contextlib.suppress(*_BROKEN):
            answers = self._client.run(check_worker, self._job, on_error="return")
        versions: dict[str, str] = {}
        for worker, answer in answers.items():
            if isinstance(answer, Exception):
                self._refuse_missing_package(answer, worker)
            if isinstance(answer, tuple) and answer[0] != "good":
                raise SchedulerError(f"the worker {worker}: {answer[1]}")
            if isinstance(answer, tuple):
                versions[answer[1]] = worker
        if len(versions) > 1:
            shown = ", ".join(f"{worker} has {version}" for version, worker in versions.items())
            raise SchedulerError(f"the workers have different versions of the tool: {shown}")
        link = getattr(self._client, "dashboard_link", "")
        if link and self._identity.get("services"):
            self._say(f"Dask shows the tasks {TASK} at {link}")

    @staticmethod
    def _refuse_missing_package(error: BaseException, worker: str) -> None:
        """Dask hands on as a plain Exception what a worker could not import."""
        if "No module named" in str(error):
            raise SchedulerError(f"the worker {worker} lacks a Python package: {error}; install vexacamutl there")

    @property
    def window(self) -> int:
        """How many batches may be under way."""
        return max(4, 3 * self.threads)

    @property
    def threads(self) -> int:
        """Batches that run at once."""
        return max(1, sum(int(worker["nthreads"]) for worker in self._identity["workers"].values()))

    @property
    def under_way(self) -> int:
        """How many batches are."""
        return len(self._under_way)

    def _others(self, pending: Pending) -> list[str]:
        return [worker for worker in self._identity["workers"] if worker not in pending.avoid]

    def submit(self, pending: Pending) -> None:
        """Hands a batch in, for other workers than those to avoid where there are any."""
        # Restrictions that hold would wait for ever for a worker that is gone; those that do not are overruled by an
        # idle worker that takes tasks of others, and one that fails at once is idle most of the time.
        others = self._others(pending) if pending.avoid else []
        future = self._client.submit(
            self._task,
            pending.batch,
            key=f"{TASK}-{uuid4().hex}",
            pure=False,
            workers=others or None,
            allow_other_workers=bool(others),
        )
        self._under_way[future] = pending
        future.add_done_callback(self._finished.put)

    def wait(self) -> list[Finished]:
        """The batches that came back since the last call; at least one."""
        quiet_since = time.monotonic()
        while True:
            try:
                return self._collect(self._finished.get(timeout=_POLL))
            except queue.Empty:
                lost = self._look_after()
            if lost:
                return lost
            if self._identity["workers"]:
                quiet_since = time.monotonic()
            elif time.monotonic() - quiet_since > self._patience:
                raise self._without_workers()

    def _collect(self, first: Any) -> list[Finished]:
        futures = [first]
        with contextlib.suppress(queue.Empty):
            while True:
                futures.append(self._finished.get_nowait())
        finished = [one for future in futures if (one := self._one(future)) is not None]
        if any(one.lost and one.error is None for one in finished):
            finished += self._reconnect()
        return finished

    def _one(self, future: Any) -> Optional[Finished]:
        pending = self._under_way.pop(future, None)
        if pending is None:
            return None
        if future.status == "finished":
            try:
                where, outcomes = future.result(timeout=30)
                return Finished(pending, outcomes, where, astray=where in pending.avoid and bool(self._others(pending)))
            except _BROKEN:
                return Finished(pending, [], lost=True)
        if future.status != "error":
            return Finished(pending, [], lost=True)
        error = future.exception()
        self._refuse_missing_package(error, "that took a task")
        return Finished(pending, [], "", error, type(error).__name__ == "KilledWorker")

    def _look_after(self) -> list[Finished]:
        """Nothing came back for a while: is the scheduler still the same?"""
        try:
            identity = self._ask()
        except SchedulerError:
            return self._reconnect()
        if identity["id"] != self._identity["id"]:
            return self._reconnect()
        self._identity = identity
        return []

    def _reconnect(self) -> list[Finished]:
        """Begins with the scheduler anew; every batch under way is lost."""
        lost = [Finished(pending, [], lost=True) for pending in self._under_way.values()]
        self._under_way.clear()
        self._finished = queue.SimpleQueue()
        if not isinstance(self._scheduler, str):
            raise SchedulerError("the scheduler of the client went away")
        self._say(f"the scheduler {self._scheduler} went away; waiting for it")
        self._drop_client()
        self._connect(self._patience)
        return lost

    def _drop_client(self) -> None:
        client, self._client = self._client, None
        if client is not None and client is not self._scheduler:
            with contextlib.suppress(*_BROKEN):
                client.close(timeout=5)

    def close(self) -> None:
        """Takes back what is under way."""
        if self._client is not None:
            with contextlib.suppress(*_BROKEN):
                self._client.cancel(list(self._under_way), force=True)
        self._under_way.clear()
        self._drop_client()
