# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Conversion on this machine: bytes, resuming, refusals, and what goes wrong on the way."""
from __future__ import annotations

import fcntl
import hashlib
import json
import os
import subprocess
import sys
import zlib

import numpy as np
import pytest
import zarr

import vexacamutl as vcu
from archive_support import H, TOOL, W, files_of, manifest_lines, recording, run_tool, samples, sidecar
from vexacamutl import archive
from vexacamutl.archive import _convert, _tool


@pytest.fixture(autouse=True)
def tool(monkeypatch):
    monkeypatch.setenv("VEXACAMUTL_TOOL", TOOL)


@pytest.fixture
def mixed(tmp_path, random):
    return recording(tmp_path / "rec", random)


def strange_tool(folder, script):
    """The tool behind a script that sees the arguments first; REAL is the tool itself."""
    path = folder / "strange"
    path.write_text(f"#!/bin/bash\nREAL={TOOL}\n{script}\nexec $REAL \"$@\"\n")
    path.chmod(0o755)
    return str(path)


@pytest.mark.parametrize("to,settings,options", [
    ("png", {}, []), ("tiff", {"mode": "default"}, []), ("jpg", {"quality": 55}, ["--quality=55"]),
    ("bgra", {"white_balance": "auto", "tone": "srgb"}, ["--white-balance=auto", "--tone=srgb"]),
    ("bgr", {"white_balance": (1.5, 1, np.float32(2)), "black_level": 3, "exposure": 1.25, "tone": 2.2},
     ["--white-balance=1.5,1,2.0", "--black-level=3", "--exposure=1.25", "--tone=2.2"]),
    ("png", {"bayer": False, "png_level": 0, "sync": True}, ["--grey", "--png-level=0"]),
    ("bmp", {"alpha": True, "mode": vcu.BayerMode.DEFAULT, "bits": None}, ["--alpha"]), ("ppm", {"bayer": True}, [])])
def test_bytes_of_a_plain_run(tmp_path, mixed, to, settings, options):
    run_tool("convert", "-t", to, *options, "-o", tmp_path / "plain", mixed, check=False)
    report = archive.open(mixed).convert(tmp_path / "out", to, batch=4, **settings)
    assert {os.path.basename(one.input) for one in report.failed} == ({"colour.raw"} if "tone" in settings else set())
    assert (report.done + len(report.failed), report.skipped) == (26, 0) and report.complete == (not report.failed)
    assert files_of(tmp_path / "out") == files_of(tmp_path / "plain")
    assert report.bytes == sum(map(len, files_of(tmp_path / "out").values())) and report.seconds > 0
    assert os.listdir(tmp_path / "out" / ".vexacamutl") in (["lock", "manifest.jsonl"], ["manifest.jsonl", "lock"])


@pytest.mark.parametrize("digest,compute", [("crc32", lambda b: f"{zlib.crc32(b):08x}"),
                                            ("sha256", lambda b: hashlib.sha256(b).hexdigest())])
def test_manifest(tmp_path, mixed, digest, compute):
    out = tmp_path / "out"
    archive.open(mixed).convert(out, digest=digest)
    run, *lines, end = manifest_lines(out)
    assert run["run"]["to"] == "png" and run["run"]["frames"] == 26
    assert end == {"end": {"done": 26, "skipped": 0, "failed": 0}}
    assert {line["output"]: (line["bytes"], line["digest"]) for line in lines} == {
        name: (len(content), compute(content)) for name, content in files_of(out).items()}
    found = archive.verify(out, digests=True)
    assert (found.good, found.complete, found.wrong, found.digests) == (26, True, [], True)


def test_slices_convert_their_frames(tmp_path, random):
    frames = samples(random, (20, H, W), 8)
    frames.tofile(tmp_path / "s.raw")
    found = archive.open(tmp_path / "s.raw", "Mono8", W, H)
    out = tmp_path / "out"
    assert found[3:9].convert(out, "pgm").done == 6 and found[2::7].convert(out, "pgm").done == 3
    assert found[::-1].convert(out, "pgm").skipped == 9
    assert all(content[-W * H:] == frames[int(name[2:7])].tobytes() for name, content in files_of(out).items())


def test_resume(tmp_path, mixed):
    out = tmp_path / "out"
    found = archive.open(mixed)
    found.convert(out, batch=3)
    before = files_of(out)
    (out / "bayer_00002.png").unlink()
    with open(out / "grey0.png", "ab") as file:
        file.write(b"x")
    os.truncate(mixed / "deep1.rwh", os.path.getsize(mixed / "deep1.rwh"))
    os.utime(mixed / "grey2.raw", (1, 1))
    report = archive.open(mixed).convert(out)
    assert (report.done, report.skipped) == (4, 22) and files_of(out) == before
    report = found.convert(out, resume=False)
    assert (report.done, report.skipped) == (26, 0) and files_of(out) == before
    assert [line for line in manifest_lines(out) if "run" in line] == manifest_lines(out)[:1]


def test_inputs_that_came_later(tmp_path, mixed, random):
    out = tmp_path / "out"
    archive.open(mixed).convert(out)
    samples(random, (2, H, W), 8).tofile(mixed / "later.raw")
    sidecar(mixed / "later.raw", "Mono8")
    report = archive.open(mixed).convert(out)
    assert (report.done, report.skipped) == (2, 26) and archive.verify(out).good == 28


def test_lines_that_were_cut_off_or_damaged(tmp_path, mixed):
    out = tmp_path / "out"
    found = archive.open(mixed)
    found.convert(out)
    path = out / ".vexacamutl" / "manifest.jsonl"
    lines = path.read_bytes().splitlines(keepends=True)
    path.write_bytes(b"".join([*lines[:5], b"{not json\n", b'{"output": 1}\n', b"[]\n", *lines[8:20], lines[20][:-9]]))
    assert archive.verify(out).interrupted
    report = found.convert(out)
    assert report.done == 26 - 4 - 12 and archive.verify(out, True).complete
    path.write_bytes(b"")
    assert found.convert(out).done == 26
    path.write_bytes(b"".join(lines[1:]))
    for call in (lambda: found.convert(out), lambda: archive.verify(out)):
        with pytest.raises(archive.ManifestError, match="no line names a run"):
            call()
    assert found.convert(out, resume=False).done == 26


@pytest.mark.parametrize("change", [
    {"to": "jpg"}, {"mode": "acpi"}, {"digest": "sha256"}, {"to": "zarr"}, {"open": {"format": "Mono8", "width": W, "height": H}}])
def test_other_settings_in_the_same_folder(tmp_path, random, change):
    samples(random, (2, H, W), 8).tofile(tmp_path / "a.raw")
    sidecar(tmp_path / "a.raw", "Mono8")
    out = tmp_path / "out"
    archive.open(tmp_path / "a.raw").convert(out)
    before = files_of(out), manifest_lines(out)
    found = archive.open(tmp_path / "a.raw", **change.get("open", {}))
    arguments = {name: value for name, value in change.items() if name != "open"}
    with pytest.raises(archive.ManifestError, match="another conversion"):
        found.convert(out, **arguments)
    assert (files_of(out), manifest_lines(out)) == before
    if arguments.get("to") != "zarr":
        assert found.convert(out, resume=False, **arguments).done == 2


def test_another_input_of_the_same_name(tmp_path, random):
    for folder in ("x", "y"):
        (tmp_path / folder).mkdir()
        samples(random, (H, W), 8).tofile(tmp_path / folder / "a.raw")
    out = tmp_path / "out"
    archive.open(tmp_path / "x" / "a.raw", "Mono8", W, H).convert(out)
    before = files_of(out)
    other = archive.open(tmp_path / "y" / "a.raw", "Mono8", W, H)
    with pytest.raises(archive.NameCollisionError, match="a.png was made of .*x/a.raw"):
        other.convert(out)
    assert files_of(out) == before
    assert other.convert(out, resume=False).done == 1 and files_of(out) != before


@pytest.mark.parametrize("kind", ["itself", "hard link"])
def test_inputs_are_never_overwritten(tmp_path, random, kind):
    (tmp_path / "in").mkdir()
    path = tmp_path / "in" / "a.png"
    samples(random, (H, W), 8).tofile(path)
    out = path.parent if kind == "itself" else tmp_path / "out"
    if kind != "itself":
        out.mkdir()
        os.link(path, out / "a.png")
    before = files_of(tmp_path)
    for resume in (True, False):
        with pytest.raises(archive.InputOverwriteError, match="a.png is the input .*; an input is never overwritten"):
            archive.open([path], "Mono8", W, H).convert(out, resume=resume)
    assert files_of(tmp_path) == before and not (out / ".vexacamutl").exists()


def test_a_link_to_an_input_is_replaced(tmp_path, random):
    """The link itself: what it leads to stays."""
    samples(random, (H, W), 8).tofile(tmp_path / "b.raw")
    (tmp_path / "out").mkdir()
    (tmp_path / "out" / "b.png").symlink_to("nowhere")
    before = (tmp_path / "b.raw").read_bytes()
    assert archive.open(tmp_path / "b.raw", "Mono8", W, H).convert(tmp_path / "out").done == 1
    assert (tmp_path / "b.raw").read_bytes() == before and not (tmp_path / "out" / "b.png").is_symlink()


@pytest.mark.parametrize("arguments,error,words", [
    ({"to": "gif"}, archive.SettingError, "to must be one of 'png'"), ({"to": None}, archive.SettingError, "to must be"),
    ({"wrong": 1}, archive.SettingError, "convert takes no 'wrong'; it takes mode"),
    ({"mode": "best"}, archive.SettingError, "mode: the mode must be"), ({"bits": 9}, archive.SettingError, "bits"),
    ({"bits": 16, "to": "jpg"}, archive.SettingError, "--bits 16 is for"), ({"quality": 0}, archive.SettingError, "quality"),
    ({"quality": 1.5}, archive.SettingError, "quality: it must be an integer"), ({"png_level": -1}, archive.SettingError, ""),
    ({"white_balance": "bright"}, archive.SettingError, "white-balance"), ({"white_balance": 3}, archive.SettingError, ""),
    ({"white_balance": (1, "x", 2)}, archive.SettingError, "white_balance: must be a number"),
    ({"tone": True}, archive.SettingError, "tone: must be a number"), ({"tone": "dark"}, archive.SettingError, "tone"),
    ({"exposure": -1}, archive.SettingError, "exposure"), ({"alpha": 2}, archive.SettingError, "alpha"),
    ({"jobs": 0}, ValueError, "jobs"), ({"jobs": "2"}, TypeError, "jobs"), ({"batch": 0}, ValueError, "batch"),
    ({"digest": "md5"}, archive.SettingError, "digest must be"), ({"patience": -1}, archive.SettingError, "patience"),
    ({"patience": "long"}, archive.SettingError, "patience"), ({"scheduler": 8786}, archive.SettingError, "the scheduler must"),
    ({"scheduler": "tcp://127.0.0.1:1", "jobs": 2}, archive.SettingError, "jobs is for this machine"),
    ({"resume": "yes"}, TypeError, "resume"), ({"progress": 2}, ValueError, "progress"), ({"jobs": 1025}, ValueError, "jobs must be 1 to"),
    ({"scheduler": ""}, archive.SchedulerError, "invalid scheduler"), ({"scheduler": "tcp://h:x"}, archive.SchedulerError, "invalid"),
    ({"scheduler": "nonsense"}, archive.SchedulerError, "invalid scheduler"),
    ({"scheduler": "tcp://127.0.0.1:1", "patience": 0}, archive.SchedulerError, "no scheduler answers"),
    ({"to": "zarr", "alpha": True}, archive.SettingError, "grey or RGB")])
def test_refusals(tmp_path, mixed, arguments, error, words):
    with pytest.raises(error, match=words):
        archive.open(mixed)[:5].convert(tmp_path / "out", **arguments)
    assert not (tmp_path / "out").exists()


def test_places_that_are_no_folder(tmp_path, mixed):
    found = archive.open(mixed)
    (tmp_path / "file").write_bytes(b"")
    for out in (tmp_path / "file", tmp_path / "file" / "out"):
        with pytest.raises(NotADirectoryError, match="file"):
            found.convert(out)
    with pytest.raises(FileNotFoundError):
        found.convert("")
    with pytest.raises(archive.NoFramesError, match="no frames"):
        found[:0].convert(tmp_path / "out")
    assert not (tmp_path / "out").exists()


def test_one_process_at_a_time(tmp_path, mixed):
    out = tmp_path / "out"
    found = archive.open(mixed)
    found.convert(out)
    with open(out / ".vexacamutl" / "lock") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        with pytest.raises(archive.ArchiveInUseError, match="another process"):
            found.convert(out)
    assert found.convert(out).skipped == 26


def test_bad_frames_do_not_stop_the_others(tmp_path, mixed):
    """Inputs that shrink, grow, vanish and change after they were opened."""
    (mixed / "broken.raw").write_bytes(b"short")
    sidecar(mixed / "broken.raw", "Mono8")
    found = archive.open(mixed)
    run_tool("convert", "-o", tmp_path / "plain", *(s.path for s in found.inputs))
    os.truncate(mixed / "bayer.raw", 3 * W * H)
    os.truncate(mixed / "grey1.raw", 7)
    (mixed / "deep0.rwh").unlink()
    with open(mixed / "grey2.raw", "ab") as file:
        file.write(bytes(W * H))
    report = found.convert(tmp_path / "out", batch=7)
    failed = {(os.path.basename(path), frame): reason for path, frame, reason in report.failed}
    assert set(failed) == {("broken.raw", None), ("bayer.raw", 3), ("bayer.raw", 4), ("grey1.raw", 0), ("deep0.rwh", 0),
                           ("grey2.raw", 0)}
    assert "there is no frame" in failed["bayer.raw", 4] or "ends before this frame" in failed["bayer.raw", 4]
    assert "7 bytes are not" in failed["grey1.raw", 0] and "No such file" in failed["deep0.rwh", 0]
    assert "another number of frames" in failed["grey2.raw", 0]
    gone = {"bayer_00003.png", "bayer_00004.png", "grey1.png", "deep0.png", "grey2.png"}
    plain = files_of(tmp_path / "plain")
    assert report.done == 21 and not report.complete
    assert files_of(tmp_path / "out") == {name: plain[name] for name in plain if name not in gone}
    found = archive.verify(tmp_path / "out")
    assert (found.good, len(found.failed), found.wrong, found.complete) == (21, 6, [], False)
    again = archive.open(mixed).convert(tmp_path / "out")
    assert again.skipped == 21 - 3 and again.done == 3 + 2, "the file that shrank and the one that grew are others now"


@pytest.mark.parametrize("zarr_too", [False, True])
def test_a_tool_that_is_killed(tmp_path, mixed, zarr_too):
    """Twice; the batches are begun again."""
    run_tool("convert", "-o", tmp_path / "plain", mixed)
    strange = strange_tool(tmp_path, f'for i in 1 2; do [[ $* == *report* ]] && mkdir "{tmp_path}/killed$i" 2>/dev/null && '
                                     'kill -9 $$; done')
    found = archive.open(mixed, tool=strange)
    report = found[:5].convert(tmp_path / "z", "zarr") if zarr_too else found.convert(tmp_path / "out")
    assert report.failed == [] and (tmp_path / "killed2").exists()
    assert zarr_too or files_of(tmp_path / "out") == files_of(tmp_path / "plain")


def test_a_tool_that_is_always_killed(tmp_path, mixed):
    found = archive.open(mixed, tool=strange_tool(tmp_path, '[[ $* == *report* ]] && kill -9 $$'))
    report = found[:5].convert(tmp_path / "out", batch=5)
    assert len(report.failed) == 5 and "ended by the signal SIGKILL" in report.failed[0].reason
    assert files_of(tmp_path / "out") == {}


@pytest.mark.parametrize("script,words", [
    ('[[ $* == *report* ]] && { $REAL "$@"; sed -i "s/crc32/crc/" report.jsonl; exit; }', "older"),
    ('[[ $* == *report* ]] && { $REAL "$@"; rm -rf ../../../run-*; exit; }', "is gone")])
def test_what_ends_a_conversion(tmp_path, mixed, script, words):
    found = archive.open(mixed, tool=strange_tool(tmp_path, script))
    with pytest.raises(archive.ArchiveError, match=words):
        found.convert(tmp_path / "out")
    assert archive.open(mixed).convert(tmp_path / "out").complete


def test_a_short_result(tmp_path, mixed):
    """A size that differs from the report is no result."""
    script = '[[ $* == *report* && $* == *grey0* ]] && { $REAL "$@"; truncate -s 9 grey0.png; exit; }'
    report = archive.open(mixed, tool=strange_tool(tmp_path, script)).convert(tmp_path / "out")
    assert [(os.path.basename(one.input), one.reason.split()[:3]) for one in report.failed] == [
        ("grey0.raw", ["only", "9", "of"])]
    assert report.done == 25 and not (tmp_path / "out" / "grey0.png").exists()


def test_a_place_that_is_taken(tmp_path, mixed):
    (tmp_path / "out" / "grey0.png").mkdir(parents=True)
    report = archive.open(mixed).convert(tmp_path / "out")
    assert [one.reason for one in report.failed] == [f"cannot write {tmp_path}/out/grey0.png: Is a directory"]
    assert report.done == 25


def limited(code, bytes_):
    """A process that cannot write longer files: what a full disk is to it."""
    limit = f"import resource, signal; resource.setrlimit(resource.RLIMIT_FSIZE, ({bytes_}, {bytes_}))\n"             "signal.signal(signal.SIGXFSZ, signal.SIG_IGN)\n"
    return subprocess.run([sys.executable, "-c", limit + code], capture_output=True, text=True, check=False)


def test_a_full_disk(tmp_path, random):
    """Results that have room are made; the others are listed, and made when there is room again."""
    for i in range(6):
        frame = samples(random, (48, 64), 8) if i % 2 else np.full((48, 64), 7, np.uint8)
        frame.tofile(tmp_path / f"f{i}.raw")
    code = f"from vexacamutl import archive\nr = archive.open({str(tmp_path / '*.raw')!r}, 'Mono8', 64, 48)."            f"convert({str(tmp_path / 'out')!r})\nprint(r.done, [f.reason.split(': ')[-1] for f in r.failed])"
    done = limited(code, 2500)
    assert done.stdout == f"3 {['File too large'] * 3}\n", done.stderr
    assert sorted(files_of(tmp_path / "out")) == ["f0.png", "f2.png", "f4.png"]
    report = archive.open(tmp_path / "*.raw", "Mono8", 64, 48).convert(tmp_path / "out")
    assert (report.done, report.skipped) == (3, 3)


def test_no_room_for_the_manifest(tmp_path, random):
    """The conversion stops; what the manifest has is whole lines."""
    samples(random, (64, 4, 4), 8).tofile(tmp_path / "s.raw")
    code = f"from vexacamutl import archive\narchive.open({str(tmp_path / 's.raw')!r}, 'Mono8', 4, 4)."            f"convert({str(tmp_path / 'out')!r}, jobs=1, batch=4)"
    done = limited(code, 3000)
    assert "manifest.jsonl" in done.stderr and "File too large" in done.stderr
    text = (tmp_path / "out" / ".vexacamutl" / "manifest.jsonl").read_bytes()
    assert 0 < len(text) <= 3000 and text.endswith(b"\n") and all(json.loads(line) for line in text.splitlines())
    skipped = text.count(b"output")
    report = archive.open(tmp_path / "s.raw", "Mono8", 4, 4).convert(tmp_path / "out")
    assert (report.skipped, report.done) == (skipped, 64 - skipped) and archive.verify(tmp_path / "out", True).complete


@pytest.mark.parametrize("settings,picture", [
    ({}, lambda f: vcu.to_rgb(f, "BayerRG8")), ({"mode": "acpi"}, lambda f: vcu.to_rgb(f, "BayerRG8", mode="acpi")),
    ({"bayer": False}, lambda f: f), ({"tone": 2.2}, lambda f: vcu.to_rgb(f, "BayerRG8", tone=2.2))])
def test_zarr(tmp_path, random, settings, picture):
    frames = samples(random, (2, 11, H, W), 8)
    for i, part in enumerate(frames):
        part.tofile(tmp_path / f"s{i}.raw")
    found = archive.open(tmp_path / "s*.raw", "BayerRG8", W, H, frames_per_chunk=4)
    out = tmp_path / "z"
    report = found.convert(out, "zarr", **settings)
    assert (report.done, report.failed) == (22, [])
    array = zarr.open(str(out), "r")
    assert array.chunks[0] == 4 and array.attrs["_ARRAY_DIMENSIONS"][:2] == ["frame", "y"]
    assert np.array_equal(array[:], [picture(frame) for frame in frames.reshape(22, H, W)])
    assert report.bytes == sum(path.stat().st_size for path in out.glob("[0-9]*"))
    assert archive.verify(out, True).good == 6
    again = found.convert(out, "zarr", **settings)
    assert (again.done, again.skipped) == (0, 22)
    (out / ("2.0.0.0" if array.ndim == 4 else "2.0.0")).unlink()
    assert (r := found.convert(out, "zarr", **settings)).done == 4 and r.skipped == 18
    with pytest.raises(archive.ManifestError, match=r"another conversion .array: shape .22, .*, not .5, "):
        found[:5].convert(out, "zarr", **settings)
    assert found[:5].convert(out, "zarr", resume=False, **settings).done == 5
    assert np.array_equal(zarr.open(str(out), "r")[:], [picture(frame) for frame in frames[0, :5]])
    assert len(list(out.glob("[0-9]*"))) == 2


def test_zarr_of_words(tmp_path, random):
    frames = samples(random, (3, H, W), 12)
    frames.tofile(tmp_path / "s.raw")
    found = archive.open(tmp_path / "s.raw", "Mono12", W, H)
    assert found.convert(tmp_path / "z", "zarr", bits=16, digest="sha256").done == 3
    assert np.array_equal(zarr.open(str(tmp_path / "z"), "r")[:] >> 4, frames)
    assert archive.verify(tmp_path / "z", True).complete


def test_chunks_of_large_pictures(tmp_path, random):
    """A chunk holds at most 16 MiB."""
    np.zeros((20, 1000, 1000), np.uint8).tofile(tmp_path / "s.raw")
    found = archive.open(tmp_path / "s.raw", "BayerRG8", 1000, 1000)
    assert found.convert(tmp_path / "z", "zarr").done == 20
    assert zarr.open(str(tmp_path / "z"), "r").chunks == (5, 1000, 1000, 3)


def test_zarr_with_bad_frames(tmp_path, random):
    frames = samples(random, (6, H, W), 8)
    for i, frame in enumerate(frames):
        frame.tofile(tmp_path / f"f{i}.raw")
    found = archive.open(tmp_path / "f*.raw", "Mono8", W, H, frames_per_chunk=4)
    (tmp_path / "f2.raw").unlink()
    report = found.convert(tmp_path / "z", "zarr")
    assert report.done == 5 and [os.path.basename(one.input) for one in report.failed] == ["f2.raw"]
    stored = zarr.open(str(tmp_path / "z"), "r")[:]
    assert not stored[2].any() and all(np.array_equal(stored[i], frames[i]) for i in (0, 1, 3, 4, 5))
    assert archive.verify(tmp_path / "z", True).failed[0].output == "0.0.0"
    frames[2].tofile(tmp_path / "f2.raw")
    report = found.convert(tmp_path / "z", "zarr")
    assert (report.done, report.skipped, report.failed) == (4, 2, [])
    assert np.array_equal(zarr.open(str(tmp_path / "z"), "r")[:], frames)


def test_what_no_array_holds(tmp_path, mixed):
    with pytest.raises(archive.MixedFramesError, match="pictures of 2 shapes"):
        archive.open(mixed).convert(tmp_path / "z", "zarr")
    found = archive.open(mixed)[:5]
    (tmp_path / "z").mkdir()
    (tmp_path / "z" / "notes").write_text("mine")
    with pytest.raises(archive.ManifestError, match="holds notes; an array needs a folder of its own"):
        found.convert(tmp_path / "z", "zarr")
    assert os.listdir(tmp_path / "z") == ["notes"]
    (mixed / "bayer.raw").unlink()
    with pytest.raises(archive.InputError, match="No such file"):
        found.convert(tmp_path / "y", "zarr")
    assert not (tmp_path / "y").exists()


def test_verify_finds(tmp_path, mixed):
    out = tmp_path / "out"
    archive.open(mixed).convert(out)
    (out / "grey0.png").unlink()
    with open(out / "grey1.png", "r+b") as file:
        file.seek(20)
        file.write(b"\xff\x00")
    os.truncate(out / "grey2.png", 5)
    (out / ".vexacamutl" / "run-old").mkdir()
    quick, whole = archive.verify(out), archive.verify(out, digests=True)
    assert [one.output for one in quick.wrong] == ["grey0.png", "grey2.png"] and quick.left_over == [".vexacamutl/run-old"]
    assert {one.output: one.reason.split()[0] for one in whole.wrong} == {"grey0.png": "No", "grey1.png": "other", "grey2.png": "5"}
    assert "3 wrong" in str(whole) and whole.as_dict()["wrong"][0]["output"] == "grey0.png"
    assert archive.open(mixed).convert(out).done == 2
    assert archive.verify(out).left_over == []
    with pytest.raises(archive.ManifestError, match="nothing was converted"):
        archive.verify(mixed)
    with pytest.raises(ValueError, match="digests"):
        archive.verify(out, 2)


def test_resuming_is_quick(tmp_path, random):
    """The work of a second call: one run of info and one of --version, and no frame is converted."""
    samples(random, (3000, 4, 4), 8).tofile(tmp_path / "s.raw")
    found = archive.open(tmp_path / "s.raw", "Mono8", 4, 4)
    assert found.convert(tmp_path / "out", "bgr").done == 3000
    log = tmp_path / "log"
    strange = strange_tool(tmp_path, f'echo "$*" >>{log}')
    assert archive.open(tmp_path / "s.raw", "Mono8", 4, 4, tool=strange).convert(tmp_path / "out", "bgr").skipped == 3000
    lines = log.read_text().splitlines()
    assert [line.split()[0] for line in lines] == ["info", "convert", "--version"] and "/dev/null/none" in lines[1]


class Stream:
    def __init__(self, terminal):
        self.text, self.terminal = "", terminal

    def isatty(self):
        return self.terminal

    def write(self, text):
        self.text += text

    def flush(self):
        pass


@pytest.mark.parametrize("terminal,wanted,shown", [(True, None, True), (False, None, False), (False, True, True), (True, False, False)])
def test_progress(tmp_path, mixed, monkeypatch, terminal, wanted, shown):
    stream = Stream(terminal)
    monkeypatch.setattr(sys, "stderr", stream)
    archive.open(mixed).convert(tmp_path / "out", batch=1, progress=wanted)
    assert bool(stream.text) == shown
    if shown:
        assert stream.text.endswith("\n") and "100 %  26/26 frames" in stream.text.splitlines()[-1]
        assert ("\r\x1b[K" in stream.text) == terminal
    monkeypatch.setattr(sys, "stderr", stream := Stream(terminal))
    archive.open(mixed).convert(tmp_path / "out", progress=wanted)
    assert ("100 %  26/26 frames  0.0 frames/s" in stream.text) == shown


def test_many_inputs_in_few_commands(tmp_path, monkeypatch):
    """As many as a command line holds."""
    monkeypatch.setattr(_tool, "COMMAND_BYTES", 1000)
    assert [len(part) for part in _tool.in_portions(["x" * 91] * 25, 1000)] == [10, 10, 5]
    assert list(_tool.in_portions([])) == []


@pytest.mark.parametrize("frames,threads,wanted,size,expected", [
    (1000, 2, None, 1 << 20, [250, 187, 140, 105, 79, 59, 45, 33, 25, 19, 14, 11, 8, 8, 8, 8, 1]),
    (1000, 2, 300, 1 << 20, [300, 300, 300, 100]),
    (100, 2, None, 1 << 20, [25, 18, 14, 10, 8, 8, 8, 8, 1]),
    (3, 2, None, 10, [1, 1, 1]),
    (1600, 1, None, 10, [512, 512, 288, 144, 72, 36, 18, 16, 2]),
    (3, 1, None, 1 << 30, [1, 1, 1]),
    (5, 1, None, 0, [2, 1, 1, 1])])
def test_batches(frames, threads, wanted, size, expected):
    """Large ones first, and small ones at the end."""
    sizes = _convert.BatchSizes(frames, size, threads, 256 << 20, wanted)
    taken: list[int] = []
    while sum(taken) < frames:
        left = frames - sum(taken)
        taken.append(min(left, sizes.next(left)))
    assert taken == expected
