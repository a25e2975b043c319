#!/usr/bin/python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""How often the guesser is right: files of known layout through `vexacamutl guess`, and a table of the results.

    tests/guess/table.py TOOL [--first N] [--count N] [--frames-dir FOLDER]

Red and blue exchanged counts as right: no statistic tells them apart, and both answers are listed one after the other.
A file whose first answer is wrong is counted by itself if judge.py proves from its bytes that it is ambiguous: a code
that shares nothing with the guesser takes no more bytes for the file in the first answer's layout than in the true one.
The proofs are printed. The files 0 to 129, 390 to 519 and 1000 to 1194 served to find the rules and penalties; any
others are new to the guesser.
Photographs take part where VEXACAMUTL_FRAMES_DIR or --frames-dir names a folder of them.
"""
import argparse
import collections
import json
import multiprocessing
import os
import subprocess
import sys
import tempfile

import cases
import judge
import scenes

MOST = 12
EXCHANGED = {"GR": "GB", "GB": "GR", "RG": "BG", "BG": "RG"}


def exchanged(name):
    """The format with red and blue exchanged; the format itself where it has none."""
    if name.startswith("Bayer"):
        return name[:5] + EXCHANGED[name[5:7]] + name[7:]
    if name[:3] in ("RGB", "BGR"):
        return name[2::-1] + name[3:]
    return name


def is_met(case, guess):
    """Whether the guess reads every frame of the file as it was written."""
    return guess["format"] in (case.format, exchanged(case.format)) and all(
        guess[field] == getattr(case, field) for field in ("width", "height", "stride", "offset", "shift", "frames"))


def place_of(case, guesses):
    """The place of the truth, from 0 on; red and blue exchanged take one place together."""
    place, seen = 0, None
    for guess in guesses:
        if is_met(case, guess):
            return place
        key = {**guess, "format": min(guess["format"], exchanged(guess["format"])), "evidence": 0, "score": 0}
        place += key != seen
        seen = key
    return None


def guesses_for(tool, contents, most=MOST):
    """The tool's answer; empty where it finds nothing."""
    with tempfile.NamedTemporaryFile(suffix=".bin") as file:
        file.write(contents)
        file.flush()
        done = subprocess.run([tool, "guess", "--json", "--most", str(most), file.name], capture_output=True, text=True)
        if done.returncode == 3 and "no rows of a picture" in done.stderr:
            return []
        if done.returncode != 0:
            raise RuntimeError(done.stderr)
        return json.loads(done.stdout)


def text_of(guess):
    """A guess in a few words."""
    words = [f"{guess['format']} {guess['width']}x{guess['height']}"]
    words += [f"{key} {guess[key]}" for key in ("stride", "offset", "shift") if guess[key]]
    words += [f"{guess['frames']} frames"] if guess["frames"] > 1 else []
    return ", ".join(words) + f" [{guess['score']:.3f}]"


def _work(task):
    tool, number, folder = task
    case = cases.make(number, _photographs(folder))
    guesses = guesses_for(tool, case.contents)
    place = place_of(case, guesses)
    verdict = None
    if guesses and place != 0:
        verdict = judge.judge(case.contents, judge.Layout.of(case), judge.Layout.of(guesses[0]))
    case.contents = len(case.contents)
    return case, place, guesses[:3], [g for g in guesses if is_met(case, g)][:1], verdict


_KEPT = {}


def _photographs(folder):
    return _KEPT.setdefault(folder, scenes.Photographs(folder))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("tool")
    parser.add_argument("--first", type=int, default=0)
    parser.add_argument("--count", type=int, default=4 * len(cases.FORMATS))
    parser.add_argument("--frames-dir", default=os.environ.get("VEXACAMUTL_FRAMES_DIR", ""))
    arguments = parser.parse_args()
    numbers = range(arguments.first, arguments.first + arguments.count)
    tasks = [(arguments.tool, number, arguments.frames_dir) for number in numbers]
    counts = collections.defaultdict(lambda: [0, 0, 0])
    failures = []
    with multiprocessing.Pool() as pool:
        for case, place, best, met, verdict in pool.imap(_work, tasks):
            families = (cases.family_of(case.format), "All", "Scene: " + case.scene)
            for key in ("Ambiguous",) if verdict and verdict.ambiguous else families:
                counts[key][0] += 1
                counts[key][1] += place == 0
                counts[key][2] += place is not None and place < 3
            if place != 0:
                failures.append((case, place, best, met, verdict))
    print("| Family | Files | First | First three |\n|---|---|---|---|")
    for key in [*cases.FAMILIES, "All", *sorted(k for k in counts if k.startswith("Scene")), "Ambiguous"]:
        files, first, three = counts[key]
        if files:
            print(f"| {key} | {files} | {100 * first / files:.1f} % | {100 * three / files:.1f} % |")
    print()
    for case, place, best, met, verdict in sorted(failures, key=lambda failure: failure[0].number):
        print(f"{case.number}: {case.text()}, {case.contents} bytes: "
              f"{'not listed' if place is None else f'place {place + 1}'}"
              + (f" [{met[0]['score']:.3f}]" if met else "") + (f"\n        {verdict.text()}" if verdict else ""))
        for guess in best:
            print(f"        {text_of(guess)}")


if __name__ == "__main__":
    sys.exit(main())
