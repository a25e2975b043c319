# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Black level, white balance, exposure, tone, range and shift on the command line, against the arithmetic that the
# frames layer promises.
import shutil
import subprocess

import numpy as np
import pytest
from model import demosaic, random_samples, read_netpbm, read_png, yuv_pixel

W, H = 8, 6


def level(sample, depth, gain=1.0, black=0, exposure=1.0, tone=None):
    """One sample to 8 bits, in whole numbers up to the tone."""
    most = 2**depth - 1
    factor = (round(gain * 65536) * round(exposure * 65536) + 2**15) >> 16
    whole = (most - black) * 65536
    x = min(65535, (max(0, min(int(sample), most) - black) * factor * 65535 + whole // 2) // whole)
    t = x / 65535
    if tone == "srgb":
        return int(255 * (12.92 * t if t <= 0.0031308 else 1.055 * t ** (1 / 2.4) - 0.055) + 0.5)
    return int(255 * t ** (1 / (tone or 1.0)) + 0.5)


@pytest.mark.parametrize("depth", [8, 10, 12, 14, 16])
@pytest.mark.parametrize("options,model", [
    (["--tone", "linear"], {}), (["--tone", "srgb"], {"tone": "srgb"}), (["--tone", "2.2"], {"tone": 2.2}),
    (["--black-level", "16"], {"black": 16}), (["--exposure", "1.5"], {"exposure": 1.5})])
def test_levels_of_grey_frames(tool, depth, options, model):
    if depth == 16 and "black" in model:
        pytest.skip("samples above 14 bits are shortened first")
    samples = random_samples(W * H, depth)
    tool.write("in.raw", samples.tobytes())
    tool.good("convert", "-f", f"Mono{depth}", "-s", f"{W}x{H}", *options, "in.raw", "out.pgm")
    values = [int(s) >> 2 if depth == 16 else int(s) for s in samples]
    expected = [level(v, min(depth, 14), **model) for v in values]
    assert list(read_netpbm(tool.read("out.pgm")).ravel()) == expected


def balanced(samples, depth, gains, black=0):
    """A mosaic RG after levels, as 8-bit samples."""
    result = np.zeros(samples.shape, np.uint8)
    for y in range(samples.shape[0]):
        for x in range(samples.shape[1]):
            gain = gains[{(0, 0): 0, (1, 1): 2}.get((y % 2, x % 2), 1)]
            result[y, x] = level(samples[y, x], depth, gain, black)
    return result


@pytest.mark.parametrize("depth", [8, 12])
def test_white_balance(tool, depth):
    samples = random_samples(W * H, depth).reshape(H, W)
    tool.write("in.raw", samples.tobytes())
    shape = ["-f", f"BayerRG{depth}", "-s", f"{W}x{H}"]
    tool.good("convert", *shape, "--white-balance", "2,1,1.5", "--black-level", "9", "in.raw", "out.ppm")
    mosaic = balanced(samples, depth, (2, 1, 1.5), 9)
    assert (read_netpbm(tool.read("out.ppm")) == demosaic(mosaic, "RG", 8)[..., ::-1]).all()


def test_automatic_white_balance_makes_a_cast_grey(tool):
    mosaic = np.zeros((H, W), np.uint8)
    mosaic[0::2, 0::2], mosaic[0::2, 1::2], mosaic[1::2, 0::2], mosaic[1::2, 1::2] = 40, 160, 160, 80
    tool.write("in.raw", mosaic.tobytes())
    tool.good("convert", "-f", "rggb", "-s", f"{W}x{H}", "--white-balance", "auto", "in.raw", "out.ppm")
    assert (read_netpbm(tool.read("out.ppm")) == 160).all()


def test_acpi_of_deep_frames_needs_levels(tool):
    samples = random_samples(16 * 12, 12).reshape(12, 16)
    tool.write("in.raw", samples.tobytes())
    shape = ["-f", "BayerRG12", "-s", "16x12"]
    plain = tool.good("convert", *shape, "in.raw", "-")
    done = tool("convert", *shape, "-b", "acpi", "in.raw", "-")
    assert (done.returncode, done.stdout) == (0, plain)
    assert done.stderr == ("vexacamutl: --bayer-mode acpi takes 8-bit frames, or levels (--tone linear and the like); "
                           "BayerRG12 is demosaiced bilinearly\n")
    deep = tool.good("convert", *shape, "-b", "acpi", "--tone", "linear", "in.raw", "-")
    tool.write("eight.raw", balanced(samples, 12, (1, 1, 1)).tobytes())
    assert deep == tool.good("convert", "-f", "BayerRG8", "-s", "16x12", "-b", "acpi", "eight.raw", "-")


def test_limited_range(tool):
    """Y' = (Y - 16) * 255 / 219, C' = (C - 128) * 255 / 224 + 128, rounded and saturated."""
    y, u, v = np.meshgrid([0, 16, 17, 100, 235, 255], [0, 16, 128, 200, 240], [16, 100, 128, 240], indexing="ij")
    pixels = np.stack([u, y, v], axis=-1).reshape(-1, 3)
    tool.write("in.raw", pixels.astype(np.uint8).tobytes())
    shape = ["-f", "YUV8_UYV", "-s", f"{len(pixels)}x1", "--to", "bgr"]
    got = np.frombuffer(tool.good("convert", *shape, "--range", "limited", "in.raw", "-"), np.uint8).reshape(-1, 3)

    def scaled(value, zero, span, centre):
        return min(255, max(0, int((2 * (int(value) - zero) * 255 + span) // (2 * span)) + centre))
    expected = [yuv_pixel(scaled(y, 16, 219, 0), scaled(u, 128, 224, 128), scaled(v, 128, 224, 128)) for u, y, v in pixels]
    assert (got == expected).all()
    assert tool.good("convert", *shape, "--range", "full", "in.raw", "-") == tool.good("convert", *shape, "in.raw", "-")


def test_yuyv(tool):
    """The same pixels as UYVY, the bytes of each pair exchanged."""
    frame = random_samples(W * H * 2, 8)
    tool.write("uyvy.raw", frame.tobytes())
    tool.write("yuyv.raw", frame.reshape(-1, 2)[:, ::-1].tobytes())
    for kind in ("bgr", "bgra"):
        one = tool.good("convert", "-f", "uyvy", "-s", f"{W}x{H}", "--to", kind, "uyvy.raw", "-")
        assert tool.good("convert", "-f", "yuyv", "-s", f"{W}x{H}", "--to", kind, "yuyv.raw", "-") == one


def test_shift(tool):
    samples = random_samples(W * H, 12)
    tool.write("low.raw", samples.tobytes())
    tool.write("high.raw", (samples << 4).astype("<u2").tobytes())
    shape = ["-f", "BayerGB12", "-s", f"{W}x{H}"]
    assert tool.good("convert", *shape, "--shift", 4, "high.raw", "-") == tool.good("convert", *shape, "low.raw", "-")
    tool.good("unpack", *shape, "--shift", 4, "high.raw", "out.raw")
    assert tool.read("out.raw") == samples.tobytes()


def test_csi2_rows(tool):
    samples = random_samples(W * H, 10)
    packed = b"".join(bytes(int(s) >> 2 for s in four) + bytes([sum((int(s) & 3) << 2 * i for i, s in enumerate(four))])
                      for four in samples.reshape(-1, 4))
    tool.write("in.raw", packed)
    tool.good("unpack", "-f", "BayerRG10CSI2", "-s", f"{W}x{H}", "--sidecar", "in.raw", "out.raw")
    assert tool.read("out.raw") == samples.tobytes() and b"BayerRG10\n" in tool.read("out.txt")


MISTAKES = {
    "--white-balance": ["grey", "1,2", "1,2,3,4", "1,2,17", "-1,1,1", "1,1,nan"], "--black-level": ["x", "-1", "1.5"],
    "--exposure": ["17", "bright", "nan", "-1"], "--tone": ["log", "0", "11", "2.2x"], "--range": ["tv"],
    "--shift": ["9", "-1"]}


@pytest.mark.parametrize("option,value", [(o, v) for o, values in MISTAKES.items() for v in values])
def test_wrong_values(tool, option, value):
    tool.write("in.raw", bytes(96))
    assert option in tool.bad(2, "convert", "-f", "Mono12", "-s", f"{W}x{H}", f"{option}={value}", "in.raw", "out.png")
    assert tool.names() == ["in.raw"]


@pytest.mark.parametrize("options", [["-f", "uyvy", "--tone", "srgb"], ["-f", "Mono12", "--range", "limited"],
                                     ["-f", "Mono12", "--shift", "5"], ["-f", "uyvy", "--shift", "1"],
                                     ["-f", "Mono12", "--black-level", "4095"]])
def test_what_does_not_go_together(tool, options):
    tool.write("in.raw", bytes(96))
    tool.bad(5, "convert", "-s", f"{W}x{H}", *options, "in.raw", "out.png")
    assert tool.names() == ["in.raw"]


@pytest.mark.parametrize("kind", ["raw", "rwh"])
@pytest.mark.parametrize("option", ["--white-balance=auto", "--black-level=1", "--exposure=2", "--tone=linear"])
def test_levels_do_not_apply_to_raw_results(tool, kind, option):
    tool.write("in.raw", bytes(96))
    assert tool.bad(2, "convert", "-f", "Mono12", "-s", f"{W}x{H}", option, "in.raw", f"out.{kind}") == (
        f"--white-balance, --black-level, --exposure and --tone make pictures; a {kind} file holds the samples of the "
        "input")
    assert tool.names() == ["in.raw"]


def test_png_of_levels(tool):
    tool.good("synth", "-f", "BayerRG12p", "-s", "64x48", "--sidecar", "in.raw")
    tool.good("convert", "--tone", "srgb", "--white-balance", "auto", "in.raw", "out.png")
    assert read_png(tool.read("out.png")).shape == (48, 64, 3)


@pytest.mark.skipif(shutil.which("ffmpeg") is None, reason="no ffmpeg")
def test_frames_of_ffmpeg_keep_their_white(tool):
    """As the documentation prints it: ffmpeg's YUV has limited range."""
    done = subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=c=0xFAFAFA:s=64x48", "-frames:v", "1",
                           "-pix_fmt", "uyvy422", "-f", "rawvideo", "-"], capture_output=True, check=True)
    tool.good("convert", "-f", "uyvy422", "-s", "64x48", "--range", "limited", "-", "frame_%05d.ppm", stdin=done.stdout)
    assert np.abs(read_netpbm(tool.read("frame_00000.ppm")).astype(int) - 250).max() <= 1
