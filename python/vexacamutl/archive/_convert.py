# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""A conversion from its plan to its report.

    archive --> results (the plan) --> without those that are there --> batches --> pool --> manifest, report

A frame that fails is tried once more, apart from others and on another worker if there is one. A batch whose worker was
killed is tried again, up to a limit.
"""
from __future__ import annotations

import contextlib
import errno
import os
import time
from collections import deque
from typing import Any, Callable, Iterator, Mapping, NamedTuple, Optional, Union

from .._numbers import flag, integer
from .._output import Path, checked_path
from . import _optional
from ._archive import Archive
from ._chunks import make_array
from ._cluster import DaskPool, host_and_port
from ._errors import ArchiveError, ManifestError, NoFramesError, SettingError
from ._local import Finished, LocalPool, Pending, processors
from ._manifest import FOLDER, Contents, Manifest, read_manifest
from ._plan import Plan, Planned, make_plan, survey
from ._report import ConversionReport, Failed, Progress
from ._settings import ZARR, check_kind, check_options, options_of
from ._slurm import WORKERS, SlurmPool
from ._tool import find_tool, tool_version
from ._worker import Batch, Job, Missed, Outcome

BATCH_FRAMES = 512
_LEAST_PART = 32  # of the largest batch: below it starting the tool costs too much
_TRIES = 2
_DEATHS = 10
_MOST_JOBS = 1024


class Options(NamedTuple):
    """The arguments of Archive.convert that do not change a byte of the results, and the digest."""

    jobs: Optional[int] = None
    batch: Optional[int] = None
    digest: str = "crc32"
    progress: Optional[bool] = None
    patience: float = 300.0


Pool = Union[LocalPool, DaskPool]


def check(options: Options, scheduler: Any, to: str) -> None:
    """Arguments that do not fit."""
    for name, most in (("jobs", _MOST_JOBS), ("batch", 1 << 31)):
        value = getattr(options, name)
        if value is not None:
            integer(value, name, 1, most)
    if options.progress is not None:
        flag(options.progress, "progress")
    if options.digest not in ("crc32", "sha256"):
        raise SettingError(f"digest must be 'crc32' or 'sha256', not {options.digest!r}")
    if isinstance(options.patience, bool) or not isinstance(options.patience, (int, float)) or not options.patience >= 0:
        raise SettingError(f"patience must be a number of seconds, not {options.patience!r}")
    known = scheduler is None or isinstance(scheduler, str) or hasattr(scheduler, "submit")
    if not known and not hasattr(scheduler, "scheduler_address"):
        raise SettingError(f"the scheduler must be an address, 'slurm', a client, a cluster or None, not {scheduler!r}")
    if scheduler is not None and scheduler != "slurm" and options.jobs is not None:
        raise SettingError("jobs is for this machine and for Slurm; a scheduler has its workers already")
    if scheduler is not None:
        _optional.module("distributed")
    if isinstance(scheduler, str) and scheduler != "slurm":
        host_and_port(scheduler)
    if to == ZARR:
        _optional.module("numcodecs")


def open_pool(scheduler: Any, job: Job, options: Options, say: Callable[[str], None]) -> Pool:
    """The place that a conversion uses."""
    if scheduler is None:
        return LocalPool(options.jobs or processors())
    if scheduler == "slurm":
        return SlurmPool(options.jobs or WORKERS, job, options.patience, say)
    return DaskPool(getattr(scheduler, "scheduler_address", scheduler), job, options.patience, say)


class BatchSizes:
    """Frames of a task: enough that starting the tool costs little; towards the end so few that no worker waits long."""

    def __init__(self, frames: int, frame_bytes: int, threads: int, batch_bytes: int, wanted: Optional[int]) -> None:
        most = min(BATCH_FRAMES, max(1, batch_bytes // max(1, frame_bytes)))
        self._threads = threads
        self._most = wanted or most
        self._least = wanted or max(1, min(most // _LEAST_PART, frames // (4 * threads)))

    def next(self, left: int) -> int:
        """The next one, when so many frames are left: half of a thread's share."""
        return max(self._least, min(self._most, left // (2 * self._threads)))


class Work:
    """The results that are still to be made, handed to a pool."""

    def __init__(self, job: Job, plan: Plan, done: set[str], manifest: Manifest, report: ConversionReport) -> None:
        self.job, self._plan, self._done, self._manifest, self.report = job, plan, done, manifest, report
        self._made_of: dict[str, Planned] = {}
        self._again: deque[Pending] = deque()

    @property
    def todo(self) -> int:
        """Frames that have no result yet, at most."""
        of_each = self._plan.chunk.frames if self._plan.chunk is not None else 1
        return (self._plan.results_expected - len(self._done)) * of_each

    def _batches(self, sizes: BatchSizes) -> Iterator[Pending]:
        left = self.todo
        wanted = sizes.next(left)
        items = []
        count = 0
        for planned in self._plan.results():
            if planned.item.output in self._done:
                self.report.skipped += len(planned.item.frames)
                continue
            self._made_of[planned.item.output] = planned
            items.append(planned.item)
            count += len(planned.item.frames)
            if count >= wanted:
                yield Pending(Batch(self.job, tuple(items)))
                left -= count
                wanted = sizes.next(left)
                items, count = [], 0
        if items:
            yield Pending(Batch(self.job, tuple(items)))

    def run(self, pool: Pool, sizes: BatchSizes, progress: Progress) -> None:
        """Until everything has been tried."""
        batches = self._batches(sizes)
        more = True
        while True:
            while more and pool.under_way + len(self._again) < pool.window:
                pending = next(batches, None)
                if pending is None:
                    more = False
                else:
                    pool.submit(pending)
            while self._again:
                pool.submit(self._again.popleft())
            if pool.under_way == 0:
                return
            lines: list[dict[str, Any]] = []
            for finished in pool.wait():
                lines += self._take(finished)
            if lines:
                self._manifest.add(lines)
            progress.update(self.report)

    def _take(self, finished: Finished) -> list[dict[str, Any]]:
        """What came back, as lines of the manifest; what has to be tried again is put aside."""
        pending, error = finished.pending, finished.error
        if finished.lost and error is None:
            self._again.append(pending)
            return []
        if isinstance(error, ArchiveError):
            raise error
        outcomes = finished.outcomes
        if error is not None:
            killed = finished.lost
            reason = "its worker was killed" if killed else f"{type(error).__name__}: {error}"
            outcomes = [
                Outcome(item.output, tuple(Missed(frame, reason, killed) for frame in item.frames))
                for item in pending.batch.items
            ]
        missed = [outcome for outcome in outcomes if outcome.missed]
        deaths = pending.deaths + (finished.astray or any(one.killed for outcome in missed for one in outcome.missed))
        tries = pending.tries + any(
            not one.killed and not finished.astray for outcome in missed for one in outcome.missed
        )
        if missed and tries < _TRIES and deaths < _DEATHS:
            names = {outcome.output for outcome in missed}
            items = tuple(item for item in pending.batch.items if item.output in names)
            avoid = pending.avoid | {finished.where} if finished.where else pending.avoid
            self._again.append(Pending(Batch(self.job, items, apart=tries > 0), tries, deaths, avoid))
            outcomes = [outcome for outcome in outcomes if not outcome.missed]
        return [self._record(outcome) for outcome in outcomes]

    def _record(self, outcome: Outcome) -> dict[str, Any]:
        planned = self._made_of.pop(outcome.output)
        report = self.report
        report.done += len(planned.item.frames) - len(outcome.missed)
        report.bytes += outcome.bytes
        report.failed += [Failed(one.frame.path, one.frame.number or 0, one.reason) for one in outcome.missed]
        more = f" (and {len(outcome.missed) - 1} more)" if len(outcome.missed) > 1 else ""
        return {
            "output": outcome.output,
            "input": planned.input,
            "made_of": planned.made_of,
            "bytes": outcome.bytes,
            "digest": outcome.digest,
            "reason": outcome.missed[0].reason + more if outcome.missed else None,
        }


def _difference(before: Any, now: Any) -> str:
    """Two values of the manifest; of two arrays what differs."""
    if isinstance(before, dict) and isinstance(now, dict):
        return "; ".join(f"{name} {before.get(name)}, not {now[name]}" for name in now if before.get(name) != now[name])
    return f"{before}, not {now}"


def _refuse_other_run(out: str, contents: Contents, run: Mapping[str, Any]) -> None:
    """Results of other settings in the same folder."""
    for name in ("to", "layout", "settings", "digest", "array"):
        before = contents.run.get(name)
        if before != run[name]:
            raise ManifestError(
                f"{out} holds results of another conversion ({name}: {_difference(before, run[name])}); choose another "
                "folder, or begin anew with resume=False"
            )


def _read(out: str, resume: bool) -> Optional[Contents]:
    try:
        return read_manifest(out)
    except ManifestError:
        if resume:
            raise
        return None


def _clear_array(out: str, contents: Optional[Contents]) -> None:
    """A folder for an array is empty, except for what an earlier run made."""
    if contents is not None and contents.run.get("array"):
        for name in (".zarray", ".zattrs", *contents.entries):
            with contextlib.suppress(FileNotFoundError):
                os.unlink(os.path.join(out, name))
    others = [name for name in os.listdir(out) if name != FOLDER]
    if others:
        raise ManifestError(f"{out} holds {others[0]}; an array needs a folder of its own")


def convert_archive(
    archive: Archive, out: Path, to: str, scheduler: Any, resume: bool, options: Options, settings: Mapping[str, Any]
) -> ConversionReport:
    """See Archive.convert."""
    begun = time.monotonic()
    folder = os.path.abspath(checked_path(out))
    if os.path.exists(folder) and not os.path.isdir(folder):
        raise NotADirectoryError(errno.ENOTDIR, os.strerror(errno.ENOTDIR), folder)
    flag(resume, "resume")
    check_kind(to)
    check(options, scheduler, to)
    if len(archive) == 0:
        raise NoFramesError("the archive has no frames")
    if to == ZARR and settings.get("alpha"):
        raise SettingError("alpha: arrays hold grey or RGB pictures")
    tool = find_tool(archive.tool)
    layout = [*archive.layout_options, *([f"--range={archive.range}"] if archive.range != "full" else [])]
    arguments = (*layout, *options_of(settings))
    check_options(tool, to, arguments)
    plan = make_plan(archive, to, tool, arguments)
    run = {
        "to": ZARR if plan.chunk is not None else plan.ending,
        "layout": layout,
        "settings": sorted(options_of(settings)),
        "digest": options.digest,
        "array": plan.array,
        "frames": plan.frames,
        "tool": tool_version(tool),
    }
    with Manifest(folder) as manifest:
        contents = _read(folder, resume)
        kept = contents if resume else None
        if kept is not None:
            _refuse_other_run(folder, kept, run)
        done = survey(plan, archive, folder, kept)
        if plan.chunk is not None and kept is None:
            _clear_array(folder, contents)
        manifest.make_folder()
        arguments = (*arguments, f"--to={plan.kind}")
        job = Job(folder, manifest.folder, archive.tool, arguments, plan.ending, options.digest, plan.chunk)
        report = ConversionReport(folder, failed=[Failed(path, None, reason) for path, reason in archive.bad])
        progress = Progress(plan.frames, options.progress)
        work = Work(job, plan, done, manifest, report)
        with contextlib.ExitStack() as stack:
            pool = open_pool(scheduler, job, options, progress.say) if work.todo > 0 else None
            if pool is not None:
                stack.callback(pool.close)
            manifest.begin(run, anew=not resume)
            manifest.add([{"input": path, "reason": reason} for path, reason in archive.bad])
            if plan.chunk is not None:
                make_array(folder, plan.chunk, plan.frames, manifest.folder)
            if pool is not None:
                frame_bytes = archive.nbytes // len(archive)
                work.run(pool, BatchSizes(work.todo, frame_bytes, pool.threads, plan.batch_bytes, options.batch), progress)
            else:
                report.skipped = plan.frames
        report.seconds = time.monotonic() - begun
        manifest.add([{"end": {"done": report.done, "skipped": report.skipped, "failed": len(report.failed)}}])
        progress.update(report, last=True)
    return report
