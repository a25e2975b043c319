// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The queries over pixel-format codes. BitPerPixel reads the code itself; the others look the code up in the
// dictionary, and each has its own answer for a code that is not there.
#include "catalogue/VexaCamUtl.h"

namespace {

const Vexa::PixelFormatDicEntry* FindEntry(PixelFormat format) {
    for (const Vexa::PixelFormatDicEntry& entry : Vexa::c_asPixelFormatDic) {
        if (entry.uiPixelFormat == format) {
            return &entry;
        }
    }
    return nullptr;
}

}  // namespace

uint32_t BitPerPixel(PixelFormat format) {
    return format >> 16 & 0xFFu;
}

uint8_t DataDepth(PixelFormat format) {
    const Vexa::PixelFormatDicEntry* entry = FindEntry(format);
    return entry == nullptr ? uint8_t{0} : static_cast<uint8_t>(entry->uiDataDepth);
}

// Required: an unknown code counts as monochromic, although it has no depth and is not Bayer.
uint8_t IsMonochromic(PixelFormat format) {
    const Vexa::PixelFormatDicEntry* entry = FindEntry(format);
    return entry == nullptr || entry->uiKind == Vexa::PIXEL_KIND_MONO;
}

uint8_t IsPixelBayer(PixelFormat format) {
    const Vexa::PixelFormatDicEntry* entry = FindEntry(format);
    return entry != nullptr && entry->uiKind == Vexa::PIXEL_KIND_BAYER;
}
