// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Jpeg.h.
#include "output/Jpeg.h"

#include <cstdio>

#include <jpeglib.h>

#include "Failure.h"

namespace VexaTool {

namespace {

/// libjpeg writes into what is left of the vector; each time that is full it doubles.
struct GrowingDestination {
    jpeg_destination_mgr manager = {};  // first: libjpeg knows the address of this part
    std::vector<uint8_t>* bytes = nullptr;
};

void Grow(j_compress_ptr jpeg, size_t used, size_t size) {
    auto& destination = *reinterpret_cast<GrowingDestination*>(jpeg->dest);
    destination.bytes->resize(size);
    destination.manager.next_output_byte = destination.bytes->data() + used;
    destination.manager.free_in_buffer = size - used;
}

extern "C" void BeginJpeg(j_compress_ptr jpeg) {
    static constexpr size_t kFirstBytes = size_t{1} << 16;
    Grow(jpeg, 0, kFirstBytes);
}

extern "C" boolean ContinueJpeg(j_compress_ptr jpeg) {
    const size_t used = reinterpret_cast<GrowingDestination*>(jpeg->dest)->bytes->size();
    Grow(jpeg, used, 2 * used);
    return TRUE;
}

extern "C" void EndJpeg(j_compress_ptr jpeg) {
    auto& destination = *reinterpret_cast<GrowingDestination*>(jpeg->dest);
    destination.bytes->resize(destination.bytes->size() - destination.manager.free_in_buffer);
}

extern "C" [[noreturn]] void ThrowJpegError(j_common_ptr jpeg) {
    char text[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, text);
    throw Failure(ExitCode::kOutput, std::string("cannot build the JPEG file: ") + text);
}

extern "C" void IgnoreJpegMessage(j_common_ptr /*jpeg*/, int /*level*/) {}

struct JpegWriter {
    jpeg_error_mgr errors = {};
    jpeg_compress_struct jpeg = {};
    JpegWriter() {
        jpeg.err = jpeg_std_error(&errors);
        errors.error_exit = ThrowJpegError;
        errors.emit_message = IgnoreJpegMessage;
        jpeg_create_compress(&jpeg);
    }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;
    ~JpegWriter() { jpeg_destroy_compress(&jpeg); }
};

}  // namespace

void EncodeJpeg(const Picture& picture, int quality, std::vector<uint8_t>& bytes) {
    if (picture.width > JPEG_MAX_DIMENSION || picture.height > JPEG_MAX_DIMENSION) {
        throw Failure(ExitCode::kUnsupported, "the picture is too large for a JPEG file, which has at most " +
                                                  std::to_string(JPEG_MAX_DIMENSION) +
                                                  " rows and columns; choose png or tif");
    }
    JpegWriter writer;
    GrowingDestination destination;
    destination.manager.init_destination = BeginJpeg;
    destination.manager.empty_output_buffer = ContinueJpeg;
    destination.manager.term_destination = EndJpeg;
    destination.bytes = &bytes;
    jpeg_compress_struct& jpeg = writer.jpeg;
    jpeg.dest = &destination.manager;
    jpeg.image_width = picture.width;
    jpeg.image_height = picture.height;
    jpeg.input_components = static_cast<int>(picture.channels);
    jpeg.in_color_space = picture.channels == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, quality, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        // libjpeg's rows are not const; it only reads them.
        auto* row = const_cast<JSAMPROW>(picture.Row(jpeg.next_scanline));
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
}

}  // namespace VexaTool
