# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Wrong input of every kind: the page says what is wrong and by how many bytes, and goes on.
import struct

import pytest

SIZE = "64x48"


def give(page, tool, name, content):
    (tool.folder / name).write_bytes(content)
    page.give(tool.folder / name)


@pytest.mark.parametrize("size, words, message", [
    (16 + 3072 - 100, (0x01080009, 64, 48, 64), "the header promises a frame of 3 072 bytes; the file is 100 bytes too short"),
    (16 + 3072 + 7, (0x01080009, 64, 48, 64), "the header promises a frame of 3 072 bytes; the file is 7 bytes too long"),
    (16 + 3072, (0x01080009, 64, 48, 65), "the header says BayerRG8 64x48, but rows of 65 bytes"),
    (16 + 3072, (0x12345678, 64, 48, 64), "the header holds no known pixel format (0x12345678)"),
    (16 + 3072, (0x01080009, 0, 48, 0), "has no pixels"),
    (10, (0x01080009, 64, 48, 64), "the file is 6 bytes too short"),
])
def test_rwh(page, tool, size, words, message):
    give(page, tool, "a.rwh", (struct.pack("<4I", *words) + bytes(range(256)) * 20)[:size])
    assert message in page.message


@pytest.mark.parametrize("text, message", [
    ("width: 64\nheight: 48\n", "there is no line 'pixel format: ...'"),
    ("pixel format: BayreRG8\nwidth: 64\nheight: 48\n", "did you mean BayerRG8"),
    ("pixel format: BayerRG8\nheight: 48\n", "there is no line 'width: ...'"),
    ("pixel format: BayerRG8\nwidth: 6x\nheight: 48\n", "invalid width '6x'"),
    ("pixel format: BayerRG8\nwidth: 64\nheight: 99999999999\n", "invalid height '99999999999'"),
    ("", "there is no line 'pixel format: ...'"),
    ("width: 64\n" * 7000, "a sidecar has at most 64 KiB"),
])
def test_sidecar(page, tool, text, message):
    raw = tool.synth("a.raw", "BayerRG8", "320x240")
    (tool.folder / "a.txt").write_text(text)
    page.give(raw, tool.folder / "a.txt")
    assert message in page.message and page.message.startswith("a.txt: ")
    assert page.message.endswith("The layout is guessed instead.")
    assert page.state == "ready"
    page.drop([("a.txt", text.encode())])
    assert message in page.message


def test_empty_file(page, tool):
    give(page, tool, "a.raw", b"")
    assert (page.state, page.message) == ("error", "a.raw is empty: it has 0 bytes.")


def test_file_that_vanishes(page, tool):
    raw = tool.synth("a.raw", "Mono8", SIZE, "--frames", "2", "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    raw.unlink()
    page.set(frame=1)
    assert page.state == "error" and page.message != ""
    page.drop([("b.raw", bytes(range(256)) * 12)])
    assert page.text("file-facts").startswith("b.raw")


def test_tiny_file(page, tool):
    give(page, tool, "a.raw", b"abc")
    assert page.message == "a.raw: 3 bytes are too few to guess from. Type the layout."
    page.fill("width", 3)
    page.fill("height", 1)
    page.set(format="Mono8")
    assert page.text("fit") == "1 frame of 3 bytes, the file fits"
    assert page.state == "ready"


@pytest.mark.parametrize("head, kind", [(b"\x89PNG\r\n\x1a\n", "a PNG picture"), (b"\xff\xd8\xff\xe0", "a JPEG picture"),
                                        (b"PK\x03\x04", "a ZIP archive"), (b"\x1f\x8b\x08", "compressed by gzip")])
def test_foreign_file(page, tool, head, kind):
    noise = bytes((i * i * 31 + i * 7 + (i >> 3)) % 251 for i in range(20000))
    give(page, tool, "a.raw", head + noise)
    assert page.message == f"a.raw seems to be {kind}, not a raw frame."


def test_noise(page, tool):
    state, noise = 1, bytearray()
    for _ in range(60000):
        state = (state * 6364136223846793005 + 1442695040888963407) % 2 ** 64
        noise.append(state >> 56)
    give(page, tool, "a.raw", bytes(noise))
    assert page.text("guess-state") == "No layout explains these bytes: compressed, encrypted or no picture."


@pytest.mark.parametrize("settings, fit", [
    ({"height": 50}, "A frame takes 3 200 bytes: 128 bytes too few. Rows from 48 on are missing."),
    ({"offset": 1}, "A frame takes 3 072 bytes: 1 byte too few. Rows from 47 on are missing."),
    ({"offset": 4000}, "The offset is 928 bytes behind the end of the file."),
    ({"height": 47}, "1 frame of 3 008 bytes; 64 bytes left over"),
    ({"stride": 63}, "stride"),
    ({"format": "BayerRG12"}, "A frame takes 6 144 bytes: 3 072 bytes too few. Rows from 24 on are missing."),
    ({"format": "YUV411_8_UYYVYY", "width": 65, "height": 31}, "group"),
    ({"format": "Mono12", "shift": 9}, "shift"),
    ({"width": 2 ** 20, "height": 2 ** 20}, "pixels"),
    ({"width": 2 ** 15, "height": 2 ** 15}, "more than the page can hold"),
])
def test_layout(page, tool, settings, fit):
    raw = tool.synth("a.raw", "BayerRG8", SIZE, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    page.set(**settings)
    said = page.text("fit")
    assert said == fit if fit[-1] == "." or " " in fit and fit[0] == "1" else fit in said, said
    # and back again
    page.set(format="BayerRG8", width=64, height=48, stride=0, offset=0, shift=0)
    assert (page.state, page.text("fit")) == ("ready", "1 frame of 3 072 bytes, the file fits")


def test_incomplete_frames_are_not_exported(page, tool):
    raw = tool.synth("a.raw", "BayerRG8", SIZE, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    page.set(height=50)
    disabled = page.run("return ['save-png', 'save-rwh', 'save-text', 'copy-shell', 'copy-python']"
                        ".map((id) => document.getElementById(id).disabled)")
    assert all(disabled) and len(disabled) == 5
    page.press("s")
    assert page.message == "No frame is complete, so nothing can be exported."


def test_pictures_that_cannot_be_made_are_not_exported(page, tool):
    """The frame can still be saved; a command that would fail is not offered."""
    raw = tool.synth("a.raw", "BayerRG10", SIZE, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    disabled = "return arguments[0].filter((id) => document.getElementById(id).disabled)"
    buttons = ["save-png", "save-rwh", "save-text", "copy-shell", "copy-python"]
    page.set(black=5000)
    assert page.run("return document.querySelector('#labels .error').textContent") == \
        "a black level of 5000 leaves nothing of samples up to 1023"
    assert page.run(disabled, buttons) == ["save-png", "copy-shell", "copy-python"]
    assert page.text("shell") == page.text("python") == "\u2013"
    page.press("s")
    assert page.message == "a.png: a black level of 5000 leaves nothing of samples up to 1023"
    page.set(black=50)
    assert page.run(disabled, buttons) == []
    assert "--black-level 50" in page.text("shell")


@pytest.mark.parametrize("content, message", [
    (b"\7", "a.raw: 1 byte is too few to guess from. Type the layout."),
    (bytes(2 ** 20), "a.raw: Nothing in these 1 048 576 bytes tells their layout. Type it."),
])
def test_nothing_to_guess_from(page, tool, content, message):
    give(page, tool, "a.raw", content)
    assert page.message == message
    page.set(format="Mono8", width=1, height=1)
    assert page.state == "ready"


@pytest.mark.parametrize("typed, element", [("-3", "width"), ("1.5", "height"), ("-1", "offset"), ("99", "shift")])
def test_fields(page, tool, typed, element):
    raw = tool.synth("a.raw", "Mono12", SIZE, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    before = page.setting(element)
    page.fill(element, typed)
    field = page.browser.find_element("id", element)
    assert field.get_attribute("aria-invalid") == "true"
    assert page.setting(element) != float(typed)
    page.fill(element, before)
    assert field.get_attribute("aria-invalid") == "false"


@pytest.mark.parametrize("typed, element, message, setting", [
    ("17", "gain-r", "White balance: expected gains from 0 to 16.", ("balance", None)),
    ("-1", "gain-g", "White balance: expected gains from 0 to 16.", ("balance", None)),
    ("1e", "gain-b", "White balance: expected gains from 0 to 16.", ("balance", None)),
    ("1.5", "black", "Black level: expected a whole number from 0 to 65534.", ("black", 1)),
    ("65535", "black", "Black level: expected a whole number from 0 to 65534.", ("black", 6553)),
    ("-", "black", "Black level: expected a whole number from 0 to 65534.", ("black", 0)),
    ("99", "exposure", "Exposure: expected a factor from 0 to 16.", ("exposure", 9)),
])
def test_fields_of_levels(page, tool, typed, element, message, setting):
    """The last number that made sense stays; the page says what it expects, until the field is right again."""
    raw = tool.synth("a.raw", "BayerRG12", SIZE, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    page.fill(element, typed)
    field = page.browser.find_element("id", element)
    assert (page.text("levels-note"), field.get_attribute("aria-invalid")) == (message, "true")
    if element.startswith("gain"):
        typed_before = {"17": [1, 1, 1], "-1": None, "1e": [1, 1, 1]}[typed]
        assert page.setting("balance") == typed_before
    else:
        assert page.setting(setting[0]) == setting[1]
    page.fill(element, "1")
    assert page.text("levels-note") == "" and field.get_attribute("aria-invalid") != "true"


@pytest.mark.parametrize("typed, kept", [("0", 10), ("61", 6), ("-5", 10), ("2.5", 2)])
def test_field_of_speed(page, tool, typed, kept):
    raw = tool.synth("a.raw", "Mono8", SIZE, "--sidecar", "--frames", "3")
    page.give(raw, raw.with_suffix(".txt"))
    page.fill("fps", typed)
    assert page.setting("fps") == kept
    assert page.browser.find_element("id", "fps").get_attribute("aria-invalid") == "true"


@pytest.mark.parametrize("size, mode", [("63x48", "acpi"), ("2x2", "acpi")])
def test_adaptive_of_odd_sizes(page, tool, size, mode):
    raw = tool.synth("a.raw", "BayerRG8", size, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    page.set(mode=mode)
    assert page.state == "error"
    assert page.run("return document.querySelector('#labels .error').textContent") != ""
    page.set(mode="bilinear")
    assert page.state == "ready"


@pytest.mark.parametrize("fragment, message", [
    ("#format=Bayer", "unknown pixel format 'Bayer'"),
    ("#size=12", "expected two numbers with x between them"),
    ("#stride=-1", "expected 0 to 1073741824"),
    ("#offset=x", "expected a whole number"),
    ("#shift=16", "expected 0 to 15"),
    ("#mode=magic", "expected bilinear, acpi, grey"),
    ("#balance=1,2", "expected three gains from 0 to 16"),
    ("#balance=1,2,17", "expected three gains from 0 to 16"),
    ("#tone=99", "expected none, linear, srgb or a gamma from 0.1 to 10"),
    ("#nonsense=1", "expected one of format, size"),
    ("#fps=0", "expected 1 to 60"),
    ("#fps=61", "expected 1 to 60"),
    ("#zoom=x&theme=pink", "expected auto, light, dark"),
    ("#size=%E0%A4%A", "The address says"),
])
def test_address(page, fragment, message):
    page.open(fragment)
    assert message in page.message
    assert page.state == "empty"
