# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Build backend for `pip install .` in the project's folder: setuptools, in the folder python."""
from __future__ import annotations

import os
from pathlib import Path

os.chdir(Path(__file__).resolve().parents[1])

from setuptools.build_meta import (  # noqa: E402, F401  (the folder must be right before setuptools looks at it)
    build_sdist,
    build_wheel,
    get_requires_for_build_sdist,
    get_requires_for_build_wheel,
    prepare_metadata_for_build_wheel,
)
