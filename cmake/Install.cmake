# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
