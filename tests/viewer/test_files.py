# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# How files come to the page: dropped, chosen, pasted, as folders, of any length; and what it makes of each: an RWH
# file, a frame with its sidecar, a bare one whose layout is guessed.
import json
import os

import numpy as np
import pytest

SIZE = "64x48"


def shows(page, tool, name, *options):
    """Whether the canvas holds the picture that the tool makes of the file."""
    page.set(zoom=1, x=-1, y=-1)
    return np.array_equal(page.canvas(), tool.bgra(name, *options)[:, :, 2::-1])


def test_empty_page(page):
    assert page.state == "empty"
    assert "Drop raw frames here" in page.text("empty")


def test_drop_with_sidecar(page, tool):
    raw = tool.synth("a.raw", "BayerGB10", SIZE, "--sidecar")
    page.drop([("a.raw", raw.read_bytes()), ("a.txt", raw.with_suffix(".txt").read_bytes())])
    assert (page.state, page.message, page.setting("format")) == ("ready", "", "BayerGB10")
    assert shows(page, tool, "a.raw", "--format", "BayerGB10", "--size", SIZE)


def test_drop_then_sidecar_alone(page, tool):
    raw = tool.synth("a.raw", "Mono12p", SIZE, "--sidecar")
    page.drop([("a.raw", raw.read_bytes())])
    page.drop([("other.txt", raw.with_suffix(".txt").read_bytes())])
    assert page.setting("format") == "Mono12p"
    assert shows(page, tool, "a.raw", "--format", "Mono12p", "--size", SIZE)


def test_sidecar_first(page, tool):
    raw = tool.synth("a.raw", "RGB8", SIZE, "--sidecar")
    page.drop([("a.txt", raw.with_suffix(".txt").read_bytes())])
    assert page.message == "a.txt names RGB8 64x48. Drop the frame that it belongs to."
    page.drop([("a.raw", raw.read_bytes())])
    assert shows(page, tool, "a.raw", "--format", "RGB8", "--size", SIZE)


def test_rwh(page, tool):
    raw = tool.synth("a.raw", "BayerRG12", SIZE)
    tool("pack", "--format", "BayerRG12", "--size", SIZE, raw, "a.rwh")
    page.give(tool.folder / "a.rwh")
    assert (page.message, page.setting("format"), page.setting("offset")) == ("", "BayerRG12", 16)
    assert shows(page, tool, "a.raw", "--format", "BayerRG12", "--size", SIZE)


@pytest.mark.parametrize("name, size", [
    ("BayerRG8", "320x240"), ("BayerGB12p", "640x480"), ("YUV422_8_UYVY", "640x480"), ("RGB8", "320x240")])
@pytest.mark.parametrize("query", ["", "?worker=none"])
def test_guess(page, tool, name, size, query):
    """The page ranks as the tool does, with a worker and without, and shows the first layout."""
    page.open(query=query)
    raw = tool.synth("a.raw", name, size)
    page.give(raw)
    ranked = json.loads(tool("guess", "--json", "--most", "6", raw))
    found = page.run("return viewer.guesses.list")
    keys = ("format", "width", "height", "stride", "offset", "shift", "frames", "rest")
    assert [[guess[key] for key in keys] for guess in found] == [[guess[key] for key in keys] for guess in ranked]
    assert [page.setting(key) for key in keys[:6]] == [ranked[0][key] for key in keys[:6]]
    assert page.run("return document.querySelectorAll('#guesses canvas').length") == len(ranked)
    second = page.browser.find_elements("css selector", "#guesses button")[1]
    second.click()
    page.settle()
    assert [page.setting(key) for key in keys[:6]] == [ranked[1][key] for key in keys[:6]]
    assert second.get_attribute("aria-pressed") == "true"


def test_small_pictures(page, tool):
    """Each guess has one, in its own proportions; that of the true layout has the colours of the tool's picture."""
    raw = tool.synth("a.raw", "BayerRG8", "320x240")
    page.drop([("a.raw", raw.read_bytes())])
    assert page.setting("format") == "BayerRG8"
    pictures = page.run("""
        return [...document.querySelectorAll('#guesses canvas')].map((canvas, i) => {
            const {data} = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
            const mean = (channel) => data.filter((_, at) => at % 4 === channel).reduce((a, b) => a + b) / data.length * 4;
            const guess = viewer.guesses.list[i];
            return [canvas.width / canvas.height, guess.width / guess.height, [0, 1, 2].map(mean)];
        });
    """)
    assert len(pictures) == 6
    assert all(shape == pytest.approx(wanted, rel=0.05) for shape, wanted, _ in pictures)
    picture = tool.bgra("a.raw", "--format", "BayerRG8", "--size", "320x240", "--tone", "srgb")
    assert pictures[0][2] == pytest.approx(picture[:, :, 2::-1].mean(axis=(0, 1)), abs=2)


@pytest.mark.parametrize("name, shown", [
    ("a.raw", None), ("scene_BayerBG8_320x240.raw", "BayerBG8"), ("scene_BayerRG8_320x240.raw", "BayerRG8"),
    ("scene_bayerbg8.raw", "BayerBG8"), ("rggb-320x240-7.raw", "BayerRG8"), ("x_BayerBG12.raw", "BayerBG8")])
def test_name_of_the_file_chooses(page, tool, name, shown):
    """Statistics cannot tell red from blue; a name can. A depth that the bytes exclude does not count."""
    raw = tool.synth("a.raw", "BayerRG8", "320x240")
    page.drop([(name, raw.read_bytes())])
    guesses = page.run("return viewer.guesses.list.map((guess) => guess.format)")
    listed = page.run("return viewer.guesses.list[0].evidence.includes('The name of the file says so.')")
    assert listed == (shown is not None) and len(guesses) == 6
    assert page.setting("format") == guesses[0] == (shown or guesses[0])
    assert (page.setting("width"), page.setting("height")) == (320, 240)


@pytest.mark.parametrize("name", ["scene_Mono16_9999x7.raw", "320x2400.raw", "BayerRG8x.raw", "RGB8/a.raw", "mosaic.raw"])
def test_name_that_is_wrong(page, tool, name):
    """A name that the bytes contradict, or that says nothing, changes nothing."""
    raw = tool.synth("a.raw", "BayerRG8", "320x240")
    page.drop([("a.raw", raw.read_bytes())])
    alone = page.run("return viewer.guesses.list")
    page.run("viewer.sizes = null")
    page.drop([(name, raw.read_bytes())])
    assert page.run("return viewer.guesses.list") == alone
    assert page.text("guess-state") == "The likeliest first."


def test_many_files(page, tool):
    for name in ("b10.raw", "b9.raw"):
        tool.synth(name, "BayerRG8", SIZE, "--sidecar")
    tool.synth("c.raw", "Mono8", SIZE, "--sidecar")
    page.give(*tool.folder.iterdir())
    listed = page.run("return [...document.getElementById('file').options].map((o) => o.textContent)")
    assert listed == ["b9.raw", "b10.raw", "c.raw"]
    page.press("n")
    page.press("n")
    assert (page.run("return viewer.source.name"), page.setting("format")) == ("c.raw", "Mono8")
    page.press("N")
    assert (page.run("return viewer.source.name"), page.setting("format")) == ("b10.raw", "BayerRG8")


def test_next_file_of_the_same_length(page, tool):
    """It is shown in the layout before, settings included; one of another length is guessed."""
    tool.synth("a.raw", "BayerRG8", SIZE)
    (tool.folder / "b.raw").write_bytes((tool.folder / "a.raw").read_bytes())
    tool.synth("c.raw", "BayerRG8", "320x240")
    page.open(f"#format=BayerGB8&size={SIZE}&tone=srgb&zoom=3")
    page.give(*(tool.folder / name for name in ("a.raw", "b.raw", "c.raw")))
    page.press("n")
    assert page.run("return viewer.source.name") == "b.raw"
    assert [page.setting(key) for key in ("format", "tone", "zoom")] == ["BayerGB8", "srgb", 3]
    assert page.run("return viewer.guesses.list.length") == 0
    assert page.text("guess-state") == "The layout is that of the file before, which is as long."
    page.press("n")
    assert page.run("return viewer.source.name") == "c.raw"
    assert page.run("return viewer.guesses.list.length") > 0
    assert page.setting("zoom") == 0


def test_folder_and_pasted_names(page, tool):
    folder = tool.folder / "shots"
    (folder / "left").mkdir(parents=True)
    (folder / "right").mkdir()
    for name in ("left/f1.raw", "left/f2.raw", "right/f1.raw"):
        tool.synth(f"shots/{name}", "Mono8", SIZE, "--sidecar")
    page.paste(text="/data/right/f1.raw\r\n'left/f2.raw'\nfile:///data/left/f%31.raw\nabsent.raw\n")
    assert page.browser.find_element("id", "message-folder").is_displayed()
    assert "4 names pasted" in page.message and "choose or drop the folder" in page.message
    page.give(folder, into="folder-input")
    listed = page.run("return viewer.intake.entries.map((entry) => entry.path)")
    assert listed == ["shots/left/f1.raw", "shots/left/f2.raw", "shots/right/f1.raw"]
    assert not page.browser.find_element("id", "message-folder").is_displayed()
    assert page.message == "1 name not found in the folder: absent.raw"
    page.paste(text="right/f1.raw")
    assert page.run("return viewer.intake.entries.map((entry) => entry.path)") == ["shots/right/f1.raw"]
    assert (page.state, page.setting("format")) == ("ready", "Mono8")


def test_pasted_file(page, tool):
    raw = tool.synth("a.raw", "Mono8", SIZE, "--sidecar")
    page.paste(files=[("a.raw", raw.read_bytes()), ("a.txt", raw.with_suffix(".txt").read_bytes())])
    assert shows(page, tool, "a.raw", "--format", "Mono8", "--size", SIZE)


def test_file_of_many_gigabytes(page, tool):
    """Only slices are read: the frame in the middle of a sparse file of 6 GiB, and the same by its offset."""
    frame = tool.synth("one.raw", "BayerRG12", SIZE).read_bytes()
    number = 2 ** 32 // len(frame) + 7
    with open(tool.folder / "long.raw", "wb") as file:
        file.truncate(6 * 2 ** 30 // len(frame) * len(frame))
        file.seek(number * len(frame))
        file.write(frame)
    if os.stat(tool.folder / "long.raw").st_blocks * 512 > 2 ** 20:
        pytest.skip("the file system has no sparse files")
    page.open("#format=BayerRG12&size=64x48")
    page.give(tool.folder / "long.raw")
    page.set(frame=number)
    assert shows(page, tool, "one.raw", "--format", "BayerRG12", "--size", SIZE)
    page.point_at(0, 0)
    assert page.text("pixel-byte").startswith(hex(number * len(frame)))
    page.set(frame=0, offset=number * len(frame))
    assert shows(page, tool, "one.raw", "--format", "BayerRG12", "--size", SIZE)


def test_padded_rows_and_foreign_header(page, tool):
    raw = tool.synth("a.raw", "BayerGR8", SIZE).read_bytes()
    padded = b"".join(raw[y * 64:y * 64 + 64] + bytes(36) for y in range(48))[:-36]
    (tool.folder / "b.raw").write_bytes(b"header!" + padded)
    page.give(tool.folder / "b.raw")
    for element, value in (("width", 64), ("height", 48), ("stride", 100), ("offset", 7)):
        page.fill(element, value)
    page.set(format="BayerGR8")
    assert page.text("fit") == "1 frame of 4 800 bytes, the file fits"
    assert shows(page, tool, "a.raw", "--format", "BayerGR8", "--size", SIZE)


def test_shifted_samples(page, tool):
    raw = np.frombuffer(tool.synth("a.raw", "Mono10", SIZE).read_bytes(), np.uint16)
    (tool.folder / "high.raw").write_bytes((raw << 6).tobytes())
    page.open("#format=Mono10&size=64x48&shift=6")
    page.give(tool.folder / "high.raw")
    assert shows(page, tool, "a.raw", "--format", "Mono10", "--size", SIZE)


def test_frames_and_playing(page, tool):
    raw = tool.synth("seq.raw", "Mono8", SIZE, "--frames", "5", "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    assert page.text("frame-text") == "frame 0 of 0 to 4"
    page.press(".")
    page.press(".")
    page.press(",")
    assert page.setting("frame") == 1
    page.run("document.getElementById('frame').value = '3'; "
             "document.getElementById('frame').dispatchEvent(new Event('input'))")
    page.settle()
    assert shows(page, tool, "seq.raw", "--format", "Mono8", "--size", SIZE, "--frame", "3")
    page.press(" ")
    page.until(lambda _: page.setting("frame") == 4)
    page.until(lambda _: page.setting("frame") == 1)
    page.press(" ")
    assert page.run("return viewer.player.on") is False
    page.settle()


def test_served_page(browser, page, tool, server):
    address, paths = server
    page.open(address=address)
    raw = tool.synth("a.raw", "Mono8", SIZE, "--sidecar")
    page.give(raw, raw.with_suffix(".txt"))
    assert shows(page, tool, "a.raw", "--format", "Mono8", "--size", SIZE)
    assert paths == ["/viewer.html"]
    browser.get_log("performance")


def test_policy_refuses_the_network(page, server):
    """The page's own policy stops what would leave it, whichever way."""
    address, paths = server
    page.browser.set_script_timeout(20)
    page.browser.execute_async_script("""
        const [address, done] = arguments;
        const image = new Image();
        image.src = address + '?image';
        const tag = document.createElement('script');
        tag.textContent = 'window.ran = true';
        document.body.append(tag);
        const frame = document.createElement('iframe');
        frame.src = address + '?frame';
        document.body.append(frame);
        navigator.sendBeacon?.(address + '?beacon');
        try { new WebSocket(address.replace('http', 'ws')); } catch { /* refused */ }
        fetch(address + '?fetch').catch(() => setTimeout(done));
    """, address)
    page.until(lambda _: len(page.run("return refused")) >= 5)
    directives = {entry.split()[0] for entry in page.run("return refused")}
    assert directives >= {"img-src", "script-src-elem", "frame-src", "connect-src"}
    assert page.run("return window.ran") is None
    assert paths == []
    page.browser.get_log("performance")
    page.browser.get_log("browser")
    page.run("refused.length = 0")
