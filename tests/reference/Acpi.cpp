// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The reference of the ACPI demosaic: pass 1 makes a plane of greens, pass 2 the reds and blues from it. Two pixels
// along the border are plain means. The few values of single phases that depart from the common rules are decided in
// functions of their own: LeftColumnBlueIsMeanOfGreens and its neighbours.
//
//     interior = rows 2 .. height - 3, columns 2 .. width - 3;  outer ring = first and last row and column
#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <string_view>

#include "Families.h"

namespace Reference {
namespace {

struct Offset {
    int64_t row;
    int64_t column;
};

uint8_t Clamp(int value) {
    return static_cast<uint8_t>(std::min(std::max(value, 0), 255));
}

class Picture {
  public:
    Picture(Phase phase, const uint8_t* samples, int64_t width, int64_t height)
        : m_phase(phase),
          m_samples(samples),
          m_width(width),
          m_height(height),
          m_green(static_cast<size_t>(width * height)) {
        for (int64_t r = 0; r < height; ++r) {
            for (int64_t c = 0; c < width; ++c) {
                m_green[Index(r, c)] = FindGreen(r, c);
            }
        }
    }

    uint8_t Green(int64_t r, int64_t c) const { return m_green[Index(r, c)]; }

    /// Red ('R') or blue ('B') of a pixel.
    uint8_t Colour(char colour, int64_t r, int64_t c) const {
        const char site = SiteColour(m_phase, r, c);
        if (site == colour) {
            return static_cast<uint8_t>(S(r, c));
        }
        if (colour == 'B' && LeftColumnBlueIsMeanOfGreens(r, c)) {
            return static_cast<uint8_t>((S(r - 1, 0) + S(r + 1, 0)) / 2);
        }
        if (colour == 'B' && RightColumnBlueIsMeanOfGreens(r, c)) {
            return static_cast<uint8_t>((S(r - 1, m_width - 1) + S(r + 1, m_width - 1)) / 2);
        }
        if (site != 'G') {
            return IsInterior(r, c) ? FromDiagonals(colour, r, c) : MeanOf(r, c, {{-1, -1}, {-1, 1}, {1, -1}, {1, 1}});
        }
        const bool beside = SiteColour(m_phase, r, c + 1) == colour;
        const Offset first = beside ? Offset{0, -1} : Offset{-1, 0};
        const Offset second = beside ? Offset{0, 1} : Offset{1, 0};
        return IsInterior(r, c) ? FromPair(r, c, first, second) : MeanOf(r, c, {first, second});
    }

  private:
    size_t Index(int64_t r, int64_t c) const { return static_cast<size_t>(r * m_width + c); }
    int S(int64_t r, int64_t c) const { return m_samples[Index(r, c)]; }
    int G(int64_t r, int64_t c) const { return m_green[Index(r, c)]; }

    bool IsInterior(int64_t r, int64_t c) const { return r >= 2 && r <= m_height - 3 && c >= 2 && c <= m_width - 3; }
    bool IsInside(int64_t r, int64_t c) const { return r >= 0 && r < m_height && c >= 0 && c < m_width; }

    bool LeftColumnBlueIsMeanOfGreens(int64_t r, int64_t c) const {
        return m_phase == Phase::kRG && c == 0 && r % 2 == 0 && r >= 2 && r <= m_height - 4;
    }
    bool RightColumnBlueIsMeanOfGreens(int64_t r, int64_t c) const {
        return m_phase == Phase::kGR && SiteColour(m_phase, r, c) == 'R' && c == m_width - 1 && r >= 2 &&
               r <= m_height - 4;
    }
    bool RightColumnGreenIsMeanOfThree(int64_t r, int64_t c) const {
        return m_phase == Phase::kBG && c == m_width - 1 && r % 2 == 1 && r >= 3 && r <= m_height - 3;
    }

    /// The truncated mean of those of the places that lie in the picture; the own sample where none does.
    uint8_t MeanOf(int64_t r, int64_t c, std::initializer_list<Offset> places) const {
        int sum = 0;
        int count = 0;
        for (const Offset place : places) {
            if (IsInside(r + place.row, c + place.column)) {
                sum += S(r + place.row, c + place.column);
                ++count;
            }
        }
        return static_cast<uint8_t>(count == 0 ? S(r, c) : sum / count);
    }

    uint8_t FindGreen(int64_t r, int64_t c) const {
        if (SiteColour(m_phase, r, c) == 'G') {
            return static_cast<uint8_t>(S(r, c));
        }
        if (IsInterior(r, c)) {
            return InteriorGreen(r, c);
        }
        if (RightColumnGreenIsMeanOfThree(r, c)) {
            return static_cast<uint8_t>((S(r - 1, c) + S(r + 1, c) + S(r, c - 1)) / 3);
        }
        const bool endRow = r == 0 || r == m_height - 1;
        const bool endColumn = c == 0 || c == m_width - 1;
        if (endRow && !endColumn) {
            return MeanOf(r, c, {{0, -1}, {0, 1}});
        }
        if (endColumn && !endRow) {
            return MeanOf(r, c, {{-1, 0}, {1, 0}});
        }
        return MeanOf(r, c, {{0, -1}, {0, 1}, {-1, 0}, {1, 0}});
    }

    uint8_t InteriorGreen(int64_t r, int64_t c) const {
        const int h2 = 2 * S(r, c) - S(r, c - 2) - S(r, c + 2);
        const int v2 = 2 * S(r, c) - S(r - 2, c) - S(r + 2, c);
        const int dh = std::abs(S(r, c - 1) - S(r, c + 1)) + std::abs(h2);
        const int dv = std::abs(S(r - 1, c) - S(r + 1, c)) + std::abs(v2);
        const int beside = S(r, c - 1) + S(r, c + 1);
        const int aboveAndBelow = S(r - 1, c) + S(r + 1, c);
        if (dh < dv) {
            return Clamp((2 * beside + h2) >> 2);
        }
        if (dv < dh) {
            return Clamp((2 * aboveAndBelow + v2) >> 2);
        }
        return Clamp((2 * (beside + aboveAndBelow) + h2 + v2) >> 3);
    }

    uint8_t FromPair(int64_t r, int64_t c, Offset a, Offset b) const {
        const int samples = S(r + a.row, c + a.column) + S(r + b.row, c + b.column);
        const int greens = G(r + a.row, c + a.column) + G(r + b.row, c + b.column);
        return Clamp((2 * samples + 2 * G(r, c) - greens) >> 2);
    }

    uint8_t FromDiagonals(char colour, int64_t r, int64_t c) const {
        const int a2 = 2 * G(r, c) - G(r - 1, c + 1) - G(r + 1, c - 1);
        const int d2 = 2 * G(r, c) - G(r - 1, c - 1) - G(r + 1, c + 1);
        const int g45 = std::abs(S(r - 1, c + 1) - S(r + 1, c - 1)) + std::abs(a2);
        const int g135 = std::abs(S(r - 1, c - 1) - S(r + 1, c + 1)) + std::abs(d2);
        const int anti = S(r - 1, c + 1) + S(r + 1, c - 1);
        const int main = S(r - 1, c - 1) + S(r + 1, c + 1);
        if (g45 < g135) {
            return Clamp((2 * anti + a2) >> 2);
        }
        if (g135 < g45) {
            return Clamp((2 * main + d2) >> 2);
        }
        if (m_phase == Phase::kRG && colour == 'B') {
            // Required: rounded in floating point and not limited; a value outside a byte wraps.
            const double value = (anti + main) * 0.25 + (a2 + d2) * 0.125 + 0.5;
            return static_cast<uint8_t>(static_cast<int>(value) & 255);
        }
        return Clamp((2 * (anti + main) + a2 + d2) >> 3);
    }

    Phase m_phase;
    const uint8_t* m_samples;
    int64_t m_width;
    int64_t m_height;
    std::vector<uint8_t> m_green;
};

}  // namespace

void ConvertAcpi(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height) {
    const uint32_t rows = height - height % 2;  // an odd last row is left alone
    const bool leavesOneRed = converter.name == std::string_view("ConvByrBG8ToBGRAACPI");
    const Picture picture(converter.phase, src, width, rows);
    for (uint32_t r = 0; r < rows; ++r) {
        for (uint32_t c = 0; c < width; ++c) {
            const size_t index = size_t{r} * width + c;
            uint32_t red = picture.Colour('R', r, c);
            if (leavesOneRed && r == 1 && c == width - 1) {
                red = dst[index * 4 + 2];
            }
            StorePixel(dst, converter.pixelBytes, index, picture.Colour('B', r, c), picture.Green(r, c), red);
        }
    }
}

}  // namespace Reference
