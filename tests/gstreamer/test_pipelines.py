# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The elements among GStreamer's own: videocrop, tee and queue around them, and nothing left alive at the end.

GST_PLUGIN_PATH names the plugin; the tool is on the PATH.
"""

import os
import re
import subprocess

import pytest

TIMEOUT = 120
WIDTH, HEIGHT = 160, 120
TRACING = {"GST_TRACERS": "leaks", "GST_DEBUG": "GST_TRACER:7", "GST_DEBUG_NO_COLOR": "1"}
LEAK = re.compile(r"object-alive, type-name=\(string\)[A-Z]\w+")


def start(folder, pipeline, timeout):
    """Runs a pipeline under the leaks tracer to its end; the result has returncode and stdout."""
    return subprocess.run(["gst-launch-1.0", *" ".join(pipeline).split()], cwd=folder, env=os.environ | TRACING,
                          text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=timeout, check=False)


def launch(folder, *pipeline):
    """Runs a pipeline that has to succeed; returns what it printed."""
    result = start(folder, pipeline, TIMEOUT)
    assert result.returncode == 0, result.stdout
    assert LEAK.findall(result.stdout) == []
    return result.stdout


def launch_failing(folder, *pipeline):
    """Runs a pipeline that has to fail; returns what it printed.

    gst-launch-1.0 of GStreamer 1.22 hangs in some runs when any element, also one of its own, fails before the first
    buffer has reached the sink. Such a run is ended and repeated.
    """
    for _ in range(8):
        try:
            result = start(folder, pipeline, TIMEOUT / 8)
        except subprocess.TimeoutExpired:
            continue
        assert result.returncode != 0, result.stdout
        assert LEAK.findall(result.stdout) == []
        return result.stdout
    raise AssertionError("gst-launch-1.0 hung in every run")


def cropped(picture, pixel_bytes, left, right, top, bottom):
    """A part of a picture of WIDTH x HEIGHT pixels without padding."""
    row = WIDTH * pixel_bytes
    return b"".join(picture[y * row + left * pixel_bytes:(y + 1) * row - right * pixel_bytes]
                    for y in range(top, HEIGHT - bottom))


@pytest.fixture(scope="module", name="scene")
def fixture_scene(tmp_path_factory):
    """A folder with an RWH frame of 12 bits and the tool's BGRA picture of it."""
    folder = tmp_path_factory.mktemp("scene")
    for command in (["synth", "--format", "BayerGR12", "--size", f"{WIDTH}x{HEIGHT}", "scene.rwh"],
                    ["convert", "scene.rwh", "scene.bgra"]):
        subprocess.run(["vexacamutl", *command], cwd=folder, check=True, timeout=TIMEOUT)
    return folder


def test_the_leaks_tracer_sees_a_leak():
    """Otherwise the other tests of this page could not fail."""
    program = ("import gi; gi.require_version('Gst', '1.0'); from gi.repository import Gst; Gst.init(None);"
               "b = Gst.Buffer.new(); Gst.deinit()")
    result = subprocess.run(["/usr/bin/python3", "-c", program], env=os.environ | TRACING, text=True,
                            capture_output=True, timeout=TIMEOUT, check=False)
    assert any("GstBuffer" in leak for leak in LEAK.findall(result.stderr)), result.stderr


def test_tee_queue_and_videocrop(scene):
    launch(scene, "filesrc location=scene.rwh ! vexarwhdec ! tee name=t",
           "t. ! queue ! vexaconvert n-threads=2 ! video/x-raw,format=BGRA ! filesink location=whole.raw",
           "t. ! queue ! vexaconvert bayer-mode=adaptive ! fakesink",
           "t. ! queue ! vexaconvert ! video/x-raw,format=BGRA",
           "! videocrop left=16 right=32 top=4 bottom=8 ! filesink location=part.raw")
    picture = (scene / "scene.bgra").read_bytes()
    assert (scene / "whole.raw").read_bytes() == picture
    assert (scene / "part.raw").read_bytes() == cropped(picture, 4, 16, 32, 4, 8)


@pytest.mark.parametrize("source", ["UYVY", "YUY2", "RGB", "GRAY8", "GRAY16_LE"])
def test_videocrop_before_the_element(tmp_path, source):
    frame = f"videotestsrc num-buffers=1 ! video/x-raw,format={source},width={WIDTH},height={HEIGHT}"
    launch(tmp_path, frame, "! vexaconvert ! video/x-raw,format=BGRA ! filesink location=whole.raw")
    launch(tmp_path, frame, "! videocrop left=16 right=30 top=4 bottom=8 ! vexaconvert ! video/x-raw,format=BGRA",
           "! filesink location=part.raw")
    whole = (tmp_path / "whole.raw").read_bytes()
    assert (tmp_path / "part.raw").read_bytes() == cropped(whole, 4, 16, 30, 4, 8)


def test_both_orders_of_4_4_4_give_one_picture(tmp_path):
    for order in ("IYU2", "v308"):
        launch(tmp_path, f"videotestsrc num-buffers=1 ! video/x-raw,format={order},width=161,height=119",
               f"! vexaconvert ! video/x-raw,format=BGRA ! filesink location={order}.raw")
    picture = (tmp_path / "IYU2.raw").read_bytes()
    assert len(set(picture)) > 8
    assert (tmp_path / "v308.raw").read_bytes() == picture


def test_videoscale_and_videorate_negotiate_around_it(tmp_path):
    launch(tmp_path, "videotestsrc num-buffers=10 ! videorate ! videoscale ! videoconvert ! rgb2bayer ! vexaconvert",
           "! videoscale ! videoconvert ! videorate ! video/x-raw,format=I420,width=96,height=64,framerate=10/1",
           "! fakesink")


def test_errors_leave_nothing_behind(scene):
    (scene / "short.rwh").write_bytes((scene / "scene.rwh").read_bytes()[:1000])
    text = launch_failing(scene, "filesrc location=short.rwh ! vexarwhdec ! vexaconvert ! fakesink")
    assert "an RWH file ends early: it holds 1000 of 38416 bytes" in text
    (scene / "empty.rwh").touch()
    text = launch_failing(scene, "filesrc location=empty.rwh ! queue ! vexarwhdec ! fakesink")
    assert "an RWH file is empty" in text
    text = launch_failing(scene, "filesrc location=empty.rwh ! vexarwhdec ! fakesink")  # GStreamer's own words
    assert "ERROR: from element /GstPipeline:pipeline0/VexaRwhDec" in text
    text = launch_failing(scene, "videotestsrc num-buffers=1 ! video/x-bayer,format=rggb,width=161,height=120",
                          "! vexaconvert ! fakesink")
    assert "161 x 120 pixels: BayerRG8 frames have widths that are a multiple of 2, and even heights" in text


def test_a_segment_of_bytes(scene):
    """filesrc sends a segment of bytes, which cannot be asked for a time."""
    (scene / "packed.raw").write_bytes(bytes(WIDTH * HEIGHT * 3 // 2))
    text = launch(scene, f"filesrc location=packed.raw blocksize={WIDTH * HEIGHT * 3 // 2}",
                  f"! video/x-bayer,format=rggb12p,width={WIDTH},height={HEIGHT},framerate=25/1 ! vexaconvert ! fakesink")
    assert "CRITICAL" not in text, text


def test_a_recording_of_limited_range_plays_as_it_was_seen(tmp_path):
    """RWH files hold no range."""
    source = f"videotestsrc num-buffers=1 ! video/x-raw,format=UYVY,colorimetry=bt601,width={WIDTH},height={HEIGHT}"
    launch(tmp_path, source, "! tee name=t t. ! queue ! vexarwhenc ! filesink location=frame.rwh",
           "t. ! queue ! vexaconvert ! video/x-raw,format=BGRA ! filesink location=seen.raw")
    for choice in ("auto", "limited"):
        launch(tmp_path, f"filesrc location=frame.rwh ! vexarwhdec ! vexaconvert yuv-range={choice}",
               f"! video/x-raw,format=BGRA ! filesink location={choice}.raw")
    seen = (tmp_path / "seen.raw").read_bytes()
    assert (tmp_path / "limited.raw").read_bytes() == seen
    assert (tmp_path / "auto.raw").read_bytes() != seen


def test_a_file_of_many_frames_is_for_the_decoder(tmp_path):
    frames = f"videotestsrc num-buffers=3 pattern=snow ! video/x-raw,format=GRAY8,width={WIDTH},height={HEIGHT}"
    launch(tmp_path, frames, "! tee name=t t. ! queue ! vexarwhenc ! filesink location=three.rwh",
           "t. ! queue ! vexaconvert ! video/x-raw,format=GRAY8 ! filesink location=seen.raw")
    launch(tmp_path, "filesrc location=three.rwh ! vexarwhdec ! vexaconvert ! video/x-raw,format=GRAY8",
           "! filesink location=played.raw")
    played = (tmp_path / "played.raw").read_bytes()
    assert len(set(played)) > 8 and len(played) == 3 * WIDTH * HEIGHT
    assert played == (tmp_path / "seen.raw").read_bytes()
    result = subprocess.run(["vexacamutl", "convert", "three.rwh", "three.png"], cwd=tmp_path, text=True,
                            capture_output=True, timeout=TIMEOUT, check=False)
    assert result.returncode != 0
    assert "three.rwh: 57648 bytes are not the frame of 19200 bytes" in result.stderr
    assert not (tmp_path / "three.png").exists()


def test_typefinder(scene):
    result = subprocess.run(["gst-typefind-1.0", "scene.rwh"], cwd=scene, text=True, capture_output=True,
                            timeout=TIMEOUT, check=True)
    assert result.stdout == "scene.rwh - application/x-vexa-rwh\n"
