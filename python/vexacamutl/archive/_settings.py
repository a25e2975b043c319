# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What convert takes besides the place of the results, as options of the tool.

The names are those of to_rgb where it has them, else those of `vexacamutl convert`. The tool checks the values: it is
asked, before anything is converted, to convert a file that does not exist.
"""
from __future__ import annotations

from typing import Any, Callable, Mapping, Sequence

import numpy as np

from .._converters import bayer_mode
from .._numbers import flag, integer
from ._errors import SettingError, ToolError
from ._tool import RUNNER

#: What a result can be, with the ending of its name.
KINDS = {
    "png": "png",
    "tiff": "tif",
    "tif": "tif",
    "jpg": "jpg",
    "jpeg": "jpg",
    "ppm": "ppm",
    "pgm": "pgm",
    "bmp": "bmp",
    "bgra": "bgra",
    "bgr": "bgr",
}
ZARR = "zarr"
GREY = "pgm"

_USAGE = 2


def _number(value: Any) -> str:
    if isinstance(value, (bool, np.bool_)) or not isinstance(value, (int, float, np.integer, np.floating)):
        raise TypeError(f"must be a number, not {type(value).__name__}")
    return repr(value.item() if isinstance(value, np.generic) else value)


def _whole(value: Any) -> str:
    return str(integer(value, "it"))


def _gains(value: Any) -> str:
    return value if isinstance(value, str) else ",".join(map(_number, value))


def _tone(value: Any) -> str:
    return value if isinstance(value, str) else _number(value)


def _switch(option: str, when: bool = True) -> Callable[[Any], list[str]]:
    return lambda value: [option] if flag(value, "it") == when else []


def _valued(option: str, text: Callable[[Any], str]) -> Callable[[Any], list[str]]:
    return lambda value: [f"{option}={text(value)}"]


SETTINGS: Mapping[str, Callable[[Any], list[str]]] = {
    "mode": _valued("--bayer-mode", lambda value: bayer_mode(value).name.lower()),
    "bayer": _switch("--grey", False),
    "bits": _valued("--bits", _whole),
    "white_balance": _valued("--white-balance", _gains),
    "black_level": _valued("--black-level", _whole),
    "exposure": _valued("--exposure", _number),
    "tone": _valued("--tone", _tone),
    "alpha": _switch("--alpha"),
    "png_level": _valued("--png-level", _whole),
    "quality": _valued("--quality", _whole),
    "sync": _switch("--sync"),
}


def options_of(settings: Mapping[str, Any]) -> tuple[str, ...]:
    """The options of the tool; a setting of None is left out."""
    options: list[str] = []
    for name, value in settings.items():
        if name not in SETTINGS:
            raise SettingError(f"convert takes no {name!r}; it takes {', '.join(SETTINGS)}")
        try:
            options += SETTINGS[name](value) if value is not None else []
        except (TypeError, ValueError) as error:
            raise SettingError(f"{name}: {error}") from None
    return tuple(options)


def check_kind(to: Any) -> None:
    """A kind of result."""
    if not isinstance(to, str) or (to not in KINDS and to != ZARR):
        raise SettingError(f"to must be one of {', '.join(map(repr, (*KINDS, ZARR)))}, not {to!r}")


def check_options(tool: str, to: str, options: Sequence[str]) -> None:
    """The tool's own refusal of options, before any work."""
    kind = GREY if to == ZARR else to
    finished = RUNNER.run(tool, ["convert", *options, f"--to={kind}", "--output-dir=/dev/null/none", "--", "/dev/null/none"])
    if finished.status == _USAGE:
        raise SettingError(finished.sentence())
    if finished.status < 0:
        raise ToolError(finished.sentence())
