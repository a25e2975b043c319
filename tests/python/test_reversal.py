# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Reversal against NumPy's slicing, and the phase of the result against the mosaic's own colours."""
from __future__ import annotations

import numpy as np
import pytest

import expected
import vexacamutl as vcu
from vexacamutl import PixelFormat

REFUSED = {PixelFormat.RGB12, PixelFormat.YUV8_UYV}
MODES = [(False, False), (False, True), (True, False), (True, True)]


@pytest.mark.parametrize("mirror, upside_down", MODES)
@pytest.mark.parametrize("format", [format for format in PixelFormat if format not in REFUSED])
def test_reverse(random, format, mirror, upside_down):
    layout = vcu.frame_layout(format)
    frame = random.integers(0, 256, 24 * 6 * format.bits_per_pixel // 8, np.uint8).view(layout.dtype)
    frame = frame.reshape(layout.shape(24, 6))
    wanted = frame[::-1] if upside_down else frame
    if mirror:
        wanted = wanted[:, ::-1]
        order = {4: [0, 3, 2, 1], 6: [0, 5, 4, 3, 2, 1]}.get(layout.samples)
        wanted = wanted[..., order] if order else wanted
    result = vcu.reverse(frame, format, mirror=mirror, upside_down=upside_down)
    assert result.dtype == frame.dtype
    np.testing.assert_array_equal(result, wanted)
    flat = vcu.reverse(frame.tobytes(), format, width=24, height=6, mirror=mirror, upside_down=upside_down)
    np.testing.assert_array_equal(flat, np.ascontiguousarray(wanted).view(np.uint8).ravel())


@pytest.mark.parametrize("format", sorted(REFUSED))
def test_refused_formats(format):
    layout = vcu.frame_layout(format)
    with pytest.raises(vcu.UnsupportedFormatError, match=f"{format.name} cannot be reversed"):
        vcu.reverse(np.zeros(layout.shape(4, 2), layout.dtype), format, mirror=True)


def test_groups_cannot_be_cut():
    frame = bytes(6 * 2 * 3 // 2)
    with pytest.raises(ValueError, match="multiple of 4, not 6"):
        vcu.reverse(frame, "YUV411_8_UYYVYY", width=6, height=2, mirror=True)
    assert vcu.reverse(frame, "YUV411_8_UYYVYY", width=6, height=2, upside_down=True).nbytes == len(frame)


@pytest.mark.parametrize("width, height", [(6, 4), (5, 4), (6, 3), (5, 3)])
@pytest.mark.parametrize("mirror, upside_down", MODES)
@pytest.mark.parametrize("phase", ["GR", "RG", "GB", "BG"])
def test_phase_of_a_reversed_frame(phase, mirror, upside_down, width, height):
    colours = expected.colours_of_phase(phase, height, width).astype(np.uint8)
    reversed_colours = vcu.reverse(colours, f"Bayer{phase}8", mirror=mirror, upside_down=upside_down)
    result = vcu.reversed_format(f"Bayer{phase}8", width, height, mirror=mirror, upside_down=upside_down)
    np.testing.assert_array_equal(expected.colours_of_phase(result.name[5:7], height, width), reversed_colours)


def test_other_formats_stay_what_they_are():
    assert vcu.reversed_format("Mono8", 4, 4, mirror=True, upside_down=True) is PixelFormat.Mono8
    assert vcu.reversed_format("BayerGB12", 4, 4, mirror=True) is PixelFormat.BayerBG12
