// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// White balance by the grey-world rule of the header.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "Levels.h"
#include "Samples.h"
#include "kernels/FramesScalar.h"

using namespace VexaFrames;

namespace {

constexpr uint32_t kPieceCells = 512;

/// One cell: red, two greens, blue. A pixel of packed colour has its green twice.
struct Cell {
    uint32_t red;
    uint32_t green[2];
    uint32_t blue;
};

struct Sums {
    uint32_t black;
    uint32_t clip;
    VcfBalance* balance;

    void Add(const Cell& cell) {
        if (std::max({cell.red, cell.green[0], cell.green[1], cell.blue}) >= clip) {
            ++balance->clipped;
            return;
        }
        const auto above = [this](uint32_t sample) { return sample > black ? sample - black : 0; };
        ++balance->used;
        balance->sum[kRed] += above(cell.red);
        balance->sum[kGreen] += uint64_t{above(cell.green[0])} + above(cell.green[1]);
        balance->sum[kBlue] += above(cell.blue);
    }
};

Cell MosaicCell(const uint8_t* upper, const uint8_t* lower, uint32_t phase) {
    const uint32_t a = LoadWord(upper);
    const uint32_t b = LoadWord(upper + 2);
    const uint32_t c = LoadWord(lower);
    const uint32_t d = LoadWord(lower + 2);
    switch (phase) {
        case VCF_PHASE_GR:
            return {b, {a, d}, c};
        case VCF_PHASE_RG:
            return {a, {b, c}, d};
        case VCF_PHASE_GB:
            return {c, {a, d}, b};
        default:
            return {d, {b, c}, a};
    }
}

void AddMosaic(const Geometry& g, const uint8_t* buffer, uint32_t step, Sums& sums) {
    uint8_t upper[kPieceCells * 4];
    uint8_t lower[kPieceCells * 4];
    const uint32_t columns = g.width / 2;
    for (uint64_t row = 0; row < g.height / 2; row += step) {
        uint64_t next = 0;  // the cell that counts next
        for (uint32_t first = 0; first < columns; first += kPieceCells) {
            const uint32_t count = std::min(kPieceCells, columns - first);
            if (next >= uint64_t{first} + count) {
                continue;
            }
            const auto top = static_cast<uint32_t>(2 * row);
            ReadSamples(g, buffer, top, 2 * first, 2 * count, upper);
            ReadSamples(g, buffer, top + 1, 2 * first, 2 * count, lower);
            for (; next < uint64_t{first} + count; next += step) {
                sums.Add(MosaicCell(upper + (next - first) * 4, lower + (next - first) * 4, g.format->phase));
            }
        }
    }
}

void AddColour(const Geometry& g, const uint8_t* buffer, uint32_t step, Sums& sums) {
    uint8_t words[kPieceCells * 6];
    const bool redFirst = g.format->name[0] == 'R';
    for (uint64_t row = 0; row < g.height; row += step) {
        uint64_t next = 0;
        for (uint32_t first = 0; first < g.width; first += kPieceCells) {
            const uint32_t count = std::min(kPieceCells, g.width - first);
            if (next >= uint64_t{first} + count) {
                continue;
            }
            ReadSamples(g, buffer, static_cast<uint32_t>(row), first, count, words);
            for (; next < uint64_t{first} + count; next += step) {
                const uint8_t* pixel = words + (next - first) * 6;
                const uint32_t green = LoadWord(pixel + 2);
                sums.Add({LoadWord(pixel + (redFirst ? 0 : 4)), {green, green}, LoadWord(pixel + (redFirst ? 4 : 0))});
            }
        }
    }
}

void FindGains(VcfBalance& balance) {
    const uint64_t sums[kChannelCount] = {balance.sum[kRed], balance.sum[kGreen] / 2, balance.sum[kBlue]};
    const uint64_t largest = *std::max_element(std::begin(sums), std::end(sums));
    for (uint32_t c = 0; c < kChannelCount; ++c) {
        balance.gain[c] = static_cast<uint32_t>(
            std::min<uint64_t>(uint64_t{16} * VCF_ONE, (largest * VCF_ONE + sums[c] / 2) / sums[c]));
    }
}

}  // namespace

VcfStatus VcfEstimateBalance(const VcfLayout* layout, const void* buffer, size_t length, uint32_t black_level,
                             uint32_t step, VcfBalance* balance, char* text, size_t text_bytes) {
    Geometry g;
    const Text out = {text, text_bytes};
    if (const VcfStatus status = MakeGeometry(layout, g, out); status != VCF_OK) {
        return status;
    }
    if (buffer == nullptr || balance == nullptr) {
        return out.Say(VCF_INVALID_ARGUMENT, "no buffer or no place for the result given (null)");
    }
    if (g.format->kind != VCF_KIND_BAYER && g.format->kind != VCF_KIND_COLOUR) {
        return out.Say(VCF_UNSUPPORTED, "white balance needs a mosaic or packed colour; %s is neither", g.format->name);
    }
    if (g.format->kind == VCF_KIND_BAYER && (g.width < 2 || g.height < 2)) {
        return out.Say(VCF_UNSUPPORTED, "white balance needs a mosaic of at least 2x2 samples");
    }
    if (step == 0) {
        return out.Say(VCF_INVALID_ARGUMENT, "a step of 0");
    }
    if (const VcfStatus status = CheckLength(g, length, out); status != VCF_OK) {
        return status;
    }
    std::memset(balance, 0, sizeof *balance);
    const uint32_t largest = (1u << g.format->depth) - 1;
    Sums sums = {black_level, largest - (largest >> 6), balance};
    if (g.format->kind == VCF_KIND_BAYER) {
        AddMosaic(g, static_cast<const uint8_t*>(buffer), step, sums);
    } else {
        AddColour(g, static_cast<const uint8_t*>(buffer), step, sums);
    }
    if (balance->sum[kRed] == 0 || balance->sum[kGreen] < 2 || balance->sum[kBlue] == 0) {
        std::fill(std::begin(balance->gain), std::end(balance->gain), VCF_ONE);
        return out.Say(VCF_NO_ESTIMATE, "no estimate: %s",
                       balance->used == 0 ? "every sample is clipped" : "a colour has nothing above black");
    }
    FindGains(*balance);
    return out.Ok();
}
