// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The guesser on frames of known layout. Statistics may err, so what is asked is a share; what no statistic can tell
// (red from blue) counts as right.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "Scenes.h"
#include "guess/Guess.h"

namespace {

using GuessScenes::Bytes;
using VexaGuess::Guess;
using VexaGuess::RankLayouts;

constexpr size_t kMost = 12;

/// Every how many formats are tried: sanitizers make a guess ten times as long.
#if defined(VEXACAMUTL_SANITIZED)
constexpr size_t kFormatStep = 8;
#else
constexpr size_t kFormatStep = 1;
#endif

std::string Text(const Guess& guess) {
    return guess.format + " " + std::to_string(guess.width) + "x" + std::to_string(guess.height) + " stride " +
           std::to_string(guess.stride) + " offset " + std::to_string(guess.offset) + " frames " +
           std::to_string(guess.frames);
}

struct Truth {
    std::string format;
    uint32_t width;
    uint32_t height;
    uint64_t stride = 0;
    uint64_t offset = 0;

    bool IsMetBy(const Guess& guess) const {
        return (guess.format == format || GuessScenes::DifferInRedAndBlue(guess.format, format)) &&
               guess.width == width && guess.height == height && guess.stride == stride && guess.offset == offset;
    }
};

/// The place of the truth in the ranking; kMost if it is not there.
size_t PlaceOf(const Truth& truth, const std::vector<Guess>& guesses) {
    for (size_t i = 0; i < guesses.size(); ++i) {
        if (truth.IsMetBy(guesses[i])) {
            return i;
        }
    }
    return kMost;
}

Bytes WithHeader(size_t bytes, const Bytes& frame) {
    Bytes file(bytes, 0);
    for (size_t i = 0; i < bytes; ++i) {
        file[i] = static_cast<uint8_t>(i < 24 ? "RAW HEADER VERSION 1.0  "[i] : 0);
    }
    file.insert(file.end(), frame.begin(), frame.end());
    return file;
}

TEST(Guess, TheTrueLayoutOfEveryFormatComesFirst) {
    const uint32_t sizes[][2] = {{320, 240}, {404, 302}, {516, 388}, {648, 366}};
    const size_t headers[] = {0, 0, 256, 1024};
    size_t tried = 0;
    size_t first = 0;
    size_t firstThree = 0;
    const std::vector<std::string> formats = GuessScenes::AllFormats();
    for (size_t i = 0; i < formats.size(); i += kFormatStep) {
        const std::string& format = formats[i];
        const auto [width, height] = sizes[tried % 4];
        const Truth truth = {format, width, height, 0, headers[tried / 4 % 4]};
        const Bytes file =
            WithHeader(truth.offset, GuessScenes::Frame(format, width, height, static_cast<uint32_t>(tried)));
        const std::vector<Guess> guesses = RankLayouts(file, file.size(), kMost);
        const size_t place = PlaceOf(truth, guesses);
        ++tried;
        first += place == 0 ? 1 : 0;
        firstThree += place < 3 ? 1 : 0;
        if (place > 0) {
            std::printf("%s %ux%u offset %zu: place %zu, first is %s\n", format.c_str(), width, height,
                        headers[(tried - 1) / 4 % 4], place, guesses.empty() ? "nothing" : Text(guesses[0]).c_str());
        }
    }
    EXPECT_GE(first * 100, tried * 97) << first << " of " << tried;
    EXPECT_GE(firstThree * 100, tried * 98) << firstThree << " of " << tried;
}

TEST(Guess, PaddingThatIsTheSameInEveryRowGivesAStride) {
    const Bytes frame = GuessScenes::Padded(GuessScenes::Frame("BayerRG8", 500, 320, 3), 320, 12, 0);
    const std::vector<Guess> guesses = RankLayouts(frame, frame.size(), kMost);
    EXPECT_LT(PlaceOf({"BayerRG8", 500, 320, 512, 0}, guesses), 3u);
}

TEST(Guess, ValuesInTheHighBitsGiveAShift) {
    Bytes frame = GuessScenes::Frame("Mono12", 400, 300, 4);
    for (size_t i = 0; i < frame.size(); i += 2) {
        const uint32_t word = (frame[i] | uint32_t{frame[i + 1]} << 8) << 4;
        frame[i] = static_cast<uint8_t>(word);
        frame[i + 1] = static_cast<uint8_t>(word >> 8);
    }
    const std::vector<Guess> guesses = RankLayouts(frame, frame.size(), kMost);
    ASSERT_FALSE(guesses.empty());
    EXPECT_EQ(guesses[0].format, "Mono12");
    EXPECT_EQ(guesses[0].shift, 4u);
    EXPECT_EQ(guesses[0].width, 400u);
}

TEST(Guess, FramesOfASequenceAreCounted) {
    Bytes file;
    for (uint32_t i = 0; i < 3; ++i) {
        const Bytes frame = GuessScenes::Frame("BayerGB8", 400, 300, 20 + i);
        file.insert(file.end(), frame.begin(), frame.end());
    }
    const std::vector<Guess> guesses = RankLayouts(file, file.size(), kMost);
    ASSERT_FALSE(guesses.empty());
    EXPECT_EQ(guesses[0].width, 400u) << Text(guesses[0]);
    EXPECT_LT(PlaceOf({"BayerGB8", 400, 300, 0, 0}, guesses), 6u);
}

TEST(Guess, TheBeginningOfAFileIsEnough) {
    const Bytes file = GuessScenes::Frame("BayerRG12p", 800, 600, 5);
    const std::vector<Guess> guesses = RankLayouts(std::span(file).first(file.size() / 2), file.size(), kMost);
    EXPECT_EQ(PlaceOf({"BayerRG12p", 800, 600, 0, 0}, guesses), 0u);
}

TEST(Guess, NoiseIsExplainedByNothing) {
    std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same noise in every run
    Bytes noise(300000);
    for (uint8_t& byte : noise) {
        byte = static_cast<uint8_t>(random());
    }
    for (const Guess& guess : RankLayouts(noise, noise.size(), kMost)) {
        EXPECT_GT(guess.bitsPerByte, VexaGuess::kExplainsNothing) << Text(guess);
    }
}

TEST(Guess, FilesThatShowNothingGetNoAnswer) {
    EXPECT_TRUE(RankLayouts({}, 0, kMost).empty());
    for (const size_t bytes : {1u, 2u, 31u, 63u, 100u}) {
        const Bytes small(bytes, 7);
        EXPECT_TRUE(RankLayouts(small, small.size(), kMost).empty()) << bytes;
    }
    const Bytes same(100000, 7);
    EXPECT_TRUE(RankLayouts(same, same.size(), kMost).empty());
}

TEST(Guess, NoMoreAnswersThanAskedFor) {
    const Bytes frame = GuessScenes::Frame("Mono8", 320, 240, 6);
    EXPECT_EQ(RankLayouts(frame, frame.size(), 1).size(), 1u);
    EXPECT_LE(RankLayouts(frame, frame.size(), 3).size(), 3u);
}

TEST(Guess, RealFrames) {
    const std::filesystem::path folder = VEXACAMUTL_FRAMES_DIR;
    if (folder.empty()) {
        GTEST_SKIP() << "no folder of real frames: VEXACAMUTL_FRAMES_DIR";
    }
    size_t tried = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".raw") {
            continue;
        }
        // name_FORMAT_WIDTHxHEIGHT
        const std::string stem = entry.path().stem();
        const size_t size = stem.rfind('_');
        const size_t format = stem.find('_');
        const size_t x = stem.find('x', size);
        const Truth truth = {stem.substr(format + 1, size - format - 1),
                             static_cast<uint32_t>(std::stoul(stem.substr(size + 1))),
                             static_cast<uint32_t>(std::stoul(stem.substr(x + 1)))};
        std::ifstream file(entry.path(), std::ios::binary);
        const Bytes bytes((std::istreambuf_iterator<char>(file)), {});
        const std::vector<Guess> guesses = RankLayouts(bytes, bytes.size(), kMost);
        ASSERT_FALSE(guesses.empty()) << stem;
        EXPECT_EQ(PlaceOf(truth, guesses), 0u) << stem << ": " << Text(guesses[0]);
        ++tried;
    }
    EXPECT_GT(tried, 0u);
}

}  // namespace
