# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Whether a file is ambiguous, judged from its bytes: a code for raw frames that any layout can be tried with.

A file is provably ambiguous if the guesser's first answer codes all its bytes in no more bits than the true layout
does: then nothing in the bytes speaks for the truth. An answer that reads every word of every row as the truth does, and
differs in its name alone (the depth of words), is one of these, for its code is the same. The code knows no colours, so
it never excuses an answer that takes the other diagonal of the same mosaic for green.

Nothing is shared with the guesser. The code can be decoded from the bits that are counted, so no layout gains by
leaving bytes out:

    layout     its numbers, as Elias gamma codes
    header     deflate, or as it is
    samples    of each kind by itself: the misses of a predictor, in a Bayesian adaptive code with contexts
    padding    whether a byte is the one above it or the one a row of samples before it; else 8 bits
    leftovers  bits that no sample uses, bytes behind the last frame: deflate, or as they are

The predictor of a kind is the cheaper of two: the median of the neighbours of that kind to the left and above and of
the plane through them; a linear function of neighbours of all kinds, whose weights are a part of the code.
"""
import dataclasses
import math
import zlib

import numpy as np
from numpy.lib.stride_tricks import sliding_window_view

LEFT, RIGHT = 8, 6  # columns that a linear function looks at
WEIGHTS = 1024  # steps in 1
_PERIODS = {"RGB": 3, "BGR": 3, "YUV8_UYV": 3, "YUV422_8_UYVY": 4, "YUV422_8": 4, "YUV411_8_UYYVYY": 6}
_PACKINGS = {"10p": (4, 5), "12p": (2, 3), "10Packed": (2, 3), "12Packed": (2, 3), "10CSI2": (4, 5), "12CSI2": (2, 3)}
_FIRST_LUMA = {"YUV422_8_UYVY": (1, 2), "YUV422_8": (0, 2)}


@dataclasses.dataclass(frozen=True)
class Layout:
    """A way to read a file; stride 0 for rows without padding."""
    format: str
    width: int
    height: int
    stride: int
    offset: int
    shift: int
    frames: int

    @classmethod
    def of(cls, source):
        """From an answer of the tool, or from a case."""
        get = source.__getitem__ if isinstance(source, dict) else lambda name: getattr(source, name)
        return cls(*(get(field.name) for field in dataclasses.fields(cls)))


def _packing(name):
    """Samples and bytes of a group; None for words and bytes."""
    return next((group for suffix, group in _PACKINGS.items() if name.endswith(suffix)), None)


def _period(name):
    """Samples after which their kinds repeat along a row."""
    return 2 if name.startswith("Bayer") else _PERIODS.get(name, _PERIODS.get(name[:3], 1))


def _row_samples(layout):
    per_pixel = {"YUV422_8_UYVY": 2, "YUV422_8": 2, "YUV411_8_UYYVYY": 1.5}
    return int(layout.width * per_pixel.get(layout.format, 3 if _period(layout.format) == 3 else 1))


def _unpack(name, groups):
    """Samples of groups of bytes, and the bits that belong to none."""
    g = groups.astype(np.int32)
    if name.endswith("10p"):
        return np.stack([(g[:, i] >> 2 * i | g[:, i + 1] << 8 - 2 * i) & 1023 for i in range(4)], axis=1), None
    if name.endswith("12p"):
        return np.stack([g[:, 0] | (g[:, 1] & 15) << 8, g[:, 1] >> 4 | g[:, 2] << 4], axis=1), None
    if name.endswith("10CSI2"):
        return np.stack([g[:, i] << 2 | g[:, 4] >> 2 * i & 3 for i in range(4)], axis=1), None
    low, second, places, mask = (2, 1, 4, 15) if name.endswith("CSI2") else (1, 2, 4, 15)
    if name.endswith("10Packed"):
        return np.stack([g[:, 0] << 2 | g[:, 1] & 3, g[:, 2] << 2 | g[:, 1] >> 4 & 3], axis=1), g[:, 1] & 0xCC
    return np.stack([g[:, 0] << 4 | g[:, low] & mask, g[:, second] << 4 | g[:, low] >> places], axis=1), None


def stream(name, bytes_, count):
    """That many samples from the beginning of the bytes, and the bits that belong to none."""
    group = _packing(name)
    if group is None:
        word = "<u2" if name[-2:] in ("10", "12", "14", "16") else np.uint8
        return np.frombuffer(bytes_.tobytes(), word)[:count].astype(np.int32), None
    groups = -(-count // group[0])
    whole = np.zeros(groups * group[1], np.uint8)
    whole[:min(len(bytes_), len(whole))] = bytes_[:len(whole)]
    samples, unused = _unpack(name, whole.reshape(-1, group[1]))
    return samples.ravel()[:count], unused


def stream_bytes(name, count):
    """Bytes that so many samples take."""
    group = _packing(name)
    if group is None:
        return count * (2 if name[-2:] in ("10", "12", "14", "16") else 1)
    if name.endswith("CSI2"):
        return -(-count // group[0]) * group[1]
    bits = group[1] * 8 // group[0]
    return -(-count * bits // 8)


def _gamma(number):
    """Bits of Elias' gamma code."""
    return 2 * int(number + 1).bit_length() - 1


def _bytes_bits(bytes_):
    """Bits of bytes of unknown kind."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    packed = packer.compress(bytes(bytes_)) + packer.flush()
    return 1 + 8 * min(len(packed), len(bytes_))


def _adaptive_bits(symbols, contexts, alphabet):
    """Bits of symbols when each is coded by how often it occurred before in its context (Krichevsky and Trofimov)."""
    if len(symbols) == 0:
        return 0.0
    counts = np.bincount(contexts.astype(np.int64) * alphabet + symbols)
    bits = 0.0
    half = math.lgamma(0.5)
    for start in range(0, len(counts), alphabet):
        seen = counts[start:start + alphabet]
        total = int(seen.sum())
        if total:
            bits += math.lgamma(total + alphabet / 2) - math.lgamma(alphabet / 2)
            bits -= sum(math.lgamma(n + 0.5) - half for n in seen[seen > 0].tolist())
    return bits / math.log(2)


def _width(numbers):
    """Significant bits of each."""
    return np.frexp(numbers.astype(np.float64))[1]


def _misses_bits(misses, contexts):
    """Sign and length of each miss adaptively, and its two bits behind the highest one; the others as they are."""
    magnitude = np.abs(misses)
    length = _width(magnitude)
    bits = _adaptive_bits(length * 2 + (misses < 0), contexts, 40)
    rest = np.maximum(length - 1, 0)
    told = np.minimum(rest, 2)
    next_bits = np.where(rest > 0, (magnitude >> rest - told) & ((1 << told) - 1), 0)
    coded = rest > 0
    bits += _adaptive_bits(next_bits[coded], length[coded], 4)
    return bits + int((rest - told).sum())


class _Kind:
    """Samples of one kind of one frame: every rows-th row from `row`, every columns-th column from `column`."""

    def __init__(self, row, rows, column, columns, left):
        self.row, self.rows, self.column, self.columns, self.left = row, rows, column, columns, left


def _kinds(name):
    """Kinds of samples, each with the distance to its neighbour to the left."""
    if name.startswith("Bayer"):
        return [_Kind(r, 2, c, 2, 2) for r in (0, 1) for c in (0, 1)]
    period = _period(name)
    if name == "YUV411_8_UYYVYY":
        return [_Kind(0, 1, c, 6, left) for c, left in enumerate((6, 2, 1, 6, 2, 1))]
    if name in _FIRST_LUMA:
        first, step = _FIRST_LUMA[name]
        return [_Kind(0, 1, c, 4, step if c % 2 == first else 4) for c in range(4)]
    return [_Kind(0, 1, c, period, period) for c in range(period)]


def _shifted(frame, down, right):
    """The frame's samples so many rows above and columns to the left; the nearest one where there is none."""
    rows, columns = frame.shape
    above = np.maximum(np.arange(rows) - down, 0)
    before = np.arange(columns) - right
    before = np.where(before < 0, np.arange(columns) % max(right, 1), before)
    return frame[np.ix_(above, np.minimum(before, columns - 1))]


def _by_median(frame, kind):
    """Predictions for all samples of the frame, as if all were of the kind."""
    a = _shifted(frame, 0, kind.left)
    b = _shifted(frame, kind.rows, 0)
    c = _shifted(frame, kind.rows, kind.left)
    predicted = np.clip(a + b - c, np.minimum(a, b), np.maximum(a, b))
    predicted[:kind.rows] = a[:kind.rows]  # no row above
    predicted[:, :kind.left] = b[:, :kind.left]
    predicted[:kind.rows, :kind.left] = 0
    return predicted


def _neighbours(frame, kind):
    """What a linear function looks at, for the samples of the kind that have it all; None where none has."""
    rows, columns = frame.shape
    if rows < 4 or columns < LEFT + RIGHT + 1 + kind.columns:
        return None
    first_row = kind.row + (0 if kind.row >= 2 else -(-(2 - kind.row) // kind.rows) * kind.rows)
    first_column = kind.column + -(-max(LEFT - kind.column, 0) // kind.columns) * kind.columns
    windows = sliding_window_view(frame, LEFT + RIGHT + 1, axis=1)
    take = slice(first_column - LEFT, None, kind.columns)
    here = windows[first_row::kind.rows, take, :LEFT]
    above = windows[first_row - 1:rows - 1:kind.rows, take, 2:]
    over = windows[first_row - 2:rows - 2:kind.rows, take, 4:13]
    terms = np.concatenate([here, above, over], axis=2).reshape(-1, LEFT + 13 + 9).astype(np.float64)
    return (first_row, first_column), here.shape[:2], terms


def _by_weights(frames, kind, predicted):
    """The predictions of the best linear function in place of the given ones, and the bits of its weights."""
    found = [_neighbours(frame, kind) for frame in frames]
    if any(entry is None for entry in found):
        return None
    products = moments = 0
    for frame, ((row, column), shape, terms) in zip(frames, found):
        step = max(len(terms) * len(frames) // 40000, 1)
        wanted = frame[row::kind.rows, column::kind.columns][:, :shape[1]].ravel()
        terms = np.concatenate([terms, np.ones((len(terms), 1))], axis=1)[::step]
        products = products + terms.T @ terms
        moments = moments + terms.T @ wanted[::step]
    weights = np.linalg.solve(products + np.diag(1e-6 * np.diag(products) + 1e-3), moments)
    steps = np.rint(weights * np.where(np.arange(len(weights)) < len(weights) - 1, WEIGHTS, 1)).astype(np.int64)
    weights = np.append(steps[:-1] / WEIGHTS, steps[-1])
    results = []
    for base, ((row, column), shape, terms) in zip(predicted, found):
        told = np.rint(terms @ weights[:-1] + weights[-1]).astype(np.int32)
        result = base.copy()
        result[row::kind.rows, column::kind.columns][:, :shape[1]] = np.clip(told, -1 << 18, 1 << 18).reshape(shape)
        results.append(result)
    return results, sum(_gamma(2 * abs(step) + (step < 0)) for step in steps.tolist())


def _coded(frames, kind, predicted):
    """The misses of a kind with those predictions, with their contexts: the misses to the left and above."""
    misses, contexts = [], []
    for frame, guess in zip(frames, predicted):
        miss = (frame - guess)[kind.row::kind.rows, kind.column::kind.columns]
        size = np.abs(miss)
        left = np.pad(size, ((0, 0), (1, 0)))[:, :-1]
        up = np.pad(size, ((1, 0), (0, 0)))[:-1]
        beside = np.pad(size, ((1, 0), (0, 1)))[:-1, 1:]
        context = np.minimum(_width(2 * left + 2 * up + beside), 19)
        context[:1] = 20 + np.minimum(_width(2 * left[:1]), 19)
        misses.append(miss.ravel())
        contexts.append(context.ravel())
    return np.concatenate(misses), np.concatenate(contexts)


def _samples_bits(name, frames):
    """Bits of all samples, by the cheaper predictor for each kind; the counts are of each kind or of all together."""
    apart = weights = 0.0
    all_coded = []
    for kind in _kinds(name):
        predicted = [_by_median(frame, kind) for frame in frames]
        coded = _coded(frames, kind, predicted)
        least, extra = _misses_bits(*coded), 0
        linear = _by_weights(frames, kind, predicted)
        if linear is not None:
            other = _coded(frames, kind, linear[0])
            bits = _misses_bits(*other)
            if bits + linear[1] < least:
                coded, least, extra = other, bits, linear[1]
        all_coded.append(coded)
        apart += least
        weights += 1 + extra
    together = _misses_bits(*(np.concatenate(parts) for parts in zip(*all_coded)))
    return 1 + weights + min(apart, together)


def _padding_bits(rows, used):
    """Bits of the bytes behind the first `used` of each row."""
    padding = rows[:, used:]
    if padding.size == 0:
        return 0.0
    above = np.concatenate([padding[:1] * 0, padding[:-1]])
    copied = rows[:, np.maximum(np.arange(used, rows.shape[1]) - used, 0)]
    least = 8.0 * padding.size
    for told in (above, copied):
        same = (padding == told).astype(np.int64).ravel()
        least = min(least, _adaptive_bits(same, np.zeros(len(same)), 2) + 8 * int((same == 0).sum()))
    return 2 + least


def bits_of(contents, layout):
    """Bits of the file in that layout; None where the file is too short for it."""
    data = np.frombuffer(contents, np.uint8)
    per_row = _row_samples(layout)
    row_bytes = stream_bytes(layout.format, per_row)
    apart = layout.stride != 0 or layout.format.endswith("CSI2")
    stride = layout.stride or row_bytes
    frame_bytes = layout.height * stride if apart else stream_bytes(layout.format, layout.height * per_row)
    end = layout.offset + layout.frames * frame_bytes
    if end > len(data) or stride < row_bytes or per_row == 0:
        return None
    bits = sum(_gamma(number) for number in dataclasses.astuple(layout)[1:]) + 6  # the format is one of 62
    bits += _bytes_bits(data[:layout.offset]) + _bytes_bits(data[end:])
    frames, leftovers = [], []
    for start in range(layout.offset, end, frame_bytes):
        frame = data[start:start + frame_bytes]
        if apart:
            rows = frame.reshape(layout.height, stride)
            bits += _padding_bits(rows, row_bytes)
            parts = [stream(layout.format, row[:row_bytes], per_row) for row in rows]
            samples = np.stack([part[0] for part in parts])
            leftovers += [part[1] for part in parts if part[1] is not None]
        else:
            samples, unused = stream(layout.format, frame, layout.height * per_row)
            samples = samples.reshape(layout.height, per_row)
            leftovers += [] if unused is None else [unused]
        if layout.shift:
            leftovers.append(samples.ravel() & ((1 << layout.shift) - 1))
            samples = samples >> layout.shift
        frames.append(samples)
    if leftovers:
        left = np.concatenate(leftovers)
        bits += 1 + (_bytes_bits(left.astype("<u2").tobytes()) if left.any() else 0)
    return bits + _samples_bits(layout.format, frames)


@dataclasses.dataclass(frozen=True)
class Verdict:
    """What a file takes in its true layout and in the guesser's first answer."""
    true_bits: float
    other_bits: float

    @property
    def ambiguous(self):
        """Whether the bytes say no more for the truth than for the answer."""
        return self.other_bits <= self.true_bits

    def text(self):
        """The proof."""
        word = "provably ambiguous" if self.ambiguous else "not ambiguous"
        if math.isinf(self.other_bits):
            return f"{word}: the first answer takes the other sites for green, or does not fit the file"
        return f"{word}: the first answer codes the file in {self.other_bits / 8:.1f} bytes, " \
               f"the true layout in {self.true_bits / 8:.1f}"


def _differ_in_green(one, other):
    """Whether both read the same mosaic, with green on different diagonals."""
    mosaics = one.format.startswith("Bayer") and other.format.startswith("Bayer")
    return mosaics and (one.format[5] == "G") != (other.format[5] == "G") and dataclasses.replace(other, format=one.format) == one


def judge(contents, truth, answer):
    """The verdict on a file whose true layout is not the guesser's first answer."""
    true_bits = bits_of(contents, truth)
    if true_bits is None:
        raise ValueError("the file is shorter than its true layout")
    other_bits = None if _differ_in_green(truth, answer) else bits_of(contents, answer)
    return Verdict(true_bits, math.inf if other_bits is None else other_bits)
