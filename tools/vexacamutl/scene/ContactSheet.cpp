// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See ContactSheet.h.
#include "scene/ContactSheet.h"

#include <algorithm>

#include "scene/Lettering.h"

namespace VexaTool {

namespace {

constexpr size_t kColumns = 4;
constexpr size_t kGap = 8;
constexpr size_t kTextScale = 2;
constexpr size_t kLabelHeight = Glyph::kLine * kTextScale + 6;
constexpr uint8_t kBackground = 40;
constexpr uint8_t kInk = 235;

}  // namespace

Picture Shrunk(const Picture& picture, uint32_t factor) {
    Picture small{picture.width / factor, picture.height / factor, picture.channels, {}};
    small.bytes.resize(small.RowBytes() * small.height);
    for (size_t y = 0; y < small.height; ++y) {
        for (size_t i = 0; i < small.RowBytes(); ++i) {
            uint32_t sum = 0;
            const size_t column = i / picture.channels * factor * picture.channels + i % picture.channels;
            for (size_t dy = 0; dy < factor; ++dy) {
                for (size_t dx = 0; dx < factor; ++dx) {
                    sum += picture.Row(y * factor + dy)[column + dx * picture.channels];
                }
            }
            small.Row(y)[i] = static_cast<uint8_t>(sum / (factor * factor));
        }
    }
    return small;
}

ContactSheet::ContactSheet(uint32_t tileWidth, uint32_t tileHeight, size_t tiles)
    : tileWidth_(tileWidth), tileHeight_(tileHeight) {
    const size_t rows = (tiles + kColumns - 1) / kColumns;
    sheet_.width = static_cast<uint32_t>(kColumns * (tileWidth + kGap) + kGap);
    sheet_.height = static_cast<uint32_t>(rows * (tileHeight + kLabelHeight + kGap) + kGap);
    sheet_.channels = 3;
    sheet_.bytes.assign(sheet_.RowBytes() * sheet_.height, kBackground);
}

void ContactSheet::Add(const Picture& tile, const std::string& label) {
    const size_t left = kGap + added_ % kColumns * (tileWidth_ + kGap);
    const size_t top = kGap + added_ / kColumns * (tileHeight_ + kLabelHeight + kGap);
    ++added_;
    DrawText(label, left, top, kTextScale, [&](size_t x, size_t y) {
        if (x < std::min<size_t>(left + tileWidth_, sheet_.width) && y < sheet_.height) {
            std::fill_n(sheet_.Row(y) + 3 * x, 3, kInk);
        }
    });
    const size_t rows = std::min<size_t>(tile.height, tileHeight_);
    const size_t bytes = size_t{3} * std::min(tile.width, tileWidth_);
    for (size_t y = 0; y < rows; ++y) {
        std::copy_n(tile.Row(y), bytes, sheet_.Row(top + kLabelHeight + y) + 3 * left);
    }
}

}  // namespace VexaTool
