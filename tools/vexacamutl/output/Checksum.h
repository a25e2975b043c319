// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#pragma once

#include <cstdint>

#include "formats/Bytes.h"

namespace VexaTool {

/// The CRC-32 of ISO 3309, as gzip and zip have it.
uint32_t Crc32(Bytes bytes);

}  // namespace VexaTool
