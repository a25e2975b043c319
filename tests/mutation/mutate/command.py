# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Mutation test: changes one place of the project at a time and sees whether a test notices.

    scripts/mutate                     60 mutants: of each file in turn one, chosen at random with a fixed seed
    scripts/mutate 500 --seed 7        another number, another choice
    scripts/mutate 40 src/convert      of the files below a folder: src, frames, gstreamer, tools, python/vexacamutl
    scripts/mutate all src/imagefile/RwhFile.cpp   every mutant of a file
    scripts/mutate chosen              those of mutants-chosen.txt, which a random choice would seldom meet
    scripts/mutate FILE                those of a list, as build/mutate/survivors.txt is one
    scripts/mutate --list ...          prints them and runs nothing
    scripts/mutate 500 --resume        keeps the verdicts of the last runs but tries its survivors anew
    scripts/mutate --jobs 2 ...        on two trees at once, for a machine that has nothing else to do
    scripts/mutate --arm all           of the layer for NEON, cross-built, in the emulator

A mutant changes an operator, a comparison, a number, a truth value, takes the sibling of a name (left for right), turns
a condition round or leaves a statement out. It is refused (it does not build), killed (a test fails), hung (a test does
not end; look again on a busy machine) or it survived.

The work is done in copies of the tree under build/mutate. Survivors are listed at the end and in
build/mutate/survivors.txt; one that stands with its reason in tests/mutation/mutants-equivalent.txt, because it cannot
be told from the original, is counted as equivalent. The exit status is 1 if any other one survived, 2 if nothing could
be tried. Without qemu-x86_64 the emulated processors judge nothing.
"""
from __future__ import annotations

import argparse
import concurrent.futures
import itertools
import os
import queue
import random
import re
import subprocess
import sys
import time

from mutate import lists
from mutate import python as python_mutants
from mutate.mutant import BadName, Mutant
from mutate.suites import SUITES, folder_of, suite_of
from mutate.trees import Broken, Tree

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", "..", ".."))
WORK = os.path.join(ROOT, "build", "mutate")
RESULTS = os.path.join(WORK, "results.txt")
SURVIVORS = os.path.join(WORK, "survivors.txt")
HERE = os.path.join(ROOT, "tests", "mutation")
EQUIVALENT = os.path.join(HERE, "mutants-equivalent.txt")
CHOSEN = os.path.join(HERE, "mutants-chosen.txt")
ARM_GTEST = os.path.join(ROOT, "build", "aarch64-googletest", "installed", "lib", "cmake", "GTest")
Result = tuple[Mutant, str, float]  # with the seconds that it took
VERDICTS = ("killed", "hung", "refused", "equivalent", "survived")


def options_of(arguments: list[str] | None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="scripts/mutate", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("count", nargs="?", default="60", help="a number, 'all', 'chosen', or a list's file")
    parser.add_argument("files", nargs="*")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--statements", action="store_true",
                        help="only statements left out and conditions turned round")
    parser.add_argument("--arm", action="store_true", help="mutants of the layer for NEON, run by qemu-aarch64")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--resume", action="store_true")
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--minutes", type=float, default=0, help="stop after this time")
    return parser.parse_intermixed_args(arguments)


def not_run_here() -> list[str]:
    """Parts of the names of files whose code this processor cannot run: no test of it can judge them."""
    with open("/proc/cpuinfo", encoding="ascii", errors="replace") as file:
        flags = file.read().split()
    if "avx512vbmi" in flags:
        return ["Neon", "Wasm"]
    return ["Neon", "Wasm", "Avx512Vbmi", "IsaAvx512."] if "avx512bw" in flags else ["Neon", "Wasm", "Avx512"]


def source_files(below: list[str], arm: bool) -> list[str]:
    listed = subprocess.run(["git", "ls-files", "--", *(below or SUITES)], cwd=ROOT, check=True, capture_output=True,
                            text=True).stdout
    sources = [file for file in listed.split("\n") if re.search(r"\.(cpp|h|hpp|inc|py)$", file) and folder_of(file)]
    if arm:
        return [file for file in sources if "Neon" in file]
    left_out = not_run_here()
    return [file for file in sources if not any(name in file for name in left_out)]


def mutants_of(files: list[str], build: str, statements_only: bool) -> list[list[Mutant]]:
    """All mutants, file by file."""
    of_files = []
    reader = None
    for file in files:
        if file.endswith(".py"):
            with open(os.path.join(ROOT, file), encoding="ascii") as source:
                of_files.append(python_mutants.mutants_of(file, source.read(), statements_only))
        else:
            if reader is None:
                from mutate import cpp  # needs libclang, which lists and Python do without
                reader = cpp.Sources(ROOT, build)
            of_files.append(reader.mutants(file, statements_only))
    return of_files


def in_turn(of_files: list[list[Mutant]], seed: int) -> list[Mutant]:
    """Every file gets its share: one mutant of each in turn."""
    generator = random.Random(seed)
    for mutants in of_files:
        generator.shuffle(mutants)
    return [m for one_each in itertools.zip_longest(*of_files) for m in one_each if m is not None]


def build_options(arm: bool, tool: bool) -> list[str]:
    """For CMake, beside what every tree has."""
    if not arm:
        return [f"-DVEXACAMUTL_BUILD_TOOL={'ON' if tool else 'OFF'}"]
    if not os.path.exists(ARM_GTEST):
        subprocess.run([os.path.join(ROOT, "scripts", "test-aarch64")], check=True, stdout=subprocess.DEVNULL)
    return ["--toolchain", os.path.join(ROOT, "cmake/toolchains/aarch64-linux-gnu.cmake"), f"-DGTest_DIR={ARM_GTEST}",
            "-DVEXACAMUTL_BUILD_TOOL=OFF", "-DVEXACAMUTL_INSTALL=OFF"]


def commands_of_build(arm: bool) -> str:
    """A build that is only configured: its compile commands tell how a source is read."""
    build = os.path.join(WORK, "commands-aarch64" if arm else "commands")
    os.makedirs(WORK, exist_ok=True)
    done = subprocess.run(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
                           *build_options(arm, True)], check=False, capture_output=True, text=True)
    if done.returncode != 0:
        raise Broken(done.stderr)
    return build


def wanted_mutants(options: argparse.Namespace) -> tuple[list[Mutant], int]:
    """The mutants to try, and of how many they are chosen."""
    if not options.count.isdigit() and options.count != "all":
        mutants = lists.read(ROOT, CHOSEN if options.count == "chosen" else options.count)
        return mutants, len(mutants)
    files = source_files(options.files, options.arm)
    if not files:
        raise Broken(f"no source that can be changed: {' '.join(options.files)}")
    read = "" if all(file.endswith(".py") for file in files) else commands_of_build(options.arm)
    mutants = in_turn(mutants_of(files, read, options.statements), options.seed)
    return mutants[:None if options.count == "all" else int(options.count)], len(mutants)


def known_results() -> dict[str, str]:
    results = {}
    if os.path.exists(RESULTS):
        with open(RESULTS, encoding="ascii") as file:
            for line in file:
                result, _, name = line.rstrip("\n").split("\t")
                results[name] = result
    return results


def prepared_trees(mutants: list[Mutant], options: argparse.Namespace) -> queue.Queue[Tree]:
    trees: queue.Queue[Tree] = queue.Queue()
    tests = list(dict.fromkeys(test for m in mutants for test in suite_of(m.path)))
    machine = "-aarch64" if options.arm else ""
    tool = any("vexacamutl" in test.targets for test in tests)
    for number in range(options.jobs):
        tree = Tree(os.path.join(WORK, f"tree{machine}-{number}"), os.path.join(WORK, f"build{machine}-{number}"),
                    max(1, (os.cpu_count() or 1) // options.jobs))
        tree.prepare(ROOT, build_options(options.arm, tool))
        tree.check(tests)
        trees.put(tree)
    return trees


def name_of(mutant: Mutant) -> set[str]:
    with open(os.path.join(ROOT, mutant.path), encoding="ascii") as file:
        return mutant.names(file.read())


def summary(results: list[Result]) -> str:
    """One line a folder, then the sum."""
    lines = []
    for folder in [*SUITES, ""]:
        of_folder = [(result, seconds) for mutant, result, seconds in results if folder in ("", folder_of(mutant.path))]
        if not of_folder and folder:
            continue
        counts = [f"{sum(result == verdict for result, _ in of_folder)} {verdict}" for verdict in VERDICTS]
        tried = [seconds for _, seconds in of_folder if seconds > 0]
        mean = sum(tried) / len(tried) if tried else 0
        lines.append(f"{folder or 'all':14} {len(of_folder):4}: {', '.join(counts)}; {mean:.1f} s each")
    return "\n".join(lines)


def try_all(mutants: list[Mutant], options: argparse.Namespace, equivalent: set[str]) -> list[Result]:
    """Tries them on all trees, prints each verdict and keeps it in RESULTS."""
    trees = prepared_trees(mutants, options)
    before = known_results() if options.resume else {}
    start = time.monotonic()

    def decide(mutant: Mutant) -> Result:
        if before.get(str(mutant)) in VERDICTS[:-1]:
            return mutant, before[str(mutant)], 0
        if options.minutes and time.monotonic() - start > options.minutes * 60:
            return mutant, "", 0
        tree = trees.get()
        began = time.monotonic()
        try:
            result = tree.judge(mutant, suite_of(mutant.path))
        finally:
            trees.put(tree)
        if result == "survived" and not equivalent.isdisjoint(name_of(mutant)):
            result = "equivalent"
        return mutant, result, time.monotonic() - began

    results = []
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool, \
            open(RESULTS, "a" if options.resume else "w", encoding="ascii") as log:
        for mutant, result, seconds in pool.map(decide, mutants):
            if result == "":
                continue
            results.append((mutant, result, seconds))
            print(f"{result:10} {seconds:5.1f} s  {mutant}", flush=True)
            if seconds > 0:
                log.write(f"{result}\t{seconds:.1f}\t{mutant}\n")
                log.flush()
    return results


def run(options: argparse.Namespace) -> int:
    equivalent = lists.read_equivalent(ROOT, EQUIVALENT)
    mutants, total = wanted_mutants(options)
    if options.list:
        print("\n".join(map(str, mutants)), f"\n{len(mutants)} of {total}")
        return 0
    start = time.monotonic()
    results = try_all(mutants, options, equivalent)
    survivors = []
    for mutant in (mutant for mutant, result, _ in results if result == "survived"):
        with open(os.path.join(ROOT, mutant.path), encoding="ascii") as file:
            survivors.append(mutant.name(file.read()))
    with open(SURVIVORS, "w", encoding="ascii") as file:
        file.writelines(name + "\n" for name in survivors)
    print(summary(results))
    print(f"{len(results)} of {total} possible mutants in {time.monotonic() - start:.0f} s; " +
          ("no survivor" if not survivors else "survivors:\n" + "\n".join(survivors)))
    return 1 if survivors else 0


def main(arguments: list[str] | None = None) -> int:
    try:
        return run(options_of(arguments))
    except (BadName, Broken, OSError) as error:
        print(f"mutate: {error}", file=sys.stderr)
        return 2
