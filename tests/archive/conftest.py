# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The helpers of tests/python serve here too."""
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "python"))
