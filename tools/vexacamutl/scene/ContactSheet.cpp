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
    : m_tileWidth(tileWidth), m_tileHeight(tileHeight) {
    const size_t rows = (tiles + kColumns - 1) / kColumns;
    m_sheet.width = static_cast<uint32_t>(kColumns * (tileWidth + kGap) + kGap);
    m_sheet.height = static_cast<uint32_t>(rows * (tileHeight + kLabelHeight + kGap) + kGap);
    m_sheet.channels = 3;
    m_sheet.bytes.assign(m_sheet.RowBytes() * m_sheet.height, kBackground);
}

void ContactSheet::Add(const Picture& tile, const std::string& label) {
    const size_t left = kGap + m_added % kColumns * (m_tileWidth + kGap);
    const size_t top = kGap + m_added / kColumns * (m_tileHeight + kLabelHeight + kGap);
    ++m_added;
    DrawText(label, left, top, kTextScale, [&](size_t x, size_t y) {
        if (x < std::min<size_t>(left + m_tileWidth, m_sheet.width) && y < m_sheet.height) {
            std::fill_n(m_sheet.Row(y) + 3 * x, 3, kInk);
        }
    });
    const size_t rows = std::min<size_t>(tile.height, m_tileHeight);
    const size_t bytes = size_t{3} * std::min(tile.width, m_tileWidth);
    for (size_t y = 0; y < rows; ++y) {
        std::copy_n(tile.Row(y), bytes, m_sheet.Row(top + kLabelHeight + y) + 3 * left);
    }
}

}  // namespace VexaTool
