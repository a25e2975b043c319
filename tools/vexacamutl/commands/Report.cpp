// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Report.h.
#include "commands/Report.h"

#include <isa-l/crc.h>

#include <algorithm>
#include <cstdio>
#include <new>
#include <tuple>

#include "Text.h"

namespace VexaTool {

namespace {

const char* NameOf(Outcome outcome) {
    return outcome == Outcome::kDone ? "done" : outcome == Outcome::kSkipped ? "skipped" : "failed";
}

std::string TextOrNull(const std::string& text) {
    return text.empty() ? "null" : JsonString(text);
}

std::string HexWord(uint32_t word) {
    char text[12];
    static_cast<void>(std::snprintf(text, sizeof text, "\"%08x\"", word));
    return text;
}

std::string Seconds(double seconds) {
    char text[40];
    static_cast<void>(std::snprintf(text, sizeof text, "%.6f", seconds));
    return text;
}

std::string JsonOf(const ReportLine& line) {
    const bool done = line.outcome == Outcome::kDone;
    return "{\"input\": " + JsonString(line.input) +
           ", \"frame\": " + (line.frame ? std::to_string(*line.frame) : "null") +
           ", \"output\": " + TextOrNull(line.output) + ", \"status\": \"" + NameOf(line.outcome) +
           "\", \"reason\": " + TextOrNull(line.reason) +
           ", \"bytes\": " + (done ? std::to_string(line.bytes) : "null") +
           ", \"crc32\": " + (done ? HexWord(line.crc32) : "null") +
           ", \"seconds\": " + (done ? Seconds(line.seconds) : "null") + "}\n";
}

}  // namespace

void Report::Open() {
    if (!m_options.report.empty()) {
        m_file = std::make_unique<OutputFile>(m_options.report,
                                              WriteRules{m_options.existing != Existing::kRefuse, m_options.sync});
    }
}

void Report::Add(const ReportLine& line) {
    if (!m_options.report.empty()) {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
    }
}

uint32_t Report::Checksum(Bytes bytes) const {
    // gzip's polynomial; the function takes lengths of 63 bits.
    return m_options.report.empty() ? 0 : crc32_gzip_refl(0, bytes.data(), bytes.size());
}

void Report::GiveUp(const std::string& reason) {
    for (ReportLine& line : m_lines) {
        if (line.outcome == Outcome::kDone) {
            line.outcome = Outcome::kFailed;
            line.reason = reason;
        }
    }
}

void Report::Write() {
    if (!m_file) {
        return;
    }
    std::stable_sort(m_lines.begin(), m_lines.end(), [](const ReportLine& a, const ReportLine& b) {
        return std::tie(a.order, a.frame) < std::tie(b.order, b.frame);
    });
    std::string text;
    for (const ReportLine& line : m_lines) {
        text += JsonOf(line);
    }
    m_file->Write({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    m_file->Commit();
}

std::string ReasonOf(const std::exception& error) {
    return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? "out of memory" : error.what();
}

}  // namespace VexaTool
