// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Levels.h.
#include "output/Levels.h"

#include <algorithm>
#include <cmath>

#include "Failure.h"

namespace VexaTool {

namespace {

constexpr double kLargestGain = 16;

bool ParseFactor(std::string_view text, double least, double most, double& value) {
    return ParseWhole(text, value) && value >= least && value <= most;
}

uint32_t FixedPoint(double factor) {
    return static_cast<uint32_t>(std::lround(factor * VCF_ONE));
}

[[noreturn]] void Refuse(const std::string& option, const std::string& text, const std::string& expected) {
    throw Failure(ExitCode::kUsage, "invalid " + option + " '" + text + "': expected " + expected);
}

}  // namespace

VcfSettings LevelOptions::InitialSettings() {
    VcfSettings settings;
    VcfInitSettings(&settings);
    return settings;
}

void LevelOptions::SetWhiteBalance(const std::string& text) {
    given = true;
    autoBalance = text == "auto";
    std::string_view rest = text;
    for (size_t channel = 0; channel < 3 && !autoBalance; ++channel) {
        const size_t end = channel == 2 ? rest.size() : rest.find(',');
        double gain = 0;
        if (end == std::string_view::npos || !ParseFactor(rest.substr(0, end), 0, kLargestGain, gain)) {
            Refuse("--white-balance", text, "auto, or three gains R,G,B from 0 to 16");
        }
        settings.gain[channel] = FixedPoint(gain);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

void LevelOptions::SetBlackLevel(const std::string& text) {
    given = true;
    if (!ParseWhole(text, settings.black_level) || settings.black_level > UINT16_MAX) {
        Refuse("--black-level", text, "a whole number of sample units");
    }
}

void LevelOptions::SetExposure(const std::string& text) {
    given = true;
    double exposure = 0;
    if (!ParseFactor(text, 0, kLargestGain, exposure)) {
        Refuse("--exposure", text, "a factor from 0 to 16");
    }
    settings.exposure = FixedPoint(exposure);
}

void LevelOptions::SetTone(const std::string& text) {
    given = true;
    double gamma = 0;
    if (text == "linear" || text == "srgb") {
        settings.tone = text == "linear" ? VCF_TONE_LINEAR : VCF_TONE_SRGB;
    } else if (ParseFactor(text, 0.1, 10, gamma)) {
        settings.tone = VCF_TONE_GAMMA;
        settings.gamma = static_cast<uint32_t>(std::lround(gamma * 100));
    } else {
        Refuse("--tone", text, "linear, srgb, or a gamma from 0.1 to 10");
    }
}

VcfSettings SettingsFor(const RawShape& shape, Bytes frame, const LevelOptions& levels) {
    VcfSettings settings = levels.settings;
    settings.levels = levels.given ? 1 : 0;
    if (!levels.given || !levels.autoBalance || shape.format->kind == Kind::kMono) {
        return settings;
    }
    const VcfLayout layout = shape.Layout();
    VcfBalance balance;
    char text[VCF_TEXT_BYTES];
    const VcfStatus status =
        VcfEstimateBalance(&layout, frame.data(), frame.size(), settings.black_level, 1, &balance, text, sizeof text);
    if (status != VCF_OK && status != VCF_NO_ESTIMATE) {
        throw Failure(ExitCode::kUnsupported, shape.Text() + ": " + text);
    }
    std::copy_n(balance.gain, 3, settings.gain);
    return settings;
}

}  // namespace VexaTool
