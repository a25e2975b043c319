# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Edges of small helpers that the other tests pass by: sizes half given, foreign objects, numbers that change."""
from __future__ import annotations

import errno
import os
import struct
import threading
from pathlib import Path

import numpy as np
import pytest

import vexacamutl as vcu
from vexacamutl import _files
from vexacamutl._elf import Identity, _padded, identity
from vexacamutl.archive import _times

LOAD, DYNAMIC, NOTE = 1, 2, 4
NAME = b"libmade.so.7"


def test_a_size_that_is_half_given(tmp_path):
    """An array knows its own size; bytes do not."""
    frame = np.arange(48, dtype=np.uint8).reshape(6, 8)
    vcu.save_rwh(frame, "Mono8", tmp_path / "whole.rwh")
    for half in ({"width": 8}, {"height": 6}):
        vcu.save_rwh(frame, "Mono8", tmp_path / "half.rwh", **half)
        assert (tmp_path / "half.rwh").read_bytes() == (tmp_path / "whole.rwh").read_bytes()
        with pytest.raises(ValueError, match="width and height have to be given"):
            vcu.save_rwh(frame.ravel(), "Mono8", tmp_path / "flat.rwh", **half)
    assert not (tmp_path / "flat.rwh").exists()


def test_a_missing_file_is_named_as_one(tmp_path):
    with pytest.raises(FileNotFoundError) as caught:
        vcu.load_rwh(tmp_path / "missing.rwh")
    assert caught.value.errno == errno.ENOENT
    assert str(caught.value.filename) == str(tmp_path / "missing.rwh")


@pytest.mark.parametrize("size, padded", [(0, 0), (1, 4), (3, 4), (4, 4), (5, 8), (8, 8)])
def test_notes_are_padded_to_words(size, padded):
    assert _padded(size) == padded


def made_object(path: Path, first: bytes = b"\x7fELF\x02\x01") -> Path:
    """A 64-bit object whose text lies elsewhere in the file than in memory, with notes of odd lengths."""
    headers_at, strings_at, dynamic_at, notes_at = 64, 0x200, 0x300, 0x400
    notes = (struct.pack("<III", 3, 5, 9) + b"ab\0\0" + b"other\0\0\0" +
             struct.pack("<III", 4, 6, 3) + b"GNU\0" + bytes.fromhex("0123456789ab") + b"\0\0")
    dynamic = struct.pack("<QQQQ", 5, 0x7200, 14, 1)
    segments = [(NOTE, notes_at, 0x7100, len(notes)), (LOAD, 0, 0, 0x100), (LOAD, strings_at, 0x7200, 0x40),
                (DYNAMIC, dynamic_at, 0x8300, len(dynamic)), (LOAD, dynamic_at, 0x8300, 0x40)]
    data = bytearray(0x500)
    data[:len(first)] = first
    struct.pack_into("<Q", data, 32, headers_at)
    struct.pack_into("<HH", data, 54, 56, len(segments))
    for n, (kind, offset, address, size) in enumerate(segments):
        struct.pack_into("<IIQQQQ", data, headers_at + 56 * n, kind, 4, offset, address, 0, size)
    for at, content in ((strings_at, b"\0" + NAME + b"\0"), (dynamic_at, dynamic), (notes_at, notes)):
        data[at:at + len(content)] = content
    path.write_bytes(data)
    return path


def test_an_object_that_is_loaded_elsewhere(tmp_path):
    assert identity(str(made_object(tmp_path / "a.so"))) == Identity(NAME.decode(), "0123456789ab")


@pytest.mark.parametrize("first", [b"\x7fELF\x01\x01", b"\x7fELF\x02\x02", b"\x7fELG\x02\x01"])
def test_objects_of_other_machines(tmp_path, first):
    """32 bits, the other byte order, no ELF at all."""
    assert identity(str(made_object(tmp_path / "a.so", first))) == Identity(None, None)


def test_the_stride_of_a_single_row_says_nothing(tmp_path):
    row = np.arange(24, dtype=np.uint8).reshape(4, 6)[::-1][:1]
    assert row.strides[0] < 0
    vcu.save_bmp(row, tmp_path / "view.bmp")
    vcu.save_bmp(row.copy(), tmp_path / "copy.bmp")
    assert (tmp_path / "view.bmp").read_bytes() == (tmp_path / "copy.bmp").read_bytes()


class Numbers:
    """Another number each time."""

    def __init__(self, *numbers: int) -> None:
        self.numbers = list(numbers)

    def __index__(self) -> int:
        return self.numbers.pop(0) if len(self.numbers) > 1 else self.numbers[0]


def test_a_format_that_is_another_one_each_time():
    """The samples take the room of the format that is unpacked."""
    frame = bytes(range(48)) * 3
    formats = [int(vcu.PixelFormat.RGB8), int(vcu.PixelFormat.Mono8), int(vcu.PixelFormat.RGB10)]
    for first in formats:
        for second in formats:
            for calls in range(1, 5):
                try:
                    samples = vcu.unpack(frame, Numbers(*[first] * calls, second), width=8, height=3)
                except ValueError:
                    continue
                assert samples.tobytes() == frame[: samples.nbytes]


class Shrinks:
    """A number that gives the memory of an array back when it is looked at."""

    def __init__(self, array: np.ndarray) -> None:
        self.array = array

    def __index__(self) -> int:
        self.array.resize(1, refcheck=False)
        return 1

    def __float__(self) -> float:
        return float(self.__index__())


@pytest.mark.parametrize("setting", ["exposure", "black_level", "tone", "shift", "offset"])
def test_a_frame_that_shrinks_while_its_settings_are_read(setting):
    frame = np.ones(1000 * 1000, np.uint8)
    with pytest.raises(ValueError):
        vcu.to_bgr(frame, "Mono8", width=1000, height=1000, **{setting: Shrinks(frame)})
    rows = np.ones((1000, 1000), np.uint16)
    if setting != "offset":
        with pytest.raises(ValueError):
            vcu.to_bgr(rows, "BayerRG12", **{setting: Shrinks(rows)})


@pytest.mark.parametrize("setting", [{"exposure": 10**400}, {"white_balance": (1, -(10**400), 1)}, {"tone": 10**400}])
def test_numbers_beyond_every_float(setting):
    with pytest.raises(ValueError, match="must be 0"):
        vcu.to_bgr(bytes(4), "Mono8", width=2, height=2, **setting)


def test_a_file_that_shrinks_while_it_is_loaded(tmp_path, monkeypatch):
    """The library does not say that a file ended early."""
    path = tmp_path / "a.rwh"
    vcu.save_rwh(np.ones((64, 64), np.uint8), "Mono8", path)
    call = _files._load

    def shrink_first(name, frame):
        if frame is not None:
            os.truncate(name, 100)
        return call(name, frame)

    monkeypatch.setattr(_files, "_load", shrink_first)
    with pytest.raises(ValueError, match="100 bytes, but its header says 4112"):
        vcu.load_rwh(path)


def test_white_balance_of_samples_in_high_bits():
    low = np.tile(np.array([[50, 100], [100, 25]], np.uint16), (8, 8))
    gains = vcu.estimate_white_balance(low, "BayerRG12", black_level=20)
    assert vcu.estimate_white_balance(low << 4, "BayerRG12", shift=4, black_level=20) == gains
    assert vcu.estimate_white_balance(low << 4, "BayerRG12", black_level=20) != gains


def test_calls_of_one_converter_follow_each_other():
    """A call waits for the one before; gains of "auto" belong to their own buffer."""
    convert = vcu.Converter("BayerRG8", 8, 8, white_balance="auto")
    pictures = []
    thread = threading.Thread(target=lambda: pictures.append(convert(bytes(64))))
    with convert._lock:
        thread.start()
        thread.join(0.3)
        assert pictures == []
    thread.join()
    assert len(pictures) == 1


@pytest.mark.filterwarnings("error")
def test_flags_of_numpy():
    """NumPy warns when its bools are taken for integers."""
    frame = np.arange(12, dtype=np.uint8).reshape(3, 4)
    np.testing.assert_array_equal(vcu.reverse(frame, "Mono8", mirror=np.bool_(True)), frame[:, ::-1])
    np.testing.assert_array_equal(vcu.reverse(frame, "Mono8", mirror=np.bool_(False)), frame)


@pytest.mark.filterwarnings("error")
def test_a_time_in_utc():
    """NumPy warns of zones, which it does not keep."""
    assert _times._time("2026-01-02T03:04:05Z", "a") == np.datetime64("2026-01-02T03:04:05", "ns")
