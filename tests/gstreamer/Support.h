// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Frames for the elements, and what the frames layer makes of them.
#pragma once

#include <VexaCamFrames.h>
#include <gst/check/gstharness.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace GstTest {

using Bytes = std::vector<uint8_t>;

/// A row of the table of inputs: the caps without sizes, the frames layer's format, and GStreamer's row padding.
struct InputCase {
    const char* caps;
    PixelFormat code;
};

extern const std::vector<InputCase> kInputs;

struct OutputCase {
    const char* format;  ///< of video/x-raw
    uint32_t output;     ///< VCF_OUTPUT_...
    uint32_t pixelBytes;
};

extern const std::vector<OutputCase> kOutputs;

/// A repeatable frame without a pattern; every byte value occurs.
Bytes RandomBytes(size_t count, uint32_t seed);

/// The caps text with sizes and a frame rate.
std::string SizedCaps(const InputCase& input, int width, int height);

/// What the frames layer makes of a buffer, rows without padding; fails the test if it refuses.
Bytes Expected(const VcfLayout& layout, const Bytes& buffer, uint32_t output, const VcfSettings* settings);

VcfLayout LayoutOf(PixelFormat code, int width, int height);

GstBuffer* BufferOf(const Bytes& bytes);

/// The picture in a buffer without the padding of its rows, wherever its GstVideoMeta or its caps put them.
Bytes Unpadded(GstBuffer* buffer, const GstCaps* caps);

/// An element between two pads of ours. Pushing runs it in this thread.
class Harness {
  public:
    explicit Harness(const char* launchLine);
    ~Harness();
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;

    void SetCaps(const std::string& in, const std::string& out);
    void SetInput(const std::string& in);

    /// Pushes one buffer, which it takes over.
    GstFlowReturn Push(GstBuffer* buffer) { return gst_harness_push(m_harness, buffer); }

    /// Pushes one buffer and gives back the picture; empty if there is none.
    Bytes Convert(GstBuffer* buffer);

    /// The text of the first error that the element posted since the last call; empty if there was none.
    std::string Error();

    GstElement* Element() const { return m_element; }
    GstHarness* Get() const { return m_harness; }

  private:
    GstHarness* m_harness;
    GstElement* m_element;
    GstBus* m_bus;
};

/// Sets a property from text, as gst-launch does.
void Set(GstElement* element, const char* property, const char* value);

}  // namespace GstTest
