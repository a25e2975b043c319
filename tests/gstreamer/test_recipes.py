# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Runs the pipelines that docs/gstreamer.md prints, as they stand there, and looks at what they made.

The environment names the plugin (GST_PLUGIN_PATH) and has the tool and fake_camera on its PATH. Recipes with a window
need a display; CMake starts all of it below xvfb-run.
"""

import os
import pathlib
import re
import signal
import struct
import subprocess
import time
import zlib

import pytest

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "gstreamer.md"
RECIPE = re.compile(r"^<!-- recipe: (\w+) -->\n```sh\n(.*?)^```$", re.MULTILINE | re.DOTALL)
RECIPES = dict(RECIPE.findall(PAGE.read_text(encoding="ascii")))
TIMEOUT = 120


def run(name, folder, expect=0):
    """Runs one recipe in a folder; returns what it printed."""
    result = subprocess.run(["bash", "-euo", "pipefail", "-c", RECIPES[name]], cwd=folder, text=True, timeout=TIMEOUT,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    assert result.returncode == expect, result.stdout
    return result.stdout


def read_png(path):
    """Width, height and the bytes of the rows of a PNG of 8 bits per channel."""
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, packed = 8, b""
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack(">IIBB", data[at + 8:at + 18])
            assert depth == 8
            channels = {0: 1, 2: 3, 6: 4}[colour]
        elif kind == b"IDAT":
            packed += data[at + 8:at + 8 + size]
        at += size + 12
    return width, height, unfilter(zlib.decompress(packed), width * channels, channels)


def predict(kind, left, up, corner):
    """The predictor of a PNG filter."""
    if kind == 4:
        guess = left + up - corner
        distances = [abs(guess - left), abs(guess - up), abs(guess - corner)]
        return (left, up, corner)[distances.index(min(distances))]
    return (0, left, up, (left + up) // 2)[kind]


def unfilter(raw, row_bytes, channels):
    """Takes PNG's row filters off."""
    above = bytearray(row_bytes)
    rows = bytearray()
    for start in range(0, len(raw), row_bytes + 1):
        kind, row = raw[start], bytearray(raw[start + 1:start + 1 + row_bytes])
        for i in range(row_bytes) if kind else ():
            left, corner = (row[i - channels], above[i - channels]) if i >= channels else (0, 0)
            row[i] = (row[i] + predict(kind, left, above[i], corner)) & 255
        rows += row
        above = row
    return bytes(rows)


@pytest.fixture(scope="module", name="folder")
def fixture_folder(tmp_path_factory):
    """One folder for recipes that use each other's files."""
    return tmp_path_factory.mktemp("recipes")


@pytest.fixture(scope="module", name="recorded")
def fixture_recorded(folder):
    """The folder after the recording of 20 frames."""
    run("tee", folder)
    return folder


def test_every_recipe_of_the_page_has_a_test():
    source = pathlib.Path(__file__).read_text(encoding="ascii")
    assert RECIPES
    for name in RECIPES:
        assert f'"{name}"' in source


def screenshot(path):
    subprocess.run(["gst-launch-1.0", "-q", "ximagesrc", "num-buffers=1", "!", "videoconvert", "!",
                    "video/x-raw,format=RGB", "!", "pngenc", "!", "filesink", f"location={path}"],
                   check=True, timeout=TIMEOUT)
    return read_png(path)


def test_a_window_shows_the_colours_of_the_fake_camera(tmp_path):
    endless = RECIPES["window"].replace("num-buffers=100", "")
    with subprocess.Popen(["bash", "-c", "exec " + endless], cwd=tmp_path) as player:
        try:
            deadline = time.monotonic() + TIMEOUT
            colours = set()
            # The bare display is black; the fake camera's picture has a rainbow.
            while len(colours) < 100 and time.monotonic() < deadline:
                assert player.poll() is None
                _, _, rows = screenshot(tmp_path / "window.png")
                colours = {rows[i:i + 3] for i in range(0, len(rows), 3)}
            assert len(colours) >= 100
            assert any(c[0] > 200 and c[2] < 60 for c in colours), "red"
            assert any(c[2] > 200 and c[0] < 60 for c in colours), "blue"
        finally:
            player.send_signal(signal.SIGKILL)
    run("window", tmp_path)


def frames_of(path):
    """Counts the frames of a recording by decoding it."""
    result = subprocess.run(["gst-launch-1.0", "-v", "filesrc", f"location={path}", "!", "decodebin", "!", "fakesink",
                             "silent=false", "sync=false"], text=True, capture_output=True, timeout=TIMEOUT, check=True)
    return len(re.findall(r"last-message = chain", result.stdout))


def test_lossless_recording(tmp_path):
    run("ffv1", tmp_path)
    assert frames_of(tmp_path / "camera.mkv") == 50


def test_h264_recording(tmp_path):
    run("h264", tmp_path)
    assert frames_of(tmp_path / "camera.mp4") == 50


def test_snapshot(tmp_path):
    run("snapshot", tmp_path)
    width, height, rows = read_png(tmp_path / "snapshot.png")
    assert (width, height) == (512, 512)
    assert len({rows[i:i + 3] for i in range(0, len(rows), 3)}) >= 100


def test_recording_of_raw_frames_beside_a_window(recorded):
    files = sorted(recorded.glob("frame-*.rwh"))
    assert len(files) == 20
    for file in files:
        data = file.read_bytes()
        assert struct.unpack("<IIII", data[:16]) == (0x01080009, 512, 512, 512)
        assert len(data) == 16 + 512 * 512


def test_recording_plays(recorded):
    assert "ERROR" not in run("play", recorded)


def test_a_frame_is_the_same_picture_by_tool_and_pipeline(recorded):
    run("frame", recorded)
    assert read_png(recorded / "frame.png") == read_png(recorded / "frame-gst.png")


def listens(port):
    """Whether somebody listens on a TCP port of this machine."""
    wanted = f":{port:04X}"
    lines = pathlib.Path("/proc/net/tcp").read_text(encoding="ascii").splitlines()[1:]
    return any(line.split()[1].endswith(wanted) and line.split()[3] == "0A" for line in lines)


def test_network(tmp_path):
    with subprocess.Popen(["bash", "-c", RECIPES["receive"]], cwd=tmp_path, start_new_session=True) as receiver:
        try:
            deadline = time.monotonic() + TIMEOUT
            while not listens(5004):
                assert time.monotonic() < deadline and receiver.poll() is None
                time.sleep(0.05)
            run("send", tmp_path)
            assert receiver.wait(TIMEOUT) == 0
        finally:
            if receiver.poll() is None:
                os.killpg(receiver.pid, signal.SIGKILL)
    assert len(list(tmp_path.glob("received-*.jpg"))) == 50


def test_video4linux(tmp_path):
    """Without a device the pipeline is understood and fails at the device."""
    if pathlib.Path("/dev/video0").exists():
        pytest.skip("there is a /dev/video0, whose formats are unknown")
    assert "Cannot identify device '/dev/video0'" in run("v4l2", tmp_path, expect=255)


def test_raw_files(tmp_path):
    run("raw", tmp_path)
    assert read_png(tmp_path / "balanced.png")[:2] == (640, 480)
