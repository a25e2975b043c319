# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The helpers of tests/python serve here too."""
import signal
import sys
from pathlib import Path

# A shell starts jobs in the background with Ctrl-C ignored, and children inherit that.
signal.signal(signal.SIGINT, signal.default_int_handler)
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "python"))
