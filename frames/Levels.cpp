// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Levels.h. The arithmetic is that of the header, in integers. A tone is a list of thresholds: the smallest x that
// gives each of the 255 values above 0. Those of gamma and sRGB are powers; rounding cannot move them, since none lies
// as near to an integer as the error of the power (a test checks every gamma).
#include "Levels.h"

#include <algorithm>
#include <cmath>

namespace VexaFrames {

namespace {

constexpr uint32_t kTop = 65535;  ///< x of full brightness
constexpr uint32_t kHighestGain = 16 * VCF_ONE;
constexpr uint32_t kLastLinearValue = 10;  ///< of sRGB: the value at t = 0.0031308

/// Low bits of a sample that the tables leave out.
uint32_t DroppedBits(uint32_t depth) {
    return depth > kMostTableBits ? depth - kMostTableBits : 0;
}

struct Thresholds {
    uint32_t at[257];  ///< [v] is the smallest x that gives v; [0] is 0, [256] cannot be reached
};

uint32_t NextInteger(double x) {
    return static_cast<uint32_t>(std::ceil(x));
}

/// In long double: glibc gave pow() of double a new version, which would keep the library off systems that it serves.
double Power(double base, double exponent) {
    return static_cast<double>(std::pow(static_cast<long double>(base), static_cast<long double>(exponent)));
}

uint32_t Threshold(uint32_t value, const VcfSettings& settings) {
    const double middle = (2.0 * value - 1) / 510;  // of the step from value - 1 to value, 0..1
    switch (settings.tone) {
        case VCF_TONE_GAMMA:
            return NextInteger(kTop * Power(middle, settings.gamma / 100.0));
        case VCF_TONE_SRGB:
            if (value > kLastLinearValue) {
                return NextInteger(kTop * Power((middle + 0.055) / 1.055, 2.4));
            }
            // x >= kTop * (2 value - 1) / (510 * 12.92)
            return ((2 * value - 1) * kTop * 100 + 510 * 1292 - 1) / (510 * 1292);
        default:
            return 257 * value - 128;
    }
}

Thresholds ThresholdsOf(const VcfSettings& settings) {
    Thresholds thresholds;
    thresholds.at[0] = 0;
    for (uint32_t value = 1; value < 256; ++value) {
        thresholds.at[value] = Threshold(value, settings);
    }
    thresholds.at[256] = UINT32_MAX;
    return thresholds;
}

uint32_t GainOf(const VcfSettings& settings, uint32_t channel, bool grey) {
    if (grey) {
        return settings.exposure;
    }
    return static_cast<uint32_t>((uint64_t{settings.gain[channel]} * settings.exposure + VCF_ONE / 2) / VCF_ONE);
}

}  // namespace

VcfStatus CheckLevels(const VcfSettings& settings, const VcfFormat& format, const Text& text) {
    if (format.kind == VCF_KIND_YUV) {
        return text.Say(VCF_UNSUPPORTED, "levels need raw samples, which %s does not have", format.name);
    }
    const uint32_t dropped = DroppedBits(format.depth);
    const uint32_t largest = (1u << format.depth) - 1;
    if (settings.black_level > largest || settings.black_level >> dropped >= largest >> dropped) {
        return text.Say(VCF_INVALID_ARGUMENT, "a black level of %u leaves nothing of samples up to %u",
                        settings.black_level, largest);
    }
    for (const uint32_t gain : settings.gain) {
        if (gain > kHighestGain) {
            return text.Say(VCF_INVALID_ARGUMENT, "a gain of %g is above 16", gain / double{VCF_ONE});
        }
    }
    if (settings.exposure > kHighestGain) {
        return text.Say(VCF_INVALID_ARGUMENT, "an exposure of %g is above 16", settings.exposure / double{VCF_ONE});
    }
    if (settings.tone > VCF_TONE_SRGB) {
        return text.Say(VCF_INVALID_ARGUMENT, "unknown tone %u", settings.tone);
    }
    if (settings.tone == VCF_TONE_GAMMA && (settings.gamma < 10 || settings.gamma > 1000)) {
        return text.Say(VCF_INVALID_ARGUMENT, "a gamma of %g is not between 0.1 and 10", settings.gamma / 100.0);
    }
    return VCF_OK;
}

void MakeLevelTables(LevelTables& tables, const VcfSettings& settings, uint32_t depth, uint32_t shift, bool grey) {
    const uint32_t dropped = DroppedBits(depth);
    const uint32_t black = settings.black_level >> dropped;
    tables.shift = shift + dropped;
    tables.largest = (1u << (depth - dropped)) - 1;
    const uint64_t divisor = uint64_t{tables.largest - black} * VCF_ONE;
    const Thresholds thresholds = ThresholdsOf(settings);
    for (uint32_t channel = 0; channel < kChannelCount; ++channel) {
        const uint64_t factor = uint64_t{GainOf(settings, channel, grey)} * kTop;
        uint32_t value = 0;
        for (uint32_t sample = 0; sample <= tables.largest; ++sample) {
            const uint64_t above = sample > black ? sample - black : 0;
            const uint64_t x = std::min<uint64_t>(kTop, (above * factor + divisor / 2) / divisor);
            while (x >= thresholds.at[value + 1]) {
                ++value;
            }
            tables.values[channel][sample] = static_cast<uint8_t>(value);
        }
    }
}

}  // namespace VexaFrames
