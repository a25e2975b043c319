// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The properties of vexaconvert, as the values that one frame is converted with.
#pragma once

#include <gst/gst.h>

namespace VexaGst {

enum class BayerMode { kBilinear, kAdaptive };
enum class WhiteBalance { kOff, kGains, kAuto };
enum class Tone { kLinear, kGamma, kSrgb };
enum class YuvRange { kAuto, kFull, kLimited };

struct Settings {
    BayerMode bayerMode = BayerMode::kBilinear;
    WhiteBalance whiteBalance = WhiteBalance::kOff;
    double redGain = 1;
    double greenGain = 1;
    double blueGain = 1;
    double smoothing = 0.9;
    guint blackLevel = 0;
    double exposure = 1;
    Tone tone = Tone::kLinear;
    double gamma = 2.2;
    YuvRange yuvRange = YuvRange::kAuto;
    bool grey = false;
    guint rowStride = 0;
    guint shift = 0;
    guint depth = 0;
    guint threads = 1;

    bool operator==(const Settings&) const = default;
};

/// Adds the properties to a class whose instances keep their values with SetProperty and GetProperty.
void InstallProperties(GObjectClass* type);

/// Each returns false for an id that InstallProperties did not give out.
bool SetProperty(Settings* settings, guint id, const GValue* value);
bool GetProperty(const Settings& settings, guint id, GValue* value);

}  // namespace VexaGst
