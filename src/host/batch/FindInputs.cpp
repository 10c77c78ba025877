// SPDX-License-Identifier: MIT
#include "host/batch/FindInputs.h"

#include "host/base/Input.h"
#include "support/text/Ascii.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace aiff::host
{
namespace
{

namespace fs = std::filesystem;

constexpr std::string_view kSystemFolders[] = {
    "$RECYCLE.BIN",    "System Volume Information", "lost+found",      "__MACOSX", "@eaDir",
    ".AppleDouble",    ".DocumentRevisions-V100",   ".Spotlight-V100", ".Trashes", ".fseventsd",
    ".TemporaryItems",
};
constexpr std::string_view kTrash = ".Trash-"; // and the number of a user

bool IsSystemFolder(std::string_view name)
{
    return name.starts_with(kTrash) ||
           std::ranges::find(kSystemFolders, name) != std::end(kSystemFolders);
}

// Whether the file holds what macOS knows of another one, where the file system has no place
// for that. It has the other one's ending.
bool IsCompanion(const fs::path& path)
{
    constexpr std::string_view kAppleDouble("\0\5\x16\7", 4);
    std::array<char, kAppleDouble.size()> start{};
    return path.filename().native().starts_with("._") &&
           std::ifstream(path, std::ios::binary).read(start.data(), start.size()) &&
           std::string_view(start.data(), start.size()) == kAppleDouble;
}

using FileIdentity = std::pair<dev_t, ino_t>;

// None of what is not there.
std::optional<FileIdentity> IdentityOf(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino};
}

// The files below one folder.
class FolderWalk
{
public:
    FolderWalk(const std::string& root, std::span<const std::string_view> endings,
               const std::string& output)
        : m_root(root.ends_with('/') ? root : root + "/"), m_endings(endings),
          m_output(IdentityOf(output))
    {
    }

    std::vector<InputName> Files()
    {
        m_waiting.emplace(false, "");
        while (!m_waiting.empty())
            List(m_waiting.extract(m_waiting.begin()).value().second);
        std::ranges::sort(m_found, {}, &InputName::name);
        return std::move(m_found);
    }

private:
    void List(const std::string& below)
    {
        const std::string path = m_root + below;
        const std::optional<FileIdentity> identity = IdentityOf(path);
        if (identity && !m_entered.insert(*identity).second)
            return;
        if (identity && identity == m_output && !below.empty()) {
            SayProblem(Problem("is left out, as outputs go there").About(path));
            return;
        }
        std::error_code error;
        fs::directory_iterator entry(path, error);
        for (; entry != fs::directory_iterator(); entry.increment(error))
            Take(*entry, below);
        if (error)
            m_found.push_back(
                {path, below, Problem(error.message()).About("cannot be read as a folder")});
    }

    void Take(const fs::directory_entry& entry, const std::string& below)
    {
        std::error_code error; // of what is gone or not there: its reader will tell
        const std::string name = entry.path().filename();
        if (!entry.is_directory(error)) {
            if (IsOneOf(m_endings, Input(name).Extension()) && !IsCompanion(entry.path()))
                m_found.push_back({m_root + below + name, below});
        } else if (!IsSystemFolder(name)) {
            m_waiting.emplace(entry.is_symlink(error), below + name + "/");
        }
    }

    std::string m_root; // ends with "/"
    std::span<const std::string_view> m_endings;
    std::vector<InputName> m_found;
    // Folders to list, and whether they are links.
    std::set<std::pair<bool, std::string>> m_waiting;
    std::set<FileIdentity> m_entered;
    std::optional<FileIdentity> m_output;
};

Problem HoldsNone(std::span<const std::string_view> endings)
{
    std::string list;
    for (const std::string_view ending : endings)
        list += (list.empty() ? "" : ", ") + std::string(ending);
    return "is a folder without files that could be read (" + list + ")";
}

} // namespace

std::vector<InputName> FindInputs(const std::vector<std::string>& names,
                                  std::span<const std::string_view> endings,
                                  const std::string& output)
{
    std::vector<InputName> inputs;
    for (const std::string& name : names) {
        struct stat status;
        const bool isFolder =
            Input(name).IsFile() && stat(name.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
        if (!isFolder) {
            inputs.push_back({name});
            continue;
        }
        std::vector<InputName> files = FolderWalk(name, endings, output).Files();
        if (files.empty())
            files.push_back({name, "", HoldsNone(endings)});
        std::ranges::move(files, std::back_inserter(inputs));
    }
    return inputs;
}

bool IsOneOf(std::span<const std::string_view> endings, std::string_view extension)
{
    return std::ranges::any_of(
        endings, [&](std::string_view ending) { return EqualNoCase(ending, extension); });
}

} // namespace aiff::host
