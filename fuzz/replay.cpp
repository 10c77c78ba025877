// SPDX-License-Identifier: MIT

// Runs a fuzz target without libFuzzer: over the files named, or over its seeds and
// all cuts and single-byte changes of the small ones. "--write DIR" stores the seeds instead.

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

static void RunAround(const Bytes& seed)
{
    Run(seed);
    for (size_t at = 0; at < seed.size() && seed.size() < 1000; ++at) {
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
    for (int i = 1; i < count && !writes; ++i)
        Run(ReadFile(words[i]));
    for (const Bytes& seed : count == 1 || writes ? Seeds() : std::vector<Bytes>())
        if (writes)
            WriteFile(std::string(words[2]) + "/seed" + std::to_string(runs++), seed);
        else
            RunAround(seed);
    std::printf("%ld inputs\n", runs);
    return runs > 0 ? 0 : 1;
}
