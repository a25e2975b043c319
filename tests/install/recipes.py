#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# The CMake recipes of docs/installing.md as a user follows them: each printed block becomes the whole of a project, is
# configured, and the compile commands of the library's own sources are looked at.
#
#   recipes.py SOURCE WORK CMAKE_ARGUMENT...
"""Compile commands of the library under every way of building it."""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tarfile

SOURCE = pathlib.Path(sys.argv[1])
WORK = pathlib.Path(sys.argv[2])
CMAKE = sys.argv[3:]
VERSION = re.search(r"VERSION (\d+\.\d+\.\d+)", (SOURCE / "CMakeLists.txt").read_text(encoding="ascii"))[1]
# The instruction sets that each file of kernels may require; the other files require none.
INSTRUCTION_SETS = {
    "IsaSse": {"-mssse3", "-msse4.1", "-mprfchw"},
    "IsaAvx2": {"-mavx2", "-mfma", "-mprfchw"},
    "IsaAvx512Bw": {"-mavx512f", "-mavx512bw", "-mavx512vl", "-mavx512dq", "-mprefer-vector-width=512", "-mprfchw"},
    "IsaAvx512": {"-mavx512f", "-mavx512bw", "-mavx512vl", "-mavx512dq", "-mavx512vbmi",
                  "-mprefer-vector-width=512", "-mprfchw"},
}
problems = []


def printed_block(word):
    """The indented block of the page that holds `word`."""
    page = (SOURCE / "docs" / "installing.md").read_text(encoding="ascii")
    blocks = [block for block in re.findall(r"(?:^    .*\n|^\n(?=    ))+", page, re.MULTILINE) if word in block]
    if len(blocks) != 1:
        sys.exit(f"docs/installing.md prints {len(blocks)} blocks with {word}")
    return re.sub(r"^    ", "", blocks[0], flags=re.MULTILINE)


def copy_of_the_sources(folder):
    """What a user unpacks: the tree without what was built in it."""
    shutil.copytree(SOURCE, folder, ignore=shutil.ignore_patterns("build", "build-*", "out", ".git", "__pycache__"))


def project(name, recipe):
    """A folder with the recipe in it and the library where the recipe looks for it."""
    folder = WORK / name
    folder.mkdir(parents=True)
    (folder / "CMakeLists.txt").write_text(
        "cmake_minimum_required(VERSION 3.25)\nproject(Consumer LANGUAGES C)\n"
        "add_executable(program program.c)\n" + recipe, encoding="ascii")
    shutil.copy(SOURCE / "tests" / "install" / "consumer.c", folder / "program.c")
    copy_of_the_sources(folder / "third_party" / "vexacamutl")
    with tarfile.open(folder / "third_party" / f"vexacamutl-{VERSION}.tar.gz", "w:gz") as archive:
        archive.add(folder / "third_party" / "vexacamutl", f"vexacamutl-{VERSION}")
    return folder


def check(name, folder, level, arguments=(), warnings_as_errors=False):
    """Configures, and looks at the flags of each of the library's sources: the last -O of a command is what counts."""
    build = WORK / f"{name}-build"
    subprocess.run(["cmake", "-S", folder, "-B", build, "-G", "Ninja", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
                    *CMAKE, *arguments], check=True, stdout=subprocess.DEVNULL)
    examined = 0
    for command in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        file = pathlib.Path(command["file"])
        if "VexaCamUtlObjects.dir" not in command["command"]:
            continue
        examined += 1
        words = command["command"].split()
        levels = [word for word in words if re.fullmatch(r"-O\w*", word)]
        if levels[-1:] != ([level] if level else []):
            problems.append(f"{name}: {file.name} is compiled with {levels or 'no -O'}, not {level}")
        if ("-Werror" in words) != warnings_as_errors:
            problems.append(f"{name}: {file.name}: -Werror is {'not ' if warnings_as_errors else ''}there")
        if "-ffp-contract=off" not in words:
            problems.append(f"{name}: {file.name} may fuse multiply and add")
        if any(word in words for word in ("-ffast-math", "-Ofast", "-march=native")):
            problems.append(f"{name}: {file.name} is compiled with {words}")
        asked = {word for word in words if re.match(r"-m(?!branch-protection)", word)}
        if asked != INSTRUCTION_SETS.get(file.stem, set()):
            problems.append(f"{name}: {file.name} asks for {sorted(asked)}")
    if examined < 15:
        problems.append(f"{name}: {examined} sources of the library are compiled")


def main():
    """Prints what is wrong; returns the exit status."""
    shutil.rmtree(WORK, ignore_errors=True)
    subdirectory = project("add_subdirectory", printed_block("add_subdirectory("))
    check("add_subdirectory", subdirectory, "-O3")
    check("FetchContent", project("FetchContent", printed_block("FetchContent_Declare(")), "-O3")
    check("bare", SOURCE, "-O3", ["-DVEXACAMUTL_BUILD_TOOL=OFF"], warnings_as_errors=True)
    # What the user names, the user gets.
    for build_type, level in {"Debug": "", "Release": "-O3", "RelWithDebInfo": "-O2", "None": "-O3"}.items():
        check(f"add_subdirectory-{build_type}", subdirectory, level, [f"-DCMAKE_BUILD_TYPE={build_type}"])
    check("add_subdirectory-flags", subdirectory, "-O1", ["-DCMAKE_CXX_FLAGS=-O1"])
    check("add_subdirectory-own", subdirectory, "-Og",
          ["-DCMAKE_BUILD_TYPE=Own", "-DCMAKE_CXX_FLAGS_OWN=-Og -g"])
    check("bare-tolerant", SOURCE, "-O3", ["-DVEXACAMUTL_BUILD_TOOL=OFF", "-DVEXACAMUTL_WARNINGS_AS_ERRORS=OFF"])
    print("\n".join(problems) or "recipes: every source is compiled as it has to be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
