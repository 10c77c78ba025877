// SPDX-License-Identifier: MIT

// What a fuzz target gives to its programs: libFuzzer's, and the one that replays.
#pragma once

#include "support/AiffBuilder.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

// Inputs to start from.
std::vector<Bytes> Seeds();

// Where in an input the form or the tag begins that it holds; at the end without one. The mutator
// changes these part by part.
size_t StructureAt(const Bytes& input);

// Ends the program: the property does not hold.
inline void Require(bool holds, const char* property)
{
    if (!holds) {
        std::fprintf(stderr, "broken: %s\n", property);
        std::abort();
    }
}
