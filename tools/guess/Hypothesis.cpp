// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Hypothesis.h.
#include "Hypothesis.h"

#include <VexaCamFrames.h>

#include <algorithm>
#include <bit>
#include <initializer_list>

namespace VexaGuess {

namespace {

constexpr size_t kLookedAtForBits = 4096;  ///< bytes
constexpr double kAlike = 0.8;
constexpr double kAlikeCost = 1;                     ///< bits per byte
constexpr size_t kLongestHeader = size_t{16} << 10;  ///< that a look passes over
constexpr size_t kFewestRows = 4;
constexpr size_t kRowsOfBlock = 8;  ///< at least, where there are as many
constexpr size_t kFewestSamples = 16;
constexpr size_t kSmallUnit = 3;  ///< bytes: groups may begin at every byte
constexpr double kNothing = 9;    ///< more than bytes without any structure cost

/// Bits of a row for one kind of sample.
double KindBits(const Plane& samples, const Kind& kind, Measure measure) {
    const size_t columns = samples.Columns() / kind.columnStep;
    return BitsPerSample(samples, kind, measure) * static_cast<double>(columns) / static_cast<double>(kind.rowStep);
}

/// Each colour of a 2 x 2 cell by itself, or as its difference from the one before it.
double BayerBits(const Plane& samples, Measure measure) {
    double bits = 0;
    for (size_t row = 0; row < 2; ++row) {
        for (size_t column = 0; column < 2; ++column) {
            const double alone = KindBits(samples, {row, 2, column, 2, 2}, measure);
            bits += measure == Measure::kRough ? alone
                                               : std::min(alone, KindBits(samples, {row, 2, column, 2, 2, 1}, measure));
        }
    }
    return bits;
}

/// Colours resemble each other, so a later one may be told as its difference from an earlier one.
double ColourBits(const Plane& samples, Measure measure) {
    double bits = 0;
    for (size_t colour = 0; colour < 3; ++colour) {
        double each = KindBits(samples, {0, 1, colour, 3, 3}, measure);
        for (size_t minus = 1; minus <= colour; ++minus) {
            each = std::min(each, KindBits(samples, {0, 1, colour, 3, 3, minus}, measure));
        }
        bits += each;
    }
    return bits;
}

/// Whether high and low bytes of words are equally hard to predict. Then they are not halves of one number, whose high
/// byte varies less than its low one.
bool BytesAreAlike(const Plane& words, Sites sites) {
    Plane high(words.Rows(), words.Columns());
    Plane low(words.Rows(), words.Columns());
    for (size_t r = 0; r < words.Rows(); ++r) {
        for (size_t c = 0; c < words.Columns(); ++c) {
            high.Row(r)[c] = words.Row(r)[c] >> 8;
            low.Row(r)[c] = words.Row(r)[c] & 0xFF;
        }
    }
    const size_t period = SitePeriod(sites);
    const Kind kind = {0, sites == Sites::kBayer ? 2u : 1u, 0, period, period};
    return BitsPerSample(high, kind, Measure::kEntropy) > kAlike * BitsPerSample(low, kind, Measure::kEntropy);
}

PixelFormat GreyFormat(Packing packing) {
    switch (packing) {
        case Packing::kBytes:
            return PIXEL_FORMAT_MONO8;
        case Packing::kWords:
            return PIXEL_FORMAT_MONO16;
        case Packing::kBits10:
            return PIXEL_FORMAT_MONO10P;
        case Packing::kBits12:
            return PIXEL_FORMAT_MONO12P;
        case Packing::k10Packed:
            return PIXEL_FORMAT_MONO10_PACKED;
        case Packing::k12Packed:
            return PIXEL_FORMAT_MONO12_PACKED;
        case Packing::kCsi2Raw10:
            return PIXEL_FORMAT_MONO10_CSI2;
        case Packing::kCsi2Raw12:
            return PIXEL_FORMAT_MONO12_CSI2;
    }
    return 0;
}

/// Whether the bits that 10Packed leaves unused are unused, but in padding, which is the same in all rows. A header's
/// bytes are not samples, so a few do not matter.
bool FitsTenBits(std::span<const uint8_t> rows, size_t rowBytes) {
    constexpr uint8_t kUnused = 0xCC;
    size_t used = 0;
    for (size_t row = 1; (row + 1) * rowBytes <= rows.size(); ++row) {
        const uint8_t* const bytes = rows.data() + row * rowBytes;
        for (size_t i = 1; i < rowBytes; i += 3) {
            used += (bytes[i] & kUnused) != 0 && bytes[i] != (bytes - rowBytes)[i] ? 1 : 0;
        }
    }
    return used * 16 * 3 <= rows.size();
}

/// The samples of the rows, read as those of a grey frame.
bool ReadSamples(std::span<const uint8_t> rows, const Hypothesis& hypothesis, Plane& plane) {
    if (plane.Rows() == 0 || plane.Columns() == 0) {
        return false;
    }
    if (hypothesis.packing == Packing::kBytes) {
        for (size_t r = 0; r < plane.Rows(); ++r) {
            std::copy_n(rows.data() + r * hypothesis.rowBytes, plane.Columns(), plane.Row(r));
        }
        return true;
    }
    VcfLayout layout;
    VcfInitLayout(&layout, GreyFormat(hypothesis.packing), static_cast<uint32_t>(plane.Columns()),
                  static_cast<uint32_t>(plane.Rows()));
    layout.stride = hypothesis.rowBytes;
    std::vector<uint16_t> words(plane.Rows() * plane.Columns());
    if (VcfUnpack(&layout, rows.data(), rows.size(), words.data(), 0, sizeof words[0], nullptr, 0) != VCF_OK) {
        return false;
    }
    uint32_t set = 0;
    for (const uint16_t word : words) {
        set |= word;
    }
    const int clear = set == 0 || hypothesis.packing != Packing::kWords ? 0 : std::countr_zero(set);
    plane.SetClearBits(static_cast<unsigned>(clear));
    std::transform(words.begin(), words.end(), plane.Row(0), [clear](uint16_t word) { return word >> clear; });
    return true;
}

/// Whether words have low bits that are never set: then their bytes need not differ in kind.
bool HasClearBits(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, size_t start) {
    uint32_t set = 0;
    const size_t end = std::min(bytes.size(), start + kLookedAtForBits);
    for (size_t i = start + hypothesis.alignment % 2; i < end; i += 2) {
        set |= bytes[i];
    }
    return (set & 3) == 0;
}

}  // namespace

GroupSize GroupOf(Packing packing) {
    switch (packing) {
        case Packing::kBytes:
            return {1, 1};
        case Packing::kWords:
            return {1, 2};
        case Packing::kBits10:
        case Packing::kCsi2Raw10:
            return {4, 5};
        case Packing::kBits12:
        case Packing::k10Packed:
        case Packing::k12Packed:
        case Packing::kCsi2Raw12:
            return {2, 3};
    }
    return {1, 1};
}

size_t PackedBytes(Packing packing, size_t samples) {
    const GroupSize group = GroupOf(packing);
    if (packing == Packing::kCsi2Raw10 || packing == Packing::kCsi2Raw12) {
        return (samples + group.samples - 1) / group.samples * group.bytes;
    }
    return (samples * group.BitsPerSample() + 7) / 8;
}

size_t SitePeriod(Sites sites) {
    switch (sites) {
        case Sites::kMono:
            return 1;
        case Sites::kBayer:
            return 2;
        case Sites::kColour:
        case Sites::kUyv:
            return 3;
        case Sites::kUyvy:
        case Sites::kYuyv:
            return 4;
        case Sites::kUyyvyy:
            return 6;
    }
    return 1;
}

size_t UnitBytes(Packing packing, Sites sites) {
    return GroupOf(packing).bytes * (SitePeriod(sites) > 2 ? SitePeriod(sites) : 1);
}

size_t RowSamples(const Hypothesis& hypothesis) {
    const GroupSize group = GroupOf(hypothesis.packing);
    return hypothesis.rowBytes / group.bytes * group.samples / hypothesis.rows;
}

double SamplesPerPixel(Sites sites) {
    switch (sites) {
        case Sites::kMono:
        case Sites::kBayer:
            return 1;
        case Sites::kColour:
        case Sites::kUyv:
            return 3;
        case Sites::kUyvy:
        case Sites::kYuyv:
            return 2;
        case Sites::kUyyvyy:
            return 1.5;
    }
    return 1;
}

size_t RowPixels(const Hypothesis& hypothesis) {
    const size_t samples = RowSamples(hypothesis);
    switch (hypothesis.sites) {
        case Sites::kMono:
        case Sites::kBayer:
            return samples;
        case Sites::kColour:
        case Sites::kUyv:
            return samples / 3;
        case Sites::kUyvy:
        case Sites::kYuyv:
            return samples / 2;
        case Sites::kUyyvyy:
            return samples / 6 * 4;
    }
    return samples;
}

Plane SamplesOf(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, size_t start, size_t blockBytes) {
    const size_t begin = start + hypothesis.alignment;
    const size_t end = std::min(start + blockBytes, bytes.size());
    const size_t rows = end > begin ? (end - begin) / hypothesis.rowBytes : 0;
    Plane plane(rows, RowSamples(hypothesis) * hypothesis.rows);
    const std::span<const uint8_t> block = bytes.subspan(begin, rows * hypothesis.rowBytes);
    const bool fits = hypothesis.packing != Packing::k10Packed || FitsTenBits(block, hypothesis.rowBytes);
    if (!fits || !ReadSamples(block, hypothesis, plane)) {
        return {0, 0};
    }
    plane.Reshape(RowSamples(hypothesis));
    return plane;
}

double RowBits(const Plane& samples, Sites sites, Measure measure) {
    const auto sum = [&](std::initializer_list<Kind> kinds) {
        double bits = 0;
        for (const Kind& kind : kinds) {
            bits += KindBits(samples, kind, measure);
        }
        return bits;
    };
    switch (sites) {
        case Sites::kMono:
            return sum({{}});
        case Sites::kBayer:
            return BayerBits(samples, measure);
        case Sites::kColour:
            return ColourBits(samples, measure);
        case Sites::kUyv:
            return sum({{0, 1, 0, 3, 3}, {0, 1, 1, 3, 3}, {0, 1, 2, 3, 3}});
        case Sites::kUyvy:
            return sum({{0, 1, 1, 2, 2}, {0, 1, 0, 4, 4}, {0, 1, 2, 4, 4}});
        case Sites::kYuyv:
            return sum({{0, 1, 0, 2, 2}, {0, 1, 1, 4, 4}, {0, 1, 3, 4, 4}});
        case Sites::kUyyvyy:  // luma at places 1, 2, 4, 5
            return sum(
                {{0, 1, 1, 6, 2}, {0, 1, 2, 6, 1}, {0, 1, 4, 6, 2}, {0, 1, 5, 6, 1}, {0, 1, 0, 6, 6}, {0, 1, 3, 6, 6}});
    }
    return 0;
}

double BitsPerByte(std::span<const uint8_t> bytes, Hypothesis& hypothesis, const Look& look) {
    double bits = 0;
    double explained = 0;
    size_t alike = 0;
    for (size_t block = 0; block < look.blocks; ++block) {
        // Blocks begin at even rows, so that a mosaic keeps its phase.
        const size_t pair = 2 * hypothesis.rowBytes;
        const size_t blockBytes = std::max(look.blockBytes, kRowsOfBlock * hypothesis.rowBytes);
        const size_t first = std::min(bytes.size() / 6, kLongestHeader);
        const size_t last = std::max(bytes.size() - std::min(bytes.size(), blockBytes + hypothesis.alignment), first);
        const size_t start = (first + (last - first) * block / (look.blocks - 1)) / pair * pair;
        const Plane samples = SamplesOf(bytes, hypothesis, start, blockBytes);
        if (samples.Rows() < kFewestRows || samples.Columns() < kFewestSamples) {
            return kNothing;
        }
        if (hypothesis.packing == Packing::kWords && look.measure == Measure::kEntropy) {
            alike += !HasClearBits(bytes, hypothesis, start) && BytesAreAlike(samples, hypothesis.sites) ? 1 : 0;
        }
        const double rowBytes = static_cast<double>(hypothesis.rowBytes) / static_cast<double>(hypothesis.rows);
        bits += RowBits(samples, hypothesis.sites, look.measure);
        explained += rowBytes;
    }
    hypothesis.alike = 2 * alike > look.blocks;
    return bits / explained + (hypothesis.alike ? kAlikeCost : 0);
}

std::vector<Hypothesis> HypothesesFor(size_t rowBytes, uint64_t fileBytes) {
    std::vector<Hypothesis> all;
    const auto over = static_cast<size_t>(fileBytes % rowBytes);
    const auto add = [&](Packing packing, size_t rows, std::initializer_list<Sites> sites) {
        for (const Sites site : sites) {
            const size_t unit = UnitBytes(packing, site);
            if (rowBytes % unit != 0) {
                // Groups begin anew in every row (or every few): with the file, or so that the last one is whole.
                all.push_back({packing, site, rowBytes, rows, 0});
                if (over != 0) {
                    all.push_back({packing, site, rowBytes, rows, over});
                }
                continue;
            }
            for (size_t alignment = 0; alignment < unit; ++alignment) {
                if (alignment == 0 || alignment == over % unit || (over != 0 && (unit <= kSmallUnit || rows > 1))) {
                    all.push_back({packing, site, rowBytes, rows, alignment});
                }
            }
        }
    };
    using enum Sites;
    add(Packing::kBytes, 1, {kMono, kBayer, kColour, kUyv, kUyvy, kYuyv, kUyyvyy});
    add(Packing::kWords, 1, {kMono, kBayer, kColour});
    for (const Packing packing : {Packing::kBits10, Packing::kBits12, Packing::k10Packed, Packing::k12Packed,
                                  Packing::kCsi2Raw10, Packing::kCsi2Raw12}) {
        add(packing, 1, {kMono, kBayer});
    }
    for (const Packing packing : {Packing::kBits10, Packing::kBits12, Packing::k10Packed, Packing::k12Packed}) {
        const GroupSize group = GroupOf(packing);
        for (size_t rows = 2; rows <= (packing == Packing::kBits10 ? 4u : 2u) && rowBytes % group.bytes == 0;
             rows *= 2) {
            const size_t samples = rowBytes / group.bytes * group.samples;
            if (samples % rows == 0 && samples / rows * group.BitsPerSample() % 8 != 0) {
                add(packing, rows, {kMono, kBayer});
            }
        }
    }
    return all;
}

}  // namespace VexaGuess
