// Runs a fuzz target without libFuzzer: over the files named, or over its seeds and
// all cuts and single-byte changes of the small ones. "--write DIR" stores the seeds instead.

#include "Fuzz.h"
#include "support/TempDir.h"

#include <cstring>

namespace
{

long Run(const Bytes& input)
{
    // A block of exactly that size lets a sanitizer see each byte beyond it.
    const auto exact = std::make_unique<uint8_t[]>(input.size());
    std::copy(input.begin(), input.end(), exact.get());
    return LLVMFuzzerTestOneInput(exact.get(), input.size()), 1;
}

long RunAround(const Bytes& seed)
{
    long runs = Run(seed);
    for (size_t at = 0; at < seed.size() && seed.size() < 1000; ++at) {
        runs += Run(Bytes(seed.begin(), seed.begin() + static_cast<ptrdiff_t>(at)));
        for (const int value : {0x00, 0x01, 0x7F, 0x80, 0xFF, seed[at] + 1, seed[at] ^ 0x20}) {
            Bytes changed = seed;
            changed[at] = static_cast<uint8_t>(value);
            runs += Run(changed);
        }
    }
    return runs;
}

} // namespace

int main(int count, char** words)
{
    long runs = 0;
    if (count == 3 && std::strcmp(words[1], "--write") == 0) {
        std::filesystem::create_directories(words[2]);
        for (const Bytes& seed : Seeds())
            std::ofstream(std::string(words[2]) + "/seed" + std::to_string(runs++),
                          std::ios::binary)
                .write(reinterpret_cast<const char*>(seed.data()), std::ssize(seed));
    } else if (count > 1) {
        for (int i = 1; i < count; ++i)
            runs += Run(ReadFile(words[i]));
    } else {
        for (const Bytes& seed : Seeds())
            runs += RunAround(seed);
    }
    std::printf("%ld inputs\n", runs);
    return runs > 0 ? 0 : 1;
}
