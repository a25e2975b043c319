# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The command: convert, info and verify.

Exit status: 0 all is well, 1 some frames failed or some results are wrong, 2 refused, 130 stopped by Ctrl-C, 143 by
SIGTERM. Every failure is one line on standard error.
"""
from __future__ import annotations

import argparse
import contextlib
import json
import os
import signal
import sys
from typing import Any, Iterator, NoReturn, Optional, Sequence

from .. import __version__
from ._archive import Archive, open
from ._errors import ArchiveError
from ._report import Failed
from ._settings import KINDS, ZARR
from ._verify import verify

_NAME = "vexacamutl.archive"
_FAILED, _REFUSED = 1, 2


class _Terminated(BaseException):
    """SIGTERM, which ends a conversion as Ctrl-C does."""


def _say(line: str) -> None:
    print(f"{_NAME}: {line}", file=sys.stderr)


class _Parser(argparse.ArgumentParser):
    """Mistakes are one line, and options have their whole names."""

    def __init__(self, **options: Any) -> None:
        super().__init__(**options, allow_abbrev=False)

    def error(self, message: str) -> NoReturn:
        _say(f"{message} (see: python3 -m vexacamutl.archive --help)")
        sys.exit(_REFUSED)


def _size(text: str) -> tuple[int, int]:
    width, x, height = text.lower().partition("x")
    if not (x and width.isascii() and width.isdecimal() and height.isascii() and height.isdecimal()):
        raise argparse.ArgumentTypeError(f"invalid size {text!r}: expected WIDTHxHEIGHT, for example 1920x1080")
    return int(width), int(height)


def _gains(text: str) -> Any:
    if text == "auto":
        return text
    try:
        return [float(part) for part in text.split(",")]
    except ValueError:
        raise argparse.ArgumentTypeError(f"invalid gains {text!r}: expected R,G,B or auto") from None


def _tone(text: str) -> Any:
    try:
        return float(text)
    except ValueError:
        return text


def _add_inputs(parser: argparse.ArgumentParser, nargs: str) -> None:
    parser.add_argument("inputs", nargs=nargs, metavar="IN", help="files, folders or patterns of raw frames")
    layout = parser.add_argument_group("layout of raw files without a sidecar")
    layout.add_argument("-f", "--format", help="pixel format: name, alias or hex code (see: vexacamutl formats)")
    layout.add_argument("-s", "--size", type=_size, metavar="WxH", help="size of a frame")
    layout.add_argument("--stride", type=int, metavar="N", help="bytes from one row to the next")
    layout.add_argument("--offset", type=int, metavar="N", help="bytes before the first frame")
    layout.add_argument("--shift", type=int, default=0, metavar="N", help="bits by which samples lie too high")
    layout.add_argument("--range", choices=("full", "limited"), default="full", help="of YUV samples")
    parser.add_argument("--frames-per-chunk", type=int, default=16, metavar="N", help="frames of a chunk (16)")
    parser.add_argument("--tool", metavar="FILE", help="the tool vexacamutl (default: VEXACAMUTL_TOOL, or on PATH)")


def _add_convert(verbs: Any) -> None:
    parser = verbs.add_parser("convert", help="convert every frame, each exactly once")
    _add_inputs(parser, "+")
    parser.add_argument("out", metavar="OUT", help="folder for the results")
    parser.add_argument("-t", "--to", choices=(*KINDS, ZARR), default="png", help="kind of result (png)")
    parser.add_argument("--scheduler", metavar="ADDRESS", help="of Dask (tcp://HOST:PORT), or slurm")
    parser.add_argument("-j", "--jobs", type=int, metavar="N", help="processes on this machine, or workers of Slurm")
    parser.add_argument("--batch", type=int, metavar="N", help="frames of one task")
    parser.add_argument("--digest", choices=("crc32", "sha256"), default="crc32", help="for the manifest (crc32)")
    parser.add_argument("--no-resume", action="store_true", help="make every result anew")
    parser.add_argument("--patience", type=float, default=300.0, metavar="S", help="seconds to wait for a scheduler (300)")
    progress = parser.add_mutually_exclusive_group()
    progress.add_argument("--progress", action="store_true", default=None, help="show it also without a terminal")
    progress.add_argument("-q", "--quiet", action="store_false", dest="progress", help="no progress on a terminal")
    parser.add_argument("--json", action="store_true", help="the report as one JSON object on standard output")
    settings = parser.add_argument_group("settings of the pictures, as of vexacamutl convert")
    settings.add_argument("-b", "--bayer-mode", dest="mode", choices=("default", "acpi"))
    settings.add_argument("-g", "--grey", dest="bayer", action="store_false", default=None)
    settings.add_argument("--bits", type=int, choices=(8, 16))
    settings.add_argument("--white-balance", type=_gains, metavar="R,G,B")
    settings.add_argument("--black-level", type=int, metavar="N")
    settings.add_argument("--exposure", type=float, metavar="F")
    settings.add_argument("--tone", type=_tone, metavar="CURVE")
    settings.add_argument("--alpha", action="store_true", default=None)
    settings.add_argument("--png-level", type=int, metavar="N")
    settings.add_argument("--quality", type=int, metavar="N")
    settings.add_argument("--sync", action="store_true", default=None)
    parser.set_defaults(run=_convert)


_SETTINGS = (
    "mode", "bayer", "bits", "white_balance", "black_level", "exposure", "tone", "alpha", "png_level", "quality", "sync"
)  # fmt: skip


def _parser() -> argparse.ArgumentParser:
    parser = _Parser(prog=f"python3 -m {_NAME}", description="Archives of raw camera frames")
    parser.add_argument("-V", "--version", action="version", version=f"{_NAME} {__version__}")
    verbs = parser.add_subparsers(required=True, metavar="VERB", parser_class=_Parser)
    _add_convert(verbs)
    info = verbs.add_parser("info", help="say what an archive holds")
    _add_inputs(info, "+")
    info.add_argument("--json", action="store_true", help="as one JSON object")
    info.set_defaults(run=_info)
    check = verbs.add_parser("verify", help="compare results with the manifest of their folder")
    check.add_argument("out", metavar="OUT", help="folder of the results")
    check.add_argument("--digests", action="store_true", help="read every result as well")
    check.add_argument("--json", action="store_true", help="as one JSON object")
    check.set_defaults(run=_verify)
    return parser


def _open(arguments: argparse.Namespace) -> Archive:
    width, height = arguments.size if arguments.size is not None else (None, None)
    return open(
        arguments.inputs,
        arguments.format,
        width,
        height,
        arguments.stride,
        arguments.offset,
        arguments.frames_per_chunk,
        shift=arguments.shift,
        range=arguments.range,
        tool=arguments.tool,
    )


def _say_failed(failed: Sequence[Failed]) -> None:
    for one in failed:
        _say(one.reason if one.input in one.reason else f"{one.input}: {one.reason}")


@contextlib.contextmanager
def _stoppable() -> Iterator[None]:
    def stop(number: int, frame: Any) -> NoReturn:
        raise _Terminated()

    before = signal.signal(signal.SIGTERM, stop)
    try:
        yield
    finally:
        signal.signal(signal.SIGTERM, before)


def _convert(arguments: argparse.Namespace) -> int:
    frames = _open(arguments)
    settings = {name: getattr(arguments, name) for name in _SETTINGS if getattr(arguments, name) is not None}
    with _stoppable():
        report = frames.convert(
            arguments.out,
            arguments.to,
            arguments.scheduler,
            not arguments.no_resume,
            jobs=arguments.jobs,
            batch=arguments.batch,
            digest=arguments.digest,
            progress=arguments.progress,
            patience=arguments.patience,
            **settings,
        )
    _say_failed(report.failed)
    print(json.dumps(report.as_dict()) if arguments.json else report)
    return 0 if report.complete else _FAILED


def _info(arguments: argparse.Namespace) -> int:
    frames = _open(arguments)
    times = frames.timestamps
    known = times[times == times]
    span = [str(known.min()), str(known.max())] if known.size else None
    found = {
        "frames": len(frames),
        "files": len(frames.inputs),
        "bytes": frames.nbytes,
        "chunks": -(-len(frames) // frames.frames_per_chunk),
        "layouts": [layout._asdict() for layout in frames.layouts],
        "timestamps": span,
        "bad": [one._asdict() for one in frames.bad],
    }
    if arguments.json:
        print(json.dumps(found))
    else:
        print(f"frames    {len(frames)} in {len(frames.inputs)} files, {frames.nbytes} bytes")
        print(f"chunks    {found['chunks']} of {frames.frames_per_chunk} frames")
        layouts = [f"{each.format} {each.width}x{each.height}, frames of {each.frame_bytes} bytes" for each in frames.layouts]
        for line in dict.fromkeys(layouts):
            print(f"layout    {line}")
        print(f"times     {' to '.join(span) if span else 'none'}")
    for one in frames.bad:
        _say(one.reason)
    return _FAILED if frames.bad else 0


def _verify(arguments: argparse.Namespace) -> int:
    found = verify(arguments.out, arguments.digests)
    print(json.dumps(found.as_dict()) if arguments.json else found)
    for one in (*found.wrong, *found.failed):
        _say(one.reason if one.output in one.reason else f"{one.output}: {one.reason}")
    return 0 if found.complete else _FAILED


def main(words: Optional[Sequence[str]] = None) -> int:
    """Runs a command; returns the exit status."""
    arguments = _parser().parse_args(words)
    try:
        return int(arguments.run(arguments))
    except (ArchiveError, ValueError, TypeError, OSError) as error:
        where = f"{error.filename}: " if isinstance(error, OSError) and error.filename is not None else ""
        said = error.strerror if isinstance(error, OSError) and error.strerror is not None else str(error)
        _say(f"{where}{said}".replace("resume=False", "--no-resume"))
        return _REFUSED
    except KeyboardInterrupt:
        _say("stopped; the same command goes on where this one was")
        return 128 + signal.SIGINT
    except _Terminated:
        _say("ended; the same command goes on where this one was")
        return 128 + signal.SIGTERM
