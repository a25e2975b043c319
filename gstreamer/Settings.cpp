// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "Settings.h"

namespace VexaGst {
namespace {

enum Id : guint {
    kIdNone,
    kIdBayerMode,
    kIdWhiteBalance,
    kIdRedGain,
    kIdGreenGain,
    kIdBlueGain,
    kIdSmoothing,
    kIdBlackLevel,
    kIdExposure,
    kIdTone,
    kIdGamma,
    kIdYuvRange,
    kIdGrey,
    kIdRowStride,
    kIdShift,
    kIdDepth,
    kIdThreads,
};

constexpr auto kFlags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_CONTROLLABLE |
                                                 GST_PARAM_MUTABLE_PLAYING);

constexpr double kLargestGain = 16;
constexpr guint kMostThreads = 256;

constexpr GEnumValue kBayerModes[] = {
    {static_cast<int>(BayerMode::kBilinear), "means of the neighbours, fastest", "bilinear"},
    {static_cast<int>(BayerMode::kAdaptive), "adaptive colour-plane interpolation, sharper", "adaptive"},
    {0, nullptr, nullptr}};
constexpr GEnumValue kWhiteBalances[] = {
    {static_cast<int>(WhiteBalance::kOff), "colours as the sensor gives them", "off"},
    {static_cast<int>(WhiteBalance::kGains), "red-gain, green-gain and blue-gain", "gains"},
    {static_cast<int>(WhiteBalance::kAuto), "gains that make the mean of each frame grey, smoothed", "auto"},
    {0, nullptr, nullptr}};
constexpr GEnumValue kTones[] = {{static_cast<int>(Tone::kLinear), "samples as they are", "linear"},
                                 {static_cast<int>(Tone::kGamma), "power of 1/gamma", "gamma"},
                                 {static_cast<int>(Tone::kSrgb), "the sRGB curve", "srgb"},
                                 {0, nullptr, nullptr}};
constexpr GEnumValue kYuvRanges[] = {
    {static_cast<int>(YuvRange::kAuto), "range and matrix of the caps; limited and BT.601 if they say nothing", "auto"},
    {static_cast<int>(YuvRange::kFull), "0..255, BT.601; the caps are ignored", "full"},
    {static_cast<int>(YuvRange::kLimited), "16..235 and 16..240, BT.601; the caps are ignored", "limited"},
    {0, nullptr, nullptr}};

void AddEnum(GObjectClass* type, guint id, const char* name, const char* text, const char* typeName,
             const GEnumValue* values) {
    GType enumType = g_type_from_name(typeName);
    if (enumType == 0) {
        enumType = g_enum_register_static(typeName, values);
        gst_type_mark_as_plugin_api(enumType, static_cast<GstPluginAPIFlags>(0));
    }
    g_object_class_install_property(type, id, g_param_spec_enum(name, name, text, enumType, values[0].value, kFlags));
}

void AddDouble(GObjectClass* type, guint id, const char* name, const char* text, double least, double most,
               double preset) {
    g_object_class_install_property(type, id, g_param_spec_double(name, name, text, least, most, preset, kFlags));
}

void AddUint(GObjectClass* type, guint id, const char* name, const char* text, guint most, guint preset) {
    g_object_class_install_property(type, id, g_param_spec_uint(name, name, text, 0, most, preset, kFlags));
}

void InstallColourProperties(GObjectClass* type) {
    const Settings preset;
    AddEnum(type, kIdBayerMode, "bayer-mode", "How Bayer frames are demosaiced", "VexaConvertBayerMode", kBayerModes);
    AddEnum(type, kIdWhiteBalance, "white-balance",
            "What red, green and blue of Bayer and RGB frames are multiplied with", "VexaConvertWhiteBalance",
            kWhiteBalances);
    AddDouble(type, kIdRedGain, "red-gain", "Factor of red with white-balance=gains", 0, kLargestGain, preset.redGain);
    AddDouble(type, kIdGreenGain, "green-gain", "Factor of green with white-balance=gains", 0, kLargestGain,
              preset.greenGain);
    AddDouble(type, kIdBlueGain, "blue-gain", "Factor of blue with white-balance=gains", 0, kLargestGain,
              preset.blueGain);
    AddDouble(
        type, kIdSmoothing, "wb-smoothing",
        "With white-balance=auto, the share of the last frame's gains that the next frame keeps; 0 follows at once", 0,
        0.999, preset.smoothing);
    AddUint(type, kIdBlackLevel, "black-level", "What is taken off every sample, in units of the sample", G_MAXUINT16,
            preset.blackLevel);
    AddDouble(type, kIdExposure, "exposure", "Factor of all samples after the black level", 0, kLargestGain,
              preset.exposure);
    AddEnum(type, kIdTone, "tone", "Curve from light to display", "VexaConvertTone", kTones);
    AddDouble(type, kIdGamma, "gamma", "Exponent of tone=gamma", 0.1, 10, preset.gamma);
}

void InstallLayoutProperties(GObjectClass* type) {
    const Settings preset;
    AddEnum(type, kIdYuvRange, "yuv-range", "Range of YUV samples", "VexaConvertYuvRange", kYuvRanges);
    g_object_class_install_property(
        type, kIdGrey,
        g_param_spec_boolean("grey", "grey", "Show Bayer frames as the grey mosaic, without demosaicing", FALSE,
                             kFlags));
    AddUint(type, kIdRowStride, "row-stride",
            "Bytes from one input row to the next; 0: from the buffer's GstVideoMeta, or from its size", G_MAXINT,
            preset.rowStride);
    AddUint(type, kIdShift, "shift",
            "For 16-bit words whose value lies in the high bits: the sample is the word shifted right by this", 15,
            preset.shift);
    AddUint(type, kIdDepth, "depth",
            "Significant bits of GRAY16_LE samples: 10, 12, 14 or 16; 0: the caps field depth, or else 16", 16,
            preset.depth);
    AddUint(type, kIdThreads, "n-threads", "Threads that share each frame; 0: one per core", kMostThreads,
            preset.threads);
}

}  // namespace

void InstallProperties(GObjectClass* type) {
    InstallColourProperties(type);
    InstallLayoutProperties(type);
}

bool SetProperty(Settings* settings, guint id, const GValue* value) {
    switch (id) {
        case kIdBayerMode:
            settings->bayerMode = static_cast<BayerMode>(g_value_get_enum(value));
            return true;
        case kIdWhiteBalance:
            settings->whiteBalance = static_cast<WhiteBalance>(g_value_get_enum(value));
            return true;
        case kIdRedGain:
            settings->redGain = g_value_get_double(value);
            return true;
        case kIdGreenGain:
            settings->greenGain = g_value_get_double(value);
            return true;
        case kIdBlueGain:
            settings->blueGain = g_value_get_double(value);
            return true;
        case kIdSmoothing:
            settings->smoothing = g_value_get_double(value);
            return true;
        case kIdBlackLevel:
            settings->blackLevel = g_value_get_uint(value);
            return true;
        case kIdExposure:
            settings->exposure = g_value_get_double(value);
            return true;
        case kIdTone:
            settings->tone = static_cast<Tone>(g_value_get_enum(value));
            return true;
        case kIdGamma:
            settings->gamma = g_value_get_double(value);
            return true;
        case kIdYuvRange:
            settings->yuvRange = static_cast<YuvRange>(g_value_get_enum(value));
            return true;
        case kIdGrey:
            settings->grey = g_value_get_boolean(value) != FALSE;
            return true;
        case kIdRowStride:
            settings->rowStride = g_value_get_uint(value);
            return true;
        case kIdShift:
            settings->shift = g_value_get_uint(value);
            return true;
        case kIdDepth:
            settings->depth = g_value_get_uint(value);
            return true;
        case kIdThreads:
            settings->threads = g_value_get_uint(value);
            return true;
        default:
            return false;
    }
}

bool GetProperty(const Settings& settings, guint id, GValue* value) {
    switch (id) {
        case kIdBayerMode:
            g_value_set_enum(value, static_cast<int>(settings.bayerMode));
            return true;
        case kIdWhiteBalance:
            g_value_set_enum(value, static_cast<int>(settings.whiteBalance));
            return true;
        case kIdRedGain:
            g_value_set_double(value, settings.redGain);
            return true;
        case kIdGreenGain:
            g_value_set_double(value, settings.greenGain);
            return true;
        case kIdBlueGain:
            g_value_set_double(value, settings.blueGain);
            return true;
        case kIdSmoothing:
            g_value_set_double(value, settings.smoothing);
            return true;
        case kIdBlackLevel:
            g_value_set_uint(value, settings.blackLevel);
            return true;
        case kIdExposure:
            g_value_set_double(value, settings.exposure);
            return true;
        case kIdTone:
            g_value_set_enum(value, static_cast<int>(settings.tone));
            return true;
        case kIdGamma:
            g_value_set_double(value, settings.gamma);
            return true;
        case kIdYuvRange:
            g_value_set_enum(value, static_cast<int>(settings.yuvRange));
            return true;
        case kIdGrey:
            g_value_set_boolean(value, settings.grey ? TRUE : FALSE);
            return true;
        case kIdRowStride:
            g_value_set_uint(value, settings.rowStride);
            return true;
        case kIdShift:
            g_value_set_uint(value, settings.shift);
            return true;
        case kIdDepth:
            g_value_set_uint(value, settings.depth);
            return true;
        case kIdThreads:
            g_value_set_uint(value, settings.threads);
            return true;
        default:
            return false;
    }
}

}  // namespace VexaGst
