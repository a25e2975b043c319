// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Where raw frames come from.
//
//     regular file    mapped into memory; one frame or a sequence, each reachable by its number
//     RWH file        the same, its shape from its own header
//     "-", a FIFO     read frame by frame until the end
//
// A length that is not a whole number of frames is an error, never a silent rest.
#pragma once

#include <optional>
#include <vector>

#include "formats/Bytes.h"
#include "formats/RawShape.h"

namespace CLI {
class App;
}

namespace VexaTool {

/// Frames of a sequence, from `first` to the one before `end`.
struct FrameRange {
    uint64_t first = 0;
    uint64_t end = UINT64_MAX;
    uint64_t Count() const { return end - first; }
};

/// "A:B", "A:", ":B", ":" or "N"; a Failure for anything else and for a range without frames.
FrameRange ParseFrameRange(const std::string& text);

/// What the command line says about raw inputs.
struct InputOptions {
    std::string format;
    std::string size;
    uint64_t stride = 0;
    uint64_t offset = 0;
    std::optional<uint32_t> shift;
    std::string range;                 ///< "limited" for YUV that does not use 0 to 255
    std::optional<uint64_t> frame;     ///< only this one of a sequence
    std::optional<FrameRange> frames;  ///< only these

    void AddTo(CLI::App& command);

    /// --frames, for verbs that take many frames; after AddTo.
    void AddFramesTo(CLI::App& command);

    FrameRange Range() const { return frame ? FrameRange{*frame, *frame + 1} : frames.value_or(FrameRange()); }
};

bool IsRwhPath(const std::string& path);

/// The shape of the frames in a file: an RWH header, else the command line, else a sidecar.
RawShape FindShape(const std::string& path, const InputOptions& options);

/// The texts that FindShape reads for this input.
std::vector<std::string> SidecarsRead(const std::string& path, const InputOptions& options);

/// True for "-" and for what is neither a regular file nor a folder.
bool IsStream(const std::string& path);

/// A regular file in memory, read-only. A Failure for anything else.
class MappedFile {
  public:
    explicit MappedFile(const std::string& path);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    Bytes Content() const { return m_content; }

  private:
    Bytes m_content;
};

class MappedFrames {
  public:
    MappedFrames(std::string path, const InputOptions& options);

    const RawShape& Shape() const { return m_shape; }
    const std::string& Path() const { return m_path; }
    size_t Count() const { return m_count; }
    Bytes Frame(size_t index) const;

  private:
    void CheckLength(uint64_t frames);

    std::string m_path;
    RawShape m_shape;
    MappedFile m_file;
    size_t m_first = 0;
    size_t m_count = 0;
};

class FrameStream {
  public:
    FrameStream(std::string path, const InputOptions& options);
    ~FrameStream();
    FrameStream(const FrameStream&) = delete;
    FrameStream& operator=(const FrameStream&) = delete;

    const RawShape& Shape() const { return m_shape; }

    /// The next frame; false at the end of the stream, a Failure when it ends within a frame.
    bool Read(std::vector<uint8_t>& frame);

  private:
    size_t ReadUpTo(uint8_t* to, size_t bytes);
    void SkipOffset();

    std::string m_path;
    RawShape m_shape;
    int m_fd = -1;
    uint64_t m_framesRead = 0;
};

}  // namespace VexaTool
