// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Hypothesis.h.
#include "Hypothesis.h"

#include <VexaCamFrames.h>

#include <algorithm>

namespace VexaGuess {

namespace {

constexpr double kAlike = 0.65;
constexpr size_t kFewestRows = 4;
constexpr size_t kFewestSamples = 16;
constexpr double kNothing = 9;  ///< more than bytes without any structure cost

/// Samples of one kind of site, and how many of them a pixel's worth of the cost counts.
double PlaneBits(const Plane& samples, size_t first, size_t step, Measure measure) {
    const Plane plane = samples.Sites(0, 1, first, step);
    return BitsPerSample(plane, measure) * static_cast<double>(plane.Columns());
}

/// Each colour of a 2 x 2 cell by itself.
double BayerBits(const Plane& samples, Measure measure) {
    double bits = 0;
    for (size_t row = 0; row < 2; ++row) {
        for (size_t column = 0; column < 2; ++column) {
            const Plane colour = samples.Sites(row, 2, column, 2);
            bits += BitsPerSample(colour, measure) * static_cast<double>(colour.Columns()) / 2;
        }
    }
    return bits;
}

/// Colours resemble each other, so a later one may be told as its difference from an earlier one.
double ColourBits(const Plane& samples, Measure measure) {
    const size_t pixels = samples.Columns() / 3;
    std::vector<Plane> colours;
    double bits = 0;
    for (size_t i = 0; i < 3; ++i) {
        Plane colour = samples.Sites(0, 1, i, 3);
        double each = BitsPerSample(colour, measure);
        for (const Plane& earlier : colours) {
            each = std::min(each, BitsPerSample(colour.Minus(earlier), measure));
        }
        bits += each * static_cast<double>(pixels);
        colours.push_back(std::move(colour));
    }
    return bits;
}

/// The luma samples of U Y Y V Y Y, one after another.
Plane LumaOf411(const Plane& samples) {
    constexpr size_t kLumaAt[] = {1, 2, 4, 5};
    Plane luma(samples.Rows(), samples.Columns() / 6 * 4);
    for (size_t r = 0; r < luma.Rows(); ++r) {
        for (size_t c = 0; c < luma.Columns(); ++c) {
            luma.Row(r)[c] = samples.Row(r)[c / 4 * 6 + kLumaAt[c % 4]];
        }
    }
    return luma;
}

/// Whether high and low bytes of words are equally hard to predict. Then they are not halves of one number, whose high
/// byte varies less than its low one.
bool BytesAreAlike(const Plane& words, Sites sites) {
    const Plane sites1 = words.Sites(0, sites == Sites::kBayer ? 2 : 1, 0, SitePeriod(sites));
    Plane high(sites1.Rows(), sites1.Columns());
    Plane low(sites1.Rows(), sites1.Columns());
    for (size_t r = 0; r < sites1.Rows(); ++r) {
        for (size_t c = 0; c < sites1.Columns(); ++c) {
            high.Row(r)[c] = sites1.Row(r)[c] >> 8;
            low.Row(r)[c] = sites1.Row(r)[c] & 0xFF;
        }
    }
    return BitsPerSample(high, Measure::kEntropy) > kAlike * BitsPerSample(low, Measure::kEntropy);
}

double RowBits(const Plane& samples, Sites sites, Measure measure) {
    switch (sites) {
        case Sites::kMono:
            return PlaneBits(samples, 0, 1, measure);
        case Sites::kBayer:
            return BayerBits(samples, measure);
        case Sites::kColour:
            return ColourBits(samples, measure);
        case Sites::kUyv:
            return PlaneBits(samples, 0, 3, measure) + PlaneBits(samples, 1, 3, measure) +
                   PlaneBits(samples, 2, 3, measure);
        case Sites::kUyvy:
            return PlaneBits(samples, 1, 2, measure) + PlaneBits(samples, 0, 4, measure) +
                   PlaneBits(samples, 2, 4, measure);
        case Sites::kYuyv:
            return PlaneBits(samples, 0, 2, measure) + PlaneBits(samples, 1, 4, measure) +
                   PlaneBits(samples, 3, 4, measure);
        case Sites::kUyyvyy: {
            const Plane luma = LumaOf411(samples);
            return BitsPerSample(luma, measure) * static_cast<double>(luma.Columns()) +
                   PlaneBits(samples, 0, 6, measure) + PlaneBits(samples, 3, 6, measure);
        }
    }
    return 0;
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

/// Whether the bits that 10Packed leaves unused are unused. A header's bytes are not samples, so a few do not matter.
bool FitsTenBits(std::span<const uint8_t> rows, size_t rowBytes) {
    constexpr uint8_t kUnused = 0xCC;
    size_t used = 0;
    for (size_t row = 0; row + rowBytes <= rows.size(); row += rowBytes) {
        for (size_t i = 1; i < rowBytes; i += 3) {
            used += (rows[row + i] & kUnused) != 0 ? 1 : 0;
        }
    }
    return used * 16 * 3 <= rows.size();
}

/// The samples of the rows, read as those of a grey frame.
bool ReadSamples(std::span<const uint8_t> rows, const Hypothesis& hypothesis, Plane& plane) {
    if (plane.Rows() == 0 || plane.Columns() == 0) {
        return false;
    }
    VcfLayout layout;
    VcfInitLayout(&layout, GreyFormat(hypothesis.packing), static_cast<uint32_t>(plane.Columns()),
                  static_cast<uint32_t>(plane.Rows()));
    layout.stride = hypothesis.rowBytes;
    std::vector<uint16_t> words(plane.Rows() * plane.Columns());
    if (VcfUnpack(&layout, rows.data(), rows.size(), words.data(), 0, sizeof words[0], nullptr, 0) != VCF_OK) {
        return false;
    }
    std::copy(words.begin(), words.end(), plane.Row(0));
    return true;
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

unsigned DepthOf(Packing packing) {
    switch (packing) {
        case Packing::kBytes:
            return 8;
        case Packing::kWords:
            return 16;
        case Packing::kBits10:
        case Packing::k10Packed:
        case Packing::kCsi2Raw10:
            return 10;
        case Packing::kBits12:
        case Packing::k12Packed:
        case Packing::kCsi2Raw12:
            return 12;
    }
    return 8;
}

size_t UnitBytes(Packing packing, Sites sites) {
    return GroupOf(packing).bytes * (SitePeriod(sites) > 2 ? SitePeriod(sites) : 1);
}

size_t RowSamples(const Hypothesis& hypothesis) {
    const GroupSize group = GroupOf(hypothesis.packing);
    return hypothesis.rowBytes / group.bytes * group.samples;
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
    const size_t unit = SitePeriod(hypothesis.sites) * GroupOf(hypothesis.packing).samples;
    Plane plane(rows, RowSamples(hypothesis) / unit * unit);
    const std::span<const uint8_t> block = bytes.subspan(begin, rows * hypothesis.rowBytes);
    const bool fits = hypothesis.packing != Packing::k10Packed || FitsTenBits(block, hypothesis.rowBytes);
    return fits && ReadSamples(block, hypothesis, plane) ? plane : Plane(0, 0);
}

double BitsPerByte(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, const Look& look) {
    double bits = 0;
    double explained = 0;
    size_t alike = 0;
    for (size_t block = 0; block < look.blocks; ++block) {
        // Blocks begin at even rows, so that a mosaic keeps its phase.
        const size_t last = bytes.size() - std::min(bytes.size(), look.blockBytes);
        const size_t pair = 2 * hypothesis.rowBytes;
        const size_t start = look.blocks < 2 ? 0 : last * block / (look.blocks - 1) / pair * pair;
        const Plane samples = SamplesOf(bytes, hypothesis, start, look.blockBytes);
        if (samples.Rows() < kFewestRows || samples.Columns() < kFewestSamples) {
            return kNothing;
        }
        if (hypothesis.packing == Packing::kWords && look.measure == Measure::kEntropy) {
            alike += BytesAreAlike(samples, hypothesis.sites) ? 1 : 0;
        }
        const GroupSize group = GroupOf(hypothesis.packing);
        const auto rowBytes = static_cast<double>(samples.Columns() * group.bytes) / static_cast<double>(group.samples);
        bits += RowBits(samples, hypothesis.sites, look.measure);
        explained += rowBytes;
    }
    return 2 * alike > look.blocks ? kNothing : bits / explained;
}

std::vector<Hypothesis> HypothesesFor(size_t rowBytes, bool anyAlignment) {
    std::vector<Hypothesis> all;
    const auto add = [&](Packing packing, std::initializer_list<Sites> sites) {
        for (const Sites site : sites) {
            const size_t unit = UnitBytes(packing, site);
            if (rowBytes % unit == 0) {
                for (size_t alignment = 0; alignment < (anyAlignment ? unit : 1); ++alignment) {
                    all.push_back({packing, site, rowBytes, alignment});
                }
            }
        }
    };
    using enum Sites;
    add(Packing::kBytes, {kMono, kBayer, kColour, kUyv, kUyvy, kYuyv, kUyyvyy});
    add(Packing::kWords, {kMono, kBayer, kColour});
    for (const Packing packing : {Packing::kBits10, Packing::kBits12, Packing::k10Packed, Packing::k12Packed,
                                  Packing::kCsi2Raw10, Packing::kCsi2Raw12}) {
        add(packing, {kMono, kBayer});
    }
    return all;
}

}  // namespace VexaGuess
