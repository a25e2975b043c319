// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See GuessJson.h.
#include "commands/GuessJson.h"

#include <cstdio>

#include "Text.h"

namespace VexaTool {

namespace {

std::string Rounded(double value) {
    char text[32];
    static_cast<void>(std::snprintf(text, sizeof text, "%.4f", value));
    return text;
}

std::string JsonOf(const VexaGuess::Guess& guess) {
    const auto number = [](uint64_t value) { return std::to_string(value); };
    std::string text = "{\"format\": " + JsonString(guess.format) + ", \"width\": " + number(guess.width) +
                       ", \"height\": " + number(guess.height) + ", \"stride\": " + number(guess.stride) +
                       ", \"offset\": " + number(guess.offset) + ", \"shift\": " + number(guess.shift) +
                       ", \"frames\": " + number(guess.frames) + ", \"rest\": " + number(guess.rest) +
                       ", \"bitsPerByte\": " + Rounded(guess.bitsPerByte) + ", \"score\": " + Rounded(guess.score) +
                       ", \"evidence\": [";
    for (size_t i = 0; i < guess.evidence.size(); ++i) {
        text += (i > 0 ? ", " : "") + JsonString(guess.evidence[i]);
    }
    return text + "]}";
}

}  // namespace

std::string JsonOf(std::span<const VexaGuess::Guess> guesses) {
    std::string text = "[";
    for (size_t i = 0; i < guesses.size(); ++i) {
        text += (i > 0 ? ",\n  " : "\n  ") + JsonOf(guesses[i]);
    }
    return text + "\n]";
}

}  // namespace VexaTool
