# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Draws one bar per library and job: the share of the speed that memory allows. 100 % is a kernel that only reads and
# writes the same bytes. The text of the SVG stays text, and the same figures give the same file.
"""The bar chart of this library beside its competitors."""
from pathlib import Path

import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot  # noqa: E402  the backend has to be chosen first

from figures import HEADLINE_SIZE, in_order  # noqa: E402

JOBS = [
    ("ConvMono8ToBGR", "Mono8 to BGR"),
    ("ConvMono12ToBGRA", "Mono12 to BGRA"),
    ("ConvRGB8PToBGRA", "RGB8 to BGRA"),
    ("ConvBGR12PToBGRA", "BGR12 to BGRA"),
    ("ConvYUV422PToBGRA", "YUV 4:2:2 to BGRA"),
    ("ConvYUV444PToBGRA", "YUV 4:4:4 to BGRA"),
    ("ConvYUV411PToBGR", "YUV 4:1:1 to BGR"),
    ("ConvByrRG8ToBGRA", "Bayer 8 to BGRA"),
    ("ConvByrRG8ToBGR", "Bayer 8 to BGR"),
    ("ConvByrRG12ToBGRA", "Bayer 12 to BGRA"),
    ("ConvByrRG12ToBGR", "Bayer 12 to BGR"),
    ("ConvByrRG8ToBGRAACPI", "edge-aware Bayer 8 to BGRA"),
    ("ConvByrRG8ToBGRACPI", "edge-aware Bayer 8 to BGR"),
    ("Reverse Mono8 mirror", "mirror, 8 bits"),
    ("Reverse RGB8 mirror", "mirror, 24 bits"),
    ("Reverse BGR12 mirror", "mirror, 48 bits"),
]
COLOURS = {
    "this library": "#0b6e4f",
    "OpenCV": "#9aa7b1",
    "libyuv": "#c9b37e",
    "libswscale": "#b58a9d",
    "libdc1394": "#8fa58a",
    "GStreamer": "#7f8bb8",
}


def best_shares(rows: list[dict[str, str]], job: str) -> dict[str, float]:
    """Percent of the limit's speed, the best way of each library."""
    shares: dict[str, float] = {}
    for row in rows:
        if row["converter"] == job and row["size"] == HEADLINE_SIZE and row["library"] in COLOURS:
            share = 100 / float(row["time_over_limit"])
            shares[row["library"]] = max(share, shares.get(row["library"], 0))
    return shares


def draw(rows: list[dict[str, str]], machine: str, path: Path) -> None:
    """Writes the chart as SVG."""
    matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "vexacamutl", "font.size": 9,
                                "font.family": "sans-serif"})
    jobs = [(job, label) for job, label in JOBS if job in in_order(rows, "converter")]
    bars = [(label, best_shares(rows, job)) for job, label in jobs]
    figure, axes = pyplot.subplots(figsize=(8, 0.18 * sum(len(shares) + 1 for _, shares in bars) + 1.2))
    y, ticks = 0.0, []
    for label, shares in bars:
        top = y
        for library in COLOURS:
            if library in shares:
                axes.barh(y, shares[library], height=0.9, color=COLOURS[library])
                axes.text(shares[library] + 0.8, y, f"{shares[library]:.0f}", va="center", fontsize=7,
                          color="#333333", clip_on=True)
                y += 1
        ticks.append(((top + y - 1) / 2, label))
        y += 0.8
    axes.set_yticks([position for position, _ in ticks], [label for _, label in ticks])
    axes.set_ylim(y - 0.8, -1)
    axes.axvline(100, color="#555555", linewidth=0.8)
    axes.set_xlim(0, 118)  # prefetching kernels pass 100; room for their figures too
    axes.set_xlabel(f"percent of the speed that memory allows, {HEADLINE_SIZE}, one thread (longer is better)")
    for side in ("top", "right"):
        axes.spines[side].set_visible(False)
    shown = [library for library in COLOURS if any(library in shares for _, shares in bars)]
    axes.legend([pyplot.Rectangle((0, 0), 1, 1, color=COLOURS[library]) for library in shown], shown,
                loc="upper center", bbox_to_anchor=(0.45, 1.05), ncol=len(shown), frameon=False, fontsize=8)
    axes.annotate(machine, (0, 0), (0, -44), xycoords="axes fraction", textcoords="offset points", fontsize=7,
                  color="#555555")
    figure.savefig(path, metadata={"Date": None}, bbox_inches="tight")
