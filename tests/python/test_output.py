# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Files that the writers make: whole or not at all, never in the place of their own source, with the mode kept."""
from __future__ import annotations

import errno
import mmap
import os
import resource
import shutil
import signal
import stat
import subprocess
import sys
import threading

import numpy as np
import pytest

import vexacamutl as vcu
from vexacamutl import _output

FRAME = np.arange(48, dtype=np.uint8).reshape(6, 8)
WRITERS = {
    "rwh": lambda path, **options: vcu.save_rwh(FRAME, "Mono8", path, **options),
    "bmp": lambda path, **options: vcu.save_bmp(FRAME, path, **options),
}
SIZES = {"rwh": 16 + 48, "bmp": 1126 + 48}

pytestmark = pytest.mark.usefixtures("only_results")


@pytest.fixture
def only_results(tmp_path):
    """No test leaves a temporary file behind."""
    yield
    assert not [name for name in os.listdir(tmp_path) if name.endswith(".part")]


@pytest.fixture(params=WRITERS)
def kind(request):
    return request.param


@pytest.fixture
def save(kind):
    return WRITERS[kind]


def device(folder, name: str, minor: int):
    """A device of the test's own: root could replace that of the system, if the writers had a mistake."""
    path = folder / name
    if os.getuid() == 0:
        try:
            os.mknod(path, stat.S_IFCHR | 0o666, os.makedev(1, minor))
            path.open("wb").close()
            return path
        except PermissionError:
            path.unlink(missing_ok=True)
    return f"/dev/{name}"


@pytest.fixture
def full(tmp_path):
    return device(tmp_path, "full", 7)


@pytest.fixture
def null(tmp_path):
    return device(tmp_path, "null", 3)


def test_full_devices_are_reported(save, full, null):
    with pytest.raises(OSError, match=f"No space left on device: '{full}'"):
        save(full)
    save(null)
    for path in (full, null):
        assert stat.S_ISCHR(os.stat(path).st_mode)


def test_pipes_get_the_whole_file(save, kind, tmp_path):
    pipe = tmp_path / "pipe"
    os.mkfifo(pipe)
    got = []
    reader = threading.Thread(target=lambda: got.append(pipe.read_bytes()))
    reader.start()
    save(pipe)
    reader.join()
    save(tmp_path / "file")
    assert got == [(tmp_path / "file").read_bytes()] and len(got[0]) == SIZES[kind]


def test_standard_output_is_written_where_it_stands(tmp_path):
    """A redirection that appends keeps what was there, and the name stays that file."""
    log = tmp_path / "log"
    log.write_bytes(b"before")
    inode = log.stat().st_ino
    code = (
        "import numpy as np, os, vexacamutl as vcu\n"
        "for name in ('/dev/stdout', '/dev/fd/1', f'/proc/{os.getpid()}/fd/1'):\n"
        "    vcu.save_rwh(np.zeros((1, 4), np.uint8), 'Mono8', name)\n"
    )
    with open(log, "ab") as output:
        subprocess.run([sys.executable, "-c", code], stdout=output, check=True)
    assert len(log.read_bytes()) == 6 + 3 * 20 and log.read_bytes().startswith(b"before")
    assert log.stat().st_ino == inode


def test_existing_files(save, kind, tmp_path):
    path = tmp_path / "a"
    path.write_bytes(b"old")
    with pytest.raises(FileExistsError) as raised:
        save(path, overwrite=False)
    assert raised.value.filename == str(path) and path.read_bytes() == b"old"
    save(path)
    assert len(path.read_bytes()) == SIZES[kind]
    save(tmp_path / "new", overwrite=False)
    assert (tmp_path / "new").read_bytes() == path.read_bytes()
    (tmp_path / "dangling").symlink_to("nothing")
    with pytest.raises(FileExistsError):
        save(tmp_path / "dangling", overwrite=False)


def test_a_file_that_appears_meanwhile_is_not_replaced(tmp_path, monkeypatch):
    path = tmp_path / "a"
    call = _output._expect_size
    monkeypatch.setattr(_output, "_expect_size", lambda *arguments: (call(*arguments), path.write_bytes(b"other")))
    with pytest.raises(FileExistsError):
        WRITERS["rwh"](path, overwrite=False)
    assert path.read_bytes() == b"other"


def refusing(code):
    def call(*_, **__):
        raise OSError(code, os.strerror(code))
    return call


def test_a_new_file_is_never_empty(save, kind, tmp_path, monkeypatch):
    """Not even until it is renamed; where a file system has no hard links, nothing is left of a rename that fails."""
    monkeypatch.setattr(os, "replace", refusing(errno.EIO))
    save(tmp_path / "a", overwrite=False)
    assert (tmp_path / "a").stat().st_size == SIZES[kind] and (tmp_path / "a").stat().st_nlink == 1
    monkeypatch.setattr(os, "link", refusing(errno.EPERM))
    with pytest.raises(OSError, match=os.strerror(errno.EIO)):
        save(tmp_path / "b", overwrite=False)
    assert os.listdir(tmp_path) == ["a"]
    monkeypatch.undo()
    monkeypatch.setattr(os, "link", refusing(errno.EPERM))
    save(tmp_path / "b", overwrite=False)
    assert (tmp_path / "b").read_bytes() == (tmp_path / "a").read_bytes()
    with pytest.raises(FileExistsError):
        save(tmp_path / "b", overwrite=False)


class OwnBase(bytearray):
    @property
    def base(self):
        return self


class OwnArray(np.ndarray):
    @property
    def base(self):
        return self


@pytest.mark.parametrize("frame", [OwnBase(48), FRAME.view(OwnArray)], ids=["bytes", "array"])
def test_a_base_without_end(frame, tmp_path):
    """Where a file is replaced, the owners of the memory are looked through for that file."""
    for _ in range(2):
        vcu.save_rwh(frame, "Mono8", tmp_path / "a", width=8, height=6)
    assert (tmp_path / "a").read_bytes()[16:] == bytes(frame)


def test_set_user_id_stays_with_its_owner(tmp_path, monkeypatch):
    path = tmp_path / "a"
    path.write_bytes(b"")
    path.chmod(0o6755)
    monkeypatch.setattr(os, "fchown", refusing(errno.EPERM))
    WRITERS["rwh"](path)
    assert path.stat().st_mode & 0o7777 == 0o755


@pytest.mark.parametrize("mode", [0o600, 0o640, 0o666, 0o4711])
def test_mode_of_a_replaced_file(save, tmp_path, mode):
    path = tmp_path / "a"
    path.write_bytes(b"")
    path.chmod(mode)
    save(path)
    assert path.stat().st_mode & 0o7777 == mode
    assert path.stat().st_uid == os.getuid()


def test_mode_of_a_new_file(save, tmp_path):
    for number, mask in enumerate((0o022, 0o077)):
        old = os.umask(mask)
        try:
            save(tmp_path / str(number))
            save(tmp_path / f"{number}x", overwrite=False)
        finally:
            os.umask(old)
        for name in (str(number), f"{number}x"):
            assert (tmp_path / name).stat().st_mode & 0o777 == 0o666 & ~mask


@pytest.mark.skipif(os.getuid() != 0, reason="only root can give a file away")
def test_owner_of_a_replaced_file(save, tmp_path):
    path = tmp_path / "a"
    path.write_bytes(b"")
    os.chown(path, 1234, 1235)
    save(path)
    assert (path.stat().st_uid, path.stat().st_gid) == (1234, 1235)


def test_owner_that_cannot_be_kept(save, kind, tmp_path, monkeypatch):
    """The group is asked for alone, without a word on the owner."""
    path = tmp_path / "a"
    path.write_bytes(b"")
    asked = []

    def refuse(_, user, group):
        asked.append((user, group))
        raise PermissionError

    monkeypatch.setattr(os, "fchown", refuse)
    older = path.stat()
    save(path)
    assert len(path.read_bytes()) == SIZES[kind]
    assert asked == [(older.st_uid, older.st_gid), (-1, older.st_gid)]


def test_links_stay_links(save, kind, tmp_path):
    (tmp_path / "there").mkdir()
    target, link = tmp_path / "there" / "target", tmp_path / "link"
    link.symlink_to("there/target")
    for _ in range(2):
        save(link)
        assert link.is_symlink() and len(target.read_bytes()) == SIZES[kind]
    loop = tmp_path / "loop"
    loop.symlink_to("loop")
    with pytest.raises(OSError, match="Too many levels of symbolic links"):
        save(loop)
    assert loop.is_symlink()


def test_full_disk_leaves_the_old_file(save, tmp_path):
    """A limit on the size of files stands in for the disk: the library itself does not report a cut file."""
    path = tmp_path / "a"
    path.write_bytes(b"old")
    old_limits = resource.getrlimit(resource.RLIMIT_FSIZE)
    old_handler = signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    try:
        resource.setrlimit(resource.RLIMIT_FSIZE, (40, old_limits[1]))
        for name in (path, tmp_path / "new"):
            with pytest.raises(OSError, match="only 40 of [0-9]+ bytes were written"):
                save(name)
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, old_limits)
        signal.signal(signal.SIGXFSZ, old_handler)
    assert path.read_bytes() == b"old" and not (tmp_path / "new").exists()


def test_an_interrupted_write_leaves_the_old_file(tmp_path, monkeypatch):
    path = tmp_path / "a"
    path.write_bytes(b"old")

    def interrupt(*arguments):
        raise KeyboardInterrupt

    monkeypatch.setattr(_output, "_expect_size", interrupt)
    with pytest.raises(KeyboardInterrupt):
        WRITERS["rwh"](path)
    assert path.read_bytes() == b"old" and os.listdir(tmp_path) == ["a"]


def test_folder_without_permission(save, tmp_path, monkeypatch):
    """Root may write everywhere, so the refusal is put on; the error names the file that was asked for."""

    def refuse(path, *arguments):
        raise PermissionError(errno.EACCES, "Permission denied", path)

    monkeypatch.setattr(os, "open", refuse)
    with pytest.raises(PermissionError) as raised:
        save(tmp_path / "a")
    assert raised.value.filename == str(tmp_path / "a")


@pytest.mark.parametrize(
    "name, error",
    [("", FileNotFoundError), (".", IsADirectoryError), ("new/", IsADirectoryError), ("file/x", NotADirectoryError),
     ("x" * 300, OSError), (5, TypeError), (None, TypeError)],
)
def test_names_that_are_no_files(save, tmp_path, monkeypatch, name, error):
    monkeypatch.chdir(tmp_path)
    (tmp_path / "file").write_bytes(b"")
    with pytest.raises(error):
        save(name)
    assert os.listdir(tmp_path) == ["file"]


def test_long_names(save, tmp_path):
    save(tmp_path / ("x" * 255))


def sources(path):
    """Arrays over the bytes of a file, each made in another way."""
    with open(path, "r+b") as file:
        mapped = mmap.mmap(file.fileno(), 0)
    yield np.memmap(path, np.uint8, "r+")[16:].reshape(6, 8)
    yield np.asarray(np.memmap(path, np.uint8, "r"))[16:].reshape(6, 8)
    yield np.frombuffer(mapped, np.uint8)[16:].reshape(6, 8)
    yield np.frombuffer(memoryview(mapped)[16:], np.uint8).reshape(6, 8)
    yield vcu.load_rwh(path).data
    yield vcu.load_rwh(path).data[:, :].view(np.int8).view(np.uint8)


def expect_refused(path, data):
    before = path.read_bytes()
    for save in (lambda: vcu.save_rwh(data, "Mono8", path), lambda: vcu.save_bmp(data, path)):
        with pytest.raises(shutil.SameFileError, match="the file holds the data that would be written to it"):
            save()
    assert path.read_bytes() == before


@pytest.mark.parametrize("number", range(6))
def test_a_source_is_never_replaced(tmp_path, monkeypatch, number):
    monkeypatch.chdir(tmp_path)
    path = tmp_path / "a.rwh"
    vcu.save_rwh(FRAME, "Mono8", path)
    (tmp_path / "symbolic").symlink_to("a.rwh")
    (tmp_path / "hard").hardlink_to(path) if hasattr(path, "hardlink_to") else os.link(path, tmp_path / "hard")
    data = list(sources("a.rwh"))[number]
    (tmp_path / "elsewhere").mkdir()
    os.chdir("elsewhere")
    for name in ("a.rwh", "symbolic", "hard"):
        expect_refused(tmp_path / name, data)
    # Another file, and a copy of the data, are no concern of the source.
    vcu.save_rwh(data, "Mono8", tmp_path / "b.rwh")
    copy = data.copy()
    del data
    vcu.save_rwh(np.array(copy), "Mono8", path)


def test_a_source_without_proc(tmp_path, monkeypatch):
    path = tmp_path / "a.rwh"
    vcu.save_rwh(FRAME, "Mono8", path)
    monkeypatch.setattr(_output, "_mapped_files", lambda low, high: iter(()))
    expect_refused(path, np.memmap(path, np.uint8, "r")[16:].reshape(6, 8))
    expect_refused(path, vcu.load_rwh(path).data)


def test_a_source_with_a_name_of_its_own_kind(tmp_path):
    path = tmp_path / "a b\n(deleted)"
    vcu.save_rwh(FRAME, "Mono8", path)
    with open(path, "rb") as file:
        mapped = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
    expect_refused(path, np.frombuffer(mapped, np.uint8)[16:].reshape(6, 8))


def test_files_are_closed(save, tmp_path, full, null):
    before = len(os.listdir("/proc/self/fd"))
    for number in range(5):
        save(tmp_path / str(number))
        save(null)
        with pytest.raises(OSError):
            save(full)
        with pytest.raises(OSError):
            save(tmp_path)
    assert len(os.listdir("/proc/self/fd")) == before


def anonymous(size: int) -> np.ndarray:
    """Memory that takes none until it is written."""
    flags = mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS | getattr(mmap, "MAP_NORESERVE", 0x4000)
    return np.frombuffer(mmap.mmap(-1, size, flags=flags), np.uint8)


def test_rows_beyond_4_gib(tmp_path):
    """The last row of a cut-out lies more than 2^32 bytes behind the first."""
    stride = 3 << 30
    memory = anonymous(2 * stride + 64)
    rows = np.lib.stride_tricks.as_strided(memory, (3, 4, 3), (stride, 3, 1), writeable=True)
    rows[...] = np.arange(36, dtype=np.uint8).reshape(3, 4, 3)
    vcu.save_bmp(rows, tmp_path / "a.bmp")
    assert (tmp_path / "a.bmp").read_bytes()[102:] == rows[::-1].tobytes()
    grey = np.lib.stride_tricks.as_strided(memory, (3, 4), (stride, 1))
    with pytest.raises(ValueError, match="rows of 4 bytes cannot lie 3221225472 bytes apart"):
        vcu.save_bmp(grey, tmp_path / "b.bmp")
    vcu.save_bmp(grey[:2], tmp_path / "b.bmp")
    assert (tmp_path / "b.bmp").read_bytes()[1126:] == grey[1::-1].tobytes()


def test_frames_of_4_gib_are_refused(tmp_path):
    memory = anonymous(1 << 32)
    with pytest.raises(ValueError, match="frames of less than 4 GiB"):
        vcu.save_rwh(memory.reshape(1 << 16, 1 << 16)[:, :].view("<u2"), "Mono16", tmp_path / "a")
    with pytest.raises(ValueError, match="rows of less than 512 MiB"):
        vcu.save_rwh(memory[: 1 << 29], "Mono8", tmp_path / "a", width=1 << 29, height=1)
    third = (1 << 32) // 3 + 1
    for width, height in ((third, 1), (1, third)):
        with pytest.raises(ValueError, match="ConvBGR8PToBGR copies less than 4 GiB"):
            vcu.to_bgr(anonymous(third * 3), "BGR8", width=width, height=height)
    assert not os.listdir(tmp_path)


def test_a_descriptor_of_this_process(tmp_path):
    with open(tmp_path / "a", "wb") as file:
        file.write(b"before")
        file.flush()
        for folder in ("/dev/fd", "/proc/self/fd"):
            vcu.save_rwh(FRAME, "Mono8", f"{folder}/{file.fileno()}")
    assert len((tmp_path / "a").read_bytes()) == 6 + 2 * SIZES["rwh"]
    (tmp_path / "loop").symlink_to("loop")
    assert _output._descriptor(str(tmp_path / "loop")) is None


def test_a_source_that_has_no_name_any_more(tmp_path):
    path = tmp_path / "a"
    vcu.save_rwh(FRAME, "Mono8", path)
    vcu.save_rwh(FRAME, "Mono8", tmp_path / "b")
    data = np.memmap(path, np.uint8, "r")[16:].reshape(6, 8)
    path.unlink()
    vcu.save_rwh(data, "Mono8", tmp_path / "b")
    assert (tmp_path / "b").stat().st_size == SIZES["rwh"]
