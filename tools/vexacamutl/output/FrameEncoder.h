// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// One raw frame in, the bytes of one output file out: reverse, render, encode.
#pragma once

#include <mutex>

#include "output/PictureWriter.h"
#include "output/Reversal.h"

namespace VexaTool {

struct EncodeOptions {
    OutputKind kind = OutputKind::kPng;
    RenderOptions render;
    Reversal reversal;
    int pngLevel = 3;
    int jpegQuality = 90;
};

/// Keeps its buffers from frame to frame. One for each thread.
class FrameEncoder {
  public:
    explicit FrameEncoder(const EncodeOptions& options) : m_options(options) {}

    /// `tight` as TightFrame returns it, with its shape.
    /// The result is part of this object or of `tight`; it stays until the next call.
    Bytes Encode(const RawShape& shape, Bytes tight);

  private:
    Bytes EncodeShown(const RawShape& shape, Bytes tight);

    EncodeOptions m_options;
    Renderer m_renderer;
    Picture m_picture;
    Picture m_grey;
    std::vector<uint8_t> m_reversed;
    std::vector<uint8_t> m_encoded;
};

/// Counts the samples that are larger than their depth allows; such samples wrap when they are converted.
class RangeCheck {
  public:
    void Add(const RawShape& shape, Bytes tight);

    /// "NAME: 0 of 2073600 samples above 1023, the largest is 1012"
    std::string Line(const std::string& name) const;

  private:
    std::mutex m_mutex;
    uint64_t m_samples = 0;
    uint64_t m_above = 0;
    uint32_t m_largest = 0;
    uint32_t m_limit = 0;
};

}  // namespace VexaTool
