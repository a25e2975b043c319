// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A picture in memory, and how one is made of a raw frame: this is where the tool calls the libraries.
//
//     channels 1   grey     channels 3   B G R     channels 4   B G R A
//
// Samples are bytes; those of grey pictures can be 16-bit words instead, the low byte first.
#pragma once

#include <memory>
#include <vector>

#include "formats/Bytes.h"
#include "formats/RawShape.h"
#include "output/Levels.h"

namespace VexaTool {

struct Picture {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channels = 0;
    std::vector<uint8_t> bytes;
    uint32_t sampleBytes = 1;

    size_t RowBytes() const { return size_t{width} * channels * sampleBytes; }
    const uint8_t* Row(size_t r) const { return bytes.data() + r * RowBytes(); }
    uint8_t* Row(size_t r) { return bytes.data() + r * RowBytes(); }
};

struct RenderOptions {
    bool grey = false;      ///< show Bayer frames as the mosaic that they are
    bool alpha = false;     ///< four channels instead of three
    bool adaptive = false;  ///< demosaic by ACPI where the frame permits it
    uint32_t bits = 8;      ///< 16: grey pictures in words that hold the whole sample
    LevelOptions levels;
};

/// True when the picture has grey pixels only, because of its format or because of the options.
bool IsGrey(const FormatInfo& format, const RenderOptions& options);

/// Makes pictures by the frames layer; keeps its converter from frame to frame. One for each thread.
class Renderer {
  public:
    /// `frame` is tight (see Unpack.h). The picture has three or four channels, or with 16 bits one.
    void Render(const RawShape& shape, Bytes frame, const RenderOptions& options, Picture& picture);

  private:
    struct Destroy {
        void operator()(VcfConverter* converter) const { VcfDestroyConverter(converter); }
    };
    void Prepare(const RawShape& shape, uint32_t output, const VcfSettings& settings);

    std::unique_ptr<VcfConverter, Destroy> m_converter;
    VcfLayout m_layout = {};
    uint32_t m_output = 0;
};

/// One channel out of three or four equal ones.
void KeepOneChannel(const Picture& picture, Picture& grey);

}  // namespace VexaTool
