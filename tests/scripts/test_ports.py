# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# The port bounds of scripts/bench: which loop of a function is analysed, what it stores, and which kernels a converter
# runs.
"""Tests of bench/report/ports.py."""
import subprocess
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "bench" / "report"))
import ports  # noqa: E402  # pylint: disable=wrong-import-position

# A head that searches, a loop of two stores, a loop around it, and a tail.
FUNCTION = [(0, "mov    %rdi,%rax"), (4, "add    $0x8,%rax"), (8, "jb     4"),
            (12, "vmovdqu (%rsi,%rax,1),%ymm0"), (16, "vmovdqu %ymm0,(%rdi,%rax,2)"),
            (20, "vextracti128 $0x1,%ymm0,0x20(%rdi)"), (24, "vmovdqa %ymm0,0x20(%rsp)"), (28, "jne    12"),
            (32, "vmovdqu %ymm0,(%rdi)"), (36, "vmovdqu %ymm0,0x20(%rdi)"), (40, "jne    c"), (44, "ret")]


def test_the_loop_without_another_loop_that_stores_most_is_taken() -> None:
    loop = ports.inner_loop([(address, text.replace("jne    12", "jne    c")) for address, text in FUNCTION[:8]]
                            + FUNCTION[8:10] + [(40, "jne    4"), (44, "ret")])
    assert loop[0] == "vmovdqu (%rsi,%rax,1),%ymm0"
    assert loop[-1] == "jne    c"
    assert ports.stored_bytes(loop) == 32 + 16, "the stack does not count, and an extracting store writes half a register"


def test_a_function_without_a_loop_has_none() -> None:
    assert ports.inner_loop([(0, "vmovdqu %ymm0,(%rdi)"), (4, "jb     8"), (8, "ret")]) == []


def test_instructions_are_counted_by_kind() -> None:
    loop = ["vmovdqu (%rsi),%ymm0", "vpshufb 0x20(%rsp),%ymm0,%ymm1", "vpacksswb %ymm1,%ymm0,%ymm2",
            "vpaddw %ymm0,%ymm1,%ymm3", "prefetchw 0x800(%rdi)", "vmovdqu %ymm3,(%rdi)", "add    $0x20,%rdi", "jne    0"]
    assert ports.operations(loop) == {"instructions": 8, "loads": 2, "stores": 1, "shuffles": 2}


@pytest.mark.parametrize("line, operation", [
    ("vpaddw %zmm1,%zmm2,%zmm3", "vpaddw z"),
    ("vpaddw 0x20(%rsp),%ymm2,%ymm3", "vpaddw y"),
    ("vpaddb %zmm1,%zmm2,%zmm3{%k1}", "vpaddb zk"),
    ("vpmovwb %zmm1,%ymm2", "vpmovwb z"),
    ("vmovdqu (%rsi),%ymm0", ""), ("vmovdqu %ymm0,(%rdi)", ""), ("vmovdqa %ymm0,%ymm1", ""),
    ("vpbroadcastw 0x10(%rsi),%ymm0", "vpbroadcastw y"), ("vbroadcasti128 (%rsi),%ymm0", ""),
    ("vextracti128 $0x1,%ymm0,0x20(%rdi)", ""), ("add    $0x20,%rdi", ""), ("prefetchw 0x800(%rdi)", ""),
])
def test_an_operation_is_what_vector_pipes_start(line: str, operation: str) -> None:
    assert ports.operation_of(line) == operation


@pytest.mark.parametrize("uses, cycles", [
    ([], 0), ([{0, 1, 2, 3}], 0.25), ([{0}], 1), ([{0, 1}] * 3, 1.5), ([{0, 1}, {1, 2}, {0, 2}, {0, 1, 2}], 4 / 3),
    ([{0, 1}] * 4 + [{2, 3}] * 2, 2), ([{0, 1, 2, 3}] * 8 + [{1}] * 3, 3), ([{0}, {3}, {3}], 2),
])
def test_operations_take_as_long_as_the_busiest_set_of_pipes(uses: list[set[int]], cycles: float) -> None:
    assert ports.cost(uses) == pytest.approx(cycles)


def test_bounds_of_pipes_count_pipes_loads_stores_and_instructions(tmp_path: Path) -> None:
    measured = tmp_path / "pipes.csv"
    measured.write_text("operation,pipes\nvpshufb y,12\nvpaddw y,0123\nvpaddw z,0123\n")
    loops = {
        "shuffles": ["vpshufb %ymm0,%ymm1,%ymm2"] * 3 + ["vpaddw %ymm0,%ymm1,%ymm2"],
        "loads": ["vmovdqu (%rsi),%ymm0"] * 5 + ["vpaddw (%rsi),%ymm1,%ymm2"],
        "halves": ["vmovdqu %ymm0,(%rdi)"] * 4 + ["vextracti128 $0x1,%ymm0,(%rdi)"] * 2,
        "whole": ["vmovdqu %zmm0,(%rdi)"] * 3,
        "counting": ["add    $0x20,%rdi"] * 12,
    }
    assert ports.bounds_of_pipes(loops, measured) == {
        "shuffles": 1.5, "loads": 3, "halves": 3, "whole": 3, "counting": 1.5}


def test_converters_name_their_kernels() -> None:
    assert ports.kernels_of("ConvMono8ToBGR") == [(["Mono8<1>"], 3)]
    assert ports.kernels_of("ConvByrGR12ToBGRA") == [(["BayerN<0, 1, 0>", "BayerN<0, 2, 0>"], 4)]
    assert [pixel for _, pixel in ports.kernels_of("ConvByrGR8ToBGRACPI")] == [4, 3]
    assert ports.kernels_of("Reverse RGB8 mirror") == [(["Reverse<0, 1, 2>"], 3)]
    assert ports.kernels_of("Reverse RGB8 copy") == []
    for other in ("ConvByrBG8ToBGR", "ConvByrBG8ToBGRACPI"):
        assert ports.kernels_of(other) == [], "one phase stands for all"


def test_the_bound_is_the_busiest_port_of_each_loop() -> None:
    try:
        subprocess.run([ports.MCA, "--version"], check=True, capture_output=True)
    except FileNotFoundError:
        pytest.skip(f"{ports.MCA} is not installed")
    # Four shuffles for two ports of Ice Lake, and for the only one of Skylake.
    shuffles = [f"vpshufb %ymm0,%ymm1,%ymm{register}" for register in range(4, 8)] + ["jne    0"]
    loops = {"Avx2::A<0>": shuffles, "Avx2::B<0, 1>": shuffles[:2] + shuffles[-1:]}
    assert ports.bounds(loops, "icelake-server") == {"Avx2::A<0>": 2, "Avx2::B<0, 1>": 1}
    assert ports.bounds(loops, "skylake-avx512") == {"Avx2::A<0>": 4, "Avx2::B<0, 1>": 2}
