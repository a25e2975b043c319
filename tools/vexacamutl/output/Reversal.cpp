// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Reversal.h.
#include "output/Reversal.h"

#include "Failure.h"

namespace VexaTool {

namespace {

/// Exchanging the columns of a mosaic's 2 x 2 cell exchanges the letters of its first row, GR <-> RG; exchanging its
/// rows brings the other row up, and that is GR <-> BG.
struct Exchange {
    std::string_view phase, mirrored, flipped;
};

constexpr Exchange kExchanges[] = {{"GR", "RG", "BG"}, {"RG", "GR", "GB"}, {"GB", "BG", "RG"}, {"BG", "GB", "GR"}};

void ExchangePhase(std::string& name, std::string_view Exchange::*by) {
    static constexpr size_t kPhaseAt = 5;  // behind "Bayer"
    for (const Exchange& exchange : kExchanges) {
        if (name.substr(kPhaseAt, 2) == exchange.phase) {
            name.replace(kPhaseAt, 2, exchange.*by);
            return;
        }
    }
}

const FormatInfo& PhaseAfter(const RawShape& shape, bool mirror, bool flip) {
    if (shape.format->kind != Kind::kBayer) {
        return *shape.format;
    }
    std::string name(shape.format->name);
    // With an odd number of columns (or rows) the last one has the first one's colours.
    if (mirror && shape.width % 2 == 0) {
        ExchangePhase(name, &Exchange::mirrored);
    }
    if (flip && shape.height % 2 == 0) {
        ExchangePhase(name, &Exchange::flipped);
    }
    return FormatNamed(name);
}

}  // namespace

RawShape Reversal::ShapeAfter(const RawShape& tight) const {
    if (!wanted) {
        return tight;
    }
    const uint32_t group = tight.format->groupPixels;
    if (tight.width % group != 0) {
        throw Failure(ExitCode::kUnsupported, "the width of " + tight.Text() + " is not a multiple of the " +
                                                  std::to_string(group) + " pixels that share their chroma");
    }
    RawShape after = tight;
    after.format = &PhaseAfter(tight, mirror, flip);
    return after;
}

void Reversal::Apply(const RawShape& shape, Bytes tight, std::vector<uint8_t>& to) const {
    to.resize(tight.size());
    const UtlStatus status = ReverseImg(to.data(), tight.data(), shape.format->code, shape.width, shape.height,
                                        mirror ? 1 : 0, flip ? 1 : 0);
    if (status != UTL_STS_SUCCESS) {
        throw Failure(ExitCode::kUnsupported, "frames of " + std::string(shape.format->name) + " cannot be reversed");
    }
}

}  // namespace VexaTool
