# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""python3 -m vexacamutl.archive: archives in the shell."""
from __future__ import annotations

import sys

from ._command import main

if __name__ == "__main__":
    sys.exit(main())
