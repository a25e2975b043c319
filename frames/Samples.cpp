// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Samples.h; and the public functions that unpack and pack.
#include "Samples.h"

#include <algorithm>
#include <cstring>

#include "kernels/FramesScalar.h"

namespace VexaFrames {

namespace {

using UnpackRun = void (*)(uint8_t* words, const uint8_t* group, uint32_t member, size_t count);

constexpr UnpackRun kUnpackRun[] = {nullptr,
                                    UnpackSamples<VCF_PACKING_10P>,
                                    UnpackSamples<VCF_PACKING_12P>,
                                    UnpackSamples<VCF_PACKING_10PACKED>,
                                    UnpackSamples<VCF_PACKING_12PACKED>,
                                    UnpackSamples<VCF_PACKING_10CSI2>,
                                    UnpackSamples<VCF_PACKING_12CSI2>};

/// Words of one piece of a row, on the stack.
constexpr uint32_t kPiecePixels = 1024;

template <uint32_t packing>
void PackSample(uint8_t* group, uint32_t member, uint32_t sample) {
    if constexpr (packing == VCF_PACKING_10P || packing == VCF_PACKING_12P) {
        constexpr uint32_t kDepth = packing == VCF_PACKING_10P ? 10 : 12;
        constexpr uint32_t kMask = (1u << kDepth) - 1;
        const uint32_t bit = member * kDepth;
        uint8_t* to = group + bit / 8;
        StoreWord(to, (LoadWord(to) & ~(kMask << bit % 8)) | (sample & kMask) << bit % 8);
    } else {
        const SplitSample split = SplitOf(packing, member);
        const uint32_t mask = (1u << split.lowBits) - 1;
        group[split.high] = static_cast<uint8_t>(sample >> split.lowBits);
        const uint32_t others = group[split.low] & ~(mask << split.lowShift);
        group[split.low] = static_cast<uint8_t>(others | (sample & mask) << split.lowShift);
    }
}

template <uint32_t packing>
void PackSamples(uint8_t* group, uint32_t member, const uint8_t* words, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        PackSample<packing>(group, member, LoadWord(words + 2 * i));
        if (++member == kGroupPixels<packing>) {
            member = 0;
            group += kGroupBytes<packing>;
        }
    }
}

using PackRun = void (*)(uint8_t* group, uint32_t member, const uint8_t* words, size_t count);

constexpr PackRun kPackRun[] = {nullptr,
                                PackSamples<VCF_PACKING_10P>,
                                PackSamples<VCF_PACKING_12P>,
                                PackSamples<VCF_PACKING_10PACKED>,
                                PackSamples<VCF_PACKING_12PACKED>,
                                PackSamples<VCF_PACKING_10CSI2>,
                                PackSamples<VCF_PACKING_12CSI2>};

void CopyShifted(uint8_t* words, const uint8_t* from, size_t count, uint32_t shift) {
    if (shift == 0) {
        std::memcpy(words, from, 2 * count);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        StoreWord(words + 2 * i, LoadWord(from + 2 * i) >> shift);
    }
}

void UnpackRow(const Geometry& g, const uint8_t* buffer, uint32_t row, uint8_t* to, uint32_t sampleBytes) {
    const uint32_t channels = ChannelsOf(*g.format);
    if (g.format->kind == VCF_KIND_YUV || (g.format->depth == 8 && sampleBytes == 1)) {
        std::memcpy(to, buffer + g.StartOf(row).byte, BytesOfPixels(*g.format, g.width));
        return;
    }
    if (sampleBytes == 2) {
        ReadSamples(g, buffer, row, 0, g.width, to);
        return;
    }
    uint8_t words[kPiecePixels * 3 * 2];
    for (uint32_t first = 0; first < g.width; first += kPiecePixels) {
        const uint32_t count = std::min(kPiecePixels, g.width - first);
        ReadSamples(g, buffer, row, first, count, words);
        s_frameKernels->reduce(to + size_t{first} * channels, words, size_t{count} * channels, g.format->depth - 8);
    }
}

void PackRow(const Geometry& g, const uint8_t* words, uint8_t* buffer, uint32_t row) {
    const RowStart start = g.StartOf(row);
    uint8_t* to = buffer + start.byte;
    const size_t samples = size_t{g.width} * ChannelsOf(*g.format);
    if (g.format->packing != VCF_PACKING_NONE) {
        kPackRun[g.format->packing](to, start.member, words, samples);
        return;
    }
    const uint32_t mask = (1u << g.format->depth) - 1;
    for (size_t i = 0; i < samples; ++i) {
        const uint32_t sample = LoadWord(words + 2 * i) & mask;
        if (g.format->depth == 8) {
            to[i] = static_cast<uint8_t>(sample);
        } else {
            StoreWord(to + 2 * i, sample << g.shift);
        }
    }
}

}  // namespace

void UnpackWords(const Geometry& g, const uint8_t* buffer, uint32_t row, uint32_t first, uint32_t count,
                 uint8_t* words) {
    const VcfFormat& format = *g.format;
    const RowStart start = g.StartOf(row);
    const uint32_t member = (start.member + first) % format.group_pixels;
    const uint8_t* group =
        buffer + start.byte + uint64_t{(start.member + first) / format.group_pixels} * format.group_bytes;
    if (member != 0) {
        const uint32_t head = std::min(count, format.group_pixels - member);
        kUnpackRun[format.packing](words, group, member, head);
        words += size_t{2} * head;
        count -= head;
        group += format.group_bytes;
    }
    const size_t groups = count / format.group_pixels;
    s_frameKernels->unpack[format.packing](words, group, groups);
    kUnpackRun[format.packing](words + groups * format.group_pixels * 2, group + groups * format.group_bytes, 0,
                               count % format.group_pixels);
}

void ReadSamples(const Geometry& g, const uint8_t* buffer, uint32_t row, uint32_t first, uint32_t count,
                 uint8_t* words) {
    if (g.format->packing != VCF_PACKING_NONE) {
        UnpackWords(g, buffer, row, first, count, words);
        return;
    }
    const uint8_t* from = buffer + g.StartOf(row).byte + uint64_t{first} * g.format->group_bytes;
    const size_t samples = size_t{count} * ChannelsOf(*g.format);
    if (g.format->depth > 8) {
        CopyShifted(words, from, samples, g.shift);
        return;
    }
    for (size_t i = 0; i < samples; ++i) {
        StoreWord(words + 2 * i, from[i]);
    }
}

}  // namespace VexaFrames

using namespace VexaFrames;

VcfStatus VcfUnpack(const VcfLayout* layout, const void* buffer, size_t length, void* dst, size_t dst_stride,
                    uint32_t sample_bytes, char* text, size_t text_bytes) {
    Geometry g;
    const Text out = {text, text_bytes};
    if (const VcfStatus status = MakeGeometry(layout, g, out); status != VCF_OK) {
        return status;
    }
    if (buffer == nullptr || dst == nullptr) {
        return out.Say(VCF_INVALID_ARGUMENT, "no buffer or no destination given (null)");
    }
    if (sample_bytes != 1 && sample_bytes != 2) {
        return out.Say(VCF_INVALID_ARGUMENT, "samples of %u bytes; 1 or 2 is possible", sample_bytes);
    }
    const bool yuv = g.format->kind == VCF_KIND_YUV;
    if (yuv && sample_bytes != 1) {
        return out.Say(VCF_UNSUPPORTED, "%s has no samples of more than one byte", g.format->name);
    }
    if (yuv && !g.RowsAreWholeGroups()) {
        return out.Say(VCF_UNSUPPORTED, "rows of %s %ux%u begin inside a group of pixels that share chroma",
                       g.format->name, g.width, g.height);
    }
    if (const VcfStatus status = CheckLength(g, length, out); status != VCF_OK) {
        return status;
    }
    const size_t rowBytes =
        yuv ? BytesOfPixels(*g.format, g.width) : size_t{g.width} * ChannelsOf(*g.format) * sample_bytes;
    if (const VcfStatus status = CheckStride(dst_stride, rowBytes, g.height, "destination", out); status != VCF_OK) {
        return status;
    }
    for (uint32_t row = 0; row < g.height; ++row) {
        UnpackRow(g, static_cast<const uint8_t*>(buffer), row,
                  static_cast<uint8_t*>(dst) + row * (dst_stride == 0 ? rowBytes : dst_stride), sample_bytes);
    }
    return VCF_OK;
}

VcfStatus VcfPack(const VcfLayout* layout, const void* samples, size_t src_stride, void* buffer, size_t length,
                  char* text, size_t text_bytes) {
    Geometry g;
    const Text out = {text, text_bytes};
    if (const VcfStatus status = MakeGeometry(layout, g, out); status != VCF_OK) {
        return status;
    }
    if (samples == nullptr || buffer == nullptr) {
        return out.Say(VCF_INVALID_ARGUMENT, "no samples or no buffer given (null)");
    }
    if (g.format->kind == VCF_KIND_YUV) {
        return out.Say(VCF_UNSUPPORTED, "%s has no samples in words", g.format->name);
    }
    if (const VcfStatus status = CheckLength(g, length, out); status != VCF_OK) {
        return status;
    }
    const size_t rowBytes = size_t{g.width} * ChannelsOf(*g.format) * 2;
    if (const VcfStatus status = CheckStride(src_stride, rowBytes, g.height, "sample", out); status != VCF_OK) {
        return status;
    }
    for (uint32_t row = 0; row < g.height; ++row) {
        PackRow(g, static_cast<const uint8_t*>(samples) + row * (src_stride == 0 ? rowBytes : src_stride),
                static_cast<uint8_t*>(buffer), row);
    }
    return VCF_OK;
}
