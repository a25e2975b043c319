# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""Files of raw frames whose layout is known, made from a number: the same number gives the same file.

Format, size, padding, header, frames, place of the samples in their words, scene, light and noise are drawn at random.
The packings are written down from their drawings; nothing is shared with the library or the guesser.
"""
import dataclasses

import numpy as np

import scenes

PHASES = ("GR", "RG", "GB", "BG")
MONO = [f"Mono{depth}" for depth in (8, 10, 12, 14, 16)]
BAYER = [f"Bayer{phase}{depth}" for depth in (8, 10, 12, 14, 16) for phase in PHASES]
PACKINGS = ("10p", "12p", "10Packed", "12Packed", "10CSI2", "12CSI2")
MONO_PACKED = [f"Mono{packing}" for packing in PACKINGS]
BAYER_PACKED = [f"Bayer{phase}{packing}" for packing in PACKINGS for phase in PHASES]
COLOUR = ["RGB8", "BGR8", "RGB10", "BGR10", "RGB12", "BGR12"]
YUV = ["YUV8_UYV", "YUV422_8_UYVY", "YUV422_8", "YUV411_8_UYYVYY"]
FAMILIES = {"Mono": MONO, "Bayer": BAYER, "Mono packed": MONO_PACKED, "Bayer packed": BAYER_PACKED, "Colour": COLOUR,
            "YUV": YUV}
FORMATS = [name for names in FAMILIES.values() for name in names]


@dataclasses.dataclass
class Case:
    """A file and what it holds."""
    number: int
    scene: str
    format: str
    width: int
    height: int
    stride: int
    offset: int
    shift: int
    frames: int
    padding: str
    contents: bytes

    def text(self):
        """The layout in a line."""
        words = [f"{self.format} {self.width}x{self.height}"]
        words += [f"{name} {value}" for name, value in (("stride", self.stride), ("offset", self.offset),
                                                       ("shift", self.shift)) if value]
        words += [f"padding of {self.padding}"] if self.padding else []
        words += [f"{self.frames} frames"] if self.frames > 1 else []
        return ", ".join(words) + f" ({self.scene})"


def family_of(name):
    """The family that the format is counted in."""
    return next(family for family, names in FAMILIES.items() if name in names)


def depth_of(name):
    """Bits of a sample."""
    if name in YUV:
        return 8
    digits = "".join(c if c.isdigit() else " " for c in name.removesuffix("CSI2"))
    return int(digits.split()[0])


def group_of(name):
    """Pixels that share their chroma."""
    return {"YUV422_8_UYVY": 2, "YUV422_8": 2, "YUV411_8_UYYVYY": 4}.get(name, 1)


def _samples(name, light):
    """Rows of samples from 0 to 1, as the format has them."""
    if name.startswith("Mono"):
        return light @ (0.3, 0.59, 0.11)
    if name.startswith("Bayer"):
        first = name[5:7]
        cell = {"GR": "GRBG", "RG": "RGGB", "GB": "GBRG", "BG": "BGGR"}[first]
        mosaic = np.empty(light.shape[:2])
        for site, colour in enumerate(cell):
            rows, columns = slice(site // 2, None, 2), slice(site % 2, None, 2)
            mosaic[rows, columns] = light[rows, columns, "RGB".index(colour)]
        return mosaic
    if name in COLOUR:
        return (light if name.startswith("RGB") else light[..., ::-1]).reshape(light.shape[0], -1)
    return _yuv(name, light)


def _yuv(name, light):
    """Full-range YUV of a picture with a gamma, in groups."""
    red, green, blue = np.moveaxis(light ** (1 / 2.2), -1, 0)
    y = 0.299 * red + 0.587 * green + 0.114 * blue
    u, v = 0.5 + (blue - y) / 1.772, 0.5 + (red - y) / 1.402
    group = group_of(name)
    height, width = y.shape
    u, v = (plane.reshape(height, width // group, group).mean(axis=2) for plane in (u, v))
    luma = [y[:, i::group] for i in range(group)]
    order = {"YUV8_UYV": [u, luma[0], v], "YUV422_8_UYVY": [u, luma[0], v, luma[-1]],
             "YUV422_8": [luma[0], u, luma[-1], v]}.get(name)
    if order is None:
        order = [u, luma[0], luma[1], v, luma[2], luma[3]]
    return np.stack(order, axis=-1).reshape(height, -1)


def _light(random, case_scene, height, width, photographs):
    """A picture through lens, colour filters and exposure."""
    light = scenes.picture(random, case_scene, height, width, photographs)
    gains = np.array([random.uniform(0.35, 0.9), 0.95, random.uniform(0.35, 0.9)])
    exposure = random.choice([1, 1, 0.6, 0.25], p=[0.4, 0.2, 0.25, 0.15])
    return np.clip(light * gains * exposure, 0, 1)


def _quantised(random, name, values):
    """Black level, noise of photons and of reading, and whole numbers."""
    depth = depth_of(name)
    if name in YUV:
        noisy = values + random.normal(0, 0.006, values.shape)
    else:
        pedestal = random.choice([0, 1 / 64, 1 / 16])
        electrons = random.uniform(2000, 12000)
        noise = np.sqrt(np.maximum(values, 0) / electrons + (random.uniform(2, 12) / electrons) ** 2)
        noisy = pedestal + (1 - pedestal) * (values + noise * random.normal(0, 1, values.shape))
    return np.clip(np.rint(noisy * (2 ** depth - 1)), 0, 2 ** depth - 1).astype(np.uint32)


def packed(flat, name):
    """A run of samples as bytes."""
    depth = depth_of(name)
    if name.endswith("p"):
        bits = (flat[:, np.newaxis] >> np.arange(depth)) & 1
        return np.packbits(bits.ravel().astype(np.uint8), bitorder="little")
    if not name.endswith(("Packed", "CSI2")):
        return flat.astype("<u2" if depth > 8 else np.uint8).view(np.uint8)
    per_group = 4 if name.endswith("10CSI2") else 2
    groups = np.pad(flat, (0, -len(flat) % per_group)).reshape(-1, per_group)
    high = groups >> depth - 8
    low = groups & ((1 << depth - 8) - 1)
    places = np.array([0, 2, 4, 6] if per_group == 4 else [0, 4])
    lows = (low << places).sum(axis=1)[:, np.newaxis]
    parts = [high[:, :1], lows, high[:, 1:]] if name.endswith("Packed") else [high, lows]
    whole = np.concatenate(parts, axis=1).astype(np.uint8).ravel()
    bits = len(flat) * (12 if name.endswith("Packed") else depth)
    return whole if name.endswith("CSI2") else whole[:(bits + 7) // 8]


def row_bytes(name, width):
    """Bytes of a row that stands by itself."""
    samples = width * {"YUV422_8_UYVY": 4, "YUV422_8": 4, "YUV411_8_UYYVYY": 6, "YUV8_UYV": 3}.get(name, 1)
    samples = samples // group_of(name) * (3 if name in COLOUR else 1)
    return len(packed(np.zeros(samples, np.uint32), name))


def _padding(kind, stride, row, rows):
    """What lies behind each row: zeros, another value, or what was in the memory before."""
    if kind == "stale":
        return np.resize(rows[:, :stride - row], (len(rows), stride - row))
    return np.full((len(rows), stride - row), 0 if kind == "zeros" else 255, np.uint8)


def _frame(padding, name, samples, stride, shift):
    """One frame as it lies in the file."""
    samples = samples << shift
    if stride == 0 and not name.endswith("CSI2"):
        return packed(samples.ravel(), name).tobytes()
    rows = np.stack([packed(row, name) for row in samples])
    if stride == 0:
        return rows.tobytes()
    return np.concatenate([rows, _padding(padding, stride, rows.shape[1], rows)], axis=1).tobytes()


def _header(random, offset):
    """Some text and numbers, then zeros; or unknown bytes throughout."""
    if random.random() < 0.3:
        return random.integers(0, 256, offset, np.uint8).tobytes()
    text = f"CAPTURE {random.integers(10**9)} sensor {random.integers(100)} gain {random.random():.3f}\n".encode()
    return (text + bytes(offset))[:offset]


def _size(random, name):
    """Small and large, even and odd, usual and unusual; frames of up to half a million pixels."""
    usual = [(320, 240), (640, 480), (512, 512), (648, 488), (752, 480), (720, 540), (808, 608), (800, 600)]
    kind = random.random()
    if kind < 0.3:
        width, height = usual[random.integers(len(usual))]
    elif kind < 0.85:
        width = int(np.exp(random.uniform(np.log(100), np.log(1000))))
        height = int(width / random.choice([1, 4 / 3, 1.5, 16 / 9, 2.35, 0.75]))
    else:
        width, height = int(random.integers(32, 100)), int(random.integers(24, 100))
    group = group_of(name)
    return max(width // group * group, group), max(height, 8)


def make(number, photographs=None):
    """The case of that number."""
    random = np.random.default_rng([20261122, number])
    name = FORMATS[number % len(FORMATS)]
    kinds = list(scenes.KINDS[:4]) * 3 + ["stripes"] + (["photograph"] * 13 if photographs and photographs.paths else [])
    scene = kinds[random.integers(len(kinds))]
    width, height = _size(random, name)
    stride = offset = shift = 0
    if random.random() < 0.3:
        least = row_bytes(name, width)
        unit = int(random.choice([4, 8, 16, 32, 64, 128, 256, 4096], p=[.1, .1, .2, .15, .2, .1, .1, .05]))
        stride = (least // unit + (0 if least % unit == 0 else 1)) * unit
        stride = 0 if stride == least else stride
    if random.random() < 0.3:
        offset = int(random.choice([16, 32, 64, 100, 128, 256, 512, 1024, 4096, random.integers(1, 5000)]))
    words = depth_of(name) > 8 and name[-1].isdigit() and not name.endswith("CSI2")
    if words and name not in COLOUR and random.random() < 0.25:
        shift = 16 - depth_of(name)
    frames = 1 if random.random() < 0.7 else int(random.integers(2, 5))
    padding = str(random.choice(["zeros", "ones", "stale"], p=[0.7, 0.15, 0.15])) if stride else ""
    contents = _header(random, offset)
    first = _light(random, scene, height + 3 * (frames - 1), width + 5 * (frames - 1), photographs)
    for frame in range(frames):  # the camera moves a little
        view = first[3 * frame:3 * frame + height, 5 * frame:5 * frame + width]
        samples = _quantised(random, name, _samples(name, view))
        contents += _frame(padding, name, samples, stride, shift)
    return Case(number, scene, name, width, height, stride, offset, shift, frames, padding, contents)


def drawn(name, width, height, number):
    """One frame of that format and size without anything around it."""
    random = np.random.default_rng(number)
    samples = _quantised(random, name, _samples(name, _light(random, "objects", height, width, None)))
    return Case(number, "objects", name, width, height, 0, 0, 0, 1, "", _frame("", name, samples, 0, 0))
