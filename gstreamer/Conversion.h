// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What vexaconvert does with a frame: the frames layer's converters, one per band of rows.
//
//     buffer --> VcfConvertRows, thread 0: rows 0 .. h/2      --> picture
//            --> VcfConvertRows, thread 1: rows h/2 .. h      -->
//
// Converters are made anew when the layout or the number of threads changes; other settings change without an
// allocation.
#pragma once

#include <VexaCamFrames.h>

#include <memory>
#include <string>
#include <vector>

#include "Crew.h"
#include "Formats.h"
#include "Rows.h"
#include "Settings.h"

namespace VexaGst {

/// What the caps on both sides ask for.
struct Job {
    Input input;
    uint32_t output = VCF_OUTPUT_BGRA;                          ///< VCF_OUTPUT_...
    uint32_t range = VCF_RANGE_FULL;                            ///< of YUV
    GstVideoColorMatrix matrix = GST_VIDEO_COLOR_MATRIX_BT601;  ///< of YUV
};

/// A picture to be written.
struct Destination {
    guint8* bytes;
    size_t stride;
};

class Conversion {
  public:
    /// Takes a job and settings for the frames to come, or says what is wrong with them.
    bool Configure(const Job& job, const Settings& settings, std::string* error);

    /// Converts one frame that lies as `rows` says.
    bool Convert(const guint8* bytes, size_t length, const Rows& rows, const Destination& picture, std::string* error);

    /// The size of the frames that Configure took.
    const FrameSize& SourceSize() const { return m_size; }

  private:
    struct Destroy {
        void operator()(VcfConverter* converter) const { VcfDestroyConverter(converter); }
    };
    using Converter = std::unique_ptr<VcfConverter, Destroy>;

    bool MakeConverters(const VcfLayout& layout, std::string* error);
    bool ChangeSettings(std::string* error);
    bool Balance(const guint8* bytes, size_t length, std::string* error);
    VcfStatus ConvertBand(unsigned band, const guint8* first, size_t room, size_t stride, const Destination& picture,
                          char* text);
    bool IsBalanced() const;

    Job m_job;
    Settings m_settings;
    FrameSize m_size = {};
    VcfLayout m_layout = {};
    VcfSettings m_wanted = {};  ///< for the next frame
    VcfSettings m_applied = {};
    std::vector<Converter> m_converters;
    Crew m_crew;
    std::vector<std::string> m_errors;  ///< of each band of the last frame; empty: none
    unsigned m_bands = 0;
    uint32_t m_output = 0;
    std::vector<guint8> m_reordered;  ///< a frame of v308 in the order of the frames layer
    double m_gains[3] = {};           ///< of white-balance=auto, smoothed; 0 before the first frame
};

}  // namespace VexaGst
