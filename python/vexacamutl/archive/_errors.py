# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""One exception for each mistake; all of them are ArchiveError and the built-in exception that fits."""
from __future__ import annotations


class ArchiveError(Exception):
    """Something about an archive; the other exceptions of this module are of this class."""


class NoFramesError(ArchiveError, ValueError):
    """Nothing matches, or nothing that matches can be read."""


class InputError(ArchiveError, OSError):
    """A frame cannot be read: its file is gone, too short or not permitted."""


class MixedFramesError(ArchiveError, ValueError):
    """The frames differ in format or size, and one array cannot hold them."""


class TimestampError(ArchiveError, ValueError):
    """A sidecar's timestamps cannot be read, or are more than its frames."""


class SettingError(ArchiveError, ValueError):
    """An argument that is not known or does not fit, in the words of the tool where it found out."""


class NameCollisionError(ArchiveError, ValueError):
    """Two inputs would become one result."""


class InputOverwriteError(ArchiveError, ValueError):
    """A result would replace an input."""


class ManifestError(ArchiveError, ValueError):
    """The folder's manifest is missing, damaged, or of other settings."""


class ArchiveInUseError(ArchiveError, BlockingIOError):
    """Another process converts into this folder."""


class ToolError(ArchiveError, OSError):
    """The tool vexacamutl was not found, does not run, or is older than this package."""


class DaskMissingError(ArchiveError, ImportError):
    """Dask, or the codec of Zarr arrays, is not installed."""


class SchedulerError(ArchiveError, ConnectionError):
    """The scheduler or its workers cannot be reached, or do not have what the work needs."""
