// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Search.h.
#include "Search.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <set>

#include "Geometry.h"
#include "Periods.h"

namespace VexaGuess {

namespace {

constexpr size_t kCorrelatedBytes = size_t{1} << 18;
constexpr size_t kShortestRow = 32;
constexpr size_t kLags = 12;
constexpr size_t kSureLags = 5;
constexpr size_t kRowLengths = 20;
constexpr size_t kRelatedLengths = 5;  ///< whose fractions and multiples are tried
constexpr size_t kComparedBytes = size_t{256} << 10;
constexpr Look kFirstLook = {3, size_t{12} << 10, Measure::kRough};
constexpr Look kSecondLook = {5, size_t{32} << 10, Measure::kEntropy};
constexpr double kFarBehind = 1.0;  ///< bits per byte after a rough look that no closer look makes up
constexpr size_t kSecondLooks = 8;  ///< of each packing and sites
constexpr size_t kClimbed = 10;     ///< whose row length is varied
constexpr size_t kClimb = 12;       ///< bytes

/// Mean difference of bytes that lie `distance` apart.
double MeanDifference(std::span<const uint8_t> bytes, size_t distance) {
    const size_t compared = std::min(bytes.size() - distance, kComparedBytes);
    const size_t start = (bytes.size() - distance - compared) / 2;
    uint64_t sum = 0;
    for (size_t i = start; i < start + compared; ++i) {
        sum += static_cast<uint64_t>(std::abs(bytes[i] - bytes[i + distance]));
    }
    return static_cast<double>(sum) / static_cast<double>(compared);
}

/// The most prominent lags of all bytes and of every second one; the surest come first.
std::vector<size_t> Lags(std::span<const uint8_t> bytes) {
    const size_t used = std::min(bytes.size(), kCorrelatedBytes);
    const Correlations correlations = Autocorrelations(bytes.subspan((bytes.size() - used) / 2, used));
    std::vector<size_t> lags;
    const auto add = [&lags](const Correlation& correlation, size_t bytesEach, size_t count) {
        for (const size_t lag : ProminentLags(correlation, kShortestRow / bytesEach, count)) {
            lags.push_back(bytesEach * SharpenedLag(correlation, lag));
            lags.push_back(bytesEach * lag);
        }
    };
    add(correlations.even, 2, kSureLags);
    add(correlations.odd, 2, kSureLags);
    add(correlations.all, 1, kLags);
    std::set<size_t> seen;
    std::erase_if(lags, [&seen](size_t lag) { return !seen.insert(lag).second; });
    return lags;
}

/// Row lengths of usual widths that divide the file, but for a usual header.
std::vector<size_t> UsualLengths(uint64_t fileBytes) {
    std::set<size_t> lengths;
    for (const size_t width : {320u, 512u, 640u, 648u, 720u, 752u, 800u, 808u, 960u, 1024u, 1280u, 1440u, 1600u, 1920u,
                               2048u, 2448u, 2592u, 3840u, 4096u}) {
        for (const size_t eighths : {8u, 10u, 12u, 16u, 24u, 48u}) {
            const size_t length = width * eighths / 8;
            for (const uint64_t header : {0u, 64u, 128u, 256u, 512u, 1024u, 2048u, 4096u}) {
                if (fileBytes > header && (fileBytes - header) % length == 0) {
                    lengths.insert(length);
                }
            }
        }
    }
    return {lengths.begin(), lengths.end()};
}

/// Prominent lags and simple fractions and multiples of them; of these the ones at which bytes resemble those one or
/// two rows further on, and the most prominent lags in any case.
std::vector<size_t> RowLengths(std::span<const uint8_t> bytes, const std::vector<size_t>& lags) {
    std::set<size_t> lengths;
    for (const size_t lag : lags) {
        for (const size_t length : {lag, lag * 2, lag * 3, lag / 2, lag / 3, lag / 4, lag / 5, lag / 6, lag / 8}) {
            if (length >= kShortestRow / 2 && length * 4 <= bytes.size()) {
                lengths.insert(length);
            }
        }
    }
    std::vector<std::pair<double, size_t>> byDifference;
    byDifference.reserve(lengths.size());
    for (const size_t length : lengths) {
        byDifference.emplace_back(std::min(MeanDifference(bytes, length), MeanDifference(bytes, 2 * length)), length);
    }
    std::sort(byDifference.begin(), byDifference.end());
    byDifference.resize(std::min(byDifference.size(), kRowLengths));
    std::set<size_t> best;
    for (const auto& [difference, length] : byDifference) {
        best.insert(length);
    }
    for (size_t i = 0; i < std::min(lags.size(), 3 * kSureLags); ++i) {
        best.insert(lags[i]);
        best.insert(lags[i] / 2);
    }
    return {best.begin(), best.end()};
}

bool Cheaper(const Hypothesis& a, const Hypothesis& b) {
    return Score(a.bitsPerByte, a.doubt) < Score(b.bitsPerByte, b.doubt);
}

/// Penalty for rows so long that even one frame of them is a strip, or so short that all frames are tiny.
double StripDoubt(const Hypothesis& hypothesis, uint64_t fileBytes) {
    constexpr double kWidest = 3;
    constexpr double kPerOctave = 0.25;
    constexpr double kNarrow = 64;
    const auto width = static_cast<double>(RowPixels(hypothesis));
    const double rows = static_cast<double>(fileBytes) / static_cast<double>(hypothesis.rowBytes) *
                        static_cast<double>(hypothesis.rows);
    const double wide = std::max(std::log2(width / rows / kWidest), 0.0);
    const double narrow = std::max(std::min(std::log2(kNarrow / width), std::log2(rows / width / 4)), 0.0);
    return kPerOctave * (wide + narrow);
}

/// The hypotheses for some row lengths after a rough look, the cheapest first; only lengths that were not tried yet.
void LookAt(std::span<const uint8_t> bytes, uint64_t fileBytes, const std::vector<size_t>& lengths,
            std::set<size_t>& tried, std::vector<Hypothesis>& all) {
    for (const size_t length : lengths) {
        if (length < kShortestRow || length * 4 > bytes.size() || !tried.insert(length).second) {
            continue;
        }
        for (Hypothesis& hypothesis : HypothesesFor(length, fileBytes)) {
            hypothesis.bitsPerByte = BitsPerByte(bytes, hypothesis, kFirstLook);
            hypothesis.doubt = StripDoubt(hypothesis, fileBytes);
            all.push_back(hypothesis);
        }
    }
    std::stable_sort(all.begin(), all.end(), Cheaper);
}

/// Simple fractions and multiples of the cheapest row lengths: a row and two halves of it look much alike to a
/// correlation.
std::vector<size_t> RelatedLengths(const std::vector<Hypothesis>& all) {
    std::vector<size_t> related;
    std::set<size_t> lengths;
    for (const Hypothesis& hypothesis : all) {
        if (lengths.size() == kRelatedLengths) {
            break;
        }
        const size_t length = hypothesis.rowBytes;
        if (lengths.insert(length).second) {
            for (const size_t times : {1u, 2u, 3u, 4u, 6u, 8u, 12u}) {
                if (length * times % 6 == 0 || times >= 6) {
                    related.push_back(length * times / 6);
                }
            }
            related.insert(related.end(), {length / 2, length / 3, length / 4});
        }
    }
    return related;
}

/// Lengths near those of the cheapest hypotheses that are cheaper still.
std::vector<size_t> ClimbedLengths(std::span<const uint8_t> bytes, uint64_t fileBytes,
                                   const std::vector<Hypothesis>& all) {
    std::vector<size_t> better;
    std::set<size_t> lengths;
    for (const Hypothesis& from : all) {
        if (lengths.size() == kClimbed) {
            break;
        }
        if (!lengths.insert(from.rowBytes).second) {
            continue;
        }
        double least = from.bitsPerByte;
        size_t best = from.rowBytes;
        for (size_t length = from.rowBytes - kClimb; length <= from.rowBytes + kClimb; ++length) {
            if (length < kShortestRow || length * 4 > bytes.size() || length == from.rowBytes) {
                continue;
            }
            for (Hypothesis& near : HypothesesFor(length, fileBytes)) {
                if (near.packing == from.packing && near.sites == from.sites && near.rows == from.rows &&
                    near.alignment % 2 == from.alignment % 2) {
                    const double bits = BitsPerByte(bytes, near, kFirstLook);
                    if (bits < least) {
                        least = bits;
                        best = length;
                    }
                    break;
                }
            }
        }
        if (best != from.rowBytes) {
            better.push_back(best);
        }
    }
    return better;
}

}  // namespace

std::vector<Hypothesis> BestHypotheses(std::span<const uint8_t> bytes, uint64_t fileBytes) {
    std::vector<Hypothesis> all;
    std::set<size_t> tried;
    const std::vector<size_t> lags = Lags(bytes);
    if (lags.empty()) {
        return all;
    }
    LookAt(bytes, fileBytes, RowLengths(bytes, lags), tried, all);
    LookAt(bytes, fileBytes, UsualLengths(fileBytes), tried, all);
    LookAt(bytes, fileBytes, RelatedLengths(all), tried, all);
    for (int round = 0; round < 2; ++round) {
        LookAt(bytes, fileBytes, ClimbedLengths(bytes, fileBytes, all), tried, all);
        LookAt(bytes, fileBytes, RelatedLengths(all), tried, all);
    }
    const double most = (all.empty() ? 0 : Score(all.front().bitsPerByte, all.front().doubt)) + kFarBehind;
    std::map<std::pair<Packing, Sites>, size_t> looks;
    std::erase_if(all, [&](const Hypothesis& hypothesis) {
        return Score(hypothesis.bitsPerByte, hypothesis.doubt) > most ||
               looks[{hypothesis.packing, hypothesis.sites}]++ >= kSecondLooks;
    });
    for (Hypothesis& hypothesis : all) {
        hypothesis.bitsPerByte = BitsPerByte(bytes, hypothesis, kSecondLook);
    }
    std::stable_sort(all.begin(), all.end(), Cheaper);
    return all;
}

}  // namespace VexaGuess
