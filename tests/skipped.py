#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Why cases of a run of ctest were skipped, a line for each reason:
#
#   skipped: 26 because this processor cannot run the avx512 kernels
#
#   skipped.py RESULTS    as ctest --output-junit writes them, with the output of cases that passed
#
# A skip for want of an installed package is not an answer after the project's own set-up: exit status 1.
"""Lists skipped cases by their reasons."""

import collections
import re
import sys
import xml.etree.ElementTree

# GoogleTest puts the reason below the place; a case of CMake's own says it in a line; pytest lists its skips at the end.
GOOGLETEST = re.compile(r"^\S+:\d+: Skipped\n(.+)$", re.MULTILINE)
CMAKE = re.compile(r"^skipped: (.+)$", re.MULTILINE)
PYTEST = re.compile(r"^SKIPPED \[(\d+)\] \S+: (.+)$", re.MULTILINE)


def reasons_of(case):
    """Reasons and counts of one case; a case that ctest calls skipped has at least one."""
    output = case.findtext("system-out") or ""
    counts = collections.Counter()
    for count, reason in PYTEST.findall(output):
        counts[reason.strip()] += int(count)
    if case.find("skipped") is not None and not counts:
        found = GOOGLETEST.findall(output) or CMAKE.findall(output)
        counts[found[0].strip() if found else f"{case.get('name')} gives no reason"] += 1
    return counts


def main():
    """Prints the list; returns the exit status."""
    counts = collections.Counter()
    for case in xml.etree.ElementTree.parse(sys.argv[1]).iter("testcase"):
        counts.update(reasons_of(case))
    for reason, count in counts.most_common():
        print(f"skipped: {count} because {reason}")
    missing = [reason for reason in counts if re.search(r"not installed|gives no reason$", reason)]
    for reason in missing:
        print(f"not as set up: {reason}", file=sys.stderr)
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
