# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Batches on this machine: a pool of processes of the tool, each started by a thread."""
from __future__ import annotations

import os
from concurrent.futures import FIRST_COMPLETED, Future, ThreadPoolExecutor, wait
from dataclasses import dataclass
from typing import Callable, NamedTuple, Optional

from ._tool import Runner
from ._worker import Batch, Outcome, convert_batch


@dataclass
class Pending:
    """A batch with its history: how often it was tried and how often it was killed, and workers to avoid."""

    batch: Batch
    tries: int = 0
    deaths: int = 0
    avoid: frozenset[str] = frozenset()


class Finished(NamedTuple):
    """A batch that came back: its outcomes, or what was thrown.

    `lost` says that it was never decided, `astray` that a worker did it that was to be avoided although there are others.
    """

    pending: Pending
    outcomes: list[Outcome]
    where: str = ""
    error: Optional[BaseException] = None
    lost: bool = False
    astray: bool = False


class LocalPool:
    """A pool of processes of the tool."""

    def __init__(self, jobs: int, convert: Callable[[Batch, Runner], list[Outcome]] = convert_batch) -> None:
        self._runner = Runner()
        self._convert = convert
        self._threads = ThreadPoolExecutor(jobs, "vexacamutl")
        self._under_way: dict[Future[list[Outcome]], Pending] = {}
        self._jobs = jobs

    @property
    def window(self) -> int:
        """How many batches may be under way."""
        return 2 * self._jobs

    @property
    def under_way(self) -> int:
        """How many batches are."""
        return len(self._under_way)

    @property
    def threads(self) -> int:
        """Batches that run at once."""
        return self._jobs

    def submit(self, pending: Pending) -> None:
        """Begins a batch; there is no other place here."""
        self._under_way[self._threads.submit(self._convert, pending.batch, self._runner)] = pending

    def wait(self) -> list[Finished]:
        """The batches that came back since the last call; at least one."""
        done, _ = wait(self._under_way, return_when=FIRST_COMPLETED)
        finished = []
        for future in done:
            pending = self._under_way.pop(future)
            error = future.exception()
            finished.append(Finished(pending, [] if error is not None else future.result(), "", error))
        return finished

    def close(self) -> None:
        """Ends what is under way."""
        self._runner.stop()
        self._threads.shutdown(wait=True, cancel_futures=True)


def processors() -> int:
    """Processors that this process may use."""
    return len(os.sched_getaffinity(0))

