// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Text.h.
#include "Text.h"

#include <cstdint>
#include <cstdio>

namespace VexaTool {

namespace {

struct Character {
    uint32_t code = 0;
    size_t bytes = 0;  ///< 0: not a character of UTF-8
};

/// The first character of a text that is not empty.
Character FirstCharacter(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes) {
        return {};
    }
    uint32_t code = lead & (0x7Fu >> bytes);
    for (size_t i = 1; i < bytes; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return {};
        }
        code = code << 6 | (byte(i) & 0x3Fu);
    }
    static constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kSmallest[bytes] || code > 0x10FFFF || surrogate ? Character{} : Character{code, bytes};
}

/// Control characters, line separators, and the marks that reverse the direction of what follows.
bool Steers(uint32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x200E && code <= 0x200F) ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

std::string HexByte(char byte) {
    char text[8];
    static_cast<void>(std::snprintf(text, sizeof text, "\\x%02X", static_cast<unsigned>(static_cast<uint8_t>(byte))));
    return text;
}

}  // namespace

std::string Printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const Character character = FirstCharacter(text);
        const size_t bytes = character.bytes == 0 ? 1 : character.bytes;
        if (text[0] == '\n' || text[0] == '\t') {
            result += text[0] == '\n' ? "\\n" : "\\t";
        } else if (character.bytes == 0 || Steers(character.code)) {
            for (const char byte : text.substr(0, bytes)) {
                result += HexByte(byte);
            }
        } else {
            result += text.substr(0, bytes);
        }
        text.remove_prefix(bytes);
    }
    return result;
}

std::string JsonString(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const Character character = FirstCharacter(text);
        const size_t bytes = character.bytes == 0 ? 1 : character.bytes;
        if (character.bytes == 0) {
            result += "\\ufffd";  // a byte that is not UTF-8 has no place in JSON
        } else if (text[0] == '"' || text[0] == '\\') {
            result += {'\\', text[0]};
        } else if (Steers(character.code)) {
            char escaped[8];
            static_cast<void>(std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(character.code)));
            result += escaped;
        } else {
            result += text.substr(0, bytes);
        }
        text.remove_prefix(bytes);
    }
    return result + '"';
}

}  // namespace VexaTool
