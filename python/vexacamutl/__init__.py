# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Raw frames of industrial cameras to pictures, as NumPy arrays.

    import numpy as np
    import vexacamutl as vcu

    frame = np.fromfile("frame.raw", np.uint8).reshape(1080, 1920)
    picture = vcu.to_bgra(frame, "BayerRG8")                          # (1080, 1920, 4), no copy of the frame
    sharper = vcu.to_bgra(frame, "BayerRG8", mode=vcu.BayerMode.ACPI)
    vcu.save_rwh(frame, "BayerRG8", "frame.rwh")
    packed = vcu.to_bgr(buffer, "BayerRG12p", width=1920, height=1080, stride=2944, white_balance="auto", tone="srgb")

The package calls libVexaCamUtl_64.so.1, and for packed samples, padded rows and levels libVexaCamFrames.so.0, through
ctypes; the interpreter's lock is free during each call. Arrays go in
and out without copies. An array that does not fit raises TypeError (type) or ValueError (shape, size, contiguity,
read-only or overlapping output); a format that is not served raises UnsupportedFormatError, a ValueError; files raise
OSError.
"""
from __future__ import annotations

from ._arrays import Frame
from ._converters import CONVERTERS, BayerMode, ModeLike, NamedConverter, converter_for, set_bayer_mode
from ._files import RawFrame, RwhHeader, load_rwh, load_rwh_header, save_bmp, save_rwh
from ._formats import (
    FormatLike,
    Layout,
    PixelFormat,
    UnsupportedFormatError,
    bits_per_pixel,
    data_depth,
    frame_layout,
    is_bayer,
    is_monochromic,
    pixel_format,
)
from ._frames import frames_library_info, frames_library_version
from ._library import LibraryInfo, StatusError, library_info
from ._pictures import to_bgr, to_bgra, to_rgb
from ._reversal import reverse, reversed_format
from ._stream import Converter, estimate_white_balance, unpack

__version__ = "1.0.0"

__all__ = [
    "CONVERTERS",
    "BayerMode",
    "Converter",
    "FormatLike",
    "Frame",
    "Layout",
    "LibraryInfo",
    "ModeLike",
    "NamedConverter",
    "PixelFormat",
    "RawFrame",
    "RwhHeader",
    "StatusError",
    "UnsupportedFormatError",
    "bits_per_pixel",
    "converter_for",
    "data_depth",
    "estimate_white_balance",
    "frame_layout",
    "frames_library_info",
    "frames_library_version",
    "is_bayer",
    "is_monochromic",
    "library_info",
    "load_rwh",
    "load_rwh_header",
    "pixel_format",
    "reverse",
    "reversed_format",
    "save_bmp",
    "save_rwh",
    "set_bayer_mode",
    "to_bgr",
    "to_bgra",
    "to_rgb",
    "unpack",
]
