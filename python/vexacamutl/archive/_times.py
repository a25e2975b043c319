# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Timestamps of sidecars: whole numbers are nanoseconds of the camera's clock, everything else is ISO 8601 in UTC."""
from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

from ._errors import TimestampError
from ._inputs import Input


def _time(text: str, path: str) -> np.datetime64:
    try:
        if text.isascii() and text.isdecimal():
            return np.datetime64(int(text), "ns")
        return np.datetime64(text[:-1] if text.endswith("Z") else text, "ns")
    except (ValueError, OverflowError):
        raise TimestampError(f"the sidecar of {path}: invalid timestamp {text!r}") from None


def times_of(source: Input) -> NDArray[Any]:
    """A time for each frame of an input, NaT where the sidecar has none."""
    times = np.full(source.frames, np.datetime64("NaT"), "datetime64[ns]")
    texts = source.times.split(",") if source.times is not None else []
    if len(texts) > source.frames:
        raise TimestampError(f"the sidecar of {source.path} has {len(texts)} timestamps for {source.frames} frames")
    for i, text in enumerate(texts):
        times[i] = _time(text, source.path)
    return times
