// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The verbs of the tool. Each function declares the options of one, and its work as the callback.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace VexaTool {

void DeclareConvert(CLI::App& command);
void DeclareInfo(CLI::App& command);
void DeclareFormats(CLI::App& command);
void DeclareReverse(CLI::App& command);
void DeclarePack(CLI::App& command);
void DeclareUnpack(CLI::App& command);
void DeclareSynth(CLI::App& command);
void DeclareGuess(CLI::App& command);
void DeclareBench(CLI::App& command);

}  // namespace VexaTool
