// SPDX-License-Identifier: MIT

// Runs a fuzz target without libFuzzer: over the files named; or over a folder of inputs, and
// over its seeds and all cuts and single-byte changes of the small ones. "--write DIR" stores the
// seeds instead.

#include "Fuzz.h"
#include "support/TempDir.h"

#include <cstring>

static long runs = 0;

// From a vector of exactly that size a sanitizer sees each byte beyond it.
static void Run(const Bytes& input)
{
    const Bytes exact(input);
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
    ++runs;
}

// Of many seeds, each is changed at other places.
static void RunAround(const Bytes& seed, size_t first, size_t step)
{
    Run(seed);
    for (size_t at = first; at < seed.size() && seed.size() < 1000; at += step) {
        Run(Bytes(seed.begin(), seed.begin() + static_cast<ptrdiff_t>(at)));
        for (const int value : {0x00, 0x01, 0x7F, 0x80, 0xFF, seed[at] + 1, seed[at] ^ 0x20}) {
            Bytes changed = seed;
            changed[at] = static_cast<uint8_t>(value);
            Run(changed);
        }
    }
}

int main(int count, char** words)
{
    const bool writes = count == 3 && std::strcmp(words[1], "--write") == 0;
    if (writes)
        std::filesystem::create_directories(words[2]);
    const bool isFolder = count == 2 && std::filesystem::is_directory(words[1]);
    for (int i = 1; i < count && !writes && !isFolder; ++i)
        Run(ReadFile(words[i]));
    const auto seeds = count == 1 || writes || isFolder ? Seeds() : std::vector<Bytes>();
    size_t bytes = 0;
    for (const Bytes& seed : seeds)
        bytes += seed.size() < 1000 ? seed.size() : 0;
    const size_t step = bytes / 1000 + 1;
    for (size_t i = 0; i < seeds.size(); ++i)
        if (writes)
            WriteFile(std::string(words[2]) + "/seed" + std::to_string(runs++), seeds[i]);
        else
            RunAround(seeds[i], i % step, step);
    if (isFolder)
        for (const auto& entry : std::filesystem::directory_iterator(words[1]))
            Run(ReadFile(entry.path()));
    std::printf("%ld inputs\n", runs);
    return runs > 0 ? 0 : 1;
}
