# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Format names, codes and the queries."""
from __future__ import annotations

import sys

import pytest

import vexacamutl as vcu
from vexacamutl import PixelFormat

UNCATALOGUED = {PixelFormat.RGB10, PixelFormat.RGB12, PixelFormat.BGR12}


@pytest.mark.parametrize("format", PixelFormat)
def test_queries_agree_with_the_name(format):
    name = format.name
    digits = "".join(c for c in name.split("_")[0] if c.isdigit())
    depth = 8 if name.startswith("YUV") else int(digits)
    samples = 3 if name.startswith(("RGB", "BGR")) else 1
    bits = {"YUV411_8_UYYVYY": 12, "YUV422_8_UYVY": 16, "YUV8_UYV": 24}.get(name, samples * (8 if depth == 8 else 16))
    assert format.bits_per_pixel == bits
    assert format.depth == (0 if format in UNCATALOGUED else depth)
    assert format.is_bayer == name.startswith("Bayer")
    assert format.is_monochromic == (name.startswith("Mono") or format in UNCATALOGUED)
    assert vcu.frame_layout(format).frame_bytes(16, 4) * 8 == bits * 64


def test_queries_of_unknown_codes():
    assert vcu.bits_per_pixel(0x00FF0000) == 255
    assert vcu.data_depth(0) == 0
    assert vcu.is_monochromic(0) is True
    assert vcu.is_bayer(0) is False


@pytest.mark.parametrize(
    "same",
    ["BayerRG8", "0x01080009", "0X1080009", 0x01080009, PixelFormat.BayerRG8, "17301513", "bayerrg8", "BAYER_RG8",
     "Bayer-RG.8", "rggb", "SRGGB8", "bayer_rggb8"],
)
def test_ways_to_name_a_format(same):
    assert vcu.pixel_format(same) is PixelFormat.BayerRG8


@pytest.mark.parametrize(
    "value, text",
    [
        ("BayerGR9", "did you mean BayerGR8"),
        ("rg8", "did you mean BayerRG8 or RGB8[?]"),
        ("jpeg", "unknown pixel format 'jpeg'$"),
        ("rg12", "did you mean BayerRG12, BayerRG12p or BayerRG12Packed[?]"),
        ("mnoo8", "did you mean Mono8[?]"),
        ("BayerRG12p", "BayerRG12p is not served by this call: unpack it first, or convert it with to_bgr"),
        ("mono_10_packed", "Mono10Packed is not served by this call"),
        (0x010C0059, "BayerRG12p is not served by this call"),
        ("yuyv", "YUV422_8 is not served by this call"),
        (0x12345678, "unknown pixel format 0x12345678"),
        ("0x1", "unknown pixel format 0x00000001"),
    ],
)
def test_unknown_formats(value, text):
    with pytest.raises(vcu.UnsupportedFormatError, match=text):
        vcu.pixel_format(value)
    with pytest.raises(ValueError):
        vcu.reverse(b"", value, width=0, height=0)


def test_an_unknown_name_without_the_frames_layer(monkeypatch):
    """As where its library is not installed: the message has nothing to propose, and says where names are."""
    monkeypatch.setitem(sys.modules, "vexacamutl._frames", None)
    with pytest.raises(vcu.UnsupportedFormatError, match="'BayerGR9'; PixelFormat has the names of the library's formats$"):
        vcu.pixel_format("BayerGR9")
