// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Sentences for people, written into the caller's room.
#pragma once

#include <cstddef>

namespace VexaFrames {

/// Where a function's text goes; null and 0 are allowed.
struct Text {
    char* to;
    size_t bytes;

    /// As printf; always ended by a 0 byte. Returns the status, for `return text.Say(VCF_..., ...)`.
    [[gnu::format(printf, 3, 4)]] unsigned Say(unsigned status, const char* format, ...) const;
    /// The empty text and VCF_OK.
    unsigned Ok() const;
};

}  // namespace VexaFrames
