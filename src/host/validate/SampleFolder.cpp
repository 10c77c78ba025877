// SPDX-License-Identifier: MIT
#include "host/validate/SampleFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace fs = std::filesystem;

namespace aiff::host::validate
{
namespace
{

// Every check decodes every file, some of them many times.
constexpr uintmax_t kMaxSampleSize = uintmax_t{64} << 20; // bytes
constexpr size_t kMaxSamples = 100;

// Below the folder, so that no name of the user's meets a generated one.
constexpr std::string_view kGenerated = "generated";
constexpr std::string_view kOwn = "own";

Problem WriteGenerated(const fs::path& folder)
{
    for (const GeneratedFile& file : GeneratedFiles()) {
        const std::vector<uint8_t> content = ContentOf(file);
        std::ofstream out(folder / file.name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(content.data()),
                  static_cast<std::streamsize>(content.size()));
        if (!out.flush())
            return Problem("cannot be written").About((folder / file.name).string());
    }
    return {};
}

std::vector<fs::path> RegularFiles(const fs::path& folder, std::error_code& error)
{
    std::vector<fs::path> files;
    fs::directory_iterator entry(folder, error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_regular_file(ignored))
            files.push_back(entry->path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

Problem CopyOwn(const fs::path& folder, const std::string& ownFolder,
                std::vector<std::string>& leftOut)
{
    std::error_code error;
    size_t count = 0;
    for (const fs::path& file : RegularFiles(ownFolder, error)) {
        if (fs::file_size(file, error) > kMaxSampleSize || count == kMaxSamples) {
            leftOut.push_back(file.string());
            continue;
        }
        ++count;
        const fs::path copy = folder / file.filename();
        if (!fs::copy_file(file, copy, error))
            return Problem(error.message()).About(file.string());
        fs::permissions(copy, fs::perms::owner_write, fs::perm_options::add, error);
    }
    return error ? Problem(error.message()).About(ownFolder) : Problem();
}

} // namespace

Problem FillSampleFolder(const std::string& folder, const std::string& ownFolder,
                         std::vector<std::string>& leftOut)
{
    const fs::path root(folder);
    std::error_code error;
    for (const std::string_view part : {kGenerated, kOwn}) {
        if (!fs::create_directory(root / part, error))
            return Problem(error.message()).About((root / part).string());
    }
    if (Problem problem = WriteGenerated(root / kGenerated))
        return problem;
    return ownFolder.empty() ? Problem() : CopyOwn(root / kOwn, ownFolder, leftOut);
}

std::vector<Sample> SamplesIn(const std::string& folder)
{
    std::vector<Sample> samples;
    const fs::path root(folder);
    for (const GeneratedFile& file : GeneratedFiles())
        samples.push_back({file.name, (root / kGenerated / file.name).string(), &file});
    std::error_code error;
    for (const fs::path& path : RegularFiles(root / kOwn, error))
        samples.push_back({path.filename().string(), path.string(), nullptr});
    return samples;
}

} // namespace aiff::host::validate
