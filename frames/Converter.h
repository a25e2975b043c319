// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A converter: layout, settings and what follows from them, the plan; and all memory that converting takes.
//
//     buffer rows --> feed --> [feed rows] --> converter of VexaCamUtl.h --> [picture rows] --> finish --> destination
//
// The feed makes rows that the converter takes (unpacked, levels applied, padding left out). Rows that are so already
// are not copied. Picture rows exist only where the converter cannot write into the destination itself.
#pragma once

#include "Levels.h"

namespace VexaFrames {

enum class Feed {
    kRows,          ///< as they lie in the buffer
    kWords,         ///< packed samples as 16-bit words
    kLevels,        ///< samples through the level tables, as bytes
    kSwapped,       ///< Y U Y V as U Y V Y
    kGroupsOfFive,  ///< groups of 4:2:2 as U Y V Y 0
    kUyv4,          ///< U Y V as U Y V 0
    kFullRange,     ///< YUV rows as they lie, in full range
    kYuvPixels,     ///< YUV of any kind and range as U Y V 0 for each pixel: rows that begin inside a group
};

/// A function of VexaCamUtl.h: a converter or a worker with its shift.
struct Call {
    using Worker = UtlStatus (*)(void*, const void*, uint32_t, uint32_t, uint32_t);

    ConverterFunc converter = nullptr;
    Worker worker = nullptr;
    uint32_t shift = 0;

    void Run(uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height) const {
        static_cast<void>(worker != nullptr ? worker(dst, src, width, height, shift)
                                            : converter(dst, src, width, height));
    }
};

/// What is done to rows of the picture after the converter.
struct Finish {
    bool exchange;  ///< red and blue
    bool matrix;
};

struct Plan {
    Feed feed = Feed::kRows;
    size_t fedRowBytes = 0;
    bool greyRows = false;  ///< no call: the feed's samples are the picture
    bool luma = false;      ///< the call makes BGR rows, of which the grey picture is made
    bool mosaic = false;    ///< rows need their neighbours
    bool adaptive = false;
    bool setsLastRed = false;  ///< the byte that ConvByrBG8ToBGRAACPI leaves alone
    uint32_t pixelBytes = 0;   ///< of the rows that the call writes
    Call call;
    Finish finish = {};
};

/// VCF_OK and the plan, or what is wrong.
VcfStatus MakePlan(const Geometry& geometry, uint32_t output, const VcfSettings& settings, Plan& plan,
                   const Text& text);

/// Memory that the converter keeps from frame to frame.
struct Scratch {
    uint8_t* line;  ///< one row on its way through two steps
    uint8_t* feed;
    size_t feedBytes;
    uint8_t* picture;
    size_t pictureBytes;
    uint8_t* saved;  ///< rows of the destination that a band overwrites
};

inline constexpr uint32_t kMostOverlap = 4;  ///< rows beside a band that it depends on

}  // namespace VexaFrames

struct VcfConverter {
    VexaFrames::Geometry geometry;
    uint32_t output;
    VcfSettings settings;
    VexaFrames::Plan plan;
    VexaFrames::Scratch scratch;
    VexaFrames::LevelTables levels;
};

namespace VexaFrames {

/// Bytes of a pixel of the output.
uint32_t PixelBytesOf(uint32_t output);

/// One row as the plan's call takes it.
void FeedRow(const VcfConverter& converter, const uint8_t* buffer, uint32_t row, uint8_t* fed);

/// One row of a grey picture, straight from the samples.
void GreyRow(const VcfConverter& converter, const uint8_t* buffer, uint32_t row, uint8_t* dst);

/// What comes after the call, in place.
void FinishRow(const VcfConverter& converter, uint8_t* pixels);

/// Grey of a BGR row, in the depth of the output.
void LumaRow(const VcfConverter& converter, const uint8_t* bgr, uint8_t* dst);

/// The rows [first, end) of a picture whose rows are `stride` bytes apart.
void ConvertBand(const VcfConverter& converter, const uint8_t* buffer, uint8_t* dst, size_t stride, uint32_t first,
                 uint32_t end);

}  // namespace VexaFrames
