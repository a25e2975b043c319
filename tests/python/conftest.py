# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What the tests share: a seeded source of samples, the folder of real frames."""
from __future__ import annotations

import os
import signal
from pathlib import Path

import numpy as np
import pytest

# A shell starts jobs in the background with Ctrl-C ignored, and children inherit that.
signal.signal(signal.SIGINT, signal.default_int_handler)


@pytest.fixture
def random() -> np.random.Generator:
    return np.random.default_rng(20261121)


@pytest.fixture
def frames_dir() -> Path:
    folder = os.environ.get("VEXACAMUTL_FRAMES_DIR", "")
    if not folder:
        pytest.skip("VEXACAMUTL_FRAMES_DIR names no folder of real frames")
    return Path(folder)
