// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FrameSource.h.
#include "input/FrameSource.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "Failure.h"
#include "formats/RwhHeader.h"
#include "input/Sidecar.h"

namespace VexaTool {

namespace {

Failure CannotRead(const std::string& path) {
    return {ExitCode::kInput, "cannot read " + (path == "-" ? "standard input" : path) + ": " + SystemMessage()};
}

int OpenToRead(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        throw CannotRead(path);
    }
    return fd;
}

/// Does not wait for the writer of a FIFO, as a plain open would.
int OpenRegularFile(const std::string& path, struct stat& status) {
    if (path == "-") {
        throw Failure(ExitCode::kUsage, "standard input cannot be used here; name a file");
    }
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0 || fstat(fd, &status) != 0) {  // an open descriptor always has a status
        throw CannotRead(path);
    }
    if (!S_ISREG(status.st_mode)) {
        close(fd);
        throw Failure(ExitCode::kInput, "cannot read " + path + ": " +
                                            (S_ISDIR(status.st_mode) ? SystemMessage(EISDIR) : "not a regular file"));
    }
    return fd;
}

RawShape ShapeOfRwh(const std::string& path, const InputOptions& options) {
    RwhHeader header;
    struct stat status = {};
    close(OpenRegularFile(path, status));  // for the system's own words when it cannot be
    if (LoadRWH(path.c_str(), nullptr, &header.code, &header.width, &header.height, &header.rowBytes) !=
        UTL_STS_SUCCESS) {
        throw Failure(ExitCode::kInput, "cannot read " + path);
    }
    RawShape shape = ShapeOfRwhHeader(header, path);
    shape.shift = options.shift.value_or(0);
    shape.limitedRange = options.range == "limited";
    return shape;
}

RawShape ShapeOfRaw(const std::string& path, const InputOptions& options) {
    RawShape shape;
    if (options.format.empty() || options.size.empty()) {
        const std::optional<RawShape> sidecar = path == "-" ? std::nullopt : ReadSidecar(path);
        if (!sidecar) {
            if (path != "-" && !IsStream(path)) {
                struct stat status = {};
                close(OpenRegularFile(path, status));  // a missing file or a folder is the first thing to say
            }
            throw Failure(ExitCode::kUsage,
                          (path == "-" ? "standard input: give --format and --size"
                                       : path + ": give --format and --size (there is no " + SidecarPath(path) + ")"));
        }
        shape = *sidecar;
    }
    if (!options.format.empty()) {
        shape.format = &FormatNamed(options.format);
    }
    if (!options.size.empty()) {
        ParseSize(options.size, shape.width, shape.height);
    }
    shape.stride = options.stride != 0 ? options.stride : shape.stride;
    shape.offset = options.offset != 0 ? options.offset : shape.offset;
    shape.shift = options.shift.value_or(shape.shift);
    shape.limitedRange = options.range.empty() ? shape.limitedRange : options.range == "limited";
    return shape;
}

}  // namespace

bool IsRwhPath(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".rwh";
}

bool IsStream(const std::string& path) {
    struct stat status = {};
    return path == "-" || (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode));
}

RawShape FindShape(const std::string& path, const InputOptions& options) {
    const RawShape shape = IsRwhPath(path) ? ShapeOfRwh(path, options) : ShapeOfRaw(path, options);
    const ShapeOrigin origin = {options.size.empty() || IsRwhPath(path) ? ExitCode::kInput : ExitCode::kUsage,
                                options.stride == 0 ? ExitCode::kInput : ExitCode::kUsage,
                                options.shift || !options.range.empty() ? ExitCode::kUnsupported : ExitCode::kInput};
    CheckShape(shape, path == "-" ? "standard input" : path, origin);
    return shape;
}

std::vector<std::string> SidecarsRead(const std::string& path, const InputOptions& options) {
    const bool read = path != "-" && !IsRwhPath(path) && (options.format.empty() || options.size.empty());
    return read ? SidecarPaths(path) : std::vector<std::string>();
}

MappedFile::MappedFile(const std::string& path) {
    struct stat status = {};
    const int fd = OpenRegularFile(path, status);
    void* address = nullptr;
    bool failed = false;
    if (status.st_size > 0) {
        address = mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
        failed = address == MAP_FAILED;
    }
    const int error = errno;
    close(fd);
    if (failed) {
        errno = error;
        throw CannotRead(path);
    }
    m_content = {static_cast<const uint8_t*>(address), static_cast<size_t>(status.st_size)};
}

MappedFile::~MappedFile() {
    if (!m_content.empty()) {
        munmap(const_cast<uint8_t*>(m_content.data()), m_content.size());
    }
}

MappedFrames::MappedFrames(std::string path, const InputOptions& options)
    : m_path(std::move(path)), m_shape(FindShape(m_path, options)), m_file(m_path) {
    const size_t bytes = m_file.Content().size();
    const size_t frames = bytes < m_shape.offset ? 0 : (bytes - m_shape.offset) / m_shape.FrameBytes();
    const FrameRange range = options.Range();
    if (range.end > frames && !options.frame) {
        CheckLength(frames);
    }
    if (range.first >= frames) {
        throw Failure(ExitCode::kInput, m_path + ": there is no frame " + std::to_string(range.first) +
                                            "; the file holds " + std::to_string(frames));
    }
    m_first = range.first;
    m_count = std::min<uint64_t>(range.end, frames) - range.first;
}

void MappedFrames::CheckLength(uint64_t frames) {
    const uint64_t bytes = m_file.Content().size();
    if (bytes == 0) {
        throw Failure(ExitCode::kInput, m_path + ": the file is empty");
    }
    const uint64_t wanted = m_shape.offset + frames * m_shape.FrameBytes();
    if (frames == 1 && bytes == wanted) {
        return;
    }
    if (frames == 0 || bytes != wanted || IsRwhPath(m_path)) {
        const std::string offset = m_shape.offset == 0 ? "" : " after " + std::to_string(m_shape.offset) + " bytes";
        throw Failure(ExitCode::kInput, m_path + ": " + std::to_string(bytes) + " bytes are not " +
                                            (IsRwhPath(m_path) ? "the frame" : "a whole number of frames") + " of " +
                                            std::to_string(m_shape.FrameBytes()) + " bytes (" + m_shape.Text() + ")" +
                                            offset);
    }
}

Bytes MappedFrames::Frame(size_t index) const {
    const size_t bytes = m_shape.FrameBytes();
    return m_file.Content().subspan(m_shape.offset + (m_first + index) * bytes, bytes);
}

FrameStream::FrameStream(std::string path, const InputOptions& options)
    : m_path(std::move(path)), m_shape(FindShape(m_path, options)) {
    m_fd = m_path == "-" ? STDIN_FILENO : OpenToRead(m_path);
    SkipOffset();
    std::vector<uint8_t> skipped;
    for (uint64_t frame = 0; frame < options.Range().first && Read(skipped); ++frame) {
    }
}

FrameStream::~FrameStream() {
    if (m_fd != STDIN_FILENO) {
        close(m_fd);
    }
}

size_t FrameStream::ReadUpTo(uint8_t* to, size_t bytes) {
    size_t done = 0;
    while (done < bytes) {
        const ssize_t got = read(m_fd, to + done, bytes - done);
        if (got == 0) {
            break;
        }
        if (got > 0) {
            done += static_cast<size_t>(got);
        } else if (errno != EINTR) {
            throw CannotRead(m_path);
        }
    }
    return done;
}

void FrameStream::SkipOffset() {
    std::vector<uint8_t> block(std::min<uint64_t>(m_shape.offset, uint64_t{1} << 20));
    for (uint64_t left = m_shape.offset; left > 0;) {
        const size_t got = ReadUpTo(block.data(), std::min<uint64_t>(left, block.size()));
        if (got == 0) {
            return;
        }
        left -= got;
    }
}

bool FrameStream::Read(std::vector<uint8_t>& frame) {
    frame.resize(m_shape.FrameBytes());
    const size_t got = ReadUpTo(frame.data(), frame.size());
    if (got == 0) {
        return false;
    }
    if (got < frame.size()) {
        throw Failure(ExitCode::kInput, (m_path == "-" ? "standard input" : m_path) + ": frame " +
                                            std::to_string(m_framesRead) + " is short, " + std::to_string(got) +
                                            " of " + std::to_string(frame.size()) + " bytes (" + m_shape.Text() + ")");
    }
    ++m_framesRead;
    return true;
}

}  // namespace VexaTool
