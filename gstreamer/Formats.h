// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// GStreamer's names of camera formats, beside the frames layer's. There are three media types:
//
//     video/x-bayer      rggb, rggb10le .. rggb16le (GStreamer 1.24's names), and packed samples:
//                        rggb10p, rggb12p (PFNC), rggb10sp, rggb12sp (GigE Vision), rggb10m, rggb12m (MIPI CSI-2)
//     video/x-raw        GRAY8, GRAY16_LE, RGB, BGR, UYVY, YUY2, IYU1, IYU2, v308
//     video/x-vexacam    every other format, under its PFNC name: Mono12p, BGR10, ...
#pragma once

#include <VexaCamFrames.h>
#include <gst/video/video.h>

#include <string>

namespace VexaGst {

struct Format {
    const char* media;
    std::string name;          ///< the caps field `format`
    const VcfFormat* samples;  ///< of the frames layer
    gint widthStep;            ///< widths are multiples of it
    gint heightStep;
    bool lumaFirst;  ///< pixels are Y U V, where those of `samples` are U Y V

    bool IsRawVideo() const;
    bool HasSize(gint width, gint height) const { return width % widthStep == 0 && height % heightStep == 0; }
};

/// The format with that code, or null. Mono10 to Mono16 are the same format, GRAY16_LE; YUV8_UYV is IYU2.
const Format* FindFormat(PixelFormat code);

/// The format of a caps structure, or null.
const Format* FindFormat(const GstStructure* caps);

/// All formats with the sizes that they can have, as a pad template shows them.
GstCaps* InputCaps();

/// Fixed caps of frames with that code.
GstCaps* MakeCaps(PixelFormat code, gint width, gint height, gint rateNumerator, gint rateDenominator);

/// Bytes from row to row that GStreamer takes for granted without a GstVideoMeta.
size_t DefaultStride(const Format& format, gint width);

/// A frame that caps describe.
struct Input {
    const Format* format = nullptr;
    PixelFormat code = 0;
    gint width = 0;
    gint height = 0;
};

/// Reads fixed caps. `depth` is that of GRAY16_LE samples; 0: the caps field `depth`, else 16.
bool ReadInput(const GstCaps* caps, guint depth, Input* input, std::string* error);

}  // namespace VexaGst
