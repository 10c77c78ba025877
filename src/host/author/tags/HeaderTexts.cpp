// SPDX-License-Identifier: MIT

#include "host/author/tags/HeaderTexts.h"

#include "host/author/tags/ChunkText.h"
#include "support/file/DiskFile.h"
#include "support/text/Ascii.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <vector>

namespace aiff::host
{
namespace
{

// No text is longer.
constexpr uint64_t kMostBytes = uint64_t{1} << 24;

// Keys that are not properties themselves but for their case.
constexpr std::pair<std::string_view, const char*> kKeys[] = {
    {"comments", "COMMENT"},
    {"encoder", "ENCODING"},
    {"encoding application", "ENCODING"},
    {"key signature", "INITIALKEY"},
    {"recorded date", "DATE"},
    {"tempo", "BPM"},
    {"track", "TRACKNUMBER"},
    {"track number", "TRACKNUMBER"},
    {"year", "DATE"},
};

// Chunks of CAF files that describe the sound, and what only fills the file.
constexpr std::string_view kNeededByCafOnly[] = {"desc", "data", "pakt", "kuki",
                                                 "chan", "peak", "ovvw", "free"};

void Add(std::string_view key, std::string_view value, TagContent& content)
{
    const auto* const found = std::ranges::find_if(
        kKeys, [key](const auto& known) { return EqualNoCase(known.first, key); });
    const TagLib::String name =
        found == std::end(kKeys) ? TagText(key).upper() : TagLib::String(found->second);
    if (!value.empty() && (name.isEmpty() || !content.Add(name, TagText(value))))
        content.leftOut.insert("the text \"" + std::string(key) + "\"");
}

uint64_t NumberAt(const DiskFile& file, int64_t position, size_t size, bool isLittle = false)
{
    std::array<uint8_t, 8> bytes{};
    const auto field = std::span(bytes).first(size);
    if (file.ReadAt(position, field) != size)
        return 0;
    if (isLittle)
        std::ranges::reverse(field);
    uint64_t number = 0;
    for (const uint8_t byte : field)
        number = number << 8 | byte;
    return number;
}

std::string BytesAt(const DiskFile& file, int64_t position, uint64_t size)
{
    const auto left = static_cast<uint64_t>(std::max<int64_t>(file.Size() - position, 0));
    std::vector<uint8_t> bytes(std::min({size, left, kMostBytes}));
    bytes.resize(file.ReadAt(position, bytes));
    return {bytes.begin(), bytes.end()};
}

// A number of texts, then each as a key and a value that end at zeros.
void ReadCafInfo(std::string_view info, TagContent& content)
{
    const auto take = [&info] {
        const std::string_view text = info.substr(0, info.find('\0'));
        info.remove_prefix(std::min(info.size(), text.size() + 1));
        return text;
    };
    info.remove_prefix(std::min<size_t>(info.size(), 4));
    while (!info.empty()) {
        const std::string_view key = take();
        Add(key, take(), content);
    }
}

// A size that reaches beyond the file is told as damage.
void ReadCaf(const DiskFile& file, TagContent& content)
{
    constexpr int64_t kHeader = 12;
    for (int64_t position = 8; position <= file.Size() - kHeader;) {
        const std::string code = BytesAt(file, position, 4);
        const uint64_t size = NumberAt(file, position + 4, 8);
        position += kHeader;
        if (code == "info")
            ReadCafInfo(BytesAt(file, position, size), content);
        else if (std::ranges::find(kNeededByCafOnly, code) == std::end(kNeededByCafOnly))
            content.leftOut.insert("chunk '" + code + "'");
        if (size > static_cast<uint64_t>(file.Size() - position))
            break;
        position += static_cast<int64_t>(size);
    }
}

// The header ends with a note, in which some programs have lines such as "Title=Song".
void ReadAu(const DiskFile& file, bool isLittle, TagContent& content)
{
    constexpr uint64_t kFields = 24;
    const uint64_t start = std::max(NumberAt(file, 4, 4, isLittle), kFields);
    const std::string bytes = BytesAt(file, kFields, start - kFields);
    const std::string note = bytes.substr(0, bytes.find('\0'));
    std::vector<std::string_view> lines;
    for (std::string_view left = note; !left.empty();) {
        lines.push_back(left.substr(0, left.find('\n')));
        left.remove_prefix(std::min(left.size(), lines.back().size() + 1));
    }
    const auto isField = [](std::string_view line) {
        const std::string_view key = line.substr(0, line.find('='));
        return key.size() < line.size() && !key.empty() &&
               std::ranges::all_of(key, IsAsciiLetter<char>);
    };
    if (!std::ranges::all_of(lines, isField))
        lines = {};
    for (const std::string_view line : lines)
        Add(line.substr(0, line.find('=')), line.substr(line.find('=') + 1), content);
    if (!lines.empty())
        return;
    const std::span text(reinterpret_cast<const uint8_t*>(note.data()), note.size());
    for (const std::string& value : ChunkTexts(text, OldText::Riff))
        Add("comment", value, content);
}

// A sequence of blocks: a type, a size of three bytes, and so many bytes. One of type 0 ends it.
void ReadVoc(const DiskFile& file, TagContent& content)
{
    constexpr int64_t kHeader = 4;
    constexpr uint64_t kText = 5;
    constexpr uint64_t kLastType = 9;
    constexpr int kMostBlocks = 100'000;
    auto position = static_cast<int64_t>(NumberAt(file, 20, 2, true));
    for (int i = 0; i < kMostBlocks && position < file.Size(); ++i) {
        const uint64_t type = NumberAt(file, position, 1);
        const uint64_t size = NumberAt(file, position + 1, 3, true);
        if (type == 0 || type > kLastType)
            break;
        position += kHeader;
        const std::string text = type == kText ? BytesAt(file, position, size) : "";
        for (const std::string& value : ChunkTexts(
                 {reinterpret_cast<const uint8_t*>(text.data()), text.size()}, OldText::Riff))
            Add("comment", value, content);
        position += static_cast<int64_t>(size);
    }
}

} // namespace

bool ReadHeaderTexts(const std::string& path, TagContent& content)
{
    std::error_code error;
    const auto file = DiskFile::Open(path, DiskFile::Access::Read, error);
    const std::string magic = file == nullptr ? "" : BytesAt(*file, 0, 4);
    if (magic == "caff")
        ReadCaf(*file, content);
    else if (magic == ".snd" || magic == "dns.")
        ReadAu(*file, magic == "dns.", content);
    else if (magic == "Crea")
        ReadVoc(*file, content);
    else
        return false;
    return true;
}

} // namespace aiff::host
