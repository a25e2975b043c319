#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Doxygen's input filter for pages. The site holds the pages of this folder; links from them into the rest of the tree
# work where the tree is browsed and would lead nowhere on the site. There they become the name of the file:
#
#     [results](../bench/results/results.md)   ->   results (`bench/results/results.md`)
#     ![chart](../bench/results/chart.svg)     ->   ![chart](chart.svg)              found by Doxygen's IMAGE_PATH
"""Adapts the pages' links for Doxygen."""

import pathlib
import re
import sys

text = pathlib.Path(sys.argv[1]).read_text(encoding="ascii")
text = re.sub(r"!\[([^\]]*)\]\(\.\./(?:[^)/]+/)*([^)/]+)\)", r"![\1](\2)", text)
sys.stdout.write(re.sub(r"\[([^\]]*)\]\(\.\./([^)#]+)[^)]*\)", r"\1 (`\2`)", text))
