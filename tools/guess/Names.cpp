// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Names.h.
#include "Names.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

#include "Residuals.h"

namespace VexaGuess {

namespace {

constexpr size_t kNamedBytes = size_t{4} << 20;  ///< that depth and green sites are read off
constexpr double kChromaInside = 0.15;           ///< for red, green and blue that look like chroma and luma

std::string PackingSuffix(const Hypothesis& hypothesis) {
    switch (hypothesis.packing) {
        case Packing::kBits10:
            return "10p";
        case Packing::kBits12:
            return "12p";
        case Packing::k10Packed:
            return "10Packed";
        case Packing::k12Packed:
            return "12Packed";
        case Packing::kCsi2Raw10:
            return "10CSI2";
        case Packing::kCsi2Raw12:
            return "12CSI2";
        default:
            return "8";
    }
}

/// Depths that words may have, with the evidence: the bits that are ever set decide, the next larger depth stays
/// possible.
std::vector<Name> WordDepths(const Plane& samples) {
    uint32_t set = 0;
    for (size_t r = 0; r < samples.Rows(); ++r) {
        for (size_t c = 0; c < samples.Columns(); ++c) {
            set |= static_cast<uint32_t>(samples.Row(r)[c]);
        }
    }
    const unsigned low = samples.ClearBits();
    const auto top = static_cast<unsigned>(std::bit_width(set)) + low;
    std::vector<Name> depths;
    if (low >= 2 && top > 10) {
        const unsigned depth = 16 - low <= 10 ? 10 : 16 - low <= 12 ? 12 : 14;
        depths.push_back(
            {std::to_string(depth), 16 - depth, 0, "the low " + std::to_string(low) + " bits are never set"});
        depths.push_back({"16", 0, 0.05, ""});
        return depths;
    }
    double doubt = 0;
    for (const unsigned depth : {10u, 12u, 14u, 16u}) {
        if (top <= depth) {
            depths.push_back({std::to_string(depth), 0, doubt, "no sample exceeds " + std::to_string((1u << top) - 1)});
            doubt += doubt == 0 ? 0.03 : 0.3;
        }
    }
    return depths;
}

std::vector<Name> Depths(const Plane& samples, const Hypothesis& hypothesis) {
    if (hypothesis.packing == Packing::kWords) {
        return WordDepths(samples);
    }
    return {{PackingSuffix(hypothesis), 0, 0, ""}};
}

/// Difference of a pair from the means over the whole plane: fine texture makes blocks differ, but to both sides.
double WholeDifference(const Plane& plane, const Pair& pair) {
    int64_t sum = 0;
    const size_t cellRows = plane.Rows() / 2;
    const size_t cellColumns = plane.Columns() / 2;
    for (size_t r = 0; r < cellRows; ++r) {
        for (size_t c = 0; c < cellColumns; ++c) {
            sum += plane.Row(2 * r + pair.row[0])[2 * c + pair.column[0]] -
                   plane.Row(2 * r + pair.row[1])[2 * c + pair.column[1]];
        }
    }
    return std::abs(static_cast<double>(sum)) / static_cast<double>(std::max<size_t>(cellRows * cellColumns, 1));
}

/// By how much the sites from the top left on are brighter than the others.
int64_t DiagonalDifference(const Plane& plane) {
    int64_t sum = 0;
    for (size_t r = 0; r < plane.Rows() / 2 * 2; ++r) {
        for (size_t c = 0; c < plane.Columns() / 2 * 2; ++c) {
            sum += (r + c) % 2 == 0 ? plane.Row(r)[c] : -plane.Row(r)[c];
        }
    }
    return sum;
}

/// `whole` holds all frames, whose largest samples tell the depth.
std::vector<Name> BayerNames(const Plane& samples, const Plane& whole, const Hypothesis& hypothesis) {
    const double fromTopLeft = BlockDifference(samples, kFromTopLeft);
    const double fromTopRight = BlockDifference(samples, kFromTopRight);
    const double left = fromTopLeft + WholeDifference(samples, kFromTopLeft);
    const double right = fromTopRight + WholeDifference(samples, kFromTopRight);
    // Where red and blue differ no more than the greens do, the brighter sites are green: it is what sensors see best.
    constexpr double kAlike = 0.7;
    const bool areAlike = std::min(left, right) > kAlike * std::max(left, right);
    const bool greenFirst = areAlike ? DiagonalDifference(samples) > 0 : left < right;
    const char* likely[] = {greenFirst ? "GR" : "RG", greenFirst ? "GB" : "BG"};
    const char* unlikely[] = {greenFirst ? "RG" : "GR", greenFirst ? "BG" : "GB"};
    const std::string evidence =
        Text("the two green sites differ by %.1f on average", greenFirst ? fromTopLeft : fromTopRight) +
        Text(", the other two by %.1f", greenFirst ? fromTopRight : fromTopLeft);
    std::vector<Name> names;
    for (const Name& depth : Depths(whole, hypothesis)) {
        for (int i = 0; i < 2; ++i) {
            names.push_back({std::string("Bayer") + likely[i] + depth.format, depth.shift, depth.doubt + 0.0001 * i,
                             evidence + (depth.evidence.empty() ? "" : "; " + depth.evidence)});
            names.push_back({std::string("Bayer") + unlikely[i] + depth.format, depth.shift, depth.doubt + 0.4, ""});
        }
    }
    return names;
}

struct Spread {
    double mean[3];
    double variance[3];
};

/// Of the three samples of a pixel.
Spread SpreadOfThree(const Plane& samples) {
    Spread spread = {};
    for (size_t i = 0; i < 3; ++i) {
        double sum = 0;
        double squares = 0;
        size_t count = 0;
        for (size_t r = 0; r < samples.Rows(); ++r) {
            for (size_t c = i; c < samples.Columns(); c += 3) {
                const double sample = samples.Row(r)[c];
                sum += sample;
                squares += sample * sample;
                ++count;
            }
        }
        const auto samplesOfKind = static_cast<double>(std::max<size_t>(count, 1));
        spread.mean[i] = sum / samplesOfKind;
        spread.variance[i] = squares / samplesOfKind - spread.mean[i] * spread.mean[i];
    }
    return spread;
}

/// 0 for U Y V; more if bytes 0 and 2 of the pixels do not lie around 128 or vary more than byte 1, as chroma does not.
double ChromaDoubt(const Plane& samples) {
    const auto [mean, variance] = SpreadOfThree(samples);
    const bool chroma = std::abs(mean[0] - 128) < 40 && std::abs(mean[2] - 128) < 40 &&
                        variance[0] < 0.7 * variance[1] && variance[2] < 0.7 * variance[1];
    return chroma ? -0.05 : 0.1;
}

/// Whether one of three colours looks like chroma beside two samples of luma: it lies around 128 and varies less than
/// these, which have the same mean and variance.
bool HasChromaColour(const Plane& samples) {
    constexpr double kFarOff = 56;
    constexpr double kLittle = 0.6;
    constexpr double kSame = 0.02;
    const Spread spread = SpreadOfThree(samples);
    for (size_t i = 0; i < 3; ++i) {
        const size_t j = (i + 1) % 3;
        const size_t k = (i + 2) % 3;
        if (std::abs(spread.mean[i] - 128) < kFarOff && spread.variance[i] < kLittle * spread.variance[j] &&
            std::abs(spread.mean[j] - spread.mean[k]) < kSame * spread.mean[j] &&
            std::abs(spread.variance[j] - spread.variance[k]) < kSame * spread.variance[j]) {
            return true;
        }
    }
    return false;
}

/// 0 for chroma; more if the samples at the places of chroma do not lie around 128, as halves of words do not, or vary
/// far more than those of luma, as low bytes of words do.
double GroupChromaDoubt(const Plane& samples, size_t firstPlace, size_t secondPlace, size_t period) {
    constexpr double kFarOff = 56;
    constexpr double kFarMore = 8;
    constexpr double kDoubt = 0.2;
    double sums[3] = {};
    double squares[3] = {};
    double counts[3] = {};
    for (size_t r = 0; r < samples.Rows(); ++r) {
        for (size_t c = 0; c + period <= samples.Columns(); c += period) {
            for (size_t i = 0; i < period; ++i) {
                const size_t kind = i == firstPlace ? 0 : i == secondPlace ? 1 : 2;
                const double sample = samples.Row(r)[c + i];
                sums[kind] += sample;
                squares[kind] += sample * sample;
                ++counts[kind];
            }
        }
    }
    double variances[3] = {};
    for (size_t kind = 0; kind < 3; ++kind) {
        sums[kind] /= std::max(counts[kind], 1.0);
        variances[kind] = squares[kind] / std::max(counts[kind], 1.0) - sums[kind] * sums[kind];
    }
    const bool chroma = std::abs(sums[0] - 128) < kFarOff && std::abs(sums[1] - 128) < kFarOff &&
                        std::min(variances[0], variances[1]) <= kFarMore * variances[2];
    return chroma ? 0 : kDoubt;
}

}  // namespace

std::string Text(const char* format, double value) {
    char text[96];
    static_cast<void>(std::snprintf(text, sizeof text, format, value));
    return text;
}

std::vector<Name> NamesOf(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, const Geometry& geometry) {
    const auto skipped = static_cast<size_t>(std::min<uint64_t>(geometry.offset, bytes.size()));
    Hypothesis fromFirstRow = hypothesis;
    fromFirstRow.alignment = 0;
    const auto columns = static_cast<size_t>(std::lround(geometry.width * SamplesPerPixel(hypothesis.sites)));
    // One frame, for the next one may begin with another row of the mosaic.
    const uint64_t frameBytes = uint64_t{geometry.height} * hypothesis.rowBytes / hypothesis.rows;
    const size_t looked = static_cast<size_t>(std::min<uint64_t>(frameBytes, kNamedBytes));
    const Plane samples = SamplesOf(bytes.subspan(skipped), fromFirstRow, 0, looked).Cropped(columns);
    const bool several = geometry.frames > 1 && hypothesis.packing == Packing::kWords;
    const Plane whole =
        several ? SamplesOf(bytes.subspan(skipped), fromFirstRow, 0, kNamedBytes).Cropped(columns) : samples;
    switch (hypothesis.sites) {
        case Sites::kMono: {
            std::vector<Name> names = Depths(whole, hypothesis);
            for (Name& name : names) {
                name.format.insert(0, "Mono");
            }
            return names;
        }
        case Sites::kBayer:
            return BayerNames(samples, whole, hypothesis);
        case Sites::kColour: {
            std::vector<Name> names;
            const bool isChroma =
                hypothesis.packing == Packing::kBytes && (ChromaDoubt(samples) < 0 || HasChromaColour(samples));
            for (const Name& depth : Depths(whole, hypothesis)) {
                if (depth.shift == 0 && depth.format != "14" && depth.format != "16") {
                    const double doubt = depth.doubt + (isChroma ? kChromaInside : 0);
                    names.push_back({"RGB" + depth.format, 0, doubt, depth.evidence});
                    names.push_back({"BGR" + depth.format, 0, doubt + 0.0001, depth.evidence});
                }
            }
            return names;
        }
        case Sites::kUyv:
            return {{"YUV8_UYV", 0, ChromaDoubt(samples), ""}};
        case Sites::kUyvy:
            return {{"YUV422_8_UYVY", 0, GroupChromaDoubt(samples, 0, 2, 4), ""}};
        case Sites::kYuyv:
            return {{"YUV422_8", 0, GroupChromaDoubt(samples, 1, 3, 4), ""}};
        case Sites::kUyyvyy:
            return {{"YUV411_8_UYYVYY", 0, GroupChromaDoubt(samples, 0, 3, 6), ""}};
    }
    return {};
}

}  // namespace VexaGuess
