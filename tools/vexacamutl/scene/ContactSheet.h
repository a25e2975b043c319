// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Pictures side by side, four in a row, each with a label above it.
#pragma once

#include <string>

#include "output/Picture.h"

namespace VexaTool {

/// The mean of each block of factor x factor pixels.
Picture Shrunk(const Picture& picture, uint32_t factor);

class ContactSheet {
  public:
    ContactSheet(uint32_t tileWidth, uint32_t tileHeight, size_t tiles);

    /// A picture of three channels, cut to the tile; an empty one leaves the tile dark.
    void Add(const Picture& tile, const std::string& label);

    const Picture& Sheet() const { return m_sheet; }

  private:
    uint32_t m_tileWidth;
    uint32_t m_tileHeight;
    size_t m_added = 0;
    Picture m_sheet;
};

}  // namespace VexaTool
