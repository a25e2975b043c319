# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Mutation testing: changes one place of the project at a time and sees whether a test notices."""
