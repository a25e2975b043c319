# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Whose code the page holds: what the linker took into the engine and what the bundler took into the script, against
# the licences that the help sheet shows.
import json
import os
import pathlib
import subprocess
import sys

import pytest

VIEWER = pathlib.Path(__file__).resolve().parents[2] / "viewer"
sys.path.insert(0, str(VIEWER))
import licences  # noqa: E402

LINKED = pathlib.Path(os.environ["VEXACAMUTL_ENGINE_LINKED"])
ENGINE = pathlib.Path(os.environ["VEXACAMUTL_ENGINE"])


def assemble(linked, output):
    return subprocess.run([VIEWER / "assemble.py", ENGINE, linked, output], capture_output=True, text=True, check=False)


def test_every_linked_archive_is_listed():
    """The list is the linker's: the C and C++ libraries are in it, and all of it has a licence."""
    linked = licences.linked_names(LINKED.read_text())
    assert {"libc", "libc++", "libcompiler_rt", "libdlmalloc", "own"} <= linked
    listed = set().union(*(part.names for part in licences.read_parts(licences.TEXT.read_text())))
    assert linked == listed


@pytest.mark.parametrize("line, name", [
    ("/somewhere/lib/wasm32-emscripten/libz.a(inflate.o)", "libz"),
    ("/somewhere/lib/wasm32-emscripten/libpng-mt.a(png.o)", "libpng"),
    ("third_party/zip.o", "zip"),
])
def test_a_page_with_an_unlisted_part_is_not_made(tmp_path, line, name):
    linked = tmp_path / "linked.txt"
    linked.write_text(LINKED.read_text() + line + "\n")
    done = assemble(linked, tmp_path / "viewer.html")
    assert done.returncode != 0
    assert done.stderr == f"viewer/licences.txt does not list the licence of: {name}\n"
    assert not (tmp_path / "viewer.html").exists()


def test_a_page_with_a_needless_licence_is_not_made(tmp_path):
    linked = tmp_path / "linked.txt"
    linked.write_text("".join(line for line in LINKED.read_text().splitlines(keepends=True) if "libunwind" not in line))
    done = assemble(linked, tmp_path / "viewer.html")
    assert done.stderr == "viewer/licences.txt lists what the engine does not hold: libunwind\n"


def test_an_empty_list_is_refused(tmp_path):
    linked = tmp_path / "linked.txt"
    linked.write_text("")
    assert assemble(linked, tmp_path / "viewer.html").stderr == "the linker's list is empty\n"


def test_the_script_is_ours(tmp_path):
    """The modules of the bundle are those of viewer/src."""
    subprocess.run(["esbuild", VIEWER / "src" / "main.js", "--bundle", "--format=iife", "--log-level=error",
                    f"--metafile={tmp_path / 'meta.json'}", f"--outfile={tmp_path / 'out.js'}"], check=True)
    modules = json.loads((tmp_path / "meta.json").read_text())["inputs"]
    found = {(pathlib.Path.cwd() / module).resolve() for module in modules}
    assert found == set((VIEWER / "src").glob("*.js"))


def test_the_sheet_shows_the_licences(page):
    page.press("?")
    shown = page.run("return [...document.querySelectorAll('#licences details')].map((e) => "
                     "[e.querySelector('summary').textContent, e.querySelector('pre').textContent])")
    assert shown == [[part.title, part.terms] for part in licences.read_parts(licences.TEXT.read_text(encoding="utf-8"))]
    page.browser.find_element("css selector", "#licences summary").click()
    assert "Permission is hereby granted" in page.browser.find_element("css selector", "#licences pre").text
