// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Unpack.h.
#include "formats/Unpack.h"

namespace VexaTool {

RawShape TightShape(const RawShape& shape) {
    return {&UnpackedFormat(*shape.format), shape.width, shape.height, 0, 0, 0, shape.limitedRange};
}

Bytes TightFrame(const RawShape& shape, Bytes raw, std::vector<uint8_t>& scratch) {
    const bool padded = shape.stride != 0 && shape.stride != shape.RowBytes();
    if (!shape.format->IsPacked() && !padded && shape.shift == 0) {
        return raw;
    }
    const RawShape tight = TightShape(shape);
    const VcfLayout layout = shape.Layout();
    char text[VCF_TEXT_BYTES];
    scratch.resize(tight.FrameBytes());
    if (VcfUnpack(&layout, raw.data(), raw.size(), scratch.data(), 0, tight.format->depth > 8 ? 2 : 1, text,
                  sizeof text) != VCF_OK) {
        throw Failure(ExitCode::kInput, shape.Text() + ": " + text);
    }
    return scratch;
}

std::vector<uint8_t> PackSamples(const RawShape& packed, const uint8_t* samples) {
    std::vector<uint8_t> frame(packed.FrameBytes());
    const VcfLayout layout = packed.Layout();
    char text[VCF_TEXT_BYTES];
    if (VcfPack(&layout, samples, 0, frame.data(), frame.size(), text, sizeof text) != VCF_OK) {
        throw Failure(ExitCode::kUnsupported, packed.Text() + ": " + text);
    }
    return frame;
}

}  // namespace VexaTool
