# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Archives: what is opened, indexing, slices, timestamps, lazy arrays."""
from __future__ import annotations

import doctest
import inspect
import os
import pickle
import subprocess
import sys

import numpy as np
import pytest

import vexacamutl as vcu
from archive_support import H, TOOL, W, recording, run_tool, samples, sidecar
from packing import pack
from test_docstrings import sections
from vexacamutl import archive
from vexacamutl.archive import Archive


@pytest.fixture(autouse=True)
def tool(monkeypatch):
    monkeypatch.setenv("VEXACAMUTL_TOOL", TOOL)


@pytest.fixture
def mixed(tmp_path, random):
    return recording(tmp_path / "rec", random)


@pytest.fixture
def sequence(tmp_path, random):
    """Five files of four frames each."""
    frames = samples(random, (5, 4, H, W), 8)
    for i, part in enumerate(frames):
        part.tofile(tmp_path / f"s{i}.raw")
    return archive.open(tmp_path / "s*.raw", "BayerRG8", W, H, frames_per_chunk=3), frames.reshape(20, H, W)


def test_mixed_folder(mixed):
    found = archive.open(mixed)
    assert len(found) == 4 * 5 + 2 * 3 and found.bad == ()
    assert [layout.format for layout in found.layouts] == [
        "BayerRG8", "YUV422_8_UYVY", "BayerBG12", "Mono8", "BayerGR12p", "BayerGB8"]
    assert found.nbytes == sum(source.layout.frame_bytes * source.frames for source in found.inputs)
    assert repr(found) == "<Archive of 26 frames, mixed layouts>"


def test_frames_are_those_of_unpack(mixed):
    """Each frame as the tool unpacks it."""
    found = archive.open(str(mixed))
    run_tool("unpack", "-o", mixed / "raw", mixed)
    for i, frame in enumerate(found):
        path, number = found.place(i)
        stem = os.path.splitext(os.path.basename(path))[0]
        name = f"{stem}.raw" if stem[-1].isdigit() else f"{stem}_{number:05d}.raw"
        assert frame.tobytes() == (mixed / "raw" / name).read_bytes(), name


@pytest.mark.parametrize("argument", [
    lambda f: f / "s*.raw", lambda f: str(f), lambda f: [f / "s0.raw", str(f / "s[1-3].raw"), os.fsencode(f / "s4.raw")],
    lambda f: f / "**" / "s?.raw", lambda f: (f / f"s{i}.raw" for i in range(5))])
def test_ways_to_name_files(tmp_path, sequence, argument):
    found = archive.open(argument(tmp_path), "rggb", W, H)
    assert [np.array_equal(a, b) for a, b in zip(found, sequence[1])] == [True] * 20 and len(found) == 20


def test_names_that_look_like_patterns(tmp_path, random):
    for name in ("a[1].raw", "a1.raw", "-f.raw"):
        samples(random, (H, W), 8).tofile(tmp_path / name)
    assert len(archive.open(tmp_path / "a[1].raw", "Mono8", W, H).inputs) == 1
    assert archive.open(tmp_path / "a[1].raw", "Mono8", W, H).place(0).path.endswith("a[1].raw")
    assert archive.open("-f.raw" if os.chdir(tmp_path) else "-f.raw", "Mono8", W, H).place(0).path.endswith("/-f.raw")


def test_names_that_are_not_utf8(tmp_path, random):
    for name in (b"a\xff.raw", b"a\xfe.raw"):
        with open(os.path.join(os.fsencode(tmp_path), name), "wb") as file:
            file.write(samples(random, (H, W), 8).tobytes())
    for paths in (tmp_path, tmp_path / "*.raw"):
        found = archive.open(paths, "Mono8", W, H)
        assert sorted(os.fsencode(source.path)[-6:] for source in found.inputs) == [b"a\xfe.raw", b"a\xff.raw"]
    run_tool("convert", "-f", "Mono8", "-s", f"{W}x{H}", "-o", tmp_path / "plain", tmp_path)
    assert found.convert(tmp_path / "out").done == 2
    for name in os.listdir(os.fsencode(tmp_path / "plain")):
        with open(os.path.join(os.fsencode(tmp_path / "out"), name), "rb") as ours:
            with open(os.path.join(os.fsencode(tmp_path / "plain"), name), "rb") as theirs:
                assert ours.read() == theirs.read()


@pytest.mark.parametrize("index", [0, 3, 4, 19, -1, -20, np.int64(7)])
def test_index(sequence, index):
    found, frames = sequence
    assert found[index].dtype == np.uint8 and np.array_equal(found[index], frames[index])
    found[index][:] = 0
    assert np.array_equal(found[index], frames[index]), "the frame is an array of its own"


@pytest.mark.parametrize("part", [
    slice(None), slice(3, 9), slice(None, None, 3), slice(18, 2, -5), slice(None, None, -1), slice(40, 50),
    slice(2, 19, 4), slice(5, 5)])
def test_slices(sequence, part):
    found, frames = sequence
    assert len(found[part]) == len(frames[part])
    assert all(np.array_equal(a, b) for a, b in zip(found[part], frames[part]))
    assert all(np.array_equal(a, b) for a, b in zip(found[part][::-2], frames[part][::-2]))
    assert [found[part].place(i).frame for i in range(len(found[part]))] == [
        i % 4 for i in range(20)[part]]
    assert found[part].nbytes == frames[part].nbytes


@pytest.mark.parametrize("index,error", [(20, IndexError), (-21, IndexError), (1.0, TypeError), ("1", TypeError),
                                         ((1, 2), TypeError), (None, TypeError)])
def test_wrong_index(sequence, index, error):
    for call in (sequence[0].__getitem__, sequence[0].place):
        with pytest.raises(error):
            call(index)


def test_layout_arguments(tmp_path, random):
    """Stride, offset and shift, of the command as well as of the sidecar."""
    words = samples(random, (2, H, W), 12)
    padded = np.zeros((2, H, W + 4), np.uint16)
    padded[:, :, :W] = words << 4
    (tmp_path / "a.raw").write_bytes(bytes(7) + padded.tobytes())
    found = archive.open(tmp_path / "a.raw", "BayerRG12", W, H, stride=2 * W + 8, offset=7, shift=4)
    assert len(found) == 2 and all(np.array_equal(a, b) for a, b in zip(found, words))
    sidecar(tmp_path / "a.raw", "BayerRG12", stride=2 * W + 8, offset=7)
    found = archive.open(tmp_path / "a.raw", shift=4)
    assert all(np.array_equal(a, b) for a, b in zip(found, words))
    assert np.array_equal(found.to_dask().compute(), words)
    assert np.array_equal(found.to_dask("bgr").compute(),
                          [vcu.to_bgr(frame, "BayerRG12") for frame in words])


def test_bad_inputs_are_left_out(mixed):
    (mixed / "short.raw").write_bytes(b"short")
    sidecar(mixed / "short.raw", "Mono8")
    (mixed / "alone.raw").write_bytes(bytes(H * W))
    (mixed / "empty.rwh").write_bytes(b"")
    found = archive.open([mixed, mixed / "gone.raw"])
    assert len(found) == 26
    assert [(os.path.basename(path), reason.replace(f"{mixed}/", "")) for path, reason in found.bad] == [
        ("alone.raw", "alone.raw: give --format and --size (there is no alone.txt)"),
        ("empty.rwh", "empty.rwh: the header holds no known pixel format (0x00000000)"),
        ("short.raw", "short.raw: 5 bytes are not a whole number of frames of 192 bytes (Mono8 16x12)"),
        ("gone.raw", "cannot read gone.raw: No such file or directory")]


@pytest.mark.parametrize("arguments,error,words", [
    (["gone*.raw"], archive.NoFramesError, "nothing matches"), ([[]], archive.NoFramesError, "empty"),
    (["gone.raw"], archive.NoFramesError, "No such file"), ([["gone.raw", "lost.raw"]], archive.NoFramesError, "and 1 more"),
    ([7], TypeError, "a path, a pattern or a list"), ([[7]], TypeError, ""), ([""], FileNotFoundError, ""),
    (["a.raw", "BayreRG8", W, H], vcu.UnsupportedFormatError, "did you mean"), (["a.raw", 1, W, H], ValueError, "unknown"),
    (["a.raw", "Mono8", W], archive.SettingError, "together"), (["a.raw", "Mono8", None, H], archive.SettingError, "together"),
    (["a.raw", "Mono8", 0, H], ValueError, "the width"), (["a.raw", "Mono8", W, 1.5], TypeError, "the height"),
    (["a.raw", "Mono8", W, H, -1], ValueError, "the stride"), (["a.raw", "Mono8", W, H, 3], archive.NoFramesError, "stride"),
    (["a.raw", "Mono8", W, H, None, "x"], TypeError, "the offset"),
    (["a.raw", "Mono8", W, H, None, 0, 0], ValueError, "frames_per_chunk"),
    (["a.raw", "Mono8", W, H, None, 0, "16"], TypeError, "frames_per_chunk"),
    (["a.raw", "Mono8", 1 << 31, 1 << 31], archive.NoFramesError, "pixels")])
def test_wrong_arguments(tmp_path, monkeypatch, arguments, error, words):
    monkeypatch.chdir(tmp_path)
    (tmp_path / "a.raw").write_bytes(bytes(W * H))
    with pytest.raises(error, match=words):
        archive.open(*arguments)


@pytest.mark.parametrize("settings,error,words", [
    ({"shift": 40}, ValueError, "the shift"), ({"range": "some"}, archive.SettingError, "the range"),
    ({"shift": 1}, archive.NoFramesError, "cannot lie 1 bits higher"), ({"tool": "none"}, archive.ToolError, "argument tool"),
    ({"tool": "/bin/true"}, archive.ToolError, "not the tool|older")])
def test_wrong_keywords(tmp_path, settings, error, words):
    (tmp_path / "a.raw").write_bytes(bytes(W * H))
    with pytest.raises(error, match=words):
        archive.open(tmp_path / "a.raw", "Mono8", W, H, **settings)


def test_where_the_tool_is(tmp_path, monkeypatch, mixed):
    monkeypatch.setenv("PATH", os.path.dirname(TOOL))
    monkeypatch.setenv("VEXACAMUTL_TOOL", str(tmp_path / "none"))
    with pytest.raises(archive.ToolError, match="VEXACAMUTL_TOOL must name"):
        archive.open(mixed)
    assert len(archive.open(mixed, tool=TOOL)) == 26
    monkeypatch.delenv("VEXACAMUTL_TOOL")
    assert len(archive.open(mixed)) == 26
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(archive.ToolError, match="was not found: install it"):
        archive.open(mixed)
    broken = tmp_path / "vexacamutl"
    broken.write_text("#!/nowhere\n")
    broken.chmod(0o755)
    with pytest.raises(archive.ToolError, match="does not run"):
        archive.open(mixed)


@pytest.mark.parametrize("script,words", [
    ("echo '{\"file\": \"a\", \"format\": \"Mono8\"}'", "older"), ("kill -9 $$", "signal SIGKILL"),
    ("echo no", "cannot be read"), ("echo 'vexacamutl: wrong' >&2; exit 2", "wrong")])
def test_strange_tools(tmp_path, script, words):
    tool = tmp_path / "vexacamutl"
    tool.write_text(f"#!/bin/sh\n{script}\n")
    tool.chmod(0o755)
    with pytest.raises(archive.ArchiveError, match=words):
        archive.open(tmp_path, tool=str(tool))


def test_timestamps(tmp_path, random):
    for name, lines in (("a", {"timestamp": "5,7"}), ("b", {"timestamp": ","}), ("c", {"Timestamp": "2026-11-22T10:00:00.000000001Z x"})):
        samples(random, (2, H, W), 8).tofile(tmp_path / f"{name}.raw")
        sidecar(tmp_path / f"{name}.raw", "Mono8", **lines)
    times = archive.open(tmp_path).timestamps
    assert times.dtype == "datetime64[ns]"
    known = np.array(["1970-01-01T00:00:00.000000005", "1970-01-01T00:00:00.000000007", "NaT", "NaT",
                      "2026-11-22T10:00:00.000000001", "NaT"], "datetime64[ns]")
    assert np.array_equal(times, known, equal_nan=True)
    assert np.array_equal(archive.open(tmp_path)[::-2].timestamps, known[::-2], equal_nan=True)
    assert archive.open(tmp_path)[3:3].timestamps.shape == (0,)


@pytest.mark.parametrize("text", ["x", "5,6,7", "2026-99-99", "-5x", "99999999999999999999999"])
def test_wrong_timestamps(tmp_path, random, text):
    samples(random, (2, H, W), 8).tofile(tmp_path / "a.raw")
    sidecar(tmp_path / "a.raw", "Mono8", timestamp=text)
    found = archive.open(tmp_path)
    assert found[1].shape == (H, W)
    with pytest.raises(archive.TimestampError, match="sidecar of .*a.raw"):
        found.timestamps


def test_files_that_change(tmp_path, sequence):
    found, frames = sequence
    (tmp_path / "s0.raw").write_bytes(bytes(W * H + 1))
    (tmp_path / "s1.raw").unlink()
    assert not found[0].any()
    with pytest.raises(archive.InputError, match="193 bytes are too few for frame 1 of 192 bytes"):
        found[1]
    with pytest.raises(archive.InputError, match="No such file"):
        found[4]
    with pytest.raises(archive.InputError):
        found.to_dask().compute(scheduler="synchronous")


@pytest.mark.parametrize("to,settings", [
    (None, {}), ("rgb", {}), ("bgra", {"mode": "acpi"}), ("grey", {}), ("grey16", {}), ("bgr", {"bayer": False}),
    ("rgba", {"white_balance": "auto", "black_level": 3, "exposure": 1.5, "tone": "srgb",
              "matrix": [[1, 0, 0], [0, 1, 0], [0, 0, 1]]})])
def test_lazy_arrays(sequence, to, settings):
    """Chunks cross the files; every picture is that of the call for one frame."""
    found, frames = sequence
    lazy = found.to_dask(to, **settings)
    assert lazy.chunks[0] == (3,) * 6 + (2,) and lazy.name.startswith(f"vexacamutl-{to or 'frames'}-")
    computed = lazy.compute(scheduler="threads")
    assert computed.dtype == lazy.dtype and computed.shape == lazy.shape
    convert = vcu.Converter("BayerRG8", W, H, to, **settings) if to else np.asarray
    assert all(np.array_equal(picture, convert(frame)) for picture, frame in zip(computed, frames))
    part = found[17:2:-5].to_dask(to, **settings).compute(scheduler="processes")
    assert np.array_equal(part, computed[17:2:-5])
    assert found.to_dask(to, **settings).name == lazy.name != found[1:].to_dask(to, **settings).name


@pytest.mark.parametrize("format,bits", [("Mono12p", 12), ("YUV8_UYV", 8), ("RGB8", 8), ("BGR10", 10), ("Mono16", 16)])
def test_lazy_arrays_of_other_formats(tmp_path, random, format, bits):
    layout = vcu.frame_layout(format) if format != "Mono12p" else vcu.frame_layout("Mono12")
    frame = samples(random, layout.shape(W, H), bits)
    (tmp_path / "a.raw").write_bytes(pack(frame.reshape(-1), "12p").tobytes() if format == "Mono12p" else frame.tobytes())
    found = archive.open(tmp_path / "a.raw", format, W, H)
    assert np.array_equal(found[0], frame) and found.to_dask().dtype == frame.dtype
    assert np.array_equal(found.to_dask()[0].compute(), frame)


@pytest.mark.parametrize("to", [None, "rgb"])
def test_one_array_of_files_that_lie_differently(tmp_path, random, to):
    """Raw, padded behind a head, and with a header: the frames have one format and size, so they have one array."""
    frames = samples(random, (4, H, W), 8)
    frames[0].tofile(tmp_path / "a.raw")
    sidecar(tmp_path / "a.raw", "BayerRG8")
    padded = np.zeros((2, H, W + 8), np.uint8)
    padded[:, :, :W] = frames[1:3]
    (tmp_path / "b.raw").write_bytes(b"head" + padded.tobytes())
    sidecar(tmp_path / "b.raw", "BayerRG8", stride=W + 8, offset=4)
    vcu.save_rwh(frames[3], "BayerRG8", tmp_path / "c.rwh")
    found = archive.open(tmp_path, frames_per_chunk=3)
    assert len(found.layouts) == 3 and repr(found) == "<Archive of 4 frames, BayerRG8 16x12>"
    expected = frames if to is None else np.stack([vcu.to_rgb(frame, "BayerRG8") for frame in frames])
    assert np.array_equal(found.to_dask(to).compute(), expected)
    assert np.array_equal(np.stack(list(found)), frames)


def test_no_array_for_mixed_frames(mixed):
    found = archive.open(mixed)
    with pytest.raises(archive.MixedFramesError, match=r"6 layouts .BayerRG8 16x12, .*, \.\.\."):
        found.to_dask()
    with pytest.raises(archive.MixedFramesError, match="0 layouts"):
        found[:0].to_dask()
    assert repr(found[:0]) == "<Archive of 0 frames, no layout>"
    assert repr(found[:5]) == "<Archive of 5 frames, BayerRG8 16x12>"


@pytest.mark.parametrize("to,settings,error", [
    ("cmyk", {}, ValueError), (None, {"mode": "acpi"}, TypeError), ("rgb", {"wrong": 1}, TypeError),
    ("rgb", {"exposure": -1}, ValueError), ("rgb", {"tone": "x"}, ValueError)])
def test_wrong_settings_of_arrays(sequence, to, settings, error):
    with pytest.raises(error):
        sequence[0].to_dask(to, **settings)


def test_archives_are_plain_data(sequence):
    found, frames = sequence
    again = pickle.loads(pickle.dumps(found[3:]))
    assert len(again) == 17 and np.array_equal(again[0], frames[3]) and again.frames_per_chunk == 3


def test_without_dask(sequence, monkeypatch):
    for name in ("dask.array", "dask.base", "distributed"):
        monkeypatch.setitem(sys.modules, name, None)
    with pytest.raises(archive.DaskMissingError, match="install python3-dask"):
        sequence[0].to_dask()
    with pytest.raises(ImportError, match="leave the scheduler out"):
        sequence[0].convert("never", scheduler="tcp://127.0.0.1:1")
    assert not os.path.exists("never")


def test_package_without_dask():
    """Importing the subpackage takes nothing but NumPy."""
    code = "import sys; sys.modules['dask'] = sys.modules['distributed'] = sys.modules['numcodecs'] = None\n"            "import vexacamutl.archive, vexacamutl.archive.__main__\nassert 'zarr' not in sys.modules"
    subprocess.run([sys.executable, "-c", code], check=True)


FUNCTIONS = {"open": archive.open, "verify": archive.verify, "to_dask": Archive.to_dask, "convert": Archive.convert}


@pytest.mark.parametrize("name", FUNCTIONS)
def test_sections(name):
    found = sections(FUNCTIONS[name].__doc__)
    parameters = [("**" if parameter.kind == parameter.VAR_KEYWORD else "") + parameter.name
                  for parameter in inspect.signature(FUNCTIONS[name]).parameters.values() if parameter.name != "self"]
    described = [word.strip() for line in found["Parameters"].splitlines() if not line.startswith(" ")
                 for word in line.split(" : ")[0].split(",")]
    assert described == parameters and {"Returns", "Raises", "Examples"} <= set(found)


def test_everything_public_is_described():
    for name in archive.__all__:
        value = getattr(archive, name)
        assert value.__doc__, name
        for part, member in vars(value).items() if inspect.isclass(value) else ():
            if not part.startswith("_") and (inspect.isfunction(member) or isinstance(member, property)):
                assert member.__doc__, f"{name}.{part}"


@pytest.mark.parametrize("name", [*FUNCTIONS, "Archive"])
def test_examples(name, tmp_path, monkeypatch, random):
    monkeypatch.chdir(tmp_path)
    (tmp_path / "recordings").mkdir()
    for i in range(40):
        samples(random, (48, 64), 8).tofile(tmp_path / "recordings" / f"{i:02d}.raw")
    value = FUNCTIONS.get(name, Archive)
    test = doctest.DocTestParser().get_doctest(value.__doc__, {"archive": archive}, name, None, 0)
    report: list[str] = []
    result = doctest.DocTestRunner(optionflags=doctest.REPORT_NDIFF).run(test, out=report.append)
    assert test.examples and result.failed == 0, "".join(report)
