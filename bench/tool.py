#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The tool beside ffmpeg, for docs/performance.md: processor time of a frame, and what a second thread gains.

    scripts/bench tool [--frames N] [--rounds N]

Both programs read the same recording of BayerRG8 frames of 1920x1080 in /dev/shm with one thread, and take turns. The
time of a frame is that of a run over all frames less that of a run over one, divided by the frames between, so starting
does not count; a figure is the median of its rounds. Times are processor times of the program that converts, with the
system's part; elapsed times are those of the whole pipe.
"""
from __future__ import annotations

import argparse
import datetime
import os
import shutil
import statistics
import subprocess
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

import numpy as np

TOOL = os.environ["VEXACAMUTL_TOOL"]
WIDTH, HEIGHT = 1920, 1080


@dataclass
class Job:
    name: str
    scene: str
    kind: str  # of the result, as --to has it
    sink: str  # "null", "file", "pipe": one stream; "folder": a file of each frame


JOBS = [Job("BGRA to /dev/null", "smooth", "bgra", "null"),
        Job("BGRA to a file in /dev/shm", "smooth", "bgra", "file"),
        Job("BGRA to a pipe", "smooth", "bgra", "pipe"),
        Job("PPM files in /dev/shm", "smooth", "ppm", "folder"),
        Job("PNG files, smooth", "smooth", "png", "folder"),
        Job("PNG files, noisy", "noisy", "png", "folder")]


def recording(noise: int, frames: int) -> bytes:
    """A coloured scene that moves; `noise` is the largest deviation of a sample."""
    random = np.random.default_rng(1)
    y, x = np.mgrid[0:HEIGHT, 0:WIDTH]
    gains = np.where(y % 2 != x % 2, 1.0, np.where(y % 2 == 0, 0.7, 0.5))
    result = []
    for frame in range(frames):
        light = 110 + 60 * np.sin((x + 4 * frame) / 173.0) + 50 * np.cos(y / 97.0)
        samples = light * gains + random.integers(-noise, noise, light.shape, endpoint=True)
        result.append(np.clip(samples, 0, 255).astype(np.uint8).tobytes())
    return b"".join(result)


def ours(job: Job, source: Path, out: Path, threads: int) -> list[str]:
    target = str(out / f"%05d.{job.kind}") if job.sink == "folder" else "-"
    return [TOOL, "convert", "-q", "-f", "BayerRG8", "-s", f"{WIDTH}x{HEIGHT}", "-j", str(threads), "-t", job.kind,
            str(source), target]


def theirs(job: Job, source: Path, out: Path) -> list[str]:
    command = ["ffmpeg", "-v", "error", "-nostdin", "-y", "-threads", "1", "-f", "rawvideo", "-pix_fmt", "bayer_rggb8",
               "-s", f"{WIDTH}x{HEIGHT}", "-i", str(source), "-threads", "1", "-filter_threads", "1"]
    if job.sink == "folder":
        return command + ["-pix_fmt", "rgb24", str(out / f"%05d.{job.kind}")]
    return command + ["-pix_fmt", "bgra", "-f", "rawvideo", "-"]


def run(command: list[str], job: Job, out: Path) -> tuple[float, float]:
    """Processor and elapsed seconds of a command; its results are removed."""
    out.mkdir()
    reader = None
    if job.sink == "pipe":
        reader = subprocess.Popen(["cat"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        sink = reader.stdin
    else:
        sink = open(out / "stream" if job.sink == "file" else os.devnull, "wb")  # noqa: SIM115
    begun = time.perf_counter()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=sink)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    sink.close()
    if reader is not None:
        reader.wait()
    elapsed = time.perf_counter() - begun
    if process.returncode != 0:
        raise SystemExit(f"failed: {' '.join(command)}")
    shutil.rmtree(out)
    return usage.ru_utime + usage.ru_stime, elapsed


def measure(job: Job, scratch: Path, sources: dict[str, Path], frames: int, rounds: int) -> list[str]:
    first = scratch / "first.raw"
    with sources[job.scene].open("rb") as whole:
        first.write_bytes(whole.read(WIDTH * HEIGHT))
    out = scratch / "out"
    samples: dict[str, list[float]] = {name: [] for name in ("ours", "theirs", "one", "two")}
    for _ in range(rounds):
        def frame_of(command_of):
            cpu, elapsed = run(command_of(sources[job.scene]), job, out)
            cpu_first, elapsed_first = run(command_of(first), job, out)
            return [(many - one) / (frames - 1) * 1e3 for many, one in ((cpu, cpu_first), (elapsed, elapsed_first))]
        cpu, elapsed = frame_of(lambda source: ours(job, source, out, 1))
        samples["ours"].append(cpu)
        samples["one"].append(elapsed)
        samples["theirs"].append(frame_of(lambda source: theirs(job, source, out))[0])
        samples["two"].append(frame_of(lambda source: ours(job, source, out, 2))[1])
    # A few frames on a busy machine can take less than one; then the figures mean nothing, but they are figures.
    cpu, other, one, two = (max(statistics.median(samples[name]), 1e-3) for name in ("ours", "theirs", "one", "two"))
    return [job.name, f"{cpu:.2f}", f"{other:.2f}", f"{other / cpu:.1f}", f"{one:.2f}", f"{two:.2f}", f"{one / two:.2f}"]


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--frames", type=int, default=60)
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    if options.frames < 2 or options.rounds < 1:
        parser.error("at least 2 frames and 1 round")
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        scratch = Path(folder)
        sources = {}
        for scene, noise in (("smooth", 0), ("noisy", 24)):
            sources[scene] = scratch / f"{scene}.raw"
            sources[scene].write_bytes(recording(noise, options.frames))
        print("| Job | ms per frame | ffmpeg | Times faster | Elapsed, 1 thread | 2 threads | Gain |")
        print("|---|---:|---:|---:|---:|---:|---:|")
        for job in JOBS:
            print("| " + " | ".join(measure(job, scratch, sources, options.frames, options.rounds)) + " |", flush=True)
        sizes = []
        for scene, source in sources.items():
            sizes.append(f"{scene} {png_size(source, scratch, ours):,} and {png_size(source, scratch, theirs):,}")
        print(f"\nBytes of a PNG file, here and by ffmpeg: {'; '.join(sizes)}. {options.frames} frames, "
              f"{options.rounds} rounds, {datetime.date.today()}.")


def png_size(source: Path, scratch: Path, command_of) -> int:
    out = scratch / "sizes"
    out.mkdir()
    job = JOBS[-1]
    subprocess.run(command_of(job, source, out, 1) if command_of is ours else command_of(job, source, out), check=True)
    size = sorted(out.iterdir())[0].stat().st_size
    shutil.rmtree(out)
    return size


if __name__ == "__main__":
    main()
