# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Packages that are needed for a part of the work only."""
from __future__ import annotations

import importlib
from typing import Any

from ._errors import DaskMissingError

_ADVICE = {
    "dask.base": "lazy arrays need Dask: install python3-dask (Debian) or dask (pip)",
    "dask.array": "lazy arrays need Dask: install python3-dask (Debian) or dask (pip)",
    "distributed": "a scheduler needs Dask's distributed: install python3-distributed (Debian) or distributed (pip), or "
    "leave the scheduler out to convert on this machine",
    "numcodecs": "zarr results need numcodecs: install python3-numcodecs (Debian) or numcodecs (pip)",
}


def module(name: str) -> Any:
    """The module, or an exception that says what to install."""
    try:
        return importlib.import_module(name)
    except ImportError as error:
        raise DaskMissingError(f"{_ADVICE[name]} ({error})") from None
