# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Whether the results of a folder are what its manifest says."""
from __future__ import annotations

import os
from dataclasses import asdict, dataclass, field
from typing import Any, NamedTuple

from .._numbers import flag
from .._output import Path, checked_path
from ._errors import ManifestError
from ._manifest import Entry, left_over, manifest_path, read_manifest
from ._worker import digest_of


class Wrong(NamedTuple):
    """A result that is not as it should be, and why."""

    output: str
    reason: str


@dataclass
class Verification:
    """What `verify` found: results that are good, results that are not, inputs without a result."""

    out: str
    good: int = 0
    bytes: int = 0
    digests: bool = False
    wrong: list[Wrong] = field(default_factory=list)
    failed: list[Wrong] = field(default_factory=list)
    interrupted: bool = False
    left_over: list[str] = field(default_factory=list)

    @property
    def complete(self) -> bool:
        """True when the last run came to its end and every result is there and whole."""
        return not (self.wrong or self.failed or self.interrupted)

    def as_dict(self) -> dict[str, Any]:
        """For JSON."""
        lists = {name: [one._asdict() for one in getattr(self, name)] for name in ("wrong", "failed")}
        return {**asdict(self), **lists, "complete": self.complete}

    def __str__(self) -> str:
        text = f"{self.good} good, {len(self.wrong)} wrong, {len(self.failed)} failed; {self.bytes} bytes"
        return text + ("; the last conversion did not come to its end" if self.interrupted else "")


def _check(out: str, output: str, entry: Entry, digest: str) -> str:
    """What is wrong with a result; empty when nothing is."""
    path = os.path.join(out, output)
    try:
        size = os.stat(path).st_size
        if size != entry.bytes:
            return f"{size} bytes instead of {entry.bytes}"
        if digest and digest_of(path, digest) != entry.digest:
            return f"other bytes than were written: the {digest} is not {entry.digest}"
    except OSError as error:
        return error.strerror or str(error)
    return ""


def verify(out: Path, digests: bool = False) -> Verification:
    """Compare the results of a conversion with its manifest.

    Parameters
    ----------
    out : str or path-like
        The folder that `convert` wrote into.
    digests : bool
        Read every result and compare its digest as well; without it presence and size.

    Returns
    -------
    Verification
        `complete` is True when everything is there.

    Raises
    ------
    ManifestError
        The folder has no manifest, or a damaged one.

    Examples
    --------
    >>> report = archive.open("recordings/", "BayerRG8", 64, 48).convert("pictures")
    >>> archive.verify("pictures", digests=True).complete
    True
    """
    folder = os.path.abspath(checked_path(out))
    by_digest = flag(digests, "digests")
    contents = read_manifest(folder)
    if contents is None:
        raise ManifestError(f"there is no {manifest_path(folder)}: nothing was converted into this folder")
    found = Verification(folder, digests=by_digest, interrupted=not contents.ended, left_over=left_over(folder))
    found.failed += [Wrong(path, reason) for path, reason in contents.bad]
    for output, entry in contents.entries.items():
        reason = _check(folder, output, entry, contents.run["digest"] if by_digest else "") if entry.bytes else ""
        if reason:
            found.wrong.append(Wrong(output, reason))
        elif entry.reason is not None:
            found.failed.append(Wrong(output, entry.reason))
        else:
            found.good += 1
            found.bytes += entry.bytes
    return found
