# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What a token may become. Tables only: what a token is, the parsers say (cpp.py, python.py)."""
from __future__ import annotations

import re

OPERATORS = {
    "==": ["!="], "!=": ["=="], "<": ["<=", ">"], "<=": ["<"], ">": [">=", "<"], ">=": [">"], "+": ["-"], "-": ["+"],
    "*": ["+"], "/": ["*"], "%": ["/"], "<<": [">>"], ">>": ["<<"], "&": ["|"], "|": ["&"], "^": ["|"],
    "&&": ["||"], "||": ["&&"], "+=": ["-="], "-=": ["+="], "++": ["--"], "--": ["++"], "!": [""], "~": [""],
}
KEYWORDS = {"true": ["false"], "false": ["true"], "continue": ["break"], "break": ["continue"]}

# What Python writes in another way.
PYTHON = {
    "==": ["!="], "!=": ["=="], "<": ["<=", ">"], "<=": ["<"], ">": [">=", "<"], ">=": [">"], "+": ["-"], "-": ["+"],
    "*": ["+"], "/": ["*"], "//": ["*"], "%": ["*"], "<<": [">>"], ">>": ["<<"], "&": ["|"], "|": ["&"], "^": ["|"],
    "and": ["or"], "or": ["and"], "is": ["is not"], "is not": ["is"], "in": ["not in"], "not in": ["in"], "not": [""],
    "True": ["False"], "False": ["True"], "continue": ["break"], "break": ["continue"],
}

_PAIRS = [
    "left right", "above below", "up down", "even odd", "rising falling", "width height", "first second", "min max",
    "low high", "blue red", "Blue Red", "kBgra kBgr", "bgra bgr", "kRgbOrder kBgrOrder", "kFourGreens kThreeGreens",
    "kGreenRed kRedGreen", "kGreenBlue kBlueGreen", "PhaseGR PhaseRG", "PhaseGB PhaseBG", "kEvenRow kOddRow",
    "atGreen atX", "x z", "kAfter kBefore", "kEven kOdd", "mirror upside_down", "row column", "from to",
    "kRead kNotRead", "grey colour", "hasAbove hasBelow", "here above", "outer inner", "kXIsOdd kGreenIsEven",
    "k10BitShift k12BitShift", "ShiftLeft ShiftRight", "Sample8 Sample16", "sides verticals", "u v", "before after",
    "source destination", "src dst", "begin end", "stdout stderr", "cout cerr", "columns rows", "stride width",
    "UTL_STS_SUCCESS UTL_STS_INVALID_PARAMETER", "UTL_STS_FILE_OPEN_ERROR UTL_STS_FILE_IO_ERROR",
]
SIBLINGS: dict[str, list[str]] = {}
for _pair in _PAIRS:
    _one, _other = _pair.split()
    SIBLINGS.setdefault(_one, []).append(_other)
    SIBLINGS.setdefault(_other, []).append(_one)
for _status in ("UTL_STS_NOT_INITIALIZED", "UTL_STS_FILE_READ_ERROR", "UTL_STS_UNSUPPORTED_FORMAT"):
    SIBLINGS[_status] = ["UTL_STS_SUCCESS", "UTL_STS_INVALID_PARAMETER"]

# A part of an intrinsic's name, and what other intrinsics have there.
INTRINSICS = [
    (r"(?<=_unpack)lo(?=_)", "hi"), (r"(?<=_unpack)hi(?=_)", "lo"), (r"(?<=_)min(?=_)", "max"),
    (r"(?<=_)max(?=_)", "min"), (r"(?<=_)packus(?=_)", "packs"), (r"(?<=_)mulhi_epu16", "mulhi_epi16"),
    (r"(?<=_)mulhrs(?=_)", "mulhi"), (r"(?<=_)cvttps(?=_)", "cvtps"), (r"(?<=_)srl(?=_)", "sra"),
    (r"(?<=_)sra(?=i_)", "srl"), (r"(?<=_)srli(?=_si)", "slli"), (r"(?<=_)slli(?=_si)", "srli"),
    (r"(?<=_)cmpeq_epi16", "cmpeq_epi8"), (r"(?<=_)cmplt(?=_)", "cmple"), (r"(?<=_)fmadd(?=_)", "fmsub"),
    (r"^vminq", "vmaxq"), (r"^vmaxq", "vminq"), (r"^vqrdmulhq", "vqdmulhq"), (r"^vcvtmq", "vcvtq"),
    (r"^vcltq", "vcleq"),
    (r"^vuzp2q", "vuzp1q"), (r"^vzip_", "vuzp_"), (r"^vget_low", "vget_high"), (r"^vfmaq", "vfmsq"),
    (r"^vshlq_u16", "vrshlq_u16"), (r"^vmovn_", "vqmovn_"), (r"^vmull_high", "vmull"), (r"^vceqq", "vcgeq"),
]


def number_neighbours(token: str) -> list[str]:
    """One more and one less of an integer, with its suffix; another last digit of a fraction."""
    integer = re.fullmatch(r"(0[xX][0-9a-fA-F]+|\d+)([uUlLzZ]*)", token.replace("'", "").replace("_", ""))
    if integer:
        octal = integer.group(1).startswith("0") and integer.group(1).isdigit() and len(integer.group(1)) > 1
        value = int(integer.group(1), 8 if octal else 0)
        return [str(other) + integer.group(2) for other in (value + 1, value - 1) if other >= 0]
    if re.fullmatch(r"\d+\.\d+f?", token):
        last = re.search(r"\d(?=f?$)", token)
        return [token[:last.start()] + str((int(last.group()) + 1) % 10) + token[last.end():]] if last else []
    return []


def identifier_siblings(token: str) -> list[str]:
    if token.startswith(("_mm", "v")):
        swapped = [other for part, new in INTRINSICS if (other := re.sub(part, new, token)) != token]
        if swapped:
            return swapped
    return SIBLINGS.get(token, [])
