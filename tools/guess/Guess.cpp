// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Guess.h.
#include "Guess.h"

#include <VexaCamFrames.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "Geometry.h"
#include "Hypothesis.h"
#include "Names.h"
#include "Search.h"

namespace VexaGuess {

namespace {

constexpr size_t kGeometriesEach = 3;
constexpr size_t kNamedMore = 6;  ///< than asked for: names may be doubted
constexpr size_t kCut = 18;       ///< hypotheses whose rows are cut into frames

struct Ranked {
    Hypothesis hypothesis;
    Geometry geometry;
    double score;
};

/// 0 for a stride that says no more than the row's length does.
uint64_t StrideOf(const Name& name, const Geometry& geometry) {
    VcfLayout layout;
    VcfInitLayout(&layout, VcfFormatNamed(name.format.c_str()), geometry.width, geometry.height);
    const uint64_t tight = VcfFrameBytes(&layout);
    layout.stride = geometry.stride;
    return VcfFrameBytes(&layout) == tight ? 0 : geometry.stride;
}

std::vector<std::string> Evidence(const Ranked& ranked, const Name& name, uint64_t fileBytes) {
    const Geometry& geometry = ranked.geometry;
    std::vector<std::string> evidence = {
        "rows of " + std::to_string(ranked.hypothesis.rowBytes) + " bytes",
        Text("%.2f bits per byte when neighbours predict each sample", ranked.hypothesis.bitsPerByte)};
    if (geometry.rest == 0) {
        evidence.push_back("length of " + std::to_string(fileBytes) +
                           " bytes: " + (geometry.offset > 0 ? std::to_string(geometry.offset) + " and " : "") +
                           std::to_string(geometry.frames) + (geometry.frames == 1 ? " frame" : " frames"));
    }
    if (!name.evidence.empty()) {
        evidence.push_back(name.evidence);
    }
    return evidence;
}

std::vector<Guess> RankFrom(std::span<const uint8_t> bytes, uint64_t fileBytes, size_t most) {
    std::vector<Guess> guesses;
    std::vector<Ranked> ranking;
    std::vector<Hypothesis> hypotheses = BestHypotheses(bytes, fileBytes);
    hypotheses.resize(std::min(hypotheses.size(), kCut));
    for (const Hypothesis& hypothesis : hypotheses) {
        for (const Geometry& geometry : GeometriesOf(bytes, fileBytes, hypothesis, kGeometriesEach)) {
            Ranked ranked = {hypothesis, geometry, 0};
            ranked.score = Score(geometry.bits / static_cast<double>(fileBytes), geometry.penalty + hypothesis.doubt);
            ranking.push_back(ranked);
        }
    }
    std::stable_sort(ranking.begin(), ranking.end(),
                     [](const Ranked& a, const Ranked& b) { return a.score < b.score; });
    ranking.resize(std::min(ranking.size(), most + kNamedMore));
    for (const Ranked& ranked : ranking) {
        for (const Name& name : NamesOf(bytes, ranked.hypothesis, ranked.geometry)) {
            const Geometry& geometry = ranked.geometry;
            guesses.push_back({name.format, geometry.width, geometry.height, StrideOf(name, geometry), geometry.offset,
                               name.shift, geometry.frames, geometry.rest, ranked.hypothesis.bitsPerByte,
                               ranked.score + name.doubt * ranked.hypothesis.bitsPerByte / kUsualBits,
                               Evidence(ranked, name, fileBytes)});
        }
    }
    std::stable_sort(guesses.begin(), guesses.end(), [](const Guess& a, const Guess& b) { return a.score < b.score; });
    std::set<std::tuple<std::string, uint32_t, uint32_t, uint64_t, uint64_t>> seen;
    std::erase_if(guesses, [&](const Guess& guess) {
        return !seen.emplace(guess.format, guess.width, guess.height, guess.stride, guess.offset).second;
    });
    guesses.resize(std::min(guesses.size(), most));
    return guesses;
}

bool ExplainsNothing(const std::vector<Guess>& guesses) {
    return guesses.empty() || guesses.front().bitsPerByte > kExplainsNothing;
}

}  // namespace

std::vector<Guess> RankLayouts(std::span<const uint8_t> bytes, uint64_t fileBytes, size_t most) {
    constexpr size_t kShare = 4;
    constexpr size_t kFewestBytes = size_t{16} << 10;
    std::vector<Guess> guesses = RankFrom(bytes, fileBytes, most);
    // Frames whose last byte is not full: samples of each lie at other places in their groups. One frame is enough.
    if (ExplainsNothing(guesses) && bytes.size() / kShare >= kFewestBytes) {
        std::vector<Guess> ofFirst = RankFrom(bytes.first(bytes.size() / kShare), fileBytes, most);
        if (!ExplainsNothing(ofFirst)) {
            return ofFirst;
        }
    }
    return guesses;
}

}  // namespace VexaGuess
