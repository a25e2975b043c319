# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Checks that the libraries in a wheel load on every system that manylinux2014 promises (PEP 599).

    python3 python/backend/check_wheel.py FILE.whl
"""
from __future__ import annotations

import re
import subprocess
import sys
import tempfile
import zipfile
from pathlib import Path

#: The newest version of each set of symbols that a library may need.
LIMITS = {"GLIBC": (2, 17), "GLIBCXX": (3, 4, 19), "CXXABI": (1, 3, 7), "GCC": (4, 8, 0)}
SYSTEM_LIBRARIES = {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1"}
WANTED = ("libVexaCamFrames.so.0", "libVexaCamUtl_64.so.1")


def objdump(option: str, library: Path) -> str:
    return subprocess.run(["objdump", option, str(library)], capture_output=True, text=True, check=True).stdout


def complaints_about(library: Path, beside: set[str]) -> list[str]:
    found = []
    for symbols, version, name in re.findall(r"\*UND\*.*\((\w+?)_([\d.]+)\)\s+(\S+)", objdump("-T", library)):
        if symbols not in LIMITS or tuple(map(int, version.split("."))) > LIMITS[symbols]:
            found.append(f"{library.name} needs {name}@{symbols}_{version}")
    for needed in re.findall(r"NEEDED +(\S+)", objdump("-p", library)):
        if needed not in SYSTEM_LIBRARIES | beside:
            found.append(f"{library.name} needs {needed}")
    for path in re.findall(r"R(?:UN)?PATH +(\S+)", objdump("-p", library)):
        if path != "$ORIGIN":
            found.append(f"{library.name} looks for libraries in {path}")
    return found


def main(wheel: str) -> int:
    with tempfile.TemporaryDirectory() as folder:
        with zipfile.ZipFile(wheel) as archive:
            archive.extractall(folder)
        libraries = sorted(Path(folder).glob("vexacamutl/*.so.*"))
        names = {library.name for library in libraries}
        complaints = [f"{name} is missing" for name in WANTED if name not in names]
        for library in libraries:
            complaints += complaints_about(library, names)
    for complaint in complaints:
        print(f"{Path(wheel).name}: {complaint}", file=sys.stderr)
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
