// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Text.h; and the short names of the statuses.
#include "Text.h"

#include <VexaCamFrames.h>

#include <cstdarg>
#include <cstdio>

namespace VexaFrames {

// Only C's variable arguments have the compiler compare them with the format.
// NOLINTNEXTLINE(cert-dcl50-cpp)
unsigned Text::Say(unsigned status, const char* format, ...) const {
    if (to != nullptr && bytes != 0) {
        std::va_list arguments;
        va_start(arguments, format);
        static_cast<void>(std::vsnprintf(to, bytes, format, arguments));
        va_end(arguments);
    }
    return status;
}

unsigned Text::Ok() const {
    if (to != nullptr && bytes != 0) {
        to[0] = '\0';
    }
    return VCF_OK;
}

}  // namespace VexaFrames

const char* VcfStatusText(VcfStatus status) {
    switch (status) {
        case VCF_OK:
            return "success";
        case VCF_INVALID_ARGUMENT:
            return "invalid argument";
        case VCF_UNKNOWN_FORMAT:
            return "unknown pixel format";
        case VCF_BAD_LAYOUT:
            return "impossible layout";
        case VCF_TOO_SHORT:
            return "buffer too short";
        case VCF_BAD_STRIDE:
            return "impossible stride";
        case VCF_BAD_REGION:
            return "region not allowed";
        case VCF_UNSUPPORTED:
            return "not supported for this format or output";
        case VCF_NO_MEMORY:
            return "out of memory";
        case VCF_NO_ESTIMATE:
            return "no sample to estimate from";
        default:
            return "unknown status";
    }
}

uint32_t VcfVersion() {
    return VEXACAMFRAMES_VERSION_MAJOR << 16 | VEXACAMFRAMES_VERSION_MINOR << 8 | VEXACAMFRAMES_VERSION_PATCH;
}
