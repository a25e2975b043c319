// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FrameFeed.h.
#include "input/FrameFeed.h"

#include "Failure.h"

namespace VexaTool {

FrameFeed::FrameFeed(const std::string& path, const InputOptions& options)
    : path_(path), most_(options.Range().Count()) {
    if (IsStream(path)) {
        stream_ = std::make_unique<FrameStream>(path, options);
    } else {
        mapped_ = std::make_unique<MappedFrames>(path, options);
    }
}

const RawShape& FrameFeed::Shape() const {
    return mapped_ ? mapped_->Shape() : stream_->Shape();
}

std::optional<uint64_t> FrameFeed::Count() const {
    return mapped_ ? std::optional<uint64_t>(mapped_->Count()) : std::nullopt;
}

bool FrameFeed::Next(Bytes& frame, std::vector<uint8_t>& buffer) {
    if (mapped_) {
        if (given_ == mapped_->Count()) {
            return false;
        }
        frame = mapped_->Frame(given_++);
        return true;
    }
    if (given_ == most_ || !stream_->Read(buffer)) {
        if (given_ == 0) {
            throw Failure(ExitCode::kInput, (path_ == "-" ? "standard input" : path_) + ": there is no frame");
        }
        return false;
    }
    ++given_;
    frame = buffer;
    return true;
}

}  // namespace VexaTool
