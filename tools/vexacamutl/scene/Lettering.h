// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Small capital letters for pictures: labels of the contact sheet and the fine text of the drawn scene.
//
//     # # # #        a letter is 5 x 7 dots in a cell of 6 x 9; letters outside the set leave their cell empty
//     #       #
//     # # # #
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace VexaTool {

struct Glyph {
    static constexpr size_t kWidth = 5;
    static constexpr size_t kHeight = 7;
    static constexpr size_t kAdvance = 6;
    static constexpr size_t kLine = 9;

    char letter;
    std::array<uint8_t, kHeight> rows;

    bool HasDot(size_t x, size_t y) const { return (rows[y] >> (kWidth - 1 - x) & 1) != 0; }
};

/// Null for letters that are not drawn; lower case is drawn as upper case.
const Glyph* FindGlyph(char letter);

/// Calls plot(x, y) for every pixel of the text, each dot `scale` pixels wide and high.
template <class Plot>
void DrawText(std::string_view text, size_t left, size_t top, size_t scale, Plot plot) {
    for (const char letter : text) {
        const Glyph* glyph = FindGlyph(letter);
        for (size_t y = 0; glyph != nullptr && y < Glyph::kHeight * scale; ++y) {
            for (size_t x = 0; x < Glyph::kWidth * scale; ++x) {
                if (glyph->HasDot(x / scale, y / scale)) {
                    plot(left + x, top + y);
                }
            }
        }
        left += Glyph::kAdvance * scale;
    }
}

}  // namespace VexaTool
