#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""How long the page takes from a change to the picture, in a headless Chromium.

    scripts/viewer measure

prints milliseconds, the median of many changes and the slowest tenth: `picture` until the canvas holds it, as the page
measures it (performance entry viewer:picture), `painted` until after the next frame of the browser (viewer:painted).
`first` is from a file's arrival with its sidecar to the picture. A browser without a window paints by software, so a
graphics processor can only be quicker.
"""
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests" / "viewer"))
from conftest import PAGE, TOOL, Page, start_browser  # noqa: E402

SIZES = ("1920x1080", "4096x3000")
FORMATS = ("BayerRG8", "BayerRG12p", "YUV422_8_UYVY", "RGB8")
CHANGES = 24
PANS = 60

MEASURES = """
    const found = Object.fromEntries(performance.getEntriesByType('measure').map((m) => [m.name, m]));
    const {convert, upload, draw} = found['viewer:picture'].detail;
    return [found['viewer:picture'].duration, found['viewer:painted'].duration, convert, upload, draw];
"""

# Every change takes the whole way anew: convert, upload, draw.
CHANGE = """
    const [step, yuv] = arguments;
    viewer.set(yuv ? {range: step % 2 ? 'full' : 'limited'} : {tone: step % 2 ? 'srgb' : '2.2'});
"""

PAN = """
    const [count, done] = arguments;
    const times = [];
    let before = performance.now();
    const next = () => {
        const now = performance.now();
        times.push(now - before);
        before = now;
        if (times.length > count) return done(times.slice(1));
        viewer.set(viewer.stage.moved(times.length % 2 ? 7 : -5, 3));
        requestAnimationFrame(next);
    };
    requestAnimationFrame(next);
"""


def middle_and_slow(values):
    ordered = sorted(values)
    return f"{statistics.median(ordered):6.0f} {ordered[len(ordered) * 9 // 10]:6.0f}"


def measure(page, folder, name, size):
    raw = folder / f"{name}_{size}.raw"
    subprocess.run([TOOL, "synth", "--quiet", "--sidecar", "--format", name, "--size", size, raw], check=True)
    page.open()
    page.give(raw, raw.with_suffix(".txt"))
    first = page.run(MEASURES)[0]
    rows = []
    for step in range(CHANGES):
        page.run(CHANGE, step, name.startswith("YUV"))
        page.settle()
        painted = int(page.run("return document.documentElement.dataset.pictures"))
        assert painted == step + 2
        page.run("return performance.getEntriesByName('viewer:painted').length")
        rows.append(page.run(MEASURES))
    columns = list(zip(*rows))
    page.set(zoom=1)
    pans = page.browser.execute_async_script(PAN, PANS)
    print(f"{name:14} {size:10} {first:6.0f} | {middle_and_slow(columns[0])} | {middle_and_slow(columns[1])} | "
          + " ".join(f"{statistics.median(column):7.1f}" for column in columns[2:]) + f" | {middle_and_slow(pans)}",
          flush=True)
    raw.unlink()


def main():
    with tempfile.TemporaryDirectory() as folder:
        browser = start_browser(pathlib.Path(folder))
        try:
            page = Page(browser, pathlib.Path(folder))
            page.open()
            print(f"{PAGE.name}, {page.text('engine')}, {os.cpu_count()} processors, "
                  f"Chromium {browser.capabilities['browserVersion']}, window 1440x900")
            print("format         size        first |   picture     |   painted     | convert  upload    draw |"
                  " a frame of panning")
            for size in SIZES:
                for name in FORMATS:
                    measure(page, pathlib.Path(folder), name, size)
        finally:
            browser.quit()


if __name__ == "__main__":
    main()
