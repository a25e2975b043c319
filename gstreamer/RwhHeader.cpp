// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "RwhHeader.h"

#include <gst/gst.h>

namespace VexaGst {
namespace {

uint64_t BytesNeeded(const RwhHeader& header) {
    VcfLayout layout;
    VcfInitLayout(&layout, header.code, header.width, header.height);
    return VcfBytesNeeded(&layout);
}

}  // namespace

RwhHeader ReadRwhHeader(const guint8* bytes) {
    return {GST_READ_UINT32_LE(bytes), GST_READ_UINT32_LE(bytes + 4), GST_READ_UINT32_LE(bytes + 8),
            GST_READ_UINT32_LE(bytes + 12)};
}

void WriteRwhHeader(const RwhHeader& header, guint8* bytes) {
    GST_WRITE_UINT32_LE(bytes, header.code);
    GST_WRITE_UINT32_LE(bytes + 4, header.width);
    GST_WRITE_UINT32_LE(bytes + 8, header.height);
    GST_WRITE_UINT32_LE(bytes + 12, header.rowBytes);
}

const Format* CheckRwhHeader(const RwhHeader& header, std::string* error) {
    const Format* const format = FindFormat(header.code);
    if (format == nullptr) {
        gchar* const text = g_strdup_printf("not an RWH file: unknown pixel format 0x%08x", header.code);
        *error = text;
        g_free(text);
    } else if (header.width == 0 || header.height == 0 || header.width > G_MAXUINT16 || header.height > G_MAXUINT16 ||
               !format->HasSize(static_cast<gint>(header.width), static_cast<gint>(header.height))) {
        *error = "an RWH header of " + std::to_string(header.width) + " x " + std::to_string(header.height) +
                 " pixels does not fit its format";
    } else if (header.rowBytes != uint64_t{BitPerPixel(header.code)} * header.width / 8) {
        *error = "not an RWH file: a row of " + std::to_string(header.width) + " pixels does not take " +
                 std::to_string(header.rowBytes) + " bytes";
    } else if (header.FrameBytes() > G_MAXINT - kRwhHeaderBytes) {
        *error = "an RWH frame of 2 GiB or more is not served";
    } else if (header.FrameBytes() != BytesNeeded(header)) {
        *error = "rows of " + std::to_string(header.width) + " " + format->samples->name +
                 " pixels end within a byte or a group, which RWH files cannot hold";
    } else {
        return format;
    }
    return nullptr;
}

}  // namespace VexaGst
