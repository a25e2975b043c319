# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# The page itself: the address, keys, measurements, white balance, zoom, themes, names and contrast for everybody.
import base64

import numpy as np
import pytest
from conftest import picture_of_png
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

SIZE = "64x48"


def show(page, tool, name="BayerRG8", size=SIZE, *options):
    raw = tool.synth("a.raw", name, size, "--sidecar", *options)
    page.give(raw, raw.with_suffix(".txt"))
    assert page.state == "ready"
    return raw


# ---- address

SETTINGS = {"format": "BayerGB12", "width": 64, "height": 48, "stride": 130, "offset": 12, "shift": 3, "frame": 1,
            "mode": "acpi", "view": "modes", "balance": [1.5, 1, 2.25], "black": 17, "exposure": 1.25, "tone": "2.4",
            "zoom": 6, "x": 10, "y": 20, "scale": "log", "theme": "light", "fps": 25}


def test_address_round_trip(page, tool):
    (tool.folder / "a.raw").write_bytes(bytes(range(256)) * 60)
    page.open("#format=BayerGB12&size=64x48")
    page.give(tool.folder / "a.raw")
    page.set(**SETTINGS)
    page.until(lambda browser: "fps=25" in browser.current_url)
    address = page.browser.current_url
    assert address.split("#")[1] == ("format=BayerGB12&size=64x48&stride=130&offset=12&shift=3&frame=1&mode=acpi"
                                     "&view=modes&balance=1.5,1,2.25&black=17&exposure=1.25&tone=2.4&zoom=6&at=10,20"
                                     "&scale=log&theme=light&fps=25")
    shown = page.canvas(1)
    page.open("#" + address.split("#")[1])
    page.give(tool.folder / "a.raw")
    assert {key: page.setting(key) for key in SETTINGS} == SETTINGS
    assert np.array_equal(page.canvas(1), shown)


def test_address_edited_by_hand(page, tool):
    show(page, tool)
    page.run("location.hash = 'format=BayerBG8&size=64x48&mode=grey'")
    page.until(lambda _: page.setting("format") == "BayerBG8")
    page.settle()
    assert (page.setting("mode"), page.state) == ("grey", "ready")


# ---- keys

@pytest.mark.parametrize("keys, changes", [
    ("]", {"width": 65}), ("[", {"width": 63}), ("}", {"width": 80}), ("{", {"width": 48}), (">", {"offset": 1}),
    (">><", {"offset": 1}), ("x", {"format": "BayerGB8"}), ("xxxx", {"format": "BayerRG8"}),
    (";", {"height": 47}), ("'", {"height": 49}), (")", {"stride": 65}), ("))(", {"stride": 65}),
    ("m", {"mode": "acpi"}), ("mm", {"mode": "grey"}), ("v", {"view": "modes"}), ("p", {"view": "phases"}),
    ("pp", {"view": "single"}), ("b", {"view": "modes"}), ("1", {"zoom": 1}), ("2", {"zoom": 48}),
    ("1+", {"zoom": 2}), ("1-", {"zoom": 2 / 3}), ("20", {"zoom": 0}), ("2f", {"zoom": 0}), ("i", {"tone": "linear"}),
    ("ii", {"tone": "srgb"}), ("iir", {"tone": "none"}), ("l", {"scale": "log"}), ("d", {"theme": "light"}),
    ("dd", {"theme": "dark"}), ("ddd", {"theme": "auto"}),
    (Keys.END, {"frame": 2}), (Keys.END + Keys.HOME, {"frame": 0}), (Keys.PAGE_DOWN, {"frame": 1}),
    ("..,", {"frame": 1}), (Keys.END + Keys.PAGE_UP, {"frame": 1}),
])
def test_keys_change_settings(page, tool, keys, changes):
    show(page, tool, "BayerRG8", SIZE, "--frames", "3")
    for key in keys:
        page.press(key)
    assert {name: page.setting(name) for name in changes} == pytest.approx(changes) if "zoom" in changes else \
        {name: page.setting(name) for name in changes} == changes


@pytest.mark.parametrize("key, element", [("e", "format"), ("a", "gain-r"), ("j", "black")])
def test_keys_lead_to_fields(page, tool, key, element):
    show(page, tool)
    page.press(key)
    assert page.run("return document.activeElement.id") == element


def test_range_key(page, tool):
    show(page, tool, "YUV422_8")
    page.press("q")
    assert page.setting("range") == "limited"


def test_every_key_is_on_the_sheet(page):
    page.press("?")
    assert page.run("return document.getElementById('help').open")
    listed = page.run("return document.querySelectorAll('#help-keys dt').length")
    assert listed >= 40
    page.press(Keys.ESCAPE)
    assert not page.run("return document.getElementById('help').open")


def test_keys_type_in_fields(page, tool):
    """Letters and digits that are typed into a field are no commands."""
    show(page, tool)
    page.fill("black", "12")
    assert (page.setting("black"), page.setting("zoom")) == (12, 0)


def test_keys_of_the_browser_stay_its_own(page, tool):
    show(page, tool)
    for modifier in (Keys.CONTROL, Keys.ALT, Keys.META):
        ActionChains(page.browser).key_down(modifier).send_keys("m").key_up(modifier).perform()
        page.settle()
    assert page.setting("mode") == "bilinear"


def test_reading_by_keyboard(page, tool):
    raw = show(page, tool)
    page.run("document.getElementById('picture').focus()")
    for key in (Keys.ARROW_RIGHT, Keys.ARROW_DOWN, Keys.ARROW_DOWN, Keys.ARROW_LEFT):
        page.press(key)
    x, y = map(int, page.text("pixel-at").split(","))
    assert (x, y) == (31, 26)
    sample = raw.read_bytes()[y * 64 + x]
    assert page.text("reading").startswith(f"{x}, {y}: Gr {sample}; red ")


def test_tab_reaches_every_control(page, tool):
    show(page, tool, "BayerRG8", SIZE, "--frames", "2")
    wanted = set(page.run("""
        return [...document.querySelectorAll('button, input, select, [tabindex="0"]')]
            .filter((e) => !e.disabled && e.tabIndex >= 0 && e.getClientRects().length > 0 && !e.closest('dialog'))
            .map((e, i) => (e.dataset.number = String(i)));
    """))
    page.run("document.activeElement.blur()")
    reached = set()
    for _ in range(len(wanted) + 5):
        page.press(Keys.TAB)
        reached.add(page.run("return document.activeElement.dataset.number ?? ''"))
    assert wanted - reached == set()


def test_controls_have_names(page, tool):
    show(page, tool)
    for control in page.browser.find_elements("css selector", "button, input, select, canvas[tabindex], [role=img]"):
        if control.is_displayed():
            assert control.accessible_name.strip(), control.get_attribute("outerHTML")


def test_order_of_focus(page, tool):
    """In a narrow window the picture comes first, for the Tab key too."""
    show(page, tool)
    size = {"deviceScaleFactor": 1, "mobile": False, "height": 900}
    try:
        page.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": 500, **size})
        page.until(lambda _: page.run("return innerWidth") == 500)
        page.run("document.getElementById('help-open').focus()")
        tops = []
        for _ in range(25):
            page.press(Keys.TAB)
            tops.append(page.run("""
                const own = document.activeElement.closest('.middle, .left, .right');
                return own ? own.getBoundingClientRect().top + scrollY : -1;
            """))
        assert tops == sorted(tops) and len(set(tops)) >= 2
    finally:
        page.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": 1440, **size})


def test_targets_can_be_hit(page, tool):
    """What is clicked on is 24 pixels high, or has as much room around it."""
    page.drop([("a.raw", tool.synth("a.raw", "BayerRG8", "320x240").read_bytes())])
    heights = page.run("return [...document.querySelectorAll('#guesses summary')].map((e) => e.offsetHeight)")
    assert len(heights) == 6 and min(heights) >= 24


# ---- measurements

@pytest.mark.parametrize("name", ["Mono8", "BayerGB10", "BGR12", "YUV422_8_UYVY", "YUV411_8_UYYVYY", "BayerRG12p"])
def test_statistics(page, tool, name):
    raw = show(page, tool, name)
    options = ("--format", name, "--size", SIZE)
    wide = name not in ("Mono8", "YUV422_8_UYVY", "YUV411_8_UYYVYY")
    words = np.frombuffer(tool.samples(raw.name, *options), np.uint16 if wide else np.uint8)
    grid = words[:64 * 48].reshape(48, 64)
    channels = {
        "Mono8": {"Grey": words},
        "BayerGB10": {"R": grid[1::2, ::2], "Gr": grid[1::2, 1::2], "Gb": grid[::2, ::2], "B": grid[::2, 1::2]},
        "BayerRG12p": {"R": grid[::2, ::2], "Gr": grid[::2, 1::2], "Gb": grid[1::2, ::2], "B": grid[1::2, 1::2]},
        "BGR12": {"R": words[2::3], "G": words[1::3], "B": words[::3]},
        "YUV422_8_UYVY": {"Y": words[1::2], "U": words[::4], "V": words[2::4]},
        "YUV411_8_UYYVYY": {"Y": words.reshape(-1, 6)[:, [1, 2, 4, 5]], "U": words[::6], "V": words[3::6]},
    }[name]
    depth = {"BayerGB10": 10, "BGR12": 12, "BayerRG12p": 12}.get(name, 8)
    expected = {channel: {"min": str(values.min()), "mean": f"{values.mean():.1f}", "max": str(values.max()),
                          "clipped": str((values == 2 ** depth - 1).sum()), "over": "0"}
                for channel, values in channels.items()}
    assert page.statistics() == expected


def test_statistics_follow_the_frame(page, tool):
    """Counts and what is below the pointer are those of the frame shown, behind a header."""
    frames = np.arange(3 * 64 * 48, dtype=np.uint16).reshape(3, -1) % 251 + np.array([[0], [1], [4]], np.uint16)
    (tool.folder / "a.raw").write_bytes(b"HEAD" + frames.astype(np.uint8).tobytes())
    page.open(f"#format=Mono8&size={SIZE}&offset=4&zoom=8")
    page.give(tool.folder / "a.raw")
    for number in (2, 0, 1):
        page.set(frame=number)
        page.point_at(11, 7)
        values = frames[number].astype(np.uint8)
        assert page.statistics()["Grey"]["mean"] == f"{values.mean():.1f}"
        assert page.text("pixel-samples") == f"Grey{values[7 * 64 + 11]}"
        assert page.text("pixel-byte").startswith(hex(4 + number * 64 * 48 + 7 * 64 + 11) + " ")


def test_samples_above_the_depth(page, tool):
    samples = np.arange(64 * 48, dtype=np.uint16) % 1500
    (tool.folder / "a.raw").write_bytes(samples.tobytes())
    page.open(f"#format=Mono10&size={SIZE}")
    page.give(tool.folder / "a.raw")
    figures = page.statistics()["Grey"]
    assert figures["over"] == str((samples > 1023).sum())
    assert figures["clipped"] == str((samples == 1023).sum())
    assert figures["max"] == "1499"


def grey_card(tool):
    """A mosaic of a scene with a card in the middle that a camera sees as 100, 200, 50 over a black level of 10."""
    frame = np.full((48, 64), 30, np.uint8)
    frame[16:32:2, 16:48:2], frame[17:32:2, 17:48:2] = 110, 60
    frame[16:32:2, 17:48:2] = frame[17:32:2, 16:48:2] = 210
    (tool.folder / "card.raw").write_bytes(frame.tobytes())
    return tool.folder / "card.raw"


@pytest.mark.parametrize("how", ["mouse", "keyboard"])
def test_picking_grey(page, tool, how):
    page.open(f"#format=BayerRG8&size={SIZE}&zoom=8&black=10")
    page.give(grey_card(tool))
    if how == "mouse":
        page.click("balance-pick")
        page.point_at(32, 24, click=True)
    else:
        page.point_at(32, 24)
        page.run("document.getElementById('picture').focus()")
        page.press("k")
        page.press(Keys.ENTER)
    assert page.setting("balance") == [2, 1, 4]
    assert page.run("return document.getElementById('balance-pick').getAttribute('aria-pressed')") == "false"
    page.point_at(32, 24)
    assert page.text("pixel-colour").count("200") + page.text("pixel-colour").count("208") == 3


def test_automatic_white_balance(page, tool):
    raw = show(page, tool, "BayerRG8")
    page.press("w")
    gains = page.setting("balance")
    frame = np.frombuffer(raw.read_bytes(), np.uint8).reshape(48, 64).astype(int)
    cells = [frame[::2, ::2], frame[::2, 1::2], frame[1::2, ::2], frame[1::2, 1::2]]
    used = np.maximum.reduce(cells) < 255 - (255 >> 6)
    red, green, blue = cells[0][used].sum(), (cells[1][used].sum() + cells[2][used].sum()) // 2, cells[3][used].sum()
    largest = max(red, green, blue)
    assert gains == pytest.approx([largest / red, largest / green, largest / blue], abs=2e-4)


@pytest.mark.parametrize("name, balanced", [("BayerGR10p", True), ("RGB8", True), ("Mono12", False)])
def test_natural_look(page, tool, name, balanced):
    raw = show(page, tool, name)
    page.click("levels-natural")
    assert (page.setting("tone"), page.setting("balance") is not None) == ("srgb", balanced)
    page.set(zoom=1)
    gains = ",".join(map(str, page.setting("balance") or [1, 1, 1]))
    expected = tool.bgra(raw.name, "--format", name, "--size", SIZE, "--tone", "srgb", "--white-balance", gains)
    assert np.array_equal(page.canvas(), expected[:, :, 2::-1])
    page.click("levels-reset")
    assert (page.setting("tone"), page.setting("balance")) == ("none", None)


# ---- zoom and moving

def test_wheel_keeps_the_pixel_below_the_mouse(page, tool):
    show(page, tool, "BayerRG8", "640x480")
    page.set(zoom=1, x=320, y=240)
    page.point_at(400, 300)
    for delta in (-100, -100, -100, 100):
        page.run("""
            const box = viewer.stage.canvas.getBoundingClientRect();
            const {left, top} = viewer.stage.corner(viewer.stage.rects()[0]);
            const at = (place, pixel) => (place + (pixel + 0.5) * viewer.stage.zoom) / viewer.stage.ratio;
            viewer.stage.canvas.dispatchEvent(new WheelEvent('wheel', {deltaY: arguments[0], bubbles: true,
                cancelable: true, clientX: box.left + at(left, 400), clientY: box.top + at(top, 300)}));
        """, delta)
        page.settle()
        page.point_at(400, 300)
        assert page.text("pixel-at") == "400, 300"
    assert page.setting("zoom") == 3


@pytest.mark.parametrize("view, setting, values", [("phases", "format", ["BayerGR8", "BayerRG8", "BayerGB8", "BayerBG8"]),
                                                   ("modes", "mode", ["bilinear", "acpi"])])
def test_clicking_on_a_pane_takes_it(page, tool, view, setting, values):
    show(page, tool, "BayerRG8", "320x240")
    page.set(view=view)
    canvas = page.browser.find_element("id", "picture")
    for pane, value in reversed([*enumerate(values)]):
        x, y = page.run("""
            const rect = viewer.stage.rects()[arguments[0]];
            const {width, height} = viewer.stage.canvas;
            return [rect.x + rect.width / 2 - width / 2, rect.y + rect.height / 2 - height / 2];
        """, pane)
        ActionChains(page.browser).move_to_element_with_offset(canvas, round(x), round(y)).click().perform()
        page.settle()
        assert page.setting(setting) == value


def test_dragging(page, tool):
    show(page, tool, "BayerRG8", "640x480")
    page.set(zoom=4, x=320, y=240)
    canvas = page.browser.find_element("id", "picture")
    ActionChains(page.browser).move_to_element(canvas).click_and_hold().move_by_offset(80, -40).release().perform()
    page.settle()
    assert (page.setting("x"), page.setting("y")) == (300, 250)


def test_samples_are_written_into_large_pixels(page, tool):
    """Nothing lies over the picture at 1:1, a grid from some enlargement on, then writing inside of each pixel."""
    show(page, tool)
    drawn = """const canvas = document.getElementById('overlay');
        const {left, top} = viewer.stage.corner(viewer.stage.rects()[0]);
        const zoom = viewer.stage.zoom;
        const inside = Math.floor(zoom / 2);
        const at = (x, y, size) => [...canvas.getContext('2d').getImageData(x, y, size, size).data]
            .filter((value, i) => i % 4 === 3 && value > 0).length;
        const [x, y] = [left + 32 * zoom, top + 24 * zoom];
        return [at(x - 1, y - 1, 3), at(x + Math.floor(zoom / 4), y + Math.floor(zoom / 4), Math.max(1, inside))];"""
    page.set(zoom=1, x=32, y=24)
    assert page.run(drawn) == [0, 0]
    page.set(zoom=24)
    grid, inside = page.run(drawn)
    assert grid > 0 and inside == 0
    page.set(zoom=48)
    grid, inside = page.run(drawn)
    assert grid > 0 and inside > 30


def ruler(page, x, y, width, height):
    """How many pixels of an area over the picture are as bright as a ruler's numbers."""
    return page.run("""
        const {data} = document.getElementById('overlay').getContext('2d').getImageData(...arguments);
        return data.filter((value, i) => i % 4 === 1 && value > 200 && data[i + 2] === 255).length;
    """, x, y, width, height)


def test_rulers(page, tool):
    """Numbers of columns and rows beside enlarged pixels: outside of a picture that leaves room, else at the edges."""
    show(page, tool, "Mono8", "8x6")
    corner = "const {left, top} = viewer.stage.corner(viewer.stage.rects()[0]); return [left, top];"
    for zoom, shown in ((24, False), (32, True), (64, True)):
        page.set(zoom=zoom)
        left, top = page.run(corner)
        for column in range(8):
            assert (ruler(page, left + column * zoom, top - 15, zoom, 15) > 0) == shown
        for row in range(6):
            assert (ruler(page, left - 14, top + row * zoom, 14, zoom) > 0) == shown
    page.set(zoom=256, x=4, y=3)
    left, top = page.run(corner)
    assert left < 0 and top < 0
    assert ruler(page, 14, 0, page.run("return viewer.stage.canvas.width") - 14, 15) > 20
    assert ruler(page, 0, 15, 14, page.run("return viewer.stage.canvas.height") - 15) > 10


def test_labels_stay_clear_of_rulers(page, tool):
    show(page, tool, "BayerRG8", "640x480")
    place = "const l = document.querySelector('#labels span'); return [l.offsetLeft, l.offsetTop];"
    page.set(view="phases", zoom=16)
    assert page.run(place) == [8, 8]
    page.set(zoom=32)
    left, top = page.run(place)
    assert left > 8 + 20 and top == 8 + 15


# ---- looks

@pytest.mark.parametrize("theme", ["light", "dark"])
@pytest.mark.parametrize("state", ["empty", "frame", "wrong"])
def test_contrast(page, tool, theme, state):
    """Text that can be read by everybody: a contrast of at least 4.5 to 1, in every state and both themes."""
    page.open(f"#theme={theme}")
    if state != "empty":
        show(page, tool)
        page.set(theme=theme)
    if state == "wrong":
        page.set(height=4000)
        page.press("s")
        assert page.message != ""
    poor = page.run("""
        const luminance = ([r, g, b]) => [r, g, b].map((c) => (c /= 255, c <= 0.03928 ? c / 12.92
            : ((c + 0.055) / 1.055) ** 2.4)).reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0);
        const parse = (text) => text.match(/[\\d.]+/g).map(Number);
        const groundOf = (element) => {
            for (let e = element; e; e = e.parentElement) {
                const colour = parse(getComputedStyle(e).backgroundColor);
                if ((colour[3] ?? 1) === 1) return colour;
            }
            return [255, 255, 255];
        };
        const poor = [];
        for (const element of document.querySelectorAll('body *')) {
            const own = [...element.childNodes].some((n) => n.nodeType === 3 && n.textContent.trim() !== '');
            const disabled = element.closest(':disabled') !== null || element.closest('dialog:not([open])');
            if (!own || disabled || element.getClientRects().length === 0 || element.closest('.unseen, .skip')) continue;
            if (element.closest('option, optgroup')) continue;
            const [a, b] = [parse(getComputedStyle(element).color), groundOf(element)].map(luminance);
            const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
            if (contrast < 4.5) {
                poor.push(`${element.tagName} ${element.className} '${element.textContent}': ${contrast.toFixed(2)}`);
            }
        }
        return poor;
    """)
    assert poor == []


@pytest.mark.parametrize("theme", ["light", "dark"])
def test_screenshot(page, tool, theme):
    """What the screen shows where the picture lies is the tool's picture, to a level or two; around it the theme."""
    show(page, tool, "BayerRG8", "320x240")
    page.set(theme=theme, zoom=2, x=160, y=120)
    page.point_at(0, 0)
    page.run("viewer.look(null)")
    shot = base64.b64decode(page.browser.get_screenshot_as_base64())
    pixels = picture_of_png(shot)[:, :, :3].astype(int)
    left, top = page.run("""
        const box = viewer.stage.canvas.getBoundingClientRect();
        const corner = viewer.stage.corner(viewer.stage.rects()[0]);
        return [box.left + corner.left, box.top + corner.top];
    """)
    assert (left, top) == (int(left), int(top))
    left, top = int(left), int(top)
    expected = tool.bgra("a.raw", "--format", "BayerRG8", "--size", "320x240")[:, :, 2::-1].astype(int)
    expected = expected.repeat(2, axis=0).repeat(2, axis=1)
    assert np.abs(pixels[top:top + 480, left:left + 640] - expected).max() <= 2
    ground = pixels[top - 3, left]
    assert (ground.mean() > 128) == (theme == "light")


@pytest.mark.parametrize("width, height", [(1920, 1080), (1000, 700), (700, 1000), (390, 844)])
def test_windows_of_any_width(page, tool, width, height):
    """Nothing is wider than the window, and the picture stays in it."""
    show(page, tool)
    size = {"deviceScaleFactor": 1, "mobile": False}
    page.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": width, "height": height, **size})
    try:
        page.until(lambda _: page.run("return innerWidth") == width)
        page.settle()
        assert page.run("return document.documentElement.scrollWidth") <= width
        box = page.run("const b = viewer.stage.canvas.getBoundingClientRect(); return [b.width, b.height, b.top]")
        assert box[0] >= min(width, 300) and box[1] >= 160 and box[2] < height / 2
        assert page.run("return document.getElementById('frame').clientWidth") >= 120
        # The histogram is drawn for the width that it has.
        assert page.run("const h = document.getElementById('histogram'); return h.width === h.clientWidth")
    finally:
        page.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": 1440, "height": 900, **size})
