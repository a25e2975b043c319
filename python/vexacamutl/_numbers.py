# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Numbers and flags of callers as exact Python values.

A NumPy integer wraps at its own width and ctypes cuts a number to 32 bits, both without a word. Every number that a
caller hands in passes through here first, so that all arithmetic after that is exact and all ranges are checked.
"""
from __future__ import annotations

import operator
from typing import Any

import numpy as np

#: Sizes and codes are 32-bit words in the library.
WORD_LIMIT = 1 << 32


def integer(value: Any, what: str, low: int = 0, high: int = WORD_LIMIT - 1) -> int:
    """The value as an int of exactly that type, within low and high.

    Types that only resemble integers (float, str) are refused; a subclass of int cannot bring its own arithmetic.
    """
    try:
        number = int.__index__(operator.index(value))
    except TypeError:
        raise TypeError(f"{what} must be an integer, not {type(value).__name__}") from None
    if not low <= number <= high:
        raise ValueError(f"{what} must be {low} to {high}, not {number}")
    return number


def flag(value: Any, what: str) -> bool:
    """True, False, or one of the integers 1 and 0: the library reads one byte, so 256 would mean False."""
    if isinstance(value, (bool, np.bool_)):
        return bool(value)
    return bool(integer(value, what, 0, 1))
