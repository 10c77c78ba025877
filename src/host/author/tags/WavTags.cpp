// SPDX-License-Identifier: MIT
#include "host/author/tags/WavTags.h"

#include "host/author/tags/ChunkText.h"
#include "host/writers/ReadId3.h"
#include "host/writers/TagNames.h"
#include "support/file/DiskFile.h"
#include "support/text/Ascii.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <string_view>

namespace aiff::host
{
namespace
{

constexpr uint32_t kInLargeSizes = std::numeric_limits<uint32_t>::max(); // of an RF64 file
constexpr size_t kHeaderSize = 8;

// Chunks that describe the sound, and what only fills the file.
constexpr std::string_view kNeededByWavOnly[] = {"fmt ", "data", "fact", "PEAK", "ds64",
                                                 "JUNK", "junk", "PAD ", "FLLR"};

std::string_view CodeAt(std::span<const uint8_t> bytes, size_t at)
{
    return {reinterpret_cast<const char*>(&bytes[at]), 4};
}

uint64_t NumberAt(std::span<const uint8_t> bytes, size_t at, size_t size)
{
    uint64_t number = 0;
    for (size_t i = size; i-- > 0;)
        number = number << 8 | bytes[at + i];
    return number;
}

// An INFO list is a sequence of chunks itself, each with a text.
void ReadInfo(std::span<const uint8_t> left, TagLib::PropertyMap& info)
{
    while (left.size() >= kHeaderSize) {
        const std::string_view code = CodeAt(left, 0);
        const uint64_t claim = NumberAt(left, 4, 4);
        left = left.subspan(kHeaderSize);
        const size_t size = std::min<uint64_t>(claim, left.size());
        const std::string_view known = PropertyOfInfo(code);
        for (const std::string& text : ChunkTexts(left.first(size), OldText::Riff))
            info.insert(TagText(known.empty() ? code : known), TagText(text));
        left = left.subspan(std::min(size + size % 2, left.size()));
    }
}

class WavReader
{
public:
    explicit WavReader(const DiskFile& file) : m_file(file) {}

    WavTags Read();

private:
    bool ReadAt(int64_t position, std::span<uint8_t> bytes) const
    {
        return m_file.ReadAt(position, bytes) == bytes.size();
    }
    void ReadChunk(std::string_view code, std::span<const uint8_t> data);

    const DiskFile& m_file;
    WavTags m_tags;
};

void WavReader::ReadChunk(std::string_view code, std::span<const uint8_t> data)
{
    constexpr std::string_view kInfo = "INFO";
    if (EqualNoCase(code, "id3 ") && m_tags.id3v2.empty())
        m_tags.id3v2.assign(data.begin(), data.end());
    else if (code == "LIST" && data.size() >= kInfo.size() && CodeAt(data, 0) == kInfo)
        ReadInfo(data.subspan(kInfo.size()), m_tags.info);
    else if (std::ranges::find(kNeededByWavOnly, code) == std::end(kNeededByWavOnly))
        m_tags.others.insert("'" + std::string(code) + "'");
}

WavTags WavReader::Read()
{
    static constexpr std::string_view kForms[] = {"RIFF", "RF64", "BW64"};
    std::array<uint8_t, 12> form;
    if (!ReadAt(0, form) || CodeAt(form, 8) != "WAVE" ||
        std::ranges::find(kForms, CodeAt(form, 0)) == std::end(kForms))
        return m_tags;
    m_tags.isWav = true;
    uint64_t soundSize = kInLargeSizes;
    std::array<uint8_t, kHeaderSize> header;
    for (int64_t at = std::ssize(form); ReadAt(at, header);) {
        at += std::ssize(header);
        const std::string_view code = CodeAt(header, 0);
        uint64_t size = NumberAt(header, 4, 4);
        if (code == "data" && size == kInLargeSizes)
            size = soundSize;
        if (size > static_cast<uint64_t>(m_file.Size() - at))
            break; // what is cut off is told as damage
        std::vector<uint8_t> data(code == "data" || size > kMostTagBytes ? 0 : size);
        if (!ReadAt(at, data))
            break;
        if (code == "ds64" && size >= 16)
            soundSize = NumberAt(data, 8, 8);
        ReadChunk(code, data);
        at += static_cast<int64_t>(size + size % 2);
    }
    return m_tags;
}

} // namespace

WavTags ReadWavTags(const std::string& path)
{
    std::error_code error;
    const auto file = DiskFile::Open(path, DiskFile::Access::Read, error);
    return file == nullptr ? WavTags() : WavReader(*file).Read();
}

} // namespace aiff::host
