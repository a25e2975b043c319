// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The list that the files of this folder fill, and the repacking of sources.
#include "competitors/Competitor.h"

namespace Bench {

std::vector<Competitor>& Competitors() {
    static std::vector<Competitor> competitors;
    return competitors;
}

Registration::Registration(std::span<const Competitor> competitors) {
    Competitors().insert(Competitors().end(), competitors.begin(), competitors.end());
}

SharedBytes Repack(const uint8_t* src, size_t groups, size_t groupBytes, std::span<const uint8_t> order) {
    auto packed = std::make_shared<std::vector<uint8_t>>();
    packed->reserve(groups * order.size());
    for (size_t g = 0; g < groups; ++g) {
        for (const uint8_t index : order) {
            packed->push_back(src[g * groupBytes + index]);
        }
    }
    return packed;
}

}  // namespace Bench
