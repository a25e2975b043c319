# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The code of docs/python.md, run from top to bottom in a folder that holds a frame."""
from __future__ import annotations

import re
from pathlib import Path

import numpy as np

import vexacamutl as vcu

PAGE = Path(__file__).resolve().parents[2] / "docs" / "python.md"


def test_code_of_the_page(random, tmp_path, monkeypatch, capsys):
    monkeypatch.chdir(tmp_path)
    frame = random.integers(0, 256, (1080, 1920), np.uint8)
    frame.tofile("frame.raw")
    names: dict = {}
    blocks = re.findall(r"^```python\n(.*?)^```$", PAGE.read_text(encoding="ascii"), re.MULTILINE | re.DOTALL)
    assert len(blocks) > 4
    for block in blocks:
        exec(compile(block, str(PAGE), "exec"), names)
    np.testing.assert_array_equal(names["out"], vcu.to_bgr(frame, "BayerRG8"))
    np.testing.assert_array_equal(names["raw"].data, frame)
    assert names["became"] is vcu.PixelFormat.BayerGR8
    promised = re.search(r"print\(error\)\s+# (.*)", blocks[-1]).group(1)
    assert capsys.readouterr().out.strip() == promised


def test_table_of_shapes():
    """Each shape of the table converts, with its type."""
    rows = re.findall(r"^\| (.*?) \| `(uint8|uint16)` \| (.*?) \|$", PAGE.read_text(encoding="ascii"), re.MULTILINE)
    assert len(rows) == 7
    for names, dtype, shapes in rows:
        name = re.match(r"(Mono|RGB|BGR|YUV)\w+", names).group(0)
        for shape in re.findall(r"\(.*?\)", shapes):
            frame = np.zeros([int(eval(size, {"height": 4, "width": 8})) for size in shape[1:-1].split(",")], dtype)
            convert = vcu.CONVERTERS.get(f"Conv{name}PToBGR") if name.startswith("RGB1") else None
            picture = convert(frame) if convert else vcu.to_bgr(frame, name)
            assert picture.shape == (4, 8, 3)


def test_calls_of_the_questions(random):
    """The Python that docs/faq.md prints runs, and changes the picture."""
    calls = re.findall(r"`vcu\.to_bgr\(frame, (\"\w+\"), ([^`]*)\)`", PAGE.with_name("faq.md").read_text(encoding="ascii"))
    assert len(calls) == 3
    for name, settings in calls:
        frame = random.integers(0, 256, (8, 8, 2) if "YUV" in name else (8, 8), np.uint8)
        names = {"vcu": vcu, "frame": frame}
        assert (eval(f"vcu.to_bgr(frame, {name}, {settings})", names) != eval(f"vcu.to_bgr(frame, {name})", names)).any()
