# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Every pixel format on the screen: the canvas against the tool's bytes, with both painters; the samples below the
# pointer against the tool's, the bytes below it against the format's drawing.
import subprocess

import numpy as np
import pytest
from conftest import TOOL

WIDTH, HEIGHT = 72, 52
FORMATS = [line.split()[0] for line in subprocess.run([TOOL, "formats"], capture_output=True, text=True,
                                                      check=True).stdout.splitlines()[1:] if " 0x" in line]


def options_of(name):
    return ("--format", name, "--size", f"{WIDTH}x{HEIGHT}")


def show(page, tool, name):
    raw = tool.synth("frame.raw", name, f"{WIDTH}x{HEIGHT}", "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    assert (page.state, page.message) == ("ready", "")


def test_the_tool_lists_formats():
    assert len(FORMATS) >= 65


def test_the_page_offers_the_tools_formats(page):
    offered = page.run("return [...document.getElementById('format').options].map((o) => o.value).filter((v) => v)")
    assert sorted(offered) == sorted(FORMATS)


@pytest.mark.parametrize("name", ["Mono8", "BayerRG12p", "RGB8", "YUV422_8_UYVY"])
def test_canvas_without_webgl(page, tool, name):
    page.open(query="?painter=canvas")
    assert "canvas" in page.text("engine")
    show(page, tool, name)
    page.set(zoom=1)
    expected = tool.bgra("frame.raw", *options_of(name))[:, :, 2::-1]
    assert np.array_equal(page.canvas(), expected)


@pytest.mark.parametrize("zoom", [2, 5])
@pytest.mark.parametrize("query", ["", "?painter=canvas"])
def test_enlarged_pixels_are_squares(page, tool, zoom, query):
    page.open(query=query)
    show(page, tool, "BayerGB8")
    page.set(zoom=zoom)
    expected = tool.bgra("frame.raw", *options_of("BayerGB8"))[:, :, 2::-1]
    assert np.array_equal(page.canvas(), expected.repeat(zoom, axis=0).repeat(zoom, axis=1))


@pytest.mark.parametrize("size, x, y", [("9000x40", 8192, 20), ("40x9000", 20, 8192)])
def test_frames_larger_than_a_texture(page, tool, size, x, y):
    """Around the seam of two textures."""
    raw = tool.synth("frame.raw", "Mono8", size, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    page.set(zoom=2, x=x, y=y)
    picture = tool.bgra("frame.raw", "--format", "Mono8", "--size", size)[:, :, 2::-1]
    area = page.run("""
        const rect = viewer.stage.rects()[0];
        const {left, top} = viewer.stage.corner(rect);
        const {x, y, right, bottom} = viewer.stage.visible(rect);
        viewer.stage.draw();
        const {width, bytes} = viewer.stage.painter.read();
        const seen = [];
        for (let row = y + 1; row < bottom - 1; ++row) {
            for (let column = x + 1; column < right - 1; ++column) {
                seen.push(bytes[((top + row * 2) * width + left + column * 2) * 4]);
            }
        }
        return {x: x + 1, y: y + 1, right: right - 1, bottom: bottom - 1, seen};
    """)
    assert area["x"] < x < area["right"] and area["y"] < y < area["bottom"]
    expected = picture[area["y"]:area["bottom"], area["x"]:area["right"], 0]
    assert np.array_equal(np.array(area["seen"]).reshape(expected.shape), expected)


@pytest.mark.parametrize("mode, option", [("acpi", ("--bayer-mode", "acpi")), ("grey", ("--grey",))])
@pytest.mark.parametrize("name", ["BayerGR8", "BayerBG10", "BayerRG12Packed", "BayerGB16"])
def test_modes(page, tool, name, mode, option):
    show(page, tool, name)
    page.set(zoom=1, mode=mode)
    levels = ("--tone", "linear") if mode == "acpi" and not name.endswith("8") else ()
    expected = tool.bgra("frame.raw", *options_of(name), *option, *levels)[:, :, 2::-1]
    assert np.array_equal(page.canvas(), expected)


def test_side_by_side(page, tool):
    show(page, tool, "BayerGB8")
    page.set(zoom=1, view="modes")
    for pane, mode in enumerate(("default", "acpi")):
        expected = tool.bgra("frame.raw", *options_of("BayerGB8"), "--bayer-mode", mode)[:, :, 2::-1]
        assert np.array_equal(page.canvas(pane), expected)


def test_four_phases(page, tool):
    show(page, tool, "BayerRG12p")
    page.set(zoom=1, view="phases")
    for pane, phase in enumerate(("GR", "RG", "GB", "BG")):
        expected = tool.bgra("frame.raw", *options_of(f"Bayer{phase}12p"))[:, :, 2::-1]
        assert np.array_equal(page.canvas(pane), expected)


# ---- below the pointer

SITES = {"GR": ("Gr", "R", "B", "Gb"), "RG": ("R", "Gr", "Gb", "B"), "GB": ("Gb", "B", "R", "Gr"),
         "BG": ("B", "Gb", "Gr", "R")}
YUV = {"YUV411_8_UYYVYY": "UYYVYY", "YUV422_8_UYVY": "UYVY", "YUV422_8": "YUYV", "YUV8_UYV": "UYV"}


def expected_samples(name, words, x, y):
    """'R 12' as the page says it, from what the tool unpacked."""
    pixel = y * WIDTH + x
    if name in YUV:
        order = YUV[name]
        pixels = order.count("Y")
        group = words[pixel // pixels * len(order):][:len(order)]
        luma = [i for i, letter in enumerate(order) if letter == "Y"][pixel % pixels]
        return [("Y", group[luma]), ("U", group[order.index("U")]), ("V", group[order.index("V")])]
    if name.startswith(("RGB", "BGR")):
        return [(letter, words[3 * pixel + i]) for i, letter in enumerate(name[:3])]
    site = SITES[name[5:7]][y % 2 * 2 + x % 2] if name.startswith("Bayer") else "Grey"
    return [(site, words[pixel])]


def expected_bytes(name, x, y):
    """Which bytes of a frame a pixel lies in, from the number of bits of each layout."""
    pixel = y * WIDTH + x
    if name.endswith(("10p", "12p")):
        bits = int(name[-3:-1])
        return {pixel * bits // 8, ((pixel + 1) * bits - 1) // 8}
    if name.endswith("Packed"):
        return {pixel // 2 * 3 + (0, 2)[pixel % 2], pixel // 2 * 3 + 1}
    if name.endswith("10CSI2"):
        return {pixel // 4 * 5 + pixel % 4, pixel // 4 * 5 + 4}
    if name.endswith("12CSI2"):
        return {pixel // 2 * 3 + pixel % 2, pixel // 2 * 3 + 2}
    if name in YUV:
        order = YUV[name]
        pixels, start = order.count("Y"), pixel // order.count("Y") * len(order)
        luma = [i for i, letter in enumerate(order) if letter == "Y"][pixel % pixels]
        return {start + luma, start + order.index("U"), start + order.index("V")}
    size = (1 if name.endswith("8") else 2) * (3 if name.startswith(("RGB", "BGR")) else 1)
    return set(range(pixel * size, (pixel + 1) * size))


def check_pointer(page, raw, name, words, picture, x, y):
    page.point_at(x, y)
    assert page.text("pixel-at") == f"{x}, {y}"
    said = page.text("pixel-samples")
    assert said == " ".join(f"{site}{value}" for site, value in expected_samples(name, words, x, y))
    red, green, blue = picture[y, x]
    assert page.text("pixel-colour") == f"R {red}  G {green}  B {blue}"
    own = expected_bytes(name, x, y)
    marked = page.run("return [...document.querySelectorAll('#hex b')].map((b) => b.textContent)")
    assert marked == [f"{raw[i]:02x}" for i in sorted(own)]
    line = page.run("return document.getElementById('hex').textContent")
    first, shown = int(line[:9], 16), line[11:].split("   ")[0].split()
    assert [int(text, 16) for text in shown] == list(raw[first:first + len(shown)])
    assert own <= set(range(first, first + len(shown)))


@pytest.mark.parametrize("name", FORMATS)
def test_canvas_and_pointer(page, tool, name):
    show(page, tool, name)
    page.set(zoom=1)
    picture = tool.bgra("frame.raw", *options_of(name))[:, :, 2::-1]
    assert np.array_equal(page.canvas(), picture)
    page.set(zoom=8)
    raw = (tool.folder / "frame.raw").read_bytes()
    wide = not (name in YUV or name.endswith(("o8", "GR8", "RG8", "GB8", "BG8", "B8", "R8")))
    words = np.frombuffer(tool.samples("frame.raw", *options_of(name)), np.uint16 if wide else np.uint8)
    for x, y in ((0, 0), (37, 21), (22, 41), (41, 22), (WIDTH - 1, HEIGHT - 1)):
        check_pointer(page, raw, name, words, picture, x, y)
