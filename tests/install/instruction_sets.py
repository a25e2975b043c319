#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""No object has an instruction that the processors which run it may lack (x86-64).

    instruction_sets.py --objdump OBJDUMP [--commands compile_commands.json] OBJECT...

A file that is compiled for an instruction set is named after it (IsaAvx2.cpp, FramesAvx2.cpp); all others run on every
x86-64. What each set has is what the detection in CpuFeatures.cpp tests the processor for. The instructions are read
from the disassembly, the options from the compile commands.
"""
import argparse
import json
import pathlib
import re
import subprocess
import sys

SSSE3 = r"pshufb|ph(add|sub)\w+|palignr|pabs[bwd]|pmulhrsw|psign[bwd]|pmaddubsw"
SSE41 = (r"pblend\w+|blendv?p[sd]|pm(in|ax)(s[bd]|u[wd])|pmov[sz]x\w+|pextr[bdq]|pinsr[bdq]|ptest|round[ps][sd]|packusdw|"
         r"pmulld|pmuldq|pcmpeqq|dpp[sd]|insertps|extractps|mpsadbw|phminposuw|movntdqa")
SSE42 = r"pcmpgtq|crc32\w?|pcmp[ie]str[im]"
OTHERS = (r"andn|bextr|bls(i|msk|r)|bzhi|mulx|pdep|pext|rorx|s[ah][rl]x|movbe|lzcnt|adcx|adox|rdrand|rdseed|"
          r"aes\w+|pclmulqdq|sha(1|256)\w+|gf2p8\w+|v?gf2p8\w+|vaes\w+|vpclmul\w+")
# Parts of AVX-512 that its detection does not ask for.
LATER = (r"vpdp\w+|vpopcnt\w+|vpshufbitqmb|vpmadd52\w+|vp(compress|expand)[bw]|vpsh[lr]d\w+|v\w+ph|v\w+bf16\w*|"
         r"vp2intersect\w+|vcvtph2ps|vcvtps2ph")
VBMI = r"vperm[bi]|vperm[it]2b|vpermb|vpmultishiftqb"
AVX512_ONLY = re.compile(r"%zmm|%k[0-7]|%[xy]mm(1[6-9]|2\d|3[01])\b|\{1to")

X86 = {"sse", "sse2", "fpmath", "tune", "no-omit-leaf-frame-pointer", "indirect-branch-register"}
AVX512 = {"avx512f", "avx512bw", "avx512vl", "avx512dq", "prfchw", "prefer-vector-width"}
OPTIONS = {"": set(), "Sse": {"ssse3", "sse4.1", "prfchw"}, "Avx2": {"avx2", "fma", "prfchw"},
           "Avx512": {*AVX512, "avx512vbmi"}, "Avx512Bw": AVX512}
FORBIDDEN = {
    "": rf"v\w+|{SSSE3}|{SSE41}|{SSE42}|{OTHERS}|popcnt", "Sse": rf"v\w+|{SSE42}|{OTHERS}|popcnt",
    "Avx2": rf"{LATER}|{VBMI}|{OTHERS}", "Avx512": rf"{LATER}|{OTHERS}", "Avx512Bw": rf"{LATER}|{VBMI}|{OTHERS}",
}


def set_of(file):
    """The instruction set that a file is named after, or nothing."""
    match = re.match(r"(?:Isa|Frames)(Sse|Avx2|Avx512\w*)\.cpp", pathlib.Path(file).name)
    return match[1] if match else ""


def forbidden_instructions(objdump, file):
    """Those of an object, each once."""
    printed = subprocess.run([objdump, "-d", "--no-show-raw-insn", file], check=True, capture_output=True, text=True).stdout
    name = set_of(file)
    # verr and verw are older than all vectors.
    pattern = re.compile(rf"(?!verr|verw)(?:{FORBIDDEN[name]})$")
    found = {}
    for line in printed.split("\n"):
        words = line.split("\t")
        if len(words) > 1 and words[1].split():
            instruction = words[1].split()[0]
            if pattern.match(instruction) or (not name.startswith("Avx512") and AVX512_ONLY.search(words[1])):
                found.setdefault(instruction, words[1].strip())
    return list(found.values())


def forbidden_options(command):
    """The machine options of a compile command that its file may not have."""
    options = {word[2:].split("=")[0] for word in command["command"].split() if word.startswith("-m")}
    return sorted(options - OPTIONS[set_of(command["file"])] - X86)


def main():
    """Prints what is wrong; returns the exit status."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--objdump", required=True)
    parser.add_argument("--commands")
    parser.add_argument("objects", nargs="+")
    arguments = parser.parse_args()
    problems = []
    named = set()
    for file in arguments.objects:
        named.add(set_of(file))
        problems += [f"{pathlib.Path(file).name}: {line}" for line in forbidden_instructions(arguments.objdump, file)]
    if not {"", "Sse", "Avx2", "Avx512Bw", "Avx512"} <= named:
        problems.append(f"objects of {sorted(named)} only")
    commands = json.loads(pathlib.Path(arguments.commands).read_text(encoding="utf-8")) if arguments.commands else []
    for command in commands:
        if re.search(r" -o (src|frames|tools|gstreamer)/", command["command"]):
            problems += [f"{command['file']}: compiled with -m{option}" for option in forbidden_options(command)]
    print("\n".join(problems) or f"{len(arguments.objects)} objects run where they have to")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
