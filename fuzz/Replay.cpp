// Runs a fuzz target over files, without libFuzzer: for ctest and for debugging.
// Arguments are files and folders.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace
{

size_t Replay(const std::filesystem::path& path)
{
    if (std::filesystem::is_directory(path)) {
        size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            count += Replay(entry.path());
        return count;
    }
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    size_t count = 0;
    for (int i = 1; i < argc; ++i)
        count += Replay(argv[i]);
    std::printf("%zu inputs replayed\n", count);
    return count == 0 ? 1 : 0;
}
