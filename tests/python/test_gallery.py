# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The gallery script: its panels hold what their titles say, and it ends with a picture."""
from __future__ import annotations

import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import expected
import vexacamutl as vcu

pytest.importorskip("matplotlib")
SCRIPT = Path(vcu.__file__).parents[1] / "gallery.py"
if not SCRIPT.exists():
    pytest.skip("the script is not installed with the package", allow_module_level=True)
sys.path.insert(0, str(SCRIPT.parent))
import gallery  # noqa: E402


@pytest.mark.parametrize("name", ["BayerGB8", "BayerGR10", "Mono12", "RGB8", "YUV411_8_UYYVYY", "YUV8_UYV"])
def test_panels(random, name):
    format = vcu.pixel_format(name)
    layout = vcu.frame_layout(format)
    frame = random.integers(0, 256, layout.frame_bytes(104, 60), np.uint8).view(layout.dtype)
    frame = frame.reshape(layout.shape(104, 60))
    panels = dict(gallery.panels_of(frame, format))
    picture = panels["default" if format.is_bayer else "BGR"]
    turned = {title.split(":")[0]: panel for title, panel in panels.items() if ":" in title}
    if name == "YUV8_UYV":
        assert not turned
        return
    # The picture of a turned frame is the turned picture.
    np.testing.assert_array_equal(turned["mirrored"], picture[:, ::-1])
    np.testing.assert_array_equal(turned["upside down"], picture[::-1])
    np.testing.assert_array_equal(turned["half turn"], picture[::-1, ::-1])
    if name == "BayerGB8":
        np.testing.assert_array_equal(panels["the mosaic, grey"], expected.grey(frame, 0))
        assert panels["ACPI, cut-out"].shape == (gallery.CUT, gallery.CUT, 3)


def run(*arguments) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [sys.executable, str(SCRIPT), *map(str, arguments)], capture_output=True, text=True, timeout=120, check=False
    )


def test_script(tmp_path):
    assert run(tmp_path / "a.png").stdout == f"{tmp_path / 'a.png'}: BayerRG8\n"
    assert (tmp_path / "a.png").read_bytes().startswith(b"\x89PNG")
    frame, name = gallery.drawn_scene()
    vcu.save_rwh(frame, name, tmp_path / "a.rwh")
    frame.tofile(tmp_path / "a.raw")
    run(tmp_path / "b.png", tmp_path / "a.rwh")
    run(tmp_path / "c.png", tmp_path / "a.raw", name, "480x360")
    assert (tmp_path / "a.png").read_bytes() == (tmp_path / "b.png").read_bytes() == (tmp_path / "c.png").read_bytes()


def test_script_complains(tmp_path):
    for arguments in ((), (tmp_path / "a.png", tmp_path / "none"), (tmp_path / "a.png", SCRIPT, "BayerRG9", "8x8")):
        result = run(*arguments)
        assert result.returncode == 1 and result.stderr.count("\n") == 1
    assert not (tmp_path / "a.png").exists()
