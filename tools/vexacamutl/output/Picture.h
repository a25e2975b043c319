// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A picture in memory, and how one is made of a raw frame: this is where the program calls the library.
//
//     channels 1   grey
//     channels 3   B G R
//     channels 4   B G R A
#pragma once

#include <vector>

#include "formats/Bytes.h"
#include "formats/RawShape.h"

namespace VexaTool {

struct Picture {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channels = 0;
    std::vector<uint8_t> bytes;

    size_t RowBytes() const { return size_t{width} * channels; }
    const uint8_t* Row(size_t r) const { return bytes.data() + r * RowBytes(); }
    uint8_t* Row(size_t r) { return bytes.data() + r * RowBytes(); }
};

struct RenderOptions {
    bool grey = false;   ///< show Bayer frames as the mosaic that they are
    bool alpha = false;  ///< four channels instead of three
};

/// True when the picture has grey pixels only, because of its format or because of the options.
bool IsGrey(const FormatInfo& format, const RenderOptions& options);

/// Chooses the demosaic of 8-bit Bayer frames for the whole process: "default" or "acpi".
void SetBayerMode(const std::string& name);

/// Makes pictures; keeps its buffers from frame to frame. One for each thread.
class Renderer {
  public:
    /// `frame` is tight (see Unpack.h). The picture has three or four channels.
    void Render(const RawShape& shape, Bytes frame, const RenderOptions& options, Picture& picture);

  private:
    Bytes SpreadUyv(Bytes frame);
    std::vector<uint8_t> spread_;
    Picture bgra_;
};

/// One channel out of three or four equal ones.
void KeepOneChannel(const Picture& picture, Picture& grey);

}  // namespace VexaTool
