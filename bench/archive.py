#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Measures archives: the conversion beside the tool alone, and what the engine costs, for docs/archives.md.

    scripts/bench archive           both, as tables for the page; some minutes
    scripts/bench archive speed     the same files by `vexacamutl convert --jobs 2` and by an archive on 2 workers
    scripts/bench archive scale     cost of a task and of a frame up to 100,000 frames with a conversion that does
                                    nothing, and from it the table for 10^6 to 10^9 frames

The workers are dask-worker processes on this machine. Runs alternate; a figure is the median of its runs. The files of
the first table are in /dev/shm where that has room, because a disk would hide the difference; those of the second are
where temporary files go, because the manifest waits for that disk.
"""
from __future__ import annotations

import argparse
import contextlib
import datetime
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests" / "python"))

from archive_support import Cluster, wait_for_workers  # noqa: E402
from vexacamutl import archive  # noqa: E402
from vexacamutl.archive import _cluster, _convert, _local, _manifest, _report, _worker  # noqa: E402

TOOL = os.environ["VEXACAMUTL_TOOL"]
WORKERS = 2

# Assumed of a cluster; the page names them.
NETWORK = 1000e6  # bytes per second of the shared storage, reading and writing together: 10 Gbit/s
METADATA = 10_000  # operations per second of the shared file system
OPERATIONS = 6  # of a result: open the input, create, name, rename, look at its size, remove its folder's entry
FRAME_BYTES = 1920 * 1080


def timed(work):
    begun = time.perf_counter()
    work()
    return time.perf_counter() - begun


def median(times):
    return statistics.median(times)


@contextlib.contextmanager
def workers(folder):
    with Cluster(folder / "cluster") as cluster:
        cluster.start_scheduler()
        for _ in range(WORKERS):
            cluster.start_worker()
        wait_for_workers(cluster, WORKERS)
        yield cluster


def recording(folder, frames):
    """Single frames of 1920x1080: a drawn scene, so that PNG has something to do."""
    subprocess.run([TOOL, "synth", "-n", str(frames), str(folder / "all.raw")], check=True)
    (folder / "rec").mkdir()
    content = np.memmap(folder / "all.raw", np.uint8, "r").reshape(frames, -1)
    for i, frame in enumerate(content):
        frame.tofile(folder / "rec" / f"{i:04d}.raw")
    (folder / "all.raw").unlink()


def speed_of(to, folder, cluster, rounds):
    """Seconds of the tool alone, of an archive on the workers and of one on this machine."""
    found = archive.open(folder / "rec", "BayerRG8", 1920, 1080)
    plain = [TOOL, "convert", "-f", "BayerRG8", "-s", "1920x1080", "--jobs", str(WORKERS), "-t", to, "--quiet"]
    ways = {
        "tool": lambda out: subprocess.run([*plain, "-o", out, folder / "rec"], check=True),
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
    return len(found), {name: median(values) for name, values in times.items()}


def speed(folder, frames, rounds):
    """The table of the same files by the tool and by archives; returns the seconds of a frame and thread as PNG."""
    recording(folder, frames)
    print(f"\n| {frames} frames of 1920x1080 BayerRG8 to | `vexacamutl convert --jobs 2`, s | archive on 2 workers, s "
          "| ratio | archive on this machine, `jobs=2`, s | ratio |\n|---|---|---|---|---|---|")
    with workers(folder) as cluster:
        for to in ("png", "bgra"):
            count, seconds = speed_of(to, folder, cluster, rounds)
            print(f"| {to} | {seconds['tool']:.2f} | {seconds['workers']:.2f} | {seconds['workers'] / seconds['tool']:.2f} "
                  f"| {seconds['local']:.2f} | {seconds['local'] / seconds['tool']:.2f} |", flush=True)
            if to == "png":
                frame_seconds = seconds["tool"] * WORKERS / count
                frame_bytes = sum(path.stat().st_size for path in png_of(folder)) / 8
    shutil.rmtree(folder / "rec")
    return frame_seconds, frame_bytes


def png_of(folder):
    """Eight of the results, for their size."""
    out = folder / "eight"
    archive.open(folder / "rec", "BayerRG8", 1920, 1080)[:8].convert(out)
    return list(out.glob("*.png"))


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
                _convert.Work(job, plan, set(), manifest, report).run(pool, batch, _report.Progress(plan.frames, False))
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
    """Seconds of a task and of a frame: least squares over the measured sizes."""
    rows = []
    print("\n| frames | frames of a task | tasks | s | us per frame | ms per task |\n|---|---|---|---|---|---|")
    with workers(folder) as cluster:
        for frames in (1_000, 10_000, 100_000):
            (folder / "sparse.raw").write_bytes(b"")
            os.truncate(folder / "sparse.raw", 16 * 12 * frames)
            found = archive.open(folder / "sparse.raw", "Mono8", 16, 12)
            for batch in (16, 64, 512):
                pool = lambda job: _cluster.DaskPool(cluster.address, job, 60, lambda line: None, nothing)  # noqa: E731
                seconds = median([engine(found, folder / "noop", pool, batch) for _ in range(rounds)])
                tasks = -(-frames // batch)
                rows.append((frames, tasks, seconds))
                print(f"| {frames:,} | {batch} | {tasks:,} | {seconds:.2f} | {seconds / frames * 1e6:.0f} "
                      f"| {seconds / tasks * 1e3:.2f} |", flush=True)
    known = np.array([[frames, tasks, 1] for frames, tasks, _ in rows], float)
    weights = 1 / np.array([seconds for *_, seconds in rows])  # relative errors
    (frame, task, fixed), *_ = np.linalg.lstsq(known * weights[:, None], np.ones(len(rows)), rcond=None)
    return max(frame, 0), max(task, 0), fixed


def hours(seconds):
    if seconds >= 48 * 3600:
        return f"{seconds / 86400:,.0f} d"
    return f"{seconds / 3600:.1f} h" if seconds >= 3600 else f"{seconds / 60:.0f} min"


def scale(folder, rounds, frame_seconds, result_bytes):
    """The table for clusters that are not here."""
    frame, task, fixed = costs(folder, rounds)
    start = start_of_tool(folder)
    print(f"\nA frame costs the process that calls `convert` {frame * 1e6:.0f} us, a task {task * 1e3:.2f} ms, a run of the "
          f"tool {start * 1e3:.1f} ms; a thread makes a PNG of {result_bytes / 1e6:.1f} MB in {frame_seconds * 1e3:.0f} ms.")
    print("\n| Frames | Workers | Computing | Engine, 16 / 512 per task | Network | File system | The limit | Frames of a task, "
          "at least |\n|---|---|---|---|---|---|---|---|")
    for power in (6, 7, 8, 9):
        for count in (2, 10, 100, 1000):
            many = 10**power
            computing = many * (frame_seconds + start / 512) / count
            engines = [many * (frame + task / batch) for batch in (16, 512)]
            network = many * (FRAME_BYTES + result_bytes) / NETWORK
            files = many * OPERATIONS / METADATA
            limits = {"computing": computing, "engine": engines[1], "network": network, "file system": files}
            limit = max(limits, key=limits.get)
            # The engine is no limit, and starting the tool costs less than 1 %, from this many on.
            room = frame_seconds / count - frame
            least = max(start / frame_seconds / 0.01, task / room if room > 0 else float("inf"))
            shown = f"{least:.0f}" if least <= 100_000 else "none suffices"
            print(f"| 10^{power} | {count:,} | {hours(computing)} | {hours(engines[0])} / {hours(engines[1])} | {hours(network)} "
                  f"| {hours(files)} | {limit} | {shown} |")


def roomy(frames):
    """Memory, if it holds the frames and their bare pictures; else the folder of temporary files."""
    wanted = frames * FRAME_BYTES * 6
    return "/dev/shm" if os.path.isdir("/dev/shm") and shutil.disk_usage("/dev/shm").free > wanted else None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("part", nargs="?", choices=("speed", "scale"))
    parser.add_argument("--frames", type=int, default=480, help="of the speed table (480)")
    parser.add_argument("--rounds", type=int, default=5, help="runs of each figure (5)")
    arguments = parser.parse_args()
    machine = next(line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name"))
    print(f"{machine}, {len(os.sched_getaffinity(0))} cores, {datetime.date.today()}; load when it began: "
          f"{os.getloadavg()[0]:.1f}")
    frames = arguments.frames if arguments.part != "scale" else 48
    rounds = arguments.rounds if arguments.part != "scale" else 1
    with tempfile.TemporaryDirectory(dir=roomy(frames)) as folder:
        frame_seconds, result_bytes = speed(Path(folder), frames, rounds)
    if arguments.part != "speed":
        with tempfile.TemporaryDirectory() as folder:
            scale(Path(folder), max(1, arguments.rounds // 2), frame_seconds, result_bytes)


if __name__ == "__main__":
    main()
