// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Where the rows of a frame lie in a GstBuffer.
//
//     | offset | row 0 ... | padding | row 1 ... | padding | ...
//              <------ stride ------>
//
// A GstVideoMeta says so. Without one the size of the buffer decides, because camera sources disagree: rows follow each
// other directly, or each starts at a multiple of 4 bytes, or where the hardware likes.
#pragma once

#include <gst/video/video.h>

#include <cstddef>
#include <string>

namespace VexaGst {

struct Rows {
    size_t offset;
    size_t stride;  ///< 0: rows follow each other without a gap, packed samples included
};

/// What a frame takes, however it arrives.
struct FrameSize {
    size_t rowBytes;       ///< of one row, without padding
    size_t height;         ///< in rows
    size_t defaultStride;  ///< row bytes with GStreamer's padding for this format
    size_t totalBytes;     ///< without padding; less than rowBytes * height if rows share a byte
    bool isRawVideo;       ///< video/x-raw: a larger buffer has defaultStride, by GStreamer's own rule
};

/// Finds the rows; forcedStride is 0 or the user's answer. On failure returns false, and `error` says what is wrong.
/// Every byte of the rows found lies inside `bytes`.
bool FindRows(GstBuffer* buffer, size_t bytes, const FrameSize& frame, size_t forcedStride, Rows* rows,
              std::string* error);

/// A buffer mapped as one block for as long as this lives.
class MappedBuffer {
  public:
    MappedBuffer(GstBuffer* buffer, GstMapFlags flags) : m_buffer(buffer) {
        m_mapped = gst_buffer_map(buffer, &m_map, flags) != FALSE;
    }
    ~MappedBuffer() {
        if (m_mapped) {
            gst_buffer_unmap(m_buffer, &m_map);
        }
    }
    MappedBuffer(const MappedBuffer&) = delete;
    MappedBuffer& operator=(const MappedBuffer&) = delete;

    bool IsMapped() const { return m_mapped; }
    guint8* Data() const { return m_map.data; }
    size_t Bytes() const { return m_map.size; }

  private:
    GstBuffer* m_buffer;
    GstMapInfo m_map = {};
    bool m_mapped;
};

}  // namespace VexaGst
