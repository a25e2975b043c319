// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Tiff.h.
#include "output/Tiff.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "Failure.h"

namespace VexaTool {

namespace {

/// What libtiff writes to and reads back while it ends a file.
struct MemoryFile {
    std::vector<uint8_t>& bytes;
    size_t at = 0;
};

MemoryFile& FileOf(thandle_t handle) {
    return *static_cast<MemoryFile*>(handle);
}

extern "C" tmsize_t ReadTiffBytes(thandle_t handle, void* to, tmsize_t size) {
    MemoryFile& file = FileOf(handle);
    const size_t end = file.bytes.size();
    const size_t got = std::min(static_cast<size_t>(size), end - std::min(file.at, end));
    std::copy_n(file.bytes.begin() + static_cast<std::ptrdiff_t>(file.at), got, static_cast<uint8_t*>(to));
    file.at += got;
    return static_cast<tmsize_t>(got);
}

extern "C" tmsize_t WriteTiffBytes(thandle_t handle, void* from, tmsize_t size) {
    MemoryFile& file = FileOf(handle);
    const size_t count = static_cast<size_t>(size);
    if (file.at + count > file.bytes.size()) {
        file.bytes.resize(file.at + count);
    }
    std::memcpy(file.bytes.data() + file.at, from, count);
    file.at += count;
    return size;
}

extern "C" toff_t SeekTiffBytes(thandle_t handle, toff_t offset, int whence) {
    MemoryFile& file = FileOf(handle);
    const size_t base = whence == SEEK_END ? file.bytes.size() : whence == SEEK_CUR ? file.at : 0;
    return file.at = base + offset;
}

extern "C" toff_t SizeOfTiff(thandle_t handle) {
    return FileOf(handle).bytes.size();
}

extern "C" int CloseTiffBytes(thandle_t /*handle*/) {
    return 0;
}

/// libtiff prints what goes wrong unless it is told not to; a Failure says it here.
void SilenceLibtiff() {
    static const bool s_silent = [] {
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
        return true;
    }();
    static_cast<void>(s_silent);
}

struct TiffWriter {
    TIFF* const tiff;
    explicit TiffWriter(MemoryFile& file)
        : tiff(TIFFClientOpen("picture", "wl", &file, ReadTiffBytes, WriteTiffBytes, SeekTiffBytes, CloseTiffBytes,
                              SizeOfTiff, nullptr, nullptr)) {}
    TiffWriter(const TiffWriter&) = delete;
    TiffWriter& operator=(const TiffWriter&) = delete;
    ~TiffWriter() {
        if (tiff != nullptr) {
            TIFFCleanup(tiff);
        }
    }
};

bool SetFields(TIFF* tiff, const Picture& picture) {
    const bool grey = picture.channels == 1;
    bool good = true;
    const auto set = [&](uint32_t tag, auto value) { good = good && TIFFSetField(tiff, tag, value) == 1; };
    set(TIFFTAG_IMAGEWIDTH, picture.width);
    set(TIFFTAG_IMAGELENGTH, picture.height);
    set(TIFFTAG_BITSPERSAMPLE, 8 * picture.sampleBytes);
    set(TIFFTAG_SAMPLESPERPIXEL, picture.channels);
    set(TIFFTAG_PHOTOMETRIC, grey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    set(TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    return good;
}

/// The library's exchange of red and blue works both ways.
bool WriteRows(TIFF* tiff, const Picture& picture) {
    std::vector<uint8_t> row(picture.RowBytes());
    for (uint32_t r = 0; r < picture.height; ++r) {
        if (picture.channels == 1) {
            std::copy_n(picture.Row(r), row.size(), row.begin());
        } else {
            static_cast<void>(ConvRGB8PToBGR(row.data(), picture.Row(r), picture.width, 1));
        }
        if (TIFFWriteScanline(tiff, row.data(), r, 0) != 1) {
            return false;
        }
    }
    return true;
}

}  // namespace

void EncodeTiff(const Picture& picture, std::vector<uint8_t>& bytes) {
    // Offsets have 32 bits. Beside the pixels there are two tables, with at most 4 bytes for each row in either.
    static constexpr uint64_t kRoomForTags = 4096;
    const uint64_t most = picture.bytes.size() + uint64_t{8} * picture.height + kRoomForTags;
    if (most > UINT32_MAX) {
        throw Failure(ExitCode::kUnsupported, "the picture is too large for a TIFF file; choose png or vbmp");
    }
    SilenceLibtiff();
    bytes.clear();
    bytes.reserve(most);
    MemoryFile file = {bytes};
    const TiffWriter writer(file);
    if (writer.tiff == nullptr || !SetFields(writer.tiff, picture) || !WriteRows(writer.tiff, picture) ||
        TIFFWriteDirectory(writer.tiff) != 1) {
        throw Failure(ExitCode::kOutput, "cannot build the TIFF file");
    }
}

}  // namespace VexaTool
