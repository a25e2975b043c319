// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The functions with byte arguments, declared with 32-bit ones: what a caller with a careless declaration, or another
// language, hands over. The library has to look at the low byte only. The header may not be seen beside these in a
// file that defines them otherwise, so they have names of their own that are bound to the exported ones.
#pragma once

#include <cstdint>

extern "C" {
void* WideGetBGRAConverter(uint32_t format, uint32_t bayer) __asm__("GetBGRAConverter");
void* WideGetBGRConverter(uint32_t format, uint32_t bayer) __asm__("GetBGRConverter");
uint32_t WideConvImage(uint32_t dstFormat, uint32_t format, uint32_t bayer, void* dst, const void* src, uint32_t width,
                       uint32_t height) __asm__("ConvImage");
uint32_t WideReverseImg(void* dst, const void* src, uint32_t format, uint32_t width, uint32_t height, uint32_t mirror,
                        uint32_t upsideDown) __asm__("ReverseImg");
}
