# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Parts of archives that the system's own failures reach, one by one."""
from __future__ import annotations

import errno
import os
import signal
import socket
import threading
from pathlib import Path

import distributed
import numpy as np
import pytest

from archive_support import H, TOOL, W, files_of, run_tool, samples
from vexacamutl import archive
from vexacamutl.archive import _chunks, _cluster, _command, _convert, _inputs, _local, _manifest, _tool, _worker


@pytest.fixture(autouse=True)
def tool(monkeypatch):
    monkeypatch.setenv("VEXACAMUTL_TOOL", TOOL)


@pytest.fixture
def found(tmp_path, random):
    samples(random, (6, H, W), 8).tofile(tmp_path / "s.raw")
    return archive.open(tmp_path / "s.raw", "BayerRG8", W, H)


def script(folder, text):
    path = folder / "strange"
    path.write_text(f"#!/bin/bash\n{text}\nexec {TOOL} \"$@\"\n")
    path.chmod(0o755)
    return str(path)


def test_workers_in_this_process(tmp_path, found):
    """A scheduler and a worker as threads: the tasks themselves."""
    with distributed.Client(processes=False, n_workers=1, dashboard_address=None, set_as_default=False) as client:
        assert found.convert(tmp_path / "out", scheduler=client, batch=2).done == 6
        for tool in "/none", TOOL:
            job = _worker.Job(str(tmp_path), str(tmp_path / "none"), tool, (), "png", "crc32")
            assert _worker.check_worker(job)[0] == "bad"
    run_tool("convert", "-f", "BayerRG8", "-s", f"{W}x{H}", "-o", tmp_path / "plain", tmp_path / "s.raw")
    assert files_of(tmp_path / "out") == files_of(tmp_path / "plain")


def test_a_listener_that_is_no_scheduler(tmp_path, found):
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        listener.listen()
        stop = threading.Event()

        def close_all():
            listener.settimeout(0.1)
            while not stop.is_set():
                try:
                    listener.accept()[0].close()
                except TimeoutError:
                    pass

        thread = threading.Thread(target=close_all)
        thread.start()
        try:
            with pytest.raises(archive.SchedulerError, match="no scheduler answers"):
                found.convert(tmp_path / "out", scheduler=f"tcp://127.0.0.1:{listener.getsockname()[1]}", patience=0)
        finally:
            stop.set()
            thread.join()


class Client:
    """As much of a client as a pool asks for; its scheduler answers with `identity`, or not at all."""

    dashboard_link = ""

    def __init__(self, identity):
        self.identity = identity
        self.scheduler = self

    def sync(self, function, callback_timeout):
        if self.identity is None:
            raise OSError("gone")
        return self.identity

    def run(self, function, job, on_error):
        return {"tcp://a:1": OSError("busy")}

    def cancel(self, futures, force):
        raise OSError("gone")

    def submit(self, *_, **__):
        raise AssertionError("nothing is handed in here")


ONE = {"id": "one", "workers": {"tcp://a:1": {"nthreads": 2}}, "services": {}}


def pool_of(client):
    job = _worker.Job("", "", None, (), "png", "crc32")
    return _cluster.DaskPool(client, job, 0, print)


def test_a_scheduler_of_a_client_that_goes():
    """Nobody can wait for it: the client is the caller's."""
    client = Client(ONE)
    pool = pool_of(client)
    assert (pool.threads, pool.window, pool.under_way) == (2, 6, 0)
    assert pool._look_after() == []
    for identity in ({**ONE, "id": "two"}, None):
        client.identity = identity
        with pytest.raises(archive.SchedulerError, match="the scheduler of the client went away"):
            pool._look_after()
    pool.close()
    pool.close()


def test_batches_that_are_lost(monkeypatch):
    """Found lost while nothing came back; answers of batches that were lost before do not count."""
    pool = pool_of(Client(ONE))
    pending = _local.Pending(_worker.Batch(pool._job, ()))
    monkeypatch.setattr(_cluster, "_POLL", 0)
    monkeypatch.setattr(pool, "_look_after", lambda: [_local.Finished(pending, [], lost=True)])
    assert pool.wait()[0].lost

    class Future:
        status = "finished"

        def result(self, timeout):
            raise TimeoutError

    future = Future()
    assert pool._one(future) is None
    pool._under_way[future] = pending
    assert pool._one(future) == _local.Finished(pending, [], lost=True)


@pytest.mark.parametrize("workers", [{"a": None}, {}])
def test_nothing_comes_back_for_a_while(monkeypatch, workers):
    """With workers there is no limit; without, patience."""
    pool = pool_of(Client(ONE))
    pending = _local.Pending(_worker.Batch(pool._job, ()))
    monkeypatch.setattr(_cluster, "_POLL", 0)
    monkeypatch.setattr(pool, "_identity", {"workers": workers})
    monkeypatch.setattr(pool, "_patience", 10**6)
    answers = iter([[], [], [_local.Finished(pending, [], lost=True)]])
    monkeypatch.setattr(pool, "_look_after", lambda: next(answers))
    assert pool.wait()[0].lost and next(answers, None) is None


@pytest.mark.parametrize("workers,avoided,astray", [
    (["a", "b"], {"a"}, True), (["a", "b"], {"b"}, False), (["a"], {"a"}, False), (["a", "b"], set(), False)])
def test_a_batch_that_a_worker_to_be_avoided_took(workers, avoided, astray):
    """It says nothing about the others, if there are any."""
    pool = _cluster.DaskPool.__new__(_cluster.DaskPool)
    pool._identity = {"workers": dict.fromkeys(workers)}
    pending = _local.Pending(_worker.Batch(None, ()), avoid=frozenset(avoided))

    class Done:
        status = "finished"

        def result(self, timeout):
            return "a", []
    future = Done()
    pool._under_way = {future: pending}
    assert pool._one(future) == _local.Finished(pending, [], "a", astray=astray)


@pytest.mark.parametrize("astray,failures,done", [(True, 8, 6), (True, 12, 4), (False, 1, 6), (False, 2, 4)])
def test_tries_on_workers_to_be_avoided_do_not_count(tmp_path, found, monkeypatch, astray, failures, done):
    """The first batch fails so often; the first time on any worker."""
    tried: list[int] = []

    def convert(batch, runner):
        if batch.items[0].frames[0].number != 0 or len(tried) == failures:
            return _worker.convert_batch(batch, runner)
        tried.append(len(batch.items))
        return [_worker.Outcome(item.output, (_worker.Missed(item.frames[0], "no room"),)) for item in batch.items]

    class Pool(_local.LocalPool):
        def __init__(self, jobs):
            super().__init__(jobs, convert)

        def wait(self):
            return [one._replace(where="bad", astray=astray and "bad" in one.pending.avoid) for one in super().wait()]
    monkeypatch.setattr(_convert, "LocalPool", Pool)
    report = found.convert(tmp_path / "out", jobs=1, batch=2)
    assert (report.done, [one.frame for one in report.failed]) == (done, [] if done == 6 else [0, 1])
    assert tried == [2] * min(failures, 11 if astray else 2)


def test_chunks_of_other_pictures(tmp_path):
    (tmp_path / "a.pgm").write_bytes(b"P5\n3 2\n255\n" + bytes(range(6)))
    (tmp_path / "b.pgm").write_bytes(b"P5\n2 2\n255\n" + bytes(4))
    form = _chunks.ChunkForm(3, (2, 3), "|u1")
    wrong = _chunks.encode_chunk(form, [str(tmp_path / "a.pgm"), str(tmp_path / "b.pgm"), None], str(tmp_path / "0.0.0"))
    assert [i for i, _ in wrong] == [1] and "shape (2, 2)" in wrong[0][1]
    import numcodecs

    chunk = np.frombuffer(numcodecs.Zstd().decode((tmp_path / "0.0.0").read_bytes()), np.uint8)
    assert chunk.tolist() == [*range(6), *[0] * 12]


def test_chunks_that_cannot_be_written(tmp_path, found):
    (tmp_path / "z").mkdir()
    assert found.convert(tmp_path / "z", "zarr").done == 6
    (tmp_path / "z" / "0.0.0.0").unlink()
    (tmp_path / "z" / "0.0.0.0").mkdir()
    report = found.convert(tmp_path / "z", "zarr")
    assert len(report.failed) == 6 and "Is a directory" in report.failed[0].reason
    job = _worker.Job(str(tmp_path), str(tmp_path), None, (), "ppm", "crc32", _chunks.ChunkForm(1, (1,), "|u1"))
    item = _worker.Item("0", (_worker.Frame("a", None),))
    missed = {item.frames[0]: _worker.Missed(item.frames[0], "why")}
    outcome = _worker._deliver_chunk(job, item, missed, str(tmp_path / "none"))
    assert outcome.missed[0].reason == "cannot write 0: No such file or directory"


def test_a_run_that_ended_meanwhile(tmp_path):
    """Nothing is renamed, and no folder is made, once the run's own is gone."""
    job = _worker.Job(str(tmp_path), str(tmp_path / "gone"), TOOL, (), "png", "crc32")
    item = _worker.Item("a.png", (_worker.Frame("a", None),))
    with pytest.raises(_worker.RunEnded, match="gone is gone"):
        _worker._place(job, item, str(tmp_path / "gone" / "a.png"))
    with pytest.raises(_worker.RunEnded, match="not seen from here"):
        _worker.convert_batch(_worker.Batch(job, (item,)))
    assert list(_worker._calls([], False)) == [] and os.listdir(tmp_path) == []
    with pytest.raises(FileNotFoundError):
        _tool.RUNNER.run(TOOL, ["--version"], str(tmp_path / "gone"))


def test_a_runner_that_was_stopped():
    runner = _tool.Runner()
    runner.stop()
    with pytest.raises(_tool.Stopped):
        runner.run(TOOL, ["--version"])


def test_an_input_that_goes_while_it_is_described(tmp_path, found, monkeypatch):
    described = list(_tool.describe(TOOL, [str(tmp_path / "s.raw")], ["--format=BayerRG8", f"--size={W}x{H}"]))
    monkeypatch.setattr(_inputs, "describe", lambda *_: [*described, {**described[0], "file": str(tmp_path / "gone.raw")}])
    again = archive.open(tmp_path / "s.raw", "BayerRG8", W, H)
    assert len(again) == 6 and again.bad[0].reason == f"cannot read {tmp_path}/gone.raw: No such file or directory"


def test_tools_that_go_wrong_later(tmp_path, found):
    for text, words in (('[[ $1 == --version ]] && { echo Other 1; exit; }', "is not the tool"),
                        ('[[ $* == */dev/null/none* ]] && kill -9 $$', "signal SIGKILL")):
        strange = archive.open(tmp_path / "s.raw", "BayerRG8", W, H, tool=script(tmp_path, text))
        with pytest.raises(archive.ToolError, match=words):
            strange.convert(tmp_path / "out")
        assert not (tmp_path / "out").exists()


def test_frames_that_no_picture_is_made_of(tmp_path):
    (tmp_path / "a.raw").write_bytes(bytes(W * H))
    limited = archive.open(tmp_path / "a.raw", "BayerRG8", W, H, range="limited")
    with pytest.raises(archive.InputError, match="for YUV frames"):
        limited.convert(tmp_path / "z", "zarr")
    report = limited.convert(tmp_path / "out")
    assert report.done == 0 and "for YUV frames" in report.failed[0].reason


def test_locks_that_the_system_refuses(tmp_path, monkeypatch):
    with monkeypatch.context() as patch:
        patch.setattr(_manifest.fcntl, "flock", lambda *_: (_ for _ in ()).throw(OSError(errno.ENOLCK, "No locks available")))
        with pytest.raises(OSError, match="No locks"):
            _manifest.Manifest(str(tmp_path / "out"))
    same = [False, True]
    with monkeypatch.context() as patch:
        patch.setattr(_manifest.os.path, "samestat", lambda *_: same.pop(0))
        with _manifest.Manifest(str(tmp_path / "out")):
            pass
    assert same == [] and not (tmp_path / "out" / ".vexacamutl").exists()


def test_a_disk_that_fills_under_the_manifest(tmp_path, monkeypatch):
    """A line that was begun is taken back."""
    with _manifest.Manifest(str(tmp_path)) as manifest:
        manifest.make_folder()
        manifest.begin({"to": "png"}, anew=False)
        path = Path(_manifest.manifest_path(str(tmp_path)))
        before = path.read_bytes()

        def half(file, text, at):
            if len(text) < 10:
                raise OSError(errno.ENOSPC, "No space left on device")
            return os.write(os.open(path, os.O_WRONLY | os.O_APPEND), text[: len(text) // 2])

        with monkeypatch.context() as patch:
            patch.setattr(_manifest.os, "pwrite", half)
            with pytest.raises(OSError, match="No space left.*manifest.jsonl"):
                manifest.add([{"input": "x" * 50, "reason": "y"}])
        assert path.read_bytes() == before
        manifest.add([{"end": {}}])
    assert _manifest.read_manifest(str(tmp_path)).ended and _manifest.left_over(str(tmp_path / "none")) == []


@pytest.mark.parametrize("number,status,word", [(signal.SIGINT, 130, "stopped"), (signal.SIGTERM, 143, "ended")])
def test_signals_in_this_process(tmp_path, found, monkeypatch, capsys, number, status, word):
    monkeypatch.setattr(archive.Archive, "convert", lambda *_, **__: os.kill(os.getpid(), number) or signal.pause())
    before = signal.getsignal(signal.SIGTERM)
    words = ["convert", str(tmp_path / "s.raw"), str(tmp_path / "out"), "-f", "BayerRG8", "-s", f"{W}x{H}"]
    assert _command.main(words) == status and signal.getsignal(signal.SIGTERM) == before
    assert capsys.readouterr().err == f"vexacamutl.archive: {word}; the same command goes on where this one was\n"


def test_lines_of_the_manifest_are_on_the_disk(tmp_path, monkeypatch):
    """What was added counts as done only once the system has been told to write it."""
    synced = []
    sync = os.fsync

    def note(descriptor):
        synced.append(os.fstat(descriptor).st_size)
        sync(descriptor)

    monkeypatch.setattr(os, "fsync", note)
    out = str(tmp_path / "out")
    with _manifest.Manifest(out) as manifest:
        manifest.begin({"to": "png"}, anew=True)
        for done in range(3):
            manifest.add([{"end": {"done": done}}])
            assert os.path.getsize(_manifest.manifest_path(out)) == synced[-1]
