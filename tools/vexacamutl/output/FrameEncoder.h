// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// One raw frame in, the bytes of one output file out: unpack, render, encode.
#pragma once

#include <mutex>

#include "output/PictureWriter.h"

namespace VexaTool {

struct EncodeOptions {
    OutputKind kind = OutputKind::kPng;
    RenderOptions render;
    int pngLevel = 3;
};

/// Keeps its buffers from frame to frame. One for each thread.
class FrameEncoder {
  public:
    explicit FrameEncoder(const EncodeOptions& options) : options_(options) {}

    /// `tight` as TightFrame returns it, with its shape.
    std::vector<uint8_t> Encode(const RawShape& shape, Bytes tight);

  private:
    EncodeOptions options_;
    Renderer renderer_;
    Picture picture_;
    Picture grey_;
};

/// Counts the samples that are larger than their depth allows; such samples wrap when they are converted.
class RangeCheck {
  public:
    void Add(const RawShape& shape, Bytes tight);

    /// "NAME: 0 of 2073600 samples above 1023, the largest is 1012"
    std::string Line(const std::string& name) const;

  private:
    std::mutex mutex_;
    uint64_t samples_ = 0;
    uint64_t above_ = 0;
    uint32_t largest_ = 0;
    uint32_t limit_ = 0;
};

}  // namespace VexaTool
