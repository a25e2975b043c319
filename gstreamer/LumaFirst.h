// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// v308, whose pixels have the order Y U V. The frames layer takes 4:4:4 as U Y V, which is IYU2.
//
//     in   | Y U V | Y U V | Y U V | ...
//     out  | U Y V | U Y V | U Y V | ...
#pragma once

#include <cstddef>
#include <cstdint>

namespace VexaGst {

/// Exchanges Y and U of `pixels` pixels: reads 3 * pixels bytes and writes as many. `to` may be `from`.
void MoveLumaBehindU(const uint8_t* from, size_t pixels, uint8_t* to);

}  // namespace VexaGst
