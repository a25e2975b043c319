# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Bounded proofs: what has to hold for all values of some bit vectors, decided by the SMT solver Z3.

The constants of a proof are read from the sources, so that it speaks of the code that is compiled.
"""
from __future__ import annotations

import re
from pathlib import Path

import z3

ROOT = Path(__file__).resolve().parents[2]


def constants(path: str, pattern: str) -> tuple[int, ...]:
    """The groups of a pattern as integers. It has to fit the source in exactly one place."""
    found = re.findall(pattern, (ROOT / path).read_text(encoding="ascii"))
    assert len(found) == 1, f"{path}: '{pattern}' fits {len(found)} places"
    groups = found[0] if isinstance(found[0], tuple) else (found[0],)
    return tuple(int(group, 0) for group in groups)


def counterexample(claim: z3.BoolRef, *assumptions: z3.BoolRef) -> z3.ModelRef | None:
    """Values for which the claim does not hold, or None where it holds for all."""
    solver = z3.SolverFor("QF_BV")
    solver.add(*assumptions, z3.Not(claim))
    result = solver.check()
    assert result != z3.unknown, solver.reason_unknown()
    return solver.model() if result == z3.sat else None


def prove(claim: z3.BoolRef, *assumptions: z3.BoolRef) -> None:
    against = counterexample(claim, *assumptions)
    assert against is None, f"does not hold for {against}"


def byte(name: str, bits: int) -> z3.BitVecRef:
    """Any value of 8 bits, in a vector of so many."""
    return z3.ZeroExt(bits - 8, z3.BitVec(name, 8))


def word(name: str, bits: int) -> z3.BitVecRef:
    return z3.ZeroExt(bits - 16, z3.BitVec(name, 16))


def mul_high(a: z3.BitVecRef, b: int) -> z3.BitVecRef:
    """The high 16 bits of the product of unsigned words."""
    return z3.Extract(31, 16, z3.ZeroExt(16, a) * b)


def mul_high_round(a: z3.BitVecRef, b: int) -> z3.BitVecRef:
    """(a * b + 2^14) >> 15 of signed words, as pmulhrsw has it."""
    return z3.Extract(15, 0, (z3.SignExt(16, a) * b + 0x4000) >> 15)


def low_byte(a: z3.BitVecRef) -> z3.BitVecRef:
    return z3.Extract(7, 0, a)
