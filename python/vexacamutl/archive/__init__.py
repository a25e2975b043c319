# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Archives of raw frames: lazy arrays, and conversion on this machine or on a cluster.

    from vexacamutl import archive

    frames = archive.open("recordings/*.raw", "BayerRG8", 1920, 1080)
    frames[0].shape                                         # one frame, read now
    frames.to_dask("rgb")[::100].mean(axis=(1, 2))          # lazy; needs Dask
    frames.convert("pictures", to="png", scheduler="tcp://head:8786")

The tool `vexacamutl` reads the files' headers and makes the pictures; this package decides which frames, in which order
and where, and keeps the account. Everything that goes wrong is an ArchiveError, besides what Python raises for paths and
numbers.
"""
from __future__ import annotations

from ._archive import Archive, Place, open
from ._errors import (
    ArchiveError,
    ArchiveInUseError,
    DaskMissingError,
    InputError,
    InputOverwriteError,
    ManifestError,
    MixedFramesError,
    NameCollisionError,
    NoFramesError,
    SchedulerError,
    SettingError,
    TimestampError,
    ToolError,
)
from ._inputs import BadInput, FrameLayout, Input
from ._report import ConversionReport, Failed
from ._verify import Verification, Wrong, verify

__all__ = [
    "Archive",
    "ArchiveError",
    "ArchiveInUseError",
    "BadInput",
    "ConversionReport",
    "DaskMissingError",
    "Failed",
    "FrameLayout",
    "Input",
    "InputError",
    "InputOverwriteError",
    "ManifestError",
    "MixedFramesError",
    "NameCollisionError",
    "NoFramesError",
    "Place",
    "SchedulerError",
    "SettingError",
    "TimestampError",
    "ToolError",
    "Verification",
    "Wrong",
    "open",
    "verify",
]
