# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Typical mistakes, and the one line that answers each, word for word.
import pytest

FRAME = bytes(48)
SHAPE = ["-f", "BayerRG8", "-s", "8x6"]

KINDS = "png, tif, tiff, jpg, jpeg, ppm, pgm, bmp, vbmp, bgra, bgr, rwh, raw"

MISTAKES = {
    "no verb": (2, [], "no verb given; the verbs are convert, info, formats, reverse, pack, unpack, synth, guess, bench"),
    "unknown verb": (2, ["konvert"], "unknown verb 'konvert'; the verbs are convert, info, formats, reverse, pack, unpack, "
                                     "synth, guess, bench"),
    "unknown option": (2, ["convert", "--sise", "8x6", "in.raw", "out.png"],
                       "The following argument was not expected: --sise (see: vexacamutl convert --help)"),
    "no paths": (2, ["convert", *SHAPE], "PATHS is required (see: vexacamutl convert --help)"),
    "no output": (2, ["convert", *SHAPE, "in.raw"], "one input and no output; name the output, or give --output-dir"),
    "many inputs, no folder": (2, ["convert", *SHAPE, "in.raw", "in.raw", "out.png"],
                               "more than one input; give --output-dir for the results"),
    "no format": (2, ["convert", "-s", "8x6", "in.raw", "out.png"],
                  "in.raw: give --format and --size (there is no in.txt)"),
    "no size": (2, ["convert", "-f", "BayerRG8", "in.raw", "out.png"],
                "in.raw: give --format and --size (there is no in.txt)"),
    "no format of a stream": (2, ["convert", "-", "-"], "standard input: give --format and --size"),
    "misspelt format": (2, ["convert", "-f", "BayreRG8", "-s", "8x6", "in.raw", "out.png"],
                        "unknown pixel format 'BayreRG8'; did you mean BayerRG8, BayerGR8 or BayerGB8? "
                        "(see: vexacamutl formats)"),
    "part of a format": (2, ["convert", "-f", "rg8", "-s", "8x6", "in.raw", "out.png"],
                         "unknown pixel format 'rg8'; did you mean BayerRG8 or RGB8? (see: vexacamutl formats)"),
    "no format at all": (2, ["convert", "-f", "jpeg", "-s", "8x6", "in.raw", "out.png"],
                         "unknown pixel format 'jpeg' (see: vexacamutl formats)"),
    "misspelt alias": (2, ["convert", "-f", "uyvy42", "-s", "8x6", "in.raw", "out.png"],
                       "unknown pixel format 'uyvy42'; did you mean YUV422_8_UYVY, YUV411_8_UYYVYY or YUV422_8? "
                       "(see: vexacamutl formats)"),
    "unknown code": (2, ["convert", "-f", "0x01080099", "-s", "8x6", "in.raw", "out.png"],
                     "no known pixel format has the code 0x01080099 (see: vexacamutl formats)"),
    "half a code": (2, ["convert", "-f", "0x", "-s", "8x6", "in.raw", "out.png"],
                    "no known pixel format has the code 0x (see: vexacamutl formats)"),
    "size with a star": (2, ["convert", "-f", "BayerRG8", "-s", "8*6", "in.raw", "out.png"],
                         "invalid size '8*6': expected WIDTHxHEIGHT, for example 1920x1080"),
    "size zero": (2, ["convert", "-f", "BayerRG8", "-s", "0x6", "in.raw", "out.png"],
                  "invalid size '0x6': expected WIDTHxHEIGHT, for example 1920x1080"),
    "size negative": (2, ["convert", "-f", "BayerRG8", "-s", "-8x6", "in.raw", "out.png"],
                      "invalid size '-8x6': expected WIDTHxHEIGHT, for example 1920x1080"),
    "size beyond all": (2, ["convert", "-f", "BayerRG8", "-s", "99999x99999", "in.raw", "out.png"],
                        "in.raw: BayerRG8 99999x99999 is more than 2^30 pixels"),
    "size beyond 32 bits": (2, ["convert", "-f", "BayerRG8", "-s", "8x4294967297", "in.raw", "out.png"],
                            "invalid size '8x4294967297': expected WIDTHxHEIGHT, for example 1920x1080"),
    "size with a unit": (2, ["convert", "-f", "BayerRG8", "-s", "8x6px", "in.raw", "out.png"],
                         "invalid size '8x6px': expected WIDTHxHEIGHT, for example 1920x1080"),
    "wrong size": (3, ["convert", "-f", "BayerRG8", "-s", "8x7", "in.raw", "out.png"],
                   "in.raw: 48 bytes are not a whole number of frames of 56 bytes (BayerRG8 8x7)"),
    "wrong offset": (3, ["convert", *SHAPE, "--offset", "1", "in.raw", "out.png"],
                     "in.raw: 48 bytes are not a whole number of frames of 48 bytes (BayerRG8 8x6) after 1 bytes"),
    "short stride": (2, ["convert", *SHAPE, "--stride", "7", "in.raw", "out.png"],
                     "in.raw: the stride of 7 bytes is shorter than a row of 8 bytes"),
    "missing input": (3, ["convert", *SHAPE, "none.raw", "out.png"],
                      "cannot read none.raw: No such file or directory"),
    "missing input of unknown layout": (3, ["convert", "none.raw", "out.png"],
                                        "cannot read none.raw: No such file or directory"),
    "folder without frames": (3, ["info", "folder"], "folder: no raw frames (*.raw, *.bin, *.rwh) in this folder"),
    "input of unknown layout": (2, ["convert", "in.raw", "out.png"],
                                "in.raw: give --format and --size (there is no in.txt)"),
    "empty input": (3, ["convert", *SHAPE, "empty.raw", "out.png"],
                    "empty.raw: the file is empty"),
    "folder as input": (2, ["convert", *SHAPE, "folder", "out.png"],
                        "folder is a folder; give --output-dir for the results"),
    "unknown extension": (2, ["convert", *SHAPE, "in.raw", "out.gif"],
                          f"out.gif: unknown kind of output; end the name with one of these, or say --to: {KINDS}"),
    "no extension": (2, ["convert", *SHAPE, "in.raw", "out"],
                     f"out: unknown kind of output; end the name with one of these, or say --to: {KINDS}"),
    "unknown kind": (2, ["convert", *SHAPE, "--to", "gif", "in.raw", "out.png"],
                     f"invalid kind of output 'gif': expected one of {KINDS}"),
    "missing folder": (4, ["convert", *SHAPE, "in.raw", "none/out.png"],
                       "in.raw: cannot write none/out.png: No such file or directory"),
    "output is a folder": (4, ["synth", *SHAPE, "folder.png"], "cannot write folder.png: Is a directory"),
    "folder is a file": (4, ["convert", *SHAPE, "-o", "in.raw", "in.raw"],
                         "cannot make the folder in.raw: Not a directory"),
    "colour as pgm": (5, ["convert", *SHAPE, "in.raw", "out.pgm"],
                      "in.raw: a pgm file holds grey pictures, but BayerRG8 is converted to colour; "
                      "add --grey or choose ppm"),
    "acpi of odd size": (5, ["convert", "-f", "BayerRG8", "-s", "3x16", "-b", "acpi", "in.raw", "out.png"],
                         "in.raw: the ACPI mode needs an even width and height of at least 4, not 3x16"),
    "chroma group cut": (5, ["convert", "-f", "yuv411", "-s", "3x3", "in.raw", "out.png"],
                         "in.raw: YUV411_8_UYYVYY 3x3 is not a whole number of groups of 4 pixels that share their chroma"),
    "unknown mode": (2, ["convert", *SHAPE, "-b", "fancy", "in.raw", "out.png"],
                     "--bayer-mode: fancy not in {default,acpi} (see: vexacamutl convert --help)"),
    "jobs zero": (2, ["convert", *SHAPE, "-j", "0", "in.raw", "out.png"],
                  "--jobs: invalid number '0': expected a whole number from 1 to 256 (see: vexacamutl convert --help)"),
    "offset in another base": (2, ["convert", *SHAPE, "--offset", "0x10", "in.raw", "out.png"],
                               "--offset: invalid number '0x10': expected a whole number of at least 0 "
                               "(see: vexacamutl convert --help)"),
    "stride with a unit": (2, ["convert", *SHAPE, "--stride", "8px", "in.raw", "out.png"],
                           "--stride: invalid number '8px': expected a whole number of at least 0 "
                           "(see: vexacamutl convert --help)"),
    "png level too high": (2, ["convert", *SHAPE, "--png-level", "10", "in.raw", "out.png"],
                           "--png-level: invalid number '10': expected a whole number from 0 to 9 "
                           "(see: vexacamutl convert --help)"),
    "stream among files": (2, ["convert", *SHAPE, "-o", "out", "in.raw", "-"], "a stream has to be the only input"),
    "sidecar without width": (3, ["convert", "half.raw", "out.png"],
                              "half.txt: there is no line 'width: ...'"),
    "sidecar with nonsense": (3, ["convert", "odd.raw", "out.png"], "odd.txt: invalid width '8px'"),
    "sidecar of unknown format": (3, ["convert", "rg9.raw", "out.png"],
                                  "rg9.txt: unknown pixel format 'BayerRG9'; did you mean BayerRG8, BayerGR8 or BayerBG8? "
                                  "(see: vexacamutl formats)"),
    "rwh of nothing": (3, ["info", "empty.rwh"],
                       "empty.rwh: the header holds no known pixel format (0x00000000)"),
    "no such rwh": (3, ["info", "none.rwh"], "cannot read none.rwh: No such file or directory"),
    "reverse refused": (5, ["reverse", "-m", "-f", "RGB12", "-s", "4x2", "in.raw", "out.raw"],
                        "in.raw: frames of RGB12 cannot be reversed"),
    "reverse cuts chroma": (5, ["reverse", "-m", "-f", "yuv411", "-s", "2x16", "in.raw", "out.raw"],
                            "the width of YUV411_8_UYYVYY 2x16 is not a multiple of the 4 pixels that share their chroma"),
    "synth of many into one": (2, ["synth", "-n", "2", "out.png"],
                               "a png file holds one frame; number the outputs, for example frame_%05d.png"),
    "guess as raw": (2, ["guess", "-s", "8x6", "in.raw", "out.raw"],
                     "the contact sheet is a colour picture; choose png, ppm or bmp"),
    "bench of nothing": (2, ["bench", "Nothing"], "no converter's name contains 'Nothing'"),
}


@pytest.mark.parametrize("name", list(MISTAKES))
def test_answer(tool, name):
    code, arguments, line = MISTAKES[name]
    tool.write("in.raw", FRAME)
    tool.write("empty.raw", b"")
    tool.write("empty.rwh", b"")
    tool.write("half.raw", FRAME)
    tool.write("half.txt", b"pixel format: BayerRG8\nheight: 6\n")
    tool.write("odd.raw", FRAME)
    tool.write("odd.txt", b"pixel format: BayerRG8\nwidth: 8px\nheight: 6\n")
    tool.write("rg9.raw", FRAME)
    tool.write("rg9.txt", b"pixel format: BayerRG9\nwidth: 8\nheight: 6\n")
    (tool.folder / "folder").mkdir()
    (tool.folder / "folder.png").mkdir()
    before = tool.names()
    assert tool.bad(code, *arguments) == line
    assert tool.names() == before
