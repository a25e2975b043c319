# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# What the page hands out: the PNG, the shell command and the Python lines make the same picture; sidecar and RWH are
# read by the tool. Every option meets the others.
import os
import pathlib
import subprocess
import sys

import numpy as np
import pytest
from conftest import TOOL, picture_of_png

PYTHON = pathlib.Path(__file__).resolve().parents[2] / "python"
SIZE = "64x48"


def run_shell(folder, command):
    """Runs a printed command in the folder, with the tool found by its name."""
    programs = folder / "programs"
    programs.mkdir(exist_ok=True)
    if not (programs / "vexacamutl").exists():
        (programs / "vexacamutl").symlink_to(TOOL)
    path = f"{programs}:{os.environ['PATH']}"
    done = subprocess.run(["sh", "-c", command], cwd=folder, env={**os.environ, "PATH": path}, capture_output=True,
                          check=False)
    assert (done.returncode, done.stderr) == (0, b""), command


def run_python(folder, lines):
    """Runs printed lines in the folder; the picture that they make."""
    script = lines + "\nnp.save('picture.npy', picture)\n"
    done = subprocess.run([sys.executable, "-c", script], cwd=folder, capture_output=True, check=False,
                          env={**os.environ, "PYTHONPATH": str(PYTHON), "PYTHONDONTWRITEBYTECODE": "1"})
    assert (done.returncode, done.stderr) == (0, b""), lines
    return np.load(folder / "picture.npy")


def colours(picture):
    return picture if picture.shape[2] == 3 else picture.repeat(3, axis=2)


def check_exports(page, tool, stem):
    """The canvas, the PNG, the command's PNG and the Python array hold the same pixels; nothing is overwritten."""
    before = {path: path.read_bytes() for path in tool.folder.iterdir() if path.is_file()}
    page.set(zoom=1, x=-1, y=-1)
    shown = page.canvas()
    page.click("save-png")
    assert np.array_equal(colours(picture_of_png(page.saved(f"{stem}.png"))), shown)
    run_shell(tool.folder, page.run("return document.getElementById('shell').textContent"))
    made = (tool.folder / f"{stem}.png").read_bytes()
    assert np.array_equal(colours(picture_of_png(made)), shown)
    assert picture_of_png(made).shape == picture_of_png(page.saved(f"{stem}.png")).shape
    lines = page.run("return document.getElementById('python').textContent")
    assert np.array_equal(run_python(tool.folder, lines), shown)
    assert all(path.read_bytes() == content for path, content in before.items())


LEVELS = {"balance": [1.9, 1, 1.4375], "black": 3, "exposure": 1.5, "tone": "srgb"}


@pytest.mark.parametrize("name, settings", [
    ("BayerRG8", {}),
    ("BayerRG8", {"mode": "acpi"}),
    ("BayerRG8", {"mode": "grey"}),
    ("BayerGB8", {"mode": "acpi", **LEVELS}),
    ("BayerGB8", {"mode": "grey", **LEVELS}),
    ("BayerGR12", {"mode": "acpi"}),
    ("BayerGR12", {"mode": "grey"}),
    ("BayerBG12p", {"black": 64, "tone": "2.2"}),
    ("BayerBG10Packed", {"mode": "acpi", "balance": [2.5, 1, 1.3333], "tone": "linear"}),
    ("BayerRG16", {"tone": "1.8"}),
    ("BayerRG10CSI2", LEVELS),
    ("Mono8", {}),
    ("Mono12p", {"black": 100, "tone": "srgb"}),
    ("Mono16", {}),
    ("RGB8", {"balance": [1, 1.25, 2]}),
    ("BGR12", {}),
    ("RGB10", {"tone": "srgb", "black": 8}),
    ("YUV422_8_UYVY", {}),
    ("YUV422_8_UYVY", {"range": "limited"}),
    ("YUV411_8_UYYVYY", {"range": "limited"}),
    ("YUV8_UYV", {}),
    ("YUV422_8", {"range": "limited"}),
])
def test_picture(page, tool, name, settings):
    raw = tool.synth("a.raw", name, SIZE, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    page.set(**settings)
    check_exports(page, tool, "a")


@pytest.mark.parametrize("name, stride, shift", [("BayerRG8", 80, 0), ("Mono12p", 100, 0), ("Mono12", 0, 4),
                                                 ("BayerGB10", 150, 3), ("YUV422_8", 140, 0)])
def test_buffers_as_cameras_fill_them(page, tool, name, stride, shift):
    """Padded rows, a header, samples in the high bits, the second of three frames, bytes left over."""
    rows = 48
    frame = np.frombuffer(tool.synth("tight.raw", name, SIZE).read_bytes(), np.uint8)
    if shift:
        frame = (frame.view(np.uint16) << shift).view(np.uint8)
    row_bytes = len(frame) // rows
    padded = np.full((rows, stride or row_bytes), 0xEE, np.uint8)
    padded[:, :row_bytes] = frame.reshape(rows, row_bytes)
    other = np.full_like(padded, 0x11)
    content = b"HEAD!" + other.tobytes() + padded.tobytes() + other.tobytes() + b"tail"
    (tool.folder / "b.raw").write_bytes(content)
    page.open(f"#format={name}&size={SIZE}&stride={stride}&offset=5&shift={shift}&frame=1")
    page.give(tool.folder / "b.raw")
    assert page.text("fit").endswith("4 bytes left over")
    check_exports(page, tool, "b_00001")


@pytest.mark.parametrize("frames", [1, 2])
def test_last_row_without_its_padding(page, tool, frames):
    row = np.frombuffer(tool.synth("tight.raw", "BayerRG8", SIZE).read_bytes(), np.uint8).reshape(48, 64)
    padded = np.concatenate([row, np.full((48, 36), 0xEE, np.uint8)], axis=1).tobytes()
    (tool.folder / "e.raw").write_bytes(b"HEAD!" + (padded * frames)[:-36])
    page.open(f"#format=BayerRG8&size={SIZE}&stride=100&offset=5&frame={frames - 1}")
    page.give(tool.folder / "e.raw")
    assert page.text("fit").endswith("the file fits")
    check_exports(page, tool, "e" if frames == 1 else "e_00001")


@pytest.mark.parametrize("frame", [0, 2])
def test_frame_of_a_sequence(page, tool, frame):
    raw = tool.synth("s.raw", "BayerRG8", SIZE, "--frames", "3", "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    page.set(frame=frame)
    check_exports(page, tool, f"s_0000{frame}")


def test_bytes_left_over(page, tool):
    """The tool converts such a file only when it is asked for one frame."""
    content = tool.synth("tight.raw", "BayerRG8", SIZE).read_bytes()
    (tool.folder / "d.raw").write_bytes(content + b"tail")
    page.open(f"#format=BayerRG8&size={SIZE}")
    page.give(tool.folder / "d.raw")
    check_exports(page, tool, "d")


def test_rwh_file(page, tool):
    raw = tool.synth("a.raw", "BayerRG12", SIZE)
    tool("pack", "--format", "BayerRG12", "--size", SIZE, raw, "c.rwh")
    page.give(tool.folder / "c.rwh")
    page.set(tone="srgb")
    assert "--format" not in page.text("shell")
    check_exports(page, tool, "c")


def test_rwh_file_read_otherwise(page, tool):
    """The tool believes an RWH header, so the command for another layout reads the file as a stream."""
    raw = tool.synth("a.raw", "BayerRG12", SIZE)
    tool("pack", "--format", "BayerRG12", "--size", SIZE, raw, "c.rwh")
    page.give(tool.folder / "c.rwh")
    page.set(format="BayerGB12")
    check_exports(page, tool, "c")


@pytest.mark.parametrize("name", ["it's a frame.raw", "-x.raw", "$(x) `y` \"z\".raw", "\u00fcn\u00ef code.raw"])
def test_names_that_shells_misread(page, tool, name):
    (tool.folder / name).write_bytes(tool.synth("a.raw", "BayerRG8", SIZE).read_bytes())
    (tool.folder / "a.raw").unlink()
    page.open(f"#format=BayerRG8&size={SIZE}")
    page.give(tool.folder / name)
    run_shell(tool.folder, page.run("return document.getElementById('shell').textContent"))
    made = picture_of_png((tool.folder / (name[:-4] + ".png")).read_bytes())
    assert np.array_equal(made, run_python(tool.folder, page.run("return document.getElementById('python').textContent")))


@pytest.mark.parametrize("name", ["BayerGB12p", "YUV411_8_UYYVYY", "RGB10", "Mono14"])
def test_sidecar(page, tool, name):
    raw = tool.synth("a.raw", name, SIZE)
    page.open(f"#format={name}&size={SIZE}")
    page.give(raw)
    page.click("save-text")
    (tool.folder / "a.txt").write_bytes(page.saved("a.txt"))
    tool("convert", "a.raw", "by-sidecar.png")
    tool("convert", "--format", name, "--size", SIZE, "a.raw", "by-options.png")
    assert (tool.folder / "by-sidecar.png").read_bytes() == (tool.folder / "by-options.png").read_bytes()
    page.open()
    page.give(raw, tool.folder / "a.txt")
    assert (page.message, page.setting("format"), page.state) == ("", name, "ready")


def test_sidecar_of_padded_rows(page, tool):
    content = bytes(range(256)) * 20
    (tool.folder / "a.raw").write_bytes(content[:7 + 80 * 48])
    page.open(f"#format=BayerRG8&size={SIZE}&stride=80&offset=7")
    page.give(tool.folder / "a.raw")
    page.click("save-text")
    (tool.folder / "a.txt").write_bytes(page.saved("a.txt"))
    tool("convert", "a.raw", "by-sidecar.png")
    tool("convert", "--format", "BayerRG8", "--size", SIZE, "--stride", "80", "--offset", "7", "a.raw", "by-options.png")
    assert (tool.folder / "by-sidecar.png").read_bytes() == (tool.folder / "by-options.png").read_bytes()


@pytest.mark.parametrize("name, setting, option", [("Mono10", "shift=2", ["--shift", "2"]),
                                                   ("YUV422_8_UYVY", "range=limited", ["--range", "limited"])])
def test_sidecar_of_shift_and_range(page, tool, name, setting, option):
    """Both ways: what the page writes is read by the tool and by the page."""
    raw = tool.synth("a.raw", name, SIZE)
    page.open(f"#format={name}&size={SIZE}&{setting}")
    page.give(raw)
    page.click("save-text")
    (tool.folder / "a.txt").write_bytes(page.saved("a.txt"))
    tool("convert", "a.raw", "by-sidecar.png")
    tool("convert", "--format", name, "--size", SIZE, *option, "a.raw", "by-options.png")
    made = (tool.folder / "by-sidecar.png").read_bytes()
    assert made == (tool.folder / "by-options.png").read_bytes()
    tool("convert", "--format", name, "--size", SIZE, "a.raw", "without.png")
    assert made != (tool.folder / "without.png").read_bytes()
    page.open()
    page.give(raw, tool.folder / "a.txt")
    key, _, value = setting.partition("=")
    assert (page.message, str(page.setting(key)), page.state) == ("", value, "ready")


@pytest.mark.parametrize("name", ["BayerGB12p", "Mono10CSI2", "BayerRG8", "YUV422_8", "BGR10", "BayerRG14"])
def test_rwh(page, tool, name):
    """The tool packs the same file."""
    raw = tool.synth("a.raw", name, SIZE)
    page.open(f"#format={name}&size={SIZE}")
    page.give(raw)
    page.click("save-rwh")
    tool("pack", "--format", name, "--size", SIZE, "a.raw", "expected.rwh")
    assert page.saved("a.rwh") == (tool.folder / "expected.rwh").read_bytes()


def test_names_of_results(page, tool):
    """An export never has the name of its input."""
    content = tool.synth("a.raw", "Mono8", SIZE).read_bytes()
    for name, given in (("a.png", "a-copy.png"), ("b.txt.raw", "b.txt.png")):
        (tool.folder / name).write_bytes(content)
        page.open(f"#format=Mono8&size={SIZE}")
        page.give(tool.folder / name)
        assert page.run("return document.getElementById('shell').textContent").endswith(" " + given)
        page.click("save-png")
        assert picture_of_png(page.saved(given)).shape == (48, 64, 1)


def test_copying(page, tool):
    raw = tool.synth("a.raw", "Mono8", SIZE, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    page.browser.execute_cdp_cmd("Browser.grantPermissions", {"permissions": ["clipboardReadWrite"]})
    page.click("copy-shell")
    page.until(lambda _: page.text("export-note") == "Copied.")
