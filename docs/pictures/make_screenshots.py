#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Screenshots of the viewer page, as docs/viewer.md shows them, made in a headless Chromium.

    scripts/viewer pictures                                  of a drawn scene
    VEXACAMUTL_FRAMES_DIR=FOLDER scripts/viewer pictures     also of a photograph, and of each frame in the folder

Those of the scene and of the photograph go beside this file. Those of camera frames go to build/viewer/screenshots,
since their licences are those of the frames.
"""
import base64
import pathlib
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path.insert(0, str(ROOT / "tests" / "viewer"))
from conftest import TOOL, Page, picture_of_png, start_browser  # noqa: E402

WIDTH, HEIGHT = 1280, 800

# name, format, size, settings, the pixel that is read
SCENES = (
    ("viewer-phases", "BayerGB10", "1280x960", {"theme": "light", "view": "phases"}, (410, 130)),
    ("viewer-pixels", "BayerRG12p", "1280x960", {"theme": "dark", "tone": "srgb", "zoom": 48, "x": 420, "y": 130},
     (417, 128)),
    ("viewer-wrong", "YUV422_8_UYVY", "640x480", {"theme": "light", "height": 600}, (300, 200)),
)

# A photograph that anybody may use, cut into a mosaic; from the folder of frames.
PHOTOGRAPH = "kodim23.png"


def take(page, path):
    shot = page.browser.execute_cdp_cmd("Page.captureScreenshot", {"format": "jpeg", "quality": 80})
    path.write_bytes(base64.b64decode(shot["data"]))
    print(path)


def show(page, files, settings, pixel):
    page.open()
    page.give(*files)
    page.run("viewer.guesses.rank()")
    page.settle()
    page.set(**settings)
    if pixel:
        page.run("viewer.look({pane: 0, x: arguments[0], y: arguments[1]})", *pixel)
    page.settle()


def mosaic_of(picture):
    """One colour per pixel, as a sensor of phase RG delivers it."""
    mosaic = picture[:, :, 1].copy()
    mosaic[::2, ::2] = picture[::2, ::2, 0]
    mosaic[1::2, 1::2] = picture[1::2, 1::2, 2]
    return mosaic.tobytes()


def main():
    frames = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 and sys.argv[1] else None
    with tempfile.TemporaryDirectory() as folder:
        browser = start_browser(pathlib.Path(folder))
        size = {"width": WIDTH, "height": HEIGHT, "deviceScaleFactor": 1, "mobile": False}
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", size)
        page = Page(browser, pathlib.Path(folder))
        try:
            for name, pixel_format, frame, settings, pixel in SCENES:
                raw = pathlib.Path(folder) / "scene.raw"
                subprocess.run([TOOL, "synth", "--quiet", "--sidecar", "--format", pixel_format, "--size", frame, raw],
                               check=True)
                show(page, (raw, raw.with_suffix(".txt")), settings, pixel)
                take(page, HERE / f"{name}.jpg")
            if frames and (frames / PHOTOGRAPH).exists():
                raw = pathlib.Path(folder) / "photograph.raw"
                raw.write_bytes(mosaic_of(picture_of_png((frames / PHOTOGRAPH).read_bytes())))
                show(page, (raw,), {"theme": "dark"}, (380, 200))
                take(page, HERE / "viewer.jpg")
            made = ROOT / "build" / "viewer" / "screenshots"
            for raw in sorted(frames.glob("*.raw")) if frames else ():
                made.mkdir(parents=True, exist_ok=True)
                show(page, (raw,), {"theme": "dark", "tone": "srgb"}, None)
                page.run("if (viewer.whiteBalance.possible) viewer.whiteBalance.auto()")
                page.settle()
                take(page, made / f"{raw.stem}.jpg")
        finally:
            browser.quit()


if __name__ == "__main__":
    main()
