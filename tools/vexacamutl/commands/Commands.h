// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The verbs of the tool. Each function declares one: its options, its help, and the work as the callback.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace VexaTool {

void AddConvert(CLI::App& app);
void AddInfo(CLI::App& app);
void AddFormats(CLI::App& app);
void AddReverse(CLI::App& app);
void AddPack(CLI::App& app);
void AddUnpack(CLI::App& app);
void AddSynth(CLI::App& app);
void AddGuess(CLI::App& app);
void AddBench(CLI::App& app);

}  // namespace VexaTool
