# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Real camera frames, where VEXACAMUTL_FRAMES_DIR names a folder of them: each picture against NumPy's, whole."""
from __future__ import annotations

import re

import numpy as np

import expected
import vexacamutl as vcu


def test_real_frames(frames_dir):
    seen = 0
    for path in sorted(frames_dir.glob("*.raw")):
        name, width, height = re.search(r"_((?:Bayer|Mono|YUV)\w+)_(\d+)x(\d+)\.raw$", path.name).groups()
        width, height = int(width), int(height)
        layout = vcu.frame_layout(name)
        frame = np.fromfile(path, layout.dtype).reshape(layout.shape(width, height))
        if name.startswith("Bayer"):
            wanted = expected.bilinear(frame, name[5:7], {"8": 0, "10": 2, "12": 4}[name[7:]])
        else:
            assert name == "YUV422_8_UYVY"
            u, v = (np.repeat(frame[..., i], 2, axis=1) for i in (0, 2))
            wanted = expected.yuv(frame[..., 1::2].reshape(height, width), u, v)
        np.testing.assert_array_equal(vcu.to_bgr(frame, name, mode=vcu.BayerMode.DEFAULT), wanted)
        np.testing.assert_array_equal(
            vcu.to_bgra(frame, name, mode=vcu.BayerMode.DEFAULT), expected.with_alpha(wanted)
        )
        seen += 1
    assert seen > 0, f"{frames_dir} holds no raw frames"
