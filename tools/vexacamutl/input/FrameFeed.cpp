// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FrameFeed.h.
#include "input/FrameFeed.h"

#include "Failure.h"

namespace VexaTool {

FrameFeed::FrameFeed(const std::string& path, const InputOptions& options)
    : m_path(path), m_most(options.Range().Count()) {
    if (IsStream(path)) {
        m_stream = std::make_unique<FrameStream>(path, options);
    } else {
        m_mapped = std::make_unique<MappedFrames>(path, options);
    }
}

const RawShape& FrameFeed::Shape() const {
    return m_mapped ? m_mapped->Shape() : m_stream->Shape();
}

std::optional<uint64_t> FrameFeed::Count() const {
    return m_mapped ? std::optional<uint64_t>(m_mapped->Count()) : std::nullopt;
}

bool FrameFeed::Next(Bytes& frame, std::vector<uint8_t>& buffer) {
    if (m_mapped) {
        if (m_given == m_mapped->Count()) {
            return false;
        }
        frame = m_mapped->Frame(m_given++);
        return true;
    }
    if (m_given == m_most || !m_stream->Read(buffer)) {
        if (m_given == 0) {
            throw Failure(ExitCode::kInput, (m_path == "-" ? "standard input" : m_path) + ": there is no frame");
        }
        return false;
    }
    ++m_given;
    frame = buffer;
    return true;
}

}  // namespace VexaTool
