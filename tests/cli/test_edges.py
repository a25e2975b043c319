# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Places that the other tests pass by: odd names and texts, sizes that are half right, results without a file, and calls
# of the system that fail more than once.
import errno
import fcntl
import json
import os
import re
import subprocess
import threading

import pytest
from conftest import PROGRAM
from model import random_samples

SHAPE = ["-f", "Mono8", "-s", "6x4"]
FRAME = bytes(range(24))
TEXT = b"pixel format: Mono8\nwidth: 6\nheight: 4\n"


def rwh(code, width, height, row_bytes, content):
    return b"".join(word.to_bytes(4, "little") for word in (code, width, height, row_bytes)) + content


# names

HARMLESS = "\u00a0\u2010\u2030\u2070\U0001f4f7"


@pytest.mark.parametrize("name, shown", [
    (b"\xc1\xbf", r"\xC1\xBF"), (b"\xf5\x80\x80\x80", r"\xF5\x80\x80\x80"),  # no character begins so
    (b"\xe2\x82x", r"\xE2\x82x"), (b"\xe0\x80\x80", r"\xE0\x80\x80"),  # cut off; longer than it has to be
    (b"\xed\xa0\x80", r"\xED\xA0\x80"), (b"\xf4\x90\x80\x80", r"\xF4\x90\x80\x80"),  # half a pair; above the last
    ("a\tb".encode(), r"a\tb"), ("\u200e".encode(), r"\xE2\x80\x8E"), ("\u2066".encode(), r"\xE2\x81\xA6"),
    ("\u2028".encode(), r"\xE2\x80\xA8"), (HARMLESS.encode(), HARMLESS)])
def test_messages_show_names_as_text(tool, name, shown):
    done = subprocess.run([PROGRAM, "info", name + b".raw"], cwd=tool.folder, capture_output=True, check=False)
    assert done.stderr.decode().startswith(f"vexacamutl: cannot read {shown}.raw: No such file")


@pytest.mark.parametrize("name, shown", [
    (b"\xff", "\ufffd"), (b"\xe2\x82", "\ufffd\ufffd"), (b"\x01\x7f", "\x01\x7f"), (b"a\"b\\", "a\"b\\"),
    ("\u00e9".encode(), "\u00e9")])
def test_reports_are_json_for_every_name(tool, name, shown):
    with open(os.fsencode(tool.folder) + b"/" + name, "wb") as file:
        file.write(FRAME)
    subprocess.run([PROGRAM, "convert", *SHAPE, "--report", "r", name, "out.png"], cwd=tool.folder, check=True)
    line = json.loads(tool.read("r").splitlines()[0])
    assert line["input"] == shown


def test_a_message_names_an_input_once(tool):
    tool.write("a.raw", FRAME)
    assert tool.bad(4, "convert", *SHAPE, "a.raw", "/proc/a.raw.png") == (
        "cannot write /proc/a.raw.png: No such file or directory")


# command lines

ANSWERS = {
    "no verb": (2, ["--nope"], "A subcommand is required (see: vexacamutl --help)"),
    "frames": (2, ["convert", *SHAPE, "--frames", "", "in.raw", "out.png"],
               "invalid --frames '': expected FIRST:END, FIRST:, :END or a number"),
    "report": (2, ["convert", *SHAPE, "--report", "", "in.raw", "out.png"],
               "--report: a file name is missing (see: vexacamutl convert --help)"),
    "output": (2, ["convert", *SHAPE, "--to", "png", "in.raw", ""], "the name of the output is empty"),
    "reverse one": (2, ["reverse", *SHAPE, "in.raw"], "reverse takes one INPUT and one OUTPUT"),
    "black level": (2, ["convert", *SHAPE, "--black-level", "70000", "in.raw", "out.png"],
                    "invalid --black-level '70000': expected a whole number of sample units"),
    "balance of YUV": (5, ["convert", "-f", "UYVY", "-s", "4x3", "--white-balance", "auto", "in.raw", "out.png"],
                       "white balance needs a mosaic or packed colour; YUV422_8_UYVY is neither"),
    "balance of a row": (5, ["convert", "-f", "BayerRG8", "-s", "24x1", "--white-balance", "auto", "in.raw", "o.png"],
                         "white balance needs a mosaic of at least 2x2 samples"),
    "pgm of colour": (5, ["convert", "-f", "RGB8", "-s", "4x2", "in.raw", "out.pgm"],
                      "a pgm file holds grey pictures, but RGB8 is converted to colour; choose ppm"),
    "shift of packed": (5, ["convert", "-f", "Mono12p", "-s", "4x4", "--shift", "2", "in.raw", "out.png"],
                        "samples of Mono12p cannot lie 2 bits higher"),
    "shift too far": (5, ["convert", "-f", "Mono12", "-s", "4x3", "--shift", "5", "in.raw", "out.png"],
                      "samples of Mono12 cannot lie 5 bits higher"),
    "rows within a byte": (5, ["convert", "-f", "YUV411_8_UYYVYY", "-s", "1x16", "in.raw", "out.rwh"],
                           "do not end at whole bytes, as RWH files need"),
    "acpi too flat": (5, ["convert", "-f", "BayerRG8", "-s", "12x2", "-b", "acpi", "in.raw", "out.png"],
                      "the ACPI mode needs an even width and height of at least 4, not 12x2"),
    "acpi of odd width": (5, ["convert", "-f", "BayerRG8", "-s", "5x4", "--offset", "4", "-b", "acpi", "in.raw", "-"],
                          "the ACPI mode needs an even width and height of at least 4, not 5x4"),
    "acpi of odd height": (5, ["convert", "-f", "BayerRG8", "-s", "4x5", "--offset", "4", "-b", "acpi", "in.raw", "-"],
                           "the ACPI mode needs an even width and height of at least 4, not 4x5"),
    "no pixels": (3, ["info", "flat.raw"], "has no pixels"),
    "no format": (3, ["info", "nameless.raw"], "nameless.txt: there is no line 'pixel format: ...'"),
    "rwh of part bytes": (3, ["info", "part.rwh"], "part.rwh: rows of Mono10p 3x2 do not end at whole bytes"),
    "nothing to show": (3, ["guess", "-s", "6x4", "--offset", "24", "in.raw", "out.png"],
                        "in.raw: there is nothing to show"),
    "flat tile": (5, ["guess", "-s", "4000x1", "in.raw", "out.png"], "frames of 4000x1 are too flat for a tile"),
    "grey sheet": (2, ["guess", "-s", "6x4", "in.raw", "out.pgm"],
                   "the contact sheet is a colour picture; choose png, ppm or bmp"),
    "raw sheet": (2, ["guess", "-s", "6x4", "in.raw", "out.bgr"],
                  "the contact sheet is a colour picture; choose png, ppm or bmp"),
    "short rwh": (3, ["info", "short.rwh"], "short.rwh: the header holds no known pixel format (0x00000000)"),
    "below a file": (3, ["info", "in.raw/x.raw"], "cannot read in.raw/x.raw: Not a directory"),
    "number of no format": (2, ["info", "-f", "0XG", "-s", "6x4", "in.raw"], "no known pixel format has the code 0XG"),
    "report into the result": (2, ["convert", *SHAPE, "--report", "/dev/stdout", "--to", "bgr", "in.raw", "-"],
                               "the report and the result would both go to standard output"),
    "stream without a shape": (2, ["convert", "fifo", "out.png"], "fifo: give --format and --size"),
}


@pytest.mark.parametrize("name", list(ANSWERS))
def test_answer(tool, name):
    code, arguments, line = ANSWERS[name]
    tool.write("in.raw", FRAME)
    tool.write("flat.raw", FRAME)
    tool.write("flat.txt", TEXT.replace(b"4", b"0"))
    tool.write("nameless.raw", FRAME)
    tool.write("nameless.txt", TEXT.replace(b"pixel", b"pixie"))
    tool.write("part.rwh", rwh(0x010A0046, 3, 2, 3, bytes(8)))
    tool.write("short.rwh", bytes(5))
    os.mkfifo(tool.folder / "fifo")
    before = tool.names()
    assert line in tool.bad(code, *arguments, timeout=60)
    assert tool.names() == before


def test_formats_by_number(tool):
    tool.write("in.raw", FRAME)
    assert tool.good("convert", "-f", "0X01080001", "-s", "6x4", "in.raw", "-") == (
        tool.good("convert", *SHAPE, "in.raw", "-"))


@pytest.mark.parametrize("name", ["out%", "out%05", "out%5.ppm"])
def test_percent_signs_without_a_number(tool, name):
    tool.write("in.raw", FRAME)
    tool.good("convert", *SHAPE, "--to", "ppm", "in.raw", name)
    assert tool.names() == sorted(["in.raw", name])


def test_what_a_folder_counts_as_frames(tool):
    for name in ("a.bin", "b.RWH", "c.raw/d.raw", "e.png", "f.raw"):
        tool.write(f"in/{name}", rwh(0x01080001, 6, 4, 6, FRAME) if name.endswith("RWH") else FRAME)
    tool.good("convert", *SHAPE, "-t", "pgm", "-o", "out", "in")
    assert tool.names("out/*") == ["out/a.pgm", "out/b.pgm", "out/f.pgm"]


def test_a_folder_that_cannot_be_read(tool, interposer):
    tool.write("in/a.raw", FRAME)
    environment = interposer(VEXA_FAIL=f"fdopendir:1:{errno.EACCES}")
    assert tool.bad(3, "convert", *SHAPE, "-t", "pgm", "-o", "out", "in", env=environment) == (
        "cannot read in: Permission denied")


# frames

def test_small_results(tool):
    """A stride in info, a range of bytes, levels of grey, a few moments of bench, frames that are kept."""
    tool.write("in.raw", bytes(20 * 4))
    assert b"row       20 bytes" in tool.good("info", *SHAPE, "--stride", 20, "in.raw")
    tool.write("in.raw", FRAME)
    assert b"row       3 bytes" in tool.good("info", "-f", "YUV411_8_UYYVYY", "-s", "2x8", "in.raw")
    assert b"no frame of 5x4 has 24 bytes" in tool.good("guess", "-s", "5x4", "in.raw", "sheet.png")
    done = tool("convert", *SHAPE, "--check-range", "in.raw", "out.pgm")
    assert done.stderr == "vexacamutl: in.raw: 0 of 24 samples above 255, the largest is 23\n"
    assert tool.good("convert", *SHAPE, "--white-balance", "auto", "--to", "pgm", "in.raw", "-").endswith(FRAME)
    assert b"Mono" in tool.good("bench", "--seconds", 0.001, "--size", "64x4", "Mono8")
    tool.write("f_0.raw", b"mine")
    assert tool("synth", *SHAPE, "-n", 2, "--skip-existing", "f_%d.raw").returncode == 0
    assert (tool.read("f_0.raw"), len(tool.read("f_1.raw"))) == (b"mine", 24)
    assert len(tool.good("synth", "-f", "YUYV", "-s", "8x2", "-")) == 32


def test_reversed_frames_one_by_one(tool):
    tool.write("in.raw", FRAME + FRAME[::-1])
    assert tool.good("reverse", "-m", *SHAPE, "in.raw", "out_%d.raw") == b"out_0.raw: Mono8 6x4\nout_1.raw: Mono8 6x4\n"
    tool.good("reverse", "-m", *SHAPE, "-", "again_%d.raw", stdin=FRAME)
    assert tool.read("again_0.raw") == tool.read("out_0.raw")
    rows = [FRAME[at:at + 6] for at in range(0, 24, 6)]
    assert tool.read("out_0.raw") == b"".join(row[::-1] for row in rows)


def test_adaptive_words_are_said_once(tool):
    for name in ("a.raw", "b.raw"):
        tool.write(name, random_samples(64, 12).astype("<u2").tobytes())
    done = tool("convert", "-f", "BayerRG12", "-s", "8x8", "-b", "acpi", "-t", "ppm", "-o", "out", "a.raw", "b.raw")
    assert (done.returncode, done.stderr.count("demosaiced bilinearly")) == (0, 1)


def test_shapes_that_say_nothing_new(tool, interposer):
    """A stride without padding, the range that holds anyway, a dark frame, a sidecar that is read in pieces."""
    tool.write("in.raw", FRAME)
    wanted = tool.good("convert", *SHAPE, "--to", "ppm", "in.raw", "-")
    assert tool.good("convert", *SHAPE, "--stride", 6, "--to", "ppm", "in.raw", "-") == wanted
    tool.write("in.txt", TEXT + b"range: full\n")
    assert tool.good("convert", "--to", "ppm", "in.raw", "-", env=interposer(VEXA_INTERRUPT=1)) == wanted
    assert "give --format and --size" in tool.bad(2, "convert", "in.txt", "out.png")
    tool.write("dark.raw", bytes(24))
    assert tool.good("convert", "-f", "BayerRG8", "-s", "6x4", "--white-balance", "auto", "--to", "bgr", "dark.raw",
                     "-") == bytes(72)


def test_one_batch_of_two_sizes(tool):
    tool.write("a.rwh", rwh(0x01080001, 6, 4, 6, FRAME))
    tool.write("b.rwh", rwh(0x01080001, 4, 6, 4, FRAME))
    tool.good("convert", "-j", 1, "-t", "pgm", "-o", "out", "a.rwh", "b.rwh")
    assert tool.read("out/a.pgm") == b"P5\n6 4\n255\n" + FRAME
    assert tool.read("out/b.pgm") == b"P5\n4 6\n255\n" + FRAME


def test_streams_with_a_name(tool):
    """A FIFO that ends within a frame, one without a frame, one shorter than the offset; a terminal that is missing."""
    fifo = tool.folder / "fifo"
    os.mkfifo(fifo)
    for content, more, line in [(FRAME[:5], [], "fifo: frame 0 is short, 5 of 24 bytes (Mono8 6x4)"),
                                (b"", [], "fifo: there is no frame"),
                                (FRAME, ["--offset", 100], "fifo: there is no frame")]:
        writer = threading.Thread(target=fifo.write_bytes, args=(content,))
        writer.start()
        assert tool.bad(3, "convert", *SHAPE, *more, "--to", "ppm", "fifo", "-") == line
        writer.join()
    assert tool.bad(3, "convert", *SHAPE, "/dev/tty", "out.ppm", start_new_session=True).startswith(
        "cannot read /dev/tty: ")


@pytest.mark.parametrize("content, said", [
    (b"MM\0*", "a TIFF picture"), (b"P6\n9", "a PPM picture"), (b"P5 #", "a PGM picture"), (b"P5 x", ""),
    (b"P5,1", ""), (b"BM\x09\x00\x00\x00", ""), (b"P5", "")])
def test_known_files_are_named(tool, content, said):
    for rest in (bytes(200), b"") if said == "" else (bytes(200),):
        tool.write("in.raw", content + rest)
        done = tool("guess", "in.raw")
        text = done.stderr + done.stdout.decode()
        assert said in text and (said != "" or not re.search("a [A-Z]+ picture", text))


# results

def test_results_without_a_file(tool):
    tool.write("in.raw", FRAME)
    bgr = tool.good("convert", *SHAPE, "--to", "bgr", "in.raw", "-")
    for rule in ("--no-overwrite", "--skip-existing"):
        tool.good("convert", *SHAPE, rule, "--to", "bgr", "in.raw", "/dev/null")
        assert tool.good("convert", *SHAPE, rule, "--to", "bgr", "in.raw", "-") == bgr
    tool.good("unpack", *SHAPE, "--sidecar", "in.raw", "/dev/null")
    tool.good("convert", *SHAPE, "--to", "bgr", "in.raw", "5")  # a name, not a descriptor
    assert tool.read("5") == bgr
    (tool.folder / "5").unlink()
    with open(tool.folder / "a", "wb") as a, open(tool.folder / "b", "wb") as b:
        tool.good("unpack", *SHAPE, "--sidecar", "--report", f"/dev/fd/{b.fileno()}", "in.raw", f"/dev/fd/{a.fileno()}",
                  pass_fds=(a.fileno(), b.fileno()))
        assert tool.bad(2, "convert", *SHAPE, "--report", "a", "--to", "bgr", "in.raw", f"/dev/fd/{a.fileno()}",
                        pass_fds=(a.fileno(),)).startswith("the report and the result would both go to")
        assert tool.bad(2, "convert", *SHAPE, "--report", f"/dev/fd/{a.fileno()}", "--to", "bgr", "in.raw", "a",
                        pass_fds=(a.fileno(),)) == "the report and the result would both go to a"
    assert tool.bad(2, "convert", *SHAPE, "--report", "a", "--to", "bgr", "in.raw", "a").endswith("would both become a")
    assert tool.read("a") == FRAME
    assert tool.names() == ["a", "b", "in.raw"]


def test_inputs_of_two_file_systems(tool):
    shared = "/dev/shm"
    if not os.path.isdir(shared) or os.stat(shared).st_dev == os.stat(tool.folder).st_dev:
        pytest.skip("there is only one file system")
    path = os.path.join(shared, f"vexacamutl-test-{os.getpid()}.raw")
    for name in ("in.raw", "other.raw", path):
        with open(tool.folder / name, "wb") as file:
            file.write(FRAME)
    try:
        tool.good("convert", *SHAPE, "-t", "pgm", "-o", "out", "in.raw", path, "other.raw")
        assert len(tool.names("out/*")) == 3
        assert tool.bad(2, "convert", *SHAPE, "--to", "bgr", path, path).endswith("an input is never overwritten")
        tool.good("convert", *SHAPE, "--report", path, "in.raw", "out/in.pgm")
    finally:
        os.unlink(path)


def test_the_text_of_another_result_stays(tool):
    tool.write("in.raw", FRAME)
    tool.good("unpack", *SHAPE, "--sidecar", "in.raw", "out.raw")
    other = tool.read("out.txt").replace(b"out.raw", b"off.raw")
    tool.write("out.txt", other)
    assert "is not the sidecar of" in tool.bad(2, "unpack", *SHAPE, "--sidecar", "in.raw", "out.raw")
    assert tool.read("out.txt") == other


def test_folders_that_lead_nowhere(tool):
    tool.write("in.raw", FRAME)
    (tool.folder / "loop").symlink_to("loop")
    assert tool.bad(4, "convert", *SHAPE, "in.raw", "loop/out.png").endswith(
        "cannot write loop/out.png: Too many levels of symbolic links")


def test_a_link_that_cannot_be_read(tool, interposer):
    tool.write("in.raw", FRAME)
    (tool.folder / "out.ppm").symlink_to("far.ppm")
    assert "cannot write out.ppm" in tool.bad(4, "convert", *SHAPE, "in.raw", "out.ppm",
                                              env=interposer(VEXA_FAIL=f"readlink:-1:{errno.EIO}"))
    assert tool.names() == ["in.raw"]


@pytest.mark.skipif(os.geteuid() != 0, reason="only root gives files away")
@pytest.mark.parametrize("user, group, refused", [(0, 1, 0), (1, 0, 0), (1, 1, -1), (1, 1, 1)])
def test_what_is_kept_of_an_owner(tool, interposer, user, group, refused):
    """The set-user-id bit stays with its owner only; refused: the first change of owner, or all."""
    tool.write("in.raw", FRAME)
    older = tool.write("out.ppm", b"older result")
    os.chown(older, user, group)
    older.chmod(0o4751)
    tool.good("convert", *SHAPE, "in.raw", "out.ppm", env=interposer(VEXA_FAIL=f"fchown:{refused}:{errno.EPERM}"))
    status = older.stat()
    wanted = {0: (user, group, 0o4751), 1: (0, group, 0o751), -1: (0, 0, 0o751)}[refused]
    assert (status.st_uid, status.st_gid, status.st_mode & 0o7777) == wanted


def test_a_result_that_appears_meanwhile(tool, interposer):
    tool.write("in.raw", FRAME)
    for environment in ({"VEXA_FAIL": f"linkat:1:{errno.EEXIST}"},
                        {"VEXA_FAIL": f"rename:1:{errno.EEXIST}", "VEXA_REFUSE_ANONYMOUS": 1}):
        assert tool.bad(4, "convert", *SHAPE, "--no-overwrite", "in.raw", "out.ppm", env=interposer(**environment)) == (
            "in.raw: cannot write out.ppm: File exists")
        assert tool.names() == ["in.raw"]


def test_standard_output_without_a_status(tool, interposer):
    tool.write("in.raw", FRAME)
    wanted = tool.good("convert", *SHAPE, "in.raw", "-")
    for n in range(1, 6):
        done = tool("convert", *SHAPE, "in.raw", "-", env=interposer(VEXA_FAIL=f"fstat:{n}:{errno.EIO}"))
        assert (done.returncode, done.stdout) in ((0, wanted), (3, b""), (4, b""))


def test_a_file_that_changes_after_its_frames_were_counted(tool):
    """A pipe of 4 KiB that nobody reads holds the tool far before the last file."""
    for n in range(200):
        tool.write(f"in/{n:03}.raw", FRAME)
    last = tool.write("in/last.raw", FRAME)
    reader, writer = os.pipe()
    fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
    process = tool.start("convert", *SHAPE, "--check-range", "-j", 1, "-t", "ppm", "-o", "out", "in", stderr=writer)
    os.close(writer)
    with open(reader, "rb", buffering=0) as said:
        assert said.readline().startswith(b"vexacamutl: in/000.raw: ")
        last.write_bytes(FRAME * 2)
        lines = said.read().splitlines()
    assert process.wait(timeout=60) == 1
    assert sum(len(line) for line in lines[:-10]) > 4096
    assert b"vexacamutl: in/last.raw changed after its frames were counted" in lines
    assert len(tool.names("out/*")) == 200


def test_no_descriptor_to_hold_the_standard_streams(tool, interposer):
    """Those that are open serve as they are."""
    tool.write("in.raw", FRAME)
    wanted = tool.good("convert", *SHAPE, "in.raw", "-")
    assert tool.good("convert", *SHAPE, "in.raw", "-", env=interposer(VEXA_FAIL=f"root:1:{errno.EMFILE}")) == wanted


def test_no_memory_for_a_converter(tool, interposer):
    tool.write("in.raw", FRAME)
    environment = interposer(VEXA_FAIL=f"aligned_alloc:-1:{errno.ENOMEM}")
    assert "out of memory" in tool.bad(6, "convert", *SHAPE, "in.raw", "out.ppm", env=environment)
    assert tool.names() == ["in.raw"]


def test_a_full_pipe_that_does_not_wait(tool):
    reader, writer = os.pipe()
    fcntl.fcntl(writer, fcntl.F_SETFL, os.O_NONBLOCK)
    try:
        while os.write(writer, bytes(4096)):
            pass
    except BlockingIOError:
        pass
    done = subprocess.run([PROGRAM, "formats"], stdout=writer, stderr=subprocess.PIPE, check=False)
    os.close(reader)
    os.close(writer)
    assert (done.returncode, done.stderr) == (
        4, b"vexacamutl: cannot write standard output: Resource temporarily unavailable\n")
