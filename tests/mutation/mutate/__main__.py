# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
import sys

from mutate.command import main

sys.exit(main())
