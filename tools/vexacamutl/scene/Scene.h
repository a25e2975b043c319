// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A drawn test scene, and raw frames of it in any pixel format.
//
//     +-----------------------------------------+
//     | 6 x 4 colour patches  |   zone plate    |     patches: flat colours, known exactly
//     |                       |                 |     zone plate: all frequencies up to the finest
//     +-----------------------+-----------------+     a disc moves from frame to frame
//     | fine text, black on white and back      |
//     | lines 1, 2, 3, 4 pixels wide            |
//     | ramp from black to white                |
//     +-----------------------------------------+
//
// Samples are exact for flat colours: an 8-bit value v becomes the 16-bit 257 * v, and its upper bits at any depth.
#pragma once

#include <vector>

#include "formats/RawShape.h"

namespace VexaTool {

struct Rgb16 {
    uint16_t r, g, b;
};

struct Rgb8 {
    uint8_t r, g, b;
};

/// The colours of the patches, row by row.
inline constexpr size_t kPatchColumns = 6;
inline constexpr size_t kPatchRows = 4;
extern const Rgb8 kPatches[kPatchRows][kPatchColumns];

class Scene {
  public:
    Scene(uint32_t width, uint32_t height, uint64_t frame);
    uint32_t Width() const { return m_width; }
    uint32_t Height() const { return m_height; }
    const Rgb16& At(size_t x, size_t y) const { return m_pixels[y * m_width + x]; }

  private:
    struct Box {
        size_t left, top, width, height;
    };
    template <class Colour>
    void Fill(const Box& box, Colour colour);
    void DrawPatches(const Box& box);
    void DrawZonePlate(const Box& box);
    void DrawDisc(const Box& box, uint64_t frame);
    void DrawLettering(const Box& box, Rgb16 paper, Rgb16 ink);
    void DrawLines(const Box& box);
    void DrawRamp(const Box& box);

    uint32_t m_width;
    uint32_t m_height;
    std::vector<Rgb16> m_pixels;
};

/// The frame that a camera of this shape would give of the scene (tight; packed layouts included).
std::vector<uint8_t> RawFrameOf(const Scene& scene, const RawShape& shape);

}  // namespace VexaTool
