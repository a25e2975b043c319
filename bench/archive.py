#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Measures archives: the conversion beside the tool alone, and what the engine costs, for docs/archives.md.

    scripts/bench archive           both, as the page prints them; five to ten minutes
    scripts/bench archive --write   the same, written into the page
    scripts/bench archive speed     the same files by `vexacamutl convert --jobs 2` and by an archive on 2 workers
    scripts/bench archive scale     cost of a task and of a frame up to 100,000 frames with a conversion that does
                                    nothing, and from it the table for 10^6 to 10^9 frames

The workers are dask-worker processes on this machine, started as the page does. Runs alternate; a figure is the median
of its runs. The files of the first table are in /dev/shm where that has room, because a disk would hide the difference;
those of the second are where temporary files go, because the manifest waits for that disk.
"""
from __future__ import annotations

import argparse
import contextlib
import datetime
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import NamedTuple

import numpy as np

ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests" / "python"))

from archive_support import TOOL, Cluster, wait_for_workers  # noqa: E402
from vexacamutl import archive  # noqa: E402
from vexacamutl.archive import _cluster, _convert, _local, _manifest, _report, _worker  # noqa: E402

WORKERS = 2
PAGE = ROOT / "docs" / "archives.md"
BEGIN, END = "<!-- written by scripts/bench archive --write -->\n", "<!-- end of what scripts/bench wrote -->\n"

# Assumed of a cluster; the page names them.
NETWORK = 1000e6  # bytes per second of the shared storage, reading and writing together: 10 Gbit/s
METADATA = 10_000  # operations per second of the shared file system
OPERATIONS = 6  # of a result: open the input, create, name, rename, look at its size, remove its folder's entry
FRAME_BYTES = 1920 * 1080


class Speed(NamedTuple):
    """Seconds of the tool alone, of an archive on the workers and of one on this machine, for so many frames."""

    kind: str
    frames: int
    tool: float
    workers: float
    local: float


class Cost(NamedTuple):
    """Seconds of everything but the conversion, for so many frames in tasks of a size."""

    frames: int
    batch: int
    seconds: float

    @property
    def tasks(self):
        return -(-self.frames // self.batch)


class Model(NamedTuple):
    """Seconds of a frame and of a task in the engine, of starting the tool, of a PNG on a thread; its bytes."""

    frame: float
    task: float
    start: float
    png: float
    png_bytes: float


class Waits(NamedTuple):
    """Seconds that a caller waits for one frame, and for a conversion of which 10,000 frames are done already."""

    index: float
    again: float


def timed(work):
    begun = time.perf_counter()
    work()
    return time.perf_counter() - begun


def median(times):
    return statistics.median(times)


@contextlib.contextmanager
def workers(folder):
    with Cluster(folder / "cluster") as cluster:
        cluster.start_scheduler(**_cluster.ENVIRONMENT)
        for _ in range(WORKERS):
            cluster.start_worker(**_cluster.ENVIRONMENT)
        wait_for_workers(cluster, WORKERS)
        yield cluster


def recording(folder, frames):
    """Single frames of 1920x1080: a drawn scene, so that PNG has something to do."""
    subprocess.run([TOOL, "synth", "-n", str(frames), str(folder / "all.raw")], check=True)
    (folder / "recorded").mkdir()
    content = np.memmap(folder / "all.raw", np.uint8, "r").reshape(frames, -1)
    for i, frame in enumerate(content):
        frame.tofile(folder / "recorded" / f"{i:05d}.raw")
    (folder / "all.raw").unlink()


def speed_of(to, folder, cluster, rounds):
    """The same files by the tool and by archives, in turns."""
    recorded = folder / "recorded"
    found = archive.open(recorded, "BayerRG8", 1920, 1080)
    plain = [TOOL, "convert", "-f", "BayerRG8", "-s", "1920x1080", "--jobs", str(WORKERS), "-t", to, "--quiet"]
    ways = {
        "tool": lambda out: subprocess.run([*plain, "-o", out, recorded], check=True),
        "workers": lambda out: found.convert(out, to, scheduler=cluster.address),
        "local": lambda out: found.convert(out, to, jobs=WORKERS),
    }
    times = {name: [] for name in ways}
    for round_ in range(rounds + 1):
        for name, way in ways.items():
            out = folder / "out"
            seconds = timed(lambda: way(out))
            if round_ > 0:  # the first one warms up
                times[name].append(seconds)
            shutil.rmtree(out)
            os.sync()
    return Speed(to, len(found), *(median(times[name]) for name in ("tool", "workers", "local")))


def speed(folder, frames, rounds):
    """Seconds for both kinds, and the bytes of a PNG."""
    recording(folder, frames)
    with workers(folder) as cluster:
        measured = [speed_of(to, folder, cluster, rounds) for to in ("png", "bgra")]
    out = folder / "eight"
    archive.open(folder / "recorded", "BayerRG8", 1920, 1080)[:8].convert(out)
    return measured, sum(path.stat().st_size for path in out.glob("*.png")) / 8


def nothing(batch):
    """A task that converts nothing and says that it did."""
    import distributed

    return distributed.get_worker().address, [
        _worker.Outcome(item.output, (), 1_000_000, "00000000", 0.05) for item in batch.items]


def engine(found, out, pool_of, batch):
    """Seconds of everything but the conversion, for all frames of an archive."""
    def work():
        plan = _convert.make_plan(found, "png", TOOL, ())
        with _manifest.Manifest(str(out)) as manifest:
            manifest.make_folder()
            job = _worker.Job(str(out), manifest.folder, TOOL, (), plan.ending, "crc32")
            pool = pool_of(job)
            manifest.begin({"to": "png", "digest": "crc32"}, anew=True)
            report = _report.ConversionReport(str(out))
            try:
                sizes = _convert.BatchSizes(plan.frames, 0, WORKERS, plan.batch_bytes, batch)
                _convert.Work(job, plan, set(), manifest, report).run(pool, sizes, _report.Progress(plan.frames, False))
            finally:
                pool.close()
            assert report.done == plan.frames
    seconds = timed(work)
    shutil.rmtree(out)
    return seconds


def start_of_tool(folder):
    """Seconds that a run of the tool takes for next to nothing."""
    (folder / "tiny.raw").write_bytes(bytes(16))
    command = [TOOL, "convert", "-f", "Mono8", "-s", "4x4", "-t", "pgm", "--report", folder / "r", "-o", folder / "tiny",
               folder / "tiny.raw"]
    return median([timed(lambda: subprocess.run(command, check=True)) for _ in range(30)])


def costs(folder, rounds):
    """The engine's seconds for archives of several lengths."""
    measured = []
    with workers(folder) as cluster:
        for frames in (1_000, 10_000, 100_000):
            (folder / "sparse.raw").write_bytes(b"")
            os.truncate(folder / "sparse.raw", 16 * 12 * frames)
            found = archive.open(folder / "sparse.raw", "Mono8", 16, 12)
            for batch in (16, 64, 512):
                pool = lambda job: _cluster.DaskPool(cluster.address, job, 60, lambda line: None, nothing)  # noqa: E731
                seconds = median([engine(found, folder / "noop", pool, batch) for _ in range(rounds)])
                measured.append(Cost(frames, batch, seconds))
    return measured


def waits_of(folder):
    """The frames of the conversion are tiny: only their number counts."""
    (folder / "frames.raw").write_bytes(np.random.default_rng(1).bytes(FRAME_BYTES * 64))
    found = archive.open(folder / "frames.raw", "BayerRG8", 1920, 1080)
    index = median([timed(lambda: found[i * 37 % 64]) for i in range(192)])
    (folder / "tiny-frames.raw").write_bytes(bytes(16 * 12 * 10_000))
    tiny = archive.open(folder / "tiny-frames.raw", "Mono8", 16, 12)
    out = folder / "done"
    assert tiny.convert(out, "pgm", jobs=WORKERS).done == 10_000
    seconds = []
    for _ in range(3):
        report = None

        def again():
            nonlocal report
            report = tiny.convert(out, "pgm", jobs=WORKERS)

        seconds.append(timed(again))
        assert report.skipped == 10_000
    return Waits(index, median(seconds))


def fitted(measured):
    """Seconds of a frame and of a task: least squares of the relative errors."""
    known = np.array([[cost.frames, cost.tasks, 1] for cost in measured], float)
    weights = 1 / np.array([cost.seconds for cost in measured])
    (frame, task, _), *_ = np.linalg.lstsq(known * weights[:, None], np.ones(len(measured)), rcond=None)
    return max(frame, 0), max(task, 0)


def hours(seconds):
    if seconds >= 48 * 3600:
        return f"{seconds / 86400:,.0f} d"
    return f"{seconds / 3600:.1f} h" if seconds >= 3600 else f"{seconds / 60:.0f} min"


def machine():
    """Where and when."""
    text = Path("/proc/cpuinfo").read_text(encoding="ascii")
    told = dict(re.findall(r"^(model name|cpu family)\s*: (.*)$", text, re.MULTILINE))
    name = f"{told.get('model name', 'unknown processor')} (family {told.get('cpu family', 'unknown')})"
    return f"{name}, {len(os.sched_getaffinity(0))} virtual cores, {datetime.date.today()}"


def speed_table(measured):
    """The first table of the page."""
    yield "Frames of 1920x1080 BayerRG8 by the tool alone, by an archive on two Dask workers, and by one without a scheduler"
    yield "(`jobs=2`):"
    yield ""
    yield "| to | frames | `vexacamutl convert --jobs 2`, s | two workers, s | ratio | this machine, s | ratio |"
    yield "|---|---|---|---|---|---|---|"
    for one in measured:
        yield (f"| {one.kind} | {one.frames:,} | {one.tool:.2f} | {one.workers:.2f} | {one.workers / one.tool:.2f} "
               f"| {one.local:.2f} | {one.local / one.tool:.2f} |")


def cost_table(measured):
    """The second one."""
    yield "What the engine costs: a conversion that does nothing, through a Dask scheduler and two workers, with the manifest"
    yield "and its waits for the disk:"
    yield ""
    yield "| frames | frames of a task | tasks | s | us per frame | ms per task |"
    yield "|---|---|---|---|---|---|"
    for cost in measured:
        yield (f"| {cost.frames:,} | {cost.batch} | {cost.tasks:,} | {cost.seconds:.2f} "
               f"| {cost.seconds / cost.frames * 1e6:.0f} | {cost.seconds / cost.tasks * 1e3:.2f} |")


def scale_table(model):
    """The third one: clusters that are not here."""
    yield f"A frame costs the process that calls `convert` {model.frame * 1e6:.0f} us and a task {model.task * 1e3:.2f} ms;"
    yield f"a run of the tool costs {model.start * 1e3:.1f} ms; a thread makes a PNG of {model.png_bytes / 1e6:.1f} MB in"
    yield f"{model.png * 1e3:.0f} ms. From these figures follows:"
    yield ""
    yield ("| Frames | Workers | Computing | Engine, 16 / 512 frames per task | Network | File system | The limit "
           "| Frames per task, at least |")
    yield "|---|---|---|---|---|---|---|---|"
    for power in (6, 7, 8, 9):
        for count in (2, 10, 100, 1000):
            many = 10**power
            computing = many * (model.png + model.start / 512) / count
            engines = [many * (model.frame + model.task / batch) for batch in (16, 512)]
            network = many * (FRAME_BYTES + model.png_bytes) / NETWORK
            files = many * OPERATIONS / METADATA
            limits = {"computing": computing, "engine": engines[1], "network": network, "file system": files}
            limit = max(limits, key=limits.get)
            # The engine is no limit, and starting the tool costs less than 1 %, from this many on.
            room = model.png / count - model.frame
            least = max(model.start / model.png / 0.01, model.task / room if room > 0 else float("inf"))
            shown = f"{least:,.0f}" if least <= 100_000 else "none suffices"
            yield (f"| 10^{power} | {count:,} | {hours(computing)} | {hours(engines[0])} / {hours(engines[1])} "
                   f"| {hours(network)} | {hours(files)} | {limit} | {shown} |")


def waits_text(waits):
    """The sentence between the first two tables."""
    yield f"A frame of 1920x1080, `frames[i]`, comes in {waits.index * 1e3:.2f} ms from memory. Where 10,000 frames are"
    yield f"done, the same `convert` again takes {waits.again:.2f} s."


def report(where, load, speeds, measured, model, waits):
    """What is printed, and what is between the marks of the page."""
    lines = [f"By `scripts/bench archive` on an {where}; load at the beginning {load:.1f}.", ""]
    lines += [*speed_table(speeds), ""] if speeds else []
    lines += [*waits_text(waits), ""] if waits else []
    lines += [*cost_table(measured), "", *scale_table(model), ""] if measured else []
    return "\n".join(lines)


def write_page(text):
    """Puts the figures between the marks of the page."""
    page = PAGE.read_text(encoding="ascii")
    before, _, rest = page.partition(BEGIN)
    _, _, after = rest.partition(END)
    assert after, f"{PAGE} has lost its marks"
    PAGE.write_text(before + BEGIN + "\n" + text + "\n" + END + after, encoding="ascii")


def roomy(frames):
    """Memory, if it holds the frames and their bare pictures; else the folder of temporary files."""
    wanted = frames * FRAME_BYTES * 6  # a frame, its bare picture, and a reserve
    return "/dev/shm" if os.path.isdir("/dev/shm") and shutil.disk_usage("/dev/shm").free > wanted else None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("part", nargs="?", choices=("speed", "scale"))
    parser.add_argument("--write", action="store_true", help="write the figures into docs/archives.md")
    parser.add_argument("--frames", type=int, default=960, help="of the speed table (960)")
    parser.add_argument("--rounds", type=int, default=5, help="runs of each figure (5)")
    arguments = parser.parse_args()
    if arguments.write and arguments.part:
        parser.error("--write is for all the figures of the page")
    load = os.getloadavg()[0]
    brief = arguments.part == "scale"  # which needs the time of a PNG only
    frames, rounds = (48, 1) if brief else (arguments.frames, arguments.rounds)
    with tempfile.TemporaryDirectory(dir=roomy(frames)) as folder:
        speeds, png_bytes = speed(Path(folder), frames, rounds)
    measured, model, waits = [], None, None
    if arguments.part != "speed":
        with tempfile.TemporaryDirectory() as folder:
            measured = costs(Path(folder), max(1, arguments.rounds // 2))
            waits = waits_of(Path(folder))
            png = speeds[0].tool * WORKERS / speeds[0].frames
            model = Model(*fitted(measured), start_of_tool(Path(folder)), png, png_bytes)
    text = report(machine(), load, [] if brief else speeds, measured, model, waits)
    print(text)
    if arguments.write:
        write_page(text)


if __name__ == "__main__":
    main()
