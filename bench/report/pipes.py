#!/usr/bin/python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Which pipes of the core start which vector operations, measured: for processors that llvm-mca has no model of. Each
# operation of the kernels' inner loops runs alone and with each of three probes that use known pairs of the four pipes,
# in a loop without dependences. The set of pipes that explains the four times best is written down.
#
#     pipes.py LIBRARY PIPES.csv        does nothing on other processors than Zen 5
#
# An operation is a mnemonic, the width of its registers and whether it is masked, as in `vpshufb z` and `vpaddw zk`.
"""Measures the vector pipes of Zen 5."""
import argparse
import re
import subprocess
import tempfile
from pathlib import Path

from figures import write_rows
from ports import SUBSETS_OF_PIPES, cost, disassemble, inner_loops, model_of_this_machine, operation_of

PROBES = {"vpmulhrsw %{w}31,%{w}30,%{w}16": {0, 1}, "vpsllw $8,%{w}30,%{w}16": {2, 3},
          "vpshufb %{w}31,%{w}30,%{w}16": {1, 2}}
TURNS, COPIES = 300, 48
MAIN = r"""
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
static double now(void) { struct timespec t; clock_gettime(CLOCK_MONOTONIC, &t); return t.tv_sec + t.tv_nsec * 1e-9; }
static double chain(void) {  /* seconds per cycle: a multiplication takes three */
    unsigned long p = 3; double begin = now();
    for (int i = 0; i < 4000; ++i) __asm__ volatile("imul %0, %0\n imul %0, %0" : "+r"(p));
    return (now() - begin) / 24000;
}
static int ascending(const void *a, const void *b) {
    return (*(double *)a > *(double *)b) - (*(double *)a < *(double *)b);
}
extern void (*const loops[])(void);
int main(void) {
    for (int i = 0; loops[i]; ++i) {
        double seconds_of[60];
        int count = 0;
        for (int repeat = 0; repeat < 60; ++repeat) {
            double before = chain(), begin = now();
            loops[i]();
            double seconds = now() - begin, after = chain();
            if (before / after > 0.99 && before / after < 1.01) seconds_of[count++] = seconds * 2 / (before + after);
        }
        qsort(seconds_of, count, sizeof(double), ascending);
        double best = count ? seconds_of[count / 4] : 0;
        printf("%.4f\n", best / TURNS / COPIES);
    }
}
"""


def instance(sample: str, number: int) -> str:
    """The instruction with registers of its own: no memory, sources that nothing writes, results in turns."""
    mnemonic, _, rest = sample.partition(" ")
    width = operation_of(sample).split()[1][0]
    operands = re.findall(r"(?:\([^)]*\)|[^,(])+", rest.strip())
    part_width = "x" if re.match(r"vinserti(128|64x2|32x4)", mnemonic) else "y" if "vinsert" in mnemonic else width
    sources = [re.sub(r"%([xyz])mm\d+", rf"%\g<1>mm{30 + index % 2}", part) if "(" not in part
               else f"%{part_width}mm{30 + index % 2}" for index, part in enumerate(operands[:-1])]
    mask = "{%k1}" if "{%k" in operands[-1] else ""
    if operands[-1].startswith("%k"):
        return f"{mnemonic} {','.join(sources)},%k{2 + number % 6}"
    result = re.sub(r"(%[xyz]mm)\d+.*", rf"\g<1>{16 + number % 12}", operands[-1]) + mask
    text = f"{mnemonic} {','.join(sources)},{result}"
    return text if width == "z" or "zmm" in sample else re.sub(r"mm(\d+)", lambda m: f"mm{int(m[1]) - 16}", text)


def cycles(bodies: list[list[str]]) -> list[float]:
    """Per copy of each list of sample instructions."""
    code = [".text"]
    for index, samples in enumerate(bodies):
        lines = [instance(sample, copy * len(samples) + k) for copy in range(COPIES) for k, sample in enumerate(samples)]
        code += [f".p2align 6\nloop{index}:", "mov $0x55555555, %eax\nkmovq %rax, %k1", f"mov ${TURNS}, %ecx\n1:", *lines,
                 "dec %ecx\njnz 1b\nvzeroupper\nret"]
    code += [".section .data.rel.ro,\"aw\"\n.globl loops\nloops:", *(f".quad loop{index}" for index in range(len(bodies))),
             ".quad 0", ".section .note.GNU-stack,\"\",@progbits"]
    with tempfile.TemporaryDirectory() as folder:
        work = Path(folder)
        (work / "loops.s").write_text("\n".join(code) + "\n", encoding="ascii")
        (work / "main.c").write_text(MAIN, encoding="ascii")
        subprocess.run(["cc", "-O2", "-w", f"-DTURNS={TURNS}", f"-DCOPIES={COPIES}", "-o", work / "pipes",
                        work / "main.c", work / "loops.s"], check=True)
        text = subprocess.run([work / "pipes"], check=True, capture_output=True, text=True).stdout
    return [float(line) for line in text.split()]


def main() -> None:
    """Reads the command line and writes the CSV file."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("library", type=Path)
    parser.add_argument("pipes", type=Path, help="CSV file to write")
    arguments = parser.parse_args()
    if model_of_this_machine() != "znver5":
        return
    samples = {operation: line for loop in inner_loops(disassemble(arguments.library)).values() for line in loop
               if (operation := operation_of(line))}
    bodies: list[list[str]] = []
    for _, sample in sorted(samples.items()):
        width = operation_of(sample).split()[1][0] + "mm"
        bodies += [[sample], *[[sample, probe.format(w=width)] for probe in PROBES]]
    times = iter(cycles(bodies))
    rows = []
    for operation in sorted(samples):
        measured = [next(times) for _ in range(1 + len(PROBES))]

        def error(pipes: set[int], measured: list[float] = measured) -> float:
            expected = [cost([pipes]), *(cost([pipes, probe]) for probe in PROBES.values())]
            return sum((a - b) ** 2 for a, b in zip(measured, expected))

        best = min(SUBSETS_OF_PIPES, key=error)
        rows.append({"operation": operation, "pipes": "".join(map(str, sorted(best))),
                     **{name: f"{value:.2f}" for name, value in
                        zip(["alone", "with_multiplication", "with_shift", "with_shuffle"], measured)}})
    write_rows(arguments.pipes, rows)


if __name__ == "__main__":
    main()
