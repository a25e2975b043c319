// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Every converter of the library by name, with the bits per pixel that it reads and writes.
#pragma once

#include <VexaCamUtl.h>

#include <span>

namespace VexaTool {

struct Converter {
    const char* name;
    ConverterFunc run;
    uint32_t bitsRead;
    uint32_t bitsWritten;
};

std::span<const Converter> AllConverters();

}  // namespace VexaTool
