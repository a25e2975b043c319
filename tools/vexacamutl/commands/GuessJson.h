// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A ranking of guesses as JSON: the same text from the tool and from the viewer page.
#pragma once

#include <span>
#include <string>

#include "guess/Guess.h"

namespace VexaTool {

/// An array of objects, without a line end behind it.
std::string JsonOf(std::span<const VexaGuess::Guess> guesses);

}  // namespace VexaTool
