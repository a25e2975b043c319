#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# How the shipped files are hardened, read from the files themselves.
#
#   hardening.py --readelf READELF --commands compile_commands.json --linked FILE... --objects FILE...
#
# Every linked file: relocations read-only and bound at the start, no executable stack, no page that is both written and
# executed. Every object of the libraries: marked for indirect branch tracking and shadow stacks (x86-64), and without
# code that runs at loading. In a linked file those marks survive only where the C runtime's own start files have them,
# which Debian 12's crti.o has not. Every compile command: the flags.
"""Reads ELF files and compile commands."""

import argparse
import json
import pathlib
import re
import subprocess
import sys

FLAGS = ["-fstack-protector-strong", "-fstack-clash-protection", "-D_FORTIFY_SOURCE=2"]
RUNTIME = r"libstdc\+\+\.so\.6|libgcc_s\.so\.1|libc\.so\.6|libm\.so\.6|ld-linux-.*"
problems = []


def require(holds, what):
    """Notes the problem `what` unless it holds."""
    if not holds:
        problems.append(what)


def read(readelf, option, file):
    """What readelf prints."""
    return subprocess.run([readelf, option, file], check=True, capture_output=True, text=True).stdout


def check_linked(readelf, file):
    """A library or program."""
    name = pathlib.Path(file).name
    dynamic, segments = read(readelf, "-dW", file), read(readelf, "-lW", file)
    require("BIND_NOW" in dynamic and re.search(r"FLAGS_1.*\bNOW\b", dynamic), f"{name}: binds lazily")
    require("TEXTREL" not in dynamic, f"{name}: relocates its code")
    require(re.search(r"^\s*GNU_RELRO\s", segments, re.MULTILINE), f"{name}: its relocations stay writable")
    stack = re.search(r"^\s*GNU_STACK(?:\s+0x\w+){5}\s+(\w+)", segments, re.MULTILINE)
    require(stack and stack[1] == "RW", f"{name}: its stack is {stack and stack[1]}")
    loads = re.findall(r"^\s*LOAD(?:\s+0x\w+){5}\s+([RWE ]{3})", segments, re.MULTILINE)
    require(len(loads) >= 4, f"{name}: {len(loads)} segments")
    require(not any("W" in flags and "E" in flags for flags in loads), f"{name}: writes where it executes")
    if name.startswith("libVexaCam"):
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic)
        ours = r"|libVexaCamUtl_64\.so\.1" if name.startswith("libVexaCamFrames") else ""
        require(needed and all(re.fullmatch(RUNTIME + ours, library) for library in needed), f"{name}: needs {needed}")
        require("__stack_chk_fail" in read(readelf, "-sW", file), f"{name}: nothing guards a stack")
    elif "Position-Independent Executable" not in read(readelf, "-h", file):
        require("Shared object file" in read(readelf, "-h", file), f"{name}: its place is fixed")


def check_object(readelf, file):
    """An object of the libraries."""
    name = pathlib.Path(file).name
    if "X86-64" in read(readelf, "-h", file):
        notes = read(readelf, "-nW", file)
        require("IBT" in notes and "SHSTK" in notes, f"{name}: no mark for branch tracking and shadow stacks")
    # One unit of each library initialises it; the others must be ready before it has run.
    if not name.startswith(("VexaCamUtl.cpp", "FrameProcessor.cpp")):
        require(not re.search(r"\.(init_array|ctors|init)\b", read(readelf, "-SW", file)),
                f"{name}: runs code at loading")


def main():
    """Prints what is wrong; returns the exit status."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--readelf", required=True)
    parser.add_argument("--commands")
    parser.add_argument("--linked", nargs="+", required=True)
    parser.add_argument("--objects", nargs="+", required=True)
    arguments = parser.parse_args()
    for file in arguments.linked:
        check_linked(arguments.readelf, file)
    for file in arguments.objects:
        check_object(arguments.readelf, file)
    commands = []
    if arguments.commands:
        database = json.loads(pathlib.Path(arguments.commands).read_text(encoding="utf-8"))
        commands = [command for command in database
                    if re.search(r" -o (src|tools|frames|gstreamer)/", command["command"])]
        require(len(commands) >= 40, f"{len(commands)} compile commands of what is shipped")
    machine = read(arguments.readelf, "-h", arguments.linked[0])
    for command in commands:
        for flag in FLAGS + (["-fcf-protection"] if "X86-64" in machine else []):
            require(flag in command["command"].split(), f"{command['file']}: compiled without {flag}")
    print("\n".join(problems) or f"hardening: {len(arguments.linked)} files, {len(arguments.objects)} objects and "
          f"{len(commands)} compile commands are as they have to be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
