// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See PictureWriter.h.
#include "output/PictureWriter.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>

#include "Failure.h"
#include "output/Cleanup.h"
#include "output/Destination.h"
#include "output/Jpeg.h"
#include "output/Png.h"
#include "output/Tiff.h"

namespace VexaTool {

namespace {

struct OutputKindName {
    const char* name;
    OutputKind kind;
};

/// The first name of a kind is the extension that results in a folder get.
constexpr OutputKindName kKinds[] = {
    {"png", OutputKind::kPng},   {"tif", OutputKind::kTif},   {"tiff", OutputKind::kTif}, {"jpg", OutputKind::kJpg},
    {"jpeg", OutputKind::kJpg},  {"ppm", OutputKind::kPpm},   {"pgm", OutputKind::kPgm},  {"bmp", OutputKind::kBmp},
    {"vbmp", OutputKind::kVbmp}, {"bgra", OutputKind::kBgra}, {"bgr", OutputKind::kBgr},  {"rwh", OutputKind::kRwh},
    {"raw", OutputKind::kRaw},
};

/// A file that the library's functions can open by its path: in memory, or without /proc, where such a file has no
/// path, in the folder for temporary files.
class ScratchFile {
  public:
    ScratchFile() {
        if (DescriptorsHaveNames()) {
            m_fd = memfd_create("vexacamutl", MFD_CLOEXEC);
            m_path = "/proc/self/fd/" + std::to_string(m_fd);
        } else {
            std::error_code error;
            m_temporary = (std::filesystem::temp_directory_path(error) / "vexacamutl-XXXXXX").string();
            const auto lock = LockNames();
            m_fd = mkostemp(m_temporary.data(), O_CLOEXEC);
            RememberUnfinished(m_temporary, lock);
            m_path = m_temporary;
        }
        if (m_fd < 0) {
            throw Failure(ExitCode::kOutput, "cannot make a temporary file: " + SystemMessage());
        }
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile() {
        close(m_fd);
        if (!m_temporary.empty()) {
            const auto lock = LockNames();
            unlink(m_temporary.c_str());
            ForgetUnfinished(m_temporary, lock);
        }
    }

    int Descriptor() const { return m_fd; }
    const std::string& Path() const { return m_path; }

  private:
    int m_fd = -1;
    std::string m_path;
    std::string m_temporary;
};

/// The bytes of a file that one of the library's functions writes. The library does not report a write that fails,
/// so the length is compared with the one that the file has to have.
std::vector<uint8_t> BytesWrittenBy(const std::function<UtlStatus(const char*)>& save, size_t expected) {
    const ScratchFile file;
    std::vector<uint8_t> bytes(expected);
    struct stat status = {};
    const bool good = save(file.Path().c_str()) == UTL_STS_SUCCESS && fstat(file.Descriptor(), &status) == 0 &&
                      static_cast<size_t>(status.st_size) == expected;
    size_t done = 0;
    while (good && done < expected) {
        const ssize_t got = pread(file.Descriptor(), bytes.data() + done, expected - done, static_cast<off_t>(done));
        if (got <= 0) {
            break;
        }
        done += static_cast<size_t>(got);
    }
    if (!good || done < expected) {
        throw Failure(ExitCode::kOutput, "cannot build the file in memory");
    }
    return bytes;
}

std::vector<uint8_t> EncodeVbmp(const Picture& picture) {
    static constexpr size_t kHeaders = 102;
    static constexpr size_t kPalette = 1024;
    const auto save = picture.channels == 1 ? SaveBmpMono : picture.channels == 3 ? SaveBmpRGB : SaveBmpARGB;
    const size_t rowBytes = (picture.RowBytes() + 3) / 4 * 4;
    return BytesWrittenBy(
        [&](const char* path) { return save(picture.bytes.data(), picture.width, picture.height, path); },
        kHeaders + (picture.channels == 1 ? kPalette : 0) + rowBytes * picture.height);
}

class Appender {
  public:
    explicit Appender(std::vector<uint8_t>& bytes) : m_bytes(bytes) {}
    void Number(uint64_t value, int size) {
        for (int i = 0; i < size; ++i) {
            m_bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
        }
    }

  private:
    std::vector<uint8_t>& m_bytes;
};

/// BITMAPFILEHEADER (14 bytes), BITMAPINFOHEADER (40), palette of grey files, rows from the bottom padded to 4 bytes.
void EncodeBmp(const Picture& picture, std::vector<uint8_t>& bytes) {
    static constexpr uint32_t kHeaders = 14 + 40;
    static constexpr uint32_t kPixelsPerMetre = 2835;  // 72 dpi
    const uint32_t colours = picture.channels == 1 ? 256 : 0;
    const uint32_t pixelOffset = kHeaders + 4 * colours;
    const size_t rowBytes = (picture.RowBytes() + 3) / 4 * 4;
    const uint64_t fileBytes = pixelOffset + uint64_t{rowBytes} * picture.height;
    if (fileBytes > UINT32_MAX) {
        throw Failure(ExitCode::kUnsupported, "the picture is too large for a BMP file; choose vbmp or png");
    }
    bytes.clear();
    bytes.reserve(fileBytes);
    Appender append(bytes);
    append.Number(uint64_t{'B'} | uint64_t{'M'} << 8, 2);
    append.Number(fileBytes, 4);
    append.Number(0, 4);
    append.Number(pixelOffset, 4);
    append.Number(40, 4);
    append.Number(picture.width, 4);
    append.Number(picture.height, 4);
    append.Number(1, 2);
    append.Number(uint64_t{picture.channels} * 8, 2);
    append.Number(0, 4);
    append.Number(fileBytes - pixelOffset, 4);
    append.Number(kPixelsPerMetre, 4);
    append.Number(kPixelsPerMetre, 4);
    append.Number(colours, 4);
    append.Number(0, 4);
    for (uint32_t i = 0; i < colours; ++i) {
        append.Number(uint64_t{i} * 0x010101, 4);
    }
    bytes.resize(fileBytes);
    for (size_t r = 0; r < picture.height; ++r) {
        std::memcpy(bytes.data() + pixelOffset + r * rowBytes, picture.Row(picture.height - 1 - r), picture.RowBytes());
    }
}

/// The bytes of each pair exchanged.
void CopyBigEndian(Bytes words, uint8_t* to) {
    for (size_t i = 0; i + 1 < words.size(); i += 2) {
        to[i] = words[i + 1];
        to[i + 1] = words[i];
    }
}

/// P6 of pictures with three channels, P5 of grey ones. The library's exchange of red and blue works both ways.
void EncodeNetpbm(const Picture& picture, std::vector<uint8_t>& bytes) {
    const bool grey = picture.channels == 1;
    const std::string header = std::string(grey ? "P5" : "P6") + "\n" + std::to_string(picture.width) + " " +
                               std::to_string(picture.height) + (picture.sampleBytes == 2 ? "\n65535\n" : "\n255\n");
    bytes.resize(header.size() + picture.bytes.size());
    std::copy(header.begin(), header.end(), bytes.begin());
    uint8_t* const pixels = bytes.data() + header.size();
    if (picture.sampleBytes == 2) {
        CopyBigEndian(picture.bytes, pixels);
    } else if (grey) {
        std::copy(picture.bytes.begin(), picture.bytes.end(), pixels);
    } else {
        static_cast<void>(ConvRGB8PToBGR(pixels, picture.bytes.data(), picture.width, picture.height));
    }
}

}  // namespace

std::optional<OutputKind> FindOutputKind(const std::string& name) {
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const OutputKindName& kind : kKinds) {
        if (lower == kind.name) {
            return kind.kind;
        }
    }
    return std::nullopt;
}

OutputKind OutputKindOf(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    const auto kind = extension.empty() ? std::nullopt : FindOutputKind(extension.substr(1));
    if (!kind) {
        throw Failure(
            ExitCode::kUsage,
            path + ": unknown kind of output; end the name with one of these, or say --to: " + OutputKindNames());
    }
    return *kind;
}

const char* ExtensionOf(OutputKind kind) {
    return std::find_if(std::begin(kKinds), std::end(kKinds),
                        [kind](const OutputKindName& k) { return k.kind == kind; })
        ->name;
}

std::string OutputKindNames() {
    std::string names;
    for (const OutputKindName& kind : kKinds) {
        names += (names.empty() ? "" : ", ") + std::string(kind.name);
    }
    return names;
}

bool IsFrameKind(OutputKind kind) {
    return kind == OutputKind::kRwh || kind == OutputKind::kRaw;
}

bool HoldsAlpha(OutputKind kind) {
    return kind == OutputKind::kPng || kind == OutputKind::kBmp || kind == OutputKind::kVbmp ||
           kind == OutputKind::kBgra;
}

bool HoldsWords(OutputKind kind) {
    return kind == OutputKind::kPng || kind == OutputKind::kTif || kind == OutputKind::kPgm;
}

bool IsAppendable(OutputKind kind) {
    return kind == OutputKind::kBgra || kind == OutputKind::kBgr || kind == OutputKind::kRaw;
}

Bytes EncodePicture(const Picture& picture, OutputKind kind, int pngLevel, std::vector<uint8_t>& storage,
                    int jpegQuality) {
    switch (kind) {
        case OutputKind::kPng:
            EncodePng(picture, pngLevel, storage);
            return storage;
        case OutputKind::kTif:
            EncodeTiff(picture, storage);
            return storage;
        case OutputKind::kJpg:
            EncodeJpeg(picture, jpegQuality, storage);
            return storage;
        case OutputKind::kBmp:
            EncodeBmp(picture, storage);
            return storage;
        case OutputKind::kVbmp:
            storage = EncodeVbmp(picture);
            return storage;
        case OutputKind::kPpm:
        case OutputKind::kPgm:
            EncodeNetpbm(picture, storage);
            return storage;
        default:
            return picture.bytes;
    }
}

std::vector<uint8_t> EncodeRwh(const RawShape& tight, Bytes frame) {
    static constexpr size_t kHeader = 16;
    const size_t rowBytes = size_t{tight.width} * BitPerPixel(tight.format->code) / 8;
    if (rowBytes * tight.height != frame.size()) {
        throw Failure(ExitCode::kUnsupported,
                      "rows of " + tight.Text() + " do not end at whole bytes, as RWH files need");
    }
    return BytesWrittenBy(
        [&](const char* path) { return SaveRWH(frame.data(), tight.format->code, tight.width, tight.height, path); },
        kHeader + frame.size());
}

}  // namespace VexaTool
