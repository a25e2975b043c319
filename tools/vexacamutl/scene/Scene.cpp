// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Scene.h: the drawing. All boxes are fractions of the frame, so every size gives a whole scene.
#include "scene/Scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "scene/Lettering.h"

namespace VexaTool {

const Rgb8 kPatches[kPatchRows][kPatchColumns] = {
    {{200, 30, 30}, {30, 160, 40}, {30, 50, 190}, {20, 170, 190}, {190, 40, 160}, {230, 210, 20}},
    {{220, 130, 120}, {130, 200, 140}, {120, 140, 220}, {150, 220, 225}, {225, 160, 215}, {240, 230, 150}},
    {{225, 170, 140}, {100, 70, 50}, {90, 140, 210}, {80, 110, 50}, {235, 140, 40}, {100, 50, 120}},
    {{250, 250, 250}, {200, 200, 200}, {150, 150, 150}, {100, 100, 100}, {55, 55, 55}, {8, 8, 8}},
};

namespace {

constexpr Rgb16 kWhite = {0xF0F0, 0xF0F0, 0xF0F0};
constexpr Rgb16 kBlack = {0x1010, 0x1010, 0x1010};
constexpr Rgb16 kOrange = {0xF0F0, 0x8080, 0x2020};

Rgb16 Widened(const Rgb8& colour) {
    const auto widen = [](uint8_t value) { return static_cast<uint16_t>(value * 257); };
    return {widen(colour.r), widen(colour.g), widen(colour.b)};
}

Rgb16 Grey(double brightness) {
    const auto value = static_cast<uint16_t>(std::lround(std::clamp(brightness, 0.0, 1.0) * 65535));
    return {value, value, value};
}

}  // namespace

Scene::Scene(uint32_t width, uint32_t height, uint64_t frame)
    : m_width(width), m_height(height), m_pixels(size_t{width} * height) {
    const size_t w = width;
    const size_t h = height;
    Fill({0, 0, w, h}, [h](size_t, size_t y) {
        const double down = static_cast<double>(y) / static_cast<double>(h);
        return Rgb16{Grey(0.42 - 0.2 * down).r, Grey(0.46 - 0.2 * down).g, Grey(0.55 - 0.2 * down).b};
    });
    const size_t plate = std::min(w * 38 / 100, h * 56 / 100);
    const Box plateBox = {w * 79 / 100 - plate / 2, h * 4 / 100, plate, plate};
    DrawPatches({w * 3 / 100, h * 4 / 100, w * 54 / 100, h * 56 / 100});
    DrawZonePlate(plateBox);
    DrawDisc(plateBox, frame);
    DrawLettering({w * 3 / 100, h * 64 / 100, w * 46 / 100, h * 18 / 100}, kWhite, kBlack);
    DrawLettering({w * 51 / 100, h * 64 / 100, w * 46 / 100, h * 18 / 100}, kBlack, kWhite);
    DrawLines({w * 3 / 100, h * 84 / 100, w * 94 / 100, h * 5 / 100});
    DrawRamp({w * 3 / 100, h * 91 / 100, w * 94 / 100, h * 6 / 100});
}

template <class Colour>
void Scene::Fill(const Box& box, Colour colour) {
    for (size_t y = 0; y < box.height; ++y) {
        for (size_t x = 0; x < box.width; ++x) {
            m_pixels[(box.top + y) * m_width + box.left + x] = colour(x, y);
        }
    }
}

void Scene::DrawPatches(const Box& box) {
    const size_t cellWidth = box.width / kPatchColumns;
    const size_t cellHeight = box.height / kPatchRows;
    for (size_t r = 0; r < kPatchRows; ++r) {
        for (size_t c = 0; c < kPatchColumns; ++c) {
            const Rgb16 colour = Widened(kPatches[r][c]);
            Fill({box.left + c * cellWidth, box.top + r * cellHeight, cellWidth * 9 / 10, cellHeight * 9 / 10},
                 [colour](size_t, size_t) { return colour; });
        }
    }
}

// The frequency grows with the distance from the centre and reaches half a cycle per pixel at the edge of the box.
void Scene::DrawZonePlate(const Box& box) {
    const double centre = static_cast<double>(box.width) / 2;
    Fill(box, [centre](size_t x, size_t y) {
        const double dx = static_cast<double>(x) - centre;
        const double dy = static_cast<double>(y) - centre;
        return Grey(0.5 + 0.42 * std::cos(std::numbers::pi * (dx * dx + dy * dy) / (2 * std::max(centre, 1.0))));
    });
}

void Scene::DrawDisc(const Box& box, uint64_t frame) {
    static constexpr double kFramesPerTurn = 60;
    const double size = static_cast<double>(box.width);
    const double angle = 2 * std::numbers::pi * static_cast<double>(frame) / kFramesPerTurn;
    const double x0 = size * (0.5 + 0.38 * std::cos(angle));
    const double y0 = size * (0.5 + 0.38 * std::sin(angle));
    for (size_t y = 0; y < box.height; ++y) {
        for (size_t x = 0; x < box.width; ++x) {
            if (std::hypot(static_cast<double>(x) - x0, static_cast<double>(y) - y0) < size * 0.07) {
                m_pixels[(box.top + y) * m_width + box.left + x] = kOrange;
            }
        }
    }
}

void Scene::DrawLettering(const Box& box, Rgb16 paper, Rgb16 ink) {
    static constexpr std::string_view kText = "THE QUICK BROWN FOX JUMPS OVER 13 LAZY DOGS. 0123456789 (+-=/%) ";
    Fill(box, [paper](size_t, size_t) { return paper; });
    size_t top = 4;
    for (size_t scale = 1; top < box.height; scale = scale < 4 ? scale + 1 : 1) {
        for (size_t left = 4; left < box.width; left += kText.size() * Glyph::kAdvance * scale) {
            DrawText(kText, left, top, scale, [&](size_t x, size_t y) {
                if (x < box.width && y < box.height) {
                    m_pixels[(box.top + y) * m_width + box.left + x] = ink;
                }
            });
        }
        top += Glyph::kLine * scale;
    }
}

void Scene::DrawLines(const Box& box) {
    static constexpr size_t kWidths = 4;
    const size_t part = std::max<size_t>(1, box.width / kWidths);
    Fill(box, [&](size_t x, size_t) {
        const size_t lineWidth = std::min(kWidths, x / part + 1);
        return x / lineWidth % 2 == 0 ? kBlack : kWhite;
    });
}

void Scene::DrawRamp(const Box& box) {
    const double last = std::max(1.0, static_cast<double>(box.width) - 1);
    Fill(box, [last](size_t x, size_t) { return Grey(static_cast<double>(x) / last); });
}

}  // namespace VexaTool
