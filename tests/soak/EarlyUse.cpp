// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Asks the library of EarlyUser.cpp what its constructor met.
#include <cstdio>

extern "C" int EarlyMistakes();

int main() {
    std::printf("%d mistakes\n", EarlyMistakes());
    return EarlyMistakes() == 0 ? 0 : 1;
}
