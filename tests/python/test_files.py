# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Bitmaps and raw frames in files, read back with struct; and every file that is not right."""
from __future__ import annotations

import gc
import os
import struct

import numpy as np
import pytest

import vexacamutl as vcu


def bitmap(path):
    """Header fields and rows, top row first, of a bitmap with 64-bit fields."""
    data = path.read_bytes()
    magic, size, reserved, offset = struct.unpack_from("<2sQIQ", data, 0)
    header, width, height, planes, bits = struct.unpack_from("<QQQHH", data, 22)
    assert (magic, size, reserved, header, planes) == (b"BM", len(data), 0, 80, 1)
    row = (width * bits // 8 + 3) // 4 * 4
    rows = np.frombuffer(data, np.uint8, height * row, offset).reshape(height, row)[::-1]
    assert not rows[:, width * bits // 8 :].any()
    return bits, offset, rows[:, : width * bits // 8]


@pytest.mark.parametrize("width", [4, 5, 6, 7])
@pytest.mark.parametrize("channels", [1, 3, 4])
def test_bmp(random, tmp_path, width, channels):
    shape = (3, width) if channels == 1 else (3, width, channels)
    picture = random.integers(0, 256, shape, np.uint8)
    vcu.save_bmp(picture, tmp_path / "a.bmp")
    bits, offset, rows = bitmap(tmp_path / "a.bmp")
    assert (bits, offset) == (8 * channels, 1126 if channels == 1 else 102)
    np.testing.assert_array_equal(rows, picture.reshape(3, -1))


def test_bmp_of_a_cut_out(random, tmp_path):
    picture = random.integers(0, 256, (8, 10, 3), np.uint8)
    vcu.save_bmp(picture[2:6, 3:8], tmp_path / "a.bmp")
    np.testing.assert_array_equal(bitmap(tmp_path / "a.bmp")[2], picture[2:6, 3:8].reshape(4, -1))
    vcu.save_bmp(picture[::2], os.fsencode(tmp_path / "b.bmp"))
    np.testing.assert_array_equal(bitmap(tmp_path / "b.bmp")[2], picture[::2].reshape(4, -1))


@pytest.mark.parametrize(
    "picture, error",
    [
        (np.zeros((2, 2, 3), np.uint16), TypeError),
        ([[1]], TypeError),
        (np.zeros((2, 2, 2), np.uint8), ValueError),
        (np.zeros((2, 2, 1), np.uint8), ValueError),
        (np.zeros(4, np.uint8), ValueError),
        (np.zeros((2, 4, 3), np.uint8)[:, ::2], ValueError),
        (np.zeros((2, 4, 4), np.uint8)[::-1], ValueError),
        (np.broadcast_to(np.zeros(4, np.uint8), (3, 4)), ValueError),
    ],
)
def test_pictures_that_do_not_fit(tmp_path, picture, error):
    with pytest.raises(error):
        vcu.save_bmp(picture, tmp_path / "a.bmp")
    assert not (tmp_path / "a.bmp").exists()


@pytest.mark.parametrize("format", vcu.PixelFormat)
def test_rwh_there_and_back(random, tmp_path, format):
    layout = vcu.frame_layout(format)
    frame = random.integers(0, 256, layout.frame_bytes(8, 4), np.uint8).view(layout.dtype).reshape(layout.shape(8, 4))
    path = tmp_path / "a.rwh"
    vcu.save_rwh(frame, format, path)
    row_size = 8 * format.bits_per_pixel // 8
    assert path.read_bytes() == struct.pack("<4I", format, 8, 4, row_size) + frame.tobytes()

    assert vcu.load_rwh_header(path) == vcu.RwhHeader(format, 8, 4, row_size)
    loaded = vcu.load_rwh(path)
    assert (loaded.format, loaded.width, loaded.height, loaded.row_size) == (format, 8, 4, row_size)
    np.testing.assert_array_equal(loaded.data, frame)
    assert loaded.data.dtype == frame.dtype and loaded.data.flags.writeable
    if format not in (vcu.PixelFormat.RGB10, vcu.PixelFormat.RGB12):
        np.testing.assert_array_equal(vcu.to_bgr(loaded.data, loaded.format), vcu.to_bgr(frame, format))


def test_rwh_rounds_rows_down(tmp_path):
    path = tmp_path / "a.rwh"
    vcu.save_rwh(bytes(range(14)), "YUV411_8_UYYVYY", path, width=5, height=2)
    assert path.read_bytes() == struct.pack("<4I", 0x020C001E, 5, 2, 7) + bytes(range(14))
    assert vcu.load_rwh(path).data.tolist() == [list(range(7)), list(range(7, 14))]


def test_rwh_of_an_unknown_code(tmp_path):
    path = tmp_path / "a.rwh"
    path.write_bytes(struct.pack("<4I", 0x01080099, 3, 2, 3) + b"abcdef")
    loaded = vcu.load_rwh(path)
    assert loaded.format == 0x01080099 and not isinstance(loaded.format, vcu.PixelFormat)
    assert loaded.data.tobytes() == b"abcdef" and loaded.data.shape == (2, 3)


def test_loaded_memory_lives_as_long_as_its_arrays(tmp_path):
    path = tmp_path / "a.rwh"
    vcu.save_rwh(np.arange(65536, dtype=np.uint16).reshape(256, 256), "Mono16", path)
    column = vcu.load_rwh(path).data[:, 5]
    gc.collect()
    loaded = [vcu.load_rwh(path) for _ in range(8)]
    np.testing.assert_array_equal(column, np.arange(256) * 256 + 5)
    assert len(loaded) == 8


def resident_kilobytes() -> int:
    with open("/proc/self/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))


def test_loaded_memory_is_freed(tmp_path):
    path = tmp_path / "a.rwh"
    vcu.save_rwh(np.ones((1024, 4096), np.uint8), "Mono8", path)
    vcu.load_rwh(path)
    before = resident_kilobytes()
    for _ in range(50):
        vcu.load_rwh(path)
    assert resident_kilobytes() - before < 50 * 4096 // 4


@pytest.mark.parametrize("size", [0, 1, 15])
def test_files_without_a_header(tmp_path, size):
    path = tmp_path / "a.rwh"
    path.write_bytes(bytes(size))
    for load in (vcu.load_rwh, vcu.load_rwh_header):
        with pytest.raises(ValueError, match=f"{size} bytes are too few for a header"):
            load(path)


def test_files_that_end_early(tmp_path):
    path = tmp_path / "a.rwh"
    path.write_bytes(struct.pack("<4I", 0x01080001, 3, 2, 3) + b"abcde")
    with pytest.raises(ValueError, match="21 bytes, but its header says 22; is it an RWH file"):
        vcu.load_rwh(path)
    path.write_bytes(struct.pack("<4I", 0x01080001, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF))
    with pytest.raises(ValueError, match="is it an RWH file"):
        vcu.load_rwh(path)
    path.write_bytes(struct.pack("<4I", 0x01080001, 1 << 16, 1 << 16, 1 << 16))
    os.truncate(path, 16 + (1 << 32))  # a hole
    with pytest.raises(ValueError, match="4 GiB"):
        vcu.load_rwh(path)
    path.write_bytes(struct.pack("<4I", 0x01080001, 0, 0, 0))
    assert vcu.load_rwh(path).data.shape == (0, 0)


def test_files_that_cannot_be_opened(tmp_path):
    missing = tmp_path / "missing" / "a.rwh"
    frame = np.zeros((2, 2), np.uint8)
    for call in (
        lambda: vcu.load_rwh(missing),
        lambda: vcu.load_rwh_header(missing),
        lambda: vcu.save_rwh(frame, "Mono8", missing),
        lambda: vcu.save_bmp(frame, missing),
    ):
        with pytest.raises(FileNotFoundError) as raised:
            call()
        assert raised.value.filename == str(missing)
    for load in (vcu.load_rwh, vcu.load_rwh_header):
        with pytest.raises(IsADirectoryError):
            load(tmp_path)
    with pytest.raises(IsADirectoryError):
        vcu.save_rwh(frame, "Mono8", tmp_path)
    os.mkfifo(tmp_path / "pipe")
    with pytest.raises(OSError, match="not a regular file"):
        vcu.load_rwh(tmp_path / "pipe")
    with pytest.raises(ValueError, match="zero byte"):
        vcu.save_bmp(frame, "a\0b")


def test_frames_that_do_not_fit(tmp_path):
    path = tmp_path / "a.rwh"
    for frame, size, error in (
        (bytes(5), {"width": 3, "height": 2}, ValueError),
        (bytes(7), {"width": 3, "height": 2}, ValueError),
        (bytes(6), {}, ValueError),
        (np.zeros((2, 3), np.uint16), {}, TypeError),
        (np.zeros((2, 6), np.uint8)[:, ::2], {}, ValueError),
    ):
        with pytest.raises(error):
            vcu.save_rwh(frame, "Mono8", path, **size)
    assert not path.exists()


def test_a_full_disk_is_reported(tmp_path):
    """A limit on the size of files stands in for the disk: the library itself is content with a cut file."""
    import resource
    import signal

    old_limits = resource.getrlimit(resource.RLIMIT_FSIZE)
    old_handler = signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    try:
        resource.setrlimit(resource.RLIMIT_FSIZE, (1000, old_limits[1]))
        with pytest.raises(OSError, match="only 1000 of 4112 bytes"):
            vcu.save_rwh(np.zeros((64, 64), np.uint8), "Mono8", tmp_path / "a.rwh")
        with pytest.raises(OSError, match="only 1000 of 5222 bytes"):
            vcu.save_bmp(np.zeros((64, 64), np.uint8), tmp_path / "a.bmp")
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, old_limits)
        signal.signal(signal.SIGXFSZ, old_handler)
