#!/usr/bin/python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# The port bound of every kernel, from the machine code of the shared object: the inner loop of each kernel is what lies
# between a backward jump and its target and stores most; llvm-mca says how many cycles its busiest port needs. The
# figure divided by this bound, or by the memory limit in cache where that is higher, says what is left to gain.
#
#     ports.py LIBRARY RATIOS.csv PORTS.csv [--model znver4]
#
# llvm-mca has no model of Zen 5. Its bounds come from pipes.csv beside PORTS.csv: the pipes of each operation as pipes.py
# has measured them. A cycle takes two vector loads, one store of 64 bytes or two narrower ones, and eight instructions.
"""Static port bounds beside measured cycles."""
import argparse
import itertools
import re
import subprocess
from pathlib import Path

from figures import read_rows, write_rows

MCA = "llvm-mca-19"
MODELS = ["skylake-avx512", "icelake-server", "znver4"]
SIZE = "1920x16"
KINDS = ["instructions", "loads", "stores", "shuffles"]
NAMESPACES = {"avx2": "Avx2", "avx512": "Avx512", "avx512bw": "Avx512Bw"}
LAYOUTS = {"BGRA": (0, 4), "BGR": (1, 3)}
REVERSED_UNITS = {"Mono8": ("0", 1), "Mono12": ("0, 1", 2), "RGB8": ("0, 1, 2", 3), "BGR12": ("0, 1, 2, 3, 4, 5", 6),
                  "YUV411": ("0, 5, 4, 3, 2, 1", 1.5), "YUV422": ("0, 3, 2, 1", 2)}
JUMP = re.compile(r"j(?!mp)[a-z]+\s+([0-9a-f]+)\b")
STORE = re.compile(r"(v?mov[a-z0-9]*|vextract[a-z0-9]*)\s+(?:\$\w+,)?%([xyz])mm\d+,(?!.*%rsp)-?\w*\(%r(?!ip)")
SHUFFLE = re.compile(r"vp?(shuf|perm|unpck|ack|extract|insert|align|broadcast)")
SUBSETS_OF_PIPES = [set(pipes) for size in (1, 2, 3, 4) for pipes in itertools.combinations(range(4), size)]
SHUFFLE_PIPES = {1, 2}
STORED_BYTES = {"x": 16, "y": 32, "z": 64}


def kernels_of(converter: str) -> list[tuple[list[str], float]]:
    """The kernels that a converter runs one after another, each with the bytes that it stores per pixel. A list of two
    kernels stands for rows that alternate."""
    if converter.startswith("Reverse "):
        order, unit = REVERSED_UNITS[converter.split()[1]]
        return [([f"Reverse<{order}>"], unit)] if converter.endswith((" mirror", " half turn")) else []
    match = re.fullmatch(r"Conv(\w+?)To(BGRA|BGR)(ACPI)?", converter)
    if match is None:
        return []
    source, (layout, pixel) = match[1], LAYOUTS[match[2]]
    if match[3] and source == "ByrGR8":
        return [(["AcpiGreen<false>", "AcpiGreen<true>"], 4),
                ([f"AcpiColour<1, {layout}, false>", f"AcpiColour<2, {layout}, false>"], pixel)]
    if source in ("ByrGR8", "ByrGR12") and not match[3]:
        kernel = "Bayer8" if source == "ByrGR8" else "BayerN"
        return [([f"{kernel}<0, 1, {layout}>", f"{kernel}<0, 2, {layout}>"], pixel)]
    names = {"Mono8": f"Mono8<{layout}>", "Mono12": f"MonoN<{layout}>", "RGB8P": f"PackedColour8<0, {layout}>",
             "BGR8P": f"PackedColour8<1, {layout}>", "RGB12P": f"PackedColourN<0, {layout}>",
             "BGR12P": f"PackedColourN<1, {layout}>", "YUV411P": f"Yuv411<{layout}>", "YUV422P": f"Yuv422<{layout}>",
             "YUV444P": f"Yuv444<{layout}>"}
    return [([names[source]], pixel)] if source in names else []


def disassemble(library: Path) -> dict[str, list[tuple[int, str]]]:
    """The instructions of every kernel, by `Set::Kernel<numbers>`."""
    text = subprocess.run(["objdump", "--disassemble", "--demangle", "--no-show-raw-insn", library], check=True,
                          capture_output=True, text=True).stdout
    functions: dict[str, list[tuple[int, str]]] = {}
    current: list[tuple[int, str]] = []
    for line in text.splitlines():
        if head := re.fullmatch(r"[0-9a-f]+ <(?:void )?Vexa::Kernels::(\w+)::\(anonymous namespace\)::(\w+<.*?>)\(.*>:", line):
            numbers = re.sub(r"\([\w:]+\)|(?<=\d)ul\b", "", head[2])
            current = functions.setdefault(f"{head[1]}::{numbers}", [])
        elif re.match(r"[0-9a-f]+ <", line):
            current = []
        elif instruction := re.match(r"\s*([0-9a-f]+):\s+([^#<]+)", line):
            current.append((int(instruction[1], 16), instruction[2].strip()))
    return functions


def stored_bytes(loop: list[str]) -> int:
    """By vector stores that do not go to the stack; one that extracts stores half a register."""
    return sum(STORED_BYTES[match[2]] // (2 if match[1].startswith("vextract") else 1)
               for line in loop if (match := STORE.match(line)))


def operations(loop: list[str]) -> dict[str, int]:
    """How many instructions of each kind a loop has; prefetches and the loop's own are only among all."""
    vectors = [line for line in loop if line.startswith("v")]
    stores = [line for line in vectors if STORE.match(line)]
    return {"instructions": len(loop), "stores": len(stores),
            "loads": sum("(%r" in line for line in vectors) - len(stores),
            "shuffles": sum(bool(SHUFFLE.match(line)) for line in vectors)}


def inner_loop(function: list[tuple[int, str]]) -> list[str]:
    """The innermost loop that stores most per instruction: from a conditional jump back to its target. It contains
    neither another loop nor a return, which would be code that only lies between."""
    best: list[str] = []
    jumps = [(address, int(match[1], 16)) for address, text in function if (match := JUMP.match(text))]
    backward = [(start, end) for end, start in jumps if start <= end]
    for start, end in backward:
        if any((start, end) != (s, e) and start <= s and e <= end for s, e in backward):
            continue
        loop = [text for address, text in function if start <= address <= end]
        if "ret" not in loop and stored_bytes(loop) * len(best) > stored_bytes(best) * len(loop):
            best = loop
        elif not best and stored_bytes(loop):
            best = loop
    return best


def operation_of(line: str) -> str:
    """Mnemonic, width of the registers and `k` if masked; "" where no vector pipe takes part: loads, stores and moves."""
    mnemonic, _, operands = line.partition(" ")
    width = re.findall(r"%([xyz])mm", operands)
    if not mnemonic.startswith("v") or not width or STORE.match(line) or mnemonic.startswith("vbroadcast"):
        return ""
    if mnemonic.startswith("vmov") and "{" not in line:
        return ""
    return f"{mnemonic} {max(width)}{'k' if '{%k' in line else ''}"


def inner_loops(functions: dict[str, list[tuple[int, str]]]) -> dict[str, list[str]]:
    """Of all kernels for x86-64 sets with bounds."""
    return {name: loop for name, function in functions.items()
            if name.split("::")[0] in NAMESPACES.values() and (loop := inner_loop(function))}


def cost(uses: list[set[int]]) -> float:
    """Cycles until operations have started that each take one of their pipes, if a pipe starts one per cycle."""
    return max(sum(pipes <= subset for pipes in uses) / len(subset) for subset in SUBSETS_OF_PIPES)


def bounds_of_pipes(loops: dict[str, list[str]], measured: Path) -> dict[str, float]:
    """Cycles per run of each loop on Zen 5."""
    pipes_of = {row["operation"]: {int(pipe) for pipe in row["pipes"]} for row in read_rows(measured)}
    found = {}
    for name, loop in loops.items():
        stores = [match for line in loop if (match := STORE.match(line))]
        loads = sum(line.startswith("v") and "(%r" in line and not STORE.match(line) for line in loop)
        uses = [pipes_of[operation] for line in loop if (operation := operation_of(line))]
        uses += [SHUFFLE_PIPES for match in stores if match[1].startswith("vextract")]
        written = sum(1.0 if match[2] == "z" and not match[1].startswith("vextract") else 0.5 for match in stores)
        found[name] = max(cost(uses), loads / 2, written, len(loop) / 8)
    return found


def bounds(loops: dict[str, list[str]], model: str) -> dict[str, float]:
    """Cycles per run of each loop."""
    source = []
    for name, loop in loops.items():
        code = [re.sub(r"^(j[a-z]+)\s+.*", r"\1 0", line) for line in loop]
        source += [f"# LLVM-MCA-BEGIN {name}", *code, f"# LLVM-MCA-END {name}"]
    text = subprocess.run([MCA, "-mtriple=x86_64-linux-gnu", f"-mcpu={model}", "-instruction-info=false",
                           "-resource-pressure=false"], input="\n".join(source) + "\n", check=True,
                          capture_output=True, text=True).stdout
    found = re.findall(r"Code Region - (.*)\n(?:.*\n)*?Block RThroughput: ([\d.]+)", text)
    return {name: float(cycles) for name, cycles in found}


def model_of_this_machine() -> str:
    """llvm-mca's model for the processor, or the nearest older one."""
    info = Path("/proc/cpuinfo").read_text(encoding="ascii")
    flags = set((re.search(r"^flags\s*:(.*)$", info, re.MULTILINE) or [""])[0].split())
    if "AuthenticAMD" in info:
        family = int((re.search(r"^cpu family\s*:\s*(\d+)", info, re.MULTILINE) or ["", "0"])[1])
        return "znver5" if family >= 26 else "znver4" if "avx512f" in flags else "znver3"
    return "icelake-server" if "avx512vbmi" in flags else "skylake-avx512" if "avx512f" in flags else "haswell"


def bound_rows(functions: dict[str, list[tuple[int, str]]], measured: list[dict[str, str]],
               models: list[str], pipes: Path) -> list[dict[str, str]]:
    """One row per converter and set: measured cycles per 64 pixels, the bound of each model, the ratio to the first."""
    wanted = {f"{namespace}::{name}" for namespace in NAMESPACES.values() for row in measured
              for names, _ in kernels_of(row["converter"]) for name in names}
    loops = {name: loop for name in sorted(wanted & functions.keys()) if (loop := inner_loop(functions[name]))}
    found = {model: bounds_of_pipes(loops, pipes) if model == "znver5" else bounds(loops, model) for model in models}
    rows = []
    for row in measured:
        if row["size"] != SIZE or row["isa"] not in NAMESPACES or not (kernels := kernels_of(row["converter"])):
            continue
        prefix = NAMESPACES[row["isa"]] + "::"
        if any(prefix + name not in loops for names, _ in kernels for name in names):
            continue
        # Runs of each loop for 64 pixels.
        runs = {prefix + name: 64 * pixel / stored_bytes(loops[prefix + name]) / len(names)
                for names, pixel in kernels for name in names}
        per_model = [sum(found[model][name] * times for name, times in runs.items()) for model in models]
        counted = {kind: sum(operations(loops[name])[kind] * times for name, times in runs.items()) for kind in KINDS}
        figure, limit = float(row["cycles_per_64_pixels"]), float(row["limit_cycles_per_64_pixels"])
        rows.append({"family": row["family"], "converter": row["converter"], "isa": row["isa"],
                     **{kind: f"{count:.0f}" for kind, count in counted.items()},
                     "cycles_per_64_pixels": f"{figure:.1f}", "limit_cycles": f"{limit:.1f}",
                     **{f"bound_{model}": f"{bound:.1f}" for model, bound in zip(models, per_model)},
                     "ratio_to_bound": f"{figure / max(per_model[0], limit):.2f}"})
    return rows


def main() -> None:
    """Reads the command line, writes the CSV file and prints it as a table."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("library", type=Path)
    parser.add_argument("ratios", type=Path, help=f"CSV of bench-ratios, with frames of {SIZE}")
    parser.add_argument("ports", type=Path, help="CSV file to write")
    parser.add_argument("--model", default=model_of_this_machine(), help="of the measured machine [%(default)s]")
    arguments = parser.parse_args()
    models = list(dict.fromkeys([arguments.model, *MODELS]))
    rows = bound_rows(disassemble(arguments.library), read_rows(arguments.ratios), models,
                      arguments.ports.with_name("pipes.csv"))
    write_rows(arguments.ports, rows)
    for row in [{name: name for name in rows[0]}, *rows] if rows else []:
        print("  ".join(f"{cell:{'<' if i < 3 else '>'}{26 if i == 1 else 13}}" for i, cell in enumerate(row.values())))


if __name__ == "__main__":
    main()
