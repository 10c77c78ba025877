// SPDX-License-Identifier: MIT
#include "codecs/CodecFolders.h"

#include "codecs/ExecutablePath.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace aiff::codecs
{
namespace
{

fs::path BinFolder(const std::string& root)
{
    return fs::path(root) / "Codecs" / "Bin";
}

} // namespace

const char* KindName(CodecKind kind)
{
    switch (kind) {
    case CodecKind::Decoder:
        return "decoder";
    case CodecKind::Encoder:
        return "encoder";
    case CodecKind::Dsp:
        return "dsp";
    }
    return "";
}

std::vector<std::string> CandidateRoots()
{
    const char* named = std::getenv(kCodecPathVariable);
    if (named != nullptr && *named != '\0')
        return {named};
    const std::string program = ExecutablePath();
    if (program.empty())
        return {};
    const fs::path folder = fs::path(program).parent_path();
    const fs::path parent = folder.parent_path();
    std::vector<std::string> roots = {folder.string(), parent.string(),
                                      (parent / "lib" / "aiffconv").string()};
    const std::string installed = (parent / QV_INSTALL_LIBDIR / "aiffconv").string();
    if (installed != roots.back())
        roots.push_back(installed);
    return roots;
}

std::string FindRoot(const std::vector<std::string>& candidates)
{
    const auto found = std::find_if(candidates.begin(), candidates.end(), [](const auto& root) {
        std::error_code error;
        return fs::is_directory(BinFolder(root), error);
    });
    return found == candidates.end() ? std::string() : *found;
}

std::vector<std::string> PluginFiles(const std::string& root, CodecKind kind)
{
    std::vector<std::string> files;
    std::error_code error;
    fs::directory_iterator entry(BinFolder(root) / KindName(kind), error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        if (entry->path().extension() == ".so")
            files.push_back(entry->path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace aiff::codecs
