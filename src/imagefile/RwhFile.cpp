// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Raw frames in files: a header of four little-endian words, then the frame as it was in memory.
//
//     | format | width | height | row size | row size * height bytes ...
//     0        4       8        12         16
//
// Required: only a failed open, an exception or a failed allocation is reported. A short write or read is not.
#include <bit>
#include <cstdlib>
#include <fstream>

#include <VexaCamUtl.h>
#include "convert/Contract.h"
#include "imagefile/FileGuard.h"

using namespace Vexa;

namespace {

static_assert(std::endian::native == std::endian::little, "headers are written as they lie in memory");

struct RwhHeader {
    uint32_t uiPixelFormat;
    uint32_t uiWidth;
    uint32_t uiHeight;
    uint32_t uiRowSize;

    uint32_t DataSize() const { return WrappingProduct32(uiRowSize, uiHeight); }
};
static_assert(sizeof(RwhHeader) == 16);

void StoreUnlessNull(uint32_t* out, uint32_t value) {
    if (out != nullptr) {
        *out = value;
    }
}

}  // namespace

UtlStatus SaveRWH(const void* frame, PixelFormat format, uint32_t width, uint32_t height, const char* path) {
    if (frame == nullptr) {
        return UTL_STS_INVALID_PARAMETER;
    }
    if (path == nullptr) {
        return UTL_STS_FILE_OPEN_ERROR;
    }
    std::ofstream file;
    return GuardedFileWork(UTL_STS_FILE_IO_ERROR, [&] {
        file.open(path, std::ios::out | std::ios::trunc | std::ios::binary);
        if (!file) {
            return UTL_STS_FILE_OPEN_ERROR;
        }
        const RwhHeader header = {format, width, height, WrappingProduct32(BitPerPixel(format), width) >> 3};
        file.write(reinterpret_cast<const char*>(&header), sizeof header);
        file.write(static_cast<const char*>(frame), header.DataSize());
        file.close();
        return UTL_STS_SUCCESS;
    });
}

UtlStatus LoadRWH(const char* path, uint8_t** frame, PixelFormat* format, uint32_t* width, uint32_t* height,
                  uint32_t* row_size) {
    if (path == nullptr) {
        return UTL_STS_FILE_OPEN_ERROR;
    }
    std::ifstream file(path, std::ios::in | std::ios::binary);
    if (!file) {
        return UTL_STS_FILE_OPEN_ERROR;
    }
    RwhHeader header = {};  // words that the file does not hold read as zero
    file.read(reinterpret_cast<char*>(&header), sizeof header);
    StoreUnlessNull(format, header.uiPixelFormat);
    StoreUnlessNull(width, header.uiWidth);
    StoreUnlessNull(height, header.uiHeight);
    StoreUnlessNull(row_size, header.uiRowSize);
    if (frame == nullptr) {
        return UTL_STS_SUCCESS;
    }
    if (*frame == nullptr) {
        *frame = static_cast<uint8_t*>(std::malloc(header.DataSize()));
        if (*frame == nullptr) {
            return UTL_STS_FILE_READ_ERROR;
        }
    }
    return GuardedFileWork(UTL_STS_FILE_READ_ERROR, [&] {
        file.read(reinterpret_cast<char*>(*frame), header.DataSize());
        return UTL_STS_SUCCESS;
    });
}
