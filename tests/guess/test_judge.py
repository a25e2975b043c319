# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The judge of tests/guess: it reads every format, its code counts every byte, and it excuses no clear file."""
import dataclasses

import numpy as np
import pytest

import cases
import judge


def layout_of(case, **changes):
    return dataclasses.replace(judge.Layout.of(case), **changes)


@pytest.mark.parametrize("name", cases.FORMATS)
def test_the_samples_of_every_format_are_read_as_they_were_written(name):
    random = np.random.default_rng(5)
    samples = random.integers(0, 1 << cases.depth_of(name), 8 * 12).astype(np.uint32)
    packed = cases.packed(samples, name)
    assert judge.stream_bytes(name, len(samples)) == len(packed)
    read, unused = judge.stream(name, packed, len(samples))
    assert (read == samples).all()
    assert unused is None or not unused.any()


@pytest.mark.parametrize("name", ["Mono8", "BayerRG12p", "Mono10Packed", "BayerGB10CSI2", "RGB8", "YUV422_8"])
@pytest.mark.parametrize("changes", [{}, {"offset": 77, "height": 39}, {"stride": 256, "width": 40, "height": 9}])
def test_noise_takes_all_its_bytes_in_every_layout(name, changes):
    layout = judge.Layout(**{**{"format": name, "width": 64, "height": 40, "stride": 0, "offset": 0, "shift": 0,
                                "frames": 1}, **changes})
    noise = np.random.default_rng(6).integers(0, 256, 64 * 40 * 4, np.uint8).tobytes()
    assert judge.bits_of(noise, layout) >= 8 * len(noise)


@pytest.mark.parametrize("name", ["Mono8", "Mono12p", "BayerRG8", "BayerGB12p", "RGB8", "YUV411_8_UYYVYY"])
def test_a_clear_file_is_not_excused(name):
    case = cases.drawn(name, 152, 120, 31)
    wrong = [{"width": 148, "offset": 16}, {"width": 76, "height": 240}, {"width": 304, "height": 60},
             {"height": 60, "frames": 2}, {"height": 40, "frames": 3}, {"height": 119},
             {"format": "BayerGR8" if name == "Mono8" else "Mono8", "height": 100}]
    for changes in wrong:
        verdict = judge.judge(case.contents, judge.Layout.of(case), layout_of(case, **changes))
        assert not verdict.ambiguous, f"{changes}: {verdict.text()}"


def test_frames_of_a_sequence_are_not_excused_as_one_tall_picture():
    first, second = (cases.drawn("Mono8", 160, 120, number) for number in (32, 33))
    contents = first.contents + second.contents
    verdict = judge.judge(contents, layout_of(first, frames=2), layout_of(first, height=240))
    assert not verdict.ambiguous, verdict.text()


def test_padding_that_repeats_the_row_is_no_excuse():
    case = cases.drawn("Mono8", 150, 120, 34)
    rows = np.frombuffer(case.contents, np.uint8).reshape(120, 150)
    contents = np.concatenate([rows, rows[:, :10]], axis=1).tobytes()
    verdict = judge.judge(contents, layout_of(case, stride=160), layout_of(case, width=160))
    assert not verdict.ambiguous, verdict.text()


def test_the_wrong_diagonal_of_green_is_no_excuse():
    case = cases.drawn("BayerRG8", 96, 64, 38)
    assert not judge.judge(case.contents, judge.Layout.of(case), layout_of(case, format="BayerGR8")).ambiguous


def test_an_answer_that_the_file_is_too_short_for_is_no_excuse():
    case = cases.drawn("Mono8", 64, 48, 35)
    assert not judge.judge(case.contents, judge.Layout.of(case), layout_of(case, height=49)).ambiguous


def test_words_below_a_smaller_depth_are_ambiguous():
    case = cases.drawn("BayerRG12", 96, 64, 36)
    verdict = judge.judge(case.contents, layout_of(case, format="BayerRG14"), judge.Layout.of(case))
    assert verdict.ambiguous and verdict.true_bits == verdict.other_bits


def test_a_grey_picture_read_as_a_mosaic_is_ambiguous_only_if_it_is_called_one():
    case = cases.drawn("Mono8", 152, 120, 37)
    mosaic, grey = layout_of(case, format="BayerRG8"), judge.Layout.of(case)
    assert judge.judge(case.contents, mosaic, grey).ambiguous
    assert not judge.judge(case.contents, grey, mosaic).ambiguous
