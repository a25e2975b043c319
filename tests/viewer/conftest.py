# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# A browser without a window for the tests of the page, and the native tool beside it. Tests wait for what the page
# announces in the attributes of its root element, never for a time.
import base64
import http.server
import json
import os
import pathlib
import shutil
import struct
import subprocess
import threading
import zlib

import numpy as np
import pytest
from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.support.ui import WebDriverWait

PAGE = pathlib.Path(os.environ["VEXACAMUTL_VIEWER"])
TOOL = os.environ["VEXACAMUTL_TOOL"]
LONGEST_WAIT = 60

# Before any script of the page: what its policy refuses is noted down.
WATCH = """
window.refused = [];
addEventListener('securitypolicyviolation', (event) => refused.push(event.effectiveDirective + ' ' + event.blockedURI));
"""


class Tool:
    """The native tool in the test's own folder."""

    def __init__(self, folder):
        self.folder = folder

    def __call__(self, *arguments):
        done = subprocess.run([TOOL, *map(str, arguments)], cwd=self.folder, capture_output=True, check=False)
        assert done.returncode == 0, done.stderr.decode()
        return done.stdout

    def synth(self, name, pixel_format, size, *options):
        self("synth", "--quiet", "--format", pixel_format, "--size", size, *options, name)
        return self.folder / name

    def bgra(self, name, *options):
        """The picture that the tool makes of a raw file, (height, width, 4)."""
        size = options[options.index("--size") + 1]
        width, height = map(int, size.split("x"))
        self("convert", *options, name, "expected.bgra")
        pixels = (self.folder / "expected.bgra").read_bytes()
        return np.frombuffer(pixels, np.uint8).reshape(height, width, 4)

    def samples(self, name, *options):
        """The samples of a raw file as words, unpacked by the tool."""
        self("unpack", *options, name, "unpacked.raw")
        return (self.folder / "unpacked.raw").read_bytes()


class Page:
    """The viewer in the browser."""

    def __init__(self, browser, downloads):
        self.browser = browser
        self.downloads = downloads

    def open(self, fragment="", query="", address=None):
        self.browser.get("about:blank")
        self.browser.get((address or PAGE.as_uri()) + query + fragment)
        self.settle()

    def run(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def until(self, condition):
        return WebDriverWait(self.browser, LONGEST_WAIT, 0.02).until(condition)

    def settle(self):
        self.until(lambda _: self.run("return document.documentElement.dataset.settled") == "yes")

    @property
    def state(self):
        return self.run("return document.documentElement.dataset.state")

    def give(self, *paths, into="file-input"):
        self.browser.find_element("id", into).send_keys("\n".join(map(str, paths)))
        self.settle()

    def drop(self, files, target="stage", text=None):
        """Dispatches a drop of [(name, bytes)] as a file manager would."""
        self.transfer("drop", "DragEvent", "dataTransfer", files, target, text)

    def paste(self, files=(), text=None):
        self.transfer("paste", "ClipboardEvent", "clipboardData", files, "picture", text)

    def transfer(self, event, kind, field, files, target, text):
        coded = [[name, base64.b64encode(content).decode()] for name, content in files]
        self.run("""
            const [event, kind, field, files, target, text] = arguments;
            const transfer = new DataTransfer();
            for (const [name, content] of files) {
                transfer.items.add(new File([Uint8Array.from(atob(content), (c) => c.charCodeAt(0))], name));
            }
            if (text !== null) transfer.setData('text/plain', text);
            const options = {bubbles: true, cancelable: true, [field]: transfer};
            document.getElementById(target).dispatchEvent(new window[kind](event, options));
        """, event, kind, field, coded, target, text)
        self.settle()

    def set(self, **settings):
        self.run("viewer.set(arguments[0])", settings)
        self.settle()

    def setting(self, name):
        return self.run("return viewer.settings[arguments[0]]", name)

    def text(self, element):
        """What an element says, with plain spaces."""
        said = self.run("return document.getElementById(arguments[0]).textContent", element)
        return said.replace("\u202f", " ").replace("\u00a0", " ").strip()

    @property
    def message(self):
        hidden = self.run("return document.getElementById('message').hidden")
        return "" if hidden else self.text("message-text")

    def fill(self, element, text):
        """Types into a field as a person would."""
        field = self.browser.find_element("id", element)
        field.clear()
        field.send_keys(str(text))
        self.settle()

    def click(self, element):
        self.browser.find_element("id", element).click()
        self.settle()

    def press(self, keys):
        ActionChains(self.browser).send_keys(keys).perform()
        self.settle()

    def canvas(self, pane=0):
        """The picture of a pane as it is on the screen at 1:1, (height, width, 3) of red, green, blue."""
        got = self.run("""
            viewer.stage.draw();
            const {width, height, bytes} = viewer.stage.painter.read();
            const rect = viewer.stage.rects()[arguments[0]];
            const {left, top} = viewer.stage.corner(rect);
            const size = viewer.stage.size;
            const zoom = viewer.stage.zoom;
            let text = '';
            for (let y = 0; y < size.height * zoom; ++y) {
                const start = ((top + y) * width + left) * 4;
                text += String.fromCharCode(...bytes.subarray(start, start + size.width * zoom * 4));
            }
            return [size.width * zoom, size.height * zoom, btoa(text)];
        """, pane)
        pixels = np.frombuffer(base64.b64decode(got[2]), np.uint8)
        return pixels.reshape(got[1], got[0], 4)[:, :, :3]

    def point_at(self, x, y, click=False):
        """Moves the mouse to a pixel of the first pane."""
        at = self.run("""
            const box = viewer.stage.canvas.getBoundingClientRect();
            const {left, top} = viewer.stage.corner(viewer.stage.rects()[0]);
            const {zoom, ratio} = viewer.stage;
            return [(left + (arguments[0] + 0.5) * zoom) / ratio - box.width / 2,
                    (top + (arguments[1] + 0.5) * zoom) / ratio - box.height / 2];
        """, x, y)
        canvas = self.browser.find_element("id", "picture")
        chain = ActionChains(self.browser).move_to_element_with_offset(canvas, *(round(v) for v in at))
        (chain.click() if click else chain).perform()
        self.settle()

    def saved(self, name):
        """A file that the page has handed to the browser, as bytes."""
        path = self.downloads / name
        self.until(lambda _: path.exists())
        return path.read_bytes()

    def statistics(self):
        """{channel: {figure: text}} of the table."""
        return self.run("""
            return Object.fromEntries([...document.querySelectorAll('#statistics tr')].map((row) => [row.dataset.channel,
                Object.fromEntries([...row.querySelectorAll('td')].map((cell) =>
                    [cell.dataset.figure, cell.textContent.replace(/\\s/g, '')]))]));
        """)


def picture_of_png(data):
    """A PNG of 8 bits, grey, RGB or RGBA, as (height, width, channels)."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, packed = 8, b""
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        content = data[at + 8:at + 8 + length]
        assert zlib.crc32(kind + content) == struct.unpack(">I", data[at + 8 + length:at + 12 + length])[0]
        if kind == b"IHDR":
            width, height, bits, colour = struct.unpack(">IIBB", content[:10])
        packed += content if kind == b"IDAT" else b""
        at += 12 + length
    channels = {0: 1, 2: 3, 6: 4}[colour]
    assert bits == 8
    rows = np.frombuffer(zlib.decompress(packed), np.uint8).reshape(height, 1 + width * channels)
    picture = np.zeros((height, width * channels), np.uint8)
    for y, row in enumerate(rows):
        picture[y] = unfiltered(int(row[0]), row[1:], picture[y - 1] if y else np.zeros_like(picture[0]), channels)
    return picture.reshape(height, width, channels)


def unfiltered(kind, row, above, channels):
    if kind == 2:
        return row + above
    line = bytearray(row)
    for i, value in enumerate(line):
        left = line[i - channels] if i >= channels else 0
        corner = int(above[i - channels]) if i >= channels else 0
        up = int(above[i])
        nearest = min((left, up, corner), key=lambda v: abs(left + up - corner - v))
        line[i] = (value + {0: 0, 1: left, 3: (left + up) // 2, 4: nearest}[kind]) & 255
    return np.frombuffer(bytes(line), np.uint8)


@pytest.fixture(scope="session")
def downloads(tmp_path_factory):
    return tmp_path_factory.mktemp("downloads")


def start_browser(downloads):
    options = Options()
    for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--force-color-profile=srgb",
                     "--force-device-scale-factor=1", "--window-size=1440,1000", "--enable-unsafe-swiftshader",
                     "--force-prefers-reduced-motion"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    driver.set_script_timeout(LONGEST_WAIT)
    size = {"width": 1440, "height": 900, "deviceScaleFactor": 1, "mobile": False}
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", size)
    driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": WATCH})
    driver.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": str(downloads)})
    return driver


@pytest.fixture(scope="session")
def browser(downloads):
    if not shutil.which("chromium") or not shutil.which("chromedriver"):
        pytest.skip("chromium and chromium-driver are not installed")
    driver = start_browser(downloads)
    yield driver
    driver.quit()


@pytest.fixture
def page(browser, downloads):
    """A fresh page; afterwards nothing may have been refused by the policy and no script may have failed."""
    for path in downloads.iterdir():
        path.unlink()
    browser.get_log("browser")
    browser.get_log("performance")
    opened = Page(browser, downloads)
    opened.open()
    yield opened
    assert opened.run("return refused") == []
    errors = [entry["message"] for entry in browser.get_log("browser") if entry["level"] == "SEVERE"]
    assert errors == []
    addresses = [event["params"]["request"]["url"] for event in events_of(browser)
                 if event["method"] == "Network.requestWillBeSent"]
    assert all(address.startswith(("file:", "blob:", "data:")) for address in addresses), addresses


def events_of(browser):
    return [json.loads(entry["message"])["message"] for entry in browser.get_log("performance")]


@pytest.fixture
def tool(tmp_path):
    return Tool(tmp_path)


@pytest.fixture
def server():
    """The page from a web server of this machine: its address, and the paths that were asked for."""
    paths = []

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            paths.append(self.path)
            content = PAGE.read_bytes() if self.path == "/viewer.html" else b""
            self.send_response(200 if content else 404)
            self.send_header("Content-Type", "text/html")
            self.send_header("Content-Length", str(len(content)))
            self.end_headers()
            self.wfile.write(content)

        def log_message(self, *_):
            pass

    running = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    threading.Thread(target=running.serve_forever, daemon=True).start()
    yield f"http://127.0.0.1:{running.server_port}/viewer.html", paths
    running.shutdown()
