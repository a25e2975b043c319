# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""What became of a conversion, and the line that shows how far it is."""
from __future__ import annotations

import sys
import time
from dataclasses import dataclass, field
from typing import Any, NamedTuple, Optional, TextIO


class Failed(NamedTuple):
    """A frame without a result, or an input that cannot be read (`frame` is None), and why."""

    input: str
    frame: Optional[int]
    reason: str


@dataclass
class ConversionReport:
    """What a conversion did: frames done now, frames that were done before, and what failed."""

    out: str
    done: int = 0
    skipped: int = 0
    failed: list[Failed] = field(default_factory=list)
    seconds: float = 0.0
    bytes: int = 0

    @property
    def complete(self) -> bool:
        """True when every frame of the archive has its result."""
        return not self.failed

    def as_dict(self) -> dict[str, Any]:
        """For JSON."""
        failed = [one._asdict() for one in self.failed]
        counts = {"out": self.out, "done": self.done, "skipped": self.skipped, "failed": failed}
        return {**counts, "seconds": round(self.seconds, 3), "bytes": self.bytes}

    def __str__(self) -> str:
        return (
            f"{self.done} done, {self.skipped} skipped, {len(self.failed)} failed; {self.bytes} bytes in "
            f"{self.seconds:.1f} s"
        )


class Progress:
    """A line on standard error for the whole: drawn over itself on a terminal, else now and then a new one."""

    _CELLS = 30

    def __init__(self, total: int, wanted: Optional[bool], stream: Optional[TextIO] = None) -> None:
        self._stream = sys.stderr if stream is None else stream
        self._terminal = self._stream.isatty()
        self._shown = self._terminal if wanted is None else wanted
        self._interval = 0.1 if self._terminal else 5.0
        self._total = total
        self._begun = time.monotonic()
        self._drawn: Optional[float] = None

    def say(self, line: str) -> None:
        """A line of its own."""
        if self._shown:
            self._stream.write(f"\r\x1b[K{line}\n" if self._terminal else f"{line}\n")
            self._stream.flush()

    def update(self, report: ConversionReport, last: bool = False) -> None:
        """Draws the line when the last one is old enough."""
        now = time.monotonic()
        if not self._shown or (not last and self._drawn is not None and now - self._drawn < self._interval):
            return
        self._drawn = now
        through = report.done + report.skipped + len(report.failed)
        part = min(1.0, through / self._total) if self._total else 1.0
        rate = report.done / max(now - self._begun, 1e-3)
        left = f"{(self._total - through) / rate:.0f} s left" if rate > 0 and not last else f"{report.seconds:.1f} s"
        filled = int(part * self._CELLS)
        line = (
            f"[{'#' * filled}{'.' * (self._CELLS - filled)}] {part * 100:3.0f} %  {through}/{self._total} frames  "
            f"{rate:.1f} frames/s  {left}" + (f"  {len(report.failed)} failed" if report.failed else "")
        )
        end = "\n" if last or not self._terminal else ""
        self._stream.write(f"\r\x1b[K{line}{end}" if self._terminal else f"{line}{end}")
        self._stream.flush()
