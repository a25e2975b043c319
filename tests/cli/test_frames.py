# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Real camera frames through the program: a folder of raw files with sidecars (VEXACAMUTL_FRAMES_DIR).
import os
import pathlib

import numpy as np
import pytest
from model import demosaic, read_png

FOLDER = os.environ.get("VEXACAMUTL_FRAMES_DIR", "")
if not FOLDER:
    pytest.skip("VEXACAMUTL_FRAMES_DIR is empty", allow_module_level=True)

FRAMES = sorted(pathlib.Path(FOLDER).glob("*.raw"))


def test_there_are_frames():
    assert FRAMES


def test_folder_at_once(tool):
    tool.good("convert", "--output-dir", "out", FOLDER)
    assert tool.names("out/*") == [f"out/{frame.stem}.png" for frame in FRAMES]


@pytest.mark.parametrize("frame", FRAMES, ids=lambda frame: frame.stem)
def test_crop_is_what_the_slow_model_gives(tool, frame):
    """The upper left corner of Bayer frames, without its last row and column, whose neighbours the crop lacks."""
    sidecar = dict(line.split(": ", 1) for line in frame.with_suffix(".txt").read_text().splitlines() if ": " in line)
    name = sidecar["pixel format"].split()[1]
    width, height = int(sidecar["width"]), int(sidecar["height"])
    tool.good("convert", frame, "out.png")
    picture = read_png(tool.read("out.png"))
    assert picture.shape == (height, width, 3)
    if not name.startswith("Bayer"):
        return
    depth = int(name[7:])
    samples = np.frombuffer(frame.read_bytes(), np.uint8 if depth == 8 else "<u2").reshape(height, width)
    expected = demosaic(samples[:41, :41], name[5:7], depth)[..., ::-1]
    assert (picture[:40, :40] == expected[:40, :40]).all()


@pytest.mark.parametrize("frame", FRAMES, ids=lambda frame: frame.stem)
def test_rwh_and_back_changes_nothing(tool, frame):
    tool.good("pack", frame, "in.rwh")
    tool.good("info", "in.rwh")
    tool.good("unpack", "in.rwh", "back.raw")
    assert tool.read("back.raw") == frame.read_bytes()
