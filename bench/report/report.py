#!/usr/bin/python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Makes results.md and chart.svg of the CSV files that scripts/bench has written into a folder. Nothing is measured
# here, and no figure is written by hand.
#
#     report.py FOLDER --machine "CPU" --date DATE --command "scripts/bench" [--callgrind FOLDER]
"""Turns measured figures into tables and a chart."""
import argparse
from collections import defaultdict
from pathlib import Path

import chart
from figures import HEADLINE_SIZE, collect_instructions, in_order, read_rows, write_rows

Rows = list[dict[str, str]]


def table(header: list[str], lines: list[list[str]]) -> str:
    """A Markdown table; every column but the first is right-aligned."""
    rule = ["---"] + ["---:"] * (len(header) - 1)
    return "\n".join("| " + " | ".join(cells) + " |" for cells in [header, rule, *lines])


def family_summary(ratios: Rows) -> str:
    """Per family and size: the lowest and the highest ratio of its converters, for every instruction set."""
    isas = in_order(ratios, "isa")
    spans: dict[tuple[str, str, str], list[float]] = defaultdict(list)
    for row in ratios:
        spans[row["family"], row["size"], row["isa"]].append(float(row["ratio"]))
    lines = []
    for family in in_order(ratios, "family"):
        for size in in_order(ratios, "size"):
            cells = [f"{min(s):.2f} .. {max(s):.2f}" if (s := spans.get((family, size, isa))) else "-" for isa in isas]
            lines.append([family, size, *cells])
    return table(["family", "size", *isas], lines)


def converter_table(ratios: Rows) -> str:
    """Times and ratios of every converter at the headline size."""
    rows = [row for row in ratios if row["size"] == HEADLINE_SIZE]
    isas = in_order(rows, "isa")
    found = {(row["converter"], row["isa"]): row for row in rows}
    lines = []
    for converter in in_order(rows, "converter"):
        own = [found.get((converter, isa)) for isa in isas]
        limits = [float(row["limit_ns_per_pixel"]) for row in own if row]
        lines.append([converter, f"{min(limits):.3f}",
                      *(f"{float(row['ns_per_pixel']):.3f} ({float(row['ratio']):.2f})" if row else "-" for row in own)])
    return table(["converter", "limit", *isas], lines)


def competitor_table(competitors: Rows, size: str) -> str:
    """This library beside the others, as time / limit."""
    lines = []
    for row in competitors:
        if row["size"] != size or row["library"] == "limit":
            continue
        ours = row["library"] == "this library"
        lines.append([row["converter"], f"**{row['library']}**" if ours else row["library"], row["how"],
                      row["ns_per_pixel"], f"{float(row['time_over_limit']):.2f}",
                      f"{float(row['time_over_ours']):.2f}",
                      "" if ours else f"{float(row['equal_percent']):.1f} % / {row['largest_difference']}",
                      row["difference"]])
    return table(["job", "library", "by", "ns per pixel", "time / limit", "time / ours",
                  "equal bytes / largest difference", "what it does otherwise"], lines)


def lost_table(competitors: Rows) -> str:
    """Every competitor that was quicker, with nothing left out."""
    lines = [[row["converter"], row["size"], row["library"], row["how"], f"{float(row['time_over_ours']):.2f}",
              row["difference"]]
             for row in competitors
             if row["library"] not in ("limit", "this library") and float(row["time_over_ours"]) < 1]
    if not lines:
        return "None."
    return table(["job", "size", "library", "by", "its time / ours", "what it does otherwise"], lines)


def port_table(ports: Rows) -> str:
    """Every kernel in cache beside its bounds."""
    models = [name for name in ports[0] if name.startswith("bound_")]
    return table(["converter", "set", "cycles", "limit", *(name.removeprefix("bound_") for name in models), "ratio"],
                 [[row["converter"], row["isa"], row["cycles_per_64_pixels"], row["limit_cycles"],
                   *(row[name] for name in models), row["ratio_to_bound"]] for row in ports])


def instruction_table(instructions: Rows) -> str:
    """Instructions per pixel of every converter."""
    isas = in_order(instructions, "isa")
    found = {(row["converter"], row["isa"]): row["instructions_per_pixel"] for row in instructions}
    lines = [[converter, *(found.get((converter, isa), "-") for isa in isas)]
             for converter in in_order(instructions, "converter")]
    return table(["converter", *isas], lines)


def overhead_text(overheads: Rows) -> str:
    """The single figures, then per instruction set the median and the worst of each kind of case."""
    parts = [table(["what", "value"], [[row["what"], f"{row['value']} {row['unit']}"]
                                       for row in overheads if not row["isa"]])]
    kinds: dict[tuple[str, str, str], Rows] = defaultdict(list)
    for row in overheads:
        if row["isa"]:
            kind = row["what"].rsplit(" of ", 1)[0]
            size = "smallest frame" if kind == "call" else row["size"]
            kinds[kind, size, row["isa"]].append(row)
    lines = []
    for (kind, size, isa), rows in sorted(kinds.items()):
        rows.sort(key=lambda row: float(row["value"]))
        worst = rows[-1]
        lines.append([kind, size, isa, f"{rows[len(rows) // 2]['value']} {worst['unit']}",
                      f"{worst['value']} {worst['unit']} ({worst['what'].rsplit(' of ', 1)[1]})"])
    parts.append(table(["what", "size", "set", "median of all converters", "worst"], lines))
    return "\n\n".join(parts)


def file_table(files: Rows) -> str:
    """The file functions beside plain write and read."""
    return table(["function", "size", "us", "plain us", "time / plain", "quickest / quickest"],
                 [[row["function"], row["size"], row["us"], row["plain_us"], row["time_over_plain"],
                   row["best_over_best"]] for row in files])


def gstreamer_table(rows: Rows, threads: str) -> str:
    """vexaconvert beside GStreamer's own elements: per size its ns per pixel, theirs, and the ratio."""
    rows = [row for row in rows if row["threads"] == threads]
    sizes = in_order(rows, "size")
    cases: dict[tuple[str, ...], dict[str, Rows]] = defaultdict(lambda: defaultdict(list))
    for row in rows:
        if row["what"].startswith("vexaconvert"):
            case = row["in"], row["out"], row["what"]
        cases[case][row["size"]].append(row)
    lines = []
    for (source, out, what), by_size in cases.items():
        others = [row for row in by_size[sizes[0]][1:] if row["what"] != "frames layer alone"]
        cells = [source, out, what, others[0]["what"] if others else "none"]
        for size in sizes:
            theirs = [row for row in by_size[size] if others and row["what"] == others[0]["what"]]
            cells += [f"{float(by_size[size][0]['ns_per_pixel']):.2f}"]
            cells += [f"{float(theirs[0]['ns_per_pixel']):.2f}", f"{float(theirs[0]['time_over_ours']):.1f}"] \
                if theirs else ["none", ""]
        lines.append(cells)
    header = ["in", "out", "ours", "theirs"]
    for size in sizes:
        header += [f"{size}: ours", "theirs", "ratio"]
    return table(header, lines)


def gstreamer_sections(folder: Path) -> list[str]:
    """The elements beside GStreamer's own, and what a push adds to a conversion."""
    elements, overheads = read_rows(folder / "gstreamer.csv"), read_rows(folder / "gstreamer-overhead.csv")
    if not elements or not overheads:
        return []
    lines = [[row["in"], row["out"], row["converter"], row["converter_us"], row["added_us"], row["added_percent"] + " %",
              row["identity_added_us"]] for row in overheads]
    return ["## GStreamer elements, one thread",
            "ns per pixel by turns, processor time; ratio = theirs / ours.", gstreamer_table(elements, "1"),
            "## GStreamer elements, all cores", "ns per pixel by turns, wall clock.", gstreamer_table(elements, "all"),
            f"## What a push through vexaconvert adds at {overheads[0]['size']}",
            "us per frame in one thread, call by call on the same memory; a push through `identity` adds the last column.",
            table(["in", "out", "converter", "alone", "added", "share", "identity adds"], lines)]


def make_report(folder: Path, arguments: argparse.Namespace) -> str:
    """The whole page."""
    ratios = read_rows(folder / "ratios.csv")
    competitors = read_rows(folder / "competitors.csv")
    sections = [
        "# Measured speed",
        f"Machine: {arguments.machine}. Date: {arguments.date}. Command: `{arguments.command}`.\n"
        f"{arguments.note}".strip(),
        "One thread. The limit is a kernel that reads and writes the same bytes with the widest stores of the\n"
        "instruction set; ratio = time of the limit / time of the converter, so 1 is all that memory allows. Both took\n"
        "turns in one run; figures are medians. The CSV files beside this page hold every figure.",
        "![This library beside others](chart.svg)",
        "## Ratio to the memory limit, by family",
        "Lowest .. highest of the family's converters.",
        family_summary(ratios),
        f"## Every converter at {HEADLINE_SIZE}",
        "ns per pixel, and the ratio in brackets. The limit is the quickest of the instruction sets' limits.",
        converter_table(ratios),
    ]
    if competitors:
        sections += [f"## Beside other libraries at {HEADLINE_SIZE}",
                     "All in one run, by turns. Equal bytes are counted away from the border of a mosaic.",
                     competitor_table(competitors, HEADLINE_SIZE),
                     "## Where another library was quicker, at any size",
                     lost_table(competitors)]
    ports = read_rows(folder / "ports.csv")
    if ports:
        sections += ["## In cache, beside the ports",
                     "Cycles per 64 pixels of frames of 1920x16, the memory limit in cache, and the cycles that the\n"
                     "busiest port needs by llvm-mca, for several processors. Ratio = cycles / the larger of the limit\n"
                     "and the first processor's bound, which is the measured machine's or the nearest that llvm-mca\n"
                     "knows. Samples that a change of the clock or a sibling thread disturbed are discarded.",
                     port_table(ports)]
    instructions = read_rows(folder / "instructions.csv")
    if instructions:
        sections += ["## Instructions per pixel",
                     f"Counted by callgrind on frames of {instructions[0]['size']}, borders and calls included. It "
                     "cannot run AVX-512.", instruction_table(instructions)]
    sections += gstreamer_sections(folder)
    sections += ["## What does not grow with the frame", overhead_text(read_rows(folder / "overheads.csv")),
                 "## Files", "On a memory-backed file system, beside one write or read of the same bytes.",
                 file_table(read_rows(folder / "files.csv"))]
    return "\n\n".join(sections) + "\n"


def main() -> None:
    """Reads the command line and writes the files."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder", type=Path, help="holds the CSV files, receives results.md and chart.svg")
    parser.add_argument("--machine", required=True)
    parser.add_argument("--date", required=True)
    parser.add_argument("--command", required=True)
    parser.add_argument("--note", default="", help="one more line for the head of the page")
    parser.add_argument("--callgrind", type=Path, help="folder with callgrind's part files")
    arguments = parser.parse_args()
    if arguments.callgrind:
        write_rows(arguments.folder / "instructions.csv", collect_instructions(arguments.callgrind))
    competitors = read_rows(arguments.folder / "competitors.csv")
    if competitors:
        chart.draw(competitors, f"{arguments.machine}, {arguments.date}", arguments.folder / "chart.svg")
    (arguments.folder / "results.md").write_text(make_report(arguments.folder, arguments), encoding="utf-8")


if __name__ == "__main__":
    main()
