// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "Rows.h"

#include <optional>

namespace VexaGst {
namespace {

/// Whether the buffer holds the rows. It divides, because the stride comes from another element and a product could
/// overflow.
bool Fits(size_t bytes, const FrameSize& frame, const Rows& rows) {
    const size_t room = rows.offset <= bytes ? bytes - rows.offset : 0;
    if (rows.stride == 0) {
        return frame.totalBytes <= room;
    }
    return frame.rowBytes <= room && (frame.height == 1 || rows.stride <= (room - frame.rowBytes) / (frame.height - 1));
}

/// The stride that the size of a buffer tells.
std::optional<size_t> StrideFromSize(size_t bytes, const FrameSize& frame) {
    const size_t ofRow = bytes / frame.height;
    if (bytes == frame.defaultStride * frame.height) {
        return frame.defaultStride;
    }
    if (bytes == frame.totalBytes) {
        return 0;
    }
    if (frame.isRawVideo) {
        return bytes > frame.defaultStride * frame.height ? std::optional(frame.defaultStride) : std::nullopt;
    }
    if (bytes > frame.totalBytes && bytes % frame.height == 0) {
        return ofRow;
    }
    // Fewer extra bytes than rows: they are not padding, they follow the frame.
    return bytes > frame.totalBytes && ofRow <= frame.rowBytes ? std::optional<size_t>(0) : std::nullopt;
}

std::string WrongSize(size_t bytes, const FrameSize& frame) {
    if (bytes < frame.totalBytes) {
        return "the buffer ends early: it holds " + std::to_string(bytes) + " of " + std::to_string(frame.totalBytes) +
               " bytes";
    }
    return "a buffer of " + std::to_string(bytes) + " bytes is neither " + std::to_string(frame.height) + " rows of " +
           std::to_string(frame.rowBytes) + " nor of " + std::to_string(frame.defaultStride) +
           " bytes: set row-stride to the bytes from row to row";
}

}  // namespace

bool FindRows(GstBuffer* buffer, size_t bytes, const FrameSize& frame, size_t forcedStride, Rows* rows,
              std::string* error) {
    const GstVideoMeta* const meta = gst_buffer_get_video_meta(buffer);
    if (forcedStride != 0) {
        *rows = {0, forcedStride};
    } else if (meta != nullptr && meta->n_planes > 0) {
        if (meta->stride[0] <= 0) {
            *error = "rows from bottom to top (a stride below 1) are not served: put videoflip before this element";
            return false;
        }
        *rows = {meta->offset[0], static_cast<size_t>(meta->stride[0])};
    } else if (const std::optional<size_t> stride = StrideFromSize(bytes, frame)) {
        *rows = {0, *stride};
    } else {
        *error = WrongSize(bytes, frame);
        return false;
    }
    if (rows->stride != 0 && rows->stride < frame.rowBytes) {
        *error = "a stride of " + std::to_string(rows->stride) + " bytes is less than a row, which takes " +
                 std::to_string(frame.rowBytes);
        return false;
    }
    if (rows->stride == frame.rowBytes && frame.totalBytes == frame.rowBytes * frame.height) {
        rows->stride = 0;
    }
    if (!Fits(bytes, frame, *rows)) {
        *error = "the buffer ends early: of its " + std::to_string(bytes) + " bytes, " + std::to_string(frame.height) +
                 " rows " + std::to_string(rows->stride == 0 ? frame.rowBytes : rows->stride) +
                 " bytes apart, from byte " + std::to_string(rows->offset) + " on, take more";
        return false;
    }
    return true;
}

}  // namespace VexaGst
