# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Reads what the benchmark programs wrote: CSV files, and the parts that callgrind leaves for bench-instructions. Rows
# are dictionaries by column name; families and converters keep the order in which the programs printed them.
"""The measured figures as Python objects."""
import csv
from pathlib import Path

HEADLINE_SIZE = "1920x1080"


def read_rows(path: Path) -> list[dict[str, str]]:
    """All rows of one CSV file; none when the file is not there."""
    if not path.exists():
        return []
    with path.open(encoding="utf-8", newline="") as file:
        return list(csv.DictReader(file))


def in_order(rows: list[dict[str, str]], column: str) -> list[str]:
    """The different values of a column, each once, in order of appearance."""
    return list(dict.fromkeys(row[column] for row in rows))


def collect_instructions(folder: Path) -> list[dict[str, str]]:
    """Instructions per pixel from callgrind's part files, named by the client request that ended each part."""
    rows = []
    parts = [path for path in folder.iterdir() if path.suffix[1:].isdigit()]
    for path in sorted(parts, key=lambda part: int(part.suffix[1:])):
        trigger, instructions = None, None
        for line in path.read_text(encoding="utf-8", errors="replace").splitlines():
            if line.startswith("desc: Trigger: Client Request: "):
                trigger = line.split(": ", 3)[3]
            elif line.startswith("summary: "):
                instructions = int(line.split()[1])
        if trigger is None or instructions is None:
            continue
        family, converter, isa, size = trigger.split(",")
        width, height = (int(number) for number in size.split("x"))
        rows.append({"family": family, "converter": converter, "isa": isa, "size": size,
                     "instructions_per_pixel": f"{instructions / (width * height):.3f}"})
    return rows


def write_rows(path: Path, rows: list[dict[str, str]]) -> None:
    """Writes rows as CSV."""
    with path.open("w", encoding="utf-8", newline="") as file:
        writer = csv.DictWriter(file, list(rows[0]) if rows else [], lineterminator="\n")
        writer.writeheader()
        writer.writerows(rows)
