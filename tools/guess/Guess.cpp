// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Guess.h.
#include "Guess.h"

#include <VexaCamFrames.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <tuple>

#include "Geometry.h"
#include "Hypothesis.h"
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
constexpr double kFarBehind = 1.0;               ///< bits per byte after a rough look that no closer look makes up
constexpr size_t kSecondLooks = 8;               ///< of each packing and sites
constexpr size_t kNamedBytes = size_t{4} << 20;  ///< that depth and green sites are read off
constexpr size_t kGeometriesEach = 3;
constexpr size_t kNamedMore = 6;  ///< than asked for: names may be doubted
constexpr double kLeaning = 0.05;
constexpr double kChromaInside = 0.15;  ///< for red, green and blue that look like chroma and luma
constexpr size_t kCut = 18;             ///< hypotheses whose rows are cut into frames
constexpr size_t kClimbed = 10;         ///< whose row length is varied
constexpr size_t kClimb = 12;           ///< bytes

struct Ranked {
    Hypothesis hypothesis;
    Geometry geometry;
    double score;
};

/// A format's name and the unused low bits of its words; `doubt` is added to the score.
struct Name {
    std::string format;
    unsigned shift = 0;
    double doubt = 0;
    std::string evidence;
};

std::string Text(const char* format, double value) {
    char text[96];
    static_cast<void>(std::snprintf(text, sizeof text, format, value));
    return text;
}

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

/// Whether rows a few bytes longer or shorter agree better several rows further on: then the picture leans.
bool Leans(std::span<const uint8_t> bytes, size_t length) {
    constexpr size_t kRowsOn = 8;
    constexpr double kBetter = 0.985;
    if ((length + 3) * kRowsOn * 2 > bytes.size()) {
        return false;
    }
    const double upright = MeanDifference(bytes, kRowsOn * length);
    for (const size_t more : {size_t{1}, size_t{2}, size_t{3}}) {
        if (MeanDifference(bytes, kRowsOn * (length + more)) < kBetter * upright ||
            MeanDifference(bytes, kRowsOn * (length - more)) < kBetter * upright) {
            return true;
        }
    }
    return false;
}

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
    std::map<size_t, bool> leans;
    for (Hypothesis& hypothesis : all) {
        hypothesis.bitsPerByte = BitsPerByte(bytes, hypothesis, kSecondLook);
        const auto [known, isNew] = leans.try_emplace(hypothesis.rowBytes, false);
        if (isNew) {
            known->second = Leans(bytes, hypothesis.rowBytes);
        }
        hypothesis.leans = known->second;
    }
    std::stable_sort(all.begin(), all.end(), Cheaper);
    return all;
}

std::string PackingSuffix(const Hypothesis& hypothesis) {
    switch (hypothesis.packing) {
        case Packing::kBits10:
            return "10p";
        case Packing::kBits12:
            return "12p";
        case Packing::k10Packed:
            return "10Packed";
        case Packing::k12Packed:
            return "12Packed";
        case Packing::kCsi2Raw10:
            return "10CSI2";
        case Packing::kCsi2Raw12:
            return "12CSI2";
        default:
            return "8";
    }
}

/// Depths that words may have, with the evidence: the bits that are ever set decide, the next larger depth stays
/// possible.
std::vector<Name> WordDepths(const Plane& samples) {
    uint32_t set = 0;
    for (size_t r = 0; r < samples.Rows(); ++r) {
        for (size_t c = 0; c < samples.Columns(); ++c) {
            set |= static_cast<uint32_t>(samples.Row(r)[c]);
        }
    }
    const unsigned low = samples.ClearBits();
    const auto top = static_cast<unsigned>(std::bit_width(set)) + low;
    std::vector<Name> depths;
    if (low >= 2 && top > 10) {
        const unsigned depth = 16 - low <= 10 ? 10 : 16 - low <= 12 ? 12 : 14;
        depths.push_back(
            {std::to_string(depth), 16 - depth, 0, "the low " + std::to_string(low) + " bits are never set"});
        depths.push_back({"16", 0, 0.05, ""});
        return depths;
    }
    double doubt = 0;
    for (const unsigned depth : {10u, 12u, 14u, 16u}) {
        if (top <= depth) {
            depths.push_back({std::to_string(depth), 0, doubt, "no sample exceeds " + std::to_string((1u << top) - 1)});
            doubt += doubt == 0 ? 0.03 : 0.3;
        }
    }
    return depths;
}

std::vector<Name> Depths(const Plane& samples, const Hypothesis& hypothesis) {
    if (hypothesis.packing == Packing::kWords) {
        return WordDepths(samples);
    }
    return {{PackingSuffix(hypothesis), 0, 0, ""}};
}

/// Difference of a pair from the means over the whole plane: fine texture makes blocks differ, but to both sides.
double WholeDifference(const Plane& plane, const Pair& pair) {
    int64_t sum = 0;
    const size_t cellRows = plane.Rows() / 2;
    const size_t cellColumns = plane.Columns() / 2;
    for (size_t r = 0; r < cellRows; ++r) {
        for (size_t c = 0; c < cellColumns; ++c) {
            sum += plane.Row(2 * r + pair.row[0])[2 * c + pair.column[0]] -
                   plane.Row(2 * r + pair.row[1])[2 * c + pair.column[1]];
        }
    }
    return std::abs(static_cast<double>(sum)) / static_cast<double>(std::max<size_t>(cellRows * cellColumns, 1));
}

/// By how much the sites from the top left on are brighter than the others.
int64_t DiagonalDifference(const Plane& plane) {
    int64_t sum = 0;
    for (size_t r = 0; r < plane.Rows() / 2 * 2; ++r) {
        for (size_t c = 0; c < plane.Columns() / 2 * 2; ++c) {
            sum += (r + c) % 2 == 0 ? plane.Row(r)[c] : -plane.Row(r)[c];
        }
    }
    return sum;
}

/// `whole` holds all frames, whose largest samples tell the depth.
std::vector<Name> BayerNames(const Plane& samples, const Plane& whole, const Hypothesis& hypothesis) {
    const double fromTopLeft = BlockDifference(samples, kFromTopLeft);
    const double fromTopRight = BlockDifference(samples, kFromTopRight);
    const double left = fromTopLeft + WholeDifference(samples, kFromTopLeft);
    const double right = fromTopRight + WholeDifference(samples, kFromTopRight);
    // Where red and blue differ no more than the greens do, the brighter sites are green: it is what sensors see best.
    constexpr double kAlike = 0.7;
    const bool areAlike = std::min(left, right) > kAlike * std::max(left, right);
    const bool greenFirst = areAlike ? DiagonalDifference(samples) > 0 : left < right;
    const char* likely[] = {greenFirst ? "GR" : "RG", greenFirst ? "GB" : "BG"};
    const char* unlikely[] = {greenFirst ? "RG" : "GR", greenFirst ? "BG" : "GB"};
    const std::string evidence =
        Text("the two green sites differ by %.1f on average", greenFirst ? fromTopLeft : fromTopRight) +
        Text(", the other two by %.1f", greenFirst ? fromTopRight : fromTopLeft);
    std::vector<Name> names;
    for (const Name& depth : Depths(whole, hypothesis)) {
        for (int i = 0; i < 2; ++i) {
            names.push_back({std::string("Bayer") + likely[i] + depth.format, depth.shift, depth.doubt + 0.0001 * i,
                             evidence + (depth.evidence.empty() ? "" : "; " + depth.evidence)});
            names.push_back({std::string("Bayer") + unlikely[i] + depth.format, depth.shift, depth.doubt + 0.4, ""});
        }
    }
    return names;
}

/// 0 for U Y V; more if bytes 0 and 2 of the pixels do not lie around 128 or vary more than byte 1, as chroma does not.
double ChromaDoubt(const Plane& samples) {
    double spread[3] = {};
    double mean[3] = {};
    for (size_t i = 0; i < 3; ++i) {
        double sum = 0;
        double squares = 0;
        size_t count = 0;
        for (size_t r = 0; r < samples.Rows(); ++r) {
            for (size_t c = i; c < samples.Columns(); c += 3) {
                const double sample = samples.Row(r)[c];
                sum += sample;
                squares += sample * sample;
                ++count;
            }
        }
        const auto samplesOfKind = static_cast<double>(std::max<size_t>(count, 1));
        mean[i] = sum / samplesOfKind;
        spread[i] = squares / samplesOfKind - mean[i] * mean[i];
    }
    const bool chroma = std::abs(mean[0] - 128) < 40 && std::abs(mean[2] - 128) < 40 && spread[0] < 0.7 * spread[1] &&
                        spread[2] < 0.7 * spread[1];
    return chroma ? -0.05 : 0.1;
}

/// 0 for chroma; more if the samples at the places of chroma do not lie around 128, as halves of words do not.
double GroupChromaDoubt(const Plane& samples, size_t firstPlace, size_t secondPlace, size_t period) {
    constexpr double kFarOff = 56;
    constexpr double kDoubt = 0.2;
    double sums[2] = {};
    size_t count = 0;
    for (size_t r = 0; r < samples.Rows(); ++r) {
        for (size_t c = 0; c + period <= samples.Columns(); c += period) {
            sums[0] += samples.Row(r)[c + firstPlace];
            sums[1] += samples.Row(r)[c + secondPlace];
            ++count;
        }
    }
    const auto groups = static_cast<double>(std::max<size_t>(count, 1));
    const bool chroma = std::abs(sums[0] / groups - 128) < kFarOff && std::abs(sums[1] / groups - 128) < kFarOff;
    return chroma ? 0 : kDoubt;
}

std::vector<Name> NamesOf(std::span<const uint8_t> bytes, const Ranked& ranked) {
    const Hypothesis& hypothesis = ranked.hypothesis;
    const auto skipped = static_cast<size_t>(std::min<uint64_t>(ranked.geometry.offset, bytes.size()));
    Hypothesis fromFirstRow = hypothesis;
    fromFirstRow.alignment = 0;
    const auto columns = static_cast<size_t>(std::lround(ranked.geometry.width * SamplesPerPixel(hypothesis.sites)));
    // One frame, for the next one may begin with another row of the mosaic.
    const uint64_t frameBytes = uint64_t{ranked.geometry.height} * hypothesis.rowBytes / hypothesis.rows;
    const size_t looked = static_cast<size_t>(std::min<uint64_t>(frameBytes, kNamedBytes));
    const Plane samples = SamplesOf(bytes.subspan(skipped), fromFirstRow, 0, looked).Cropped(columns);
    const bool several = ranked.geometry.frames > 1 && hypothesis.packing == Packing::kWords;
    const Plane whole =
        several ? SamplesOf(bytes.subspan(skipped), fromFirstRow, 0, kNamedBytes).Cropped(columns) : samples;
    switch (hypothesis.sites) {
        case Sites::kMono: {
            std::vector<Name> names = Depths(whole, hypothesis);
            for (Name& name : names) {
                name.format.insert(0, "Mono");
            }
            return names;
        }
        case Sites::kBayer:
            return BayerNames(samples, whole, hypothesis);
        case Sites::kColour: {
            std::vector<Name> names;
            const bool isChroma = hypothesis.packing == Packing::kBytes && ChromaDoubt(samples) < 0;
            for (const Name& depth : Depths(whole, hypothesis)) {
                if (depth.shift == 0 && depth.format != "14" && depth.format != "16") {
                    const double doubt = depth.doubt + (isChroma ? kChromaInside : 0);
                    names.push_back({"RGB" + depth.format, 0, doubt, depth.evidence});
                    names.push_back({"BGR" + depth.format, 0, doubt + 0.0001, depth.evidence});
                }
            }
            return names;
        }
        case Sites::kUyv:
            return {{"YUV8_UYV", 0, ChromaDoubt(samples), ""}};
        case Sites::kUyvy:
            return {{"YUV422_8_UYVY", 0, GroupChromaDoubt(samples, 0, 2, 4), ""}};
        case Sites::kYuyv:
            return {{"YUV422_8", 0, GroupChromaDoubt(samples, 1, 3, 4), ""}};
        case Sites::kUyyvyy:
            return {{"YUV411_8_UYYVYY", 0, GroupChromaDoubt(samples, 0, 3, 6), ""}};
    }
    return {};
}

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

}  // namespace

std::vector<Guess> RankLayouts(std::span<const uint8_t> bytes, uint64_t fileBytes, size_t most) {
    std::vector<Guess> guesses;
    std::vector<Ranked> ranking;
    std::vector<Hypothesis> hypotheses = BestHypotheses(bytes, fileBytes);
    hypotheses.resize(std::min(hypotheses.size(), kCut));
    for (const Hypothesis& hypothesis : hypotheses) {
        for (const Geometry& geometry : GeometriesOf(bytes, fileBytes, hypothesis, kGeometriesEach)) {
            Ranked ranked = {hypothesis, geometry, 0};
            ranked.score = Score(geometry.bits / static_cast<double>(fileBytes),
                                 geometry.penalty + hypothesis.doubt + (hypothesis.leans ? kLeaning : 0));
            ranking.push_back(ranked);
        }
    }
    std::stable_sort(ranking.begin(), ranking.end(),
                     [](const Ranked& a, const Ranked& b) { return a.score < b.score; });
    ranking.resize(std::min(ranking.size(), most + kNamedMore));
    for (const Ranked& ranked : ranking) {
        for (const Name& name : NamesOf(bytes, ranked)) {
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

}  // namespace VexaGuess
